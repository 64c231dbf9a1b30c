// SPDX-License-Identifier: MIT
// What ties the rows of the message list to their units: names, web pages, and the end of either.
#include "devices/device.h"
#include "support/browser.h"
#include "support/logcapture.h"
#include "support/publisher.h"
#include "support/units.h"
#include "support/windowtest.h"
#include "widgets/devicerow.h"

#include <QBrush>
#include <QPointer>
#include <QStyledItemDelegate>
#include <QTextBrowser>
#include <QtTest>

namespace {
const auto nullDeviceLine = "MainWinQorMonitor::processTreeWidgetItemDoubleClicked() illegal null device"_s;

Device* unitOf(const QTreeWidgetItem* row)
{
    return row->data(0, Qt::UserRole).value<Device*>();
}
} // namespace

class TestMessageRows : public WindowTest {
    Q_OBJECT

private slots:
    void rowCarriesItsUnit()
    {
        Device* first = addUnlinkedUnit();
        const Device* second = addUnlinkedUnit();
        m_window->rebuildMessageList();
        QCOMPARE(messages()->topLevelItemCount(), 2);
        const QVariant bound = messages()->topLevelItem(0)->data(0, 256);
        QCOMPARE(bound.userType(), qMetaTypeId<Device*>());
        QCOMPARE(QByteArray(bound.typeName()), QByteArray("Device*"));
        QCOMPARE(bound.value<Device*>(), first);
        QCOMPARE(unitOf(messages()->topLevelItem(1)), second);
    }

    void renamingChangesTheRowsAtOnce()
    {
        Device* unit = addUnlinkedUnit();
        addUnlinkedUnit()->processQorMessage(statusReport("C"_s));
        unit->processQorMessage(statusReport("B"_s, { warning("Lüfter steht"_s) }));
        QCOMPARE(column(1).join(QString()), "BBC"_s);
        const QStringList times = column(0);
        const QStringList texts = column(2);
        QTreeWidgetItem* row = messages()->topLevelItem(0);
        const QBrush background = row->background(1);

        const LogCapture log;
        unit->setQorName("Z"_s);
        QCOMPARE(column(1).join(QString()), "ZZC"_s);
        QCOMPARE(log.count(QtCriticalMsg, "update device \"Z\""_s), 2);
        QCOMPARE(log.count(QtCriticalMsg, "update device"_s), 2);
        // The device manager hears of it behind the list.
        QCOMPARE(log.taggedLines().last(), "C DlgDeviceManager::updateDevice()"_s);
        // The same row: renamed, not replaced.
        QCOMPARE(messages()->topLevelItem(0), row);
        QCOMPARE(row->background(1), background);
        QCOMPARE(column(0), times);
        QCOMPARE(column(2), texts);

        m_window->rebuildMessageList();
        QCOMPARE(column(1).join(QString()), "ZZC"_s);
        QCOMPARE(column(2), texts);
    }

    void rowIsOneLineHigh_data()
    {
        QTest::addColumn<QString>("separator");
        for (const char* name : { "000a", "000b", "000c", "000d", "0085", "2028", "2029" })
            QTest::newRow(name) << QString(QChar(QByteArray(name).toUShort(nullptr, 16)));
        QTest::newRow("000d 000a") << "\r\n"_s;
    }

    void rowIsOneLineHigh()
    {
        QFETCH(const QString, separator);
        const QString text = "Lüfter"_s + separator.repeated(300) + "steht"_s;
        const QJsonObject longWarning { { "date"_s, text }, { "time"_s, text }, { "displaytext"_s, text } };
        Device* unit = addUnlinkedUnit();
        unit->processQorMessage(statusReport("B"_s, { warning("Lüfter steht"_s), longWarning }));
        const auto height
            = [this](int row) { return messages()->visualItemRect(messages()->topLevelItem(row)).height(); };
        m_window->show();
        QCOMPARE(messages()->topLevelItemCount(), 3);
        QCOMPARE(height(2), height(1));
        // Only what is drawn is another text.
        QCOMPARE(column(0).last(), text + QLatin1Char(' ') + text);
        QCOMPARE(column(2).last(), text);
        unit->setQorName(text);
        QCOMPARE(height(0), height(1));
        QCOMPARE(column(1).last(), text);
        const QAbstractItemDelegate* delegate = messages()->itemDelegate();
        const auto* drawing = qobject_cast<const QStyledItemDelegate*>(delegate);
        QCOMPARE(drawing->displayText(text, QLocale::c()),
                 "Lüfter"_s + QString(300 * separator.size(), QLatin1Char(' ')) + "steht"_s);
    }

