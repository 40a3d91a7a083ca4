// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "tests/unit/ui/measurementgraphfixture.h"

#include <QtCore/QPointer>
#include <QtWidgets/QGraphicsScene>
#include <cstdlib>

class TestMeasurementGraph : public MeasurementGraphFixture
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void unknownNamesHaveTheSameColoursInEachRun()
    {
        // Must run first: the generator is not seeded, which is the same as seeded with 1.
        m_store->measurementsResult = {row(0, {{text("U0"), 1.0}})};
        open();
        std::srand(1);
        const int blue = (std::rand() % 255 + 255) / 2;
        const int green = (std::rand() % 255 + 255) / 2;
        const int red = (std::rand() % 255 + 255) / 2;
        QCOMPARE(listItem("U0")->foreground().color(), QColor(red, green, blue));
    }

    void tableColours_data()
    {
        QTest::addColumn<QColor>("color");
        QTest::addRow("A0") << QColor(178, 97, 191);
        QTest::addRow("A1") << QColor(0, 135, 69);
        QTest::addRow("A2") << QColor(255, 150, 0);
        QTest::addRow("A3") << QColor(150, 191, 227);
        QTest::addRow("A4") << QColor(186, 232, 0);
        QTest::addRow("A5") << QColor(214, 26, 0);
        QTest::addRow("A6") << QColor(255, 232, 0);
        QTest::addRow("A7") << QColor(39, 73, 16);
        QTest::addRow("W0") << QColor(5, 112, 189);
        QTest::addRow("W1") << QColor(51, 255, 153);
        QTest::addRow("W2") << QColor(12, 255, 214);
        QTest::addRow("W3") << QColor(171, 195, 209);
        QTest::addRow("W4") << QColor(0, 148, 255);
        QTest::addRow("W5") << QColor(51, 0, 255);
        QTest::addRow("P0") << QColor(39, 0, 132);
        QTest::addRow("P1") << QColor(120, 104, 132);
    }

    void tableColours()
    {
        QFETCH(QColor, color);
        const char *name = QTest::currentDataTag();
        m_store->measurementsResult = {row(0, {{text(name), 1.0}})};
        m_settings.measurementTypes = QStringList{text(name)};
        open();
        QCOMPARE(listItem(name)->foreground().color(), color);
        QCOMPARE(line(0)->pen().color(), color);
    }

    void unknownNameDrawsBlueGreenRedAndKeepsThem()
    {
        std::srand(42);
        const int blue = (std::rand() % 255 + 255) / 2;
        const int green = (std::rand() % 255 + 255) / 2;
        const int red = (std::rand() % 255 + 255) / 2;
        const int next = std::rand();

        std::srand(42);
        m_store->measurementsResult = {row(0, {{text("U1"), 1.0}})};
        m_settings.measurementTypes = texts("U1");
        open();
        QCOMPARE(listItem("U1")->foreground().color(), QColor(red, green, blue));
        QCOMPARE(line(0)->pen().color(), QColor(red, green, blue));
        QCOMPARE(std::rand(), next);

        m_graph.reset(new MeasurementGraph(nullptr));
        open();
        QCOMPARE(listItem("U1")->foreground().color(), QColor(red, green, blue));
    }

    void reactsToNothingUntilTheEndOfLoading()
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
        child<QCheckBox>("enableSettingsMinMaxForGraphcheckBox")->click();
        QCOMPARE(reads(), 0);
        QVERIFY(chart()->axes().isEmpty());

        m_graph->endLoading();
        QCOMPARE(reads(), 1);
        QCOMPARE(chart()->axes().size(), 2);
    }

    void warnsOfAMissingStoreWhenLoadingBegins()
    {
        QTest::ignoreMessage(QtWarningMsg, "Database not set!");
        m_graph->beginLoading();
        m_graph->selectDevice(DeviceDetails());
        m_graph->endLoading();
        m_graph->refresh();
        child<QPushButton>("buttonClear")->click();
        QVERIFY(chart()->axes().isEmpty());
        QVERIFY(!list()->isEnabled());
    }

    void listsTheDevicesOfTheStore()
    {
        open();
        auto *devices = child<QComboBox>("deviceComboBox");
        QCOMPARE(devices->count(), 2);
        QCOMPARE(devices->itemText(0), text("KV-310 - S1"));
        QCOMPARE(devices->itemData(0, Qt::UserRole), QVariant(7U));
        QCOMPARE(devices->itemData(0, Qt::UserRole + 3), QVariant(text("S1")));
        QCOMPARE(devices->itemText(1), text("KV-500 - S2"));
        QCOMPARE(devices->itemData(1, Qt::UserRole), QVariant(9U));
    }

    void selectsTheConnectedDevice_data()
    {
        QTest::addColumn<QString>("serialNumber");
        QTest::addColumn<unsigned>("id");
        QTest::addRow("none connected: the first") << QString() << 7U;
        QTest::addRow("first") << text("S1") << 7U;
        QTest::addRow("second") << text("S2") << 9U;
        QTest::addRow("unknown: the first") << text("S3") << 7U;
        QTest::addRow("by case: the first") << text("s2") << 7U;
    }

    void selectsTheConnectedDevice()
    {
        QFETCH(QString, serialNumber);
        QFETCH(unsigned, id);
        DeviceDetails details;
        details.serialNumber = serialNumber;
        open(details);
        QCOMPARE(child<QComboBox>("deviceComboBox")->currentData(Qt::UserRole).toUInt(), id);
        QCOMPARE(m_store->measurementsAsks.size(), 1);
        QCOMPARE(m_store->measurementsAsks.first().deviceId, id);
    }

    void deviceIndexOutOfRangeReadsNothing()
    {
        open();
        m_graph->selectDevice(-1);
        m_graph->selectDevice(2);
        QCOMPARE(reads(), 1);
        m_graph->selectDevice(1);
        QCOMPARE(reads(), 2);
        // The slot draws the current device of the box, whatever the index.
        QCOMPARE(m_store->measurementsAsks.last().deviceId, 7U);
    }

    void readsTheStoreOnceWhenLoadingEnds()
    {
        m_settings.measurementTypes = texts("A0|A1");
        open();
        QCOMPARE(m_store->calls, texts("devices|measurements"));
        QCOMPARE(m_store->measurementsAsks.first().from, start);
        QCOMPARE(m_store->measurementsAsks.first().from.timeSpec(), Qt::UTC);
        QCOMPARE(m_store->measurementsAsks.first().to, end);
        QCOMPARE(m_store->measurementsAsks.first().to.timeSpec(), Qt::UTC);
    }

    void emptyStoreShowsOnlyTheAxes()
    {
        m_store->devicesResult.clear();
        m_store->measurementsResult.clear();
        open();
        QCOMPARE(child<QComboBox>("deviceComboBox")->count(), 0);
        QCOMPARE(m_store->measurementsAsks.first().deviceId, 0U);
        QCOMPARE(list()->count(), 0);
        QVERIFY(!list()->isEnabled());
        QCOMPARE(chart()->axes().size(), 2);
        QVERIFY(chart()->series().isEmpty());
    }

    void periodWithoutRowsDropsTheStoredSelection()
    {
        m_store->measurementsResult.clear();
        m_settings.measurementTypes = texts("A0");
        open();
        QVERIFY(m_graph->selectedMeasurements().isEmpty());
    }

    void secondOpeningListsTheDevicesAgain()
    {
        open();
        m_store->devicesResult = {device(3, text("KV-1"), text("S9"))};
        open();
        QCOMPARE(child<QComboBox>("deviceComboBox")->count(), 1);
        QCOMPARE(m_store->measurementsAsks.last().deviceId, 3U);
    }

    void listComesFromTheFirstRowAlone()
    {
        m_store->measurementsResult = {row(0, {{text("A1"), 20.0}, {text("A0"), 1.0}}),
                                       row(1, {{text("W0"), 3.0}})};
        m_settings.measurementTypes = texts("A0");
        open();
        QVERIFY(list()->isEnabled());
        QCOMPARE(list()->count(), 2);
        QCOMPARE(list()->item(0)->text(), text("Air (°C)"));
        QCOMPARE(list()->item(0)->data(nameRole).toString(), text("A1"));
        QCOMPARE(list()->item(0)->checkState(), Qt::Unchecked);
        QCOMPARE(list()->item(1)->text(), text("NO2 (ppm)"));
        QCOMPARE(list()->item(1)->data(nameRole).toString(), text("A0"));
        QCOMPARE(list()->item(1)->checkState(), Qt::Checked);

        m_store->measurementsResult.prepend(row(-1, {}));
        m_graph->refresh();
        QCOMPARE(list()->count(), 0);
        QVERIFY(!list()->isEnabled());
    }

    void emptyCaptionLeavesABlank()
    {
        m_store->measurementsResult = {row(0, {{text("W5"), 1.0}})};
        m_settings.measurementTypes = texts("W5");
        open();
        QCOMPARE(list()->item(0)->text(), text("W5 "));
        QCOMPARE(lineNames(), texts("W5 "));
    }

    void selectionSurvivesAPeriodWithoutTheName()
    {
        m_settings.measurementTypes = texts("A0|A1");
        open();
        m_store->measurementsResult = {row(0, {{text("A1"), 1.0}})};
        m_graph->refresh();
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0|A1"));
        m_graph->applySelection({});
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
        m_store->measurementsResult.clear();
        m_graph->refresh();
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
    }

    void untickingRemovesEveryOccurrence()
    {
        m_store->measurementsResult = {row(0, {{text("A0"), 1.0}, {text("A0"), 2.0}})};
        m_settings.measurementTypes = texts("A0");
        open();
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0|A0"));
        list()->item(1)->setCheckState(Qt::Unchecked);
        QVERIFY(m_graph->selectedMeasurements().isEmpty());
    }

    void tickingDrawsWithoutReadingTheStore()
    {
        open();
        QVERIFY(chart()->series().isEmpty());
        tick("A1");
        QCOMPARE(lineNames(), texts("Air (°C)"));
        tick("A0");
        // In the order of the row, not of the ticks.
        QCOMPARE(lineNames(), texts("NO2 (ppm)|Air (°C)"));
        QCOMPARE(m_graph->selectedMeasurements(), texts("A1|A0"));
        listItem("A1")->setCheckState(Qt::Unchecked);
        QCOMPARE(lineNames(), texts("NO2 (ppm)"));
        QCOMPARE(reads(), 1);
    }

    void clearButtonUnticksAll()
    {
        m_settings.measurementTypes = texts("A0|A1");
        open();
        m_store->measurementsResult = {row(0, {{text("A0"), 1.0}})};
        m_graph->refresh();
        QTest::mouseClick(child<QPushButton>("buttonClear"), Qt::LeftButton);
        QCOMPARE(listItem("A0")->checkState(), Qt::Unchecked);
        QVERIFY(m_graph->selectedMeasurements().isEmpty());
        QVERIFY(chart()->series().isEmpty());
        QCOMPARE(reads(), 2);
        tick("A0");
        QCOMPARE(chart()->series().size(), 1);
    }

    void ticksAndTheClearButtonDoNothingWhileLoading()
    {
        m_settings.measurementTypes = texts("A0");
        open();
        m_graph->beginLoading();
        const QPointer<QObject> drawn = chart();
        tick("A1");
        listItem("A0")->setCheckState(Qt::Unchecked);
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
        child<QPushButton>("buttonClear")->click();
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
        QCOMPARE(listItem("A1")->checkState(), Qt::Checked);
        m_graph->refresh();
        QCOMPARE(reads(), 1);
        QCOMPARE(static_cast<QObject *>(chart()), drawn.data());

        // The earlier selection is shown again.
        m_graph->endLoading();
        QCOMPARE(listItem("A0")->checkState(), Qt::Checked);
        QCOMPARE(listItem("A1")->checkState(), Qt::Unchecked);
    }

    void applyingASelectionSetsEachBox()
    {
        m_settings.measurementTypes = texts("A0|Z9");
        open();
        QCOMPARE(m_graph->selectedMeasurements(), texts("A0"));
        m_graph->applySelection({text("A1")});
        QCOMPARE(m_graph->selectedMeasurements(), texts("A1"));
        QCOMPARE(lineNames(), texts("Air (°C)"));
        QCOMPARE(valueAxis()->max(), 21.0 * 1.01);
        const QPointer<QObject> before = chart();
        m_graph->applySelection({text("A1")});
        QCOMPARE(before.data(), static_cast<QObject *>(chart()));
        QCOMPARE(reads(), 1);
    }

    void linesHaveEveryPoint()
    {
        m_store->measurementsResult = {row(5, {{text("A1"), 20.0}}), row(2, {{text("A1"), 22.0}}),
                                       row(7, {}), row(9, {{text("A1"), 1.0}, {text("A1"), 2.0}})};
        m_store->measurementsResult[1].values[0].valid = false;
        m_settings.measurementTypes = texts("A1");
        open();
        const auto x = [this](int minute) {
            return static_cast<double>(start.addSecs(minute * 60).toMSecsSinceEpoch());
        };
        const QVector<QPointF> expected{{x(5), 20.0}, {x(2), 22.0}, {x(9), 1.0}, {x(9), 2.0}};
        QCOMPARE(line(0)->pointsVector(), expected);
        QCOMPARE(line(0)->pen().width(), 3);
        // The flag "valid" is not checked: stored rows are valid.
        QCOMPARE(valueAxis()->max(), 22.0 * 1.01);
    }

    void namesOfLaterRowsHaveNoLine()
    {
        m_store->measurementsResult = {row(0, {{text("A0"), 1.0}}), row(1, {{text("A1"), 2.0}})};
        m_settings.measurementTypes = texts("A0|A1");
        open();
        QCOMPARE(lineNames(), texts("NO2 (ppm)"));
    }

    void drawsWhereThePointsAre()
    {
        m_store->measurementsResult = {row(0, {{text("A2"), 50.0}}),
                                       row(12 * 60, {{text("A2"), 50.0}}),
                                       row(24 * 60, {{text("A2"), 50.0}})};
        m_settings.measurementTypes = texts("A2");
        m_settings.manualRange = true;
        m_settings.maximum = 100.0;
        open();
        m_graph->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_graph.data()));
        auto *view = child<Graph>("chart")->findChild<GraphQt *>();
        const QImage picture = view->grab().toImage();
        const QPointF inChart = chart()->mapToPosition(line(0)->at(1), line(0));
        const QPoint middle = view->mapFromScene(chart()->mapToScene(inChart));
        QCOMPARE(picture.pixelColor(middle), QColor(255, 150, 0));
        QCOMPARE(picture.pixelColor(middle + QPoint(7, 20)), QColor(Qt::white));
    }

    void changeOfUnitsRenamesAndConverts()
    {
        m_settings.measurementTypes = texts("A0|A1");
        open();
        MeasurementDisplayOptions options;
        options.pollutantInPpm = false;
        options.temperatureInCelsius = false;
        m_graph->setDisplayOptions(options);

        const QStringList names{text("NO2 (µg/m³)"), text("Air (°F)")};
        QCOMPARE(lineNames(), names);
        QCOMPARE(list()->item(0)->text(), names[0]);
        QCOMPARE(list()->item(1)->text(), names[1]);
        QCOMPARE(list()->item(1)->checkState(), Qt::Checked);
        QCOMPARE(line(0)->at(1).y(), 220.0);
        QCOMPARE(line(1)->at(0).y(), 20.0 * static_cast<double>(1.8F) + 32.0);
        QCOMPARE(valueAxis()->max(), 220.0 * 1.01);
        QCOMPARE(reads(), 2);
    }

    void manyRefreshesLeaveOneChart()
    {
        m_settings.measurementTypes = texts("A0|A1");
        open();
        const QGraphicsScene *scene = chart()->scene();
        const int items = scene->items().size();
        const int objects = m_graph->findChildren<QObject *>().size();
        for (int i = 0; i < 100; ++i) {
            const QPointer<QObject> before = chart();
            m_graph->refresh();
            QVERIFY(before.isNull());
        }
        QCOMPARE(scene->items().size(), items);
        QCOMPARE(m_graph->findChildren<QObject *>().size(), objects);
    }

    void recordOfTheSettingsHasItsFieldsInOrder()
    {
        const GraphSettings record{start, end, {text("A0")}, true, false, 1.0, 2.0};
        QCOMPARE(record.from, start);
        QCOMPARE(record.to, end);
        QCOMPARE(record.measurementTypes, texts("A0"));
        QVERIFY(record.manualRange);
        QVERIFY(!record.showLatest);
        QCOMPARE(record.minimum, 1.0);
        QCOMPARE(record.maximum, 2.0);
    }
};

KV_TEST_MAIN(TestMeasurementGraph)
#include "tst_measurementgraph.moc"
