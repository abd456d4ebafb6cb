# The Debian package: cpack -G DEB, or scripts/package, which also checks it.

set(CPACK_PACKAGE_NAME tarrow)
set(CPACK_PACKAGE_VENDOR "The Tarrow authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "stage timer for live events")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)

set(TARROW_MAINTAINER "The Tarrow authors <tarrow@quillfen.com>" CACHE STRING
  "Who answers for the Debian package: name and address")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${TARROW_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Tarrow shows speakers, crew and audience the time they have left. An operator
starts a countdown or a cue of the running order; every chosen display, every
browser in the house and every key of a Stream Deck follows. Lighting desks
and scripts drive it with one-line commands by UDP.
.
An NDI source of the same picture needs the NDI runtime, which Debian does not
have.")
# A plug-in of Qt and a command, which no library's dependencies name.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, xdg-utils")
# The NDI runtime loads it.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libavahi-client3")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst ${CMAKE_CURRENT_SOURCE_DIR}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)

# Debian's own papers, which no other installation wants.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  install(FILES debian/copyright DESTINATION share/doc/tarrow)
  tarrow_compressed(debian/changelog share/doc/tarrow changelog.Debian)
endif()
