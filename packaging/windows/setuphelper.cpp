// SPDX-License-Identifier: MIT
//
// Does for the setup what has to be done as a whole or not at all. The setup unpacks this program into its
// temporary folder and runs it unseen.
//
//   setuphelper wait FILE SECONDS    until nobody uses the program file any more
//   setuphelper end FILE             ends the processes that run the program file
//   setuphelper replace FOLDER       puts the new files from FOLDER\.setup\new into the place of the old ones
//   setuphelper remove FOLDER LIST   removes the files of the list from the folder
//
// It exits with one of the codes below and writes, without a line break, the name of the file that was in the
// way.
#include "installedfiles.h"
#include "processes.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

namespace {

// The setup's script knows these numbers, too.
enum ExitCode {
    Done = 0,
    WrongUsage = 1,
    FailedUnchanged = 2,
    InUse = 3,
    FailedChanged = 4,
};

constexpr auto pollInterval = std::chrono::milliseconds(200);

ExitCode waitUntilFree(const std::filesystem::path& file, int seconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!isFree(file)) {
        if (std::chrono::steady_clock::now() >= end)
            return InUse;
        std::this_thread::sleep_for(pollInterval);
    }
    return Done;
}

ExitCode exitCode(const Outcome& outcome)
{
    if (!outcome.file.empty())
        std::printf("%s", outcome.file.u8string().c_str());
    switch (outcome.result) {
    case Outcome::Done:
        return Done;
    case Outcome::InUse:
        return InUse;
    case Outcome::FailedUnchanged:
        return FailedUnchanged;
    case Outcome::FailedChanged:
        break;
    }
    return FailedChanged;
}

ExitCode run(const std::wstring& command, int count, wchar_t** arguments)
{
    if (command == L"wait" && count == 2)
        return waitUntilFree(arguments[0], std::stoi(arguments[1]));
    if (command == L"end" && count == 1)
        return endProcesses(arguments[0]) ? Done : FailedUnchanged;
    if (command == L"replace" && count == 1)
        return exitCode(InstalledFiles(arguments[0]).replace());
    if (command == L"remove" && count == 2)
        return exitCode(InstalledFiles(arguments[0]).remove(arguments[1]));
    return WrongUsage;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    try {
        return argc < 2 ? WrongUsage : run(argv[1], argc - 2, argv + 2);
    } catch (const std::exception& error) {
        std::printf("%s", error.what());
        return FailedUnchanged;
    }
}
