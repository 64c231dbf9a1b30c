// SPDX-License-Identifier: MIT
#include "dialogs/systemproxies.h"

#include <QNetworkProxy>
#include <QThread>
#include <QUrl>

#include <memory>

namespace {
class KnownProxies : public QNetworkProxyFactory {
public:
    explicit KnownProxies(QList<QNetworkProxy> proxies)
        : m_proxies(std::move(proxies))
    {
    }
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override
    {
        Q_UNUSED(query)
        return m_proxies;
    }

private:
    QList<QNetworkProxy> m_proxies;
};
} // namespace

bool SystemProxies::areKnown(const QUrl& url)
{
    if (m_state != Unknown)
        return m_state == Known;
    m_state = Searching;
    const auto proxies = std::make_shared<QList<QNetworkProxy>>();
    // Without a parent: a search that is still going on must not hold up the end of the program, and ends
    // with it.
    auto* thread = QThread::create(
        [url, proxies] { *proxies = QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url)); });
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    connect(thread, &QThread::finished, this, [this, proxies] {
        // Qt takes the factory over.
        QNetworkProxyFactory::setApplicationProxyFactory(new KnownProxies(*proxies));
        m_state = Known;
        emit found();
    });
    thread->start();
    return false;
}
