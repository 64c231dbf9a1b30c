// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

class QWidget;

// The outline of a form, which tests compare with a list: the dialog's name, size and title, then its layouts
// in depth-first order, each as its class and name, followed by what it holds. A spacer is given by its size
// and policies, a widget by its class, its name and its text or title.
QStringList formOutline(const QWidget& form);

// The object names of what can be read or worked in the form, and for which a screen reader has no name.
QStringList namelessControls(const QWidget& form);
