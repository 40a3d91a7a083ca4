// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/dataparser.h"
#include "tests/kit/devicereplies.h"
#include "tests/kit/testmain.h"

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

namespace {

// A function of the parser that looks for a literal before it uses its pattern, that pattern, and
// the shortest reply.
struct Matcher
{
    bool (*matches)(const QString &);
    const char *pattern;
    const char *shortest;

    bool agreesWithPattern(const QString &text) const
    {
        return matches(text) == patternMatches(text);
    }
    bool patternMatches(const QString &text) const
    {
        QRegExp rx;
        return DataParser::matchReply(text, latin1(pattern), 0, rx);
    }
};

constexpr Matcher rebooted = {
    DataParser::isRebooted,
    ".*Performing selftest...((.|\r\n)*)All tests passed.((.|\r\n)*)Orvanta KVT.*"
    "\r\nCompiled on .*\r\nCopyright .*",
    "Performing selftest...All tests passed.Orvanta KVT\r\nCompiled on \r\nCopyright "};
constexpr Matcher resetting = {DataParser::isResetting, ".*Reseting device in 5 seconds.*",
                               "Reseting device in 5 seconds"};
constexpr Matcher bootPrompt = {DataParser::isBootPrompt, ".*BOOT", "BOOT"};

// The parts of the boot messages, in the order in which they are complete.
constexpr const char *parts[] = {"Reseting device in 5 seconds",
                                 "Performing selftest",
                                 "...",
                                 "All tests passed",
                                 ".",
                                 "Orvanta KVT",
                                 "\r\nCompiled on ",
                                 "\r\nCopyright "};

// What is inserted between the parts: mostly nothing.
constexpr const char *noise[] = {"", "", "", "", "\r\n", "\r", " ", "KVT $ ", "(.|)*\\", "\xe4"};

template <typename Texts>
QString oneOf(const Texts &texts, QRandomGenerator &random)
{
    return latin1(texts[random.bounded(static_cast<int>(std::size(texts)))]);
}

// Mostly the parts in order; sometimes a part is damaged, replaced by another one or repeated.
QString randomBootMessages(QRandomGenerator &random)
{
    QString text;
    for (const char *original : parts) {
        QString part = latin1(original);
        const int chance = random.bounded(30);
        if (chance == 0) {
            part.remove(random.bounded(part.size()), 1);
        } else if (chance == 1) {
            part = oneOf(parts, random);
        } else if (chance == 2) {
            part += part;
        } else if (chance < 10) {
            part = chance < 6 ? part.toUpper() : part.toLower();
        }
        text += part + oneOf(noise, random);
    }
    return text;
}

// The ASCII characters, and those whose lower or upper case begins with one, such as U+0130,
// U+017F and U+212A.
QString charactersThatFoldToAscii()
{
    QString letters;
    for (ushort code = 0; code < 0xffff; ++code) {
        const QString letter(QChar{code});
        for (const QString &same : {letter, letter.toLower(), letter.toUpper()}) {
            if (same.at(0) < QChar(0x80) && !letters.contains(letter)) {
                letters += letter;
            }
        }
    }
    return letters;
}

} // namespace

/// The functions that recognise the replies of a restart look for a literal before they use the
/// pattern. Their result must be that of the pattern alone, for every text.
class TestRebootReplyPattern : public QObject
{
    Q_OBJECT

private slots:
    void agreesWithPatternForRandomMessages()
    {
        constexpr int texts = 1000;
        QRandomGenerator random(1);
        int rebootedCount = 0;
        int resettingCount = 0;
        for (int i = 0; i < texts; ++i) {
            const QString text = randomBootMessages(random);
            const QString prefix = text.left(random.bounded(text.size()));
            for (const Matcher &matcher : {rebooted, resetting}) {
                QVERIFY2(matcher.agreesWithPattern(text), qPrintable(text));
                QVERIFY2(matcher.agreesWithPattern(prefix), qPrintable(prefix));
            }
            rebootedCount += rebooted.patternMatches(text) ? 1 : 0;
            resettingCount += resetting.patternMatches(text) ? 1 : 0;
        }
        // Both results must be frequent for their agreement to be meaningful.
        QVERIFY(rebootedCount > texts / 5 && rebootedCount < texts * 4 / 5);
        QVERIFY(resettingCount > texts / 5 && resettingCount < texts);
    }

    void agreesWithPatternForCaseVariants()
    {
        const QString letters = charactersThatFoldToAscii();
        for (const Matcher &matcher : {rebooted, resetting, bootPrompt}) {
            const QString shortest = latin1(matcher.shortest);
            QVERIFY(matcher.matches(shortest));
            for (int i = 0; i < shortest.size(); ++i) {
                for (const QChar letter : letters) {
                    QString text = shortest;
                    text[i] = letter;
                    QVERIFY2(matcher.agreesWithPattern(text), qPrintable(text));
                }
            }
        }
    }

    void findsTheBootPromptAtTheEndOnly()
    {
        for (const char *text : {"", "BOOT", "bOoT", "BOO", "OOT", "\r\nloader\r\nBOOT", "BOOTBOOT",
                                 "BOOT ", "BOOT\r\n", "BO\xd6T"}) {
            QVERIFY2(bootPrompt.agreesWithPattern(latin1(text)), text);
        }
        QVERIFY(bootPrompt.agreesWithPattern(QChar(0) + latin1("boot")));
        QVERIFY(bootPrompt.agreesWithPattern(QChar(0x0392) + latin1("OOT")));
    }
};

KV_TEST_CORE_MAIN(TestRebootReplyPattern)
#include "tst_rebootreplypattern.moc"
