// SPDX-License-Identifier: MIT
// The logo on a screen that is scaled to 200 %.
#include "support/literals.h"
#include "support/windowtest.h"

#include <QApplication>
#include <QPainter>
#include <QTextBrowser>
#include <QtTest>

class TestScaledLogo : public WindowTest {
    Q_OBJECT

private slots:
    void logoIsSharp()
    {
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        auto* browser = m_window->centralWidget()->findChild<QTextBrowser*>();
        const QImage shown = browser->viewport()->grab().toImage();
        QCOMPARE(shown.devicePixelRatio(), 2.0);
        QImage expected(400, 152, shown.format());
        expected.fill(browser->palette().color(QPalette::Base));
        QImage drawn(":/VarkoLogo200@2x.png"_s);
        drawn.setDevicePixelRatio(1);
        QPainter(&expected).drawImage(0, 0, drawn);
        const int margin = 2 * static_cast<int>(browser->document()->documentMargin());
        QImage logo = shown.copy(QRect(QPoint(margin, margin), expected.size()));
        logo.setDevicePixelRatio(1);
        QCOMPARE(logo, expected);
    }
};

int main(int argc, char* argv[])
{
    qputenv("QT_SCALE_FACTOR", "2");
    const QApplication application(argc, argv);
    TestScaledLogo test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_scaledlogo.moc"
