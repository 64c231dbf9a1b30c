// SPDX-License-Identifier: MIT
#include "support/literals.h"

#include <QDialogButtonBox>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QMessageBox>
#include <QPushButton>
#include <QResource>
#include <QTranslator>
#include <QtTest>

namespace {
const auto alarmSound = ":/AlarmSound00.wav"_s;
const auto translation = ":/qt_de.qm"_s;

QStringList images()
{
    return {
        ":/Size16x16/exit.png"_s,
        ":/Size16x16/help.png"_s,
        ":/Size16x16/text_list_bullets.png"_s,
        ":/Size16x16/tools2.png"_s,
        ":/Size32x32/exit.png"_s,
        ":/Size32x32/help.png"_s,
        ":/Size32x32/minimize.png"_s,
        ":/Size32x32/thumb-up-sign.png"_s,
        ":/Size32x32/tools2.png"_s,
        ":/VarkoLogo200.png"_s,
        ":/favicon.png"_s,
    };
}

// The toolkit's libraries bring resources of their own.
bool isToolkitResource(const QString& path)
{
    return path.startsWith(QLatin1String(":/qt-project.org/")) || path.startsWith(QLatin1String(":/qpdf/"))
        || path.startsWith(QLatin1String(":/qgradient/"));
}

QString withoutMnemonic(QString text)
{
    return text.remove(QLatin1Char('&'));
}

QString messageBoxCancel()
{
    const QMessageBox box(QMessageBox::Question, QString(), QString(), QMessageBox::Cancel);
    return withoutMnemonic(box.button(QMessageBox::Cancel)->text());
}

QString buttonBoxCancel()
{
    const QDialogButtonBox box(QDialogButtonBox::Cancel);
    return withoutMnemonic(box.button(QDialogButtonBox::Cancel)->text());
}

QString multimediaText()
{
    return QCoreApplication::translate("QMediaPlayer",
                                       "The QMediaPlayer object does not have a valid service");
}
} // namespace

class TestResources : public QObject {
    Q_OBJECT

private slots:
    void bundleHoldsTheTableAndNothingElse()
    {
        QStringList found;
        QDirIterator files(":/"_s, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString file = files.next();
            if (!isToolkitResource(file))
                found << file;
        }
        found.sort();
        QStringList expected = images() << alarmSound << translation;
        expected.sort();
        QVERIFY2(found == expected, qPrintable(found.join(QLatin1Char(' '))));
    }

    void imageIsReadableAndStoredAsItIs_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QSize>("size");
        const auto expectedSize = [](const QString& path) {
            if (path.startsWith(QLatin1String(":/Size16x16/")))
                return QSize(16, 16);
            if (path.startsWith(QLatin1String(":/Size32x32/")))
                return QSize(32, 32);
            return path == QLatin1String(":/favicon.png") ? QSize(256, 256) : QSize(200, 76);
        };
        for (const QString& path : images())
            QTest::newRow(qPrintable(path)) << path << expectedSize(path);
    }

    void imageIsReadableAndStoredAsItIs()
    {
        QFETCH(const QString, path);
        QFETCH(const QSize, size);
        const QImage image(path, "PNG");
        QVERIFY(!image.isNull());
        QCOMPARE(image.size(), size);
        QVERIFY(image.hasAlphaChannel());
        QCOMPARE(QResource(path).compressionAlgorithm(), QResource::NoCompression);
    }

    void soundAndTranslationAreCompressed_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("sound") << alarmSound;
        QTest::newRow("translation") << translation;
    }

    void soundAndTranslationAreCompressed()
    {
        QFETCH(const QString, path);
        const QResource resource(path);
        QCOMPARE(resource.compressionAlgorithm(), QResource::ZlibCompression);
        QVERIFY(resource.size() < resource.uncompressedSize());
    }

    void soundIsWave()
    {
        QFile sound(alarmSound);
        QVERIFY(sound.open(QIODevice::ReadOnly));
        const QByteArray bytes = sound.readAll();
        QCOMPARE(bytes.left(4), QByteArray("RIFF"));
        QCOMPARE(bytes.mid(8, 8), QByteArray("WAVEfmt "));
        // PCM, the one coding that every sound backend plays.
        QCOMPARE(bytes.mid(20, 2), QByteArray("\1\0", 2));
    }

    void standardTextsAreGermanWithTheOneCatalogue()
    {
        QCOMPARE(messageBoxCancel(), "Cancel"_s);
        QTranslator translator;
        QVERIFY(translator.load(translation));
        QCoreApplication::installTranslator(&translator);
        QCOMPARE(messageBoxCancel(), "Abbrechen"_s);
        QCOMPARE(buttonBoxCancel(), "Abbrechen"_s);
        QCOMPARE(multimediaText(), "Das QMediaPlayer-Objekt hat keinen gültigen Dienst"_s);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(messageBoxCancel(), "Cancel"_s);
    }
};

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
