// SPDX-License-Identifier: MIT
#pragma once

#include <QSslConfiguration>

// Server certificates that nobody trusts, for the host "update.example". They lie in the folder
// "certificates", with one key for both; that key guards nothing.
namespace Certificates {
// Until the year 2120.
QSslConfiguration selfSigned();
// Since the year 2021.
QSslConfiguration expired();
} // namespace Certificates
