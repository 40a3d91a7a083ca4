// SPDX-License-Identifier: GPL-3.0-or-later
// The grammar of the device's replies. The first byte selects the function, the rest is what a job
// has received so far.
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/replyform.h"
#include "tests/fuzz/replytable.h"

#include <vector>

namespace {

constexpr int maxRows = 32;

// One counter for each position of each form: an input that reaches further is kept.
__attribute__((section("__libfuzzer_extra_counters")))
uint8_t progress[maxRows * (ReplyForm::maxSize + 1)];

struct Counts
{
    long long calls = 0;
    long long recognised = 0;
};

Counts counts[maxRows];

void printCounts()
{
    const QVector<ReplyRow> &rows = ReplyTable::rows();
    for (int i = 0; i < rows.size(); ++i) {
        std::fprintf(stderr, "%-24s %10lld inputs %10lld recognised\n", rows.at(i).name,
                     counts[i].calls, counts[i].recognised);
    }
}

// The end of the first occurrence of each of the literals, one after the other; -1 without.
int endOf(const QStringList &words, const QString &text)
{
    int end = 0;
    for (const QString &word : words) {
        const ReplyForm form(word);
        while (end + word.size() <= text.size() && !form.matches(text.mid(end, word.size()))) {
            ++end;
        }
        end += word.size();
    }
    return end <= text.size() ? end : -1;
}

// QRegExp's rule: the capture begins as early and then ends as late as possible.
void checkCapture(const ReplyRow &row, const QString &text, const QString &captured)
{
    const int begin = endOf(row.opening, text);
    FUZZ_ASSERT(begin >= 0);
    const int prompt = row.prompted ? text.lastIndexOf(QLatin1Char('$')) : text.size();
    const int end = text.left(prompt).lastIndexOf(row.closing, -1, Qt::CaseInsensitive);
    FUZZ_ASSERT(end >= begin);
    FUZZ_ASSERT(captured == text.mid(begin, end - begin));
}

QString otherCase(const QString &text)
{
    QString result = text;
    for (QChar &c : result) {
        if (c.unicode() < 0x80) {
            c = c.isLower() ? c.toUpper() : c.toLower();
        }
    }
    return result;
}

void checkRecognised(const ReplyRow &row, const QString &text, const Verdict &verdict)
{
    if (!row.opening.isEmpty()) {
        checkCapture(row, text, verdict.result);
    }
    if (row.byFormAlone) {
        FUZZ_ASSERT(row.read(otherCase(text), false).recognised);
    }
    if (row.open) {
        FUZZ_ASSERT(row.read(QLatin1String("=1\r\n$ ") + text, false).recognised);
        FUZZ_ASSERT(row.read(text + QLatin1String("\r\n$ show"), false).recognised);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Fuzzing::disableLog();
    // Constructed before the handler is registered, so that it is destroyed after it.
    ReplyTable::rows();
    std::atexit(printCounts);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QVector<ReplyRow> &rows = ReplyTable::rows();
    static const std::vector<ReplyForm> forms = [] {
        std::vector<ReplyForm> result;
        for (const ReplyRow &row : ReplyTable::rows()) {
            result.emplace_back(row.form);
        }
        return result;
    }();
    if (size == 0) {
        return 0;
    }
    const int index = data[0] % rows.size();
    const ReplyRow &row = rows.at(index);
    const QString text = Fuzzing::asReceived(Fuzzing::bytesOf(data + 1, size - 1));

    const Verdict verdict = row.read(text, false);
    const Verdict again = row.read(text, true);
    FUZZ_ASSERT(verdict.recognised == again.recognised);
    ++counts[index].calls;

    int furthest = 0;
    const bool fits = forms[static_cast<size_t>(index)].matches(text, &furthest);
    progress[index * (ReplyForm::maxSize + 1) + furthest] = 1;
    FUZZ_ASSERT(fits || !verdict.recognised);
    FUZZ_ASSERT(!row.byFormAlone || verdict.recognised == fits);
    if (verdict.recognised) {
        ++counts[index].recognised;
        FUZZ_ASSERT(verdict.sane);
        FUZZ_ASSERT(verdict.result == again.result);
        checkRecognised(row, text, verdict);
    }
    return 0;
}
