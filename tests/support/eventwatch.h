// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <functional>

// Tells a function of every event of the GUI thread, before its receiver gets it.
class EventWatch : public QObject {
public:
    using Look = std::function<void(QObject* receiver, QEvent::Type type)>;

    explicit EventWatch(Look look)
        : m_look(std::move(look))
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

    bool eventFilter(QObject* receiver, QEvent* event) override
    {
        m_look(receiver, event->type());
        return false;
    }

private:
    Look m_look;
};
