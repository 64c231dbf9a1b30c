// SPDX-License-Identifier: MIT
// The texts of all dialogs can be translated, each in the context of its dialog, and every control has a
// name.
#include "dialogs/dlgabout.h"
#include "dialogs/dlgcheckforupdates.h"
#include "dialogs/dlgdevicemanager.h"
#include "dialogs/dlgdownloadmonitor.h"
#include "mainwindow/mainwinqormonitor.h"
#include "support/formoutline.h"
#include "support/literals.h"
#include "support/markingtranslator.h"
#include "support/teststore.h"

#include <QHeaderView>
#include <QTreeWidget>
#include <QtTest>

#include <functional>
#include <memory>

using Maker = std::function<std::unique_ptr<QDialog>(MainWinQorMonitor*)>;
Q_DECLARE_METATYPE(Maker)

namespace {

// All texts of a dialog, but for those of message boxes.
QStringList textsOf(const QDialog& dialog)
{
    QStringList texts;
    const QStringList lines = formOutline(dialog);
    for (const QString& line : lines)
        texts << line.section(QLatin1Char('"'), 1, 1);
    const auto widgets = dialog.findChildren<QWidget*>();
    for (const QWidget* widget : widgets) {
        texts << widget->toolTip();
        if (const auto* tree = qobject_cast<const QTreeWidget*>(widget)) {
            for (int column = 0; column < tree->columnCount(); ++column)
                texts << tree->headerItem()->text(column);
        }
    }
    texts.removeAll(QString());
    return texts;
}

} // namespace

class TestDialogTexts : public QObject {
    Q_OBJECT

private slots:
    void textsCanBeTranslated_data()
    {
        QTest::addColumn<Maker>("make");
        QTest::addColumn<int>("texts");
        const auto row = [](const char* context, const Maker& make, int texts) {
            QTest::newRow(context) << make << texts;
        };
        row(
            "DlgAbout", [](MainWinQorMonitor*) { return std::make_unique<DlgAbout>(nullptr); }, 3);
        row(
            "DlgCheckForUpdates",
            [](MainWinQorMonitor*) { return std::make_unique<DlgCheckForUpdates>("QorMonitor"_s, nullptr); },
            4);
        row(
            "DlgDeviceManager",
            [](MainWinQorMonitor* window) { return std::make_unique<DlgDeviceManager>(window); }, 23);
        row(
            "DlgDownloadMonitor",
            [](MainWinQorMonitor*) { return std::make_unique<DlgDownloadMonitor>(nullptr); }, 5);
    }

    void textsCanBeTranslated()
    {
        QFETCH(const Maker, make);
        QFETCH(const int, texts);
        const TestStore store;
        MainWinQorMonitor window;
        const MarkingTranslator marker(QTest::currentDataTag());
        const auto dialog = make(&window);
        const QStringList found = textsOf(*dialog);
        QCOMPARE(found.size(), texts);
        for (const QString& text : found)
            QVERIFY2(text.startsWith(QLatin1Char('#')), qPrintable(text));
    }

    void everyControlHasAName_data() { textsCanBeTranslated_data(); }

    void everyControlHasAName()
    {
        QFETCH(const Maker, make);
        const TestStore store;
        MainWinQorMonitor window;
        const QStringList nameless = namelessControls(*make(&window));
        QVERIFY2(nameless.isEmpty(), qPrintable(nameless.join(QLatin1Char(' '))));
    }
};

QTEST_MAIN(TestDialogTexts)
#include "tst_dialogtexts.moc"
