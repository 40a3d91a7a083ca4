// SPDX-License-Identifier: GPL-3.0-or-later
// The grammar of the device's replies. The first byte chooses the function, the rest is what a job
// has received so far.
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/replyshape.h"
#include "tests/fuzz/replytable.h"

#include <vector>

namespace {

constexpr int maxRows = 32;

// One counter for each place of each shape: an input that comes further is kept.
__attribute__((section("__libfuzzer_extra_counters")))
uint8_t progress[maxRows * (ReplyShape::maxSize + 1)];

struct Tally
{
    long long calls = 0;
    long long recognised = 0;
};

Tally tallies[maxRows];

void printTallies()
{
    const QVector<ReplyRow> &rows = ReplyTable::rows();
    for (int i = 0; i < rows.size(); ++i) {
        std::fprintf(stderr, "%-24s %10lld inputs %10lld recognised\n", rows.at(i).name,
                     tallies[i].calls, tallies[i].recognised);
    }
}

// Behind the first occurrence of each of the words, one after the other; -1 without.
int endOf(const QStringList &words, const QString &text)
{
    int end = 0;
    for (const QString &word : words) {
        const ReplyShape shape(word);
        while (end + word.size() <= text.size() && !shape.matches(text.mid(end, word.size()))) {
            ++end;
        }
        end += word.size();
    }
    return end <= text.size() ? end : -1;
}

// The engine's choice: the capture begins as early and then ends as late as possible.
void checkCapture(const ReplyRow &row, const QString &text, const QString &captured)
{
    const int begin = endOf(row.opening, text);
    DEMAND(begin >= 0);
    const int prompt = row.prompted ? text.lastIndexOf(QLatin1Char('$')) : text.size();
    const int end = text.left(prompt).lastIndexOf(row.closing, -1, Qt::CaseInsensitive);
    DEMAND(end >= begin);
    DEMAND(captured == text.mid(begin, end - begin));
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
    if (row.byShapeAlone) {
        DEMAND(row.read(otherCase(text), false).recognised);
    }
    if (row.open) {
        DEMAND(row.read(QLatin1String("=1\r\n$ ") + text, false).recognised);
        DEMAND(row.read(text + QLatin1String("\r\n$ show"), false).recognised);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    Fuzzing::silenceLog();
    // Made before, so that it still stands when the tallies are printed.
    ReplyTable::rows();
    std::atexit(printTallies);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QVector<ReplyRow> &rows = ReplyTable::rows();
    static const std::vector<ReplyShape> shapes = [] {
        std::vector<ReplyShape> result;
        for (const ReplyRow &row : ReplyTable::rows()) {
            result.emplace_back(row.shape);
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
    DEMAND(verdict.recognised == again.recognised);
    ++tallies[index].calls;

    int furthest = 0;
    const bool shaped = shapes[static_cast<size_t>(index)].matches(text, &furthest);
    progress[index * (ReplyShape::maxSize + 1) + furthest] = 1;
    DEMAND(shaped || !verdict.recognised);
    DEMAND(!row.byShapeAlone || verdict.recognised == shaped);
    if (verdict.recognised) {
        ++tallies[index].recognised;
        DEMAND(verdict.sane);
        DEMAND(verdict.result == again.result);
        checkRecognised(row, text, verdict);
    }
    return 0;
}
