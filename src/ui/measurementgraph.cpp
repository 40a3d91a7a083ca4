// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/measurementgraph.h"

#include "common/measurementtypeutils.h"
#include "ui_measurementgraph.h"

#include <QtCore/QDebug>
#include <QtCore/QHash>
#include <QtWidgets/QScrollBar>
#include <algorithm>
#include <cstdlib>
#include <limits>

constexpr int deviceIdRole = Qt::UserRole;
constexpr int serialNumberRole = Qt::UserRole + 3;
constexpr int nameRole = Qt::UserRole + 2;

constexpr int valueDecimals = 3;

// In characters; for longer names the list scrolls instead of narrowing the chart.
constexpr int maximumNameLength = 30;

// In line heights: enough for the ten vertical labels of the time axis and a legend with two names.
constexpr int minimumChartWidth = 27;

// The range of the axis exceeds the values by one percent.
// Quirk: the same factors apply to negative values, where they narrow the range.
constexpr double minimumFactor = 0.99;
constexpr double maximumFactor = 1.01;

static int randomPastelChannel()
{
    constexpr int white = 255;
    return (std::rand() % white + white) / 2;
}

/// The colour of a measurement's line. An unknown name gets a random pastel colour, which it keeps
/// until the program exits.
static QColor measurementColor(const QString &name)
{
    static QHash<QString, QColor> colors{
        {QStringLiteral("A0"), QColor(178, 97, 191)}, {QStringLiteral("A1"), QColor(0, 135, 69)},
        {QStringLiteral("A2"), QColor(255, 150, 0)},  {QStringLiteral("A3"), QColor(150, 191, 227)},
        {QStringLiteral("A4"), QColor(186, 232, 0)},  {QStringLiteral("A5"), QColor(214, 26, 0)},
        {QStringLiteral("A6"), QColor(255, 232, 0)},  {QStringLiteral("A7"), QColor(39, 73, 16)},
        {QStringLiteral("W0"), QColor(5, 112, 189)},  {QStringLiteral("W1"), QColor(51, 255, 153)},
        {QStringLiteral("W2"), QColor(12, 255, 214)}, {QStringLiteral("W3"), QColor(171, 195, 209)},
        {QStringLiteral("W4"), QColor(0, 148, 255)},  {QStringLiteral("W5"), QColor(51, 0, 255)},
        {QStringLiteral("P0"), QColor(39, 0, 132)},   {QStringLiteral("P1"), QColor(120, 104, 132)},
    };
    const auto known = colors.constFind(name);
    if (known != colors.constEnd()) {
        return known.value();
    }
    // Quirk: the generator is not seeded, so the colours are the same in each run.
    const int blue = randomPastelChannel();
    const int green = randomPastelChannel();
    const int red = randomPastelChannel();
    return colors.insert(name, QColor(red, green, blue)).value();
}

MeasurementGraph::MeasurementGraph(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::MeasurementGraph>())
{
    m_ui->setupUi(this);
    setWindowFlags(windowFlags() | Qt::WindowMaximizeButtonHint);
    m_ui->list->setEnabled(false);
    m_ui->chart->setMinimumWidth(minimumChartWidth * fontMetrics().height());
    for (QDoubleSpinBox *box : {m_ui->graphMinimumSpinBox, m_ui->graphMaximumSpinBox}) {
        box->setDecimals(valueDecimals);
        box->setRange(std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max());
    }
    connectWidgets();
}

MeasurementGraph::~MeasurementGraph() = default;

