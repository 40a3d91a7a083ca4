// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/dataparser.h"
#include "serial/serialportjobreboot.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/testmain.h"

#include <QtCore/QRandomGenerator>
#include <QtTest/QtTest>

namespace {

const QString rebootedPattern =
    QStringLiteral(".*Performing selftest...((.|\r\n)*)All tests passed.((.|\r\n)*)Orvanta KVT.*"
                   "\r\nCompiled on .*\r\nCopyright .*");
const QString resettingPattern = QStringLiteral(".*Reseting device in 5 seconds.*");

// The result of the whole pattern.
bool plainlyMatches(const QString &pattern, const QString &text)
{
    QRegExp rx;
    return DataParser::matchReply(text, pattern, 0, rx);
}

// The parts of a boot text, in the order in which they form a complete one.
const QStringList &parts()
{
    static const QStringList list = {
        QStringLiteral("Reseting device in 5 seconds"),
        QStringLiteral("Performing selftest"),
        QStringLiteral("..."),
        QStringLiteral("All tests passed"),
        QStringLiteral("."),
        QStringLiteral("Orvanta KVT"),
        QStringLiteral("\r\nCompiled on "),
        QStringLiteral("\r\nCopyright "),
    };
    return list;
}

const QStringList &noise()
{
    static const QStringList list = {
        QString(), // far more often than the others
        QString(),
        QString(),
        QStringLiteral("\r\n"),
        QStringLiteral("\r"),
        QStringLiteral(" "),
        QStringLiteral("KVT $ "),
        QStringLiteral("(.|)*\\"),
        QString(1, QChar(0x00E4)),
        QString(1, QChar(0)),
    };
    return list;
}

QString withOtherLetters(QString text, QRandomGenerator &random)
{
    // Letters whose lower case, or whose folded case alone, is a letter of the patterns.
    const QMap<QChar, QChar> alike = {{QLatin1Char('K'), QChar(0x212A)},
                                      {QLatin1Char('i'), QChar(0x0130)},
                                      {QLatin1Char('s'), QChar(0x017F)},
                                      {QLatin1Char('A'), QChar(0x212B)}};
    for (QChar &letter : text) {
        const quint32 chance = random.bounded(40U);
        if (chance == 0) {
            letter = alike.value(letter, letter);
        } else if (chance < 10) {
            letter = chance < 5 ? letter.toUpper() : letter.toLower();
        }
    }
    return text;
}

// Mostly the parts in their order, sometimes with one missing, doubled, damaged or misplaced.
QString randomBootText(QRandomGenerator &random)
{
    QString text;
    for (int place = 0; place < parts().size(); ++place) {
        const quint32 chance = random.bounded(30U);
        QString part = parts().at(place);
        if (chance == 0) {
            part.remove(random.bounded(part.size()), 1);
        } else if (chance == 1) {
            part = parts().at(random.bounded(parts().size()));
        } else if (chance == 2) {
            part += part;
        } else if (chance < 10) {
            part = withOtherLetters(part, random);
        }
        text += part + noise().at(random.bounded(noise().size()));
    }
    return text;
}

QStringList randomChunks(const QString &text, QRandomGenerator &random)
{
    QStringList chunks;
    for (int at = 0; at < text.size(); at += chunks.constLast().size()) {
        chunks.append(text.mid(at, 1 + random.bounded(40)));
    }
    return chunks;
}

// The chunk that completes the text, -1 for none.
int completingChunk(const QString &pattern, const QStringList &chunks)
{
    QString buffer;
    for (int i = 0; i < chunks.size(); ++i) {
        buffer += chunks.at(i);
        if (plainlyMatches(pattern, buffer)) {
            return i;
        }
    }
    return -1;
}

// The chunk with which the job ends, -1 for none.
int finishingChunk(RebootMode mode, const QStringList &chunks)
{
    FakeSerialPort port;
    const auto job = QSharedPointer<SerialPortJobReboot>::create(&port, mode, nullptr);
    const QSignalSpy finished(job.data(), &SerialPortJobInterface::finished);
    job->start();
    for (int i = 0; i < chunks.size(); ++i) {
        port.receive(chunks.at(i));
        if (!finished.isEmpty()) {
            return i;
        }
    }
    return -1;
}

constexpr int texts = 1000;

} // namespace

