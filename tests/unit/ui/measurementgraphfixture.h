// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "graph/graph.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/text.h"
#include "tests/kit/timezonescope.h"
#include "ui/graphsettings.h"
#include "ui/measurementgraph.h"

#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>

/// The graph dialog with a fake store of two devices, and queries for tests.
class MeasurementGraphFixture : public QObject
{
public:
    const QDateTime start = QDateTime(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);
    const QDateTime end = QDateTime(QDate(2024, 3, 2), QTime(12, 0), Qt::UTC);

    /// A measurement so many minutes after the start.
    StoredMeasurement row(int minute, const QVector<QPair<QString, double>> &values) const
    {
        StoredMeasurement measurement;
        measurement.timestamp = start.addSecs(minute * 60);
        for (const auto &value : values) {
            measurement.values.append({value.first, true, value.second});
        }
        return measurement;
    }

    static StoredDevice device(unsigned id, const QString &model, const QString &serialNumber)
    {
        StoredDevice result;
        result.id = id;
        result.details.modelNumber = model;
        result.details.serialNumber = serialNumber;
        return result;
    }

    /// Creates all objects anew.
    void reset()
    {
        m_store.reset(new FakeLocalStorage);
        m_store->devicesResult = {device(7, text("KV-310"), text("S1")),
                                  device(9, text("KV-500"), text("S2"))};
        m_store->measurementsResult = {row(0, {{text("A0"), 100.0}, {text("A1"), 20.0}}),
                                       row(1, {{text("A0"), 110.0}, {text("A1"), 21.0}})};
        m_items = {{text("A0"), text("NO2"), MeasurementUnit::Ppm, MeasurementType::Pollutant, 2.0},
                   {text("A1"), text("Air"), MeasurementUnit::Celsius,
                    MeasurementType::AirTemperature, 1.0}};
        m_settings = GraphSettings();
        m_settings.from = start;
        m_settings.to = end;
        m_settings.showLatest = false;
        m_graph.reset(new MeasurementGraph(nullptr));
    }

    /// Opens the dialog as the main window does it.
    void open(const DeviceDetails &details = DeviceDetails())
    {
        m_graph->setDisplayOptions(MeasurementDisplayOptions());
        m_graph->setFromDate(m_settings.from);
        m_graph->setToDate(m_settings.to);
        m_graph->setMaximumValue(m_settings.maximum);
        m_graph->setMinimumValue(m_settings.minimum);
        m_graph->setManualRange(m_settings.manualRange);
        m_graph->setLocalStorage(m_store.data());
        m_graph->setMeasurementItems(m_items);
        m_graph->setShowLatest(m_settings.showLatest);
        m_graph->beginLoading();
        m_graph->selectDevice(details);
        m_graph->endLoading();
        m_graph->applySelection(m_settings.measurementTypes);
    }

    template <typename T>
    T *child(const char *name)
    {
        return m_graph->findChild<T *>(text(name));
    }

    QListWidget *list() { return child<QListWidget>("list"); }

    QListWidgetItem *listItem(const char *name)
    {
        for (int i = 0; i < list()->count(); ++i) {
            if (list()->item(i)->data(nameRole).toString() == text(name)) {
                return list()->item(i);
            }
        }
        return nullptr;
    }

    void tick(const char *name) { listItem(name)->setCheckState(Qt::Checked); }

    QtCharts::QChart *chart() { return child<Graph>("chart")->findChild<GraphQt *>()->chart(); }

    QtCharts::QDateTimeAxis *timeAxis()
    {
        return qobject_cast<QtCharts::QDateTimeAxis *>(chart()->axes(Qt::Horizontal).value(0));
    }

    QtCharts::QValueAxis *valueAxis()
    {
        return qobject_cast<QtCharts::QValueAxis *>(chart()->axes(Qt::Vertical).value(0));
    }

    QtCharts::QLineSeries *line(int index)
    {
        return qobject_cast<QtCharts::QLineSeries *>(chart()->series().at(index));
    }

    QStringList lineNames()
    {
        QStringList names;
        const auto lines = chart()->series();
        for (const auto *series : lines) {
            names << series->name();
        }
        return names;
    }

    /// How often the store was read.
    int reads() { return m_store->count(text("measurements")); }

    /// Not UTC, so that a missing conversion fails the test.
    const TimeZoneScope m_zone{easternEurope};
    static constexpr int nameRole = Qt::UserRole + 2;
    QScopedPointer<FakeLocalStorage> m_store;
    QScopedPointer<MeasurementGraph> m_graph;
    GraphSettings m_settings;
    QVector<MeasurementItem> m_items;
};
