// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"
#include "ui/exportmeasurementstocsvdialog.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QListWidget>

namespace {

StoredDevice device(unsigned id, const char *model, const char *serialNumber)
{
    return {{{}, {}, text(serialNumber), text(model)}, id, {}, {}};
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

    void periodIsShownInLocalTimeAndReturnedInUtc()
    {
        const QDate summerTimeStart(2024, 3, 31);
        const QPair<QDateTime, QTime> times[] = {
            {{QDate(2024, 3, 1), {14, 0}}, {12, 0}},
            {{QDate(2024, 7, 1), {15, 0}}, {12, 0}},
            {{summerTimeStart, {2, 59}}, {0, 59}}, // still winter time
            {{summerTimeStart, {4, 0}}, {1, 0}}};
        for (const auto &time : times) {
            child<QDateTimeEdit>("exportDateTimeFrom")->setDateTime(time.first);
            child<QDateTimeEdit>("exportDateTimeTo")->setDateTime(time.first);
            for (const QDateTime &returned : {m_dialog->fromDate(), m_dialog->toDate()}) {
                QCOMPARE(returned, QDateTime(time.first.date(), time.second, Qt::UTC));
                QCOMPARE(returned.timeSpec(), Qt::UTC);
            }
            // The two are not compared: the end may precede the start.
            child<QDateTimeEdit>("exportDateTimeTo")->setDateTime(time.first.addDays(-1));
            QVERIFY(m_dialog->toDate() < m_dialog->fromDate());
        }
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
        QCOMPARE(m_store.measurementTypesCalls, QVector<unsigned>{7});
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

    void selectsTheConnectedDevice()
    {
        // An unknown serial number changes nothing.
        const QPair<const char *, unsigned> ids[] = {{"", 7},   {"S3", 7}, {"s2", 7},
                                                     {"S2", 9}, {"S3", 9}, {"S1", 7}};
        m_dialog->loadDevices();
        for (const auto &id : ids) {
            m_dialog->selectDevice(device(0, "", id.first).details);
            QCOMPARE(m_dialog->selectedDeviceId(), id.second);
        }
    }

    void changingTheDeviceChecksAllTypesAgain()
    {
        m_dialog->loadDevices();
        type(0)->setCheckState(Qt::Unchecked);
        child<QComboBox>("deviceComboBox")->setCurrentIndex(1);
        QCOMPARE(m_dialog->selectedMeasurementTypes(), (QMap<unsigned, QString>{{5, text("W0")}}));
        // The model has no measurement of this name, so its raw name is shown.
        QCOMPARE(type(0)->text(), text("W0"));
        child<QComboBox>("deviceComboBox")->setCurrentIndex(0);
        QCOMPARE(type(0)->checkState(), Qt::Checked);
        QCOMPARE(m_store.measurementTypesCalls, (QVector<unsigned>{7, 9, 7}));
    }

    void uncheckedTypesAreNotSelected()
    {
        m_dialog->loadDevices();
        QCOMPARE(m_dialog->selectedMeasurementTypes(),
                 (QMap<unsigned, QString>{{2, text("A0")}, {4, text("A1")}}));
        type(0)->setCheckState(Qt::Unchecked);
        QCOMPARE(m_dialog->selectedMeasurementTypes(), (QMap<unsigned, QString>{{4, text("A1")}}));
        type(1)->setCheckState(Qt::PartiallyChecked);
        QVERIFY(m_dialog->selectedMeasurementTypes().isEmpty());
    }

    void emptyStoreHasDeviceIdZeroAndNoTypes()
    {
        m_store.devicesResult.clear();
        m_dialog->loadDevices();
        m_dialog->selectDevice(DeviceDetails());
        QCOMPARE(m_dialog->selectedDeviceId(), 0U);
        QCOMPARE(m_store.measurementTypesCalls, QVector<unsigned>{0});
        QVERIFY(m_dialog->selectedMeasurementTypes().isEmpty());
        QVERIFY(m_dialog->deviceSerialNumbers().isEmpty());
    }

    void storesAFileName()
    {
        QVERIFY(m_dialog->fileName().isEmpty());
        m_dialog->setFileName(text("export.csv"));
        QCOMPARE(m_dialog->fileName(), text("export.csv"));
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
