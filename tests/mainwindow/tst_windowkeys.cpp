// SPDX-License-Identifier: MIT
// The ways through the main window without a mouse.
#include "support/browser.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "widgets/devicerow.h"
#include "support/literals.h"
#include "support/monitorwindow.h"
#include "support/units.h"
#include "support/teststore.h"

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QTextBrowser>
#include <QtTest>

#include <memory>

namespace {

// Every message row of its own unit, so that each opens another page.
void fillMessageList(const MainWinQorMonitor& window)
{
    DeviceList* units = window.deviceList();
    for (const int webPort : { 8081, 8082, 8083 })
        units->addDevice("127.0.0.1"_s, webPort, webPort, "http"_s);
    // Afterwards: each new unit has the list built anew.
    for (int i = 0; i < units->count(); ++i)
        addDeviceRow(messageList(window), new QTreeWidgetItem(0), units->at(i));
}

} // namespace

class TestWindowKeys : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        m_window = std::make_unique<MainWinQorMonitor>();
        fillMessageList(*m_window);
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        messageList(*m_window)->setFocus();
        QVERIFY(messageList(*m_window)->hasFocus());
    }

    void cleanup() { m_window.reset(); }
    void keyOpensTheSelectedRow_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("return") << Qt::Key_Return;
        QTest::newRow("enter") << Qt::Key_Enter;
    }

    void keyOpensTheSelectedRow()
    {
        QFETCH(const Qt::Key, key);
        QTreeWidget* list = messageList(*m_window);
        list->setCurrentItem(list->topLevelItem(0));
        const Browser browser;
        QTest::keyClick(list, Qt::Key_Down);
        QVERIFY(browser.opened.isEmpty());
        QTest::keyClick(list, key);
        QCOMPARE(browser.opened, QList<QUrl>({ QUrl("http://127.0.0.1:8082/"_s) }));
    }

    void keyOpensNothingWithoutASelection_data() { keyOpensTheSelectedRow_data(); }
    void keyOpensNothingWithoutASelection()
    {
        QFETCH(const Qt::Key, key);
        QTreeWidget* list = messageList(*m_window);
        const Browser browser;
        list->setCurrentItem(list->topLevelItem(1), 0, QItemSelectionModel::NoUpdate);
        QVERIFY(list->selectedItems().isEmpty());
        QTest::keyClick(list, key);
        QVERIFY(browser.opened.isEmpty());
    }

    void keyIsTheListsOnly_data() { keyOpensTheSelectedRow_data(); }
    void keyIsTheListsOnly()
    {
        QFETCH(const Qt::Key, key);
        QTreeWidget* list = messageList(*m_window);
        list->setCurrentItem(list->topLevelItem(1));
        auto* logo = m_window->centralWidget()->findChild<QTextBrowser*>();
        logo->setFocus();
        const Browser browser;
        QTest::keyClick(logo, key);
        QVERIFY(browser.opened.isEmpty());
    }

    void f10OpensTheFirstMenu()
    {
        auto* menu = m_window->findChild<QMenu*>("menuApplication"_s);
        QVERIFY(!m_window->menuBar()->activeAction());
        QTest::keyClick(messageList(*m_window), Qt::Key_F10);
        QCOMPARE(m_window->menuBar()->activeAction(), menu->menuAction());
        QCOMPARE(m_window->menuBar()->actions().first(), menu->menuAction());
        QCOMPARE(QApplication::activePopupWidget(), menu);
        QTest::keyClick(menu, Qt::Key_Escape);
        QVERIFY(!menu->isVisible());
    }

private:
    TestStore m_store;
    std::unique_ptr<MainWinQorMonitor> m_window;
};

QTEST_MAIN(TestWindowKeys)
#include "tst_windowkeys.moc"
