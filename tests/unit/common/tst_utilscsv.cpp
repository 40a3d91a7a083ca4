// SPDX-License-Identifier: GPL-3.0-or-later
// saveToCsv() must write exactly the same bytes as a simple implementation with QTextStream.
#include "common/utils.h"
#include "tests/kit/fileio.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"

#include <QtCore/QTextCodec>
#include <QtCore/QTextStream>
#include <QtCore/QTimeZone>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <random>
#include <utility>

namespace {

/// The simple implementation: one QTextStream with default settings.
bool saveWithTextStream(const QString &fileName, const QStringList &titles,
                        const QVector<LogValue> &rows)
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) {
        return false;
    }
    QTextStream stream(&file);
    stream << titles.join(QLatin1Char(',')) << '\n';
    for (const LogValue &row : rows) {
        stream << row.time.toTimeSpec(Qt::LocalTime).toString(Qt::ISODate) << ',';
        for (int index = 0; index < row.values.size(); ++index) {
            if (index > 0) {
                stream << ',';
            }
            stream << row.values.at(index);
        }
        stream << '\n';
    }
    return true;
}

QVector<LogValue> rowsOf(const QVector<double> &numbers)
{
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(1672628645000, Qt::UTC);
    QVector<LogValue> rows;
    for (const double number : numbers) {
        rows.append({{number, -number}, time});
    }
    return rows;
}

QVector<LogValue> rowsOf(const QVector<QDateTime> &times)
{
    QVector<LogValue> rows;
    for (const QDateTime &time : times) {
        rows.append({{1.0}, time});
    }
    return rows;
}

/// The instant @p ms, in ms since the epoch, with each Qt::TimeSpec.
QVector<QDateTime> withEachTimeSpec(qint64 ms)
{
    return {QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC),
            QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc()),
            QDateTime::fromMSecsSinceEpoch(ms, QTimeZone("Asia/Kathmandu")),
            QDateTime::fromMSecsSinceEpoch(ms, Qt::OffsetFromUTC, -12600),
            QDateTime::fromMSecsSinceEpoch(ms, Qt::LocalTime)};
}

using Random = std::mt19937_64; // seeded with constants: the same numbers in each run

/// Time zones of the POSIX form with unusual minutes and seconds, and with the greatest offsets.
const QList<QByteArray> posixRules{easternEurope,
                                   "XYZ-24:59:59",
                                   "XYZ24:59:59",
                                   "XYZ-0:00:01",
                                   "ABC-5:47:13",
                                   "ABC3:25:45DEF,M3.2.0/2,M11.1.0/2",
                                   "ABC-1:23:45DEF-2:34:56,M3.5.0/1:17:19,M10.5.0/4:41:43",
                                   "ABC-9:59:59DEF-10:29:59,M10.1.0,M4.1.0/3",
                                   "ABC-12DEF-12:00:01,J60/0:30,J300/23:59:59",
                                   "ABC11:11:11DEF9:09:09,100/5:55:55,200/-1:02:03",
                                   "<-03>3<-02>,M3.5.0/-2,M10.5.0/-1",
                                   "IST-1GMT0,M10.5.0,M3.5.0/1",
                                   "ABC-3DEF-1,M5.3.3/12:30,M8.2.2/12:30"};

// Seconds relative to a transition: each half hour from four hours before to four hours after it,
// the seconds next to it, and one instant between it and the following one.
const QVector<int> secondsAroundTransition = [] {
    QVector<int> seconds;
    for (int half = -8; half <= 8; ++half) {
        seconds << half * 1800 - 1 << half * 1800 << half * 1800 + 1 << half * 1800 + 613;
    }
    return seconds;
}();

/// The offset from UTC in seconds, and whether daylight-saving time is in effect, at @p second
/// since the epoch.
std::pair<qint64, int> offsetAndDst(qint64 second)
{
    const auto time = static_cast<std::time_t>(second);
    std::tm local{};
    localtime_r(&time, &local);
    return {local.tm_gmtoff, local.tm_isdst};
}

