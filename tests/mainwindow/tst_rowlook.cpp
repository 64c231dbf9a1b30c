// SPDX-License-Identifier: MIT
// How rows can be read: their contrast on every desktop, the tool tips, and what a screen reader says.
#include "devices/device.h"
#include "dialogs/dlgdevicemanager.h"
#include "support/literals.h"
#include "support/units.h"
#include "support/windowtest.h"

#include <QAccessible>
#include <QApplication>
#include <QFontDatabase>
#include <QHelpEvent>
#include <QScreen>
#include <QStyleFactory>
#include <QTextDocument>
#include <QToolTip>
#include <QtTest>

#include <algorithm>
#include <cmath>

namespace {

// As https://www.w3.org/TR/WCAG21/#dfn-relative-luminance and #dfn-contrast-ratio have it.
double luminance(QRgb colour)
{
    const auto linear = [](int value) {
        const double share = value / 255.0;
        return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) + 0.0722 * linear(qBlue(colour));
}

double contrast(QRgb one, QRgb other)
{
    const auto lights = std::minmax({ luminance(one), luminance(other) });
    return (lights.second + 0.05) / (lights.first + 0.05);
}

// The best contrast of a pixel to the picture's first one, which is background.
double contrastOf(const QImage& picture)
{
    double best = 1;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            best = std::max(best, contrast(picture.pixel(x, y), picture.pixel(1, 1)));
    }
    return best;
}

constexpr auto noFonts = "On Windows the offscreen platform has no fonts to draw with.";

bool hasNoFonts()
{
    return QFontDatabase().families().isEmpty();
}

QPalette darkPalette()
{
    QPalette palette(QColor(45, 45, 45), QColor(35, 35, 35));
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(role, Qt::white);
    return palette;
}

} // namespace

class TestRowLook : public WindowTest {
    Q_OBJECT

private slots:
    void initTestCase() { QApplication::setStyle(QStyleFactory::create("Fusion"_s)); }

    void rowsCanBeRead_data()
    {
        QTest::addColumn<QPalette>("palette");
        QTest::addColumn<bool>("isSelected");
        for (const bool isSelected : { false, true }) {
            QTest::addRow("light%s", isSelected ? ", selected" : "") << QApplication::palette() << isSelected;
            QTest::addRow("dark%s", isSelected ? ", selected" : "") << darkPalette() << isSelected;
        }
    }

    void rowsCanBeRead()
    {
        if (hasNoFonts())
            QSKIP(noFonts);
        QFETCH(const QPalette, palette);
        QFETCH(const bool, isSelected);
        const QPalette before = QApplication::palette();
        const auto restore = qScopeGuard([&] { QApplication::setPalette(before); });
        QApplication::setPalette(palette);
        restart();
        // Red, green and yellow.
        Device* unit = addUnlinkedUnit();
        unit->setIncompatible(true);
        unit->processQorMessage(newerVersionInfo("Halle"_s));
        unit->processQorMessage(statusReport("Halle"_s, { warning("Lüfter steht"_s) }));
        // So large that the strokes have pixels that are not smoothed.
        QFont font = messages()->font();
        font.setPixelSize(32);
        messages()->setFont(font);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QVERIFY(messages()->topLevelItemCount() >= 3);
        for (int row = 0; row < messages()->topLevelItemCount(); ++row) {
            messages()->setCurrentItem(isSelected ? messages()->topLevelItem(row) : nullptr);
            for (int column = 0; column < messages()->columnCount(); ++column) {
                // Without the frame of the current cell.
                const QRect cell = cellAt(messages(), row, column).adjusted(2, 2, -2, -2);
                const double found = contrastOf(messages()->viewport()->grab(cell).toImage());
                QVERIFY2(found >= 4.5, QByteArray::number(found).constData());
            }
        }
    }

    void selectedRowKeepsItsColour()
    {
        addUnlinkedUnit();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        const auto shown = [this] {
            return messages()->viewport()->grab(cellAt(messages(), 0, 1)).toImage().pixelColor(5, 5);
        };
        QCOMPARE(shown(), QColor(Qt::red));
        messages()->setCurrentItem(messages()->topLevelItem(0));
        QVERIFY(shown() != QColor(Qt::red));
        QCOMPARE(shown().hue(), QColor(Qt::red).hue());
        QCOMPARE(shown().saturation(), QColor(Qt::red).saturation());
    }

