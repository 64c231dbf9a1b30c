// SPDX-License-Identifier: MIT
#pragma once

// The ZeroMQ library's own function of this name, behind the one with which zmqfaults takes its place.
void* zmqLibraryFunction(const char* name);
