// SPDX-License-Identifier: GPL-3.0-or-later
// The file of the CSV writer must equal the one that plain Qt calls write, byte by byte.
#include "common/utils.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"

#include <QtCore/QTextCodec>
#include <QtCore/QTextStream>
#include <QtCore/QTimeZone>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>
#include <utility>

namespace {

/// Writes everything with one text stream in its default settings.
bool savePlainly(const QString &fileName, const QStringList &titles, const QVector<LogValue> &rows)
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

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
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

/// An instant with each Qt::TimeSpec.
QVector<QDateTime> formsOf(qint64 ms)
{
    return {QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC),
            QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc()),
            QDateTime::fromMSecsSinceEpoch(ms, QTimeZone("Asia/Kathmandu")),
            QDateTime::fromMSecsSinceEpoch(ms, Qt::OffsetFromUTC, -12600),
            QDateTime::fromMSecsSinceEpoch(ms, Qt::LocalTime)};
}

using Random = std::mt19937_64; // the same numbers in each run

/// Rules with odd minutes and seconds, and the limits of an offset.
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

// Four hours before and after a change: each full and half hour of the day and of the change, and
// the seconds beside them.
const QVector<int> secondsAroundChange = [] {
    QVector<int> seconds;
    for (int half = -8; half <= 8; ++half) {
        seconds << half * 1800 - 1 << half * 1800 << half * 1800 + 1 << half * 1800 + 613;
    }
    return seconds;
}();

/// The offset in seconds and whether daylight-saving time is in force.
std::pair<long, int> localRule(qint64 second)
{
    const auto time = static_cast<std::time_t>(second);
    std::tm local{};
    localtime_r(&time, &local);
    return {local.tm_gmtoff, local.tm_isdst};
}

/// The first change of each kind in the zone that is set, in seconds since the epoch, and one day
/// without a change. Changes of a kind have the same offsets and flags before and after, and the
/// same place within an hour.
QVector<qint64> distinctChanges()
{
    constexpr qint64 end = 2145916800; // 2038-01-01
    constexpr qint64 step = 5 * 86400;
    QMap<QVector<qint64>, qint64> changes;
    for (qint64 from = 86400; from < end; from += step) {
        qint64 low = from;
        qint64 high = from + step;
        const auto before = localRule(low);
        const auto after = localRule(high);
        if (before == after) {
            continue;
        }
        while (high - low > 1) {
            const qint64 middle = (low + high) / 2;
            (localRule(middle) == before ? low : high) = middle;
        }
        const QVector<qint64> kind{before.first, before.second, after.first, after.second,
                                   high % 3600};
        if (!changes.contains(kind)) {
            changes.insert(kind, high);
        }
    }
    return QVector<qint64>{1600000000} + changes.values().toVector();
}

} // namespace

