// SPDX-License-Identifier: MIT
#include "link/openfiles.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>

void raiseOpenFileLimit()
{
    rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

bool canOpenFiles(int count)
{
    // Looks for free numbers. To open files on trial would take them from other threads meanwhile, and from
    // ZeroMQ. From above, since the system gives the lowest first.
    rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return true;
    // More than any system grants.
    constexpr rlim_t manyFiles = 1U << 30U;
    int free = 0;
    for (int file = static_cast<int>(std::min(limit.rlim_cur, manyFiles)) - 1; free < count && file >= 0;
         --file)
        free += fcntl(file, F_GETFD) == -1 ? 1 : 0;
    return free >= count;
}
