// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QQueue>
#include <QVector>

#include <functional>

Q_DECLARE_METATYPE(QMessageBox::Icon)

// Answers modal dialogs from inside of their own event loops, as a user would, and keeps what each one
// showed. Without a prepared answer a message box is closed with its Ok, else its No button, and any other
// dialog with Escape.
class MessageBoxes : public QObject {
    Q_OBJECT

public:
    struct Box {
        // Null as soon as the dialog is gone.
        QPointer<QDialog> dialog;
        QByteArray className;
        QString title;
        // May be gone: compare the pointer, but do not use it.
        const QWidget* parent = nullptr;
        // The members below are set for message boxes only.
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QString text;
        QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
        // NoButton when the box has no default button.
        QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
    };
    using Answer = std::function<void(QMessageBox*)>;

    MessageBoxes();

    // Each is for the next dialog that has no answer yet.
    void answer(QMessageBox::StandardButton button);
    void answer(const Answer& action);
    void answerDialog(const std::function<void(QDialog*)>& action) { m_answers.enqueue(action); }
    static void click(QMessageBox* box, QMessageBox::StandardButton button);

    const QVector<Box>& seen() const { return m_seen; }
    int count() const { return m_seen.size(); }
    // An empty one before the first.
    Box last() const { return m_seen.isEmpty() ? Box() : m_seen.last(); }
    QString lastText() const { return last().text; }
    // Compares the last one with a message box. A lone Ok is to be the default button, others are not.
    void compareLast(QMessageBox::Icon icon, const QString& title, const QString& text, const QWidget* parent,
                     QMessageBox::StandardButtons buttons = QMessageBox::Ok) const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void handle(QDialog* dialog);

    QQueue<std::function<void(QDialog*)>> m_answers;
    QVector<Box> m_seen;
};
