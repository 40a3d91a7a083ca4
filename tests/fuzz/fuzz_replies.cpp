// SPDX-License-Identifier: GPL-3.0-or-later
// The grammar of the device's replies. The first byte selects the function, the rest is what a job
// has received so far.
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/replyform.h"
#include "tests/fuzz/replytable.h"

namespace {

constexpr int maxRows = 32;

// One counter for each position of each form: an input that reaches further is kept.
__attribute__((section("__libfuzzer_extra_counters")))
uint8_t progress[maxRows][ReplyForm::maxSize + 1];

// The end of the first occurrence of each of the literals, one after the other; -1 without.
int endOf(const QStringList &literals, const QString &text)
{
    int end = 0;
    for (const QString &literal : literals) {
        const ReplyForm form(literal);
        while (end + literal.size() <= text.size()
               && !form.matches(text.mid(end, literal.size()))) {
            ++end;
        }
        end += literal.size();
    }
    return end <= text.size() ? end : -1;
}

// QRegExp's rule: the capture begins as early and then ends as late as possible.
void checkCapture(const ReplyRow &row, const QString &text, const QString &captured)
{
    const int begin = endOf(latin1(row.opening).split(QLatin1Char('|')), text);
    FUZZ_ASSERT(begin >= 0);
    const bool hasPrompt = latin1(row.form).endsWith(latin1("$*"));
    const int prompt = hasPrompt ? text.lastIndexOf(QLatin1Char('$')) : text.size();
    const int end = text.left(prompt).lastIndexOf(latin1(row.closing), -1, Qt::CaseInsensitive);
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QVector<ReplyRow> &rows = ReplyTable::rows();
    static const QVector<ReplyForm> forms = [&] {
        QVector<ReplyForm> result;
        for (const ReplyRow &row : rows) {
            result.append(ReplyForm(latin1(row.form)));
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

    int furthest = 0;
    const bool fits = forms.at(index).matches(text, &furthest);
    progress[index][furthest] = 1;
    FUZZ_ASSERT(row.rule == ReplyRow::Restricted ? fits || !verdict.recognised
                                                 : fits == verdict.recognised);
    if (!verdict.recognised) {
        return 0;
    }
    FUZZ_ASSERT(verdict.plausible);
    FUZZ_ASSERT(verdict.result == again.result);
    if (row.opening) {
        checkCapture(row, text, verdict.result);
    }
    FUZZ_ASSERT(row.rule == ReplyRow::Restricted || row.read(otherCase(text), false).recognised);
    if (row.rule == ReplyRow::Found) {
        FUZZ_ASSERT(row.read(latin1("=1\r\n$ ") + text, false).recognised);
        FUZZ_ASSERT(row.read(text + latin1("\r\n$ show"), false).recognised);
    }
    return 0;
}
