# SPDX-License-Identifier: MIT
# Merges Qt's German catalogues and compiles the resources into the library.

# Qt's own qt_de.qm only names other files and does not load from a resource, so the
# catalogues of the modules that the program uses are merged into one.
get_target_property(QORMONITOR_QMAKE Qt5::qmake IMPORTED_LOCATION)
execute_process(COMMAND ${QORMONITOR_QMAKE} -query QT_INSTALL_TRANSLATIONS
  OUTPUT_VARIABLE QORMONITOR_QT_TRANSLATIONS OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
find_program(QORMONITOR_LCONVERT NAMES lconvert lconvert-qt5 REQUIRED HINTS /usr/lib/qt5/bin)
# They are the same for every system, so a build for another one takes those of this machine.
find_path(QORMONITOR_QT_CATALOGUES qtbase_de.qm REQUIRED NO_CMAKE_FIND_ROOT_PATH
  PATHS ${QORMONITOR_QT_TRANSLATIONS} /usr/share/qt5/translations)

set(translation ${CMAKE_CURRENT_BINARY_DIR}/qt_de.qm)
set(catalogues ${QORMONITOR_QT_CATALOGUES}/qtbase_de.qm ${QORMONITOR_QT_CATALOGUES}/qtmultimedia_de.qm)
add_custom_command(OUTPUT ${translation}
  COMMAND ${QORMONITOR_LCONVERT} -i ${catalogues} -o ${translation}
  DEPENDS ${catalogues} VERBATIM)

set(QORMONITOR_RESOURCES ${PROJECT_SOURCE_DIR}/resources)
set(QORMONITOR_TRANSLATION ${translation})
configure_file(app/qormonitor.qrc.in qormonitor.qrc @ONLY)
set(resource_code ${CMAKE_CURRENT_BINARY_DIR}/qrc_qormonitor.cpp)
file(GLOB_RECURSE resource_files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/resources/*.png
  ${PROJECT_SOURCE_DIR}/resources/*.wav)
# The files' dates, which nobody asks for, would differ between two checkouts of the same sources.
add_custom_command(OUTPUT ${resource_code}
  COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=1
          $<TARGET_FILE:Qt5::rcc> --format-version 3 --name qormonitor -o ${resource_code}
          ${CMAKE_CURRENT_BINARY_DIR}/qormonitor.qrc
  DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/qormonitor.qrc ${translation} ${resource_files} VERBATIM)
target_sources(qormonitor PRIVATE ${resource_code})
set_property(SOURCE ${resource_code} PROPERTY SKIP_AUTOGEN ON)
