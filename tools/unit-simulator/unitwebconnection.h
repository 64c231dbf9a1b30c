// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <functional>

class QTcpSocket;

// One browser's connection to a unit: reads one request, gives one answer, and deletes itself with its
// socket. Whatever the other side sends or does not send, it ends within the time limits.
class UnitWebConnection : public QObject {
    Q_OBJECT

public:
    using PageSource = std::function<QByteArray()>;
    static constexpr int requestLimit = 8192;

    // The socket becomes a child.
    UnitWebConnection(QTcpSocket* socket, PageSource page, int timeoutMs, QObject* parent);

private:
    void readRequest();
    void answerRequest(const QByteArray& header);
    void answer(const QByteArray& status, const QByteArray& body, const QByteArray& extraHeader = {});
    void answerError(const QByteArray& status, const QByteArray& extraHeader = {});
    void processTimeout();

    QTcpSocket* m_socket;
    PageSource m_page;
    QTimer m_deadline;
    QByteArray m_request;
    bool m_isHead = false;
    bool m_answered = false;
};
