// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// Stands between the program under test and the system's name lookup: the only names that have an address
// are those that a test has given one. Unix only. May be used from any thread.
namespace fakenames {

// Forgets all names and counts.
void reset();
// An empty address: the name is known to have none.
void set(const QString& name, const QString& address);
// How long each lookup takes.
void setDelay(int milliseconds);
// How often a name was looked up.
int count(const QString& name);

} // namespace fakenames
