// SPDX-License-Identifier: MIT
#include "dialogs/dlgabout.h"

#include "app/contact.h"
#include "app/version.h"
#include "support/formchecks.h"

#include <QAbstractTextDocumentLayout>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>
#include <QtTest>

class TestDlgAbout : public QObject {
    Q_OBJECT

public slots:
    void keepLink(const QUrl& url) { m_opened.append(url); }

private slots:
    void formLooksAsDesigned();
    void declaresItsSlot();
    void linesInOrder();
    void stylesApply();
    void labelsAreBold();
    void everyFontFamilyIsOffered();
    void ruleAndLogo();
    void linksInOrder();
    void clickOnALinkOpensItAndLeavesTheDialog();
    void closes_data();
    void closes();

private:
    QList<QUrl> m_opened;
};

namespace {

QTextBrowser* browser(const DlgAbout& about)
{
    return about.findChild<QTextBrowser*>(QStringLiteral("textBrowser"));
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

QStringList linkTargets(const DlgAbout& about)
{
    QStringList targets;
    for (QTextBlock block = browser(about)->document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            if (it.fragment().charFormat().isAnchor())
                targets.append(it.fragment().charFormat().anchorHref());
        }
    }
    return targets;
}

} // namespace

void TestDlgAbout::formLooksAsDesigned()
{
    const DlgAbout about(nullptr);
    QCOMPARE(about.objectName(), QStringLiteral("DlgAbout"));
    QCOMPARE(about.size(), QSize(548, 651));
    QCOMPARE(about.windowTitle(), QStringLiteral("Über QorMonitor ..."));
    const auto* rows = qobject_cast<QVBoxLayout*>(about.layout());
    QVERIFY(rows);
    QCOMPARE(rows->objectName(), QStringLiteral("vboxLayout"));
    QCOMPARE(rows->spacing(), 6);
    QCOMPARE(rows->contentsMargins(), QMargins(11, 11, 11, 11));
    QCOMPARE(FormChecks::items(rows),
             (QStringList { QStringLiteral("hboxLayout"), QStringLiteral("hboxLayout1") }));
    const auto* upper = about.findChild<QHBoxLayout*>(QStringLiteral("hboxLayout"));
    const auto* lower = about.findChild<QHBoxLayout*>(QStringLiteral("hboxLayout1"));
    QCOMPARE(upper->spacing(), 6);
    QCOMPARE(lower->spacing(), 6);
    QCOMPARE(FormChecks::items(upper), QStringList { QStringLiteral("textBrowser") });
    QCOMPARE(FormChecks::items(lower),
             (QStringList { FormChecks::spacer(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum),
                            QStringLiteral("pushButtonClose") }));
    QCOMPARE(browser(about)->frameShape(), QFrame::NoFrame);
    QCOMPARE(browser(about)->frameShadow(), QFrame::Plain);
    QCOMPARE(browser(about)->lineWidth(), 0);
    QVERIFY(browser(about)->tabChangesFocus());
    QVERIFY(browser(about)->openExternalLinks());
    const auto* close = about.findChild<QPushButton*>(QStringLiteral("pushButtonClose"));
    QCOMPARE(close->text(), QStringLiteral("&Schließen"));
    QCOMPARE(close->toolTip(), QStringLiteral("Schließt diesen Dialog"));
    QVERIFY(close->isDefault());
}

void TestDlgAbout::declaresItsSlot()
{
    QCOMPARE(FormChecks::ownMethods(DlgAbout::staticMetaObject),
             QList<QByteArray> { "on_pushButtonClose_clicked()" });
}

void TestDlgAbout::linesInOrder()
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
        QStringLiteral("QorMonitor"),
        QStringLiteral("(QORweb II Monitor Anwendung)"),
        QStringLiteral("Version 1.045 / 02. Mar 2025"),
        QStringLiteral("Hersteller"),
        Maker::company,
        Maker::parentCompany,
        Maker::street,
        Maker::town,
        QStringLiteral("Telefon: ") + Maker::telephone,
        QStringLiteral("Telefax: ") + Maker::fax,
        QStringLiteral("E-Mail: ") + Maker::email,
        QStringLiteral("Internet: ") + Maker::webSite,
        QStringLiteral("Autor"),
        Author::firm,
        QStringLiteral("Büro Musterstadt, Erika Muster"),
        Author::street,
        Author::town,
        QStringLiteral("E-Mail: ") + Author::email,
    };
    QCOMPARE(lines, expected);
}

