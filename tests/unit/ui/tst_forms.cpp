// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/formhelpers.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "ui/exportmeasurementstocsvdialog.h"
#include "ui/mainwindow.h"

#include <QtWidgets/QAction>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTableWidget>
#include <limits>

namespace {

// The layout items of each window: object name, class, caption and, for a label, its buddy.

const char *const mainWindowOutline = R"(
verticalLayout QVBoxLayout
  label_10 QLabel
  horizontalLayout QHBoxLayout
    portList QGroupBox "Communication"
      verticalLayout_5 QVBoxLayout
        formLayout_3 QFormLayout
          label QLabel "COM port:", buddy serialPorts
          serialPorts QComboBox
          label_2 QLabel "Serial number:", buddy serialNumber
          serialNumber QLineEdit, read-only
          label_3 QLabel "Model number:", buddy modelNumber
          modelNumber QLineEdit, read-only
          label_4 QLabel "SW version:", buddy swVersion
          swVersion QLineEdit, read-only
          label_5 QLabel "HW version:", buddy hwVersion
          hwVersion QLineEdit, read-only
          label_8 QLabel "Device health", buddy deviceHealth
          deviceHealth QLineEdit, read-only
          label_9 QLabel "Device clock", buddy deviceClockDateTimeEdit
          deviceClockDateTimeEdit QDateTimeEdit, read-only
        horizontalLayout_5 QHBoxLayout
          verticalLayout_4 QVBoxLayout
            connectButton QPushButton "Connect"
            disconnectButton QPushButton "Disconnect"
            loadSettingsButton QPushButton "Load settings"
            vertical spacer
          verticalLayout_10 QVBoxLayout
            synchronizeButton QPushButton "Synchronize"
            writeToEepromButton QPushButton "Write to eeprom"
            vertical spacer
    groupBox_2 QGroupBox "Configuration"
      horizontalLayout_2 QHBoxLayout
        configuration ConfigurationEditor
  groupBox_3 QGroupBox "Measurements"
    horizontalLayout_3 QHBoxLayout
      measurementLayout QVBoxLayout
        measurements MeasurementTable
        exportLocalMeasurementsButton QPushButton "Export to csv"
      verticalLayout_8 QVBoxLayout
        verticalLayout_2 QVBoxLayout
          label_6 QLabel "Measurement units:", buddy unit
          horizontalLayout_4 QHBoxLayout
            unit QComboBox
            unitTemperature QComboBox
        verticalLayout_9 QVBoxLayout
          label_7 QLabel "Graph:", buddy buttonShowGraph
          buttonShowGraph QPushButton "Show graph"
          label_13 QLabel "Firmware:", buddy updateFirmwareButton
          updateFirmwareButton QPushButton "Update firmware"
          vertical spacer
      verticalLayout_11 QVBoxLayout
        label_11 QLabel "Memory logging:", buddy readLogButton
        readLogButton QPushButton "Read"
        eraseLogButton QPushButton "Clear"
        label_12 QLabel "Device clock:", buddy syncClockButton
        syncClockButton QPushButton "Set to UTC"
        vertical spacer
      layoutEeprom QVBoxLayout
        eepromLabel QLabel "Eeprom", buddy backupEepromButton
        backupEepromButton QPushButton "Backup"
        restoreEepromButton QPushButton "Restore"
        vertical spacer)";

