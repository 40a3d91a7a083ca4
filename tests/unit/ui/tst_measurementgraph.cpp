// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graph.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"
#include "ui/graphsettings.h"
#include "ui/measurementgraph.h"

#include <QtCharts/QDateTimeAxis>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtCore/QPointer>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QGraphicsScene>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>
#include <cstdlib>
#include <limits>

namespace {

constexpr int nameRole = Qt::UserRole + 2;
const QDateTime start(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);
const QDateTime end(QDate(2024, 3, 2), QTime(12, 0), Qt::UTC);

/// A reading @p minute minutes after @c start.
StoredMeasurement reading(int minute, const QVector<QPair<const char *, double>> &values)
{
    StoredMeasurement measurement;
    measurement.timestamp = start.addSecs(minute * 60);
    for (const auto &value : values) {
        measurement.values.append({text(value.first), true, value.second});
    }
    return measurement;
}

StoredDevice device(unsigned id, const char *model, const char *serialNumber)
{
    return {{{}, {}, text(serialNumber), text(model)}, id, {}, {}};
}

/// The colour that the next unknown name gets.
QColor nextRandomColor()
{
    const int blue = (std::rand() % 255 + 255) / 2;
    const int green = (std::rand() % 255 + 255) / 2;
    const int red = (std::rand() % 255 + 255) / 2;
    return {red, green, blue};
}

} // namespace

