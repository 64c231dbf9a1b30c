// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QUrl;

// Learns by which proxies a URL is reached, before a transfer needs to know. Windows may search the network
// for seconds, and QNetworkAccessManager asks it in the calling thread, so it is asked in a thread of its
// own, and the answer then serves the whole program. Elsewhere Qt finds the answer at once, and nothing is
// looked up. Lives on the GUI thread.
class SystemProxies : public QObject {
    Q_OBJECT

public:
    void lookUp(const QUrl& url);
    bool areKnown() const { return m_known; }

signals:
    // Only after a lookUp() that did not answer at once.
    void found();

private:
    bool m_known = true;
};