class TestUtilsCsv : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        QVERIFY(m_dir->isValid());
    }

    void writesNumbersAsATextStreamDoes_data()
    {
        QTest::addColumn<QVector<double>>("numbers");
        using Limits = std::numeric_limits<double>;
        QTest::addRow("corners") << QVector<double>{0.0,
                                                    1.0,
                                                    Limits::infinity(),
                                                    Limits::quiet_NaN(),
                                                    Limits::denorm_min(),
                                                    0.0001,
                                                    0.00001,
                                                    Limits::min(),
                                                    Limits::max(),
                                                    Limits::epsilon(),
                                                    99999.95,
                                                    999999.5,
                                                    999999.0,
                                                    1000000.0,
                                                    0.0009765625,
                                                    123456.5,
                                                    123455.5,
                                                    1234565.0,
                                                    1234575.0,
                                                    1e21,
                                                    0.5,
                                                    1013.25,
                                                    9.5367431640625e-7,
                                                    33816.25,
                                                    999999.49999999988};

        Random random(1);
        QVector<double> numbers;
        for (int count = 0; count < 20000; ++count) {
            const quint64 bits = random();
            double number = 0.0;
            std::memcpy(&number, &bits, sizeof number);
            numbers.append(number);
        }
        QTest::addRow("any bits") << numbers;

        // Half of the last digit: each exponent that has such numbers, and some more.
        numbers.clear();
        for (int exponent = -14; exponent <= 20; ++exponent) {
            for (int count = 0; count < 500; ++count) {
                const auto sixDigits = static_cast<double>(100000 + random() % 900000);
                numbers.append((sixDigits + 0.5) * std::pow(10.0, exponent));
            }
        }
        QTest::addRow("halves") << numbers;

        numbers.clear();
        for (int count = 0; count < 20000; ++count) {
            numbers.append(static_cast<double>(random() % 20000000) / (1U << (random() % 24)));
        }
        QTest::addRow("binary fractions") << numbers;

        numbers.clear();
        for (int count = 0; count < 20000; ++count) {
            numbers.append(static_cast<double>(random() % 20000000) / std::pow(10, random() % 9));
        }
        QTest::addRow("decimal fractions") << numbers;
    }

    void writesNumbersAsATextStreamDoes()
    {
        QFETCH(QVector<double>, numbers);
        compare({QStringLiteral("a")}, rowsOf(numbers));
    }

    void writesUnusualTimesAsQtDoes_data()
    {
        QTest::addColumn<QByteArray>("zone");
        for (const char *zone : {"UTC", "America/St_Johns", "Africa/Monrovia", easternEurope, ""}) {
            QTest::addRow("%s", zone) << QByteArray(zone);
        }
    }

    void writesUnusualTimesAsQtDoes()
    {
        QFETCH(QByteArray, zone);
        const TimeZoneScope scope(zone.constData());

        QVector<QDateTime> times{QDateTime(), QDateTime(QDate(2023, 2, 30), QTime(1, 2)),
                                 QDateTime(QDate(2023, 3, 26), QTime(3, 30)),
                                 QDateTime(QDate(2023, 10, 29), QTime(3, 30))};
        // Years below 1000, before 0 and beyond 9999, the epoch, the last instant of all, the end
        // of what a 32-bit time_t represents.
        for (const qint64 ms :
             QVector<qint64>{-62135596800000, -40000000000000, -99999999999999, 253402300799999,
                             253402300800000, 253402214400000, 9223372036854775807, -3600001, -1, 0,
                             999, 2147483647000, 2147483648000}) {
            times += formsOf(ms);
        }
        Random random(2);
        for (int count = 0; count < 500; ++count) {
            times += formsOf(static_cast<qint64>(random() % 2500000000000));
        }
        compare({QStringLiteral("a")}, rowsOf(times));
    }

    // Around each change of the clocks: in ascending order, newest first and shuffled, since the
    // writer keeps the offset of an hour from one row to the next.
    void writesTheTimesOfEveryZoneAsQtDoes()
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
            for (const qint64 change : distinctChanges()) {
                for (const int second : secondsAroundChange) {
                    ascending.append(QDateTime::fromSecsSinceEpoch(change + second, Qt::UTC));
                }
            }
            QVector<QDateTime> shuffled = ascending;
            std::shuffle(shuffled.begin(), shuffled.end(), random);
            QVector<QDateTime> times = ascending + shuffled;
            std::reverse(ascending.begin(), ascending.end());
            times += ascending;
            compare({QStringLiteral("a")}, rowsOf(times));
            if (QTest::currentTestFailed()) {
                qDebug() << zone;
                return;
            }
            instants += times.size();
        }
        qDebug() << zones.size() << "zones," << instants << "rows";
    }

    void usesTheZoneAtTheTimeOfWriting()
    {
        const TimeZoneScope scope("UTC");
        const QVector<LogValue> rows = rowsOf(QVector<double>{1.5});
        compare({QStringLiteral("a")}, rows);
        qputenv("TZ", easternEurope);
        compare({QStringLiteral("a")}, rows);
    }

    void writesTextsAsATextStreamDoes_data()
    {
        QTest::addColumn<QByteArray>("codec");
        for (const char *codec :
             {"UTF-8", "ISO-8859-1", "windows-1251", "Shift_JIS", "ISO-2022-JP", "IBM866"}) {
            QTest::addRow("%s", codec) << QByteArray(codec);
        }
    }

    void writesTextsAsATextStreamDoes()
    {
        QFETCH(QByteArray, codec);
        QTextCodec *before = QTextCodec::codecForLocale();
        QTextCodec *const tried = QTextCodec::codecForName(codec);
        QVERIFY(tried != nullptr);
        QTextCodec::setCodecForLocale(tried);
        const QStringList titles{
            QStringLiteral(u"\u0412\u0440\u0435\u043C\u044F"), QStringLiteral(u"\u6642\u523B"),
            QStringLiteral(u"NO2 (\u00B5g/m\u00B3)"), QStringLiteral(u"\U0001F32B, \"a\"\n"),
            // Longer than the buffer of a text stream, with surrogate pairs at every limit of a
            // buffer.
            QString(QStringLiteral(u"\U0001F32B")).repeated(40000) + QLatin1Char('x'),
            QString(QStringLiteral(u"\U0001F32B")).repeated(40000)};
        compare(titles, rowsOf(QVector<double>(2000, 1234.5)));
        QTextCodec::setCodecForLocale(before);
    }

private:
    void compare(const QStringList &titles, const QVector<LogValue> &rows)
    {
        QString error;
        QVERIFY(saveToCsv(m_dir->filePath(QStringLiteral("a.csv")), titles, rows, error));
        QVERIFY(savePlainly(m_dir->filePath(QStringLiteral("plain.csv")), titles, rows));
        const QByteArray written = bytesOf(m_dir->filePath(QStringLiteral("a.csv")));
        const QByteArray expected = bytesOf(m_dir->filePath(QStringLiteral("plain.csv")));
        QVERIFY(expected.size() > rows.size());
        if (written != expected) {
            const QList<QByteArray> lines = written.split('\n');
            const QList<QByteArray> expectedLines = expected.split('\n');
            for (int line = 0; line < qMin(lines.size(), expectedLines.size()); ++line) {
                QCOMPARE(lines.at(line), expectedLines.at(line));
            }
            QCOMPARE(written.size(), expected.size());
        }
    }

    QScopedPointer<QTemporaryDir> m_dir;
};

KV_TEST_CORE_MAIN(TestUtilsCsv)
#include "tst_utilscsv.moc"
