// SPDX-License-Identifier: MIT
#include "support/messageboxes.h"

#include <QApplication>
#include <QEvent>
#include <QPushButton>
#include <QTimer>

MessageBoxes::MessageBoxes()
{
    QCoreApplication::instance()->installEventFilter(this);
}

void MessageBoxes::answer(QMessageBox::StandardButton button)
{
    answer([button](QMessageBox* box) { click(box, button); });
}

void MessageBoxes::click(QMessageBox* box, QMessageBox::StandardButton button)
{
    box->button(button)->click();
}

bool MessageBoxes::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Show) {
        if (auto* box = qobject_cast<QMessageBox*>(watched)) {
            m_seen.append({ box->icon(), box->windowTitle(), box->text(), box->standardButtons(),
                            box->defaultButton(), box->standardButton(box->defaultButton()),
                            box->parentWidget(), box->isModal() });
            QTimer::singleShot(0, box, [this, box] { handle(box); });
        }
    }
    return QObject::eventFilter(watched, event);
}

void MessageBoxes::handle(QMessageBox* box)
{
    if (m_answers.isEmpty())
        click(box, box->button(QMessageBox::Ok) ? QMessageBox::Ok : QMessageBox::No);
    else
        m_answers.dequeue()(box);
}
