// SPDX-License-Identifier: MIT
// The form of the main window, as the window comes out of its constructor.
#include "mainwindow/mainwinqormonitor.h"

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
        names << (action->isSeparator() ? QStringLiteral("-") : action->objectName());
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
        return QStringLiteral("[%1]").arg(QString::fromUtf8(source));
    }
    mutable QStringList m_sources;
};

} // namespace

class TestMainWindowForm : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_window.reset(); }
    void objectIsInItsPlace_data();
    void objectIsInItsPlace();
    void windowHasItsProperties();
    void layoutsHaveTheirSpacings();
    void spacersFlankTheLogo();
    void logoHasItsProperties();
    void listFillsTheGroup();
    void menusHoldTheirActions();
    void toolBarHoldsItsActions();
    void actionHasTextAndIcon_data();
    void actionHasTextAndIcon();
    void soundIsTheOnlyCheckableAction();
    void textsAreTranslatable();

private:
    TestStore m_store;
    std::unique_ptr<MainWinQorMonitor> m_window;
};

void TestMainWindowForm::init()
{
    m_store.clear();
    m_window = std::make_unique<MainWinQorMonitor>();
}

void TestMainWindowForm::objectIsInItsPlace_data()
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

void TestMainWindowForm::objectIsInItsPlace()
{
    QFETCH(const QByteArray, className);
    QFETCH(const QString, parent);
    const QList<QObject*> found = formObjects<QObject>(*m_window, QTest::currentDataTag());
    QCOMPARE(found.size(), 1);
    QCOMPARE(QByteArray(found.first()->metaObject()->className()), className);
    QCOMPARE(found.first()->parent()->objectName(), parent);
}

void TestMainWindowForm::windowHasItsProperties()
{
    QCOMPARE(m_window->objectName(), QStringLiteral("MainWinQorMonitor"));
    QCOMPARE(m_window->size(), QSize(1020, 509));
    QCOMPARE(m_window->windowTitle(), QStringLiteral("QorMonitor"));
    QCOMPARE(m_window->windowIcon().availableSizes(QIcon::Normal, QIcon::Off),
             QList<QSize>({ { 256, 256 } }));
    QCOMPARE(m_window->windowIcon().pixmap(256).toImage(),
             QPixmap(QStringLiteral(":/favicon.png")).toImage());
    QVERIFY(!m_window->parent());
    QCOMPARE(m_window->windowFlags(), QMainWindow().windowFlags());
    QCOMPARE(m_window->centralWidget(), child<QWidget>(*m_window, "centralWidget"));
    QCOMPARE(m_window->menuBar(), child<QMenuBar>(*m_window, "menuBar"));
    QCOMPARE(m_window->statusBar(), child<QStatusBar>(*m_window, "statusBar"));
    QCOMPARE(m_window->statusBar()->currentMessage(), QString());
    QCOMPARE(m_window->menuBar()->geometry(), QRect(0, 0, 1020, 22));
}

void TestMainWindowForm::layoutsHaveTheirSpacings()
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

void TestMainWindowForm::spacersFlankTheLogo()
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

void TestMainWindowForm::logoHasItsProperties()
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
    const QSize picture = QImage(QStringLiteral(":/VarkoLogo200.png")).size();
    QVERIFY(logo->document()->size().height() >= picture.height());
    QVERIFY(logo->document()->size().height() <= logo->viewport()->height());
    QVERIFY(logo->document()->idealWidth() >= picture.width());
    QVERIFY(logo->document()->documentMargin() + picture.width() <= logo->viewport()->width());
}