class TestMeasurementGraph : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_store.reset(new FakeLocalStorage);
        m_store->devicesResult = {device(7, "KV-310", "S1"), device(9, "KV-500", "S2")};
        m_store->measurementsResult = {reading(0, {{"A0", 100.0}, {"A1", 20.0}}),
                                       reading(1, {{"A0", 110.0}, {"A1", 21.0}})};
        m_settings = GraphSettings();
        m_settings.from = start;
        m_settings.to = end;
        m_settings.showLatest = false;
        m_graph.reset(new MeasurementGraph(nullptr));
    }

    void unknownNamesHaveTheSameColoursInEachRun()
    {
        // Must run first: without a call of srand(), rand() starts as if seeded with 1.
        m_store->measurementsResult = {reading(0, {{"U0", 1.0}})};
        open("U0");
        std::srand(1);
        QCOMPARE(line(0)->pen().color(), nextRandomColor());
    }

    void randomColourIsMadeOnceInTheOrderBlueGreenRed()
    {
        std::srand(42);
        const QColor color = nextRandomColor();
        const int next = std::rand();
        std::srand(42);
        m_store->measurementsResult = {reading(0, {{"U1", 1.0}})};
        open("U1");
        QCOMPARE(listItem("U1")->foreground().color(), color);
        QCOMPARE(line(0)->pen().color(), color);
        QCOMPARE(std::rand(), next);
        m_graph.reset(new MeasurementGraph(nullptr));
        open();
        QCOMPARE(listItem("U1")->foreground().color(), color);
    }

    void knownNamesHaveFixedColours()
    {
        const QPair<const char *, QColor> colors[] = {
            {"A0", {178, 97, 191}},  {"A1", {0, 135, 69}},   {"A2", {255, 150, 0}},
            {"A3", {150, 191, 227}}, {"A4", {186, 232, 0}},  {"A5", {214, 26, 0}},
            {"A6", {255, 232, 0}},   {"A7", {39, 73, 16}},   {"W0", {5, 112, 189}},
            {"W1", {51, 255, 153}},  {"W2", {12, 255, 214}}, {"W3", {171, 195, 209}},
            {"W4", {0, 148, 255}},   {"W5", {51, 0, 255}},   {"P0", {39, 0, 132}},
            {"P1", {120, 104, 132}}};
        for (const auto &color : colors) {
            m_store->measurementsResult = {reading(0, {{color.first, 1.0}})};
            open(color.first);
            QCOMPARE(listItem(color.first)->foreground().color(), color.second);
            QCOMPARE(line(0)->pen().color(), color.second);
        }
    }

    void doesNothingBeforeEndLoading()
    {
        m_graph->setLocalStorage(m_store.data());
        m_graph->setFromDate(start);
        m_graph->setToDate(end);
        m_graph->setShowLatest(true);
        m_graph->setManualRange(true);
        m_graph->setMinimumValue(3.0);
        m_graph->refresh();
        m_graph->beginLoading();
        m_graph->selectDevice(1);
        manualRangeCheckBox()->click();
        QCOMPARE(readCount(), 0);
        QVERIFY(chart()->axes().isEmpty());

        m_graph->endLoading();
        QCOMPARE(readCount(), 1);
        QCOMPARE(chart()->axes().size(), 2);
    }

    void beginLoadingWarnsIfThereIsNoStore()
    {
        QTest::ignoreMessage(QtWarningMsg, "Database not set!");
        m_graph->beginLoading();
        m_graph->selectDevice(DeviceDetails());
        m_graph->endLoading();
        m_graph->refresh();
        clearButton()->click();
        QVERIFY(chart()->axes().isEmpty());
        QVERIFY(!list()->isEnabled());
    }

    void listsTheDevicesOfTheStoreEachTimeItIsOpened()
    {
        open();
        QCOMPARE(devices()->count(), 2);
        QCOMPARE(devices()->itemText(0), text("KV-310 - S1"));
        QCOMPARE(devices()->itemData(0, Qt::UserRole), QVariant(7U));
        QCOMPARE(devices()->itemData(0, Qt::UserRole + 3), QVariant(text("S1")));
        QCOMPARE(devices()->itemText(1), text("KV-500 - S2"));
        QCOMPARE(devices()->itemData(1, Qt::UserRole), QVariant(9U));
        m_store->devicesResult = {device(3, "KV-1", "S9")};
        open();
        QCOMPARE(devices()->count(), 1);
        QCOMPARE(m_store->measurementsCalls.last().deviceId, 3U);
    }

    void selectsTheConnectedDevice()
    {
        // The first device if none or an unknown one is connected.
        const QPair<const char *, unsigned> ids[] = {
            {"", 7}, {"S1", 7}, {"S2", 9}, {"S3", 7}, {"s2", 7}};
        for (const auto &id : ids) {
            m_store->calls.clear();
            m_graph.reset(new MeasurementGraph(nullptr));
            open("A0|A1", device(0, "", id.first).details);
            QCOMPARE(devices()->currentData(Qt::UserRole).toUInt(), id.second);
            QCOMPARE(m_store->calls, texts("devices|measurements"));
            QCOMPARE(m_store->measurementsCalls.last().deviceId, id.second);
        }
    }

    void deviceIndexOutOfRangeReadsNothing()
    {
        open();
        m_graph->selectDevice(-1);
        m_graph->selectDevice(2);
        QCOMPARE(readCount(), 1);
        m_graph->selectDevice(1);
        QCOMPARE(readCount(), 2);
        // The slot shows the current device of the combo box, whatever valid index it gets.
        QCOMPARE(m_store->measurementsCalls.last().deviceId, 7U);
    }

    void selectingAnUnknownDeviceReadsTheFirstDeviceAgain()
    {
        m_store->devicesResult = {device(3, "KV-1", "S9")};
        open();
        m_graph->selectDevice(DeviceDetails());
        QCOMPARE(readCount(), 2);
    }

    void emptyStoreShowsOnlyTheAxesAndDropsTheSelection()
    {
        m_store->devicesResult.clear();
        m_store->measurementsResult.clear();
        open("A0");
        QCOMPARE(devices()->count(), 0);
        QCOMPARE(m_store->measurementsCalls.first().deviceId, 0U);
        QCOMPARE(list()->count(), 0);
        QVERIFY(!list()->isEnabled());
        QCOMPARE(chart()->axes().size(), 2);
        QVERIFY(chart()->series().isEmpty());
        QVERIFY(m_graph->selectedMeasurements().isEmpty());
    }

    void listContainsOnlyNamesOfTheFirstReading()
    {
        m_store->measurementsResult = {reading(0, {{"A1", 20.0}, {"A0", 1.0}}),
                                       reading(1, {{"W0", 3.0}})};
        open("A0");
        QVERIFY(list()->isEnabled());
        QCOMPARE(list()->count(), 2);
        QCOMPARE(list()->item(0)->text(), text("Air (°C)"));
        QCOMPARE(list()->item(0)->data(nameRole).toString(), text("A1"));
        QCOMPARE(list()->item(0)->checkState(), Qt::Unchecked);
        QCOMPARE(list()->item(1)->text(), text("NO2 (ppm)"));
        QCOMPARE(list()->item(1)->data(nameRole).toString(), text("A0"));
        QCOMPARE(list()->item(1)->checkState(), Qt::Checked);

        m_store->measurementsResult.prepend(reading(-1, {}));
        m_graph->refresh();
        QCOMPARE(list()->count(), 0);
        QVERIFY(!list()->isEnabled());
    }

    void namesOnlyInLaterReadingsHaveNoLine()
    {
        open("A0|A1");
        m_store->measurementsResult = {reading(0, {{"A0", 10.0}}), reading(1, {{"A1", 300.0}})};
        m_graph->refresh();
        QCOMPARE(lineNames(), texts("NO2 (ppm)"));
        // The selected name still counts for the range of the axis.
        QCOMPARE(valueAxis()->max(), 303.0);
    }

    void nameWithoutAUnitEndsWithASpace()
    {
        m_store->measurementsResult = {reading(0, {{"W5", 1.0}})};
        open("W5");
        QCOMPARE(list()->item(0)->text(), text("W5 "));
        QCOMPARE(lineNames(), texts("W5 "));
    }

    void selectionKeepsNamesThatThePeriodLacks()
    {
        open("A0|A1");
        m_store->measurementsResult = {reading(0, {{"A1", 300.0}})};
        m_graph->refresh();
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0|A1"));
        m_graph->applySelection({});
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
        m_store->measurementsResult.clear();
        m_graph->refresh();
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
    }

    void uncheckingANameRemovesEveryOccurrence()
    {
        m_store->measurementsResult = {reading(0, {{"A0", 1.0}, {"A0", 2.0}})};
        open("A0");
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0|A0"));
        list()->item(1)->setCheckState(Qt::Unchecked);
        QVERIFY(m_graph->selectedMeasurements().isEmpty());
    }

    void checkingANameDrawsItWithoutReadingTheStore()
    {
        open();
        QVERIFY(chart()->series().isEmpty());
        checkName("A1");
        QCOMPARE(lineNames(), texts("Air (°C)"));
        checkName("A0");
        // In the order of the list, not in the order in which they were checked.
        QCOMPARE(lineNames(), texts("NO2 (ppm)|Air (°C)"));
        QCOMPARE(m_graph->selectedMeasurements(), texts("A1|A0"));
        listItem("A1")->setCheckState(Qt::Unchecked);
        QCOMPARE(lineNames(), texts("NO2 (ppm)"));
        QCOMPARE(readCount(), 1);
    }

    void clearButtonUnchecksAllNames()
    {
        open("A0|A1");
        m_store->measurementsResult = {reading(0, {{"A0", 1.0}})};
        m_graph->refresh();
        clearButton()->click();
        QCOMPARE(listItem("A0")->checkState(), Qt::Unchecked);
        QVERIFY(m_graph->selectedMeasurements().isEmpty());
        QVERIFY(chart()->series().isEmpty());
        QCOMPARE(readCount(), 2);
        checkName("A0");
        QCOMPARE(chart()->series().size(), 1);
    }

    void checkBoxesAndTheClearButtonDoNothingWhileLoading()
    {
        open("A0");
        m_graph->beginLoading();
        const QPointer<QObject> chartBefore = chart();
        checkName("A1");
        listItem("A0")->setCheckState(Qt::Unchecked);
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
        clearButton()->click();
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
        QCOMPARE(listItem("A1")->checkState(), Qt::Checked);
        m_graph->refresh();
        QCOMPARE(readCount(), 1);
        QVERIFY(!chartBefore.isNull());

        // The earlier selection is shown again.
        m_graph->endLoading();
        QCOMPARE(listItem("A0")->checkState(), Qt::Checked);
        QCOMPARE(listItem("A1")->checkState(), Qt::Unchecked);
    }

    void applyingASelectionSetsEachCheckBox()
    {
        open("A0|Z9");
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
        m_graph->applySelection({text("A1")});
        QCOMPARE(m_graph->selectedMeasurements(), texts("A1"));
        QCOMPARE(lineNames(), texts("Air (°C)"));
        QCOMPARE(valueAxis()->max(), 21.0 * 1.01);
        const QPointer<QObject> chartBefore = chart();
        m_graph->applySelection({text("A1")});
        QVERIFY(!chartBefore.isNull());
        QCOMPARE(readCount(), 1);
    }

    void linesContainEveryPoint()
    {
        m_store->measurementsResult = {reading(5, {{"A1", 20.0}}), reading(2, {{"A1", 22.0}}),
                                       reading(7, {}), reading(9, {{"A1", 1.0}, {"A1", 2.0}})};
        m_store->measurementsResult[1].values[0].valid = false;
        open("A1");
        const auto x = [](int minute) {
            return static_cast<double>(start.addSecs(minute * 60).toMSecsSinceEpoch());
        };
        const QVector<QPointF> expected{{x(5), 20.0}, {x(2), 22.0}, {x(9), 1.0}, {x(9), 2.0}};
        QCOMPARE(line(0)->pointsVector(), expected);
        QCOMPARE(line(0)->pen().width(), 3);
        // The flag "valid" is ignored, because stored values are always valid.
        QCOMPARE(valueAxis()->max(), 22.0 * 1.01);
    }

    void drawsLinesThroughTheirPoints()
    {
        m_store->measurementsResult = {reading(0, {{"A2", 50.0}}), reading(12 * 60, {{"A2", 50.0}}),
                                       reading(24 * 60, {{"A2", 50.0}})};
        m_settings.manualRange = true;
        m_settings.maximum = 100.0;
        open("A2");
        m_graph->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_graph.data()));
        auto *view = m_graph->findChild<GraphQt *>();
        const QImage image = view->grab().toImage();
        const QPointF inChart = chart()->mapToPosition(line(0)->at(1), line(0));
        const QPoint middle = view->mapFromScene(chart()->mapToScene(inChart));
        QCOMPARE(image.pixelColor(middle), QColor(255, 150, 0));
        QCOMPARE(image.pixelColor(middle + QPoint(7, 20)), QColor(Qt::white));
    }

    void changeOfUnitsRenamesLinesAndConvertsValues()
    {
        open("A0|A1");
        m_graph->setDisplayOptions({false, false, true});
        QCOMPARE(lineNames(), texts("NO2 (µg/m³)|Air (°F)"));
        QCOMPARE(list()->item(0)->text(), text("NO2 (µg/m³)"));
        QCOMPARE(list()->item(1)->text(), text("Air (°F)"));
        QCOMPARE(list()->item(1)->checkState(), Qt::Checked);
        QCOMPARE(line(0)->at(1).y(), 220.0);
        QCOMPARE(line(1)->at(0).y(), 20.0 * static_cast<double>(1.8F) + 32.0);
        QCOMPARE(valueAxis()->max(), 220.0 * 1.01);
        QCOMPARE(readCount(), 2);
    }

    void repeatedRefreshLeaksNoObjects()
    {
        open("A0|A1");
        const QGraphicsScene *scene = chart()->scene();
        const int items = scene->items().size();
        const int objects = m_graph->findChildren<QObject *>().size();
        for (int i = 0; i < 100; ++i) {
            const QPointer<QObject> chartBefore = chart();
            m_graph->refresh();
            QVERIFY(chartBefore.isNull());
        }
        QCOMPARE(scene->items().size(), items);
        QCOMPARE(m_graph->findChildren<QObject *>().size(), objects);
    }

    void automaticRangeScalesTheLowestAndHighestValue()
    {
        const struct
        {
            QVector<double> values;
            double minimum;
            double maximum;
        } ranges[] = {
            {{100.0}, 99.0, 101.0},
            {{30.0, 10.0, 20.0}, 9.9, 30.3},
            {{-10.0, 10.0}, -9.9, 10.1},
            {{-5.0, -1.0}, -4.95, std::numeric_limits<double>::min() * 1.01},
        };
        for (const auto &range : ranges) {
            m_store->measurementsResult.clear();
            for (const double value : range.values) {
                m_store->measurementsResult.append(
                    reading(m_store->measurementsResult.size(), {{"W0", value}, {"W1", 5000.0}}));
            }
            open("W0");
            QCOMPARE(valueAxis()->min(), range.minimum);
            QCOMPARE(valueAxis()->max(), range.maximum);
        }
    }

    void manualRangeScalesTheGivenBounds()
    {
        const struct
        {
            double lower;
            double upper;
            double minimum;
            double maximum;
        } ranges[] = {
            {10.0, 20.0, 9.9, 20.2},
            {-10.0, 20.0, -9.9, 20.2},
            {0.1234, 1.0, 0.123 * 0.99, 1.01}, // rounded to three decimals
        };
        m_settings.manualRange = true;
        for (const auto &range : ranges) {
            m_settings.minimum = range.lower;
            m_settings.maximum = range.upper;
            for (const char *checkedName : {"", "A0"}) {
                open(checkedName);
                QCOMPARE(valueAxis()->min(), range.minimum);
                QCOMPARE(valueAxis()->max(), range.maximum);
            }
        }
    }

    void applyingAnEmptySelectionKeepsTheRangeOfTheLastLine()
    {
        open("A0|A1");
        QCOMPARE(valueAxis()->max(), 110.0 * 1.01);
        m_graph->applySelection({});
        QVERIFY(chart()->series().isEmpty());
        QCOMPARE(valueAxis()->min(), 20.0 * 0.99);
        QCOMPARE(valueAxis()->max(), 21.0 * 1.01);
    }

    void valueAxisKeepsItsRangeIfNoNameIsChecked()
    {
        open("A1");
        clearButton()->click();
        m_graph->setFromDate(start.addDays(-1));
        QCOMPARE(valueAxis()->min(), 20.0 * 0.99);
        QCOMPARE(valueAxis()->max(), 21.0 * 1.01);
        QCOMPARE(timeAxis()->min(), start.addDays(-1));
        QCOMPARE(timeAxis()->max(), end);
    }

    void spinBoxesAreEnabledAndRedrawOnlyInManualRange()
    {
        open();
        const QPointer<QObject> automaticChart = chart();
        QVERIFY(!minimum()->isEnabled());
        QVERIFY(!maximum()->isEnabled());
        minimum()->setValue(10.0);
        maximum()->setValue(20.0);
        QVERIFY(!automaticChart.isNull());
        QCOMPARE(m_graph->minimumValue(), 10.0);
        QCOMPARE(m_graph->maximumValue(), 20.0);

        manualRangeCheckBox()->click();
        QVERIFY(minimum()->isEnabled());
        QVERIFY(maximum()->isEnabled());
        QVERIFY(m_graph->manualRange());
        QVERIFY(automaticChart.isNull());
        QCOMPARE(valueAxis()->min(), 9.9);
        maximum()->setValue(40.0);
        QCOMPARE(valueAxis()->max(), 40.4);
        minimum()->setValue(20.0);
        QCOMPARE(valueAxis()->min(), 19.8);

        manualRangeCheckBox()->click();
        QVERIFY(!minimum()->isEnabled());
        QVERIFY(!maximum()->isEnabled());
        // setManualRange() doesn't draw.
        const QPointer<QObject> chartBefore = chart();
        m_graph->setManualRange(true);
        QVERIFY(minimum()->isEnabled());
        QVERIFY(!chartBefore.isNull());
        QCOMPARE(readCount(), 1);
    }

    void changesOfDateAndDeviceReadTheStore()
    {
        open();
        fromField()->setDateTime(start.addSecs(60).toLocalTime());
        QCOMPARE(readCount(), 2);
        QCOMPARE(m_store->measurementsCalls.last().from, start.addSecs(60));
        toField()->setDateTime(end.addSecs(60).toLocalTime());
        QCOMPARE(readCount(), 3);
        QCOMPARE(m_store->measurementsCalls.last().to, end.addSecs(60));
        devices()->setCurrentIndex(1);
        QCOMPARE(readCount(), 4);
        QCOMPARE(m_store->measurementsCalls.last().deviceId, 9U);
    }

    void periodIsShownInLocalTimeAndReturnedInUtc()
    {
        const QDate summerTimeStart(2024, 3, 31);
        const struct
        {
            const char *zone;
            QDateTime utc;
            QTime shown;
        } times[] = {
            {"UTC0", start, {12, 0}},
            {easternEurope, start, {14, 0}},
            {easternEurope, {QDate(2024, 7, 1), {12, 0}, Qt::UTC}, {15, 0}},
            {easternEurope,
             {summerTimeStart, {0, 59}, Qt::UTC},
             {2, 59}}, // last minute of winter time
            {easternEurope, {summerTimeStart, {1, 0}, Qt::UTC}, {4, 0}},
            {"EST5", start, {7, 0}},
        };
        for (const auto &time : times) {
            const TimeZoneScope scope(time.zone);
            m_graph.reset(new MeasurementGraph(nullptr));
            m_settings.from = time.utc;
            m_settings.to = time.utc;
            open();
            QCOMPARE(fromField()->time(), time.shown);
            QCOMPARE(toField()->time(), time.shown);
            const auto requested = m_store->measurementsCalls.last();
            for (const QDateTime &returned :
                 {m_graph->fromDate(), m_graph->toDate(), requested.from, requested.to}) {
                QCOMPARE(returned, time.utc);
                QCOMPARE(returned.timeSpec(), Qt::UTC);
            }
        }
    }

    void showLatestEndsThePeriodAtTheCurrentTime()
    {
        m_settings.showLatest = true;
        const QDateTime before = QDateTime::currentDateTimeUtc();
        open("A0");
        QVERIFY(m_graph->showLatest());
        QVERIFY(m_graph->toDate() >= before);
        QVERIFY(m_store->measurementsCalls.last().to >= before);
        QCOMPARE(m_graph->toDate().timeSpec(), Qt::UTC);
        // The field is disabled and keeps its time.
        QCOMPARE(toField()->dateTime(), end);
        QVERIFY(!toField()->isEnabled());

        const QDateTime axisEnd = timeAxis()->max();
        QVERIFY(axisEnd >= before);
        QTRY_VERIFY(QDateTime::currentDateTimeUtc() > axisEnd);
        m_store->measurementsResult.append(reading(2, {{"A0", 120.0}}));
        m_graph->refresh();
        QVERIFY(timeAxis()->max() > axisEnd);
        QCOMPARE(line(0)->count(), 3);
    }

    void showLatestCheckBoxDisablesTheToField()
    {
        auto *showLatest = child<QCheckBox>("showLatestCheckBox");
        // The dialog does not react before endLoading().
        showLatest->setChecked(true);
        QVERIFY(toField()->isEnabled());
        QCOMPARE(readCount(), 0);
        open();
        m_graph->beginLoading();
        showLatest->click();
        QVERIFY(toField()->isEnabled());
        showLatest->click();
        m_graph->endLoading();
        QCOMPARE(readCount(), 2);

        showLatest->click();
        QVERIFY(!toField()->isEnabled());
        QCOMPARE(readCount(), 3);
        showLatest->click();
        QVERIFY(toField()->isEnabled());
        QCOMPARE(readCount(), 4);
        QCOMPARE(m_graph->toDate(), end);
    }

    void acceptsAnEndBeforeTheStart()
    {
        m_store->measurementsResult.clear();
        m_settings.from = end;
        m_settings.to = start;
        open();
        QCOMPARE(m_store->measurementsCalls.last().from, end);
        QCOMPARE(m_store->measurementsCalls.last().to, start);
        QVERIFY(!list()->isEnabled());
    }

