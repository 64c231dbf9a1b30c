// SPDX-License-Identifier: MIT
#pragma once

#include <QMessageBox>
#include <QObject>
#include <QQueue>
#include <QVector>

#include <functional>

Q_DECLARE_METATYPE(QMessageBox::Icon)

// Answers message boxes from inside of their own event loops, as a user would, and keeps what each one
// showed. Without a prepared answer a box is closed with its Ok, else its No button.
class MessageBoxes : public QObject {
    Q_OBJECT

public:
    struct Box {
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QString title;
        QString text;
        QMessageBox::StandardButtons buttons = QMessageBox::NoButton;
        // Null for none.
        QAbstractButton* defaultButton = nullptr;
        QMessageBox::StandardButton defaultKind = QMessageBox::NoButton;
        // Only to be compared.
        const QWidget* parent = nullptr;
        bool modal = false;
    };
    using Answer = std::function<void(QMessageBox*)>;

    MessageBoxes();

    // For the next box that has no answer yet.
    void answer(QMessageBox::StandardButton button);
    void answer(const Answer& action) { m_answers.enqueue(action); }
    static void click(QMessageBox* box, QMessageBox::StandardButton button);

    const QVector<Box>& seen() const { return m_seen; }
    int count() const { return m_seen.size(); }
    QString lastText() const { return m_seen.isEmpty() ? QString() : m_seen.last().text; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void handle(QMessageBox* box);

    QQueue<Answer> m_answers;
    QVector<Box> m_seen;
};
