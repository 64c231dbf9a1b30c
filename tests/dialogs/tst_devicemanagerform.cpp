// SPDX-License-Identifier: MIT
// The form of the device manager, as the dialog comes out of its constructor.
#include "managedwindow.h"

#include "support/contextmarker.h"
#include "support/logcapture.h"
#include "support/messageboxes.h"
#include "support/teststore.h"

#include <QBoxLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QMetaMethod>
#include <QSettings>
#include <QtTest>

#include <memory>

namespace {

// The object names of what a layout holds, in order.
QStringList contents(const QLayout* layout)
{
    QStringList names;
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem* item = layout->itemAt(i);
        const QObject* object = item->layout() ? static_cast<const QObject*>(item->layout()) : item->widget();
        names << (object ? object->objectName() : QStringLiteral("-"));
    }
    return names;
}

} // namespace

class TestDeviceManagerForm : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_managed.reset(); }
    void dialogHasItsProperties();
    void layoutHoldsItsItems_data();
    void layoutHoldsItsItems();
    void objectHasItsText_data();
    void objectHasItsText();
    void spacerHasItsSize_data();
    void spacerHasItsSize();
    void shortFieldsAreNarrowAndCentred();
    void columnsHaveTheirHeaders();
    void columnsHaveTheirWidths();
    void rowsAreInListOrderUntilSorted();
    void slotsAreInOrder();
    void constructionIsLogged();
    void buttonsAreWithoutASelection();
    void returnPressesNoButton();
    void textsAreTranslatable();

private:
    DlgDeviceManager* dialog() const { return m_managed->dialog(); }
    template <typename T> T* child(const char* name) const
    {
        return dialog()->findChild<T*>(QLatin1String(name));
    }

    TestStore m_store;
    std::unique_ptr<ManagedWindow> m_managed;
};

void TestDeviceManagerForm::init()
{
    m_store.clear();
    QSettings().setValue(QStringLiteral("AutoCheckUpdates"), false);
    m_managed = std::make_unique<ManagedWindow>();
}

void TestDeviceManagerForm::dialogHasItsProperties()
{
    QCOMPARE(dialog()->objectName(), QStringLiteral("DlgDeviceManager"));
    QCOMPARE(dialog()->size(), QSize(1080, 375));
    QCOMPARE(dialog()->windowTitle(), QStringLiteral("QorMonitor - Geräteverwaltung"));
    QCOMPARE(dialog()->parent(), static_cast<QObject*>(&m_managed->m_window));
    QCOMPARE(dialog()->windowFlags(), QDialog().windowFlags());
    QVERIFY(!dialog()->isModal());
    QVERIFY(!dialog()->isVisible());
    QCOMPARE(dialog()->layout()->objectName(), QStringLiteral("verticalLayout_2"));
}

void TestDeviceManagerForm::layoutHoldsItsItems_data()
{
    QTest::addColumn<QByteArray>("className");
    QTest::addColumn<QString>("items");
    QTest::newRow("verticalLayout_2")
        << QByteArray("QVBoxLayout") << QStringLiteral("horizontalLayout_3 groupBox horizontalLayout");
    QTest::newRow("horizontalLayout_3")
        << QByteArray("QHBoxLayout") << QStringLiteral("treeWidget verticalLayout");
    QTest::newRow("verticalLayout") << QByteArray("QVBoxLayout")
                                    << QStringLiteral("pushButtonMonitor pushButtonStopMonitor "
                                                      "pushButtonRemove pushButtonRefresh -");
    QTest::newRow("horizontalLayout_2")
        << QByteArray("QHBoxLayout")
        << QStringLiteral("label lineEditNewHost label_2 lineEditPort label_3 lineEditWebPort label_4 "
                          "lineEditWebScheme pushButtonChangeHost pushButtonAddHost");
    QTest::newRow("horizontalLayout") << QByteArray("QHBoxLayout") << QStringLiteral("- pushButtonClose");
}

void TestDeviceManagerForm::layoutHoldsItsItems()
{
    QFETCH(const QByteArray, className);
    QFETCH(const QString, items);
    const auto* layout = child<QLayout>(QTest::currentDataTag());
    QVERIFY(layout);
    QCOMPARE(QByteArray(layout->metaObject()->className()), className);
    QCOMPARE(contents(layout).join(QLatin1Char(' ')), items);
}

void TestDeviceManagerForm::objectHasItsText_data()
{
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, const QString& text, const char* property = "text") {
        QTest::newRow(name) << QByteArray(property) << text;
    };
    row("pushButtonMonitor", QStringLiteral("Überwachung aktivieren"));
    row("pushButtonStopMonitor", QStringLiteral("Überwachung deaktivieren"));
    row("pushButtonRemove", QStringLiteral("Gerät entfernen"));
    row("pushButtonRefresh", QStringLiteral("Status aktualisieren"));
    row("groupBox", QStringLiteral("QORweb hinzufügen"), "title");
    row("label", QStringLiteral("Hostname / IP Adresse:"));
    row("lineEditNewHost", QString());
    row("label_2", QStringLiteral("QOR Port"));
    row("lineEditPort", QStringLiteral("5566"));
    row("label_3", QStringLiteral("Web Port"));
    row("lineEditWebPort", QStringLiteral("80"));
    row("label_4", QStringLiteral("Web Scheme"));
    row("lineEditWebScheme", QStringLiteral("http"));
    row("pushButtonChangeHost", QStringLiteral("Ändern"));
    row("pushButtonAddHost", QStringLiteral("Hinzufügen"));
    row("pushButtonClose", QStringLiteral("Schließen"));
}