private:
    /// Opens the dialog as the main window does, with the measurements @p selected.
    void open(const char *selected = "", const DeviceDetails &details = DeviceDetails())
    {
        m_graph->setDisplayOptions(MeasurementDisplayOptions());
        m_graph->setFromDate(m_settings.from);
        m_graph->setToDate(m_settings.to);
        m_graph->setMaximumValue(m_settings.maximum);
        m_graph->setMinimumValue(m_settings.minimum);
        m_graph->setManualRange(m_settings.manualRange);
        m_graph->setLocalStorage(m_store.data());
        m_graph->setMeasurementItems(
            {{text("A0"), text("NO2"), MeasurementUnit::Ppm, MeasurementType::Pollutant, 2.0},
             {text("A1"), text("Air"), MeasurementUnit::Celsius, MeasurementType::AirTemperature,
              1.0}});
        m_graph->setShowLatest(m_settings.showLatest);
        m_graph->beginLoading();
        m_graph->selectDevice(details);
        m_graph->endLoading();
        m_graph->applySelection(texts(selected));
    }

    template <typename T>
    T *child(const char *name)
    {
        return m_graph->findChild<T *>(text(name));
    }
    QComboBox *devices() { return child<QComboBox>("deviceComboBox"); }
    QDateTimeEdit *fromField() { return child<QDateTimeEdit>("fromDateTimeEdit"); }
    QDateTimeEdit *toField() { return child<QDateTimeEdit>("toDateTimeEdit"); }
    QDoubleSpinBox *minimum() { return child<QDoubleSpinBox>("graphMinimumSpinBox"); }
    QDoubleSpinBox *maximum() { return child<QDoubleSpinBox>("graphMaximumSpinBox"); }
    QCheckBox *manualRangeCheckBox()
    {
        return child<QCheckBox>("enableSettingsMinMaxForGraphcheckBox");
    }
    QPushButton *clearButton() { return child<QPushButton>("buttonClear"); }
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

    void checkName(const char *name) { listItem(name)->setCheckState(Qt::Checked); }

    QtCharts::QChart *chart() { return m_graph->findChild<GraphQt *>()->chart(); }

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

    /// How often the store was asked for measurements.
    int readCount() { return m_store->count(text("measurements")); }

    /// Not UTC, so that a missing conversion fails the test.
    const TimeZoneScope m_zone{easternEurope};
    QScopedPointer<FakeLocalStorage> m_store;
    QScopedPointer<MeasurementGraph> m_graph;
    GraphSettings m_settings;
};

KV_TEST_MAIN(TestMeasurementGraph)
#include "tst_measurementgraph.moc"