void MeasurementGraph::connectWidgets()
{
    using Dialog = MeasurementGraph;
    connect(m_ui->buttonClear, &QPushButton::clicked, this, &Dialog::onClearClicked);
    connect(m_ui->list, &QListWidget::itemChanged, this, &Dialog::itemChanged);
    connect(m_ui->deviceComboBox, qOverload<int>(&QComboBox::currentIndexChanged), this,
            qOverload<int>(&Dialog::selectDevice));
    connect(m_ui->fromDateTimeEdit, &QDateTimeEdit::dateTimeChanged, this, &Dialog::onDateChanged);
    connect(m_ui->toDateTimeEdit, &QDateTimeEdit::dateTimeChanged, this, &Dialog::onDateChanged);
    connect(m_ui->enableSettingsMinMaxForGraphcheckBox, &QCheckBox::clicked, this,
            &Dialog::onGraphManualRangeToggled);
    connect(m_ui->graphMaximumSpinBox, qOverload<double>(&QDoubleSpinBox::valueChanged), this,
            &Dialog::onGraphManualRangeChanged);
    connect(m_ui->graphMinimumSpinBox, qOverload<double>(&QDoubleSpinBox::valueChanged), this,
            &Dialog::onGraphManualRangeChanged);
    connect(m_ui->showLatestCheckBox, &QCheckBox::stateChanged, this, &Dialog::onShowLatestToggled);
}

void MeasurementGraph::setDisplayOptions(const MeasurementDisplayOptions &options)
{
    m_displayOptions = options;
    refresh();
}

void MeasurementGraph::setFromDate(const QDateTime &date)
{
    m_ui->fromDateTimeEdit->setDateTime(date.toLocalTime());
}

void MeasurementGraph::setToDate(const QDateTime &date)
{
    m_ui->toDateTimeEdit->setDateTime(date.toLocalTime());
}

void MeasurementGraph::setMinimumValue(double value) { m_ui->graphMinimumSpinBox->setValue(value); }

void MeasurementGraph::setMaximumValue(double value) { m_ui->graphMaximumSpinBox->setValue(value); }

void MeasurementGraph::setManualRange(bool manual)
{
    m_ui->enableSettingsMinMaxForGraphcheckBox->setChecked(manual);
    m_ui->graphMinimumSpinBox->setEnabled(manual);
    m_ui->graphMaximumSpinBox->setEnabled(manual);
}

void MeasurementGraph::setShowLatest(bool latest)
{
    m_ui->showLatestCheckBox->setChecked(latest);
    m_ui->toDateTimeEdit->setDisabled(latest);
}

void MeasurementGraph::setLocalStorage(LocalStorage *storage) { m_localStorage = storage; }

void MeasurementGraph::setMeasurementItems(const QVector<MeasurementItem> &items)
{
    m_measurementItems = items;
}

void MeasurementGraph::beginLoading()
{
    m_updating = true;
    if (m_localStorage == nullptr) {
        qWarning() << "Database not set!";
        return;
    }
    QComboBox *devices = m_ui->deviceComboBox;
    devices->clear();
    const QVector<StoredDevice> storedDevices = m_localStorage->devices();
    for (const StoredDevice &device : storedDevices) {
        devices->addItem(
            QStringLiteral("%1 - %2").arg(device.details.modelNumber, device.details.serialNumber),
            device.id);
        devices->setItemData(devices->count() - 1, device.details.serialNumber, serialNumberRole);
    }
}

void MeasurementGraph::selectDevice(const DeviceDetails &device)
{
    const int index = m_ui->deviceComboBox->findData(device.serialNumber, serialNumberRole);
    if (index < 0 || device.serialNumber.isEmpty()) {
        selectDevice(0);
    } else {
        m_ui->deviceComboBox->setCurrentIndex(index);
    }
}

void MeasurementGraph::selectDevice(int index)
{
    if (index >= 0 && index < m_ui->deviceComboBox->count()) {
        refresh();
    }
}

void MeasurementGraph::endLoading()
{
    m_updating = false;
    refresh();
}

void MeasurementGraph::applySelection(const QStringList &measurementTypes)
{
    // The chart is drawn once for all check boxes, since drawing each line of a year takes about
    // half a second.
    const QStringList selectedBefore = m_selectedMeasurements;
    m_applyingSelection = true;
    for (int row = 0; row < m_ui->list->count(); ++row) {
        QListWidgetItem *item = m_ui->list->item(row);
        const bool selected = measurementTypes.contains(item->data(nameRole).toString());
        item->setCheckState(selected ? Qt::Checked : Qt::Unchecked);
    }
    m_applyingSelection = false;
    if (m_selectedMeasurements != selectedBefore) {
        reloadGraph();
    }
}

