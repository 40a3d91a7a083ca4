// SPDX-License-Identifier: GPL-3.0-or-later
// The functions that parse the device's replies. The first byte of the input selects the function,
// the rest is what a job has received so far.
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/replyformat.h"
#include "tests/fuzz/replytable.h"

namespace {

constexpr int maxRows = 32;

// A coverage counter for each position of each format, so that libFuzzer keeps an input that
// matches more of a format than earlier inputs.
__attribute__((section("__libfuzzer_extra_counters")))
uint8_t progress[maxRows][ReplyFormat::maxSize + 1];

// The end of the last of the literals, each found at its first occurrence after the previous one;
// -1 if one is missing.
int endOf(const QStringList &literals, const QString &text)
{
    int end = 0;
    for (const QString &literal : literals) {
        const ReplyFormat format(literal);
        while (end + literal.size() <= text.size()
               && !format.matches(text.mid(end, literal.size()))) {
            ++end;
        }
        end += literal.size();
    }
    return end <= text.size() ? end : -1;
}

// As with QRegExp, the captured text begins as early, and then ends as late, as possible.
void checkCapture(const ReplyRow &row, const QString &text, const QString &captured)
{
    const int begin = endOf(latin1(row.opening).split(QLatin1Char('|')), text);
    FUZZ_ASSERT(begin >= 0);
    const bool hasPrompt = latin1(row.format).endsWith(latin1("$*"));
    const int prompt = hasPrompt ? text.lastIndexOf(QLatin1Char('$')) : text.size();
    const int end = text.left(prompt).lastIndexOf(latin1(row.closing), -1, Qt::CaseInsensitive);
    FUZZ_ASSERT(end >= begin);
    FUZZ_ASSERT(captured == text.mid(begin, end - begin));
}

QString withInvertedCase(const QString &text)
{
    QString result = text;
    for (QChar &c : result) {
        if (c.unicode() < 0x80) {
            c = c.isLower() ? c.toUpper() : c.toLower();
        }
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QVector<ReplyRow> &rows = ReplyTable::rows();
    static const QVector<ReplyFormat> formats = [&] {
        QVector<ReplyFormat> result;
        for (const ReplyRow &row : rows) {
            result.append(ReplyFormat(latin1(row.format)));
        }
        return result;
    }();
    if (size == 0) {
        return 0;
    }
    const int index = data[0] % rows.size();
    const ReplyRow &row = rows.at(index);
    const QString text = Fuzzing::asReceived(Fuzzing::bytesOf(data + 1, size - 1));
    const ParseOutcome outcome = row.read(text, false);
    const ParseOutcome outcomeWithOldValues = row.read(text, true);
    FUZZ_ASSERT(outcome.recognised == outcomeWithOldValues.recognised);

    int furthest = 0;
    const bool matches = formats.at(index).matches(text, &furthest);
    progress[index][furthest] = 1;
    FUZZ_ASSERT(row.rule == ReplyRow::Restricted ? matches || !outcome.recognised
                                                 : matches == outcome.recognised);
    if (!outcome.recognised) {
        return 0;
    }
    FUZZ_ASSERT(outcome.plausible);
    FUZZ_ASSERT(outcome.result == outcomeWithOldValues.result);
    if (row.opening) {
        checkCapture(row, text, outcome.result);
    }
    FUZZ_ASSERT(row.rule == ReplyRow::Restricted
                || row.read(withInvertedCase(text), false).recognised);
    if (row.rule == ReplyRow::Anywhere) {
        FUZZ_ASSERT(row.read(latin1("=1\r\n$ ") + text, false).recognised);
        FUZZ_ASSERT(row.read(text + latin1("\r\n$ show"), false).recognised);
    }
    return 0;
}
