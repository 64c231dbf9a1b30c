// SPDX-License-Identifier: MIT
#pragma once

#include <QMessageBox>
#include <QTimer>

#include <functional>

// Waits for the next modal message box, keeps what it says, and presses its "Ok".
class MessageBoxAnswer : public QObject {
public:
    // What is to happen while the box is open, before the answer.
    explicit MessageBoxAnswer(std::function<void()> meanwhile = {});

    int m_count = 0;
    QString m_text;
    QString m_title;
    QMessageBox::Icon m_icon = QMessageBox::NoIcon;
    QMessageBox::StandardButtons m_buttons = QMessageBox::NoButton;
    const QObject* m_parent = nullptr;

private:
    void answer();

    std::function<void()> m_meanwhile;
    QTimer m_timer;
};