void MeasurementGraph::refresh()
{
    if (m_localStorage == nullptr || m_updating) {
        return;
    }
    const QStringList selected = m_selectedMeasurements;
    loadMeasurements();
    fillList();
    applySelection(selected);
    reloadGraph();
}

void MeasurementGraph::loadMeasurements()
{
    // refresh(), the only caller, has checked this. GCOVR_EXCL_START
    if (m_localStorage == nullptr) {
        qWarning() << "Database not set!";
        return;
    } // GCOVR_EXCL_STOP
    const unsigned deviceId = m_ui->deviceComboBox->currentData(deviceIdRole).toUInt();
    // Frees the old readings before the new ones are read, so that a long period is in memory only
    // once.
    m_measurements = {};
    m_measurements = m_localStorage->measurements(fromDate(), toDate(), deviceId);
}

void MeasurementGraph::fillList()
{
    m_ui->list->clear();
    const QStringList names = measurementNames();
    m_ui->list->setEnabled(!names.isEmpty());
    for (const QString &name : names) {
        addItem(name);
    }
    fitListWidth();
}

void MeasurementGraph::fitListWidth()
{
    QListWidget *list = m_ui->list;
    const int maximum = maximumNameLength * list->fontMetrics().averageCharWidth();
    const int margins = list->verticalScrollBar()->sizeHint().width() + 2 * list->frameWidth();
    list->setMinimumWidth(qMin(list->sizeHintForColumn(0), maximum) + margins);
}

void MeasurementGraph::addItem(const QString &name)
{
    // Complete before it is added: a change of an item in the list counts as one by the user.
    auto item = std::make_unique<QListWidgetItem>(itemText(name));
    item->setForeground(measurementColor(name));
    item->setData(nameRole, name);
    item->setCheckState(m_selectedMeasurements.contains(name) ? Qt::Checked : Qt::Unchecked);
    m_ui->list->addItem(item.release());
}

QString MeasurementGraph::itemText(const QString &name) const
{
    return QStringLiteral("%1 %2").arg(
        MeasurementTypeUtils::displayName(name, m_measurementItems),
        MeasurementTypeUtils::displayUnitCaption(name, m_measurementItems, m_displayOptions));
}

QStringList MeasurementGraph::measurementNames() const
{
    QStringList names;
    // Quirk: a measurement that is only in later readings has neither an item nor a line.
    const StoredMeasurement first = m_measurements.value(0);
    for (const MeasurementValue &value : first.values) {
        names.append(value.name);
    }
    return names;
}

QDateTime MeasurementGraph::fromDate()
{
    return m_ui->fromDateTimeEdit->dateTime().toTimeSpec(Qt::UTC);
}

QDateTime MeasurementGraph::toDate()
{
    if (m_ui->showLatestCheckBox->isChecked()) {
        return QDateTime::currentDateTimeUtc();
    }
    return m_ui->toDateTimeEdit->dateTime().toTimeSpec(Qt::UTC);
}

QStringList MeasurementGraph::selectedMeasurements() { return m_selectedMeasurements; }

double MeasurementGraph::minimumValue() { return m_ui->graphMinimumSpinBox->value(); }

double MeasurementGraph::maximumValue() { return m_ui->graphMaximumSpinBox->value(); }

bool MeasurementGraph::manualRange()
{
    return m_ui->enableSettingsMinMaxForGraphcheckBox->isChecked();
}

bool MeasurementGraph::showLatest() { return m_ui->showLatestCheckBox->isChecked(); }

void MeasurementGraph::onDateChanged() { refresh(); }

