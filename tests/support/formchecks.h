// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

class QWidget;

// Descriptions of forms that tests compare with lists.
namespace FormChecks {

// A dialog's name, size and title, then its layouts in depth-first order: each as its class and name,
// followed by what it holds. A spacer is given by its size and policies, a widget by its class, its name and
// its text or title.
QStringList outline(const QWidget& form);

} // namespace FormChecks
