// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the device's log and their checksum. The first byte of the input selects the check,
// the second is the row's number.
#include "common/utils.h"
#include "tests/fuzz/fuzzing.h"
#include "tests/kit/devicereplies.h"

namespace {

// Whether all fields but the time are numbers.
bool isRecord(const QString &record)
{
    const QStringList fields = record.split(QLatin1Char(','));
    return std::all_of(fields.cbegin() + 1, fields.cend(), [](const QString &field) {
        bool ok = false;
        field.toDouble(&ok);
        return ok;
    });
}

// The reply with one of the eight bits of its checksum inverted.
QString withDamagedChecksum(const QString &reply, int bit)
{
    const uint wrong = reply.right(2).toUInt(nullptr, 16) ^ (1U << (bit % 8));
    return reply.chopped(2) + QStringLiteral("%1").arg(wrong, 2, 16, QLatin1Char('0'));
}

void checkArbitraryTitlesReply(const QString &text)
{
    QStringList titles;
    QStringList titlesAgain{latin1("left over")};
    const DataParserResult result = DataParser::parseLogTitles(text, titles);
    FUZZ_ASSERT(DataParser::parseLogTitles(text, titlesAgain) == result);
    if (result == DataParserResult::Matched) {
        const QString record = titles.join(QLatin1Char(','));
        FUZZ_ASSERT(titles == titlesAgain);
        FUZZ_ASSERT(text.contains(logRecordLine(latin1("00000"), record), Qt::CaseInsensitive));
    }
}

void checkArbitraryRowReply(const QString &text, int index)
{
    QDateTime time;
    QVector<double> values;
    QDateTime timeAgain = QDateTime::currentDateTime();
    QVector<double> valuesAgain{1.0, 2.0};
    const DataParserResult result = DataParser::parseLogValue(text, index, time, values);
    FUZZ_ASSERT(DataParser::parseLogValue(text, index, timeAgain, valuesAgain) == result);
    if (result == DataParserResult::Matched) {
        FUZZ_ASSERT(values.size() <= text.count(QLatin1Char(',')));
        FUZZ_ASSERT(values.size() == valuesAgain.size());
        FUZZ_ASSERT(time.timeSpec() == Qt::UTC);
        FUZZ_ASSERT(time.isValid() == timeAgain.isValid());
        FUZZ_ASSERT(!time.isValid() || time == timeAgain);
    }
}

void checkTitles(const QString &record, int bit)
{
    QStringList titles;
    const DataParserResult undamagedResult =
        DataParser::parseLogTitles(logTitlesReply(record), titles);
    FUZZ_ASSERT(undamagedResult == DataParserResult::Matched);
    FUZZ_ASSERT(titles == record.split(QLatin1Char(',')));
    FUZZ_ASSERT(DataParser::parseLogTitles(withDamagedChecksum(logTitlesReply(record), bit), titles)
                == DataParserResult::ChecksumMismatch);
}

void checkRow(const QString &record, int index)
{
    QDateTime time;
    QVector<double> values;
    const QString number = QStringLiteral("%1").arg(index, 5, 10, QLatin1Char('0'));
    const QString reply = logRowReply(index, number, record);
    const DataParserResult undamagedResult = DataParser::parseLogValue(reply, index, time, values);
    if (!isRecord(record)) {
        FUZZ_ASSERT(undamagedResult == DataParserResult::NoMatch);
        FUZZ_ASSERT(values.isEmpty());
        return;
    }
    FUZZ_ASSERT(values.size() == record.count(QLatin1Char(',')));
    FUZZ_ASSERT(time.timeSpec() == Qt::UTC);
    FUZZ_ASSERT(undamagedResult == DataParserResult::Matched);
    FUZZ_ASSERT(DataParser::parseLogValue(withDamagedChecksum(reply, index), index, time, values)
                == DataParserResult::ChecksumMismatch);
    // A record may contain another reply.
    FUZZ_ASSERT(record.contains(latin1("log"), Qt::CaseInsensitive)
                || DataParser::parseLogValue(reply, index + 1, time, values)
                    == DataParserResult::NoMatch);
}

void checkChecksum(const QByteArray &bytes)
{
    const int checksum = crc8(bytes.constData(), static_cast<unsigned>(bytes.size()));
    const auto expected = static_cast<unsigned>(checksum);
    const QString text = QString::fromLatin1(bytes.constData(), bytes.size());
    FUZZ_ASSERT(crc8(text) == checksum);
    FUZZ_ASSERT(checksum >= 0 && checksum <= 0xff);
    FUZZ_ASSERT(checksumOf(text).toInt(nullptr, 16) == checksum);
    FUZZ_ASSERT(DataParser::crcMatches(text, expected));
    FUZZ_ASSERT(!DataParser::crcMatches(text, expected + 0x100U));
    const QByteArray whole = bytes + static_cast<char>(checksum);
    FUZZ_ASSERT(crc8(whole.constData(), static_cast<unsigned>(whole.size())) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2) {
        return 0;
    }
    const int number = data[1];
    const QByteArray bytes = Fuzzing::bytesOf(data + 2, size - 2);
    const QString text = Fuzzing::asReceived(bytes);
    switch (data[0] % 5) {
    case 0:
        checkArbitraryTitlesReply(text);
        break;
    case 1:
        checkArbitraryRowReply(text, number);
        break;
    case 2:
        checkTitles(text, number);
        break;
    case 3:
        checkRow(text, number);
        break;
    default:
        checkChecksum(bytes);
        break;
    }
    return 0;
}