const char *const graphOutline = R"(
horizontalLayout QHBoxLayout
  verticalLayout_4 QVBoxLayout
    groupBox_2 QGroupBox "Device"
      verticalLayout QVBoxLayout
        deviceComboBox QComboBox
    groupBox QGroupBox "Measurements"
      verticalLayout_2 QVBoxLayout
        list QListWidget
        buttonClear QPushButton "Clear"
    groupBox_3 QGroupBox "Date range"
      verticalLayout_3 QVBoxLayout
        label QLabel "From", buddy fromDateTimeEdit
        fromDateTimeEdit QDateTimeEdit
        showLatestCheckBox QCheckBox "Always show latest"
        label_2 QLabel "To", buddy toDateTimeEdit
        toDateTimeEdit QDateTimeEdit
    groupBox_4 QGroupBox "Graph"
      verticalLayout_5 QVBoxLayout
        label_3 QLabel "Minimum", buddy graphMinimumSpinBox
        graphMinimumSpinBox QDoubleSpinBox
        label_4 QLabel "Maximum", buddy graphMaximumSpinBox
        graphMaximumSpinBox QDoubleSpinBox
        enableSettingsMinMaxForGraphcheckBox QCheckBox "Manual range"
    vertical spacer
  chart Graph)";

const char *const exportOutline = R"(
verticalLayout QVBoxLayout
  formLayout QFormLayout
    label QLabel "Device", buddy deviceComboBox
    deviceComboBox QComboBox
    label_2 QLabel "From", buddy exportDateTimeFrom
    exportDateTimeFrom QDateTimeEdit
    label_3 QLabel "To", buddy exportDateTimeTo
    exportDateTimeTo QDateTimeEdit
    label_4 QLabel "Measurement types", buddy measurementTypeList
    measurementTypeList QListWidget
  buttonBox QDialogButtonBox)";

const char *const waitOutline = R"(
verticalLayout QVBoxLayout
  progressBar QProgressBar
  horizontalLayout QHBoxLayout
    horizontal spacer
    cancelButton QPushButton "Cancel")";

QString caption(const QObject *object)
{
    const auto *group = qobject_cast<const QGroupBox *>(object);
    const auto *label = qobject_cast<const QLabel *>(object);
    const auto *button = qobject_cast<const QAbstractButton *>(object);
    return group ? group->title() : label ? label->text() : button ? button->text() : QString();
}

QString describe(const QObject *object)
{
    QString line =
        object->objectName() + QLatin1Char(' ') + text(object->metaObject()->className());
    if (!caption(object).isEmpty()) {
        line += text(" \"%1\"").arg(caption(object));
    }
    const auto *label = qobject_cast<const QLabel *>(object);
    if (label && label->buddy()) {
        line += text(", buddy ") + label->buddy()->objectName();
    }
    return object->property("readOnly").toBool() ? line + text(", read-only") : line;
}

QStringList outline(QLayoutItem *item, const QString &indent = QString())
{
    QLayout *layout = item->layout();
    const QWidget *widget = item->widget();
    if (!layout && !widget) {
        const bool isHorizontal = item->expandingDirections() == Qt::Horizontal;
        return {indent + text(isHorizontal ? "horizontal spacer" : "vertical spacer")};
    }
    QStringList lines{indent + (layout ? describe(layout) : describe(widget))};
    QList<QLayoutItem *> items;
    if (qobject_cast<const QGroupBox *>(widget)) {
        items << widget->layout();
    } else if (auto *form = qobject_cast<QFormLayout *>(layout)) {
        for (int row = 0; row < form->rowCount(); ++row) {
            items << form->itemAt(row, QFormLayout::LabelRole)
                  << form->itemAt(row, QFormLayout::FieldRole);
        }
    } else {
        for (int index = 0; layout && index < layout->count(); ++index) {
            items << layout->itemAt(index);
        }
    }
    for (QLayoutItem *inner : qAsConst(items)) {
        lines << outline(inner, indent + text("  "));
    }
    return lines;
}

} // namespace