void TestDeviceManagerForm::objectHasItsText()
{
    QFETCH(const QByteArray, property);
    QFETCH(const QString, text);
    const auto* widget = child<QWidget>(QTest::currentDataTag());
    QVERIFY(widget);
    QCOMPARE(widget->property(property.constData()), QVariant(text));
    QCOMPARE(child<QGroupBox>("groupBox")->layout()->objectName(), QStringLiteral("horizontalLayout_2"));
}

void TestDeviceManagerForm::spacerHasItsSize_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<Qt::Orientations>("expanding");
    QTest::newRow("verticalLayout") << 4 << QSize(20, 40) << Qt::Orientations(Qt::Vertical);
    QTest::newRow("horizontalLayout") << 0 << QSize(40, 20) << Qt::Orientations(Qt::Horizontal);
}

void TestDeviceManagerForm::spacerHasItsSize()
{
    QFETCH(const int, index);
    QFETCH(const QSize, size);
    QFETCH(const Qt::Orientations, expanding);
    const QSpacerItem* spacer = child<QLayout>(QTest::currentDataTag())->itemAt(index)->spacerItem();
    QVERIFY(spacer);
    QCOMPARE(spacer->sizeHint(), size);
    QCOMPARE(spacer->expandingDirections(), expanding);
}

void TestDeviceManagerForm::shortFieldsAreNarrowAndCentred()
{
    for (const char* name : { "Port", "WebPort", "WebScheme" }) {
        QCOMPARE(m_managed->field(name)->maximumWidth(), 60);
        QCOMPARE(m_managed->field(name)->alignment(), Qt::AlignCenter);
    }
    QCOMPARE(m_managed->field("NewHost")->maximumWidth(), QWIDGETSIZE_MAX);
    QCOMPARE(m_managed->field("NewHost")->alignment(), QLineEdit().alignment());
}

void TestDeviceManagerForm::columnsHaveTheirHeaders()
{
    QStringList headers;
    for (int column = 0; column < m_managed->tree()->columnCount(); ++column)
        headers << m_managed->tree()->headerItem()->text(column);
    QCOMPARE(headers.join(QLatin1Char('|')),
             QStringLiteral("Host|IP Adresse|QOR Port|Web Port|Web Scheme|QORweb Name|Status"));
    QVERIFY(!m_managed->tree()->rootIsDecorated());
}

void TestDeviceManagerForm::columnsHaveTheirWidths()
{
    const QTreeWidget* tree = m_managed->tree();
    QCOMPARE(tree->columnWidth(0), 150);
    for (const int column : { 1, 2 })
        QCOMPARE(tree->columnWidth(column), 100);
    for (const int column : { 3, 4, 5 })
        QCOMPARE(tree->columnWidth(column), tree->header()->defaultSectionSize());
}

void TestDeviceManagerForm::rowsAreInListOrderUntilSorted()
{
    QVERIFY(m_managed->tree()->isSortingEnabled());
    QCOMPARE(m_managed->tree()->header()->sortIndicatorSection(), -1);
}

void TestDeviceManagerForm::slotsAreInOrder()
{
    const QMetaObject& meta = DlgDeviceManager::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
        methods << QString::fromLatin1(meta.method(i).methodSignature());
    }
    QCOMPARE(methods.join(QLatin1Char(' ')),
             QStringLiteral("updateActions() updateList() rebuildList() updateDevice(Device*) "
                            "on_pushButtonClose_clicked() on_pushButtonRemove_clicked() "
                            "on_pushButtonAddHost_clicked() on_pushButtonChangeHost_clicked() "
                            "on_pushButtonMonitor_clicked() on_pushButtonStopMonitor_clicked() "
                            "on_pushButtonRefresh_clicked() on_lineEditNewHost_returnPressed() "
                            "on_treeWidget_itemDoubleClicked(QTreeWidgetItem*,int) "
                            "on_treeWidget_itemClicked(QTreeWidgetItem*,int)"));
}

void TestDeviceManagerForm::constructionIsLogged()
{
    const LogCapture log;
    const DlgDeviceManager dialog(&m_managed->m_window);
    QCOMPARE(log.lines().size(), 1);
    QCOMPARE(log.lines().first().type, QtCriticalMsg);
    QCOMPARE(log.lines().first().text, QStringLiteral("DlgDeviceManager::updateDevice()"));
}

void TestDeviceManagerForm::buttonsAreWithoutASelection()
{
    QCOMPARE(m_managed->enabledButtons(), nothingLoaded);
}

void TestDeviceManagerForm::returnPressesNoButton()
{
    const QList<QPushButton*> buttons = dialog()->findChildren<QPushButton*>();
    QCOMPARE(buttons.size(), 7);
    for (const QPushButton* button : buttons) {
        QVERIFY2(!button->autoDefault(), qPrintable(button->objectName()));
        QVERIFY2(!button->isDefault(), qPrintable(button->objectName()));
    }
}

void TestDeviceManagerForm::textsAreTranslatable()
{
    const ContextMarker marker("DlgDeviceManager");
    const DlgDeviceManager dialog(&m_managed->m_window);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("#QorMonitor - Geräteverwaltung"));
    const auto* change = dialog.findChild<QPushButton*>(QStringLiteral("pushButtonChangeHost"));
    QCOMPARE(change->text(), QStringLiteral("#Ändern"));
    QCOMPARE(dialog.findChild<QTreeWidget*>()->headerItem()->text(6), QStringLiteral("#Status"));
    MessageBoxes boxes;
    m_managed->add(5566);
    m_managed->enter(QStringLiteral("127.0.0.1"));
    m_managed->click("AddHost");
    QCOMPARE(boxes.count(), 1);
    QCOMPARE(boxes.lastText(), QStringLiteral("#Dieser Host/Port existiert bereits in der Liste!"));
}

QTEST_MAIN(TestDeviceManagerForm)
#include "tst_devicemanagerform.moc"
