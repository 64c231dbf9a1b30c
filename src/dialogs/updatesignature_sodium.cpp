// SPDX-License-Identifier: MIT
#include "dialogs/updatesignature.h"

#include <QByteArray>
#include <QString>

#include <sodium.h>

namespace {
const unsigned char* data(const QByteArray& bytes)
{
    return static_cast<const unsigned char*>(static_cast<const void*>(bytes.constData()));
}
} // namespace

bool isSigned(const QByteArray& bytes, const QString& signature, const QString& key)
{
    const QByteArray signatureBytes = QByteArray::fromHex(signature.toLatin1());
    const QByteArray keyBytes = QByteArray::fromHex(key.toLatin1());
    return signatureBytes.size() == crypto_sign_BYTES && keyBytes.size() == crypto_sign_PUBLICKEYBYTES
        && sodium_init() >= 0
        && crypto_sign_verify_detached(data(signatureBytes), data(bytes),
                                       static_cast<unsigned long long>(bytes.size()), data(keyBytes))
        == 0;
}
