# SPDX-License-Identifier: MIT
# Gives the program file its version information, its icon and its manifest.

# Versions are compared as decimal numbers, so 1.05 is newer than 1.045. Windows compares whole numbers: three
# decimals each keep the order, as 1.50 and 1.45.
if(NOT QORMONITOR_VERSION MATCHES "^([0-9]+)\\.([0-9][0-9]?[0-9]?)$")
  message(FATAL_ERROR "The version ${QORMONITOR_VERSION} is no number with up to three decimals")
endif()
set(major ${CMAKE_MATCH_1})
string(SUBSTRING "${CMAKE_MATCH_2}00" 0 3 decimals)
math(EXPR minor "1${decimals} - 1000")

set(QORMONITOR_FILE_VERSION ${major},${minor},0,0)
set(QORMONITOR_WINDOWS_RESOURCES ${PROJECT_SOURCE_DIR}/resources/windows)
set(resource_script ${CMAKE_CURRENT_BINARY_DIR}/qormonitor.rc)
configure_file(${QORMONITOR_WINDOWS_RESOURCES}/qormonitor.rc.in ${resource_script} @ONLY)
set_property(SOURCE ${resource_script} PROPERTY OBJECT_DEPENDS
  ${QORMONITOR_WINDOWS_RESOURCES}/qormonitor.ico ${QORMONITOR_WINDOWS_RESOURCES}/qormonitor.manifest)
target_sources(qormonitor_app PRIVATE ${resource_script})
