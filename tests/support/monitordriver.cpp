// SPDX-License-Identifier: MIT
// A plugin that Qt loads into the real program with "-plugin monitordriver". It lets a test work
// the program's window without a desktop: orders come as lines on standard input, each is answered by one
// line on standard output.
#include "base/detachedthread.h"

#include <QAction>
#include <QApplication>
#include <QCoreApplication>
#include <QFile>
#include <QGenericPlugin>
#include <QIcon>
#include <QImage>
#include <QLineEdit>
#include <QLocalSocket>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QWidget>

#include <cstdio>
#include <memory>
#include <mutex>

namespace {

QWidget* mainWindow()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget* window : windows) {
        if (window->objectName() == QLatin1String("MainWinQorMonitor"))
            return window;
    }
    return nullptr;
}

// The class of the modal window that has to be dealt with first.
QByteArray modalWindow()
{
    const QWidget* modal = QApplication::activeModalWidget();
    return modal ? modal->metaObject()->className() : "none";
}

QByteArray stateOf(const QWidget* window)
{
    if (!window->isVisible())
        return "hidden";
    return window->isMinimized() ? "minimised" : "shown";
}

QImage imageOf(const QIcon& icon)
{
    return icon.pixmap(32).toImage();
}

// What the start has set for the whole program; empty for any other order.
QByteArray applicationProperty(const QByteArray& order)
{
    if (order == "domain")
        return QCoreApplication::organizationDomain().toUtf8();
    if (order == "fallback")
        return QGuiApplication::isFallbackSessionManagementEnabled() ? "on" : "off";
    if (order == "icon")
        return imageOf(QApplication::windowIcon()) == imageOf(QIcon(QStringLiteral(":/favicon.png")))
            ? "favicon"
            : "other";
    return {};
}

// Switches the monitoring of the first unit over, as a double click on its row in the device manager does.
void toggleMonitoring(const QWidget* window)
{
    const auto* manager = window->findChild<QWidget*>(QStringLiteral("DlgDeviceManager"));
    auto* tree = manager->findChild<QTreeWidget*>(QStringLiteral("treeWidget"));
    emit tree->itemDoubleClicked(tree->topLevelItem(0), 0);
}

// Adds a unit on the loopback address, as a click on "Hinzufügen" does, and with the save that follows.
void addUnit(const QWidget* window, const QByteArray& zmqPort)
{
    const auto* manager = window->findChild<QWidget*>(QStringLiteral("DlgDeviceManager"));
    manager->findChild<QLineEdit*>(QStringLiteral("lineEditNewHost"))->setText(QStringLiteral("127.0.0.1"));
    manager->findChild<QLineEdit*>(QStringLiteral("lineEditPort"))->setText(QString::fromUtf8(zmqPort));
    manager->findChild<QPushButton*>(QStringLiteral("pushButtonAddHost"))->click();
}

// A start that comes too late: the event loop, which ends, does not get round to it.
bool startAnother()
{
    QLocalSocket start;
    start.connectToServer(QStringLiteral("qor-monitor"));
    return start.waitForConnected();
}

} // namespace

class MonitorDriver : public QObject {
    Q_OBJECT

public:
    MonitorDriver()
    {
        m_answers.open(stdout, QIODevice::WriteOnly);
        // Not every system can watch a pipe, so a thread waits for the orders. It cannot be woken up and may
        // be left behind by this object.
        startDetached([reader = m_reader] { readOrders(reader); });
    }

    ~MonitorDriver() override
    {
        const std::lock_guard lock(m_reader->mutex);
        m_reader->driver = nullptr;
    }
    Q_DISABLE_COPY_MOVE(MonitorDriver)

private:
    struct Reader {
        explicit Reader(MonitorDriver* owner)
            : driver(owner)
        {
        }

        std::mutex mutex;
        MonitorDriver* driver;
    };

    static void readOrders(const std::shared_ptr<Reader>& reader)
    {
        // By its number: a stream's lock, held by a thread that waits, could hold up the end of the program.
        QFile orders;
        orders.open(0, QIODevice::ReadOnly | QIODevice::Unbuffered);
        for (;;) {
            const QByteArray order = orders.readLine().trimmed();
            const std::lock_guard lock(reader->mutex);
            if (order.isEmpty() || !reader->driver)
                return;
            QMetaObject::invokeMethod(
                reader->driver, [driver = reader->driver, order] { driver->answer(driver->carryOut(order)); },
                Qt::QueuedConnection);
        }
    }

    void answer(const QByteArray& text)
    {
        m_answers.write(text + '\n');
        m_answers.flush();
    }

    QByteArray carryOut(const QByteArray& order)
    {
        QWidget* window = mainWindow();
        if (!window)
            return "no window";
        if (order == "state")
            return stateOf(window);
        if (order == "cancel")
            return QCoreApplication::translate("QPlatformTheme", "Cancel").toUtf8();
        if (const QByteArray property = applicationProperty(order); !property.isEmpty())
            return property;
        if (order == "modal")
            return modalWindow();
        const QList<QByteArray> words = order.split(' ');
        if (words.first() == "add")
            addUnit(window, words.value(1));
        else if (words.first() == "leave")
            QCoreApplication::exit(words.value(1).toInt());
        else if (words.size() > 1)
            return work(window->findChild<QObject*>(QString::fromUtf8(words.at(1))), words);
        else if (order == "minimise")
            window->showMinimized();
        else if (order == "close")
            window->close();
        else if (order == "dismiss")
            QApplication::activeModalWidget()->close();
        else if (order == "monitor")
            toggleMonitoring(window);
        else if (order == "exit" || (order == "exit-late" && startAnother()))
            window->findChild<QAction*>(QStringLiteral("actionExit"))->trigger();
        else
            return "unknown order";
        return "done";
    }

    // "trigger <action>", "click <button>" or "enter <field> <text>".
    static QByteArray work(QObject* object, const QList<QByteArray>& words)
    {
        // Started after the answer is sent, because an action may open a dialog and return only when that is
        // closed.
        if (auto* action = qobject_cast<QAction*>(object); action && words.first() == "trigger")
            QTimer::singleShot(0, action, &QAction::trigger);
        else if (auto* button = qobject_cast<QPushButton*>(object); button && words.first() == "click")
            QTimer::singleShot(0, button, &QPushButton::click);
        else if (auto* field = qobject_cast<QLineEdit*>(object); field && words.first() == "enter")
            field->setText(QString::fromUtf8(words.value(2)));
        else
            return "unknown order";
        return "done";
    }

    QFile m_answers;
    const std::shared_ptr<Reader> m_reader = std::make_shared<Reader>(this);
};

class MonitorDriverPlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "monitordriver.json")

public:
    // The application deletes what it is given.
    QObject* create(const QString&, const QString&) override { return new MonitorDriver; }
};

#include "monitordriver.moc"