/// Checks the windows that the forms define.
class TestForms : public QObject
{
    Q_OBJECT

private slots:
    void windowsHaveTheExpectedCaptionsLayoutAndTabOrder()
    {
        const struct
        {
            const QWidget *window;
            const QWidget *content;
            const char *name;
            const char *title;
            int width;
            int height;
            const char *outline;
        } rows[] = {
            {&m_window, m_window.centralWidget(), "MainWindow", "KV Tool", 711, 689,
             mainWindowOutline},
            {&m_graph, &m_graph, "MeasurementGraph", "Measurements", 775, 606, graphOutline},
            {&m_export, &m_export, "ExportMeasurementsToCsvDialog", "Select measurements to export",
             508, 351, exportOutline},
            {&m_wait, &m_wait, "WaitDialog", "Dialog", 400, 93, waitOutline},
        };
        QCOMPARE(m_window.centralWidget()->objectName(), text("centralwidget"));
        for (const auto &row : rows) {
            QCOMPARE(row.window->objectName(), text(row.name));
            QCOMPARE(row.window->windowTitle(), text(row.title));
            QVERIFY(m_translator.has(row.name, text(row.title)));
            QCOMPARE(row.window->size(), QSize(row.width, row.height));
            const QStringList lines = outline(row.content->layout());
            QCOMPARE(lines, text(row.outline).trimmed().split(QLatin1Char('\n')));

            QStringList order;
            for (const QString &line : lines) {
                const QString name = line.trimmed().section(QLatin1Char(' '), 0, 0);
                const auto *widget = row.window->findChild<QWidget *>(name);
                if (widget && widget->focusPolicy() != Qt::NoFocus) {
                    order << name;
                }
                const QString caption = line.section(QLatin1Char('"'), 1, 1);
                QVERIFY2(caption.isEmpty() || m_translator.has(row.name, caption),
                         qPrintable(caption));
            }
            QCOMPARE(tabOrder(row.window->findChild<QWidget *>(order.first()), order), order);
        }
    }

    void mainWindowHasAStatusBarButNoMenu()
    {
        QCOMPARE(m_window.findChildren<QStatusBar *>().size(), 1);
        QCOMPARE(m_window.statusBar()->objectName(), text("statusBar"));
        QVERIFY(m_window.findChildren<QMenuBar *>().isEmpty());
        const auto *exit = m_window.findChild<QAction *>(text("actionE_xit"));
        QCOMPARE(exit->text(), text("E&xit"));
        QVERIFY(m_translator.has("MainWindow", text("E&xit")));
        QVERIFY(exit->associatedWidgets().isEmpty());
    }

    void bannerShowsTheImage()
    {
        const auto *banner = child<QLabel>("label_10");
        const QImage shown = banner->pixmap(Qt::ReturnByValue).toImage();
        QCOMPARE(shown.size(), QSize(173, 46));
        QCOMPARE(shown, QImage(text(":/images/banner.png")).convertToFormat(shown.format()));
    }

    void unitComboBoxesOfferTwoUnitsEach()
    {
        const QPair<const char *, const char *> comboBoxes[] = {{"unit", "ppm|µg/m³"},
                                                                {"unitTemperature", "°C|°F"}};
        for (const auto &comboBox : comboBoxes) {
            const auto *combo = child<QComboBox>(comboBox.first);
            QCOMPARE(combo->count(), 2);
            QCOMPARE((QStringList{combo->itemText(0), combo->itemText(1)}), texts(comboBox.second));
            QCOMPARE(combo->currentIndex(), 0);
            for (const QString &unit : texts(comboBox.second)) {
                QVERIFY2(m_translator.has("MainWindow", unit), qPrintable(unit));
            }
        }
    }

    void onlyTheConfigurationCanBeEditedAndSorted()
    {
        for (const char *name : {"configuration", "measurements"}) {
            const auto *table = child<QTableWidget>(name);
            const bool isConfiguration = qstrcmp(name, "configuration") == 0;
            QCOMPARE(int(table->editTriggers()), isConfiguration ? 0x1E : 0);
            QCOMPARE(table->isSortingEnabled(), isConfiguration);
            QVERIFY(table->alternatingRowColors());
            QVERIFY(table->horizontalHeader()->stretchLastSection());
            QVERIFY(table->verticalHeader()->isHidden());
        }
    }