/// The UTC-offset transitions of the current time zone, in seconds since the epoch, and one instant
/// without a transition. Of transitions with the same results of offsetAndDst() before and after
/// them and the same position within an hour, only the first, unless KV_ZONE_TRANSITIONS is "all".
QVector<qint64> zoneTransitions()
{
    static const bool all = qgetenv("KV_ZONE_TRANSITIONS") == "all";
    constexpr qint64 end = 2145916800; // 2038-01-01
    const qint64 step = (all ? 1 : 5) * 86400;
    QMap<QVector<qint64>, qint64> transitions;
    for (qint64 from = 86400; from < end; from += step) {
        qint64 low = from;
        qint64 high = from + step;
        const auto before = offsetAndDst(low);
        const auto after = offsetAndDst(high);
        if (before == after) {
            continue;
        }
        while (high - low > 1) {
            const qint64 middle = (low + high) / 2;
            (offsetAndDst(middle) == before ? low : high) = middle;
        }
        const QVector<qint64> kind{before.first, before.second, after.first, after.second,
                                   all ? high : high % 3600};
        if (!transitions.contains(kind)) {
            transitions.insert(kind, high);
        }
    }
    return QVector<qint64>{1600000000} + transitions.values().toVector();
}

} // namespace

class TestUtilsCsv : public QObject
{
    Q_OBJECT

private slots:
    void writesNumbersAsQTextStreamDoes_data()
    {
        QTest::addColumn<QVector<double>>("numbers");
        using Limits = std::numeric_limits<double>;
        QVector<double> specialValues;
        specialValues << 0.0 << 0.5 << 1.0 << 0.0001 << 0.00001 << 0.0009765625
                      << 9.5367431640625e-7 << 1013.25 << 33816.25 << 99999.95 << 123455.5
                      << 123456.5 << 999999.0 << 999999.5 << 999999.49999999988 << 1000000.0
                      << 1234565.0 << 1234575.0 << 1e21 << Limits::infinity() << Limits::quiet_NaN()
                      << Limits::denorm_min() << Limits::min() << Limits::max()
                      << Limits::epsilon();
        QTest::addRow("special values") << specialValues;

        Random random(1);
        const auto below = [&random](quint64 end) { return static_cast<double>(random() % end); };
        const auto addRow = [](const char *name, const std::function<double()> &next) {
            QVector<double> numbers(20000);
            std::generate(numbers.begin(), numbers.end(), next);
            QTest::addRow("%s", name) << numbers;
        };
        addRow("random bits", [&random] {
            const quint64 bits = random();
            double number = 0.0;
            std::memcpy(&number, &bits, sizeof number);
            return number;
        });
        // Halfway between two numbers of six digits, with each exponent for which a double can
        // represent that, and with some more.
        addRow("rounding ties",
               [below] { return (100000.5 + below(900000)) * std::pow(10.0, below(35) - 14.0); });
        addRow("binary fractions", [below] { return below(20000000) / std::exp2(below(24)); });
        addRow("decimal fractions", [below] { return below(20000000) / std::pow(10.0, below(9)); });
    }

    void writesNumbersAsQTextStreamDoes()
    {
        QFETCH(QVector<double>, numbers);
        compare(rowsOf(numbers));
    }

    void writesUnusualTimesAsQDateTimeDoes_data()
    {
        QTest::addColumn<QByteArray>("zone");
        for (const char *zone : {"UTC", "America/St_Johns", "Africa/Monrovia", easternEurope, ""}) {
            QTest::newRow(zone) << QByteArray(zone);
        }
    }

    void writesUnusualTimesAsQDateTimeDoes()
    {
        QFETCH(QByteArray, zone);
        const TimeZoneScope scope(zone.constData());

        QVector<QDateTime> times{QDateTime(), QDateTime(QDate(2023, 2, 30), QTime(1, 2)),
                                 QDateTime(QDate(2023, 3, 26), QTime(3, 30)),
                                 QDateTime(QDate(2023, 10, 29), QTime(3, 30))};
        // Years below 1000, below 0 and above 9999, the greatest QDateTime, the epoch, and the end
        // of a 32-bit time_t.
        for (const qint64 ms :
             QVector<qint64>{-62135596800000, -40000000000000, -99999999999999, 253402300799999,
                             253402300800000, 253402214400000, 9223372036854775807, -3600001, -1, 0,
                             999, 2147483647000, 2147483648000}) {
            times += withEachTimeSpec(ms);
        }
        Random random(2);
        for (int count = 0; count < 500; ++count) {
            times += withEachTimeSpec(static_cast<qint64>(random() % 2500000000000));
        }
        compare(rowsOf(times));
    }

