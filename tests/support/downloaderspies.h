// SPDX-License-Identifier: MIT
#pragma once

#include "dialogs/filedownloader.h"

#include <QSignalSpy>

// Follows one downloader through a transfer.
struct DownloaderSpies {
    explicit DownloaderSpies(FileDownloader* downloader)
        : success(downloader, &FileDownloader::downloadSuccess)
        , failed(downloader, &FileDownloader::downloadFailed)
        , busy(downloader, &FileDownloader::busyChanged)
    {
    }
    int results() const { return success.count() + failed.count(); }

    QSignalSpy success;
    QSignalSpy failed;
    QSignalSpy busy;
};
