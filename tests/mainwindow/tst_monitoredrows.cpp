// SPDX-License-Identifier: MIT
// The message list shows exactly the monitored units at every moment, and the alarm ends with the last unit
// that needs attention.
#include "devices/device.h"
#include "support/literals.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QMessageBox>
#include <QSignalSpy>
#include <QtTest>

class TestMonitoredRows : public WindowTest {
    Q_OBJECT

private slots:
    void unitWithoutAddressComesAndGoes()
    {
        Device* unit = units().addDevice("no..host"_s, 1, 80, "http"_s);
        QCOMPARE(column(2), QStringList());
        unit->setMonitored(true);
        QCOMPARE(column(2), QStringList(disconnectedText));
        unit->setMonitored(false);
        QCOMPARE(column(2), QStringList());
        unit->setMonitored(true);
        units().removeDevice(unit);
        QCOMPARE(column(2), QStringList());
    }

    void storedUnitWithoutAddressIsShownAtTheStart()
    {
        m_store.writeUnit(0, { { "Host"_s, "no..host"_s }, { "ZmqPort"_s, 1 }, { "Monitored"_s, true } });
        restart();
        QCOMPARE(column(2), QStringList(disconnectedText));
    }

    void removedUnitTakesAllItsRows()
    {
        Device* first = addUnlinkedUnit();
        Device* second = addUnlinkedUnit();
        first->setWarnings({ warning("Lüfter"_s), warning("Netzteil"_s) });
        second->setWarnings({ warning("Tür"_s) });
        units().removeDevice(first);
        QCOMPARE(column(2), QStringList({ disconnectedText, "Tür"_s }));
        units().clear();
        QCOMPARE(column(2), QStringList());
    }

    void otherChangesLeaveTheRowsAlone()
    {
        Device* unit = addUnlinkedUnit();
        const QTreeWidgetItem* row = messages()->topLevelItem(0);
        unit->setQorName("Halle 2"_s);
        unit->setWebPort(8080);
        emit units().listChanged();
        QCOMPARE(messages()->topLevelItem(0), row);
    }

    void selectionStaysWithItsUnit()
    {
        QVERIFY(bringToFront(m_window.get()));
        Device* first = addUnlinkedUnit();
        Device* second = addUnlinkedUnit();
        first->setWarnings({ warning("Lüfter"_s) });
        second->setWarnings({ warning("Tür"_s) });
        messages()->setCurrentItem(messages()->topLevelItem(1));
        second->setWarnings({ warning("Netzteil"_s) });
        QCOMPARE(selected(), QStringList("Lüfter"_s));
        first->setWarnings({ warning("Kühlung"_s) });
        QCOMPARE(selected(), QStringList("Kühlung"_s));
        // What had been selected is gone, and not replaced by another unit's row.
        first->setWarnings({});
        QCOMPARE(selected(), QStringList());
        messages()->setCurrentItem(messages()->topLevelItem(0));
        units().removeDevice(first);
        QCOMPARE(selected(), QStringList());
    }

    void alertFromBehindTakesTheSelectionAway()
    {
        addUnlinkedUnit();
        QVERIFY(bringToFront(m_window.get()));
        messages()->setCurrentItem(messages()->topLevelItem(0));
        raiseAlert();
        QCOMPARE(selected().size(), 1);
        QWidget other;
        QVERIFY(bringToFront(&other));
        raiseAlert();
        QCOMPARE(selected(), QStringList());
    }

    void alarmEndsWithTheLastUnitThatNeedsAttention()
    {
        ring();
        Device* other = addUnit(units(), 2);
        QVERIFY(rings());
        units().removeDevice(units().at(0));
        QVERIFY(rings());
        units().removeDevice(other);
        QVERIFY(!rings());
    }

    void listThatStaysQuietIsNotMadeToRing()
    {
        addUnit(units(), 1);
        acknowledge();
        addUnit(units(), 2);
        units().removeDevice(units().at(0));
        // The unit that is left is in alert, and acknowledged.
        acknowledge();
        emit units().listChanged();
        QVERIFY(!rings());
    }

    void missingFilesAreToldOnceWithoutStandingInTheWay()
    {
        m_window->show();
        emit units().openFilesExhausted();
        emit units().openFilesExhausted();
        QTRY_COMPARE(boxes().size(), 1);
        QCOMPARE(boxes().first()->icon(), QMessageBox::Warning);
        QCOMPARE(boxes().first()->windowTitle(), "QorMonitor"_s);
        QVERIFY(boxes().first()->text().startsWith("Das System stellt nicht genügend offene Dateien"_s));
        QVERIFY(!boxes().first()->isModal());
        boxes().first()->accept();
        QTRY_COMPARE(boxes().size(), 0);
        emit units().openFilesExhausted();
        QCoreApplication::processEvents();
        QCOMPARE(boxes().size(), 0);
    }

private:
    QStringList selected() const
    {
        QStringList texts;
        const QList<QTreeWidgetItem*> items = messages()->selectedItems();
        for (const QTreeWidgetItem* item : items)
            texts.append(item->text(2));
        return texts;
    }

    QList<QMessageBox*> boxes() const { return m_window->findChildren<QMessageBox*>(); }
};

QTEST_MAIN(TestMonitoredRows)
#include "tst_monitoredrows.moc"
