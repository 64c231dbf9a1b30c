# SPDX-License-Identifier: MIT
# Builds for 64-bit Windows with MinGW-w64. QORMONITOR_WINDOWS_PREFIX is the folder that holds Qt and ZeroMQ for
# Windows; scripts/build-windows makes it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_SYSTEM_VERSION 10.0)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Without the time of the build, the same sources give the same files.
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -Wl,--no-insert-timestamp)
endforeach()

if(NOT QORMONITOR_WINDOWS_PREFIX)
  set(QORMONITOR_WINDOWS_PREFIX $ENV{QORMONITOR_WINDOWS_PREFIX})
endif()
# The checks that CMake makes with small projects of their own need to find the prefix, too.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QORMONITOR_WINDOWS_PREFIX)
set(CMAKE_FIND_ROOT_PATH ${QORMONITOR_WINDOWS_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
