// SPDX-License-Identifier: MIT
// Texts with repeated keys mean what the parser makes of them, and leave no memory behind.
#include "devices/repeatedkeys.h"

#include "support/literals.h"
#include "support/logcapture.h"
#include "support/platform.h"
#include "support/units.h"

#include <QJsonDocument>
#include <QRandomGenerator>
#include <QtTest>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// The address sanitizer makes them slow, keeps what is released, and itself reports what was lost.
#ifdef __SANITIZE_ADDRESS__
constexpr int randomTexts = 500;
constexpr int lossyParses = 5;
#else
constexpr int randomTexts = 20000;
constexpr int lossyParses = 10000;
#endif
constexpr qint64 allowedGrowthKiB = 10240;

// Well-formed for the most part, with few different keys, so that they come again.
class RandomJson {
public:
    explicit RandomJson(quint32 seed)
        : m_random(seed)
    {
    }

    QByteArray document()
    {
        QByteArray text = oneOf({ "", "", "\xef\xbb\xbf" }) + container(0) + oneOf({ "", "", "", "\n", "x" });
        for (int faults = m_random.bounded(4) - 2; faults > 0 && !text.isEmpty(); --faults)
            damage(text);
        return text;
    }

private:
    QByteArray oneOf(const QByteArrayList& choices) { return choices.at(m_random.bounded(choices.size())); }
    QByteArray blank() { return oneOf({ "", "", "", " ", "\n\t", "\r " }); }

    QByteArray key()
    {
        return '"'
            + oneOf({ "a", "a", "\\u0061", "b", "", "\\\"", "\\\\", "ä", "\\u00e4", "\\u00E4", "\\ud800",
                      "\\ud801", "a\\u0000", "\xf0\x9f\x98\x80", "\\ud83d\\ude00", "\xee\x80\x80",
                      "\\ue000" })
            + '"';
    }

    QByteArray scalar()
    {
        return oneOf({ "0", "-1.5e3", "true", "false", "null", "\"\"", "\"]}\"", "\"\\\"{\"", "\"ä\"", "1",
                       "1", "tru", "01", "1e999", "\"\\q\"", "\"\\u12\"" });
    }

    QByteArray container(int depth)
    {
        const bool isObject = m_random.bounded(3) != 0;
        QByteArrayList parts;
        for (int count = m_random.bounded(5); count > 0; --count)
            parts << blank() + (isObject ? key() + blank() + ':' + blank() : "") + value(depth + 1) + blank();
        return (isObject ? '{' : '[') + parts.join(',') + blank() + (isObject ? '}' : ']');
    }

    QByteArray value(int depth)
    {
        return depth < 6 && m_random.bounded(2) == 0 ? container(depth) : scalar();
    }

    void damage(QByteArray& text)
    {
        const int place = m_random.bounded(text.size());
        switch (m_random.bounded(4)) {
        case 0:
            text.truncate(place);
            break;
        case 1:
            text.remove(place, 1);
            break;
        case 2:
            text.insert(place, oneOf({ "[", "]", "{", "}", ",", ":", "\"", "\\", "x", "\xc3", " " }));
            break;
        default:
            text[place] = static_cast<char>(m_random.bounded(256));
            break;
        }
    }

    QRandomGenerator m_random;
};

// A text of about the greatest length that a link delivers.
QByteArray lossyText()
{
    return R"({"a":[)" + QByteArray("[1],").repeated(1200) + R"([1]],"a":1})";
}

// Loses memory, which the leak sanitizer need not tell.
QJsonDocument plainlyParsed(const QByteArray& text, QJsonParseError* error)
{
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler disabler;
#endif
    return QJsonDocument::fromJson(text, error);
}

void compareWithParser(const QByteArray& text)
{
    QJsonParseError expectedError {};
    const QJsonDocument expected = plainlyParsed(text, &expectedError);
    QJsonParseError error {};
    const QJsonDocument document = QJsonDocument::fromJson(withoutRepeatedContainers(text), &error);
    QCOMPARE(error.error, expectedError.error);
    QCOMPARE(error.offset, expectedError.offset);
    // Both compared: equality does not look at an object's number of members alone.
    QCOMPARE(document, expected);
    QCOMPARE(document.toJson(), expected.toJson());
}

} // namespace

