# The packages; scripts/package builds and checks them.
# A distribution's own package has revision 1 or higher and replaces this one.
set(revision 0kvtool1)
set(KV_PACKAGE_VERSION ${PROJECT_VERSION}-${revision})
execute_process(COMMAND date -uRd "${KV_RELEASE_DATE} 12:00" OUTPUT_VARIABLE KV_RELEASE_DATE_RFC
    OUTPUT_STRIP_TRAILING_WHITESPACE)
configure_file(changelog.Debian.in changelog.Debian @ONLY)
kv_compressed(changelog.Debian changelog.Debian ${CMAKE_INSTALL_DOCDIR} COMPONENT debian EXCLUDE_FROM_ALL)
install(FILES doc-base DESTINATION ${CMAKE_INSTALL_DATADIR}/doc-base RENAME kvtool
    COMPONENT debian EXCLUDE_FROM_ALL)
kv_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${CMAKE_INSTALL_DOCDIR})
install(FILES copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "${KV_MAINTAINER}")
set(CPACK_PACKAGE_HOMEPAGE_URL "${KV_SITE}")
set(CPACK_PACKAGE_VENDOR "KV Tool developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "configure and monitor an air-quality transmitter")
set(CPACK_PACKAGE_DESCRIPTION
"KV Tool is for engineers who service air-quality transmitters. It connects to a
transmitter on a serial port, shows its identity and measurements, changes its
settings, stores every reading in a local SQLite file, draws the readings over
time, exports them as CSV, reads and clears the device's log, sets its clock
and updates its firmware.

The package also contains a simulated transmitter and a demo that uses it. It
gives the logged-in user access to common USB serial adapters.")

# The component "debian" contains the files that only the Debian package needs.
set(CPACK_INSTALL_CMAKE_PROJECTS
    "${PROJECT_BINARY_DIR};kvtool;ALL;/;${PROJECT_BINARY_DIR};kvtool;debian;/")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${revision})
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The SQLite driver is a plug-in, so no program links to it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS libqt5sql5-sqlite)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS xdg-utils)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS sqlite3)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/postinst)

set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE ${revision})
set(CPACK_RPM_PACKAGE_LICENSE GPL-3.0-or-later)
set(CPACK_RPM_PACKAGE_SUMMARY "Configure and monitor an air-quality transmitter")
set(CPACK_RPM_PACKAGE_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")
# The times and the host are fixed so that each build produces the same bytes.
set(CPACK_RPM_SPEC_MORE_DEFINE "%define packager ${KV_MAINTAINER}
%define use_source_date_epoch_as_buildtime 1
%define clamp_mtime_to_source_date_epoch 1
%define _buildhost localhost
Recommends: xdg-utils
# Qt loads the SQLite driver as a plug-in, so no dependency on it is generated.
Recommends: (qt5-qtbase or libQt5Sql5-sqlite)")
set(CPACK_RPM_PACKAGE_GROUP Applications/Engineering)
set(CPACK_RPM_POST_INSTALL_SCRIPT_FILE ${CMAKE_CURRENT_SOURCE_DIR}/postinst)
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /usr/lib/udev /usr/lib/udev/rules.d /usr/share/applications /usr/share/metainfo /usr/share/icons
    /usr/share/icons/hicolor /usr/share/man /usr/share/man/man1 /usr/share/doc)
foreach(size IN ITEMS 16x16 22x22 24x24 32x32 48x48 64x64 128x128 256x256 512x512 scalable)
    list(APPEND CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
        /usr/share/icons/hicolor/${size} /usr/share/icons/hicolor/${size}/apps)
endforeach()
include(CPack)
