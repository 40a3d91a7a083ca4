// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/utils.h"
#include "tests/kit/fileio.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"

#include <QtCore/QTextCodec>
#include <cerrno>
#include <clocale>
#include <cstring>
#include <limits>

namespace {

const QDateTime noon(QDate(2023, 1, 2), QTime(12, 0, 0, 999), Qt::UTC);

/// The error message of the system, in the language of the locale.
QString systemErrorMessage(int errorNumber)
{
    return QString::fromLocal8Bit(std::strerror(errorNumber));
}

/// The remainder of the division by the polynomial, computed bit by bit as in the definition.
int crcBitByBit(const QByteArray &bytes)
{
    unsigned value = 0;
    for (const char byte : bytes) {
        value ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            value <<= 1;
            value ^= (value & 0x100U) != 0 ? 0x131U : 0U;
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

    void writesTitlesAndRowsInOrder()
    {
        QCOMPARE(csvOf(texts("Timestamp|NO2|T"),
                       {{{1.5, -2.0}, noon.addDays(1)}, {{0.0, 1013.25}, noon}}),
                 QByteArray("Timestamp,NO2,T\n"
                            "2023-01-03T12:00:00,1.5,-2\n"
                            "2023-01-02T12:00:00,0,1013.25\n"));
    }

    void writesOnlyTitlesIfThereAreNoRows()
    {
        QCOMPARE(csvOf(texts("a|b"), {}), QByteArray("a,b\n"));
        QCOMPARE(csvOf(texts("a"), {}), QByteArray("a\n"));
        QCOMPARE(csvOf({}, {}), QByteArray("\n"));
    }

    void rowWithoutNumbersEndsWithAComma()
    {
        QCOMPARE(csvOf(texts("a"), {{{}, noon}}), QByteArray("a\n2023-01-02T12:00:00,\n"));
    }

    void writesInvalidTimeAsEmptyField()
    {
        QCOMPARE(csvOf(texts("a"), {{{1.0}, QDateTime()}}), QByteArray("a\n,1\n"));
    }

    void replacesAnExistingFile()
    {
        QVERIFY(FileIo::write(path("a.csv"), QByteArray(1000, 'x')));
        QCOMPARE(csvOf(texts("a"), {}), QByteArray("a\n"));
    }

    void quotesNothing() { QCOMPARE(csvOf(texts("a,b|\"c\""), {}), QByteArray("a,b,\"c\"\n")); }

    void writesSixSignificantDigits()
    {
        using Limits = std::numeric_limits<double>;
        QCOMPARE(csvOf(texts("a"),
                       {{{1234567.0, 123456.0, 3.14159265, 20.0, 0.0000123456789, -0.5,
                          Limits::quiet_NaN(), Limits::infinity()},
                         QDateTime()}}),
                 QByteArray("a\n,1.23457e+06,123456,3.14159,20,1.23457e-05,-0.5,nan,inf\n"));
    }

    void ignoresTheDecimalCommaOfTheLocale()
    {
        const QLocale before;
        const QByteArray numericBefore(setlocale(LC_NUMERIC, nullptr));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        // If the system lacks this locale, the call has no effect and only Qt's default locale is
        // tested.
        setlocale(LC_NUMERIC, "de_DE.UTF-8");
        const QByteArray csv = csvOf(texts("a"), {{{0.5, 1234.5}, noon}});
        setlocale(LC_NUMERIC, numericBefore.constData());
        QLocale::setDefault(before);
        QCOMPARE(csv, QByteArray("a\n2023-01-02T12:00:00,0.5,1234.5\n"));
    }

    void writesLocalTimes()
    {
        const TimeZoneScope zone(easternEurope);
        const QDateTime summerTimeStart(QDate(2023, 3, 26), QTime(1, 0), Qt::UTC);
        const QDateTime summerTimeEnd(QDate(2023, 10, 29), QTime(1, 0), Qt::UTC);
        QVector<LogValue> rows;
        for (const QDateTime &time :
             {summerTimeStart.addSecs(-1), summerTimeStart, summerTimeEnd.addSecs(-1800),
              summerTimeEnd.addSecs(1800),
              QDateTime(QDate(2023, 7, 1), QTime(12, 0), Qt::OffsetFromUTC, 20700)}) {
            rows.append({{1.0}, time});
        }
        QCOMPARE(csvOf(texts("a"), rows),
                 QByteArray("a\n"
                            "2023-03-26T02:59:59,1\n"
                            "2023-03-26T04:00:00,1\n"
                            "2023-10-29T03:30:00,1\n"
                            "2023-10-29T03:30:00,1\n"
                            "2023-07-01T09:15:00,1\n"));
    }

    void writesTitlesInTheEncodingOfTheLocale()
    {
        QTextCodec *const before = QTextCodec::codecForLocale();
        const QStringList title{text("NO2 (µg/m³)")};
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
        const QByteArray utf8 = csvOf(title, {});
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        const QByteArray latin1 = csvOf(title, {});
        QTextCodec::setCodecForLocale(before);
        QCOMPARE(utf8, QByteArray("NO2 (\xC2\xB5g/m\xC2\xB3)\n"));
        QCOMPARE(latin1, QByteArray("NO2 (\xB5g/m\xB3)\n"));
    }

    void doesNotDetectAFullDisk()
    {
        // More and less data than fit into the buffer of the file.
        for (const int rows : {100000, 1}) {
            QString error = text("before");
            QVERIFY(saveToCsv(text("/dev/full"), texts("a"),
                              QVector<LogValue>(rows, LogValue{{1.5}, QDateTime()}), error));
            QCOMPARE(error, text("before"));
        }
    }

    void reportsAFileThatCannotBeOpened_data()
    {
        QTest::addColumn<int>("errorNumber");
        QTest::addRow("missing/a.csv") << ENOENT;
        QTest::addRow("file/a.csv") << ENOTDIR;
        QTest::addRow(".") << EISDIR;
    }

    void reportsAFileThatCannotBeOpened()
    {
        QFETCH(int, errorNumber);
        QVERIFY(FileIo::write(path("file"), "x"));
        const QString target = path(QTest::currentDataTag());
        const QString reason = systemErrorMessage(errorNumber);
        const QString line =
            QStringLiteral("Failed to open file \"%1\" \"%2\"").arg(target, reason);
        QTest::ignoreMessage(QtDebugMsg, line.toLocal8Bit().constData());
        QString error;
        QVERIFY(!saveToCsv(target, texts("a"), {}, error));
        QCOMPARE(error, reason);
        QVERIFY(!QFileInfo(target).isFile());
    }

    void crc8MatchesKnownChecksums_data()
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

    void crc8MatchesKnownChecksums()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, checksum);
        QCOMPARE(crc8(bytes.constData(), static_cast<unsigned>(bytes.size())), checksum);
        QCOMPARE(crc8(QString::fromLatin1(bytes)), checksum);
    }

