// SPDX-License-Identifier: MIT
#include "dialogs/dlgabout.h"

#include "base/contact.h"
#include "base/version.h"
#include "support/browser.h"
#include "support/formoutline.h"
#include "support/literals.h"
#include "support/messageboxes.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QLayout>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>
#include <QtTest>

namespace {

QTextBrowser* browser(const DlgAbout& about)
{
    return about.findChild<QTextBrowser*>("textBrowser"_s);
}

// The format of the first piece of text that contains this.
QTextCharFormat formatOf(const DlgAbout& about, const QString& text)
{
    QTextCursor cursor = browser(about)->document()->find(text, 0, QTextDocument::FindCaseSensitively);
    return cursor.charFormat();
}

Qt::Alignment alignmentOf(const DlgAbout& about, const QString& text)
{
    return browser(about)->document()->find(text).blockFormat().alignment();
}

QVector<QTextFragment> fragments(const DlgAbout& about)
{
    QVector<QTextFragment> all;
    for (QTextBlock block = browser(about)->document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it)
            all.append(it.fragment());
    }
    return all;
}

} // namespace

using Action = std::function<void(DlgAbout*)>;
Q_DECLARE_METATYPE(Action)

class TestDlgAbout : public QObject {
    Q_OBJECT

private slots:
    void formLooksAsDesigned()
    {
        const DlgAbout about(nullptr);
        QCOMPARE(formOutline(about),
                 QStringList({
                     "DlgAbout 548x651 \"Über QorMonitor ...\""_s,
                     "QVBoxLayout vboxLayout:"_s,
                     "  QHBoxLayout hboxLayout"_s,
                     "  QHBoxLayout hboxLayout1"_s,
                     "QHBoxLayout hboxLayout:"_s,
                     "  QTextBrowser textBrowser"_s,
                     "QHBoxLayout hboxLayout1:"_s,
                     "  40x20 Expanding Minimum"_s,
                     "  QPushButton pushButtonClose \"&Schließen\""_s,
                 }));
        QCOMPARE(about.layout()->contentsMargins(), QMargins(11, 11, 11, 11));
        for (const char* name : { "vboxLayout", "hboxLayout", "hboxLayout1" })
            QCOMPARE(about.findChild<QLayout*>(QLatin1String(name))->spacing(), 6);
        QCOMPARE(browser(about)->frameShape(), QFrame::NoFrame);
        QCOMPARE(browser(about)->frameShadow(), QFrame::Plain);
        QCOMPARE(browser(about)->lineWidth(), 0);
        QVERIFY(browser(about)->tabChangesFocus());
        QVERIFY(browser(about)->openExternalLinks());
        const auto* close = about.findChild<QPushButton*>("pushButtonClose"_s);
        QCOMPARE(close->toolTip(), "Schließt diesen Dialog"_s);
        QVERIFY(close->isDefault());
    }

    void linesInOrder()
    {
        const DlgAbout about(nullptr);
        QString text = browser(about)->toPlainText();
        text.remove(QChar::ObjectReplacementCharacter);
        QStringList lines;
        for (const QString& line : text.split(QLatin1Char('\n'))) {
            if (!line.trimmed().isEmpty())
                lines.append(line.trimmed());
        }
        using namespace Contact;
        const QStringList expected {
            "QorMonitor"_s,
            "(QORweb II Monitor Anwendung)"_s,
            "Version %1 / %2"_s.arg(programVersion(), buildDate()),
            "Hersteller"_s,
            Maker::company,
            Maker::parentCompany,
            Maker::street,
            Maker::town,
            "Telefon: "_s + Maker::telephone,
            "Telefax: "_s + Maker::fax,
            "E-Mail: "_s + Maker::email,
            "Internet: "_s + Maker::webSite,
            "Autor"_s,
            Author::firm,
            "Büro Musterstadt, Erika Muster"_s,
            Author::street,
            Author::town,
            "E-Mail: "_s + Author::email,
        };
        QCOMPARE(lines, expected);
    }

