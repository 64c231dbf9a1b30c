// SPDX-License-Identifier: MIT
#pragma once

#include <QDesktopServices>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QUrl>

// Takes the place of the user's browser and mail program.
class Browser : public QObject {
    Q_OBJECT

public:
    Browser()
    {
        for (const QString& scheme : schemes)
            QDesktopServices::setUrlHandler(scheme, this, "open");
    }
    ~Browser() override
    {
        for (const QString& scheme : schemes)
            QDesktopServices::unsetUrlHandler(scheme);
    }
    Q_DISABLE_COPY_MOVE(Browser)

    QList<QUrl> opened;

public slots:
    void open(const QUrl& url) { opened << url; }

private:
    const QStringList schemes { QStringLiteral("http"), QStringLiteral("https"), QStringLiteral("mailto") };
};
