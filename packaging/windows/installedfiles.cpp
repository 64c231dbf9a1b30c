// SPDX-License-Identifier: MIT
#include "installedfiles.h"

#include "processes.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr int deleteTries = 10;
constexpr auto deletePause = std::chrono::milliseconds(200);

// Paths relative to the folder, in the order of their names.
std::vector<fs::path> filesBelow(const fs::path& folder)
{
    std::vector<fs::path> files;
    if (fs::exists(folder))
        for (const auto& entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file())
                files.push_back(entry.path().lexically_relative(folder));
    std::sort(files.begin(), files.end());
    return files;
}

// A list is a file that anybody could have written to: what it names outside the folder is left alone.
bool liesBelow(const fs::path& file)
{
    return !file.empty() && !file.has_root_path()
        && std::find(file.begin(), file.end(), fs::path("..")) == file.end();
}

std::vector<fs::path> readList(const fs::path& list)
{
    std::vector<fs::path> files;
    std::ifstream stream(list);
    for (std::string line; std::getline(stream, line);) {
        const fs::path file = fs::u8path(line).make_preferred();
        if (liesBelow(file))
            files.push_back(file);
    }
    return files;
}

const fs::path* firstInUse(const fs::path& folder, const std::vector<fs::path>& files)
{
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&](const fs::path& file) { return !isFree(folder / file); });
    return found == files.end() ? nullptr : &*found;
}

// A virus scanner often reads what has just been moved, for a moment.
bool deleteFolder(const fs::path& folder)
{
    std::error_code error;
    for (int tries = 0; tries < deleteTries; ++tries) {
        fs::remove_all(folder, error);
        if (!error)
            return true;
        std::this_thread::sleep_for(deletePause);
    }
    return false;
}

} // namespace

// Remembers what was moved, so that it can be moved back.
class InstalledFiles::Moves {
public:
    bool move(const fs::path& from, const fs::path& to)
    {
        std::error_code error;
        fs::create_directories(to.parent_path(), error);
        fs::rename(from, to, error);
        if (!error)
            m_done.emplace_back(from, to);
        return !error;
    }

    bool undo()
    {
        bool good = true;
        for (; !m_done.empty(); m_done.pop_back()) {
            std::error_code error;
            fs::rename(m_done.back().second, m_done.back().first, error);
            good = good && !error;
        }
        return good;
    }

private:
    std::vector<std::pair<fs::path, fs::path>> m_done;
};

InstalledFiles::InstalledFiles(const fs::path& folder)
    : m_folder(folder)
    , m_setupFolder(folder / ".setup")
    , m_new(m_setupFolder / "new")
    , m_old(m_setupFolder / "old")
    , m_doneMark(m_setupFolder / "done")
{
}

Outcome InstalledFiles::replace()
{
    if (const Outcome outcome = undoUnfinishedChange(); outcome.result != Outcome::Done)
        return outcome;
    const Files newFiles = filesBelow(m_new);
    const Files listed = readList(m_folder / listName);
    std::set<fs::path> oldFiles(newFiles.begin(), newFiles.end());
    oldFiles.insert(listed.begin(), listed.end());
    return change(Files(oldFiles.begin(), oldFiles.end()), newFiles);
}

Outcome InstalledFiles::remove(const fs::path& list)
{
    if (const Outcome outcome = undoUnfinishedChange(); outcome.result != Outcome::Done)
        return outcome;
    const Files files = readList(list);
    if (files.empty())
        return { Outcome::FailedUnchanged, list };
    return change(files, {});
}

Outcome InstalledFiles::undoUnfinishedChange()
{
    std::error_code error;
    if (!fs::exists(m_doneMark))
        for (const auto& file : filesBelow(m_old)) {
            fs::create_directories((m_folder / file).parent_path(), error);
            fs::rename(m_old / file, m_folder / file, error);
            if (error)
                return { Outcome::FailedChanged, file };
        }
    if (!deleteFolder(m_old))
        return { Outcome::InUse, m_old };
    // It would make a change that is broken off now look finished.
    fs::remove(m_doneMark, error);
    return error ? Outcome { Outcome::FailedUnchanged, m_doneMark } : Outcome {};
}

Outcome InstalledFiles::change(const Files& oldFiles, const Files& newFiles)
{
    Files present;
    std::copy_if(oldFiles.begin(), oldFiles.end(), std::back_inserter(present),
                 [this](const fs::path& file) { return fs::exists(m_folder / file); });
    if (const auto* file = firstInUse(m_folder, present))
        return { Outcome::InUse, *file };

    Moves moves;
    Outcome outcome = moveAll(present, newFiles, moves);
    if (outcome.result == Outcome::Done)
        cleanUp(present);
    else if (moves.undo())
        deleteFolder(m_old);
    else
        outcome.result = Outcome::FailedChanged;
    return outcome;
}

Outcome InstalledFiles::moveAll(const Files& oldFiles, const Files& newFiles, Moves& moves)
{
    for (const auto& file : oldFiles)
        if (!moves.move(m_folder / file, m_old / file))
            return { Outcome::FailedUnchanged, file };
    // Windows lets a running program's files be moved. While they are away nobody can start it; whoever did
    // so just before is found here.
    if (const auto* file = firstInUse(m_old, oldFiles))
        return { Outcome::InUse, *file };
    for (const auto& file : newFiles)
        if (!moves.move(m_new / file, m_folder / file))
            return { Outcome::FailedUnchanged, file };
    std::error_code error;
    fs::create_directories(m_setupFolder, error);
    if (!std::ofstream(m_doneMark))
        return { Outcome::FailedUnchanged, m_doneMark };
    return {};
}

// Whatever cannot be deleted, because somebody is still reading it, is deleted by the next change.
void InstalledFiles::cleanUp(const Files& oldFiles)
{
    deleteFolder(m_new);
    if (!deleteFolder(m_old))
        return;
    std::error_code error;
    fs::remove(m_doneMark, error);
    fs::remove(m_setupFolder, error);
    for (const auto& file : oldFiles)
        for (fs::path parent = file.parent_path(); !parent.empty(); parent = parent.parent_path())
            fs::remove(m_folder / parent, error);
    fs::remove(m_folder, error);
}
