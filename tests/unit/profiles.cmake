# The record files are read and written without a window; the dialogs around them are tested in the main window. Their
# sources are named instead of their library, which would bring the toolkit along.
file(GLOB profile_files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/profiles/*_file.cpp)
add_library(profile_files STATIC ${profile_files})
target_link_libraries(profile_files PUBLIC corvanta_mime corvanta_base)
corvanta_test(unit_profiles SOURCES profiles_file_test.cpp fake_passwd.cpp LIBS profile_files LABELS unit)
corvanta_test(unit_address_book SOURCES address_book_file_test.cpp LIBS profile_files corvanta_fixtures LABELS unit)
