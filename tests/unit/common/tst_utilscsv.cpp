// SPDX-License-Identifier: GPL-3.0-or-later
// The CSV writer beside the plain way of writing the same file: byte for byte alike.
#include "common/utils.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"

#include <QtCore/QTextCodec>
#include <QtCore/QTextStream>
#include <QtCore/QTimeZone>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace {

/// The file as it is specified: everything through one text stream with its default settings.
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

/// A moment in each form that a time can have.
QVector<QDateTime> formsOf(qint64 ms)
{
    return {QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC),
            QDateTime::fromMSecsSinceEpoch(ms, QTimeZone::utc()),
            QDateTime::fromMSecsSinceEpoch(ms, QTimeZone("Asia/Kathmandu")),
            QDateTime::fromMSecsSinceEpoch(ms, Qt::OffsetFromUTC, -12600),
            QDateTime::fromMSecsSinceEpoch(ms, Qt::LocalTime)};
}

using Random = std::mt19937_64; // the same numbers in each run

} // namespace

class TestUtilsCsv : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void writesNumbersAsATextStreamDoes_data();
    void writesNumbersAsATextStreamDoes();
    void writesTimesAsQtDoes_data();
    void writesTimesAsQtDoes();
    void asksForTheZoneAtEachFile();
    void writesTextsAsATextStreamDoes_data();
    void writesTextsAsATextStreamDoes();

private:
    void compare(const QStringList &titles, const QVector<LogValue> &rows);

    QScopedPointer<QTemporaryDir> m_dir;
};

void TestUtilsCsv::init()
{
    m_dir.reset(new QTemporaryDir);
    QVERIFY(m_dir->isValid());
}

void TestUtilsCsv::compare(const QStringList &titles, const QVector<LogValue> &rows)
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

void TestUtilsCsv::writesNumbersAsATextStreamDoes_data()
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

void TestUtilsCsv::writesNumbersAsATextStreamDoes()
{
    QFETCH(QVector<double>, numbers);
    compare({QStringLiteral("a")}, rowsOf(numbers));
}

void TestUtilsCsv::writesTimesAsQtDoes_data()
{
    QTest::addColumn<QByteArray>("zone");
    for (const char *zone :
         {"UTC", "Europe/Helsinki", "Europe/Dublin", "America/St_Johns", "America/New_York",
          "Australia/Lord_Howe", "Asia/Kathmandu", "Pacific/Apia", "Africa/Monrovia", easternEurope,
          "XYZ-24:59:59", ""}) {
        QTest::addRow("%s", zone) << QByteArray(zone);
    }
}

void TestUtilsCsv::writesTimesAsQtDoes()
{
    QFETCH(QByteArray, zone);
    const TimeZoneScope scope(zone.constData());

    QVector<QDateTime> times{QDateTime(), QDateTime(QDate(2023, 2, 30), QTime(1, 2)),
                             QDateTime(QDate(2023, 3, 26), QTime(3, 30)),
                             QDateTime(QDate(2023, 10, 29), QTime(3, 30))};
    const auto add = [&times](qint64 ms) { times += formsOf(ms); };
    // Years below 1000, before 0 and beyond 9999, the first second, the last millisecond of all,
    // and the edges of the rules for the zone.
    for (const qint64 ms : QVector<qint64>{-62135596800000,
                                           -40000000000000,
                                           -99999999999999,
                                           253402300800000,
                                           8640000000000000,
                                           253402300799999,
                                           253402127999999,
                                           253402128000000,
                                           9223372036854775807,
                                           -1,
                                           0,
                                           999,
                                           43200000,
                                           86400000,
                                           172799999,
                                           172800000,
                                           2145916798999,
                                           2145916799000,
                                           2147483647000,
                                           2147483648000}) {
        add(ms);
    }
    // The changes of the clock in places around the world, this one's among them, to the second.
    for (const char *place : {"Europe/Helsinki", "America/St_Johns", "Australia/Lord_Howe",
                              "Pacific/Apia", "Africa/Monrovia", "America/New_York"}) {
        const QTimeZone::OffsetDataList changes =
            QTimeZone(place).transitions(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC),
                                         QDateTime::fromMSecsSinceEpoch(2200000000000, Qt::UTC));
        QVERIFY(!changes.isEmpty());
        for (const QTimeZone::OffsetData &change : changes) {
            for (const int seconds : {-3600, -1, 0, 1, 1800, 3599, 3600}) {
                times.append(change.atUtc.addSecs(seconds));
            }
        }
    }
    Random random(2);
    for (int count = 0; count < 2000; ++count) {
        add(static_cast<qint64>(random() % 2500000000000));
    }
    compare({QStringLiteral("a")}, rowsOf(times));
}

void TestUtilsCsv::asksForTheZoneAtEachFile()
{
    const TimeZoneScope scope("UTC");
    const QVector<LogValue> rows = rowsOf(QVector<double>{1.5});
    compare({QStringLiteral("a")}, rows);
    qputenv("TZ", easternEurope);
    compare({QStringLiteral("a")}, rows);
}

void TestUtilsCsv::writesTextsAsATextStreamDoes_data()
{
    QTest::addColumn<QByteArray>("codec");
    for (const char *codec :
         {"UTF-8", "ISO-8859-1", "windows-1251", "Shift_JIS", "ISO-2022-JP", "IBM866"}) {
        QTest::addRow("%s", codec) << QByteArray(codec);
    }
}

void TestUtilsCsv::writesTextsAsATextStreamDoes()
{
    QFETCH(QByteArray, codec);
    QTextCodec *before = QTextCodec::codecForLocale();
    QTextCodec *const tried = QTextCodec::codecForName(codec);
    QVERIFY(tried != nullptr);
    QTextCodec::setCodecForLocale(tried);
    const QStringList titles{
        QStringLiteral(u"\u0412\u0440\u0435\u043C\u044F"), QStringLiteral(u"\u6642\u523B"),
        QStringLiteral(u"NO2 (\u00B5g/m\u00B3)"), QStringLiteral(u"\U0001F32B, \"a\"\n"),
        // Longer than what a text stream hands over at once, with pairs across every border.
        QString(QStringLiteral(u"\U0001F32B")).repeated(40000) + QLatin1Char('x'),
        QString(QStringLiteral(u"\U0001F32B")).repeated(40000)};
    compare(titles, rowsOf(QVector<double>(2000, 1234.5)));
    QTextCodec::setCodecForLocale(before);
}

KV_TEST_CORE_MAIN(TestUtilsCsv)
#include "tst_utilscsv.moc"