void MeasurementGraph::reloadGraph()
{
    if (m_localStorage == nullptr || m_updating) {
        return;
    }
    Graph *chart = m_ui->chart;
    chart->clear();
    chart->beginUpdate();
    updateValueRange();
    chart->setTimeRange(fromDate(), toDate());
    // The ranges take effect with the next chart.
    chart->clear();
    const QStringList names = measurementNames();
    for (const QString &name : names) {
        if (m_selectedMeasurements.contains(name)) {
            chart->addSeries(buildSeries(name));
        }
    }
    chart->endUpdate();
}

void MeasurementGraph::updateValueRange()
{
    double minimum = minimumValue();
    double maximum = maximumValue();
    if (manualRange() || findValueRange(minimum, maximum)) {
        m_ui->chart->setValueRange(minimum * minimumFactor, maximum * maximumFactor);
    }
}

bool MeasurementGraph::findValueRange(double &minimum, double &maximum) const
{
    QHash<QString, MeasurementItem> items;
    for (const QString &name : m_selectedMeasurements) {
        MeasurementTypeUtils::findMeasurementItem(name, m_measurementItems, items[name]);
    }
    bool found = false;
    minimum = std::numeric_limits<double>::max();
    // Quirk: the smallest positive number, so the upper bound is never below 0.
    maximum = std::numeric_limits<double>::min();
    for (const StoredMeasurement &measurement : m_measurements) {
        for (const MeasurementValue &value : measurement.values) {
            const auto item = items.constFind(value.name);
            if (item != items.constEnd()) {
                const double converted = displayValue(value, *item);
                minimum = std::min(minimum, converted);
                maximum = std::max(maximum, converted);
                found = true;
            }
        }
    }
    return found;
}

double MeasurementGraph::displayValue(const MeasurementValue &value,
                                      const MeasurementItem &item) const
{
    // The item of an unknown name has the type Undefined, whose values are not converted.
    return MeasurementTypeUtils::convertToDisplayUnit(value.value, item.type, item.unit,
                                                      item.conversionMultiplier, m_displayOptions);
}

GraphSeries MeasurementGraph::buildSeries(const QString &name) const
{
    MeasurementItem item;
    MeasurementTypeUtils::findMeasurementItem(name, m_measurementItems, item);
    GraphSeries series{itemText(name), measurementColor(name), {}};
    series.points.reserve(m_measurements.size());
    for (const StoredMeasurement &measurement : m_measurements) {
        for (const MeasurementValue &value : measurement.values) {
            if (value.name == name) {
                series.points.append({measurement.timestamp, displayValue(value, item)});
            }
        }
    }
    return series;
}

void MeasurementGraph::onClearClicked()
{
    if (m_updating) {
        return;
    }
    m_updating = true;
    for (int row = 0; row < m_ui->list->count(); ++row) {
        m_ui->list->item(row)->setCheckState(Qt::Unchecked);
    }
    m_selectedMeasurements.clear();
    m_updating = false;
    reloadGraph();
}

void MeasurementGraph::itemChanged(QListWidgetItem *item)
{
    if (m_updating) {
        return;
    }
    const QString name = item->data(nameRole).toString();
    if (item->checkState() == Qt::Unchecked) {
        m_selectedMeasurements.removeAll(name);
    } else {
        m_selectedMeasurements.append(name);
    }
    if (!m_applyingSelection) {
        reloadGraph();
    } else if (m_localStorage != nullptr && item->checkState() == Qt::Unchecked) {
        // If no item is checked at the end, the axis keeps the range of the lines that were checked
        // last.
        updateValueRange();
    }
}

void MeasurementGraph::onGraphManualRangeChanged()
{
    if (manualRange()) {
        reloadGraph();
    }
}

void MeasurementGraph::onGraphManualRangeToggled()
{
    if (m_updating) {
        return;
    }
    setManualRange(manualRange());
    reloadGraph();
}

void MeasurementGraph::onShowLatestToggled()
{
    if (m_updating) {
        return;
    }
    m_ui->toDateTimeEdit->setDisabled(showLatest());
    refresh();
}