/// The functions for the replies of a restart check a literal before the pattern. The result must
/// be that of the pattern for every text, split into chunks in any way.
class TestRebootMatching : public QObject
{
    Q_OBJECT

private slots:
    void agreesWithThePatternForEveryText()
    {
        QRandomGenerator random(1);
        int rebooted = 0;
        int resetting = 0;
        for (int i = 0; i < texts; ++i) {
            const QString text = randomBootText(random);
            const bool isRebooted = plainlyMatches(rebootedPattern, text);
            const bool isResetting = plainlyMatches(resettingPattern, text);
            QVERIFY2(DataParser::isRebooted(text) == isRebooted, qPrintable(text));
            QVERIFY2(DataParser::isResetting(text) == isResetting, qPrintable(text));
            rebooted += isRebooted ? 1 : 0;
            resetting += isResetting ? 1 : 0;
        }
        // Both results must be frequent for their agreement to be meaningful.
        QVERIFY(rebooted > texts / 5 && rebooted < texts * 4 / 5);
        QVERIFY(resetting > texts / 5 && resetting < texts);
    }

    void finishesWithTheChunkThatCompletesTheText()
    {
        QRandomGenerator random(2);
        for (int i = 0; i < texts / 4; ++i) {
            const QStringList chunks = randomChunks(randomBootText(random), random);
            QCOMPARE(finishingChunk(RebootMode::RebootAndWaitForSelftest, chunks),
                     completingChunk(rebootedPattern, chunks));
            QCOMPARE(finishingChunk(RebootMode::RebootForFirmwareUpdate, chunks),
                     completingChunk(resettingPattern, chunks));
        }
    }

    void acceptsTheLettersThatThePatternAccepts()
    {
        const QString whole = QStringLiteral("Reseting device in 5 seconds");
        const QString shortest =
            QStringLiteral("Performing selftest...All tests passed.Orvanta KVT\r\n"
                           "Compiled on \r\nCopyright ");
        const int letterS = whole.indexOf(QLatin1Char('s'));
        const int letterI = whole.indexOf(QLatin1Char('i'));
        const int letterK = shortest.indexOf(QLatin1Char('K'));
        for (uint code = 0; code < 0x3000; ++code) {
            QString text = whole;
            text[letterS] = QChar(code);
            QVERIFY2(DataParser::isResetting(text) == plainlyMatches(resettingPattern, text),
                     qPrintable(text));
            text = whole;
            text[letterI] = QChar(code);
            QVERIFY2(DataParser::isResetting(text) == plainlyMatches(resettingPattern, text),
                     qPrintable(text));
            text = shortest;
            text[letterK] = QChar(code);
            QVERIFY2(DataParser::isRebooted(text) == plainlyMatches(rebootedPattern, text),
                     qPrintable(text));
        }
    }

    void findsTheBootPromptAtTheEndOnly_data()
    {
        QTest::addColumn<QString>("text");
        for (const QString &text :
             {QString(), QStringLiteral("BOOT"), QStringLiteral("bOoT"), QStringLiteral("BOO"),
              QStringLiteral("\r\nloader\r\nBOOT"), QStringLiteral("BOOTBOOT"),
              QStringLiteral("OOT"), QStringLiteral("BOOT "), QStringLiteral("BOOT\r\n"),
              QStringLiteral("BO\u00D6T"), QStringLiteral("\u0392OOT"),
              QString(QChar(0)) + QStringLiteral("boot")}) {
            QTest::addRow("%s", qPrintable(text)) << text;
        }
    }

    void findsTheBootPromptAtTheEndOnly()
    {
        QFETCH(QString, text);
        QCOMPARE(DataParser::isBootPrompt(text), plainlyMatches(QStringLiteral(".*BOOT"), text));
    }
};

KV_TEST_CORE_MAIN(TestRebootMatching)
#include "tst_rebootmatching.moc"