    // In ascending, random and descending order, because the writer keeps the offset of an hour
    // from one row to the next.
    void writesTimesOfEveryTimeZoneAsQDateTimeDoes()
    {
        QList<QByteArray> zones = posixRules;
        for (const QByteArray &id : QTimeZone::availableTimeZoneIds()) {
            if (!id.startsWith("UTC")) {
                zones.append(id);
            }
        }
        Random random(3);
        qint64 instants = 0;
        for (const QByteArray &zone : qAsConst(zones)) {
            const TimeZoneScope scope(zone.constData());
            QVector<QDateTime> ascending;
            for (const qint64 transition : zoneTransitions()) {
                for (const int second : secondsAroundTransition) {
                    ascending.append(QDateTime::fromSecsSinceEpoch(transition + second, Qt::UTC));
                }
            }
            QVector<QDateTime> shuffled = ascending;
            std::shuffle(shuffled.begin(), shuffled.end(), random);
            QVector<QDateTime> times = ascending + shuffled;
            std::reverse(ascending.begin(), ascending.end());
            times += ascending;
            compare(rowsOf(times));
            if (QTest::currentTestFailed()) {
                qDebug() << zone;
                return;
            }
            instants += times.size();
        }
        qDebug() << zones.size() << "zones," << instants << "rows";
    }

    void usesTheTimeZoneInEffectWhenWriting()
    {
        const TimeZoneScope scope("UTC");
        const QVector<LogValue> rows = rowsOf(QVector<double>{1.5});
        compare(rows);
        qputenv("TZ", easternEurope);
        compare(rows);
    }

    void writesTitlesAsQTextStreamDoes_data()
    {
        QTest::addColumn<QByteArray>("codec");
        for (const char *codec :
             {"UTF-8", "ISO-8859-1", "windows-1251", "Shift_JIS", "ISO-2022-JP", "IBM866"}) {
            QTest::newRow(codec) << QByteArray(codec);
        }
    }

    void writesTitlesAsQTextStreamDoes()
    {
        QFETCH(QByteArray, codec);
        QTextCodec *const before = QTextCodec::codecForLocale();
        QTextCodec *const testedCodec = QTextCodec::codecForName(codec);
        QVERIFY(testedCodec != nullptr);
        QTextCodec::setCodecForLocale(testedCodec);
        // The last two titles are longer than the buffer of a QTextStream, and surrogate pairs
        // cross the end of each buffer.
        const QString longTitle = text("\U0001F32B").repeated(40000);
        compare(rowsOf(QVector<double>(2000, 1234.5)),
                texts("Время|時刻|NO2 (µg/m³)|\U0001F32B, \"a\"\n")
                    + QStringList{longTitle + text("x"), longTitle});
        QTextCodec::setCodecForLocale(before);
    }

private:
    void compare(const QVector<LogValue> &rows, const QStringList &titles = texts("a"))
    {
        const QString path = m_dir.filePath(text("a.csv"));
        const QString referencePath = m_dir.filePath(text("reference.csv"));
        QString error;
        QVERIFY(saveToCsv(path, titles, rows, error));
        QVERIFY(saveWithTextStream(referencePath, titles, rows));
        const QByteArray written = FileIo::contents(path);
        const QByteArray expected = FileIo::contents(referencePath);
        QVERIFY(expected.size() > rows.size());
        if (written != expected) {
            QCOMPARE(written.split('\n'), expected.split('\n'));
        }
    }

    QTemporaryDir m_dir;
};

KV_TEST_CORE_MAIN(TestUtilsCsv)
#include "tst_utilscsv.moc"
