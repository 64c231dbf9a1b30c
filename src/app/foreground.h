// SPDX-License-Identifier: MIT
#pragma once

// Lets any other process bring its window to the front, once. Windows gives this right to the process that
// the user has just started, which can hand it on; elsewhere nothing has to be handed on.
void handOverForeground();
