# The Debian package; scripts/package builds and checks it.
# A package of a distribution's own, revision 1 and up, goes before this one.
set(revision 0kvtool1)
set(KV_PACKAGE_VERSION ${PROJECT_VERSION}-${revision})
execute_process(COMMAND date -uRd "${KV_RELEASE_DATE} 12:00" OUTPUT_VARIABLE KV_RELEASE_DATE_RFC
    OUTPUT_STRIP_TRAILING_WHITESPACE)
configure_file(changelog.Debian.in changelog.Debian @ONLY)
kv_compressed(changelog.Debian changelog.Debian ${CMAKE_INSTALL_DOCDIR})
kv_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${CMAKE_INSTALL_DOCDIR})
install(FILES copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "${KV_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "configure and watch an air-quality transmitter")
set(CPACK_PACKAGE_DESCRIPTION
"KV Tool is for the service engineer of an air-quality transmitter on a serial
port. It shows who the device is and what it measures, changes its settings,
stores every measurement in a local SQLite file, draws them over time, exports
them as CSV, reads and clears the device's log, sets its clock and updates its
firmware.

The package holds a simulated transmitter too, and lets the user at the seat
open the usual USB serial adapters.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${revision})
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The driver of the store is a plug-in, which nothing links to.
set(CPACK_DEBIAN_PACKAGE_DEPENDS libqt5sql5-sqlite)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/postinst)
include(CPack)
