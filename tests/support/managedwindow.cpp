// SPDX-License-Identifier: MIT
#include "support/managedwindow.h"

#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/units.h"

#include <QSettings>
#include <QtTest>

QPushButton* ManagedWindow::button(const char* name) const
{
    return dialog()->findChild<QPushButton*>(QLatin1String("pushButton") + QLatin1String(name));
}

QLineEdit* ManagedWindow::field(const char* name) const
{
    return dialog()->findChild<QLineEdit*>(QLatin1String("lineEdit") + QLatin1String(name));
}

bool ManagedWindow::show()
{
    m_window.showDeviceManager();
    dialog()->activateWindow();
    return QTest::qWaitForWindowActive(dialog());
}

void ManagedWindow::invoke(const char* name)
{
    const QByteArray slot = QByteArray("on_pushButton") + name + "_clicked";
    QVERIFY(QMetaObject::invokeMethod(dialog(), slot.constData()));
}

void ManagedWindow::enter(const QString& host, const QString& zmqPort, const QString& webPort,
                          const QString& scheme)
{
    field("NewHost")->setText(host);
    field("Port")->setText(zmqPort);
    field("WebPort")->setText(webPort);
    field("WebScheme")->setText(scheme);
}

Device* ManagedWindow::add(int zmqPort, const QString& webPort)
{
    enter(loopback, QString::number(zmqPort), webPort);
    click("AddHost");
    return list()->at(list()->count() - 1);
}

Device* ManagedWindow::addLoaded(int zmqPort)
{
    Device* device = add(zmqPort);
    [this] { QVERIFY(show()); }();
    clickRow(device);
    return device;
}

void ManagedWindow::clickRow(const Device* device)
{
    QTest::mouseClick(tree()->viewport(), Qt::LeftButton, Qt::NoModifier,
                      tree()->visualItemRect(rowOf(device)).center());
}

void ManagedWindow::doubleClickRow(const Device* device)
{
    const QPoint place = tree()->visualItemRect(rowOf(device)).center();
    QTest::mouseClick(tree()->viewport(), Qt::LeftButton, Qt::NoModifier, place);
    QTest::mouseDClick(tree()->viewport(), Qt::LeftButton, Qt::NoModifier, place);
}

QString ManagedWindow::fields() const
{
    return QStringList { field("NewHost")->text(), field("Port")->text(), field("WebPort")->text(),
                         field("WebScheme")->text() }
        .join(QLatin1Char(' '));
}

QString ManagedWindow::row(int index) const
{
    QStringList texts;
    for (int column = 0; column < tree()->columnCount(); ++column)
        texts << tree()->topLevelItem(index)->text(column);
    return texts.join(QLatin1Char('|'));
}

QString ManagedWindow::column(int index) const
{
    QStringList texts;
    for (int i = 0; i < tree()->topLevelItemCount(); ++i)
        texts << tree()->topLevelItem(i)->text(index);
    return texts.join(QLatin1Char('|'));
}

QTreeWidgetItem* ManagedWindow::rowOf(const Device* device) const
{
    for (int i = 0; i < tree()->topLevelItemCount(); ++i) {
        if (tree()->topLevelItem(i)->data(0, Qt::UserRole).value<Device*>() == device)
            return tree()->topLevelItem(i);
    }
    return nullptr;
}

QString ManagedWindow::enabledButtons() const
{
    QStringList names;
    for (const char* name : buttonNames) {
        if (button(name)->isEnabled())
            names << QLatin1String(name);
    }
    return names.join(QLatin1Char(' '));
}

QString storedUnits()
{
    QSettings settings;
    QStringList units;
    for (int i = 0; settings.contains(QStringLiteral("Device%1/Host").arg(i)); ++i) {
        settings.beginGroup(QStringLiteral("Device%1").arg(i));
        const auto text = [&](const char* key) { return settings.value(QLatin1String(key)).toString(); };
        units << QStringLiteral("%1:%2 %3 %4 %5")
                     .arg(text("Host"), text("ZmqPort"), text("WebPort"), text("WebScheme"),
                          text("Monitored"));
        settings.endGroup();
    }
    return units.join(QLatin1Char('|'));
}
