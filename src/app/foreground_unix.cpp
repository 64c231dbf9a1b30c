// SPDX-License-Identifier: MIT
#include "app/foreground.h"

void handOverForeground()
{
}
