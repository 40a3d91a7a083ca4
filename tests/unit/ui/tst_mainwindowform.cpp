// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/forms.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "ui/mainwindow.h"

#include <QtWidgets/QAction>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QTableWidget>

class TestMainWindowForm : public QObject
{
    Q_OBJECT

private slots:
    void windowHasItsNameTitleSizeAndStatusBar()
    {
        QCOMPARE(m_window.objectName(), text("MainWindow"));
        QCOMPARE(m_window.windowTitle(), text("KV Tool"));
        QCOMPARE(m_window.size(), QSize(711, 689));
        QCOMPARE(m_window.centralWidget()->objectName(), text("centralwidget"));
        QCOMPARE(m_window.centralWidget()->layout()->objectName(), text("verticalLayout"));
        QCOMPARE(m_window.findChildren<QStatusBar *>().size(), 1);
        QCOMPARE(m_window.statusBar()->objectName(), text("statusBar"));
        QVERIFY(m_window.findChildren<QMenuBar *>().isEmpty());
    }

    void exitActionIsInNoMenu()
    {
        auto *action = child<QAction>(text("actionE_xit"));
        QVERIFY(action != nullptr);
        QCOMPARE(action->text(), text("E&xit"));
        QVERIFY(action->associatedWidgets().isEmpty());
    }

    void bannerShowsThePicture()
    {
        auto *banner = child<QLabel>(text("label_10"));
        QVERIFY(banner->text().isEmpty());
        const QImage shown = banner->pixmap(Qt::ReturnByValue).toImage();
        QCOMPARE(shown.size(), QSize(173, 46));
        QCOMPARE(shown, QImage(text(":/images/banner.png")).convertToFormat(shown.format()));
    }

    void layoutsContainTheirWidgetsInOrder_data()
    {
        QTest::addColumn<QString>("contents");
        QTest::addRow("verticalLayout") << text("label_10 horizontalLayout groupBox_3");
        QTest::addRow("horizontalLayout") << text("portList groupBox_2");
        QTest::addRow("verticalLayout_5") << text("formLayout_3 horizontalLayout_5");
        QTest::addRow("horizontalLayout_5") << text("verticalLayout_4 verticalLayout_10");
        QTest::addRow("verticalLayout_4")
            << text("connectButton disconnectButton loadSettingsButton spacer");
        QTest::addRow("verticalLayout_10") << text("synchronizeButton writeToEepromButton spacer");
        QTest::addRow("horizontalLayout_2") << text("configuration");
        QTest::addRow("horizontalLayout_3")
            << text("measurementLayout verticalLayout_8 verticalLayout_11 layoutEeprom");
        QTest::addRow("measurementLayout") << text("measurements exportLocalMeasurementsButton");
        QTest::addRow("verticalLayout_8") << text("verticalLayout_2 verticalLayout_9");
        QTest::addRow("verticalLayout_2") << text("label_6 horizontalLayout_4");
        QTest::addRow("horizontalLayout_4") << text("unit unitTemperature");
        QTest::addRow("verticalLayout_9")
            << text("label_7 buttonShowGraph label_13 updateFirmwareButton spacer");
        QTest::addRow("verticalLayout_11")
            << text("label_11 readLogButton eraseLogButton label_12 syncClockButton spacer");
        QTest::addRow("layoutEeprom")
            << text("eepromLabel backupEepromButton restoreEepromButton spacer");
    }

    void layoutsContainTheirWidgetsInOrder()
    {
        QFETCH(QString, contents);
        const auto *layout = tagged<QBoxLayout>();
        QVERIFY(layout != nullptr);
        QCOMPARE(contentsOf(layout), contents.split(QLatin1Char(' ')));
        const bool isRow = layout->objectName().startsWith(QLatin1String("horizontal"));
        QCOMPARE(layout->direction(), isRow ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom);
    }

