// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/devicedetails.h"
#include "common/measurementdisplayoptions.h"
#include "common/measurementitem.h"
#include "graph/graphseries.h"
#include "storage/localstorage.h"

#include <QtCore/QStringList>
#include <QtWidgets/QDialog>
#include <memory>

class QListWidgetItem;

namespace Ui {
class MeasurementGraph;
}

/// Draws stored measurements over time. The user selects a device of the store, a period and the
/// measurements.
///
/// All data comes from the store, which must outlive the use of the dialog; no device needs to be
/// connected. The dialog does not react to its widgets until the first endLoading(). It reports no
/// errors: without readings only the axes are drawn.
class MeasurementGraph : public QDialog
{
    Q_OBJECT

public:
    /// A hidden dialog without a store, with a disabled list of measurements.
    explicit MeasurementGraph(QWidget *parent);
    ~MeasurementGraph() override;

    /// Sets the units and redraws.
    void setDisplayOptions(const MeasurementDisplayOptions &options);

    /// Sets the bounds of the period; shown in local time.
    /// @{
    void setFromDate(const QDateTime &date);
    void setToDate(const QDateTime &date);
    /// @}

    /// Sets the bounds of the manual value range, in the unit shown.
    /// @{
    void setMinimumValue(double value);
    void setMaximumValue(double value);
    /// @}

    /// Sets whether the value axis has the manual range or the range of the values.
    void setManualRange(bool manual);

    /// Sets whether the period ends at the current time.
    void setShowLatest(bool latest);

    /// Sets the store to read from; not owned.
    void setLocalStorage(LocalStorage *storage);

    /// Sets the measurements with their display names and units.
    void setMeasurementItems(const QVector<MeasurementItem> &items);

    /// Suspends reactions to the widgets until endLoading() and fills the device list from the
    /// store.
    void beginLoading();

    /// Selects the device with the serial number of @p device. If that is empty or not in the list,
    /// the current device remains: after beginLoading(), the first.
    void selectDevice(const DeviceDetails &device);

    /// Resumes reactions to the widgets and draws.
    void endLoading();

    /// Checks exactly the measurements with the raw names @p measurementTypes. A name without an
    /// item in the current period is ignored.
    void applySelection(const QStringList &measurementTypes);

    /// Reads the store and redraws; does nothing without a store or while loading.
    void refresh();

    /// Bounds of the period, in UTC; toDate() is the current time if showLatest() is true.
    /// @{
    QDateTime fromDate();
    QDateTime toDate();
    /// @}

    /// Raw names of the checked measurements.
    QStringList selectedMeasurements();

    /// The manual value range in the unit shown, and the states of the two check boxes.
    /// @{
    double minimumValue();
    double maximumValue();
    bool manualRange();
    bool showLatest();
    /// @}

public slots:
    /// Reads and draws the current device of the device list if @p index is valid, even if it is
    /// the index of another device. Ignores an invalid index.
    void selectDevice(int index);

private slots:
    void onDateChanged();
    void reloadGraph();
    void onClearClicked();
    void itemChanged(QListWidgetItem *item);
    void onGraphManualRangeChanged();
    void onGraphManualRangeToggled();
    void onShowLatestToggled();

private:
    void connectWidgets();
    void loadMeasurements();
    void fillList();
    void fitListWidth();
    void addItem(const QString &name);
    QString itemText(const QString &name) const;
    QStringList measurementNames() const;
    void updateValueRange();
    bool findValueRange(double &minimum, double &maximum) const;
    double displayValue(const MeasurementValue &value, const MeasurementItem &item) const;
    GraphSeries buildSeries(const QString &name) const;

    std::unique_ptr<Ui::MeasurementGraph> m_ui;
    LocalStorage *m_localStorage = nullptr;
    QVector<StoredMeasurement> m_measurements;
    QStringList m_selectedMeasurements;
    QVector<MeasurementItem> m_measurementItems;
    MeasurementDisplayOptions m_displayOptions;
    bool m_updating = true;
    bool m_applyingSelection = false;
};
