// SPDX-License-Identifier: MIT
// Races on purpose, in the way a link could: its thread writes a field that a slot reads. Shows that the
// thread sanitizer, set up as for the tests, still sees such a race.
#include <QCoreApplication>
#include <QThread>

namespace {
constexpr unsigned long runTimeMs = 2000;
} // namespace

class RacingLink : public QThread {
    Q_OBJECT

public:
    int texts() const { return m_texts; }

signals:
    void textReceived(QByteArray text);

protected:
    void run() override
    {
        for (unsigned long i = 0; i < runTimeMs; ++i) {
            emit textReceived(QByteArrayLiteral("text"));
            ++m_texts;
            msleep(1);
        }
    }

private:
    int m_texts = 0;
};

int main(int argc, char* argv[])
{
    const QCoreApplication app(argc, argv);
    RacingLink link;
    int read = 0;
    QObject::connect(&link, &RacingLink::textReceived, &app, [&] { read += link.texts(); });
    QObject::connect(&link, &QThread::finished, &app, &QCoreApplication::quit, Qt::QueuedConnection);
    link.start();
    const int result = QCoreApplication::exec();
    link.wait();
    return read >= 0 ? result : 1;
}

#include "racecheck.moc"
