// SPDX-License-Identifier: MIT
#include "support/messageboxes.h"

#include <QApplication>
#include <QEvent>
#include <QPushButton>
#include <QTimer>
#include <QtTest>

MessageBoxes::MessageBoxes()
{
    QCoreApplication::instance()->installEventFilter(this);
}

void MessageBoxes::answer(QMessageBox::StandardButton button)
{
    answer([button](QMessageBox* box) { click(box, button); });
}

void MessageBoxes::answer(const Answer& action)
{
    answerDialog([action](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        QVERIFY2(box, "An answer for a message box met another dialog.");
        action(box);
    });
}

void MessageBoxes::click(QMessageBox* box, QMessageBox::StandardButton button)
{
    box->button(button)->click();
}

void MessageBoxes::compareLast(QMessageBox::Icon icon, const QString& title, const QString& text,
                               const QWidget* parent, QMessageBox::StandardButtons buttons) const
{
    const Box box = last();
    QCOMPARE(box.text, text);
    QCOMPARE(box.title, title);
    QCOMPARE(box.icon, icon);
    QCOMPARE(box.buttons, buttons);
    QCOMPARE(box.defaultButton, buttons == QMessageBox::Ok ? QMessageBox::Ok : QMessageBox::NoButton);
    QCOMPARE(box.parent, parent);
}

bool MessageBoxes::eventFilter(QObject* watched, QEvent* event)
{
    auto* dialog = event->type() == QEvent::Show ? qobject_cast<QDialog*>(watched) : nullptr;
    if (dialog && dialog->isModal()) {
        Box seen;
        seen.dialog = dialog;
        seen.className = dialog->metaObject()->className();
        seen.title = dialog->windowTitle();
        seen.parent = dialog->parentWidget();
        if (const auto* box = qobject_cast<QMessageBox*>(dialog)) {
            seen.icon = box->icon();
            seen.text = box->text();
            seen.buttons = box->standardButtons();
            seen.defaultButton = box->standardButton(box->defaultButton());
        }
        m_seen.append(seen);
        QTimer::singleShot(0, dialog, [this, dialog] { handle(dialog); });
    }
    return QObject::eventFilter(watched, event);
}

void MessageBoxes::handle(QDialog* dialog)
{
    auto* box = qobject_cast<QMessageBox*>(dialog);
    const QPointer<QDialog> guard(dialog);
    if (!m_answers.isEmpty())
        m_answers.dequeue()(dialog);
    else if (box)
        click(box, box->button(QMessageBox::Ok) ? QMessageBox::Ok : QMessageBox::No);
    else
        dialog->reject();
    // An answer that gives up half-way would leave the test waiting for ever.
    if (guard && QTest::currentTestFailed())
        guard->reject();
}
