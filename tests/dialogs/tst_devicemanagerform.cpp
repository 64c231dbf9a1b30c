// SPDX-License-Identifier: MIT
// The form of the device manager, as the dialog comes out of its constructor.
#include "support/managedwindow.h"

#include "support/markingtranslator.h"
#include "support/literals.h"
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
        names << (object ? object->objectName() : "-"_s);
    }
    return names;
}

} // namespace

class TestDeviceManagerForm : public QObject {
    Q_OBJECT

private slots:
    void init()
    {
        m_store.clear();
        QSettings().setValue("AutoCheckUpdates"_s, false);
        m_managed = std::make_unique<ManagedWindow>();
    }

    void cleanup() { m_managed.reset(); }
    void dialogHasItsProperties()
    {
        QCOMPARE(dialog()->objectName(), "DlgDeviceManager"_s);
        QCOMPARE(dialog()->size(), QSize(1080, 375));
        QCOMPARE(dialog()->windowTitle(), "QorMonitor - Geräteverwaltung"_s);
        QCOMPARE(dialog()->parent(), static_cast<QObject*>(&m_managed->m_window));
        QCOMPARE(dialog()->windowFlags(), QDialog().windowFlags());
        QVERIFY(!dialog()->isModal());
        QVERIFY(!dialog()->isVisible());
        QCOMPARE(dialog()->layout()->objectName(), "verticalLayout_2"_s);
    }

    void layoutHoldsItsItems_data()
    {
        QTest::addColumn<QByteArray>("className");
        QTest::addColumn<QString>("items");
        QTest::newRow("verticalLayout_2")
            << QByteArray("QVBoxLayout") << "horizontalLayout_3 groupBox horizontalLayout"_s;
        QTest::newRow("horizontalLayout_3") << QByteArray("QHBoxLayout") << "treeWidget verticalLayout"_s;
        QTest::newRow("verticalLayout") << QByteArray("QVBoxLayout")
                                        << QStringLiteral("pushButtonMonitor pushButtonStopMonitor "
                                                          "pushButtonRemove pushButtonRefresh -");
        QTest::newRow("horizontalLayout_2")
            << QByteArray("QHBoxLayout")
            << QStringLiteral("label lineEditNewHost label_2 lineEditPort label_3 lineEditWebPort label_4 "
                              "lineEditWebScheme pushButtonChangeHost pushButtonAddHost");
        QTest::newRow("horizontalLayout") << QByteArray("QHBoxLayout") << "- pushButtonClose"_s;
    }

    void layoutHoldsItsItems()
    {
        QFETCH(const QByteArray, className);
        QFETCH(const QString, items);
        const auto* layout = child<QLayout>(QTest::currentDataTag());
        QVERIFY(layout);
        QCOMPARE(QByteArray(layout->metaObject()->className()), className);
        QCOMPARE(contents(layout).join(QLatin1Char(' ')), items);
    }