class TestRepeatedKeys : public QObject {
    Q_OBJECT

private slots:
    void onlyWhatIsLostIsOverwritten_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("expected");
        const auto row = [](const char* name, const QByteArray& text, const QByteArray& expected) {
            QTest::newRow(name) << text << expected;
        };
        row("array", R"({"a":[1],"a":1})", R"({"a":0  ,"a":1})");
        row("object", R"({"a":{"b":1},"a":1})", R"({"a":0      ,"a":1})");
        row("last one stays", R"({"a":1,"a":[1]})", R"({"a":1,"a":[1]})");
        row("three", R"({"a":[1],"a":[2],"a":[3]})", R"({"a":0  ,"a":0  ,"a":[3]})");
        row("escaped key", R"({"\u0061":[1],"a":1})", R"({"\u0061":0  ,"a":1})");
        row("quote in a key", "{\"\\\"\":[1],\"\\\"\":1}", "{\"\\\"\":0  ,\"\\\"\":1}");
        row("half a character in a key", R"({"\ud800":[1],"\ud801":1})", R"({"\ud800":[1],"\ud801":1})");
        row("other objects", R"([{"a":[1]},{"a":[2],"b":{"a":[3]}}])",
            R"([{"a":[1]},{"a":[2],"b":{"a":[3]}}])");
        row("further in", R"([{"b":{"a":[1],"a":2}}])", R"([{"b":{"a":0  ,"a":2}}])");
        row("within what is lost", R"({"b":{"a":[1],"a":2},"b":3})", R"({"b":0              ,"b":3})");
        row("behind a byte order mark", "\xef\xbb\xbf{\"a\":[1],\"a\":1}", "\xef\xbb\xbf{\"a\":0  ,\"a\":1}");
        row("ill-formed value", R"({"a":[x],"a":1})", R"({"a":[x],"a":1})");
        row("open object", R"({"a":[1],"a":1)", R"({"a":[1],"a":1)");
        row("fault further on", R"([{"a":[1],"a":1},x])", R"([{"a":0  ,"a":1},x])");
        row("at the nesting limit", nested(1022), nested(1022).replace("[1]", "0  "));
        row("beyond the nesting limit", nested(1022).replace("[1]", "[[1]]"),
            nested(1022).replace("[1]", "[[1]]"));
    }

    void onlyWhatIsLostIsOverwritten()
    {
        QFETCH(const QByteArray, text);
        QTEST(withoutRepeatedContainers(text), "expected");
        compareWithParser(text);
    }

    void otherTextsAreNotCopied()
    {
        const QByteArray text = statusReport("Halle 2"_s, { warning("Feuer"_s), warning("Wasser"_s) });
        QCOMPARE(static_cast<const void*>(withoutRepeatedContainers(text).constData()),
                 static_cast<const void*>(text.constData()));
    }

    void parserHasTheSameResultAndError()
    {
        RandomJson random(1);
        int overwritten = 0;
        int errors = 0;
        for (int i = 0; i < randomTexts; ++i) {
            const QByteArray text = random.document();
            compareWithParser(text);
            if (QTest::currentTestFailed())
                QFAIL(("text " + text.toPercentEncoding(" {}[]\":,\\")).constData());
            overwritten += withoutRepeatedContainers(text) == text ? 0 : 1;
            QJsonParseError error {};
            QJsonDocument::fromJson(withoutRepeatedContainers(text), &error);
            errors += error.error == QJsonParseError::NoError ? 0 : 1;
        }
        // Some of each kind, or the comparison says nothing.
        QVERIFY(overwritten > randomTexts / 20);
        QVERIFY(errors > randomTexts / 20 && errors < randomTexts * 19 / 20);
    }

    void unitLosesNoMemory()
    {
        LogCapture log;
        DeviceList list(nullptr);
        Device* unit = addUnit(list, 1);
        const QByteArray lossy = lossyText();
        QVERIFY(lossy.size() < 4999);
        unit->processQorMessage(lossy);
        const qint64 before = Platform::residentKiB();
        for (int i = 0; i < lossyParses; ++i) {
            unit->processQorMessage(lossy);
            log.clear();
        }
        const qint64 growth = Platform::residentKiB() - before;
        QVERIFY2(growth < allowedGrowthKiB, qPrintable("%1 KiB"_s.arg(growth)));
    }

private:
    // An object with a lost value, in so many arrays.
    static QByteArray nested(int arrays)
    {
        return QByteArray(arrays, '[') + R"({"a":[1],"a":1})" + QByteArray(arrays, ']');
    }
};

QTEST_GUILESS_MAIN(TestRepeatedKeys)
#include "tst_repeatedkeys.moc"
