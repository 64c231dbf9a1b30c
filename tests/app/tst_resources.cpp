// SPDX-License-Identifier: MIT
// What is compiled into the program: images, the alarm sound and the German texts of Qt.
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

const QMap<QString, QSize> imageSizes {
    { ":/Size16x16/exit.png"_s, { 16, 16 } },
    { ":/Size16x16/help.png"_s, { 16, 16 } },
    { ":/Size16x16/text_list_bullets.png"_s, { 16, 16 } },
    { ":/Size16x16/tools2.png"_s, { 16, 16 } },
    { ":/Size32x32/exit.png"_s, { 32, 32 } },
    { ":/Size32x32/help.png"_s, { 32, 32 } },
    { ":/Size32x32/minimize.png"_s, { 32, 32 } },
    { ":/Size32x32/thumb-up-sign.png"_s, { 32, 32 } },
    { ":/Size32x32/tools2.png"_s, { 32, 32 } },
    { ":/VarkoLogo200.png"_s, { 200, 76 } },
    { ":/VarkoLogo200@2x.png"_s, { 400, 152 } },
    { ":/favicon.png"_s, { 256, 256 } },
};

// The text of the "Cancel" button of a message box or a button box.
template <typename Box> QString cancelOf(const Box& box)
{
    return box.button(Box::Cancel)->text().remove(QLatin1Char('&'));
}

QString messageBoxCancel()
{
    return cancelOf(QMessageBox(QMessageBox::Question, {}, {}, QMessageBox::Cancel));
}

} // namespace

class TestResources : public QObject {
    Q_OBJECT

private slots:
    void bundleHoldsTheTableAndNothingElse()
    {
        // Qt's libraries bring resources of their own.
        const QRegularExpression ofQt("^:/(qt-project\\.org|qpdf|qgradient)/"_s);
        QStringList found;
        QDirIterator files(":/"_s, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString file = files.next();
            if (!ofQt.match(file).hasMatch())
                found << file;
        }
        found.sort();
        QStringList expected = imageSizes.keys() << alarmSound << translation;
        expected.sort();
        QVERIFY2(found == expected, qPrintable(found.join(QLatin1Char(' '))));
    }

    void imageIsReadableAndStoredAsItIs_data()
    {
        QTest::addColumn<QString>("path");
        for (const QString& path : imageSizes.keys())
            QTest::newRow(qPrintable(path)) << path;
    }

    void imageIsReadableAndStoredAsItIs()
    {
        QFETCH(const QString, path);
        const QImage image(path, "PNG");
        QVERIFY(!image.isNull());
        QCOMPARE(image.size(), imageSizes.value(path));
        QVERIFY(image.hasAlphaChannel());
        QCOMPARE(QResource(path).compressionAlgorithm(), QResource::NoCompression);
    }

    void soundAndTranslationAreCompressed()
    {
        for (const QString& path : { alarmSound, translation }) {
            const QResource resource(path);
            QCOMPARE(resource.compressionAlgorithm(), QResource::ZlibCompression);
            QVERIFY2(resource.size() < resource.uncompressedSize(), qPrintable(path));
        }
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
        {
            QTranslator translator;
            QVERIFY(translator.load(translation));
            QCoreApplication::installTranslator(&translator);
            QCOMPARE(messageBoxCancel(), "Abbrechen"_s);
            QCOMPARE(cancelOf(QDialogButtonBox(QDialogButtonBox::Cancel)), "Abbrechen"_s);
            QCOMPARE(QCoreApplication::translate("QMediaPlayer",
                                                 "The QMediaPlayer object does not have a valid service"),
                     "Das QMediaPlayer-Objekt hat keinen gültigen Dienst"_s);
        }
        QCOMPARE(messageBoxCancel(), "Cancel"_s);
    }
};

QTEST_MAIN(TestResources)
#include "tst_resources.moc"