    void eepromButtonsStayHidden()
    {
        for (const bool connected : {false, true, false}) {
            m_window.setConnected(connected);
            for (const char *name : {"eepromLabel", "backupEepromButton", "restoreEepromButton"}) {
                QVERIFY2(child<QWidget>(name)->isHidden(), name);
            }
        }
    }

    void tablesStretchAndButtonColumnsDoNot()
    {
        MainWindow window(nullptr);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const auto sizeOf = [&window](const char *name) {
            return window.findChild<QWidget *>(text(name))->size();
        };
        const QSize configuration = sizeOf("configuration");
        const QSize measurements = sizeOf("measurements");
        const QSize communication = sizeOf("portList");
        const QSize button = sizeOf("readLogButton");
        window.resize(window.size() + QSize(200, 200));
        QTRY_COMPARE(sizeOf("configuration").width(), configuration.width() + 200);
        QCOMPARE(sizeOf("measurements").width(), measurements.width() + 200);
        QVERIFY(sizeOf("configuration").height() > configuration.height());
        QVERIFY(sizeOf("measurements").height() > measurements.height());
        QCOMPARE(sizeOf("portList").width(), communication.width());
        QCOMPARE(sizeOf("readLogButton"), button);
    }

    void graphDialogIsModelessAndCanBeMaximized()
    {
        QVERIFY(!m_graph.isModal());
        QVERIFY(m_graph.windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
        QVERIFY(m_graph.windowFlags().testFlag(Qt::WindowCloseButtonHint));
        QVERIFY(!m_graph.findChild<QListWidget *>()->isEnabled());
        QVERIFY(!m_graph.findChild<QPushButton *>(text("buttonClear"))->autoDefault());
    }

    void dateFieldsHaveTheDefaultFormatAndNoLimits()
    {
        const auto fields = m_export.findChildren<QDateTimeEdit *>()
            + m_graph.findChildren<QDateTimeEdit *>() + m_window.findChildren<QDateTimeEdit *>();
        QCOMPARE(fields.size(), 5);
        for (const QDateTimeEdit *field : fields) {
            QCOMPARE(field->displayFormat(), QDateTimeEdit().displayFormat());
            QCOMPARE(field->minimumDateTime(), QDateTimeEdit().minimumDateTime());
            QCOMPARE(field->maximumDateTime(), QDateTimeEdit().maximumDateTime());
            if (field->window() == &m_graph) {
                QCOMPARE(field->buttonSymbols(), QAbstractSpinBox::NoButtons);
                QVERIFY(!field->keyboardTracking());
                QVERIFY(field->calendarPopup());
            }
        }
    }

    void spinBoxesOfTheGraphAcceptEveryFiniteNumber()
    {
        const auto boxes = m_graph.findChildren<QDoubleSpinBox *>();
        QCOMPARE(boxes.size(), 2);
        for (const QDoubleSpinBox *box : boxes) {
            QCOMPARE(box->decimals(), 3);
            QCOMPARE(box->minimum(), std::numeric_limits<double>::lowest());
            QCOMPARE(box->maximum(), std::numeric_limits<double>::max());
        }
    }

    void exportDialogHasOkAndCancelSideBySide()
    {
        const auto *buttons = m_export.findChild<QDialogButtonBox *>();
        QCOMPARE(buttons->orientation(), Qt::Horizontal);
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    }

private:
    template <typename T>
    T *child(const char *name)
    {
        return m_window.findChild<T *>(text(name));
    }

    /// Records the strings that the windows below look up.
    RecordingTranslator m_translator;
    const bool m_isInstalled = QCoreApplication::installTranslator(&m_translator);
    MainWindow m_window{nullptr};
    MeasurementGraph m_graph{nullptr};
    FakeLocalStorage m_store;
    ExportMeasurementsToCsvDialog m_export{&m_store, nullptr};
    WaitDialog m_wait{nullptr};
};

KV_TEST_MAIN(TestForms)
#include "tst_forms.moc"
