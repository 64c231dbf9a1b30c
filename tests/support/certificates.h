// SPDX-License-Identifier: MIT
#pragma once

#include <QSslConfiguration>

// Server certificates that nobody trusts, made with the openssl program when they are asked for. Null when
// that fails.
namespace Certificates {
QSslConfiguration selfSigned();
QSslConfiguration expired();
} // namespace Certificates
