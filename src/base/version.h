// SPDX-License-Identifier: MIT
#pragma once

class QString;

// Process-wide constants of this build, created before main and released at exit.

// The program's version, such as "1.045".
const QString& programVersion();

// The build date in the form "dd. MMM yyyy" with an English month.
const QString& buildDate();

// The update server's base URL; its path ends in "/QorMonitorUpdate/".
const QString& updateBaseUrl();

// The Ed25519 public key, in hexadecimal digits, that updates must be signed for; empty when they need not
// be.
const QString& updateKey();
