// SPDX-License-Identifier: MIT
// A list that cannot be saved: the user is told, and all else goes on as usual.
#include "devices/device.h"
#include "devices/devicelist.h"
#include "support/logcapture.h"
#include "support/managedwindow.h"
#include "support/teststore.h"
#include "support/units.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QtTest>

#include <functional>

using UnitAction = std::function<void(ManagedWindow&, Device*)>;
Q_DECLARE_METATYPE(UnitAction)

namespace {

QString failureText(const QString& fileName)
{
    return "Die Geräteliste konnte nicht gespeichert werden:\n"_s + fileName
        + "\n\nDie Änderung gilt nur, bis der Monitor beendet wird. Bitte prüfen Sie, ob der Datenträger "
          "voll, "
          "der Ordner schreibgeschützt oder die Datei durch ein anderes Programm gesperrt ist. Ist das "
          "behoben, "
          "wird die ganze Liste mit der nächsten Änderung gespeichert."_s;
}

// Puts a file in the place of the store's folder, so that no user can write there.
class BlockedStore {
public:
    explicit BlockedStore(const TestStore& store)
        : m_folder(QFileInfo(store.filePath()).path())
    {
        QDir(m_folder).removeRecursively();
        QFile(m_folder).open(QIODevice::WriteOnly);
    }
    ~BlockedStore() { QFile::remove(m_folder); }
    Q_DISABLE_COPY_MOVE(BlockedStore)

private:
    QString m_folder;
};

} // namespace

class TestDeviceManagerStore : public QObject {
    Q_OBJECT

private slots:
    void init() { m_store.clear(); }

    void failureIsReported_data()
    {
        QTest::addColumn<UnitAction>("change");
        QTest::addColumn<QString>("stored");
        const auto row = [](const char* name, const UnitAction& change, const QString& stored) {
            QTest::newRow(name) << change << stored;
        };
        const auto invoking = [](const char* button) {
            return [button](ManagedWindow& managed, Device*) { managed.invoke(button); };
        };
        const auto other = "127.0.0.1:7000 80 http false"_s;
        const QString unit = other + "|127.0.0.1:5566 80 http "_s;
        row("remove", invoking("Remove"), other);
        row("monitor", invoking("Monitor"), unit + "true"_s);
        row("stop", invoking("StopMonitor"), unit + "false"_s);
        row(
            "add",
            [](ManagedWindow& managed, Device*) {
                managed.add(5567);
                QCOMPARE(managed.fields(), " 5566 80 http"_s);
                QCOMPARE(managed.enabledButtons(), nothingLoaded);
            },
            unit + "false|127.0.0.1:5567 80 http false"_s);
        row(
            "change",
            [](ManagedWindow& managed, Device*) {
                managed.field("WebPort")->setText("81"_s);
                managed.click("ChangeHost");
                QCOMPARE(managed.fields(), " 5566 80 http"_s);
                QCOMPARE(managed.enabledButtons(), nothingLoaded);
            },
            other + "|127.0.0.1:5566 81 http false"_s);
        row(
            "double click",
            [](ManagedWindow& managed, Device* device) {
                emit managed.tree()->itemDoubleClicked(managed.rowOf(device), 0);
            },
            unit + "true"_s);
    }

    void failureIsReported()
    {
        QFETCH(const UnitAction, change);
        ManagedWindow managed;
        managed.add(7000);
        Device* unit = managed.addLoaded(5566);
        managed.select(unit);
        {
            const BlockedStore blocked(m_store);
            const LogCapture log;
            change(managed, unit);
            QCOMPARE(managed.boxes.count(), 1);
            managed.boxes.compareLast(QMessageBox::Warning, "QorMonitor - Geräteverwaltung"_s,
                                      failureText(m_store.filePath()), managed.dialog());
            QCOMPARE(log.taggedLines("writeSettings()"_s),
                     QStringList("W writeSettings() cannot write "_s + m_store.filePath()));
        }
        // What is stored next is the whole list, with the change.
        QVERIFY(managed.list()->save());
        QTEST(storedUnits(), "stored");
        QCOMPARE(managed.boxes.count(), 1);
    }

    void otherSettingsShowNoBox()
    {
        ManagedWindow managed;
        const BlockedStore blocked(m_store);
        const LogCapture log;
        managed.window()->toggleUseAudio();
        QCOMPARE(log.count(QtWarningMsg, "writeSettings() cannot write"_s), 1);
        QCOMPARE(managed.boxes.count(), 0);
    }

private:
    TestStore m_store;
};

QTEST_MAIN(TestDeviceManagerStore)
#include "tst_devicemanagerstore.moc"
