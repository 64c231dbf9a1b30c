// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <vector>

// How a change of the installed files ended, and the file that was in the way.
struct Outcome {
    enum Result {
        Done,
        InUse, // nothing is changed
        FailedUnchanged,
        FailedChanged, // what had been done could not be undone
    };
    Result result = Done;
    std::filesystem::path file;
};

// The files of the program in their folder. A change takes place as a whole or not at all: the old files are
// moved into FOLDER\.setup\old and deleted when nothing can fail any more. If the machine goes down in
// between, the next change first puts them back.
class InstalledFiles {
public:
    // The name of the list that comes with every version and names its files, one a line.
    static constexpr auto listName = "installed-files.txt";

    explicit InstalledFiles(const std::filesystem::path& folder);

    // Moves what lies in FOLDER\.setup\new into the folder. Files that only the version before had go away;
    // files that no version brought stay.
    Outcome replace();

    // Removes the files that the list names, and the folders that it leaves empty.
    Outcome remove(const std::filesystem::path& list);

private:
    using Files = std::vector<std::filesystem::path>;
    class Moves;

    Outcome undoUnfinishedChange();
    Outcome change(const Files& oldFiles, const Files& newFiles);
    Outcome moveAll(const Files& oldFiles, const Files& newFiles, Moves& moves);
    void cleanUp(const Files& oldFiles);

    const std::filesystem::path m_folder;
    const std::filesystem::path m_setupFolder;
    const std::filesystem::path m_new;
    const std::filesystem::path m_old;
    // Exists once all files are where they belong: what then lies in m_old is waste.
    const std::filesystem::path m_doneMark;
};