    void objectHasItsText_data()
    {
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const QString& text, const char* property = "text") {
            QTest::newRow(name) << QByteArray(property) << text;
        };
        row("pushButtonMonitor", "Überwachung aktivieren"_s);
        row("pushButtonStopMonitor", "Überwachung deaktivieren"_s);
        row("pushButtonRemove", "Gerät entfernen"_s);
        row("pushButtonRefresh", "Status aktualisieren"_s);
        row("groupBox", "QORweb hinzufügen"_s, "title");
        row("label", "Hostname / IP Adresse:"_s);
        row("lineEditNewHost", QString());
        row("label_2", "QOR Port"_s);
        row("lineEditPort", "5566"_s);
        row("label_3", "Web Port"_s);
        row("lineEditWebPort", "80"_s);
        row("label_4", "Web Scheme"_s);
        row("lineEditWebScheme", "http"_s);
        row("pushButtonChangeHost", "Ändern"_s);
        row("pushButtonAddHost", "Hinzufügen"_s);
        row("pushButtonClose", "Schließen"_s);
    }

    void objectHasItsText()
    {
        QFETCH(const QByteArray, property);
        QFETCH(const QString, text);
        const auto* widget = child<QWidget>(QTest::currentDataTag());
        QVERIFY(widget);
        QCOMPARE(widget->property(property.constData()), QVariant(text));
        QCOMPARE(child<QGroupBox>("groupBox")->layout()->objectName(), "horizontalLayout_2"_s);
    }

    void spacerHasItsSize_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<Qt::Orientations>("expanding");
        QTest::newRow("verticalLayout") << 4 << QSize(20, 40) << Qt::Orientations(Qt::Vertical);
        QTest::newRow("horizontalLayout") << 0 << QSize(40, 20) << Qt::Orientations(Qt::Horizontal);
    }

    void spacerHasItsSize()
    {
        QFETCH(const int, index);
        QFETCH(const QSize, size);
        QFETCH(const Qt::Orientations, expanding);
        const QSpacerItem* spacer = child<QLayout>(QTest::currentDataTag())->itemAt(index)->spacerItem();
        QVERIFY(spacer);
        QCOMPARE(spacer->sizeHint(), size);
        QCOMPARE(spacer->expandingDirections(), expanding);
    }

    void shortFieldsAreNarrowAndCentred()
    {
        for (const char* name : { "Port", "WebPort", "WebScheme" }) {
            QCOMPARE(m_managed->field(name)->maximumWidth(), 60);
            QCOMPARE(m_managed->field(name)->alignment(), Qt::AlignCenter);
        }
        QCOMPARE(m_managed->field("NewHost")->maximumWidth(), QWIDGETSIZE_MAX);
        QCOMPARE(m_managed->field("NewHost")->alignment(), QLineEdit().alignment());
    }

    void columnsHaveTheirHeaders()
    {
        QStringList headers;
        for (int column = 0; column < m_managed->tree()->columnCount(); ++column)
            headers << m_managed->tree()->headerItem()->text(column);
        QCOMPARE(headers.join(QLatin1Char('|')),
                 "Host|IP Adresse|QOR Port|Web Port|Web Scheme|QORweb Name|Status"_s);
        QVERIFY(!m_managed->tree()->rootIsDecorated());
    }

    void columnsHaveTheirWidths()
    {
        const QTreeWidget* tree = m_managed->tree();
        QCOMPARE(tree->columnWidth(0), 150);
        for (const int column : { 1, 2 })
            QCOMPARE(tree->columnWidth(column), 100);
        for (const int column : { 3, 4, 5 })
            QCOMPARE(tree->columnWidth(column), tree->header()->defaultSectionSize());
    }

    void rowsAreInListOrderUntilSorted()
    {
        QVERIFY(m_managed->tree()->isSortingEnabled());
        QCOMPARE(m_managed->tree()->header()->sortIndicatorSection(), -1);
    }

    void slotsAreInOrder()
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

    void constructionIsLogged()
    {
        const LogCapture log;
        const DlgDeviceManager dialog(&m_managed->m_window);
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().first().type, QtCriticalMsg);
        QCOMPARE(log.lines().first().text, "DlgDeviceManager::updateDevice()"_s);
    }

    void buttonsAreWithoutASelection() { QCOMPARE(m_managed->enabledButtons(), nothingLoaded); }

    void returnPressesNoButton()
    {
        const QList<QPushButton*> buttons = dialog()->findChildren<QPushButton*>();
        QCOMPARE(buttons.size(), 7);
        for (const QPushButton* button : buttons) {
            QVERIFY2(!button->autoDefault(), qPrintable(button->objectName()));
            QVERIFY2(!button->isDefault(), qPrintable(button->objectName()));
        }
    }

    void textsAreTranslatable()
    {
        const ContextMarker marker("DlgDeviceManager");
        const DlgDeviceManager dialog(&m_managed->m_window);
        QCOMPARE(dialog.windowTitle(), "#QorMonitor - Geräteverwaltung"_s);
        const auto* change = dialog.findChild<QPushButton*>("pushButtonChangeHost"_s);
        QCOMPARE(change->text(), "#Ändern"_s);
        QCOMPARE(dialog.findChild<QTreeWidget*>()->headerItem()->text(6), "#Status"_s);
        MessageBoxes boxes;
        m_managed->add(5566);
        m_managed->enter("127.0.0.1"_s);
        m_managed->click("AddHost");
        QCOMPARE(boxes.count(), 1);
        QCOMPARE(boxes.lastText(), "#Dieser Host/Port existiert bereits in der Liste!"_s);
    }

private:
    DlgDeviceManager* dialog() const { return m_managed->dialog(); }
    template <typename T> T* child(const char* name) const
    {
        return dialog()->findChild<T*>(QLatin1String(name));
    }

    TestStore m_store;
    std::unique_ptr<ManagedWindow> m_managed;
};

QTEST_MAIN(TestDeviceManagerForm)
#include "tst_devicemanagerform.moc"
