// SPDX-License-Identifier: MIT
#include "dialogs/systemproxies.h"

void SystemProxies::lookUp(const QUrl& url)
{
    Q_UNUSED(url)
}
