// SPDX-License-Identifier: MIT
#pragma once

// A link takes about eight open files. On Linux a program may usually have 1024 of them, and ZeroMQ ends the
// program when it gets none.

// Raises the number of open files to the most that the system allows this program.
void raiseOpenFileLimit();

// Whether the program can open the given number of files more.
bool canOpenFiles(int count);
