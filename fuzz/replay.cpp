// SPDX-License-Identifier: MIT
// Runs a fuzz target once on each file of the given folders.
#include "fuzztarget.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv)
{
    startFuzzProgram(argc, argv);
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        const QDir folder(QFile::decodeName(argv[i]));
        const QStringList names = folder.entryList(QDir::Files);
        for (const QString& name : names) {
            QFile file(folder.filePath(name));
            if (!file.open(QIODevice::ReadOnly))
                return EXIT_FAILURE;
            std::printf("%s\n", qPrintable(file.fileName()));
            std::fflush(stdout);
            tryInput(file.readAll());
            ++count;
        }
    }
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