    void screenReaderHearsWhatTheColourSays()
    {
        Device* unit = addUnlinkedUnit();
        unit->processQorMessage(newerVersionInfo("Halle"_s));
        unit->processQorMessage(statusReport("Halle"_s, { warning("Lüfter steht"_s) }));
        const auto words = [this](int column) {
            QStringList all;
            for (int row = 0; row < messages()->topLevelItemCount(); ++row) {
                QAccessibleInterface* table = QAccessible::queryAccessibleInterface(messages());
                all << table->tableInterface()->cellAt(row, column)->text(QAccessible::Description);
            }
            return all;
        };
        m_window->show();
        // Lays the rows out.
        m_window->grab();
        for (int column = 0; column < 3; ++column)
            QCOMPARE(words(column), QStringList({ "Fehler"_s, "Warnung"_s, "Fehler"_s }));
    }

    void screenReaderHearsTheChangeOfARow()
    {
        Publisher publisher;
        addMonitoredUnit(units(), publisher.port());
        QVERIFY(publisher.waitForSubscriber());
        const auto word = [this] {
            return messages()->topLevelItem(0)->data(0, Qt::AccessibleDescriptionRole).toString();
        };
        QTRY_COMPARE(word(), "Warnung"_s);
        publisher.send(statusReport());
        QTRY_COMPARE(word(), "Bestätigung"_s);
    }

    void cutTextIsReadInTheToolTip()
    {
        const auto text = "<b>Ein Text</b> & noch einer\n"_s + "und noch einer "_s.repeated(30).trimmed();
        addUnlinkedUnit()->processQorMessage(statusReport("Halle"_s, { warning(text) }));
        m_window->show();
        const int row = messages()->topLevelItemCount() - 1;
        point(messages(), row, 2);
        QTextDocument shown;
        shown.setHtml(QToolTip::text());
        QCOMPARE(shown.toPlainText(), QString(text).replace(QLatin1Char('\n'), QLatin1Char(' ')));
        // One that is whole has none.
        point(messages(), row, 1);
        QTRY_COMPARE(QToolTip::text(), QString());
    }

    void longToolTipCanBeShown_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("one word") << QString(4800, QLatin1Char('W'));
        QTest::newRow("many words") << "noch ein Wort "_s.repeated(340);
        // Two code units each, at even and at odd places.
        QTest::newRow("emoji") << "😀"_s.repeated(1200);
        QTest::newRow("emoji behind a letter") << "W"_s + "😀"_s.repeated(1200);
        QTest::newRow("halves of emoji") << QString(1200, QChar(0xdc00));
        QTest::newRow("line breaks") << QString(2300, QLatin1Char('\n')) + "Ende"_s;
    }

    void longToolTipCanBeShown()
    {
        if (hasNoFonts())
            QSKIP(noFonts);
        QFETCH(const QString, text);
        addUnlinkedUnit()->setWarnings({ warning(text) });
        m_window->show();
        point(messages(), 1, 2);
        QCOMPARE(QToolTip::text().isValidUtf16(), text.isValidUtf16());
        const auto windows = QApplication::topLevelWidgets();
        const auto tip = std::find_if(windows.begin(), windows.end(), [](const QWidget* window) {
            return window->inherits("QTipLabel") && window->isVisible();
        });
        QVERIFY(tip != windows.end());
        const QSize screen = QGuiApplication::primaryScreen()->size();
        QVERIFY2((*tip)->width() <= screen.width() && (*tip)->height() <= screen.height(),
                 qPrintable("%1 x %2"_s.arg((*tip)->width()).arg((*tip)->height())));
    }

    void rowWithoutANameSaysWhichUnitItIs()
    {
        Device* unit = units().addDevice("halle.example"_s, 5566, 80, "http"_s);
        unit->setMonitored(true);
        m_window->show();
        point(messages(), 0, 1);
        QVERIFY2(QToolTip::text().contains("halle.example:5566"_s), qPrintable(QToolTip::text()));
        unit->setQorName("Halle"_s);
        point(messages(), 0, 1);
        QTRY_COMPARE(QToolTip::text(), QString());
    }

private:
    static QRect cellAt(const QTreeWidget* tree, int row, int column)
    {
        return tree->visualRect(tree->model()->index(row, column));
    }

    // What happens when the mouse rests on a cell.
    static void point(QTreeWidget* tree, int row, int column)
    {
        const QPoint place = cellAt(tree, row, column).center();
        QHelpEvent event(QEvent::ToolTip, place, tree->viewport()->mapToGlobal(place));
        QApplication::sendEvent(tree->viewport(), &event);
    }
};

QTEST_MAIN(TestRowLook)
#include "tst_rowlook.moc"
