// SPDX-License-Identifier: MIT
#include "link/openfiles.h"

#include <fcntl.h>
#include <sys/resource.h>

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
    // ZeroMQ.
    rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return true;
    int free = 0;
    for (int file = 0; free < count && static_cast<rlim_t>(file) < limit.rlim_cur; ++file)
        free += fcntl(file, F_GETFD) == -1 ? 1 : 0;
    return free >= count;
}
