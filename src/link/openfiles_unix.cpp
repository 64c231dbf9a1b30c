// SPDX-License-Identifier: MIT
#include "link/openfiles.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <mutex>
#include <vector>

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
    // Of many links that look at the same moment, none must see the files that another one has opened.
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::vector<int> files;
    while (static_cast<int>(files.size()) < count) {
        const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (file == -1)
            break;
        files.push_back(file);
    }
    for (const int file : files)
        close(file);
    return static_cast<int>(files.size()) == count;
}