    void updateOfNoUnitTouchesNoRow()
    {
        auto* row = new QTreeWidgetItem({ QString(), "name"_s, QString() });
        messages()->addTopLevelItem(row);
        const LogCapture log;
        m_window->updateDevice(nullptr);
        QCOMPARE(row->text(1), "name"_s);
        QVERIFY(log.lines().isEmpty());
    }

    void doubleClickOpensTheWebInterface_data()
    {
        QTest::addColumn<QString>("scheme");
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("port");
        QTest::addColumn<QByteArray>("address");
        const auto row
            = [](const char* name, const QString& scheme, const QString& host, int port,
                 const QByteArray& address) { QTest::newRow(name) << scheme << host << port << address; };
        row("default port", "http"_s, "10.0.0.5"_s, 80, "http://10.0.0.5:80/");
        row("other port", "http"_s, "10.0.0.5"_s, 8080, "http://10.0.0.5:8080/");
        row("secure, default port", "https"_s, "10.0.0.5"_s, 443, "https://10.0.0.5:443/");
        row("host name", "https"_s, "localhost"_s, 4443, "https://localhost:4443/");
        row("tolerated blank", "http://10.0.0.5/a b"_s, "10.0.0.5"_s, -1,
            "http://10.0.0.5/a%20b://10.0.0.5:-1/");
    }

    void doubleClickOpensTheWebInterface()
    {
        QFETCH(const QString, scheme);
        QFETCH(const QString, host);
        QFETCH(const int, port);
        QFETCH(const QByteArray, address);
        QTreeWidgetItem row;
        row.setData(0, Qt::UserRole, QVariant::fromValue(units().addDevice(host, 5566, port, scheme)));
        const Browser browser;
        for (int column = 0; column < 3; ++column) {
            m_window->processTreeWidgetItemDoubleClicked(&row, column);
            QCOMPARE(browser.opened.size(), column + 1);
            QCOMPARE(browser.opened.last().toEncoded(), address);
            QCOMPARE(browser.opened.last().port(), port);
        }
    }

    void realDoubleClickOpensTheWebInterface()
    {
        QVERIFY(fillAndActivate());
        const Browser browser;
        const QPoint place = messages()->visualItemRect(messages()->topLevelItem(1)).center();
        QTest::mouseClick(messages()->viewport(), Qt::LeftButton, Qt::NoModifier, place);
        QVERIFY(browser.opened.isEmpty());
        QTest::mouseDClick(messages()->viewport(), Qt::LeftButton, Qt::NoModifier, place);
        QCOMPARE(browser.opened, m_secondPage);
    }

