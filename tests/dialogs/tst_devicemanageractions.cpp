// SPDX-License-Identifier: MIT
// The buttons after the loaded unit has been removed: they learn of its end with the next thing that is done.
#include "support/managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/literals.h"
#include "support/teststore.h"

#include <QSettings>
#include <QtTest>

#include <memory>

class TestDeviceManagerActions : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
        m_managed = std::make_unique<ManagedWindow>();
        removeLoadedUnit();
    }

    void rebuildingUpdatesTheButtons()
    {
        m_managed->dialog()->rebuildList();
        QCOMPARE(m_managed->enabledButtons(), nothingLoaded);
    }

    void buttonsUpdateTheButtons_data()
    {
        QTest::addColumn<QByteArray>("button");
        for (const char* button : { "Monitor", "StopMonitor" })
            QTest::newRow(button) << QByteArray(button);
    }

    void buttonsUpdateTheButtons()
    {
        QFETCH(const QByteArray, button);
        m_managed->select(m_second);
        QCOMPARE(m_managed->enabledButtons(), unitLoaded);
        m_managed->click(button.constData());
        QCOMPARE(m_second->monitored(), button == "Monitor");
        QCOMPARE(m_managed->enabledButtons(), nothingLoaded);
    }

    void doubleClickUpdatesTheButtons()
    {
        emit m_managed->tree()->itemDoubleClicked(m_managed->rowOf(m_second), 0);
        QVERIFY(m_second->monitored());
        QCOMPARE(m_managed->enabledButtons(), nothingLoaded);
    }

private:
    // The first of two units is loaded, removed and gone; the second one is left.
    void removeLoadedUnit()
    {
        const QPointer<Device> first(m_managed->add(5566));
        m_second = m_managed->add(5567);
        QVERIFY(m_managed->show());
        m_managed->clickRow(first);
        m_managed->click("Remove");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!first);
        QCOMPARE(m_managed->tree()->topLevelItemCount(), 1);
        // Nothing has told the buttons.
        QCOMPARE(m_managed->enabledButtons(), unitLoaded);
    }

    TestStore m_store;
    std::unique_ptr<ManagedWindow> m_managed;
    Device* m_second = nullptr;
};

QTEST_MAIN(TestDeviceManagerActions)
#include "tst_devicemanageractions.moc"
