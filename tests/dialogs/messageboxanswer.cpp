// SPDX-License-Identifier: MIT
#include "messageboxanswer.h"

#include <QAbstractButton>
#include <QApplication>

#include <utility>

MessageBoxAnswer::MessageBoxAnswer(std::function<void()> meanwhile)
    : m_meanwhile(std::move(meanwhile))
{
    connect(&m_timer, &QTimer::timeout, this, &MessageBoxAnswer::answer);
    m_timer.start(1);
}

void MessageBoxAnswer::answer()
{
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!box)
        return;
    m_timer.stop();
    ++m_count;
    m_text = box->text();
    m_title = box->windowTitle();
    m_icon = box->icon();
    m_buttons = box->standardButtons();
    m_parent = box->parent();
    if (m_meanwhile)
        m_meanwhile();
    box->button(QMessageBox::Ok)->click();
}
