// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

// Whether the file can be replaced or removed: nobody runs it, nobody holds it open against that. A file that
// is not there is free.
bool isFree(const std::filesystem::path& file);

// Ends every process that runs this very file, by whatever name, and waits until it has gone. False if there
// was none, or one could not be ended.
bool endProcesses(const std::filesystem::path& file);
