// SPDX-License-Identifier: MIT
// The form of the main window, as the window comes out of its constructor.
#include "mainwindow/mainwinqormonitor.h"

#include "support/literals.h"
#include "support/teststore.h"

#include <QAction>
#include <QBoxLayout>
#include <QDialog>
#include <QGroupBox>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTextBrowser>
#include <QToolBar>
#include <QTranslator>
#include <QTreeWidget>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

// The objects of this name in the window's own form; the dialogs that it owns have forms of their own.
template <typename T> QList<T*> formObjects(const MainWinQorMonitor& window, const char* name)
{
    QList<T*> found = window.findChildren<T*>(QLatin1String(name));
    const auto inDialog = [](const QObject* object) {
        while (object && !qobject_cast<const QDialog*>(object))
            object = object->parent();
        return object != nullptr;
    };
    found.erase(std::remove_if(found.begin(), found.end(), inDialog), found.end());
    return found;
}

template <typename T> T* child(const MainWinQorMonitor& window, const char* name)
{
    return formObjects<T>(window, name).value(0);
}

// The object names of the actions in their order, "-" for a separator.
QStringList contents(const QWidget* menu)
{
    QStringList names;
    const QList<QAction*> actions = menu->actions();
    for (const QAction* action : actions)
        names << (action->isSeparator() ? "-"_s : action->objectName());
    return names;
}

// Marks what is translated in the window's context.
class ContextMarker : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char*, int) const override
    {
        if (qstrcmp(context, "MainWinQorMonitor") != 0)
            return {};
        m_sources << QString::fromUtf8(source);
        return "[%1]"_s.arg(QString::fromUtf8(source));
    }
    mutable QStringList m_sources;
};

} // namespace

