// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <stdexcept>

// Says what is wrong with something that the user has typed, or written into a file.
class InputError : public std::runtime_error {
public:
    explicit InputError(const QString& text)
        : std::runtime_error(text.toStdString())
    {
    }

    QString text() const { return QString::fromUtf8(what()); }
};
