// SPDX-License-Identifier: GPL-3.0-or-later
// The reply with a block of the device's memory. The first byte selects the check, the next two are
// the block's number.
#include "tests/fuzz/fuzzing.h"
#include "tests/kit/replysamples.h"

namespace {

const QByteArray before("before");

// A block as the device prints it, each digit's case by a bit of @p cases.
QString digitsOf(const QByteArray &bytes, unsigned cases)
{
    QString digits = QString::fromLatin1(bytes.toHex());
    for (int i = 0; i < digits.size(); ++i) {
        if ((cases >> (i % 16) & 1U) != 0) {
            digits[i] = digits.at(i).toUpper();
        }
    }
    return digits;
}

void checkBlock(const QByteArray &bytes, quint16 index)
{
    const QString digits = digitsOf(bytes, index);
    QByteArray data = before;
    FUZZ_ASSERT(DataParser::parseEepromBlock(eepromReply(index, digits), index, data));
    FUZZ_ASSERT(data == before + bytes);

    data.clear();
    FUZZ_ASSERT(
        DataParser::parseEepromBlock(eepromReply(index, digits + latin1("f")), index, data));
    FUZZ_ASSERT(data == bytes);

    data.clear();
    const auto other = static_cast<quint16>(index + 1);
    FUZZ_ASSERT(!DataParser::parseEepromBlock(eepromReply(index, digits), other, data));
    FUZZ_ASSERT(data.isEmpty());
}

// Each pair of characters between the command and "Done" is a byte.
void checkDigits(const QString &digits, quint16 index)
{
    const QString reply = eepromReply(index, digits);
    QByteArray data = before;
    const bool recognised = DataParser::parseEepromBlock(reply, index, data);
    if (!recognised) {
        FUZZ_ASSERT(data.isEmpty());
        return;
    }
    FUZZ_ASSERT(data.startsWith(before));
    FUZZ_ASSERT(data.size() == before.size() + digits.size() / 2);
}

void checkAnyText(const QString &text, quint16 index)
{
    QByteArray data;
    QByteArray again = before;
    const bool recognised = DataParser::parseEepromBlock(text, index, data);
    FUZZ_ASSERT(DataParser::parseEepromBlock(text, index, again) == recognised);
    if (recognised) {
        FUZZ_ASSERT(again == before + data);
        FUZZ_ASSERT(data.size() * 2 < text.size());
        FUZZ_ASSERT(text.contains(QString::number(index)));
    } else {
        FUZZ_ASSERT(data.isEmpty());
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Fuzzing::disableLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 3) {
        return 0;
    }
    const auto index = static_cast<quint16>(data[1] << 8 | data[2]);
    const QByteArray bytes = Fuzzing::bytesOf(data + 3, size - 3);
    switch (data[0] % 3) {
    case 0:
        checkBlock(bytes, index);
        break;
    case 1:
        checkDigits(Fuzzing::asReceived(bytes), index);
        break;
    default:
        checkAnyText(Fuzzing::asReceived(bytes), index);
        break;
    }
    return 0;
}
