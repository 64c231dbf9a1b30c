// SPDX-License-Identifier: MIT
#include "inputerror.h"
#include "unit.h"
#include "support/literals.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <QtTest>

class TestUnit : public QObject {
    Q_OBJECT

private slots:
    void saysVersionAndStatus()
    {
        Unit unit("Hälle 1"_s);
        unit.setVersion("local 1.2 01. Dec 2024 remote 1.3  01. Jan 2025"_s);
        QCOMPARE(
            unit.texts(),
            (QByteArrayList { R"({"cmd":"VersionInfo","host":"Hälle 1","localQorVersionDate":"01. Dec 2024",)"
                              R"("localQorVersionNo":"1.2","remoteQorVersionDate":"01. Jan 2025",)"
                              R"("remoteQorVersionNo":"1.3"})",
                              R"({"cmd":"StatusReport","host":"Hälle 1","value":{"warnings":[]}})" }));
    }

    void warningHasDateTimeAndText()
    {
        m_unit.raiseWarning("Lüfter  3"_s);
        const QRegularExpression shape(QString::fromUtf8(
            R"x("warnings":\[{"date":"(.{10})","displaytext":"Lüfter  3","time":"(.{8})"}]}}$)x"));
        const QRegularExpressionMatch match = shape.match(QString::fromUtf8(m_unit.texts().last()));
        QVERIFY(match.hasMatch());
        const auto raised = QDateTime::fromString(match.captured(1) + QLatin1Char(' ') + match.captured(2),
                                                  "yyyy-MM-dd hh:mm:ss"_s);
        QVERIFY(raised.isValid());
        QVERIFY(qAbs(raised.secsTo(QDateTime::currentDateTime())) < 60);
    }

    void warningsAreClearedByTextOrAll()
    {
        for (const char text : { 'a', 'b', 'a', 'c' })
            m_unit.raiseWarning(QString(QLatin1Char(text)));
        QVERIFY_EXCEPTION_THROWN(m_unit.clearWarnings("A"_s), InputError);
        QCOMPARE(m_unit.texts().last().count("displaytext"), 4);
        m_unit.clearWarnings("a"_s);
        QCOMPARE(m_unit.texts().last().count("displaytext"), 2);
        QVERIFY(!m_unit.texts().last().contains("\"displaytext\":\"a\""));
        m_unit.clearAllWarnings();
        QVERIFY(m_unit.texts().last().endsWith("\"warnings\":[]}}"));
    }

    void wrongVersionChangesNothing()
    {
        const QByteArrayList before = m_unit.texts();
        for (const char* text :
             { "local 1 05. Mar 2024", "local 1 05. Mar 2024 remote 2",
               "local 1 05. Mär 2024 remote 2 05. Mar 2024", "local 1 05. Mar 2024 remote 2 31. Feb 2024" }) {
            QVERIFY_EXCEPTION_THROWN(m_unit.setVersion(QString::fromUtf8(text)), InputError);
            QCOMPARE(m_unit.texts(), before);
        }
    }

    void silenceAndGarbageTakeThePlaceOfReports()
    {
        const QByteArray good = m_unit.texts().last();
        m_unit.silence();
        QVERIFY(m_unit.texts().isEmpty());
        m_unit.speakGarbage("no-json"_s);
        QCOMPARE(m_unit.texts(), QByteArrayList { good.chopped(1) });
        m_unit.speakGarbage("unknown-command"_s);
        QCOMPARE(m_unit.texts(), QByteArrayList { R"({"cmd":"Unknown","host":"h1"})" });
        m_unit.speakGarbage("too-long"_s);
        // A good report but for its size, so that only this can be the fault.
        QCOMPARE(m_unit.texts().size(), 1);
        QCOMPARE(m_unit.texts().first().size(), 5000);
        QCOMPARE(QJsonDocument::fromJson(m_unit.texts().first()), QJsonDocument::fromJson(good));
        QVERIFY_EXCEPTION_THROWN(m_unit.speakGarbage("odd"_s), InputError);
        QCOMPARE(m_unit.texts().first().size(), 5000);
        m_unit.silence();
        QVERIFY(m_unit.texts().isEmpty());
        m_unit.speak();
        QCOMPARE(m_unit.texts().last(), good);
    }

    void pageShowsNameSoftwareAndWarningsEscaped()
    {
        Unit unit("<b>%2 & Co"_s);
        unit.raiseWarning("<script>ü %1"_s);
        const QByteArray page = unit.page();
        QVERIFY(page.contains("<h1>&lt;b&gt;%2 &amp; Co</h1>"));
        QVERIFY(page.contains("&lt;script&gt;ü %1</li>"));
        QVERIFY(page.contains("V1.200 (05. Mar 2024)"));
        QVERIFY(!page.contains("<script>"));
    }

    void init() { m_unit = Unit("h1"_s); }

private:
    Unit m_unit { QString() };
};

QTEST_GUILESS_MAIN(TestUnit)
#include "tst_unit.moc"
