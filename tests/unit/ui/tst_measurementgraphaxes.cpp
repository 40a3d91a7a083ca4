// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "tests/unit/ui/measurementgraphfixture.h"

#include <QtCore/QPointer>
#include <limits>

class TestMeasurementGraphAxes : public MeasurementGraphFixture
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void automaticRange_data()
    {
        QTest::addColumn<QVector<double>>("values");
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");
        const double almostNothing = std::numeric_limits<double>::min() * 1.01;

        QTest::addRow("one value") << QVector<double>{100.0} << 99.0 << 101.0;
        QTest::addRow("several") << QVector<double>{30.0, 10.0, 20.0} << 9.9 << 30.3;
        QTest::addRow("mixed signs") << QVector<double>{-10.0, 10.0} << -9.9 << 10.1;
        QTest::addRow("negative alone") << QVector<double>{-5.0, -1.0} << -4.95 << almostNothing;
    }

    void automaticRange()
    {
        QFETCH(QVector<double>, values);
        QFETCH(double, minimum);
        QFETCH(double, maximum);
        m_store->measurementsResult.clear();
        for (const double value : qAsConst(values)) {
            m_store->measurementsResult.append(row(m_store->measurementsResult.size(),
                                                   {{text("W0"), value}, {text("W1"), 5000.0}}));
        }
        m_settings.measurementTypes = texts("W0");
        open();
        QCOMPARE(valueAxis()->min(), minimum);
        QCOMPARE(valueAxis()->max(), maximum);
    }

    void manualRange_data()
    {
        QTest::addColumn<double>("lower");
        QTest::addColumn<double>("upper");
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");
        QTest::addRow("positive") << 10.0 << 20.0 << 9.9 << 20.2;
        QTest::addRow("negative lower bound") << -10.0 << 20.0 << -9.9 << 20.2;
        QTest::addRow("three decimals") << 0.1234 << 1.0 << 0.123 * 0.99 << 1.01;
    }

    void manualRange()
    {
        QFETCH(double, lower);
        QFETCH(double, upper);
        QFETCH(double, minimum);
        QFETCH(double, maximum);
        m_settings.manualRange = true;
        m_settings.minimum = lower;
        m_settings.maximum = upper;
        open();
        QCOMPARE(valueAxis()->min(), minimum);
        QCOMPARE(valueAxis()->max(), maximum);
        tick("A0");
        QCOMPARE(valueAxis()->min(), minimum);
        QCOMPARE(valueAxis()->max(), maximum);
    }

    void laterNamesCountInTheRangeWhenSelected()
    {
        m_settings.measurementTypes = texts("A0|A1");
        open();
        m_store->measurementsResult = {row(0, {{text("A0"), 10.0}}), row(1, {{text("A1"), 300.0}})};
        m_graph->refresh();
        QCOMPARE(chart()->series().size(), 1);
        QCOMPARE(valueAxis()->max(), 303.0);
    }

    void applyingNoSelectionKeepsTheRangeOfTheLastLine()
    {
        m_settings.measurementTypes = texts("A0|A1");
        open();
        QCOMPARE(valueAxis()->max(), 110.0 * 1.01);
        m_graph->applySelection({});
        QVERIFY(chart()->series().isEmpty());
        QCOMPARE(valueAxis()->min(), 20.0 * 0.99);
        QCOMPARE(valueAxis()->max(), 21.0 * 1.01);
    }

    void withoutTicksTheValueAxisKeepsItsRange()
    {
        m_settings.measurementTypes = texts("A1");
        open();
        QTest::mouseClick(child<QPushButton>("buttonClear"), Qt::LeftButton);
        m_graph->setFromDate(start.addDays(-1));
        QCOMPARE(valueAxis()->min(), 20.0 * 0.99);
        QCOMPARE(valueAxis()->max(), 21.0 * 1.01);
        QCOMPARE(timeAxis()->min(), start.addDays(-1));
        QCOMPARE(timeAxis()->max(), end);
    }

    void spinBoxesFollowTheManualBox()
    {
        open();
        auto *manual = child<QCheckBox>("enableSettingsMinMaxForGraphcheckBox");
        auto *minimum = child<QDoubleSpinBox>("graphMinimumSpinBox");
        auto *maximum = child<QDoubleSpinBox>("graphMaximumSpinBox");
        QVERIFY(!minimum->isEnabled());
        QVERIFY(!maximum->isEnabled());
        minimum->setValue(10.0);
        maximum->setValue(20.0);

        manual->click();
        QVERIFY(minimum->isEnabled());
        QVERIFY(maximum->isEnabled());
        QCOMPARE(valueAxis()->min(), 9.9);
        QVERIFY(m_graph->manualRange());

        manual->click();
        QVERIFY(!minimum->isEnabled());
        QVERIFY(!maximum->isEnabled());
        QCOMPARE(reads(), 1);

        // Setting the box by the program draws nothing.
        const QPointer<QObject> before = chart();
        m_graph->setManualRange(true);
        QVERIFY(minimum->isEnabled());
        QVERIFY(!before.isNull());
    }

    void spinBoxesRedrawOnlyInManualRange()
    {
        open();
        const QPointer<QObject> before = chart();
        child<QDoubleSpinBox>("graphMinimumSpinBox")->setValue(1.0);
        child<QDoubleSpinBox>("graphMaximumSpinBox")->setValue(2.0);
        QVERIFY(!before.isNull());
        QCOMPARE(m_graph->minimumValue(), 1.0);
        QCOMPARE(m_graph->maximumValue(), 2.0);

        m_graph->setManualRange(true);
        child<QDoubleSpinBox>("graphMaximumSpinBox")->setValue(4.0);
        QVERIFY(before.isNull());
        QCOMPARE(valueAxis()->max(), 4.04);
        child<QDoubleSpinBox>("graphMinimumSpinBox")->setValue(2.0);
        QCOMPARE(valueAxis()->min(), 1.98);
        QCOMPARE(reads(), 1);
    }

    void changesOfDateAndDeviceGoToTheStore()
    {
        open();
        child<QDateTimeEdit>("fromDateTimeEdit")->setDateTime(start.addSecs(60).toLocalTime());
        QCOMPARE(reads(), 2);
        QCOMPARE(m_store->measurementsAsks.last().from, start.addSecs(60));
        child<QDateTimeEdit>("toDateTimeEdit")->setDateTime(end.addSecs(60).toLocalTime());
        QCOMPARE(reads(), 3);
        QCOMPARE(m_store->measurementsAsks.last().to, end.addSecs(60));
        child<QComboBox>("deviceComboBox")->setCurrentIndex(1);
        QCOMPARE(reads(), 4);
        QCOMPARE(m_store->measurementsAsks.last().deviceId, 9U);
    }

    void periodIsLocalOnScreenAndUtcOutside_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDateTime>("utc");
        QTest::addColumn<QTime>("shown");
        const QByteArray helsinki("EET-2EEST,M3.5.0/3,M10.5.0/4");
        QTest::addRow("UTC") << QByteArray("UTC0") << start << QTime(12, 0);
        QTest::addRow("winter") << helsinki << start << QTime(14, 0);
        QTest::addRow("summer") << helsinki << QDateTime(QDate(2024, 7, 1), QTime(12, 0), Qt::UTC)
                                << QTime(15, 0);
        QTest::addRow("last minute of winter")
            << helsinki << QDateTime(QDate(2024, 3, 31), QTime(0, 59), Qt::UTC) << QTime(2, 59);
        QTest::addRow("first minute of summer")
            << helsinki << QDateTime(QDate(2024, 3, 31), QTime(1, 0), Qt::UTC) << QTime(4, 0);
        QTest::addRow("west") << QByteArray("EST5") << start << QTime(7, 0);
    }

    void periodIsLocalOnScreenAndUtcOutside()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QDateTime, utc);
        QFETCH(QTime, shown);
        const TimeZoneScope scope(zone.constData());
        m_settings.from = utc;
        m_settings.to = utc;
        open();
        QCOMPARE(child<QDateTimeEdit>("fromDateTimeEdit")->time(), shown);
        QCOMPARE(child<QDateTimeEdit>("toDateTimeEdit")->time(), shown);
        QCOMPARE(m_graph->fromDate(), utc);
        QCOMPARE(m_graph->fromDate().timeSpec(), Qt::UTC);
        QCOMPARE(m_graph->toDate(), utc);
        QCOMPARE(m_graph->toDate().timeSpec(), Qt::UTC);
    }

    void latestEndsAtThePresentMoment()
    {
        m_settings.showLatest = true;
        m_settings.measurementTypes = texts("A0");
        const QDateTime before = QDateTime::currentDateTimeUtc();
        open();
        QVERIFY(m_graph->showLatest());
        QVERIFY(m_graph->toDate() >= before);
        QVERIFY(m_store->measurementsAsks.last().to >= before);
        QCOMPARE(m_graph->toDate().timeSpec(), Qt::UTC);
        // The field is disabled and keeps its time.
        QCOMPARE(child<QDateTimeEdit>("toDateTimeEdit")->dateTime(), end);
        QVERIFY(!child<QDateTimeEdit>("toDateTimeEdit")->isEnabled());

        const QDateTime edge = timeAxis()->max();
        QVERIFY(edge >= before);
        QTRY_VERIFY(QDateTime::currentDateTimeUtc() > edge);
        m_store->measurementsResult.append(row(2, {{text("A0"), 120.0}}));
        m_graph->refresh();
        QVERIFY(timeAxis()->max() > edge);
        QCOMPARE(line(0)->count(), 3);
    }

    void latestBoxDisablesTheToField()
    {
        auto *to = child<QDateTimeEdit>("toDateTimeEdit");
        auto *latest = child<QCheckBox>("showLatestCheckBox");
        // The dialog does not react before the end of loading.
        latest->setChecked(true);
        QVERIFY(to->isEnabled());
        QCOMPARE(reads(), 0);
        open();
        m_graph->beginLoading();
        latest->click();
        QVERIFY(to->isEnabled());
        latest->click();
        m_graph->endLoading();
        QCOMPARE(reads(), 2);

        latest->click();
        QVERIFY(!to->isEnabled());
        QCOMPARE(reads(), 3);
        latest->click();
        QVERIFY(to->isEnabled());
        QCOMPARE(reads(), 4);
        QCOMPARE(m_graph->toDate(), end);
    }

    void anEndBeforeTheStartIsNoError()
    {
        m_store->measurementsResult.clear();
        m_settings.from = end;
        m_settings.to = start;
        open();
        QCOMPARE(m_store->measurementsAsks.last().from, end);
        QCOMPARE(m_store->measurementsAsks.last().to, start);
        QVERIFY(!list()->isEnabled());
    }
};

KV_TEST_MAIN(TestMeasurementGraphAxes)
#include "tst_measurementgraphaxes.moc"