    void keyOpensTheSelectedRow_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("return") << Qt::Key_Return;
        QTest::newRow("enter") << Qt::Key_Enter;
    }

    void keyOpensTheSelectedRow()
    {
        QFETCH(const Qt::Key, key);
        QVERIFY(fillAndActivate());
        messages()->setCurrentItem(messages()->topLevelItem(0));
        const Browser browser;
        QTest::keyClick(messages(), Qt::Key_Down);
        QVERIFY(browser.opened.isEmpty());
        QTest::keyClick(messages(), key);
        QCOMPARE(browser.opened, m_secondPage);
    }

    void keyOpensNothingElse_data() { keyOpensTheSelectedRow_data(); }
    void keyOpensNothingElse()
    {
        QFETCH(const Qt::Key, key);
        QVERIFY(fillAndActivate());
        const Browser browser;
        // A row that is current but not selected opens nothing.
        messages()->setCurrentItem(messages()->topLevelItem(1), 0, QItemSelectionModel::NoUpdate);
        QVERIFY(messages()->selectedItems().isEmpty());
        QTest::keyClick(messages(), key);
        QVERIFY(browser.opened.isEmpty());
        // While another widget has the focus, the key opens nothing.
        messages()->setCurrentItem(messages()->topLevelItem(1));
        auto* logo = m_window->centralWidget()->findChild<QTextBrowser*>();
        logo->setFocus();
        QTest::keyClick(logo, key);
        QVERIFY(browser.opened.isEmpty());
    }

    void doubleClickOnNothingDoesNothing()
    {
        const Browser browser;
        const LogCapture log;
        m_window->processTreeWidgetItemDoubleClicked(nullptr, 0);
        QVERIFY(log.lines().isEmpty());
        QVERIFY(browser.opened.isEmpty());
    }

    void doubleClickWithoutUnitIsReported_data()
    {
        QTest::addColumn<QVariant>("bound");
        QTest::newRow("nothing") << QVariant();
        QTest::newRow("null") << QVariant::fromValue<Device*>(nullptr);
        QTest::newRow("another object") << QVariant::fromValue<QObject*>(this);
        QTest::newRow("a number") << QVariant(17);
    }

    void doubleClickWithoutUnitIsReported()
    {
        QFETCH(const QVariant, bound);
        QTreeWidgetItem row;
        row.setData(0, Qt::UserRole, bound);
        checkOpensNothing(&row);
    }

    void rowDoesNotKeepADestroyedUnit()
    {
        const QPointer<Device> unit = addUnlinkedUnit();
        m_window->rebuildMessageList();
        QTreeWidgetItem* row = messages()->topLevelItem(0);
        QCOMPARE(unitOf(row), unit.data());

        {
            // The window does not learn of the removal, and keeps the row.
            const QSignalBlocker blocker(&units());
            units().removeDevice(unit);
            QCoreApplication::sendPostedEvents(unit, QEvent::DeferredDelete);
        }
        QVERIFY(!unit);
        QCOMPARE(messages()->topLevelItem(0), row);
        QVERIFY(!unitOf(row));
        checkOpensNothing(row);
    }

    void rebuildingConnectsAUnitNoFurther()
    {
        struct Connections : QObject {
            using QObject::receivers;
        };
        const auto ends = [](const Device* unit) {
            return (unit->*&Connections::receivers)(SIGNAL(destroyed(QObject*)));
        };
        const Device* unit = addUnlinkedUnit();
        m_window->rebuildMessageList();
        const int once = ends(unit);
        m_window->rebuildMessageList();
        QCOMPARE(ends(unit), once);
    }

    void removedUnitLeavesTheList()
    {
        Publisher first;
        Publisher second;
        Device* gone = addMonitoredUnit(units(), first.port());
        const Device* other = addMonitoredUnit(units(), second.port());
        QTRY_COMPARE(messages()->topLevelItemCount(), 2);
        units().removeDevice(gone);
        QTRY_COMPARE(messages()->topLevelItemCount(), 1);
        QCOMPARE(unitOf(messages()->topLevelItem(0)), other);
    }

    void windowEndsWhileUnitsSpeak()
    {
        constexpr int texts = 500;
        for (int round = 0; round < 3; ++round) {
            Publisher first;
            Publisher second;
            restart();
            const QPointer<Device> firstUnit(addMonitoredUnit(units(), first.port()));
            const QPointer<Device> secondUnit(addMonitoredUnit(units(), second.port()));
            QVERIFY(first.waitForSubscriber());
            QVERIFY(second.waitForSubscriber());
            m_window->show();
            first.send(statusReport("B"_s));
            second.send(statusReport("C"_s));
            QTRY_COMPARE(column(1).join(QString()), "BC"_s);
            // At one text per millisecond both links are still receiving when the window goes.
            for (int i = 0; i < texts; ++i) {
                const QJsonArray warnings { warning(QString::number(i)) };
                first.send(statusReport("B"_s, warnings));
                second.send(statusReport("C"_s, warnings));
            }
            m_window.reset();
            QVERIFY(!firstUnit);
            QVERIFY(!secondUnit);
            QVERIFY(first.waitForUnsubscriber());
            QVERIFY(second.waitForUnsubscriber());
            QCoreApplication::processEvents();
        }
    }

private:
    // Three rows of different units, so that each opens another page.
    bool fillAndActivate()
    {
        for (const int webPort : { 8081, 8082, 8083 })
            units().addDevice(loopback, webPort, webPort, "http"_s);
        // Afterwards: each new unit has the list built anew.
        for (int i = 0; i < units().count(); ++i)
            addDeviceRow(messages(), new QTreeWidgetItem(0), units().at(i));
        messages()->setFocus();
        return bringToFront(m_window.get()) && messages()->hasFocus();
    }

    void checkOpensNothing(QTreeWidgetItem* row) const
    {
        const Browser browser;
        const LogCapture log;
        m_window->processTreeWidgetItemDoubleClicked(row, 0);
        QCOMPARE(log.count(QtCriticalMsg, nullDeviceLine), 1);
        QVERIFY(browser.opened.isEmpty());
    }

    const QList<QUrl> m_secondPage { QUrl("http://127.0.0.1:8082/"_s) };
};

QTEST_MAIN(TestMessageRows)
#include "tst_messagerows.moc"
