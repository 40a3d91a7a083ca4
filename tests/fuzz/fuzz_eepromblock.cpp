// SPDX-License-Identifier: GPL-3.0-or-later
// The reply with a block of the EEPROM. The first byte of the input selects the check, the next two
// are the block's number.
#include "tests/fuzz/fuzzing.h"
#include "tests/kit/devicereplies.h"

namespace {

const QByteArray earlierBytes("before");

// Parses a reply with and without bytes of earlier blocks in the array: the result is the same.
bool parse(const QString &reply, quint16 index, QByteArray &bytes)
{
    bytes.clear();
    QByteArray appended = earlierBytes;
    const bool recognised = DataParser::parseEepromBlock(reply, index, bytes);
    FUZZ_ASSERT(DataParser::parseEepromBlock(reply, index, appended) == recognised);
    FUZZ_ASSERT(recognised ? appended == earlierBytes + bytes : bytes.isEmpty());
    return recognised;
}

void checkBlock(const QByteArray &bytes, quint16 index)
{
    QString digits = latin1(bytes.toHex());
    for (int i = 0; i < digits.size(); ++i) {
        if ((index >> (i % 16) & 1) != 0) {
            digits[i] = digits.at(i).toUpper();
        }
    }
    QByteArray parsed;
    FUZZ_ASSERT(parse(eepromBlockReply(index, digits), index, parsed) && parsed == bytes);
    FUZZ_ASSERT(parse(eepromBlockReply(index, digits + latin1("f")), index, parsed)
                && parsed == bytes);
    FUZZ_ASSERT(!parse(eepromBlockReply(index, digits), static_cast<quint16>(index + 1), parsed));
}

// Each pair of characters between the command and "Done" becomes a byte.
void checkArbitraryDigits(const QString &digits, quint16 index)
{
    QByteArray data = earlierBytes;
    const bool recognised =
        DataParser::parseEepromBlock(eepromBlockReply(index, digits), index, data);
    FUZZ_ASSERT(recognised ? data.startsWith(earlierBytes)
                        && data.size() == earlierBytes.size() + digits.size() / 2
                           : data.isEmpty());
}

void checkArbitraryReply(const QString &text, quint16 index)
{
    QByteArray bytes;
    FUZZ_ASSERT(!parse(text, index, bytes)
                || (bytes.size() * 2 < text.size() && text.contains(QString::number(index))));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3) {
        return 0;
    }
    const auto index = static_cast<quint16>(data[1] << 8 | data[2]);
    const QByteArray bytes = Fuzzing::bytesOf(data + 3, size - 3);
    const QString text = Fuzzing::asReceived(bytes);
    switch (data[0] % 3) {
    case 0:
        checkBlock(bytes, index);
        break;
    case 1:
        checkArbitraryDigits(text, index);
        break;
    default:
        checkArbitraryReply(text, index);
    }
    return 0;
}
