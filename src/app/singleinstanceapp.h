// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QLocalServer;
class QWidget;

// Lets only one monitor run at a time. The first start claims a named local server; a later start finds
// the name answered, which brings the first one's window to the front, and gives up. The connection itself
// is the message, nothing is sent over it. Owned by main, lives on the GUI thread.
class SingleInstanceApp : public QObject {
    Q_OBJECT

public:
    explicit SingleInstanceApp(QString name, QObject* parent = nullptr);

    // Claims the name. False means that another instance answered and this one is to quit; true means go
    // on, also when the name is taken but nobody answers: a second monitor is better than none.
    bool init();

    // The window that a later start brings to the front; it may be deleted at any time.
    void setMainWindow(QWidget* mainWindow);

private:
    enum class Answer {
        Given,
        // A monitor that does not get round to answering keeps its name.
        NotInTime,
        NobodyThere,
    };

    bool listen();
    bool takeOverStaleName();
    Answer askRunningInstance() const;
    void processNewConnection();

    QString m_name;
    QLocalServer* m_server = nullptr;
    QPointer<QWidget> m_mainWindow;
};
