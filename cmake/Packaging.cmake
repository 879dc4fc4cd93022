# Installing for a desktop, and the Debian package built from that install (cpack, DEB).
# `make package` configures build-pkg with this and runs cpack; the programs, the udev rule,
# the desktop entry, the icon, the manual pages, the copyright file and the changelog are all
# the package holds.

include(GNUInstallDirs)

set(I2CB_PACKAGING_DIR ${PROJECT_SOURCE_DIR}/packaging)

# The udev rule; udev reads <prefix>/lib/udev/rules.d only for the prefix /usr, which is the
# package's.
install(FILES ${I2CB_PACKAGING_DIR}/60-i2cbridge.rules DESTINATION lib/udev/rules.d)

if(I2CB_GUI)
  install(FILES ${I2CB_PACKAGING_DIR}/i2cbridge.desktop
          DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES ${I2CB_PACKAGING_DIR}/i2cbridge.svg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endif()

# Manual pages: the version goes in from project(), then gzip -n so the same sources give the
# same bytes (no name or time stamp in the header).
find_program(I2CB_GZIP gzip REQUIRED)
set(I2CB_MAN_PAGES i2cbridge-cli)
if(I2CB_GUI)
  list(APPEND I2CB_MAN_PAGES i2cbridge)
endif()
set(I2CB_MAN_OUTPUTS)
foreach(page ${I2CB_MAN_PAGES})
  set(roff ${PROJECT_BINARY_DIR}/man/${page}.1)
  configure_file(${I2CB_PACKAGING_DIR}/${page}.1 ${roff} @ONLY)
  add_custom_command(OUTPUT ${roff}.gz
                     COMMAND ${I2CB_GZIP} -9 -n -c ${roff} > ${roff}.gz
                     DEPENDS ${roff}
                     COMMENT "Compressing the manual page ${page}.1")
  list(APPEND I2CB_MAN_OUTPUTS ${roff}.gz)
  install(FILES ${roff}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
add_custom_target(i2cbridge_man ALL DEPENDS ${I2CB_MAN_OUTPUTS})

# The copyright file (machine-readable, the licence in LICENSE) and the package's changelog,
# where Debian looks for them. The package version is the project's with a Debian revision, so
# its changelog is changelog.Debian.gz; its newest entry must be for this version, which makes
# a version bump without an entry stop here rather than ship a changelog that lags behind.
set(I2CB_DEBIAN_REVISION 1)
set(I2CB_PACKAGE_VERSION ${PROJECT_VERSION}-${I2CB_DEBIAN_REVISION})
install(FILES ${I2CB_PACKAGING_DIR}/debian/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
file(STRINGS ${I2CB_PACKAGING_DIR}/debian/changelog I2CB_CHANGELOG_TOP LIMIT_COUNT 1)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
             ${I2CB_PACKAGING_DIR}/debian/changelog)
string(REGEX MATCH "^i2cbridge \\(([^)]*)\\) " I2CB_CHANGELOG_ENTRY "${I2CB_CHANGELOG_TOP}")
if(NOT CMAKE_MATCH_1 STREQUAL I2CB_PACKAGE_VERSION)
  message(FATAL_ERROR "packaging/debian/changelog: the newest entry is for \"${CMAKE_MATCH_1}\", "
                      "not for this version, ${I2CB_PACKAGE_VERSION}: add an entry for it")
endif()
set(I2CB_CHANGELOG_GZ ${PROJECT_BINARY_DIR}/changelog.Debian.gz)
add_custom_command(OUTPUT ${I2CB_CHANGELOG_GZ}
                   COMMAND ${I2CB_GZIP} -9 -n -c ${I2CB_PACKAGING_DIR}/debian/changelog
                           > ${I2CB_CHANGELOG_GZ}
                   DEPENDS ${I2CB_PACKAGING_DIR}/debian/changelog
                   COMMENT "Compressing the package's changelog")
add_custom_target(i2cbridge_changelog ALL DEPENDS ${I2CB_CHANGELOG_GZ})
install(FILES ${I2CB_CHANGELOG_GZ} DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The package. The maintainer is the project itself, as in LICENSE; it has no mailbox, and the
# .invalid domain (reserved never to exist) says so instead of pretending to an address. Whoever
# publishes the package sets their own: -DI2CB_MAINTAINER="Name <address>".
set(I2CB_MAINTAINER_DEFAULT "The i2cbridge developers <developers@i2cbridge.invalid>")
set(I2CB_MAINTAINER "${I2CB_MAINTAINER_DEFAULT}" CACHE STRING "Maintainer line of the Debian package")
# A build folder configured before keeps the example.org address it was given then.
if(I2CB_MAINTAINER STREQUAL "i2cbridge developers <i2cbridge-dev@example.org>")
  set(I2CB_MAINTAINER "${I2CB_MAINTAINER_DEFAULT}" CACHE STRING
      "Maintainer line of the Debian package" FORCE)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME i2cbridge)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE ${I2CB_DEBIAN_REVISION})
set(CPACK_PACKAGE_VENDOR "The i2cbridge developers")
set(CPACK_PACKAGE_CONTACT "${I2CB_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop tool for a USB-to-I2C bridge evaluation board")
# The control file's first line is the summary; this is the long text under it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Opens a USB-to-I2C bridge evaluation board (USB vendor 0547, product 2005)
and reads and writes single registers of the I2C devices behind it, keeps
32-row register tables in register definitions files, sets and reads the
board's GPIO pins and LEDs, and runs scripts of register reads and writes
that compare every read with the data expected.
.
The package holds the Qt window program i2cbridge, the command-line
program i2cbridge-cli for test stations and CI jobs (with JUnit reports and
usbmon traces), and a udev rule that lets the user at the seat open the
board without root. Both programs have a built-in simulated board
(--simulate) to try them without hardware.")
# The Python module: dpkg-shlibdeps finds no interpreter in the extension (Debian's extensions
# do not link libpython), so the package depends on the one Python version the extension was
# built for (found at the top, before this file), as dh_python3 would write it; pytest is only
# needed for the pytest plugin.
if(I2CB_PYTHON)
  math(EXPR next_minor "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "python3 (>= ${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}~), \
python3 (<< ${Python_VERSION_MAJOR}.${next_minor})")
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS python3-pytest)
  string(APPEND CPACK_DEBIAN_PACKAGE_DESCRIPTION "
.
The Python 3 module i2cbridge drives the same board from Python and
pytest (a board fixture from its pytest plugin), with an SMBus class that
keeps the interface of smbus2, so drivers written for it run unchanged.")
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${I2CB_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The shared libraries' packages, from dpkg-shlibdeps (dpkg-dev).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${I2CB_PACKAGING_DIR}/debian/postinst ${I2CB_PACKAGING_DIR}/debian/prerm
    ${I2CB_PACKAGING_DIR}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
