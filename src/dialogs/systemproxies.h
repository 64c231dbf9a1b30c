// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QUrl;

// Learns by which proxies a URL is reached, before a transfer needs to know. Windows may search the network
// for seconds, and QNetworkAccessManager asks it in the calling thread, so it is asked in a thread of its
// own, and the answer then serves the whole program. Elsewhere Qt finds the answer at once. Lives on the GUI
// thread.
class SystemProxies : public QObject {
    Q_OBJECT

public:
    // Whether they are known. If not, a search begins, unless there is one.
    bool areKnown(const QUrl& url);

signals:
    // A search has ended.
    void found();

private:
    enum {
        Unknown,
        Searching,
        Known,
    } m_state
        = Unknown;
};
