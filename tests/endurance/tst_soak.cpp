// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/continuouspolling.h"
#include "tests/kit/devicelink.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testparameters.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtWidgets/QDateTimeEdit>
#include <unistd.h>

namespace {

constexpr int daysPerMonth = 30;
constexpr int warmUpDays = 3;
constexpr qint64 kibibyte = 1024;
constexpr int valuesPerReading = 5; // and one that is never available

#ifdef __SANITIZE_ADDRESS__
constexpr bool memoryIsMeasurable = false; // freed memory stays in the quarantine
#else
constexpr bool memoryIsMeasurable = true;
#endif
constexpr qint64 allowedGrowthKiB = 4096;

/// The resident memory of this process.
qint64 residentKiB()
{
    QFile file(text("/proc/self/statm"));
    const bool opened = file.open(QIODevice::ReadOnly);
    const qint64 pages = opened ? file.readAll().split(' ').value(1).toLongLong() : 0;
    return pages * sysconf(_SC_PAGESIZE) / kibibyte;
}

/// The peak of residentKiB().
qint64 peakKiB()
{
    QFile file(text("/proc/self/status"));
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.startsWith("VmHWM:")) {
                return line.simplified().split(' ').value(1).toLongLong();
            }
        }
    }
    return 0;
}

QString valueText(const QString &name, double value)
{
    constexpr int allDigits = 17;
    return QStringLiteral("%1=%2 ").arg(name, QString::number(value, 'g', allDigits));
}

/// The values of the device's last reading, in the form of storedSince().
QString reportedReading(const QList<QByteArray> &pairs)
{
    QMap<QString, double> values;
    for (const QByteArray &pair : pairs) {
        const QList<QByteArray> parts = pair.split('=');
        if (parts.value(1) != "N") {
            values.insert(QString::fromLatin1(parts.value(0)), parts.value(1).toDouble());
        }
    }
    QString line;
    for (auto value = values.cbegin(); value != values.cend(); ++value) {
        line += valueText(value.key(), value.value());
    }
    return line;
}

} // namespace

/// A month of polling with the graph open on the current day, without the minute between readings.
class TestSoak : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("QT_LOGGING_RULES", "*.debug=false");
        QLoggingCategory::setFilterRules(text("*.debug=false"));
        prepareApplication();
        // A reading takes six commits; on a disk a month of them would take an hour.
        const QString memory = text("/dev/shm");
        if (QFileInfo(memory).isWritable()) {
            qputenv("TMPDIR", memory.toLocal8Bit());
        }
    }

    void init() { beginCase(); }
    void cleanup() { endCase(); }

    void storesAMonthOfReadingsInConstantMemory()
    {
        const int readingsPerDay =
            qMax(1, TestParameters::number("KV_READINGS", 300) / daysPerMonth);
        QElapsedTimer time;
        time.start();
        QVERIFY(startConnected({text("--unavailable"), text("LUX")}));
        m_reported.append(reportedReading(device().measurements()));
        openGraph();
        connect(&tool().handler, &SerialPortHandlerInterface::measurementsRead, this,
                [this] { m_reported.append(reportedReading(device().measurements())); });
        pollContinuously(tool());
        tool().controller.setMeasurementInterval(0);

        qint64 warmKiB = 0;
        qint64 nowKiB = 0;
        int readings = 0;
        for (int day = 1; day <= daysPerMonth; ++day) {
            QElapsedTimer dayTime;
            dayTime.start();
            QVERIFY(pollUntil(readingsPerDay));
            const qint64 dayMs = dayTime.elapsed();
            // A reading is shown before it is stored, so that the graph draws it with the next one.
            QCOMPARE(drawnPoints(), (m_reported.size() - 1) * valuesPerReading);
            QCOMPARE(storedSince(readings + 1), m_reported);
            readings += m_reported.size();
            nowKiB = residentKiB();
            warmKiB = day == warmUpDays ? nowKiB : warmKiB;
            qInfo("day %d: %d readings, %.1f ms each, %lld KiB", day, readings,
                  static_cast<double>(dayMs) / m_reported.size(), nowKiB);
            beginDay();
        }
        QCOMPARE(storedReadings(), readings);
        QCOMPARE(commandCount("show meas$"), readings);
        QCOMPARE(sqlite(text("PRAGMA integrity_check")), QStringList(text("ok")));
        const qint64 growthKiB = nowKiB - warmKiB;
        qInfo("%d readings, all stored, in %lld s; %lld KiB after %d days, %+lld KiB at the end, "
              "peak "
              "%lld KiB",
              readings, time.elapsed() / 1000, warmKiB, warmUpDays, growthKiB, peakKiB());
        QVERIFY(!memoryIsMeasurable || growthKiB <= allowedGrowthKiB);
    }

private:
    /// All lines ticked, the newest reading always shown.
    void openGraph()
    {
        QSettings settings(text("Orvanta"), text("Kv tool"));
        settings.setValue(text("graph from"), QDateTime::currentDateTimeUtc().addSecs(-60));
        settings.setValue(text("graph measurement types"), QStringList(shownValues().keys()));
        QVERIFY(click("buttonShowGraph"));
        QTRY_VERIFY(graph()->isVisible());
        QCOMPARE(drawnPoints(), valuesPerReading);
    }

    /// Sets the start of the graph's period to the new day, as a user does each morning.
    void beginDay()
    {
        m_reported.clear();
        graph()
            ->findChild<QDateTimeEdit *>(text("fromDateTimeEdit"))
            ->setDateTime(QDateTime::currentDateTime());
    }

    bool pollUntil(int readings)
    {
        constexpr int longestDayMs = 3600000;
        return runUntil([=] { return m_reported.size() >= readings; }, longestDayMs);
    }

    /// The readings from @p id on, over a connection of its own.
    QStringList storedSince(int id)
    {
        const QString connection = text("soak test");
        QStringList lines;
        {
            QSqlDatabase store = QSqlDatabase::addDatabase(text("QSQLITE"), connection);
            store.setDatabaseName(storePath());
            store.setConnectOptions(text("QSQLITE_OPEN_READONLY"));
            store.open();
            QSqlQuery query(store);
            query.setForwardOnly(true);
            query.exec(text("select m.id, t.name, v.value from measurement_metadata m "
                            "left join measurement_value v on v.measurement_id = m.id "
                            "left join measurement_type t on t.id = v.measurement_type_id "
                            "where m.meas_state = 1 and m.id >= %1 order by m.id, t.name")
                           .arg(id));
            qint64 last = -1;
            while (query.next()) {
                if (query.value(0).toLongLong() != last) {
                    last = query.value(0).toLongLong();
                    lines.append(QString());
                }
                lines.last() += valueText(query.value(1).toString(), query.value(2).toDouble());
            }
        }
        QSqlDatabase::removeDatabase(connection);
        return lines;
    }

    QWidget *graph() { return topLevel("MeasurementGraph"); }

    int drawnPoints()
    {
        int points = 0;
        const auto lines = graph()->findChild<QtCharts::QChartView *>()->chart()->series();
        for (const QtCharts::QAbstractSeries *line : lines) {
            points += qobject_cast<const QtCharts::QLineSeries *>(line)->count();
        }
        return points;
    }

    QStringList m_reported; ///< the device's readings of the current day
};

KV_TEST_MAIN(TestSoak)
#include "tst_soak.moc"
