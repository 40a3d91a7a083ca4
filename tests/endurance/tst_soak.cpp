// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/continuouspolling.h"
#include "tests/endurance/processmemory.h"
#include "tests/kit/devicelink.h"
#include "tests/kit/enduranceparameters.h"
#include "tests/kit/testmain.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtWidgets/QDateTimeEdit>
#include <sys/resource.h>

namespace {

constexpr int daysPerMonth = 30;
constexpr int warmUpDays = 3;
constexpr int maximumDayMs = 3600000;
constexpr int exactDigits = 15; ///< more than the device's values have
constexpr int valuesPerReading = 5; // the sixth is never available

constexpr qint64 allowedGrowthKiB = 4096;

/// The largest resident set size of this process so far.
qint64 peakKiB()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace

/// A month of readings, polled without the minute between them, with the graph of the current day
/// open.
class TestSoak : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("QT_LOGGING_RULES", "*.debug=false");
        QLoggingCategory::setFilterRules(text("*.debug=false"));
        prepareApplication();
        // Storing a reading takes six commits; on a disk, those of a month would take an hour.
        const QString memory = text("/dev/shm");
        if (QFileInfo(memory).isWritable()) {
            qputenv("TMPDIR", memory.toLocal8Bit());
        }
    }

    void init() { beginTestFunction(); }
    void cleanup() { endTestFunction(); }

    void storesAMonthOfReadingsInConstantMemory()
    {
        const int readingsPerDay =
            qMax(1, EnduranceParameters::positiveNumber("KV_READINGS", 300) / daysPerMonth);
        QElapsedTimer time;
        time.start();
        QVERIFY(startConnected({text("--unavailable"), text("LUX")}));
        recordReading();
        openGraph();
        connect(&tool().handler, &SerialPortHandlerInterface::measurementsRead, this,
                [this] { recordReading(); });
        pollContinuously(tool());
        tool().controller.setMeasurementInterval(0);

        qint64 afterWarmUpKiB = 0;
        qint64 currentKiB = 0;
        for (int day = 1; day <= daysPerMonth; ++day) {
            QElapsedTimer dayTime;
            dayTime.start();
            QVERIFY(runUntil(
                [=] { return m_expectedOfDay.size() >= readingsPerDay * valuesPerReading; },
                maximumDayMs));
            const int readings = m_expectedOfDay.size() / valuesPerReading;
            // The graph is updated before a reading is stored, so it lacks the last one.
            QCOMPARE(drawnPoints(), (readings - 1) * valuesPerReading);
            QCOMPARE(storedSince(m_readings - readings + 1), m_expectedOfDay);
            currentKiB = residentBytes() / 1024;
            afterWarmUpKiB = day == warmUpDays ? currentKiB : afterWarmUpKiB;
            qInfo("day %d: %d readings, %.1f ms each, %lld KiB", day, m_readings,
                  static_cast<double>(dayTime.elapsed()) / readings, currentKiB);
            beginDay();
        }
        QCOMPARE(storedReadings(), m_readings);
        QCOMPARE(commandCount("show meas$"), m_readings);
        QCOMPARE(sqliteOutput(text("PRAGMA integrity_check")), texts("ok"));
        const qint64 growthKiB = currentKiB - afterWarmUpKiB;
        qInfo("%d readings, all stored, in %lld s; %lld KiB after %d days, %+lld KiB at the end, "
              "peak %lld KiB",
              m_readings, time.elapsed() / 1000, afterWarmUpKiB, warmUpDays, growthKiB, peakKiB());
        QVERIFY(!memoryIsMeasurable || growthKiB <= allowedGrowthKiB);
    }

private:
    /// Opens the graph with all measurements selected, up to the latest reading.
    void openGraph()
    {
        QSettings settings(text("Orvanta"), text("Kv tool"));
        settings.setValue(text("graph from"), QDateTime::currentDateTimeUtc().addSecs(-60));
        settings.setValue(text("graph measurement types"), QStringList(shownValues().keys()));
        QVERIFY(click("buttonShowGraph"));
        QTRY_VERIFY(graph()->isVisible());
        QCOMPARE(drawnPoints(), valuesPerReading);
    }

    /// Adds the values of the device's last reading to m_expectedOfDay, as storedSince() returns
    /// them.
    void recordReading()
    {
        ++m_readings;
        QMap<QByteArray, QByteArray> values;
        const QList<QByteArray> pairs = device().measurements();
        for (const QByteArray &pair : pairs) {
            values.insert(pair.split('=').value(0), pair.split('=').value(1));
        }
        values.remove("LUX");
        for (auto value = values.cbegin(); value != values.cend(); ++value) {
            m_expectedOfDay << text("%1|%2|%3")
                                   .arg(m_readings)
                                   .arg(text(value.key()),
                                        QString::number(value->toDouble(), 'g', exactDigits));
        }
    }

    /// The values of the readings from @p id on, as "ID|NAME|VALUE".
    QStringList storedSince(int id) const
    {
        return sqliteOutput(text("select m.id, t.name, printf('%.*g', %1, v.value) "
                                 "from measurement_metadata m "
                                 "left join measurement_value v on v.measurement_id = m.id "
                                 "left join measurement_type t on t.id = v.measurement_type_id "
                                 "where m.meas_state = 1 and m.id >= %2 order by m.id, t.name")
                                .arg(exactDigits)
                                .arg(id));
    }

    /// Sets the start of the graph's period to the new day, as a user does each morning.
    void beginDay()
    {
        m_expectedOfDay.clear();
        graph()
            ->findChild<QDateTimeEdit *>(text("fromDateTimeEdit"))
            ->setDateTime(QDateTime::currentDateTime());
    }

    QWidget *graph() { return topLevelWidget("MeasurementGraph"); }

    int drawnPoints()
    {
        int points = 0;
        const auto lines = graph()->findChild<QtCharts::QChartView *>()->chart()->series();
        for (const QtCharts::QAbstractSeries *line : lines) {
            points += qobject_cast<const QtCharts::QLineSeries *>(line)->count();
        }
        return points;
    }

    int m_readings = 0; ///< received from the device
    QStringList m_expectedOfDay; ///< the values of the current day's readings, as "ID|NAME|VALUE"
};

KV_TEST_MAIN(TestSoak)
#include "tst_soak.moc"
