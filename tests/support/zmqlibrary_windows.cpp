// SPDX-License-Identifier: MIT
#include "support/zmqlibrary.h"

#include <zmq.h>

#include <windows.h>

// Code that was compiled for the library's DLL calls it through these pointers. The linker takes them from
// the library's import file only when nobody else has them.
#define STAND_IN(function)                                                                                   \
    extern "C" decltype(function)* const importOf_##function;                                                \
    extern "C" decltype(function)* const importOf_##function __asm__("__imp_" #function);                    \
    decltype(function)* const importOf_##function = function

STAND_IN(zmq_ctx_new);
STAND_IN(zmq_ctx_set);
STAND_IN(zmq_socket);
STAND_IN(zmq_setsockopt);
STAND_IN(zmq_connect);
STAND_IN(zmq_disconnect);
STAND_IN(zmq_close);
STAND_IN(zmq_msg_init_size);
STAND_IN(zmq_msg_recv);

void* zmqLibraryFunction(const char* name)
{
    return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"libzmq.dll"), name));
}
