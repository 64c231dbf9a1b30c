// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// Contact data of the maker and of the author, shown by the start-up banner and the about box.
namespace Contact {

namespace Maker {
inline const auto company = QStringLiteral("Varko Anlagentechnik GmbH");
inline const auto parentCompany = QStringLiteral("Ein Unternehmen der Varko Gruppe");
inline const auto street = QStringLiteral("Beispielweg 12");
inline const auto town = QStringLiteral("00000 Musterstadt");
inline const auto telephone = QStringLiteral("+49 (0) 30 23125 010");
inline const auto fax = QStringLiteral("+49 (0) 30 23125 011");
inline const auto email = QStringLiteral("info@varko.example");
inline const auto webSite = QStringLiteral("www.varko.example");
inline const auto domain = QStringLiteral("varko.example");
} // namespace Maker

namespace Author {
inline const auto firm = QStringLiteral("Softwarewerkstatt Muster");
inline const auto office = QStringLiteral("B&uuml;ro Musterstadt, Erika Muster");
inline const auto street = QStringLiteral("Musterallee 7");
inline const auto town = QStringLiteral("00000 Musterstadt");
inline const auto email = QStringLiteral("entwicklung@muster.example");
} // namespace Author

} // namespace Contact