    void groupsHaveTheirTitlesAndLayouts_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("layout");
        QTest::addRow("portList") << text("Communication") << text("verticalLayout_5");
        QTest::addRow("groupBox_2") << text("Configuration") << text("horizontalLayout_2");
        QTest::addRow("groupBox_3") << text("Measurements") << text("horizontalLayout_3");
    }

    void groupsHaveTheirTitlesAndLayouts()
    {
        QFETCH(QString, title);
        QFETCH(QString, layout);
        QCOMPARE(tagged<QGroupBox>()->title(), title);
        QCOMPARE(tagged<QGroupBox>()->layout()->objectName(), layout);
    }

    void deviceRowsPairLabelsWithFields_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("labelText");
        QTest::addColumn<QString>("className");
        QTest::addRow("serialPorts")
            << 0 << text("label") << text("COM port:") << text("QComboBox");
        QTest::addRow("serialNumber")
            << 1 << text("label_2") << text("Serial number:") << text("QLineEdit");
        QTest::addRow("modelNumber")
            << 2 << text("label_3") << text("Model number:") << text("QLineEdit");
        QTest::addRow("swVersion")
            << 3 << text("label_4") << text("SW version:") << text("QLineEdit");
        QTest::addRow("hwVersion")
            << 4 << text("label_5") << text("HW version:") << text("QLineEdit");
        QTest::addRow("deviceHealth")
            << 5 << text("label_8") << text("Device health") << text("QLineEdit");
        QTest::addRow("deviceClockDateTimeEdit")
            << 6 << text("label_9") << text("Device clock") << text("QDateTimeEdit");
    }

    void deviceRowsPairLabelsWithFields()
    {
        QFETCH(int, row);
        QFETCH(QString, label);
        QFETCH(QString, labelText);
        QFETCH(QString, className);
        auto *form = child<QFormLayout>(text("formLayout_3"));
        QCOMPARE(form->rowCount(), 7);
        auto *labelWidget =
            qobject_cast<QLabel *>(form->itemAt(row, QFormLayout::LabelRole)->widget());
        QWidget *field = form->itemAt(row, QFormLayout::FieldRole)->widget();
        QCOMPARE(labelWidget->objectName(), label);
        QCOMPARE(labelWidget->text(), labelText);
        QCOMPARE(labelWidget->buddy(), field);
        QCOMPARE(field->objectName(), text(QTest::currentDataTag()));
        QCOMPARE(text(field->metaObject()->className()), className);
        if (row > 0) {
            QVERIFY(field->property("readOnly").toBool());
        }
        if (auto *clock = qobject_cast<QDateTimeEdit *>(field)) {
            QCOMPARE(clock->displayFormat(), QDateTimeEdit().displayFormat());
        }
    }

    void labelsAndButtonsHaveTheirTexts_data()
    {
        QTest::addColumn<QString>("expected");
        QTest::addRow("connectButton") << text("Connect");
        QTest::addRow("disconnectButton") << text("Disconnect");
        QTest::addRow("loadSettingsButton") << text("Load settings");
        QTest::addRow("synchronizeButton") << text("Synchronize");
        QTest::addRow("writeToEepromButton") << text("Write to eeprom");
        QTest::addRow("exportLocalMeasurementsButton") << text("Export to csv");
        QTest::addRow("label_6") << text("Measurement units:");
        QTest::addRow("label_7") << text("Graph:");
        QTest::addRow("buttonShowGraph") << text("Show graph");
        QTest::addRow("label_13") << text("Firmware:");
        QTest::addRow("updateFirmwareButton") << text("Update firmware");
        QTest::addRow("label_11") << text("Memory logging:");
        QTest::addRow("readLogButton") << text("Read");
        QTest::addRow("eraseLogButton") << text("Clear");
        QTest::addRow("label_12") << text("Device clock:");
        QTest::addRow("syncClockButton") << text("Set to UTC");
        QTest::addRow("eepromLabel") << text("Eeprom");
        QTest::addRow("backupEepromButton") << text("Backup");
        QTest::addRow("restoreEepromButton") << text("Restore");
    }

    void labelsAndButtonsHaveTheirTexts()
    {
        QFETCH(QString, expected);
        const auto *widget = tagged<QWidget>();
        QVERIFY(widget != nullptr);
        QCOMPARE(widget->property("text").toString(), expected);
        const bool isLabel = widget->objectName().contains(QLatin1String("abel"));
        QCOMPARE(text(widget->metaObject()->className()),
                 isLabel ? text("QLabel") : text("QPushButton"));
    }

    void unitSelectorsOfferTwoUnitsEach()
    {
        auto *unit = child<QComboBox>(text("unit"));
        QCOMPARE(unit->count(), 2);
        QCOMPARE(unit->itemText(0), text("ppm"));
        QCOMPARE(unit->itemText(1), text("µg/m³"));
        QCOMPARE(unit->currentText(), text("ppm"));
        auto *temperature = child<QComboBox>(text("unitTemperature"));
        QCOMPARE(temperature->count(), 2);
        QCOMPARE(temperature->itemText(0), text("°C"));
        QCOMPARE(temperature->itemText(1), text("°F"));
        QCOMPARE(temperature->currentIndex(), 0);
    }

    void configurationTableCanBeEditedAndSorted()
    {
        auto *table = child<QTableWidget>(text("configuration"));
        QCOMPARE(text(table->metaObject()->className()), text("ConfigurationEditor"));
        QCOMPARE(int(table->editTriggers()), 0x1E);
        QVERIFY(table->alternatingRowColors());
        QVERIFY(table->isSortingEnabled());
        QVERIFY(table->horizontalHeader()->stretchLastSection());
        QVERIFY(table->verticalHeader()->isHidden());
    }

    void measurementTableIsReadOnlyAndUnsorted()
    {
        auto *table = child<QTableWidget>(text("measurements"));
        QCOMPARE(text(table->metaObject()->className()), text("MeasurementTable"));
        QCOMPARE(int(table->editTriggers()), int(QAbstractItemView::NoEditTriggers));
        QVERIFY(table->alternatingRowColors());
        QVERIFY(!table->isSortingEnabled());
        QVERIFY(table->horizontalHeader()->stretchLastSection());
        QVERIFY(table->verticalHeader()->isHidden());
    }

    void eepromButtonsStayHidden_data()
    {
        QTest::addColumn<bool>("connected");
        for (const char *name : {"eepromLabel", "backupEepromButton", "restoreEepromButton"}) {
            QTest::addRow("%s", name) << true;
        }
    }

    void eepromButtonsStayHidden()
    {
        QFETCH(bool, connected);
        QVERIFY(tagged<QWidget>()->isHidden());
        m_window.setConnected(connected);
        QVERIFY(tagged<QWidget>()->isHidden());
        m_window.setConnected(false);
        QVERIFY(tagged<QWidget>()->isHidden());
    }

    void labelsHaveTheirBuddies_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addRow("label_6") << text("unit");
        QTest::addRow("label_7") << text("buttonShowGraph");
        QTest::addRow("label_13") << text("updateFirmwareButton");
        QTest::addRow("label_11") << text("readLogButton");
        QTest::addRow("label_12") << text("syncClockButton");
        QTest::addRow("eepromLabel") << text("backupEepromButton");
    }

    void labelsHaveTheirBuddies()
    {
        QFETCH(QString, field);
        QCOMPARE(tagged<QLabel>()->buddy(), child<QWidget>(field));
    }

    void tabFollowsTheForm()
    {
        const QStringList order =
            text("serialPorts serialNumber modelNumber swVersion hwVersion deviceHealth "
                 "deviceClockDateTimeEdit connectButton disconnectButton loadSettingsButton "
                 "synchronizeButton writeToEepromButton configuration measurements "
                 "exportLocalMeasurementsButton unit unitTemperature buttonShowGraph "
                 "updateFirmwareButton readLogButton eraseLogButton syncClockButton "
                 "backupEepromButton restoreEepromButton")
                .split(QLatin1Char(' '));
        QCOMPARE(tabOrder(child<QWidget>(order.first()), order), order);
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

    void textsAreTranslatedInTheWindowsContext()
    {
        RecordingTranslator translator;
        QCoreApplication::installTranslator(&translator);
        const MainWindow window(nullptr);
        QCoreApplication::removeTranslator(&translator);
        for (const char *expected :
             {"KV Tool", "E&xit", "Communication", "COM port:", "Device health", "Connect",
              "Configuration", "Measurements", "Export to csv", "ppm", "µg/m³", "°C", "Eeprom"}) {
            QVERIFY2(translator.has("MainWindow", text(expected)), expected);
        }
    }

private:
    template <typename T>
    T *child(const QString &name)
    {
        return m_window.findChild<T *>(name);
    }
    template <typename T>
    T *tagged()
    {
        return child<T>(text(QTest::currentDataTag()));
    }

    MainWindow m_window{nullptr};
};

KV_TEST_MAIN(TestMainWindowForm)
#include "tst_mainwindowform.moc"