class TestMainWindowForm : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        m_window = std::make_unique<MainWinQorMonitor>();
    }

    void cleanup() { m_window.reset(); }
    void objectIsInItsPlace_data()
    {
        QTest::addColumn<QByteArray>("className");
        QTest::addColumn<QString>("parent");
        const auto row = [](const char* name, const char* className, const char* parent) {
            QTest::newRow(name) << QByteArray(className) << QString::fromLatin1(parent);
        };
        row("actionAbout", "QAction", "MainWinQorMonitor");
        row("actionExit", "QAction", "MainWinQorMonitor");
        row("actionDeviceManager", "QAction", "MainWinQorMonitor");
        row("actionAcknowledgeWarnings", "QAction", "MainWinQorMonitor");
        row("actionMinimizeWindow", "QAction", "MainWinQorMonitor");
        row("actionUseAudio", "QAction", "MainWinQorMonitor");
        row("actionUpdates", "QAction", "MainWinQorMonitor");
        row("centralWidget", "QWidget", "MainWinQorMonitor");
        row("verticalLayout", "QVBoxLayout", "centralWidget");
        row("horizontalLayout", "QHBoxLayout", "verticalLayout");
        row("textBrowser", "QTextBrowser", "centralWidget");
        row("groupBox", "QGroupBox", "centralWidget");
        row("verticalLayout_2", "QVBoxLayout", "groupBox");
        row("treeWidget", "QTreeWidget", "groupBox");
        row("menuBar", "QMenuBar", "MainWinQorMonitor");
        row("menuApplication", "QMenu", "menuBar");
        row("menuHelp", "QMenu", "menuBar");
        row("mainToolBar", "QToolBar", "MainWinQorMonitor");
        row("statusBar", "QStatusBar", "MainWinQorMonitor");
    }

    void objectIsInItsPlace()
    {
        QFETCH(const QByteArray, className);
        QFETCH(const QString, parent);
        const QList<QObject*> found = formObjects<QObject>(*m_window, QTest::currentDataTag());
        QCOMPARE(found.size(), 1);
        QCOMPARE(QByteArray(found.first()->metaObject()->className()), className);
        QCOMPARE(found.first()->parent()->objectName(), parent);
    }

    void windowHasItsProperties()
    {
        QCOMPARE(m_window->objectName(), "MainWinQorMonitor"_s);
        QCOMPARE(m_window->size(), QSize(1020, 509));
        QCOMPARE(m_window->windowTitle(), "QorMonitor"_s);
        QCOMPARE(m_window->windowIcon().availableSizes(QIcon::Normal, QIcon::Off),
                 QList<QSize>({ { 256, 256 } }));
        QCOMPARE(m_window->windowIcon().pixmap(256).toImage(), QPixmap(":/favicon.png"_s).toImage());
        QVERIFY(!m_window->parent());
        QCOMPARE(m_window->windowFlags(), QMainWindow().windowFlags());
        QCOMPARE(m_window->centralWidget(), child<QWidget>(*m_window, "centralWidget"));
        QCOMPARE(m_window->menuBar(), child<QMenuBar>(*m_window, "menuBar"));
        QCOMPARE(m_window->statusBar(), child<QStatusBar>(*m_window, "statusBar"));
        QCOMPARE(m_window->statusBar()->currentMessage(), QString());
        QCOMPARE(m_window->menuBar()->geometry(), QRect(0, 0, 1020, 22));
    }

    void layoutsHaveTheirSpacings()
    {
        const QMargins margins(11, 11, 11, 11);
        const auto* outer = child<QVBoxLayout>(*m_window, "verticalLayout");
        const auto* inner = child<QVBoxLayout>(*m_window, "verticalLayout_2");
        const auto* top = child<QHBoxLayout>(*m_window, "horizontalLayout");
        QCOMPARE(outer->spacing(), 6);
        QCOMPARE(outer->contentsMargins(), margins);
        QCOMPARE(inner->spacing(), 6);
        QCOMPARE(inner->contentsMargins(), margins);
        QCOMPARE(top->spacing(), 6);
        QCOMPARE(outer->count(), 2);
        QCOMPARE(outer->itemAt(0)->layout(), top);
        QCOMPARE(outer->itemAt(1)->widget(), child<QGroupBox>(*m_window, "groupBox"));
        QCOMPARE(inner->count(), 1);
        QCOMPARE(inner->itemAt(0)->widget(), child<QTreeWidget>(*m_window, "treeWidget"));
    }

    void spacersFlankTheLogo()
    {
        auto* top = child<QHBoxLayout>(*m_window, "horizontalLayout");
        QCOMPARE(top->count(), 3);
        QCOMPARE(top->itemAt(1)->widget(), child<QTextBrowser>(*m_window, "textBrowser"));
        const QSize sizes[] = { { 40, 37 }, {}, { 48, 20 } };
        for (const int index : { 0, 2 }) {
            const QSpacerItem* spacer = top->itemAt(index)->spacerItem();
            QVERIFY(spacer);
            QCOMPARE(spacer->sizeHint(), sizes[index]);
            QCOMPARE(spacer->sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Minimum));
        }
    }

    void logoHasItsProperties()
    {
        auto* logo = child<QTextBrowser>(*m_window, "textBrowser");
        QSizePolicy policy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        policy.setHeightForWidth(QTextBrowser().sizePolicy().hasHeightForWidth());
        QCOMPARE(logo->sizePolicy().horizontalPolicy(), policy.horizontalPolicy());
        QCOMPARE(logo->sizePolicy().verticalPolicy(), policy.verticalPolicy());
        QCOMPARE(logo->sizePolicy().hasHeightForWidth(), policy.hasHeightForWidth());
        QCOMPARE(logo->maximumSize(), QSize(210, 90));
        QCOMPARE(logo->frameShape(), QFrame::NoFrame);
        QCOMPARE(logo->frameShadow(), QFrame::Sunken);
        QCOMPARE(logo->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QCOMPARE(logo->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QVERIFY(logo->toHtml().contains(QLatin1String("<img src=\":/VarkoLogo200.png\"")));
        // The whole picture shows.
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        const QSize picture = QImage(":/VarkoLogo200.png"_s).size();
        QVERIFY(logo->document()->size().height() >= picture.height());
        QVERIFY(logo->document()->size().height() <= logo->viewport()->height());
        QVERIFY(logo->document()->idealWidth() >= picture.width());
        QVERIFY(logo->document()->documentMargin() + picture.width() <= logo->viewport()->width());
    }

    void listFillsTheGroup()
    {
        const auto* group = child<QGroupBox>(*m_window, "groupBox");
        const auto* list = child<QTreeWidget>(*m_window, "treeWidget");
        for (const QWidget* widget :
             { static_cast<const QWidget*>(group), static_cast<const QWidget*>(list) }) {
            QCOMPARE(widget->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
            QCOMPARE(widget->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
        }
        QCOMPARE(group->title(), QString());
        QCOMPARE(list->columnCount(), 3);
    }

    void menusHoldTheirActions()
    {
        const auto* application = child<QMenu>(*m_window, "menuApplication");
        const auto* help = child<QMenu>(*m_window, "menuHelp");
        QCOMPARE(m_window->menuBar()->actions(),
                 QList<QAction*>({ application->menuAction(), help->menuAction() }));
        QCOMPARE(application->title(), "Einstellungen"_s);
        QCOMPARE(help->title(), "Hilfe"_s);
        const QString separator = "-"_s;
        QCOMPARE(contents(application),
                 QStringList({ "actionDeviceManager"_s, "actionUseAudio"_s, separator,
                               "actionAcknowledgeWarnings"_s, separator, "actionMinimizeWindow"_s,
                               "actionExit"_s }));
        QCOMPARE(contents(help), QStringList({ "actionAbout"_s, "actionUpdates"_s }));
    }

    void toolBarHoldsItsActions()
    {
        auto* toolBar = child<QToolBar>(*m_window, "mainToolBar");
        QCOMPARE(m_window->toolBarArea(toolBar), Qt::TopToolBarArea);
        const QString separator = "-"_s;
        QCOMPARE(contents(toolBar),
                 QStringList({ "actionDeviceManager"_s, separator, "actionAcknowledgeWarnings"_s,
                               "actionMinimizeWindow"_s, separator, "actionAbout"_s }));
    }

    void actionHasTextAndIcon_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("icon");
        QTest::newRow("actionAbout") << "Über QorMonitor ..."_s
                                     << "help"_s;
        QTest::newRow("actionExit") << "Beenden"_s
                                    << "exit"_s;
        QTest::newRow("actionDeviceManager") << "Geräteverwaltung ..."_s
                                             << "tools2"_s;
        QTest::newRow("actionAcknowledgeWarnings") << "Meldungen bestätigen"_s
                                                   << "thumb-up-sign"_s;
        QTest::newRow("actionMinimizeWindow") << "Fenster minimieren"_s
                                              << "minimize"_s;
        QTest::newRow("actionUseAudio") << "Warnton bei neuen Meldungen"_s << QString();
        QTest::newRow("actionUpdates") << "QorMonitor aktualisieren ..."_s << QString();
    }

    void actionHasTextAndIcon()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, icon);
        const auto* action = child<QAction>(*m_window, QTest::currentDataTag());
        QCOMPARE(action->text(), text);
        QCOMPARE(action->icon().isNull(), icon.isEmpty());
        if (icon.isEmpty())
            return;
        const QPixmap image(":/Size32x32/%1.png"_s.arg(icon));
        QCOMPARE(action->icon().availableSizes(QIcon::Normal, QIcon::Off), QList<QSize>({ { 32, 32 } }));
        QVERIFY(action->icon().availableSizes(QIcon::Normal, QIcon::On).isEmpty());
        QCOMPARE(action->icon().pixmap(32).toImage(), image.toImage());
    }

    void soundIsTheOnlyCheckableAction()
    {
        QStringList checkable;
        const auto actions = m_window->findChildren<QAction*>(QRegularExpression("^action"_s));
        for (const QAction* action : actions) {
            if (action->isCheckable())
                checkable << action->objectName();
        }
        QCOMPARE(actions.size(), 7);
        QCOMPARE(checkable, QStringList("actionUseAudio"_s));
    }

    void textsAreTranslatable()
    {
        ContextMarker marker;
        QCoreApplication::installTranslator(&marker);
        const MainWinQorMonitor window;
        QCoreApplication::removeTranslator(&marker);
        QCOMPARE(window.windowTitle(), "[QorMonitor]"_s);
        QCOMPARE(child<QAction>(window, "actionExit")->text(), "[Beenden]"_s);
        QCOMPARE(child<QTreeWidget>(window, "treeWidget")->headerItem()->text(2), "[Meldung]"_s);
        QCOMPARE(child<QMenu>(window, "menuHelp")->title(), "[Hilfe]"_s);
        QCOMPARE(child<QGroupBox>(window, "groupBox")->title(), QString());
        // The form's own title, until the window replaces it.
        QVERIFY(marker.m_sources.contains(QLatin1String("QorMonitorMainWindow")));
        QVERIFY(marker.m_sources.indexOf("QorMonitorMainWindow"_s)
                < marker.m_sources.lastIndexOf("QorMonitor"_s));
    }

private:
    TestStore m_store;
    std::unique_ptr<MainWinQorMonitor> m_window;
};

QTEST_MAIN(TestMainWindowForm)
#include "tst_mainwindowform.moc"
