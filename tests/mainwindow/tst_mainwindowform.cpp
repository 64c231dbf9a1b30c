// SPDX-License-Identifier: MIT
// The form of the main window, as the window comes out of its constructor.
#include "support/formoutline.h"
#include "support/literals.h"
#include "support/markingtranslator.h"
#include "support/windowtest.h"

#include <QApplication>
#include <QBoxLayout>
#include <QDialog>
#include <QGroupBox>
#include <QMenu>
#include <QMenuBar>
#include <QStatusBar>
#include <QTextBrowser>
#include <QToolBar>
#include <QtTest>

#include <algorithm>

class TestMainWindowForm : public WindowTest {
    Q_OBJECT

private slots:
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
        const QList<QObject*> found = formObjects<QObject>(QTest::currentDataTag());
        QCOMPARE(found.size(), 1);
        QCOMPARE(QByteArray(found.first()->metaObject()->className()), className);
        QCOMPARE(found.first()->parent()->objectName(), parent);
    }

    void windowHasItsProperties()
    {
        QCOMPARE(m_window->objectName(), "MainWinQorMonitor"_s);
        QCOMPARE(m_window->windowTitle(), "QorMonitor"_s);
        QCOMPARE(m_window->windowIcon().availableSizes(QIcon::Normal, QIcon::Off),
                 QList<QSize>({ { 256, 256 } }));
        QCOMPARE(m_window->windowIcon().pixmap(256).toImage(), QPixmap(":/favicon.png"_s).toImage());
        QVERIFY(!m_window->parent());
        QCOMPARE(m_window->windowFlags(), QMainWindow().windowFlags());
        QCOMPARE(m_window->centralWidget(), child<QWidget>("centralWidget"));
        QCOMPARE(m_window->menuBar(), child<QMenuBar>("menuBar"));
        QCOMPARE(m_window->menuBar()->geometry(), QRect(0, 0, 1020, 22));
        QCOMPARE(m_window->statusBar(), child<QStatusBar>("statusBar"));
        QCOMPARE(m_window->statusBar()->currentMessage(), QString());
        QCOMPARE(m_window->toolBarArea(child<QToolBar>("mainToolBar")), Qt::TopToolBarArea);
    }

    void everyControlHasAName() { QCOMPARE(namelessControls(*m_window), QStringList()); }

    void toolBarCannotBeHidden()
    {
        m_window->show();
        QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(1, 1));
        QApplication::sendEvent(child<QToolBar>("mainToolBar"), &click);
        QVERIFY(!QApplication::activePopupWidget());
    }

    void windowHasNoSignalsAndSlots()
    {
        QCOMPARE(QByteArray(MainWinQorMonitor::staticMetaObject.className()),
                 QByteArray("MainWinQorMonitor"));
        QCOMPARE(MainWinQorMonitor::staticMetaObject.methodCount(),
                 MainWinQorMonitor::staticMetaObject.methodOffset());
    }

    void layoutsHoldTheirItems()
    {
        // mid(1) leaves out the first line, the name and size of the widget.
        const QStringList expected {
            "QVBoxLayout verticalLayout:"_s, "  QHBoxLayout horizontalLayout"_s,
            "  QGroupBox groupBox"_s,        "QHBoxLayout horizontalLayout:"_s,
            "  40x37 Expanding Minimum"_s,   "  QTextBrowser textBrowser"_s,
            "  48x20 Expanding Minimum"_s,   "QVBoxLayout verticalLayout_2:"_s,
            "  QTreeWidget treeWidget"_s,
        };
        QCOMPARE(formOutline(*m_window->centralWidget()).mid(1), expected);
    }

    void layoutsHaveTheirSpacing()
    {
        for (const char* name : { "verticalLayout", "verticalLayout_2" }) {
            QCOMPARE(child<QBoxLayout>(name)->spacing(), 6);
            QCOMPARE(child<QBoxLayout>(name)->contentsMargins(), QMargins(11, 11, 11, 11));
        }
        QCOMPARE(child<QBoxLayout>("horizontalLayout")->spacing(), 6);
    }

    void logoHasItsProperties()
    {
        const auto* logo = child<QTextBrowser>("textBrowser");
        QCOMPARE(logo->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
        QCOMPARE(logo->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);
        QCOMPARE(logo->sizePolicy().hasHeightForWidth(), QTextBrowser().sizePolicy().hasHeightForWidth());
        QCOMPARE(logo->maximumSize(), QSize(210, 90));
        QCOMPARE(logo->frameShape(), QFrame::NoFrame);
        QCOMPARE(logo->frameShadow(), QFrame::Sunken);
        QCOMPARE(logo->verticalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QCOMPARE(logo->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
        QVERIFY(logo->toHtml().contains("<img src=\":/VarkoLogo200.png\""_s));
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
        for (const char* name : { "groupBox", "treeWidget" }) {
            const QSizePolicy policy = child<QWidget>(name)->sizePolicy();
            QCOMPARE(policy.horizontalPolicy(), QSizePolicy::Expanding);
            QCOMPARE(policy.verticalPolicy(), QSizePolicy::Expanding);
        }
        QCOMPARE(group()->title(), QString());
    }

    void menusAndToolBarHoldTheirActions()
    {
        const auto* application = child<QMenu>("menuApplication");
        const auto* help = child<QMenu>("menuHelp");
        QCOMPARE(m_window->menuBar()->actions(),
                 QList<QAction*>({ application->menuAction(), help->menuAction() }));
        QCOMPARE(application->title(), "Einstellungen"_s);
        QCOMPARE(help->title(), "Hilfe"_s);
        QCOMPARE(entries(application),
                 "actionDeviceManager actionUseAudio - actionAcknowledgeWarnings - "
                 "actionMinimizeWindow actionExit"_s);
        QCOMPARE(entries(help), "actionAbout actionUpdates"_s);
        QCOMPARE(entries(child<QToolBar>("mainToolBar")),
                 "actionDeviceManager - actionAcknowledgeWarnings actionMinimizeWindow - actionAbout"_s);
    }

    void f10OpensTheFirstMenu()
    {
        QVERIFY(bringToFront(m_window.get()));
        messages()->setFocus();
        auto* menu = child<QMenu>("menuApplication");
        QVERIFY(!m_window->menuBar()->activeAction());
        QTest::keyClick(messages(), Qt::Key_F10);
        QCOMPARE(m_window->menuBar()->activeAction(), menu->menuAction());
        QCOMPARE(QApplication::activePopupWidget(), menu);
        QTest::keyClick(menu, Qt::Key_Escape);
        QVERIFY(!menu->isVisible());
    }

    void actionHasTextAndIcon_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<bool>("checkable");
        const auto row = [](const char* name, const QString& text, const QString& icon, bool checkable) {
            QTest::newRow(name) << text << icon << checkable;
        };
        row("actionAbout", "Über QorMonitor ..."_s, "help"_s, false);
        row("actionExit", "Beenden"_s, "exit"_s, false);
        row("actionDeviceManager", "Geräteverwaltung ..."_s, "tools2"_s, false);
        row("actionAcknowledgeWarnings", "Meldungen bestätigen"_s, "thumb-up-sign"_s, false);
        row("actionMinimizeWindow", "Fenster minimieren"_s, "minimize"_s, false);
        row("actionUseAudio", "Warnton bei neuen Meldungen"_s, {}, true);
        row("actionUpdates", "QorMonitor aktualisieren ..."_s, {}, false);
    }

    void actionHasTextAndIcon()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, icon);
        QFETCH(const bool, checkable);
        const QAction* shown = action(QTest::currentDataTag());
        QCOMPARE(shown->text(), text);
        QCOMPARE(shown->isCheckable(), checkable);
        QCOMPARE(shown->icon().isNull(), icon.isEmpty());
        if (icon.isEmpty())
            return;
        const QPixmap image(":/Size32x32/%1.png"_s.arg(icon));
        QCOMPARE(shown->icon().availableSizes(QIcon::Normal, QIcon::Off), QList<QSize>({ { 32, 32 } }));
        QVERIFY(shown->icon().availableSizes(QIcon::Normal, QIcon::On).isEmpty());
        QCOMPARE(shown->icon().pixmap(32).toImage(), image.toImage());
    }

    void textsAreTranslatable()
    {
        const MarkingTranslator marker("MainWinQorMonitor");
        restart();
        QCOMPARE(m_window->windowTitle(), "#QorMonitor"_s);
        QCOMPARE(action("actionExit")->text(), "#Beenden"_s);
        QCOMPARE(messages()->headerItem()->text(2), "#Meldung"_s);
        QCOMPARE(child<QMenu>("menuHelp")->title(), "#Hilfe"_s);
        QCOMPARE(group()->title(), QString());
        const auto* tray = m_window->findChild<QSystemTrayIcon*>();
        QCOMPARE(tray->contextMenu()->actions().first()->text(), "#Monitor öffnen"_s);
        QCOMPARE(tray->toolTip(), "#QORweb II Monitor\nStatus: Ok"_s);
        // The form's own title and the first tool tip, until the window replaces them.
        QVERIFY(marker.sources().contains("QORweb II Monitor"_s));
        QVERIFY(marker.sources().contains("QorMonitorMainWindow"_s));
        QVERIFY(marker.sources().indexOf("QorMonitorMainWindow"_s)
                < marker.sources().lastIndexOf("QorMonitor"_s));
    }

private:
    // The objects of this name in the window's own form; the dialogs that it owns have forms of their own.
    template <typename T> QList<T*> formObjects(const char* name) const
    {
        QList<T*> found = m_window->findChildren<T*>(QLatin1String(name));
        const auto inDialog = [](const QObject* object) {
            while (object && !qobject_cast<const QDialog*>(object))
                object = object->parent();
            return object != nullptr;
        };
        found.erase(std::remove_if(found.begin(), found.end(), inDialog), found.end());
        return found;
    }

    template <typename T> T* child(const char* name) const { return formObjects<T>(name).value(0); }
};

QTEST_MAIN(TestMainWindowForm)
#include "tst_mainwindowform.moc"
