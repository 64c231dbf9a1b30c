# SPDX-License-Identifier: MIT
# What the Debian package holds, and how CPack makes it; see scripts/build-deb.
set(here ${PROJECT_SOURCE_DIR}/packaging/debian)
set(made ${PROJECT_BINARY_DIR}/package-files)
set(documents share/doc/qormonitor)

# The update check compares decimal numbers, so 1.05 comes after 1.045. To dpkg the part behind the point is a whole
# number, and 5 comes before 45. With three decimals in each version both agree.
if(NOT QORMONITOR_VERSION MATCHES "^([0-9]+)(\\.([0-9][0-9]?[0-9]?))?$")
  message(FATAL_ERROR "The Debian package needs a QORMONITOR_VERSION with at most three decimals")
endif()
string(SUBSTRING "${CMAKE_MATCH_3}000" 0 3 decimals)
set(package_version ${CMAKE_MATCH_1}.${decimals})

# Debian keeps manual pages and changelogs packed. Without the time of the run, for the sake of equal bytes.
set(packed)
function(install_packed source name destination)
  add_custom_command(OUTPUT ${made}/${name}.gz
    COMMAND ${CMAKE_COMMAND} -E copy ${source} ${made}/${name}
    COMMAND gzip --best --no-name --force ${made}/${name}
    DEPENDS ${source})
  install(FILES ${made}/${name}.gz DESTINATION ${destination})
  set(packed ${packed} ${made}/${name}.gz PARENT_SCOPE)
endfunction()

# Programs
install(TARGETS qormonitor_app unit-simulator RUNTIME DESTINATION bin)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/tools/unit-simulator/scenarios DESTINATION share/qormonitor)
install_packed(${here}/QorMonitor.1 QorMonitor.1 share/man/man1)
install_packed(${here}/unit-simulator.1 unit-simulator.1 share/man/man1)
if(TARGET unit-probe)
  install(TARGETS unit-probe RUNTIME DESTINATION bin)
  install_packed(${here}/unit-probe.1 unit-probe.1 share/man/man1)
endif()
# In lower case as well, for those who type it.
file(MAKE_DIRECTORY ${made}/links)
file(CREATE_LINK QorMonitor ${made}/links/qormonitor SYMBOLIC)
file(CREATE_LINK QorMonitor.1.gz ${made}/links/qormonitor.1.gz SYMBOLIC)
install(FILES ${made}/links/qormonitor DESTINATION bin)
install(FILES ${made}/links/qormonitor.1.gz DESTINATION share/man/man1)

# Desktop
set(icon ${PROJECT_SOURCE_DIR}/resources/svg/favicon.svg)
set(icons)
find_program(RSVG_CONVERT rsvg-convert REQUIRED)
foreach(size IN ITEMS 16 22 24 32 48 64 128 256)
  add_custom_command(OUTPUT ${made}/${size}.png
    COMMAND ${RSVG_CONVERT} --width=${size} --height=${size} --output=${made}/${size}.png ${icon}
    DEPENDS ${icon})
  list(APPEND icons ${made}/${size}.png)
  install(FILES ${made}/${size}.png DESTINATION share/icons/hicolor/${size}x${size}/apps RENAME qormonitor.png)
endforeach()
install(FILES ${icon} DESTINATION share/icons/hicolor/scalable/apps RENAME qormonitor.svg)
install(FILES ${here}/qormonitor.desktop DESTINATION share/applications)
install(FILES ${here}/example.varko.qormonitor.metainfo.xml DESTINATION share/metainfo)

# Where the update check reads which version is installed.
configure_file(${here}/QorMonitor.conf.in ${made}/QorMonitor.conf @ONLY)
install(FILES ${made}/QorMonitor.conf DESTINATION /etc/xdg/Varko)

# Documents. The time is that of SOURCE_DATE_EPOCH, if it is set.
string(TIMESTAMP package_time "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${here}/changelog.in ${made}/changelog.in @ONLY)
install_packed(${made}/changelog.in changelog.Debian ${documents})
install_packed(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog ${documents})
install(FILES ${here}/copyright ${here}/README.Debian ${PROJECT_SOURCE_DIR}/THIRD_PARTY_LICENSES.md
  DESTINATION ${documents})
foreach(type IN ITEMS html pdf)
  install(FILES ${PROJECT_SOURCE_DIR}/build/manual/QorMonitor-Handbuch.${type} DESTINATION ${documents} OPTIONAL)
endforeach()
install(FILES ${here}/lintian-overrides DESTINATION share/lintian/overrides RENAME qormonitor)

add_custom_target(package_files ALL DEPENDS ${packed} ${icons})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/dist)
set(CPACK_PACKAGE_NAME qormonitor)
set(CPACK_PACKAGE_VERSION ${package_version})
set(CPACK_PACKAGE_CONTACT "Varko Anlagentechnik GmbH <info@varko.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop monitor for QORweb II units")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"QorMonitor shows the link state and the warnings of all QORweb II units of
the local network in one coloured list, sounds an alarm until someone
acknowledges it, and lives in the system tray. Its texts are in German.
.
A simulator that plays units, for tests and training, comes along, and a probe
that says what the monitor makes of one unit.")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://www.varko.example/")
# Nothing more is needed at run time: Qt's platform plugins are in libqt5gui5, and libqt5multimedia5 plays the alarm
# without a plugin. packaging/debian/test-package hears it.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# A sound server for the alarm, and what opens a unit's web page.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pipewire-pulse | pulseaudio, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${here}/conffiles)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
# A file outside of the prefix needs it.
set(CPACK_SET_DESTDIR ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DebianPackageTimes.cmake)
include(CPack)
