// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

// What came out of listening to a unit: a plain value, and how it is told, in German or in JSON.
struct Findings {
    // The numbers are the program's exit codes; 2 is for wrong arguments.
    enum Verdict {
        Fine = 0,
        NothingHeard = 1,
        NoAddress = 3,
        Faulty = 4,
    };

    // A reason why the monitor takes the unit for incompatible, and the first text for which it does.
    struct Refusal {
        QString reason;
        QByteArray text;
        int count = 0;
    };

    Verdict verdict() const;
    // Where it listens, and what came of it, in lines without line ends.
    QStringList heading() const;
    QStringList result() const;
    QJsonObject json() const;

    // Whether a character could steer a terminal, or turn a line around.
    static bool steers(QChar character);

    void addRefusal(const QString& reason, const QByteArray& text);
    void addTooLong(qint64 size);
    bool isAnythingHeard() const { return textCount() > 0 || !tooLong.isEmpty(); }
    // Whether the monitor takes everything that the unit says.
    bool isUsable() const;

    QString host;
    int port = 0;
    QString address;
    QStringList addresses;
    int seconds = 0;

    // As the monitor shows them at the end.
    QString state;
    QString name;
    QString localVersionNo;
    QString localVersionDate;
    QString remoteVersionNo;
    QString remoteVersionDate;
    QJsonArray messages;

    int statusReports = 0;
    int versionInfos = 0;
    int blanks = 0;
    int refused = 0;
    // The first ones that differ.
    QVector<Refusal> refusals;
    // Texts that were too long, and how many there were of the first sizes.
    int dropped = 0;
    QMap<qint64, int> tooLong;
    // How often the monitor would have called the unit disconnected.
    int silences = 0;
    // Why the port cannot be connected to. Empty when it can, and when it was not tried because of what was
    // heard.
    QString portError;

private:
    int textCount() const { return statusReports + versionInfos + blanks + refused; }
    QString verdictText() const;
    QString silenceText() const;
    QStringList faults() const;
};