    void stylesApply()
    {
        const DlgAbout about(nullptr);
        const QColor dark(0x01, 0x40, 0x51);
        const QColor light(0x61, 0xD8, 0xCA);
        const auto colour = [&](const QString& text) { return formatOf(about, text).foreground().color(); };
        const auto pixels = [&](const QString& text) {
            return formatOf(about, text).property(QTextFormat::FontPixelSize).toInt();
        };
        QCOMPARE(colour("Version "_s), dark);
        QCOMPARE(pixels("Version "_s), 12);
        QCOMPARE(colour("QORweb"_s), dark);
        QCOMPARE(pixels("QORweb"_s), 16);
        for (const auto& heading : { "Hersteller"_s, "Autor"_s }) {
            QCOMPARE(colour(heading), light);
            QCOMPARE(pixels(heading), 14);
            QCOMPARE(alignmentOf(about, heading) & Qt::AlignHorizontal_Mask, Qt::AlignLeft);
        }
        for (const auto& line : { Contact::Maker::street, "Telefon:"_s, Contact::Author::street })
            QCOMPARE(alignmentOf(about, line) & Qt::AlignHorizontal_Mask, Qt::AlignLeft);
        for (const auto& centred : { "QORweb"_s, "Version "_s })
            QCOMPARE(alignmentOf(about, centred) & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
        for (const auto& link : { Contact::Maker::email, Contact::Maker::webSite, Contact::Author::email }) {
            QCOMPARE(colour(link), light);
            QVERIFY(!formatOf(about, link).fontUnderline());
        }
        QCOMPARE(formatOf(about, "QORweb"_s).fontWeight(), int(QFont::Normal));
        const QTextBlockFormat block = browser(about)->document()->find("Telefon:"_s).blockFormat();
        QCOMPARE(block.lineHeightType(), int(QTextBlockFormat::ProportionalHeight));
        QCOMPARE(block.lineHeight(), 100.0);
    }

    void textStandsOnWhiteInADarkDesktop()
    {
        const QPalette before = QApplication::palette();
        const auto restore = qScopeGuard([&] { QApplication::setPalette(before); });
        QApplication::setPalette(QPalette(QColor(45, 45, 45), QColor(35, 35, 35)));
        DlgAbout about(nullptr);
        const QImage picture = browser(about)->grab().toImage();
        QCOMPARE(picture.pixelColor(1, 1), QColor(Qt::white));
    }

    void labelsAreBold()
    {
        const DlgAbout about(nullptr);
        QStringList bold;
        for (const QTextFragment& fragment : fragments(about)) {
            if (fragment.charFormat().fontWeight() > QFont::Normal)
                bold.append(fragment.text().trimmed());
        }
        QCOMPARE(bold.join(QLatin1Char(' ')), "Telefon: Telefax: E-Mail: Internet: E-Mail:"_s);
    }

    void everyFontFamilyIsOffered()
    {
        const DlgAbout about(nullptr);
        const QStringList families { "Roboto"_s, "Helvetica"_s, "Verdana"_s, "Arial"_s, "sans-serif"_s };
        for (const auto& text : { "Version "_s, "QORweb"_s, "Autor"_s, Contact::Maker::email })
            QCOMPARE(formatOf(about, text).fontFamilies().toStringList(), families);
    }

    void ruleAndLogo()
    {
        const DlgAbout about(nullptr);
        const QString html = browser(about)->toHtml();
        const int logo = html.indexOf("<img src=\":/VarkoLogo200.png\""_s);
        const int title = html.indexOf("QORweb II"_s);
        const int version = html.indexOf("Version "_s);
        const int rule = html.indexOf("<hr width=\"70%\""_s);
        const int maker = html.indexOf("Hersteller"_s);
        QVERIFY(logo >= 0);
        QVERIFY2(logo < title && title < version && version < rule && rule < maker, qPrintable(html));
        QVERIFY(!QPixmap(":/VarkoLogo200.png"_s).isNull());
    }

    void linksInOrder()
    {
        const DlgAbout about(nullptr);
        QStringList targets;
        for (const QTextFragment& fragment : fragments(about)) {
            if (fragment.charFormat().isAnchor())
                targets.append(fragment.charFormat().anchorHref());
        }
        using namespace Contact;
        QCOMPARE(targets,
                 QStringList({ "mailto:"_s + Maker::email, "https://"_s + Maker::webSite,
                               "mailto:"_s + Author::email }));
    }

    void clickOnALinkOpensItAndLeavesTheDialog()
    {
        DlgAbout about(nullptr);
        about.show();
        QVERIFY(QTest::qWaitForWindowExposed(&about));
        const Browser programs;
        const QString before = browser(about)->toHtml();
        for (const auto& text : { Contact::Maker::webSite, Contact::Author::email }) {
            QTextCursor cursor = browser(about)->document()->find(text);
            cursor.setPosition(cursor.selectionStart() + 3);
            browser(about)->setTextCursor(cursor);
            browser(about)->ensureCursorVisible();
            const QRect place = browser(about)->cursorRect(cursor);
            QTest::mouseClick(browser(about)->viewport(), Qt::LeftButton, {}, place.center());
        }
        QCOMPARE(programs.opened,
                 QList<QUrl>({ QUrl("https://"_s + Contact::Maker::webSite),
                               QUrl("mailto:"_s + Contact::Author::email) }));
        QVERIFY(about.isVisible());
        QCOMPARE(browser(about)->toHtml(), before);
    }

    void closes_data()
    {
        QTest::addColumn<Action>("action");
        const auto press = [](Qt::Key key) {
            return [key](DlgAbout* about) { QTest::keyClick(about->focusWidget(), key); };
        };
        QTest::newRow("close button") << Action(
            [](DlgAbout* about) { QTest::mouseClick(about->findChild<QPushButton*>(), Qt::LeftButton); });
        QTest::newRow("return") << Action(press(Qt::Key_Return));
        QTest::newRow("enter") << Action(press(Qt::Key_Enter));
        QTest::newRow("escape") << Action(press(Qt::Key_Escape));
    }

    void closes()
    {
        QFETCH(const Action, action);
        DlgAbout about(nullptr);
        MessageBoxes boxes;
        boxes.answerDialog([&](QDialog* dialog) {
            QVERIFY(QTest::qWaitForWindowActive(dialog));
            action(&about);
        });
        QTimer::singleShot(5000, &about, [&about] { about.done(99); });
        QCOMPARE(about.exec(), int(QDialog::Rejected));
        QVERIFY(about.isHidden());
    }
};

QTEST_MAIN(TestDlgAbout)
#include "tst_dlgabout.moc"
