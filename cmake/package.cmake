# What is installed, and the Debian package of it. `./run package` configures with the preset "package" and calls CPack.

set(data ${CMAKE_INSTALL_DATAROOTDIR})
set(doc ${CMAKE_INSTALL_DOCDIR})

# The program is called Corvanta in the build tree and, as commands are, corvanta in the system.
install(PROGRAMS $<TARGET_FILE:Corvanta> DESTINATION ${CMAKE_INSTALL_BINDIR} RENAME corvanta)
# install(PROGRAMS) does not strip as install(TARGETS) does.
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP)
    execute_process(COMMAND ${CMAKE_STRIP} \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/corvanta\"
                    COMMAND_ERROR_IS_FATAL ANY)
  endif()")

file(GLOB pages CONFIGURE_DEPENDS share/index.html share/guide-*.png)
install(FILES ${pages} DESTINATION ${data}/Corvanta)
install(FILES share/corvanta.desktop DESTINATION ${data}/applications)
install(FILES share/icons/corvanta.svg DESTINATION ${data}/icons/hicolor/scalable/apps)
install(DIRECTORY share/icons/hicolor/ DESTINATION ${data}/icons/hicolor)

# pack(FILE NAME DIRECTORY): a text as Debian wants it, compressed without its date.
find_program(GZIP gzip REQUIRED)
function(pack file name directory)
  set(packed ${CMAKE_CURRENT_BINARY_DIR}/packed/${name})
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/packed)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  execute_process(COMMAND ${GZIP} -9nc INPUT_FILE ${CMAKE_CURRENT_SOURCE_DIR}/${file} OUTPUT_FILE ${packed}
                  COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${packed} DESTINATION ${directory})
endfunction()
pack(share/corvanta.1 corvanta.1.gz ${CMAKE_INSTALL_MANDIR}/man1)
pack(share/corvanta-vserver.8 corvanta-vserver.8.gz ${CMAKE_INSTALL_MANDIR}/man8)
pack(CHANGELOG.md changelog.gz ${data}/doc/corvanta)
pack(packaging/debian/changelog changelog.Debian.gz ${data}/doc/corvanta)
install(FILES packaging/debian/copyright DESTINATION ${data}/doc/corvanta)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corvanta)
set(CPACK_PACKAGE_VENDOR "The Corvanta developers")
set(CPACK_PACKAGE_CONTACT "The Corvanta developers <corvanta@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES TRUE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Plug-ins, which no link tells of: the icons are SVG, and the library's package has their plug-in up to Qt 6.4;
# Wayland, WebP images and opening links can be done without.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-svg-plugins | libqt6svg6 (<< 6.5), hicolor-icon-theme")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, qt6-image-formats-plugins, xdg-utils, fonts-dejavu-core | fonts-freefont-ttf")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "small and fast mail and news client")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Corvanta fetches mail over POP3, files it in folders, reads and posts to
news groups over NNTP, and writes, answers and sends mail over SMTP. It
opens a folder of 100,000 messages at once and keeps every message in a
plain file.

Messages are cleaned and their pictures decoded by a process of its own;
nothing is ever fetched from the network to show one.")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_THREADS 1) # the same bytes whatever the machine
include(CPack)
