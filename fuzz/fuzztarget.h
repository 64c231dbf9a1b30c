// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <cstdlib>

// Each fuzz target defines this. It must leave nothing behind that changes the next call.
void tryInput(const QByteArray& input);

// Makes the program around it: quiet, and with a settings store in a temporary folder. Called once.
void startFuzzProgram(int& argc, char** argv);

// Ends the program when a rule does not hold, so that libFuzzer keeps the input.
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}
