// SPDX-License-Identifier: MIT
// Has libFuzzer try a target.
#include "fuzztarget.h"

#include <algorithm>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    startFuzzProgram(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QByteArray input(static_cast<int>(size), Qt::Uninitialized);
    std::copy(data, data + size, input.begin());
    tryInput(input);
    return 0;
}