void TestMainWindowForm::listFillsTheGroup()
{
    const auto* group = child<QGroupBox>(*m_window, "groupBox");
    const auto* list = child<QTreeWidget>(*m_window, "treeWidget");
    for (const QWidget* widget : { static_cast<const QWidget*>(group), static_cast<const QWidget*>(list) }) {
        QCOMPARE(widget->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(widget->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
    }
    QCOMPARE(group->title(), QString());
    QCOMPARE(list->columnCount(), 3);
}

void TestMainWindowForm::menusHoldTheirActions()
{
    const auto* application = child<QMenu>(*m_window, "menuApplication");
    const auto* help = child<QMenu>(*m_window, "menuHelp");
    QCOMPARE(m_window->menuBar()->actions(),
             QList<QAction*>({ application->menuAction(), help->menuAction() }));
    QCOMPARE(application->title(), QStringLiteral("Einstellungen"));
    QCOMPARE(help->title(), QStringLiteral("Hilfe"));
    const QString separator = QStringLiteral("-");
    QCOMPARE(contents(application),
             QStringList({ QStringLiteral("actionDeviceManager"), QStringLiteral("actionUseAudio"), separator,
                           QStringLiteral("actionAcknowledgeWarnings"), separator,
                           QStringLiteral("actionMinimizeWindow"), QStringLiteral("actionExit") }));
    QCOMPARE(contents(help), QStringList({ QStringLiteral("actionAbout"), QStringLiteral("actionUpdates") }));
}

void TestMainWindowForm::toolBarHoldsItsActions()
{
    auto* toolBar = child<QToolBar>(*m_window, "mainToolBar");
    QCOMPARE(m_window->toolBarArea(toolBar), Qt::TopToolBarArea);
    const QString separator = QStringLiteral("-");
    QCOMPARE(
        contents(toolBar),
        QStringList({ QStringLiteral("actionDeviceManager"), separator,
                      QStringLiteral("actionAcknowledgeWarnings"), QStringLiteral("actionMinimizeWindow"),
                      separator, QStringLiteral("actionAbout") }));
}

void TestMainWindowForm::actionHasTextAndIcon_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("icon");
    QTest::newRow("actionAbout") << QStringLiteral("Über QorMonitor ...") << QStringLiteral("help");
    QTest::newRow("actionExit") << QStringLiteral("Beenden") << QStringLiteral("exit");
    QTest::newRow("actionDeviceManager")
        << QStringLiteral("Geräteverwaltung ...") << QStringLiteral("tools2");
    QTest::newRow("actionAcknowledgeWarnings")
        << QStringLiteral("Meldungen bestätigen") << QStringLiteral("thumb-up-sign");
    QTest::newRow("actionMinimizeWindow")
        << QStringLiteral("Fenster minimieren") << QStringLiteral("minimize");
    QTest::newRow("actionUseAudio") << QStringLiteral("Warnton bei neuen Meldungen") << QString();
    QTest::newRow("actionUpdates") << QStringLiteral("QorMonitor aktualisieren ...") << QString();
}

void TestMainWindowForm::actionHasTextAndIcon()
{
    QFETCH(const QString, text);
    QFETCH(const QString, icon);
    const auto* action = child<QAction>(*m_window, QTest::currentDataTag());
    QCOMPARE(action->text(), text);
    QCOMPARE(action->icon().isNull(), icon.isEmpty());
    if (icon.isEmpty())
        return;
    const QPixmap image(QStringLiteral(":/Size32x32/%1.png").arg(icon));
    QCOMPARE(action->icon().availableSizes(QIcon::Normal, QIcon::Off), QList<QSize>({ { 32, 32 } }));
    QVERIFY(action->icon().availableSizes(QIcon::Normal, QIcon::On).isEmpty());
    QCOMPARE(action->icon().pixmap(32).toImage(), image.toImage());
}

void TestMainWindowForm::soundIsTheOnlyCheckableAction()
{
    QStringList checkable;
    const auto actions = m_window->findChildren<QAction*>(QRegularExpression(QStringLiteral("^action")));
    for (const QAction* action : actions) {
        if (action->isCheckable())
            checkable << action->objectName();
    }
    QCOMPARE(actions.size(), 7);
    QCOMPARE(checkable, QStringList(QStringLiteral("actionUseAudio")));
}

void TestMainWindowForm::textsAreTranslatable()
{
    ContextMarker marker;
    QCoreApplication::installTranslator(&marker);
    const MainWinQorMonitor window;
    QCoreApplication::removeTranslator(&marker);
    QCOMPARE(window.windowTitle(), QStringLiteral("[QorMonitor]"));
    QCOMPARE(child<QAction>(window, "actionExit")->text(), QStringLiteral("[Beenden]"));
    QCOMPARE(child<QTreeWidget>(window, "treeWidget")->headerItem()->text(2), QStringLiteral("[Meldung]"));
    QCOMPARE(child<QMenu>(window, "menuHelp")->title(), QStringLiteral("[Hilfe]"));
    QCOMPARE(child<QGroupBox>(window, "groupBox")->title(), QString());
    // The form's own title, until the window replaces it.
    QVERIFY(marker.m_sources.contains(QLatin1String("QorMonitorMainWindow")));
    QVERIFY(marker.m_sources.indexOf(QStringLiteral("QorMonitorMainWindow"))
            < marker.m_sources.lastIndexOf(QStringLiteral("QorMonitor")));
}

QTEST_MAIN(TestMainWindowForm)
#include "tst_mainwindowform.moc"
