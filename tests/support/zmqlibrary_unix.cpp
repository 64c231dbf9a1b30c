// SPDX-License-Identifier: MIT
#include "support/zmqlibrary.h"

#include <dlfcn.h>

void* zmqLibraryFunction(const char* name)
{
    return dlsym(RTLD_NEXT, name);
}
