// SPDX-License-Identifier: MIT
#include "support/certificates.h"

#include <QDir>
#include <QFile>
#include <QSslCertificate>
#include <QSslKey>

namespace {

QByteArray read(const QString& name)
{
    QFile file(QDir(QStringLiteral(CERTIFICATES_PATH)).filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QSslConfiguration load(const QString& certificate)
{
    QSslConfiguration configuration;
    configuration.setLocalCertificate(QSslCertificate(read(certificate)));
    configuration.setPrivateKey(QSslKey(read(QStringLiteral("key.pem")), QSsl::Rsa));
    return configuration;
}

} // namespace

QSslConfiguration Certificates::selfSigned()
{
    return load(QStringLiteral("self-signed.pem"));
}

QSslConfiguration Certificates::expired()
{
    return load(QStringLiteral("expired.pem"));
}
