// SPDX-License-Identifier: MIT
#include "processes.h"

#include <windows.h>

#include <tlhelp32.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace {

struct CloseHandleOf {
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using Handle = std::unique_ptr<void, CloseHandleOf>;

constexpr DWORD shareEverything = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD endTimeoutMs = 5000;
constexpr std::size_t longestPath = 32768;

Handle openFile(const std::filesystem::path& file, DWORD access)
{
    const HANDLE handle = CreateFileW(file.c_str(), access, shareEverything, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    return Handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

// The volume and the number of the file in it: the same for every name of the file, short names and links
// among them.
using FileId = std::tuple<DWORD, DWORD, DWORD>;

std::optional<FileId> fileId(const std::filesystem::path& file)
{
    const Handle handle = openFile(file, FILE_READ_ATTRIBUTES);
    BY_HANDLE_FILE_INFORMATION information {};
    if (!handle || !GetFileInformationByHandle(handle.get(), &information))
        return {};
    return FileId(information.dwVolumeSerialNumber, information.nFileIndexHigh, information.nFileIndexLow);
}

std::filesystem::path programOf(HANDLE process)
{
    std::wstring path(longestPath, L'\0');
    auto length = static_cast<DWORD>(path.size());
    if (!QueryFullProcessImageNameW(process, 0, path.data(), &length))
        return {};
    path.resize(length);
    return path;
}

// Those of other users are left out: the system does not let us look at them.
std::vector<Handle> processesRunning(const FileId& file)
{
    constexpr DWORD access = PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_TERMINATE | SYNCHRONIZE;
    std::vector<Handle> found;
    const Handle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry {};
    entry.dwSize = sizeof entry;
    BOOL more = Process32FirstW(snapshot.get(), &entry);
    for (; more; more = Process32NextW(snapshot.get(), &entry)) {
        Handle process(OpenProcess(access, FALSE, entry.th32ProcessID));
        if (process && fileId(programOf(process.get())) == file)
            found.push_back(std::move(process));
    }
    return found;
}

} // namespace

bool isFree(const std::filesystem::path& file)
{
    if (openFile(file, GENERIC_WRITE | DELETE))
        return true;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool endProcesses(const std::filesystem::path& file)
{
    const auto id = fileId(file);
    if (!id)
        return false;
    const auto processes = processesRunning(*id);
    for (const auto& process : processes) {
        // One that ends by itself at this moment refuses, and has gone all the same.
        TerminateProcess(process.get(), 1);
        if (WaitForSingleObject(process.get(), endTimeoutMs) != WAIT_OBJECT_0)
            return false;
    }
    return !processes.empty();
}
