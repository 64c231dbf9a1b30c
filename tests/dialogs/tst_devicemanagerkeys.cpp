// SPDX-License-Identifier: MIT
// The device manager under the keyboard.
#include "support/managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/literals.h"
#include "support/teststore.h"

#include <QApplication>
#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

class TestDeviceManagerKeys : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
    }

    void returnInAFieldDoesNothing_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<Qt::Key>("key");
        for (const char* field : { "NewHost", "Port", "WebPort", "WebScheme" }) {
            QTest::addRow("return in %s", field) << QByteArray(field) << Qt::Key_Return;
            QTest::addRow("enter in %s", field) << QByteArray(field) << Qt::Key_Enter;
        }
    }

    void returnInAFieldDoesNothing()
    {
        QFETCH(const QByteArray, field);
        QFETCH(const Qt::Key, key);
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.enter("localhost"_s, "7000"_s);
        QLineEdit* edit = managed.field(field.constData());
        edit->setFocus();
        const QString before = managed.fields();
        const QSignalSpy returns(edit, &QLineEdit::returnPressed);
        QTest::keyClick(edit, key);
        QCOMPARE(returns.count(), 1);
        QVERIFY(managed.dialog()->isVisible());
        QCOMPARE(managed.fields(), before);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
        QCOMPARE(managed.list()->count(), 1);
        QVERIFY(!unit->monitored());
    }

    void returnOnARowLoadsItsUnit_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("return") << Qt::Key_Return;
        QTest::newRow("enter") << Qt::Key_Enter;
    }

    void returnOnARowLoadsItsUnit()
    {
        QFETCH(const Qt::Key, key);
        ManagedWindow managed;
        const Device* unit = managed.add(5566, "81"_s);
        QVERIFY(managed.show());
        managed.tree()->setFocus();
        managed.select(unit);
        QTest::keyClick(managed.tree(), key);
        QCOMPARE(managed.fields(), "127.0.0.1 5566 81 http"_s);
        QCOMPARE(managed.enabledButtons(), unitLoaded);
        QVERIFY(!unit->monitored());
    }

    void arrowsMoveTheCurrentRowOnly()
    {
        ManagedWindow managed;
        const Device* first = managed.add(5566);
        const Device* second = managed.add(5567);
        QVERIFY(managed.show());
        managed.clickRow(first);
        QTest::keyClick(managed.tree(), Qt::Key_Down);
        QCOMPARE(managed.tree()->currentItem(), managed.rowOf(second));
        QCOMPARE(managed.fields(), "127.0.0.1 5566 80 http"_s);
        managed.click("Monitor");
        QVERIFY(!first->monitored());
        QVERIFY(second->monitored());
    }

    void returnOnAButtonPressesNothing()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        for (const char* name :
             { "Monitor", "StopMonitor", "Remove", "Refresh", "ChangeHost", "AddHost", "Close" }) {
            const QSignalSpy clicks(managed.button(name), &QPushButton::clicked);
            managed.button(name)->setFocus();
            QTest::keyClick(managed.button(name), Qt::Key_Return);
            QCOMPARE(clicks.count(), 0);
        }
    }

    void spacePressesTheButton()
    {
        ManagedWindow managed;
        QVERIFY(managed.show());
        managed.field("NewHost")->setFocus();
        QTest::keyClicks(managed.field("NewHost"), "127.0.0.1"_s);
        managed.button("AddHost")->setFocus();
        QTest::keyClick(managed.button("AddHost"), Qt::Key_Space);
        QCOMPARE(storedUnits(), "127.0.0.1:5566 80 http false"_s);
        managed.button("Close")->setFocus();
        QTest::keyClick(managed.button("Close"), Qt::Key_Space);
        QVERIFY(!managed.dialog()->isVisible());
    }

    void tabVisitsTheFormInOrder()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        managed.tree()->setFocus();
        QStringList visited;
        for (int i = 0; i < 12; ++i) {
            QWidget* focus = QApplication::focusWidget();
            QVERIFY(focus);
            visited << focus->objectName();
            QTest::keyClick(focus, Qt::Key_Tab);
        }
        QCOMPARE(visited.join(QLatin1Char(' ')),
                 QStringLiteral("treeWidget pushButtonMonitor pushButtonStopMonitor pushButtonRemove "
                                "pushButtonRefresh lineEditNewHost lineEditPort lineEditWebPort "
                                "lineEditWebScheme pushButtonChangeHost pushButtonAddHost pushButtonClose"));
        QCOMPARE(QApplication::focusWidget(), managed.tree());
    }

    void labelsBelongToTheirFields()
    {
        const ManagedWindow managed;
        const auto buddy = [&](const char* name) {
            return managed.dialog()->findChild<QLabel*>(QLatin1String(name))->buddy();
        };
        QCOMPARE(buddy("label"), managed.field("NewHost"));
        QCOMPARE(buddy("label_2"), managed.field("Port"));
        QCOMPARE(buddy("label_3"), managed.field("WebPort"));
        QCOMPARE(buddy("label_4"), managed.field("WebScheme"));
    }

    void escapeHides()
    {
        ManagedWindow managed;
        const Device* unit = managed.add(5566);
        QVERIFY(managed.show());
        managed.clickRow(unit);
        QTest::keyClick(managed.field("NewHost"), Qt::Key_Escape);
        QVERIFY(!managed.dialog()->isVisible());
        QCOMPARE(managed.fields(), "127.0.0.1 5566 80 http"_s);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerKeys)
#include "tst_devicemanagerkeys.moc"