void TestDlgAbout::stylesApply()
{
    const DlgAbout about(nullptr);
    const QColor dark(0x01, 0x40, 0x51);
    const QColor light(0x61, 0xD8, 0xCA);
    const auto colour = [&](const QString& text) { return formatOf(about, text).foreground().color(); };
    const auto pixels = [&](const QString& text) {
        return formatOf(about, text).property(QTextFormat::FontPixelSize).toInt();
    };
    QCOMPARE(colour(QStringLiteral("Version ")), dark);
    QCOMPARE(pixels(QStringLiteral("Version ")), 12);
    QCOMPARE(colour(QStringLiteral("QORweb")), dark);
    QCOMPARE(pixels(QStringLiteral("QORweb")), 16);
    for (const auto& heading : { QStringLiteral("Hersteller"), QStringLiteral("Autor") }) {
        QCOMPARE(colour(heading), light);
        QCOMPARE(pixels(heading), 14);
        QCOMPARE(alignmentOf(about, heading) & Qt::AlignHorizontal_Mask, Qt::AlignLeft);
    }
    for (const auto& centred : { QStringLiteral("QORweb"), QStringLiteral("Version ") })
        QCOMPARE(alignmentOf(about, centred) & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
    for (const auto& link : { Contact::Maker::email, Contact::Maker::webSite, Contact::Author::email }) {
        QCOMPARE(colour(link), light);
        QVERIFY(!formatOf(about, link).fontUnderline());
    }
    QCOMPARE(formatOf(about, QStringLiteral("QORweb")).fontWeight(), int(QFont::Normal));
    const QTextBlockFormat block = browser(about)->document()->find(QStringLiteral("Telefon:")).blockFormat();
    QCOMPARE(block.lineHeightType(), int(QTextBlockFormat::ProportionalHeight));
    QCOMPARE(block.lineHeight(), 100.0);
}

void TestDlgAbout::labelsAreBold()
{
    const DlgAbout about(nullptr);
    QStringList bold;
    for (QTextBlock block = browser(about)->document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            if (it.fragment().charFormat().fontWeight() > QFont::Normal)
                bold.append(it.fragment().text().trimmed());
        }
    }
    QCOMPARE(bold.join(QLatin1Char(' ')), QStringLiteral("Telefon: Telefax: E-Mail: Internet: E-Mail:"));
}

void TestDlgAbout::everyFontFamilyIsOffered()
{
    const DlgAbout about(nullptr);
    const QStringList families { QStringLiteral("Roboto"), QStringLiteral("Helvetica"),
                                 QStringLiteral("Verdana"), QStringLiteral("Arial"),
                                 QStringLiteral("sans-serif") };
    for (const auto& text : { QStringLiteral("Version "), QStringLiteral("QORweb"), QStringLiteral("Autor"),
                              Contact::Maker::email })
        QCOMPARE(formatOf(about, text).fontFamilies().toStringList(), families);
}

void TestDlgAbout::ruleAndLogo()
{
    const DlgAbout about(nullptr);
    const QString html = browser(about)->toHtml();
    const int logo = html.indexOf(QStringLiteral("<img src=\":/VarkoLogo200.png\""));
    const int title = html.indexOf(QStringLiteral("QORweb II"));
    const int version = html.indexOf(QStringLiteral("Version "));
    const int rule = html.indexOf(QStringLiteral("<hr width=\"70%\""));
    const int maker = html.indexOf(QStringLiteral("Hersteller"));
    QVERIFY(logo >= 0);
    QVERIFY2(logo < title && title < version && version < rule && rule < maker, qPrintable(html));
    QVERIFY(!QPixmap(QStringLiteral(":/VarkoLogo200.png")).isNull());
}

void TestDlgAbout::linksInOrder()
{
    const DlgAbout about(nullptr);
    QCOMPARE(linkTargets(about),
             (QStringList { QStringLiteral("mailto:") + Contact::Maker::email,
                            QStringLiteral("https://") + Contact::Maker::webSite,
                            QStringLiteral("mailto:") + Contact::Author::email }));
}

void TestDlgAbout::clickOnALinkOpensItAndLeavesTheDialog()
{
    DlgAbout about(nullptr);
    about.show();
    QVERIFY(QTest::qWaitForWindowExposed(&about));
    for (const auto& scheme : { QStringLiteral("https"), QStringLiteral("mailto") })
        QDesktopServices::setUrlHandler(scheme, this, "keepLink");
    const QString before = browser(about)->toHtml();
    m_opened.clear();
    for (const auto& text : { Contact::Maker::webSite, Contact::Author::email }) {
        QTextCursor cursor = browser(about)->document()->find(text);
        cursor.setPosition(cursor.selectionStart() + 3);
        browser(about)->setTextCursor(cursor);
        browser(about)->ensureCursorVisible();
        const QRect place = browser(about)->cursorRect(cursor);
        QTest::mouseClick(browser(about)->viewport(), Qt::LeftButton, {}, place.center());
    }
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("mailto"));
    QCOMPARE(m_opened,
             (QList<QUrl> { QUrl(QStringLiteral("https://") + Contact::Maker::webSite),
                            QUrl(QStringLiteral("mailto:") + Contact::Author::email) }));
    QVERIFY(about.isVisible());
    QCOMPARE(browser(about)->toHtml(), before);
}

void TestDlgAbout::closes_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("close button") << 0;
    QTest::newRow("return") << int(Qt::Key_Return);
    QTest::newRow("enter") << int(Qt::Key_Enter);
    QTest::newRow("escape") << int(Qt::Key_Escape);
}

void TestDlgAbout::closes()
{
    QFETCH(const int, key);
    DlgAbout about(nullptr);
    QTimer::singleShot(0, &about, [&about, key] {
        if (key == 0)
            QTest::mouseClick(about.findChild<QPushButton*>(), Qt::LeftButton);
        else
            QTest::keyClick(about.focusWidget() ? about.focusWidget() : &about, static_cast<Qt::Key>(key));
    });
    QTimer::singleShot(5000, &about, [&about] { about.done(99); });
    QCOMPARE(about.exec(), int(QDialog::Rejected));
    QVERIFY(about.isHidden());
}

QTEST_MAIN(TestDlgAbout)
#include "tst_dlgabout.moc"
