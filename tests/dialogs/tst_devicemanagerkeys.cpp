// SPDX-License-Identifier: MIT
// The device manager under the keyboard.
#include "managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/teststore.h"

#include <QApplication>
#include <QLabel>
#include <QSettings>
#include <QSignalSpy>
#include <QtTest>

class TestDeviceManagerKeys : public QObject {
    Q_OBJECT

private slots:
    void init();
    void returnInAFieldDoesNothing_data();
    void returnInAFieldDoesNothing();
    void returnOnARowLoadsItsUnit_data();
    void returnOnARowLoadsItsUnit();
    void arrowsMoveTheCurrentRowOnly();
    void returnOnAButtonPressesNothing();
    void spacePressesTheButton();
    void tabVisitsTheFormInOrder();
    void labelsBelongToTheirFields();
    void escapeHides();

private:
    TestStore m_store;
};

void TestDeviceManagerKeys::init()
{
    m_store.clear();
    QSettings().setValue(QStringLiteral("AutoCheckUpdates"), false);
}

void TestDeviceManagerKeys::returnInAFieldDoesNothing_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<Qt::Key>("key");
    for (const char* field : { "NewHost", "Port", "WebPort", "WebScheme" }) {
        QTest::addRow("return in %s", field) << QByteArray(field) << Qt::Key_Return;
        QTest::addRow("enter in %s", field) << QByteArray(field) << Qt::Key_Enter;
    }
}

void TestDeviceManagerKeys::returnInAFieldDoesNothing()
{
    QFETCH(const QByteArray, field);
    QFETCH(const Qt::Key, key);
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    managed.enter(QStringLiteral("localhost"), QStringLiteral("7000"));
    QLineEdit* edit = managed.field(field.constData());
    edit->setFocus();
    const QString before = managed.fields();
    const QSignalSpy returns(edit, &QLineEdit::returnPressed);
    QTest::keyClick(edit, key);
    QCOMPARE(returns.count(), 1);
    QVERIFY(managed.dialog()->isVisible());
    QCOMPARE(managed.fields(), before);
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5566 80 http false"));
    QCOMPARE(managed.list()->count(), 1);
    QVERIFY(!unit->monitored());
}

void TestDeviceManagerKeys::returnOnARowLoadsItsUnit_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::newRow("return") << Qt::Key_Return;
    QTest::newRow("enter") << Qt::Key_Enter;
}

void TestDeviceManagerKeys::returnOnARowLoadsItsUnit()
{
    QFETCH(const Qt::Key, key);
    ManagedWindow managed;
    const Device* unit = managed.add(5566, QStringLiteral("81"));
    QVERIFY(managed.show());
    managed.tree()->setFocus();
    managed.select(unit);
    QTest::keyClick(managed.tree(), key);
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5566 81 http"));
    QCOMPARE(managed.enabledButtons(), unitLoaded);
    QVERIFY(!unit->monitored());
}

void TestDeviceManagerKeys::arrowsMoveTheCurrentRowOnly()
{
    ManagedWindow managed;
    const Device* first = managed.add(5566);
    const Device* second = managed.add(5567);
    QVERIFY(managed.show());
    managed.clickRow(first);
    QTest::keyClick(managed.tree(), Qt::Key_Down);
    QCOMPARE(managed.tree()->currentItem(), managed.rowOf(second));
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5566 80 http"));
    managed.click("Monitor");
    QVERIFY(!first->monitored());
    QVERIFY(second->monitored());
}

void TestDeviceManagerKeys::returnOnAButtonPressesNothing()
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

void TestDeviceManagerKeys::spacePressesTheButton()
{
    ManagedWindow managed;
    QVERIFY(managed.show());
    managed.field("NewHost")->setFocus();
    QTest::keyClicks(managed.field("NewHost"), QStringLiteral("127.0.0.1"));
    managed.button("AddHost")->setFocus();
    QTest::keyClick(managed.button("AddHost"), Qt::Key_Space);
    QCOMPARE(storedUnits(), QStringLiteral("127.0.0.1:5566 80 http false"));
    managed.button("Close")->setFocus();
    QTest::keyClick(managed.button("Close"), Qt::Key_Space);
    QVERIFY(!managed.dialog()->isVisible());
}

void TestDeviceManagerKeys::tabVisitsTheFormInOrder()
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

void TestDeviceManagerKeys::labelsBelongToTheirFields()
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

void TestDeviceManagerKeys::escapeHides()
{
    ManagedWindow managed;
    const Device* unit = managed.add(5566);
    QVERIFY(managed.show());
    managed.clickRow(unit);
    QTest::keyClick(managed.field("NewHost"), Qt::Key_Escape);
    QVERIFY(!managed.dialog()->isVisible());
    QCOMPARE(managed.fields(), QStringLiteral("127.0.0.1 5566 80 http"));
}

QTEST_MAIN(TestDeviceManagerKeys)
#include "tst_devicemanagerkeys.moc"
