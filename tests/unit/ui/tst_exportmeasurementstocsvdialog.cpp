// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/forms.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "tests/kit/timezonescope.h"
#include "ui/exportmeasurementstocsvdialog.h"
#include "ui/exportselection.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>

namespace {

StoredDevice device(unsigned id, const char *model, const char *serialNumber)
{
    StoredDevice result;
    result.id = id;
    result.details.modelNumber = text(model);
    result.details.serialNumber = text(serialNumber);
    return result;
}

DeviceDetails withSerial(const char *serialNumber)
{
    return device(0, "", serialNumber).details;
}

} // namespace

class TestExportMeasurementsToCsvDialog : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_store = FakeLocalStorage();
        m_store.devicesResult = {device(7, "KV-310", "S1"), device(9, "KV-500", "S2")};
        m_store.measurementTypesByDevice = {{7, {{4, text("A1")}, {2, text("A0")}}},
                                            {9, {{5, text("W0")}}}};
        m_dialog.reset(new ExportMeasurementsToCsvDialog(&m_store, nullptr));
        m_dialog->setMeasurementItems(
            {{text("A0"), text("NO2"), MeasurementUnit::Ppm, MeasurementType::Pollutant, 1.0},
             {text("A1"), text("Air"), MeasurementUnit::Celsius, MeasurementType::AirTemperature,
              1.0}});
    }

    void windowHasItsNameTitleSizeAndLayout()
    {
        QCOMPARE(m_dialog->objectName(), text("ExportMeasurementsToCsvDialog"));
        QCOMPARE(m_dialog->windowTitle(), text("Select measurements to export"));
        QCOMPARE(m_dialog->size(), QSize(508, 351));
        QCOMPARE(m_dialog->layout()->objectName(), text("verticalLayout"));
        QCOMPARE(contentsOf(m_dialog->layout()), texts("formLayout|buttonBox"));
    }

    void rowsPairLabelsWithFields_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("labelText");
        QTest::addColumn<QString>("className");
        QTest::addRow("deviceComboBox")
            << 0 << text("label") << text("Device") << text("QComboBox");
        QTest::addRow("exportDateTimeFrom")
            << 1 << text("label_2") << text("From") << text("QDateTimeEdit");
        QTest::addRow("exportDateTimeTo")
            << 2 << text("label_3") << text("To") << text("QDateTimeEdit");
        QTest::addRow("measurementTypeList")
            << 3 << text("label_4") << text("Measurement types") << text("QListWidget");
    }

    void rowsPairLabelsWithFields()
    {
        QFETCH(int, row);
        QFETCH(QString, label);
        QFETCH(QString, labelText);
        QFETCH(QString, className);
        auto *form = child<QFormLayout>("formLayout");
        QCOMPARE(form->rowCount(), 4);
        auto *labelWidget =
            qobject_cast<QLabel *>(form->itemAt(row, QFormLayout::LabelRole)->widget());
        QWidget *field = form->itemAt(row, QFormLayout::FieldRole)->widget();
        QCOMPARE(labelWidget->objectName(), label);
        QCOMPARE(labelWidget->text(), labelText);
        QCOMPARE(labelWidget->buddy(), field);
        QCOMPARE(field->objectName(), text(QTest::currentDataTag()));
        QCOMPARE(text(field->metaObject()->className()), className);
        if (auto *date = qobject_cast<QDateTimeEdit *>(field)) {
            QCOMPARE(date->displayFormat(), QDateTimeEdit().displayFormat());
            QCOMPARE(date->minimumDateTime(), QDateTimeEdit().minimumDateTime());
            QCOMPARE(date->maximumDateTime(), QDateTimeEdit().maximumDateTime());
        }
    }

    void buttonsAcceptAndReject()
    {
        auto *buttons = child<QDialogButtonBox>("buttonBox");
        QCOMPARE(buttons->orientation(), Qt::Horizontal);
        QCOMPARE(buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);

        m_dialog->show();
        QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
        QVERIFY(!m_dialog->isVisible());
        QCOMPARE(m_dialog->result(), int(QDialog::Accepted));

        m_dialog->show();
        QTest::mouseClick(buttons->button(QDialogButtonBox::Cancel), Qt::LeftButton);
        QVERIFY(!m_dialog->isVisible());
        QCOMPARE(m_dialog->result(), int(QDialog::Rejected));
    }

    void tabGoesFromTopToBottom()
    {
        const QStringList order{text("deviceComboBox"), text("exportDateTimeFrom"),
                                text("exportDateTimeTo"), text("measurementTypeList")};
        QCOMPARE(tabOrder(child<QWidget>("deviceComboBox"), order), order);
    }

    void textsAreTranslatedInTheDialogsContext()
    {
        RecordingTranslator translator;
        QCoreApplication::installTranslator(&translator);
        const ExportMeasurementsToCsvDialog dialog(&m_store, nullptr);
        QCoreApplication::removeTranslator(&translator);
        for (const char *expected :
             {"Select measurements to export", "Device", "From", "To", "Measurement types"}) {
            QVERIFY2(translator.has("ExportMeasurementsToCsvDialog", text(expected)), expected);
        }
    }

    void periodStartsAtThePresentMoment()
    {
        const QDateTime before = QDateTime::currentDateTimeUtc();
        ExportMeasurementsToCsvDialog dialog(&m_store, nullptr);
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QVERIFY(dialog.fromDate() >= before);
        QVERIFY(dialog.fromDate() <= after);
        QCOMPARE(dialog.toDate(), dialog.fromDate());
    }

    void periodIsLocalOnScreenAndUtcOutside_data()
    {
        QTest::addColumn<QDateTime>("shown");
        QTest::addColumn<QTime>("utc");
        QTest::addRow("winter") << QDateTime(QDate(2024, 3, 1), QTime(14, 0)) << QTime(12, 0);
        QTest::addRow("summer") << QDateTime(QDate(2024, 7, 1), QTime(15, 0)) << QTime(12, 0);
        QTest::addRow("last minute of winter")
            << QDateTime(QDate(2024, 3, 31), QTime(2, 59)) << QTime(0, 59);
        QTest::addRow("first minute of summer")
            << QDateTime(QDate(2024, 3, 31), QTime(4, 0)) << QTime(1, 0);
    }

    void periodIsLocalOnScreenAndUtcOutside()
    {
        QFETCH(QDateTime, shown);
        QFETCH(QTime, utc);
        child<QDateTimeEdit>("exportDateTimeFrom")->setDateTime(shown);
        child<QDateTimeEdit>("exportDateTimeTo")->setDateTime(shown);
        QCOMPARE(m_dialog->fromDate(), QDateTime(shown.date(), utc, Qt::UTC));
        QCOMPARE(m_dialog->fromDate().timeSpec(), Qt::UTC);
        QCOMPARE(m_dialog->toDate(), QDateTime(shown.date(), utc, Qt::UTC));
        QCOMPARE(m_dialog->toDate().timeSpec(), Qt::UTC);
        // The two are not compared: the end may precede the start.
        child<QDateTimeEdit>("exportDateTimeTo")->setDateTime(shown.addDays(-1));
        QVERIFY(m_dialog->toDate() < m_dialog->fromDate());
    }

    void listsTheDevicesOfTheStore()
    {
        m_dialog->loadDevices();
        auto *devices = child<QComboBox>("deviceComboBox");
        QCOMPARE(devices->count(), 2);
        QCOMPARE(devices->currentIndex(), 0);
        QCOMPARE(devices->itemText(0), text("KV-310 - S1"));
        QCOMPARE(devices->itemData(0, Qt::UserRole + 1), QVariant(text("S1")));
        QCOMPARE(devices->itemData(0, Qt::UserRole + 2), QVariant(7U));
        QCOMPARE(devices->itemText(1), text("KV-500 - S2"));
        QCOMPARE(devices->itemData(1, Qt::UserRole + 2), QVariant(9U));
        QCOMPARE(m_dialog->deviceSerialNumbers(), texts("S1|S2"));
        QCOMPARE(m_store.calls, texts("devices|measurementTypes"));
        QCOMPARE(m_store.typesAsks, QVector<unsigned>{7});
    }

    void listsTypesInTheOrderOfTheirIds()
    {
        m_dialog->loadDevices();
        QCOMPARE(child<QListWidget>("measurementTypeList")->count(), 2);
        QCOMPARE(type(0)->text(), text("NO2"));
        QCOMPARE(type(0)->data(Qt::UserRole + 3), QVariant(2U));
        QCOMPARE(type(0)->data(Qt::UserRole + 4), QVariant(text("A0")));
        QCOMPARE(type(0)->checkState(), Qt::Checked);
        QCOMPARE(type(1)->text(), text("Air"));
        QCOMPARE(type(1)->data(Qt::UserRole + 3), QVariant(4U));
        QCOMPARE(type(1)->checkState(), Qt::Checked);
    }

    void selectsTheConnectedDevice_data()
    {
        QTest::addColumn<unsigned>("id");
        QTest::addRow("S1") << 7U;
        QTest::addRow("S2") << 9U;
        QTest::addRow("S3") << 7U;
        QTest::addRow("s2") << 7U;
        QTest::addRow("%s", "") << 7U;
    }

    void selectsTheConnectedDevice()
    {
        QFETCH(unsigned, id);
        m_dialog->loadDevices();
        m_dialog->selectDevice(withSerial(QTest::currentDataTag()));
        QCOMPARE(m_dialog->selectedDeviceId(), id);
    }

    void changeOfDeviceChecksAllTypesAgain()
    {
        m_dialog->loadDevices();
        type(0)->setCheckState(Qt::Unchecked);
        child<QComboBox>("deviceComboBox")->setCurrentIndex(1);
        QCOMPARE(m_dialog->selectedMeasurementTypes(), (QMap<unsigned, QString>{{5, text("W0")}}));
        // Not among the measurements of the model, so shown by its raw name.
        QCOMPARE(type(0)->text(), text("W0"));
        child<QComboBox>("deviceComboBox")->setCurrentIndex(0);
        QCOMPARE(type(0)->checkState(), Qt::Checked);
        QCOMPARE(m_store.typesAsks, (QVector<unsigned>{7, 9, 7}));
    }

    void uncheckedTypesAreLeftOut()
    {
        m_dialog->loadDevices();
        QCOMPARE(m_dialog->selectedMeasurementTypes(),
                 (QMap<unsigned, QString>{{2, text("A0")}, {4, text("A1")}}));
        type(0)->setCheckState(Qt::Unchecked);
        QCOMPARE(m_dialog->selectedMeasurementTypes(), (QMap<unsigned, QString>{{4, text("A1")}}));
        type(1)->setCheckState(Qt::PartiallyChecked);
        QVERIFY(m_dialog->selectedMeasurementTypes().isEmpty());
    }

    void emptyStoreHasDeviceZeroAndNoTypes()
    {
        m_store.devicesResult.clear();
        m_dialog->loadDevices();
        m_dialog->selectDevice(DeviceDetails());
        QCOMPARE(m_dialog->selectedDeviceId(), 0U);
        QCOMPARE(m_store.typesAsks, QVector<unsigned>{0});
        QVERIFY(m_dialog->selectedMeasurementTypes().isEmpty());
        QVERIFY(m_dialog->deviceSerialNumbers().isEmpty());
    }

    void storesAFileName()
    {
        QVERIFY(m_dialog->fileName().isEmpty());
        m_dialog->setFileName(text("export.csv"));
        QCOMPARE(m_dialog->fileName(), text("export.csv"));
    }

    void recordOfASelectionHasItsFieldsInOrder()
    {
        const QDateTime from(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);
        const QDateTime to = from.addDays(1);
        const QMap<unsigned, QString> types{{2, text("A0")}};
        const ExportSelection record{from, to, 7, types};
        QCOMPARE(record.from, from);
        QCOMPARE(record.to, to);
        QCOMPARE(record.deviceId, 7U);
        QCOMPARE(record.measurementTypes, types);
    }

private:
    template <typename T>
    T *child(const char *name)
    {
        return m_dialog->findChild<T *>(text(name));
    }
    QListWidgetItem *type(int row) { return child<QListWidget>("measurementTypeList")->item(row); }

    const TimeZoneScope m_zone{easternEurope};
    FakeLocalStorage m_store;
    QScopedPointer<ExportMeasurementsToCsvDialog> m_dialog;
};

KV_TEST_MAIN(TestExportMeasurementsToCsvDialog)
#include "tst_exportmeasurementstocsvdialog.moc"
