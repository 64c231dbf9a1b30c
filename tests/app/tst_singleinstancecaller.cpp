// SPDX-License-Identifier: MIT
// What the running instance does with the connection of a later start.
#include "app/singleinstanceapp.h"
#include "support/literals.h"

#include <QApplication>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>

namespace {

const auto name = "guard-of-callers"_s;

// Counts the callers that the server still has whenever the window is shown.
class ShownWindow : public QWidget {
public:
    explicit ShownWindow(const QLocalServer& server)
        : m_server(server)
    {
    }
    QVector<int> m_callers;

protected:
    void showEvent(QShowEvent*) override { m_callers.append(m_server.findChildren<QLocalSocket*>().size()); }

private:
    const QLocalServer& m_server;
};

} // namespace

class TestSingleInstanceCaller : public QObject {
    Q_OBJECT

private slots:
    void isDroppedBeforeTheWindowIsShown()
    {
        SingleInstanceApp guard(name);
        QVERIFY(guard.init());
        const auto* server = guard.findChild<QLocalServer*>();
        QVERIFY(server);
        ShownWindow window(*server);
        guard.setMainWindow(&window);
        QLocalSocket caller;
        caller.connectToServer(name);
        QVERIFY(caller.waitForConnected(5000));
        QTRY_VERIFY(window.isVisible());
        QCOMPARE(window.m_callers, QVector<int> { 0 });
        QTRY_COMPARE(caller.state(), QLocalSocket::UnconnectedState);
    }
};

int main(int argc, char** argv)
{
    // The name is a file among the temporary ones: neither a running monitor nor another test is met.
    const QTemporaryDir temporary;
    qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    const QApplication application(argc, argv);
    TestSingleInstanceCaller test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_singleinstancecaller.moc"
