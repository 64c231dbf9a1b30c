// SPDX-License-Identifier: MIT
#pragma once

// What a copy of the test of the log formatter does: it logs in the role that its first argument names.
int runAsLogChild(int argc, char* argv[]);
