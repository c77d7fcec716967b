find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
qt_add_resources(photon_test_modules ${CMAKE_CURRENT_SOURCE_DIR}/modules/modules.qrc)
corvanta_test(photon_windows
  SOURCES qt_main.cpp qt_views.cpp qt_tree.cpp qt_tree_growth.cpp qt_input.cpp qt_dialogs.cpp qt_loop.cpp
          ${photon_test_modules}
  LIBS photon_qt Qt6::Test
  LABELS "ui;threads" NO_MAIN)
