// SPDX-License-Identifier: MIT
#pragma once

class QByteArray;
class QString;

// Whether this is the Ed25519 signature of the bytes by the owner of the public key. Key and signature are in
// hexadecimal digits, 64 and 128 of them; others sign nothing. Without libsodium nothing is signed.
bool isSigned(const QByteArray& bytes, const QString& signature, const QString& key);