    void crc8MatchesTheDefinitionForEveryPairOfBytes()
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

    void crc8TreatsCharactersOutsideLatin1AsQuestionMarks()
    {
        QCOMPARE(crc8(text("€")), crc8(text("?")));
    }

    void crc8ReadsOnlyTheGivenNumberOfBytes()
    {
        QCOMPARE(crc8("123456789 and more", 9), 0xA2);
        QCOMPARE(crc8("anything", 0), 0);
        QCOMPARE(crc8(nullptr, 0), 0);
    }

    void readsATextFile_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("contents");
        const char *const whole = "first\r\nsecond µg/m³ €\n";
        QTest::addRow("UTF-8") << QByteArray(whole) << text(whole);
        QTest::addRow("up to NUL") << QByteArray("before\0after", 12) << text("before");
        QTest::addRow("empty file") << QByteArray() << QString();
        QTest::addRow("begins with NUL") << QByteArray("\0text", 5) << QString();
    }

    void readsATextFile()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(FileIo::write(path("a.txt"), bytes));
        QString contents = text("before");
        QString error = text("before");
        const bool read = readTextFile(path("a.txt"), contents, error);
        QTEST(contents, "contents");
        // A file without text counts as a failure.
        QCOMPARE(read, !contents.isEmpty());
        QCOMPARE(error, read ? text("before") : text("File is empty"));
    }

    void reportsAFileThatCannotBeRead()
    {
        QString contents = text("before");
        QString error;
        QVERIFY(!readTextFile(path("missing.txt"), contents, error));
        QCOMPARE(error, systemErrorMessage(ENOENT));
        QCOMPARE(contents, text("before"));
    }

private:
    QString path(const char *name) const { return m_dir->filePath(text(name)); }

    /// The contents of the file that saveToCsv() writes; its error message if it fails.
    QByteArray csvOf(const QStringList &titles, const QVector<LogValue> &rows) const
    {
        QString error = text("before");
        const bool saved = saveToCsv(path("a.csv"), titles, rows, error);
        return saved && error == text("before") ? FileIo::contents(path("a.csv")) : error.toUtf8();
    }

    const TimeZoneScope m_zone{"UTC"};
    QScopedPointer<QTemporaryDir> m_dir;
};

KV_TEST_CORE_MAIN(TestUtils)
#include "tst_utils.moc"
