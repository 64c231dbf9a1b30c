# SPDX-License-Identifier: MIT
# Everything that all of our own targets are compiled with travels on this one target.
add_library(qormonitor_build_flags INTERFACE)
target_compile_features(qormonitor_build_flags INTERFACE cxx_std_17)
target_compile_options(qormonitor_build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2)
target_compile_definitions(qormonitor_build_flags INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_CAST_FROM_BYTEARRAY
  QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_STRICT_ITERATORS
  QT_DEPRECATED_WARNINGS QT_DISABLE_DEPRECATED_BEFORE=0x050F00)

option(QORMONITOR_PRECOMPILED_HEADERS "Read Qt's headers once: builds sooner, and hides an include that is missing" OFF)

set(QORMONITOR_SANITIZERS "" CACHE STRING "Value for -fsanitize=, empty for none")
if(QORMONITOR_SANITIZERS)
  target_compile_options(qormonitor_build_flags INTERFACE
    -fsanitize=${QORMONITOR_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(qormonitor_build_flags INTERFACE -fsanitize=${QORMONITOR_SANITIZERS})
endif()
