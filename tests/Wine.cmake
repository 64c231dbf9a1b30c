# SPDX-License-Identifier: MIT
# Runs the tests under Wine, in a prefix that is made before the first and removed behind the last of them.
set(wine ${CMAKE_CURRENT_SOURCE_DIR}/support/wine)
set(folder ${CMAKE_CURRENT_BINARY_DIR}/wine)
set(CMAKE_CROSSCOMPILING_EMULATOR ${wine} run ${folder})

# Where the DLLs lie: ours, and those of the compiler.
set(libraries ${QORMONITOR_WINDOWS_PREFIX}/bin)
foreach(library IN ITEMS libstdc++-6.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  file(REAL_PATH ${file} file)
  cmake_path(GET file PARENT_PATH file)
  list(APPEND libraries ${file})
endforeach()

add_test(NAME wine_create COMMAND ${wine} create ${folder} ${libraries})
set_tests_properties(wine_create PROPERTIES FIXTURES_SETUP wine)
add_test(NAME wine_remove COMMAND ${wine} remove ${folder})
set_tests_properties(wine_remove PROPERTIES FIXTURES_CLEANUP wine)
set(QORMONITOR_TEST_FIXTURES wine)
