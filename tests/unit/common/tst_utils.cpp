// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/utils.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"

#include <QtCore/QTextCodec>
#include <QtCore/QTimeZone>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <limits>

namespace {

QDateTime utc(const char *isoText)
{
    QDateTime time = QDateTime::fromString(QLatin1String(isoText), Qt::ISODate);
    time.setTimeSpec(Qt::UTC);
    return time;
}

/// The text of the system for an error, in the language of the locale.
QString systemText(int errorNumber)
{
    return QString::fromLocal8Bit(std::strerror(errorNumber));
}

QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

/// The checksum bit by bit, as the definition has it.
int crcBitByBit(const QByteArray &bytes)
{
    unsigned value = 0;
    for (const char byte : bytes) {
        value ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            const bool carry = (value & 0x80U) != 0;
            value = (value << 1) & 0xFFU;
            if (carry) {
                value ^= 0x31U;
            }
        }
    }
    return static_cast<int>(value);
}

} // namespace

class TestUtils : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir.reset(new QTemporaryDir);
        QVERIFY(m_dir->isValid());
    }

    void writesTitlesAndRows()
    {
        const TimeZoneScope zone("UTC");
        const QStringList titles{QStringLiteral("Timestamp"), QStringLiteral("NO2"),
                                 QStringLiteral("T")};
        const QByteArray csv = csvOf(titles,
                                     {{{1.5, -2.0}, utc("2023-01-02T03:04:05")},
                                      {{0.0, 1013.25}, utc("2023-01-02T03:05:05")}});
        QCOMPARE(csv,
                 QByteArray("Timestamp,NO2,T\n"
                            "2023-01-02T03:04:05,1.5,-2\n"
                            "2023-01-02T03:05:05,0,1013.25\n"));
    }

    void writesOnlyTitlesWithoutRows_data()
    {
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<QByteArray>("csv");
        QTest::addRow("two titles")
            << QStringList{QStringLiteral("a"), QStringLiteral("b")} << QByteArray("a,b\n");
        QTest::addRow("one title") << QStringList{QStringLiteral("a")} << QByteArray("a\n");
        QTest::addRow("no titles") << QStringList() << QByteArray("\n");
    }

    void writesOnlyTitlesWithoutRows()
    {
        QFETCH(QStringList, titles);
        QFETCH(QByteArray, csv);
        QCOMPARE(csvOf(titles, {}), csv);
    }

    void endsARowWithoutNumbersInAComma()
    {
        const TimeZoneScope zone("UTC");
        QCOMPARE(csvOf({QStringLiteral("a")}, {{{}, utc("2023-01-02T03:04:05")}}),
                 QByteArray("a\n2023-01-02T03:04:05,\n"));
    }

    void keepsTheOrderOfTheRows()
    {
        const TimeZoneScope zone("UTC");
        QCOMPARE(
            csvOf({}, {{{1.0}, utc("2023-02-01T00:00:00")}, {{2.0}, utc("2023-01-01T00:00:00")}}),
            QByteArray("\n2023-02-01T00:00:00,1\n2023-01-01T00:00:00,2\n"));
    }

    void replacesAnExistingFile()
    {
        QVERIFY(writeFile(path("a.csv"), QByteArray(1000, 'x')));
        QCOMPARE(csvOf({QStringLiteral("a")}, {}), QByteArray("a\n"));
    }

    void quotesNothing()
    {
        QCOMPARE(csvOf({QStringLiteral("a,b"), QStringLiteral("\"c\"")}, {}),
                 QByteArray("a,b,\"c\"\n"));
    }

    void writesSixSignificantDigits_data()
    {
        QTest::addColumn<double>("number");
        QTest::addColumn<QByteArray>("text");
        QTest::addRow("large") << 1234567.0 << QByteArray("1.23457e+06");
        QTest::addRow("six digits") << 123456.0 << QByteArray("123456");
        QTest::addRow("rounded") << 3.14159265 << QByteArray("3.14159");
        QTest::addRow("whole") << 20.0 << QByteArray("20");
        QTest::addRow("small") << 0.0000123456789 << QByteArray("1.23457e-05");
        QTest::addRow("negative") << -0.5 << QByteArray("-0.5");
        QTest::addRow("nan") << std::numeric_limits<double>::quiet_NaN() << QByteArray("nan");
        QTest::addRow("infinite") << std::numeric_limits<double>::infinity() << QByteArray("inf");
    }

    void writesSixSignificantDigits()
    {
        QFETCH(double, number);
        QFETCH(QByteArray, text);
        const TimeZoneScope zone("UTC");
        QCOMPARE(csvOf({}, {{{number}, utc("2023-01-02T03:04:05")}}),
                 "\n2023-01-02T03:04:05," + text + '\n');
    }

    void writesNumbersAlikeUnderADecimalComma()
    {
        const TimeZoneScope zone("UTC");
        const QLocale before;
        const QByteArray numericBefore(setlocale(LC_NUMERIC, nullptr));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        // Where the system has no such locale the call changes nothing, and Qt's own remains to be
        // tried.
        setlocale(LC_NUMERIC, "de_DE.UTF-8");
        const QByteArray csv =
            csvOf({QStringLiteral("a")}, {{{0.5, 1234.5}, utc("2023-01-02T03:04:05")}});
        setlocale(LC_NUMERIC, numericBefore.constData());
        QLocale::setDefault(before);
        QCOMPARE(csv, QByteArray("a\n2023-01-02T03:04:05,0.5,1234.5\n"));
    }

    void writesTheLocalTime_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QDateTime>("time");
        QTest::addColumn<QByteArray>("text");
        QTest::addRow("UTC") << QByteArray("UTC") << utc("2023-01-02T03:04:05")
                             << QByteArray("2023-01-02T03:04:05");
        QTest::addRow("quarter hours") << QByteArray("Asia/Kathmandu") << utc("2023-01-02T20:04:05")
                                       << QByteArray("2023-01-03T01:49:05");
        QTest::addRow("west") << QByteArray("America/New_York") << utc("2023-01-02T03:04:05")
                              << QByteArray("2023-01-01T22:04:05");
        QTest::addRow("before the clocks go forward")
            << QByteArray("Europe/Helsinki") << utc("2023-03-26T00:59:59")
            << QByteArray("2023-03-26T02:59:59");
        QTest::addRow("after the clocks went forward")
            << QByteArray("Europe/Helsinki") << utc("2023-03-26T01:00:00")
            << QByteArray("2023-03-26T04:00:00");
        QTest::addRow("before the clocks go back")
            << QByteArray("Europe/Helsinki") << utc("2023-10-29T00:30:00")
            << QByteArray("2023-10-29T03:30:00");
        QTest::addRow("the same hour again")
            << QByteArray("Europe/Helsinki") << utc("2023-10-29T01:30:00")
            << QByteArray("2023-10-29T03:30:00");
        QTest::addRow("another zone's time")
            << QByteArray("Europe/Helsinki")
            << QDateTime(QDate(2023, 7, 1), QTime(12, 0), QTimeZone("Asia/Kathmandu"))
            << QByteArray("2023-07-01T09:15:00");
        QTest::addRow("offset") << QByteArray(
            "UTC") << QDateTime(QDate(2023, 7, 1), QTime(12, 0), Qt::OffsetFromUTC, 3600)
                                << QByteArray("2023-07-01T11:00:00");
        QTest::addRow("no milliseconds")
            << QByteArray("UTC") << utc("2023-01-02T03:04:05").addMSecs(999)
            << QByteArray("2023-01-02T03:04:05");
    }

    void writesTheLocalTime()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QDateTime, time);
        QFETCH(QByteArray, text);
        const TimeZoneScope scope(zone.constData());
        QCOMPARE(csvOf({}, {{{1.0}, time}}), '\n' + text + ",1\n");
    }

    void leavesTheTimeEmptyWhenInvalid()
    {
        QCOMPARE(csvOf({}, {{{1.0}, QDateTime()}}), QByteArray("\n,1\n"));
    }

    void writesTextInTheCodecOfTheLocale_data()
    {
        QTest::addColumn<QByteArray>("codec");
        QTest::addColumn<QByteArray>("csv");
        QTest::addRow("UTF-8") << QByteArray("UTF-8") << QByteArray("NO2 (\xC2\xB5g/m\xC2\xB3)\n");
        QTest::addRow("Latin-1") << QByteArray("ISO-8859-1") << QByteArray("NO2 (\xB5g/m\xB3)\n");
    }

    void writesTextInTheCodecOfTheLocale()
    {
        QFETCH(QByteArray, codec);
        QFETCH(QByteArray, csv);
        QTextCodec *before = QTextCodec::codecForLocale();
        QTextCodec::setCodecForLocale(QTextCodec::codecForName(codec));
        const QByteArray written = csvOf({QStringLiteral(u"NO2 (\u00B5g/m\u00B3)")}, {});
        QTextCodec::setCodecForLocale(before);
        QCOMPARE(written, csv);
    }

    void leavesTheErrorUnchangedOnSuccess()
    {
        QString error = QStringLiteral("before");
        QVERIFY(saveToCsv(path("a.csv"), {}, {}, error));
        QCOMPARE(error, QStringLiteral("before"));
    }

    void doesNotNoticeADiskThatIsFull()
    {
        // More and less than the size of a buffer.
        for (const int rows : {100000, 1}) {
            QString error = QStringLiteral("before");
            QVERIFY(saveToCsv(QStringLiteral("/dev/full"), {QStringLiteral("a")},
                              QVector<LogValue>(rows, LogValue{{1.5}, QDateTime()}), error));
            QCOMPARE(error, QStringLiteral("before"));
        }
    }

    void reportsAFileThatCannotBeOpened_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        QTest::addRow("missing folder") << QStringLiteral("missing/a.csv") << systemText(ENOENT);
        QTest::addRow("folder is a file") << QStringLiteral("file/a.csv") << systemText(ENOTDIR);
        QTest::addRow("a folder itself") << QStringLiteral(".") << systemText(EISDIR);
    }

    void reportsAFileThatCannotBeOpened()
    {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        QVERIFY(writeFile(path("file"), "x"));
        const QString target = m_dir->filePath(name);
        const QString line =
            QStringLiteral("Failed to open file \"%1\" \"%2\"").arg(target, reason);
        QTest::ignoreMessage(QtDebugMsg, line.toLocal8Bit().constData());
        QString error;
        QVERIFY(!saveToCsv(target, {QStringLiteral("a")}, {}, error));
        QCOMPARE(error, reason);
        QVERIFY(!QFileInfo(target).isFile());
    }

    void agreesWithKnownChecksums_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("checksum");
        QTest::addRow("empty") << QByteArray("") << 0;
        QTest::addRow("one NUL") << QByteArray(1, '\0') << 0;
        QTest::addRow("one 1") << QByteArray(1, '\1') << 0x31;
        QTest::addRow("one 2") << QByteArray(1, '\2') << 0x62;
        // The published check value for this polynomial with initial value 0, not reflected.
        QTest::addRow("check value") << QByteArray("123456789") << 0xA2;
    }

    void agreesWithKnownChecksums()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, checksum);
        QCOMPARE(crc8(bytes.constData(), static_cast<unsigned>(bytes.size())), checksum);
        QCOMPARE(crc8(QString::fromLatin1(bytes)), checksum);
    }

    void agreesWithTheDefinitionForEveryPairOfBytes()
    {
        for (int first = 0; first < 256; ++first) {
            for (int second = 0; second < 256; ++second) {
                const char bytes[] = {char(first), char(second)};
                const int checksum = crc8(bytes, 2);
                QVERIFY(checksum == crcBitByBit(QByteArray::fromRawData(bytes, 2)));
                QVERIFY(checksum == crc8(QString::fromLatin1(bytes, 2)));
            }
        }
    }

    void takesTextAndBytesAlike()
    {
        const QByteArray record("2023-01-02T03:04:05 1.25 -3.5 N");
        QCOMPARE(crc8(QString::fromLatin1(record)),
                 crc8(record.constData(), static_cast<unsigned>(record.size())));
        QCOMPARE(crc8(QString()), 0);
        // A character outside Latin-1 becomes a question mark.
        QCOMPARE(crc8(QStringLiteral(u"\u20AC")), crc8(QStringLiteral("?")));
    }

    void takesOnlyTheGivenNumberOfBytes()
    {
        QCOMPARE(crc8("123456789 and more", 9), 0xA2);
        QCOMPARE(crc8("anything", 0), 0);
        QCOMPARE(crc8(nullptr, 0), 0);
    }

    void readsAWholeFile()
    {
        const QString text = QStringLiteral(u"first\r\nsecond \u00B5g/m\u00B3 \u20AC\n");
        QVERIFY(writeFile(path("a.txt"), text.toUtf8()));
        QString contents = QStringLiteral("before");
        QString error = QStringLiteral("before");
        QVERIFY(readTextFile(path("a.txt"), contents, error));
        QCOMPARE(contents, text);
        QCOMPARE(error, QStringLiteral("before"));
    }

    void stopsReadingAtTheFirstNul()
    {
        QVERIFY(writeFile(path("a.txt"), QByteArray("before\0after", 12)));
        QString contents;
        QString error;
        QVERIFY(readTextFile(path("a.txt"), contents, error));
        QCOMPARE(contents, QStringLiteral("before"));
    }

    void callsAFileWithoutTextEmpty_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addRow("no bytes") << QByteArray();
        QTest::addRow("begins with NUL") << QByteArray("\0text", 5);
    }

    void callsAFileWithoutTextEmpty()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(writeFile(path("a.txt"), bytes));
        QString contents = QStringLiteral("before");
        QString error;
        QVERIFY(!readTextFile(path("a.txt"), contents, error));
        QCOMPARE(error, QStringLiteral("File is empty"));
        QVERIFY(contents.isEmpty());
    }

    void reportsAFileThatCannotBeRead()
    {
        QString contents = QStringLiteral("before");
        QString error;
        QVERIFY(!readTextFile(path("missing.txt"), contents, error));
        QCOMPARE(error, systemText(ENOENT));
        QCOMPARE(contents, QStringLiteral("before"));
    }

private:
    QString path(const char *name) const { return m_dir->filePath(QLatin1String(name)); }

    QByteArray csvOf(const QStringList &titles, const QVector<LogValue> &rows)
    {
        QString error;
        return saveToCsv(path("a.csv"), titles, rows, error) ? bytesOf(path("a.csv"))
                                                             : error.toUtf8();
    }

    QScopedPointer<QTemporaryDir> m_dir;
};

KV_TEST_CORE_MAIN(TestUtils)
#include "tst_utils.moc"
