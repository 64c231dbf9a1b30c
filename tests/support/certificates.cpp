// SPDX-License-Identifier: MIT
#include "support/certificates.h"

#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>
#include <QTemporaryDir>

namespace {

bool openssl(const QTemporaryDir& directory, const QString& arguments)
{
    QProcess process;
    process.setWorkingDirectory(directory.path());
    process.start(QStringLiteral("openssl"), arguments.split(QLatin1Char(' ')));
    return process.waitForFinished(20000) && process.exitStatus() == QProcess::NormalExit
        && process.exitCode() == 0;
}

QByteArray read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QSslConfiguration make(const QString& validity)
{
    const QTemporaryDir directory;
    const bool made = openssl(directory,
                              QStringLiteral("req -newkey rsa:2048 -nodes -keyout key.pem -out request.pem "
                                             "-subj /CN=update.example"))
        && openssl(directory,
                   QStringLiteral("x509 -req -in request.pem -signkey key.pem -out certificate.pem ")
                       + validity);
    if (!made)
        return {};
    QSslConfiguration configuration;
    configuration.setLocalCertificate(
        QSslCertificate(read(directory.filePath(QStringLiteral("certificate.pem")))));
    configuration.setPrivateKey(QSslKey(read(directory.filePath(QStringLiteral("key.pem"))), QSsl::Rsa));
    return configuration;
}

} // namespace

QSslConfiguration Certificates::selfSigned()
{
    return make(QStringLiteral("-days 2"));
}

QSslConfiguration Certificates::expired()
{
    return make(QStringLiteral("-days -1"));
}
