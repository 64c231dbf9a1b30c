// SPDX-License-Identifier: MIT
#include "app/foreground.h"

#include <windows.h>

void handOverForeground()
{
    AllowSetForegroundWindow(ASFW_ANY);
}
