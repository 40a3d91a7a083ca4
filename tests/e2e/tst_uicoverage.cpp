// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fileio.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

namespace {

QString contents(const QString &path) { return QString::fromUtf8(FileIo::contents(path)); }

// Hidden from users, but connected: tests can only click them by code.
const QStringList hiddenButtons =
    texts("MainWindow.backupEepromButton|MainWindow.restoreEepromButton");

// Never shown: the message for an export without rows. The controller checks the number of readings
// before, and each gives a row.
const QStringList neverShown{QStringLiteral("No measurements to save")};

// Not recorded: parts of other texts, headings of tables, and what is only written to files.
const QStringList notOnScreen = texts("Timestamp|firmware|CSV files (*.csv)|Name|Value");

/// Sorted, so that a failure shows what is missing.
QString sortedAndJoined(const QSet<QString> &names)
{
    QStringList all(names.begin(), names.end());
    all.sort();
    return all.join(QLatin1String("; "));
}

} // namespace

/// Checks the records that UiCoverageRecorder wrote in the end-to-end tests: together these tests
/// show every window and text of the tool, and use every control.
class TestUiCoverage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        for (const QString &test : text(KV_RECORDED_TESTS).split(QLatin1Char(','))) {
            const QString records = contents(text(KV_RECORDS_FOLDER "/") + test + text(".txt"));
            QVERIFY2(!records.isEmpty(), qPrintable(test));
            for (const QString &line : records.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
                const QStringList fields = line.split(QLatin1Char('\t'));
                QCOMPARE(fields.size(), 3);
                m_records[fields.at(0)][fields.at(1)].append(fields.at(2));
            }
        }
        QFile inventory(text(KV_RECORDS_FOLDER "/inventory.txt"));
        QVERIFY(inventory.open(QIODevice::WriteOnly));
        for (auto event = m_records.constBegin(); event != m_records.constEnd(); ++event) {
            for (auto record = event->constBegin(); record != event->constEnd(); ++record) {
                const QString test = record->size() == 1
                    ? record->first()
                    : text("%1 and %2 more").arg(record->first()).arg(record->size() - 1);
                inventory.write(text("%1\t%2\t%3\n").arg(event.key(), record.key(), test).toUtf8());
            }
        }
    }

    void everyFormIsShown()
    {
        const QDir sources(TestPaths::sourceFile("src/ui"));
        const QStringList forms = sources.entryList({text("*.ui")}, QDir::Files);
        QVERIFY(!forms.isEmpty());
        const QRegularExpression name(text("<class>(\\w+)</class>"));
        for (const QString &form : forms) {
            const QString window = name.match(contents(sources.filePath(form))).captured(1);
            QVERIFY2(subjects("shown").contains(window), qPrintable(form));
        }
    }

    void everyControlIsPressed()
    {
        const QSet<QString> offeredControls = subjects("offered");
        QVERIFY(offeredControls.size() > 30);
        const QSet<QString> hidden(hiddenButtons.begin(), hiddenButtons.end());
        QCOMPARE(sortedAndJoined(offeredControls - subjects("pressed")), sortedAndJoined(hidden));
        QCOMPARE(sortedAndJoined(hidden - subjects("clicked")), QString());
    }

    void everyWindowIsClosedByFrameAndEveryDialogGetsEscape()
    {
        QCOMPARE(sortedAndJoined(subjects("shown") - subjects("closed")), QString());
        QCOMPARE(sortedAndJoined(subjects("shown") - subjects("escaped")), text("MainWindow"));
    }

    void everyTranslatableStringIsShown()
    {
        const QStringList all = translatableStrings();
        QVERIFY(all.size() > 40);
        QStringList missing;
        for (const QString &string : all) {
            if (!notOnScreen.contains(string) && !isShown(string)) {
                missing.append(string);
            }
        }
        QCOMPARE(missing.join(text("; ")), neverShown.join(text("; ")));
    }

    void everyQuestionIsAnsweredYesAndNo()
    {
        QMap<QString, QSet<QString>> questions;
        for (const QString &dialogResult : subjects("ended")) {
            // Qt's file dialog asks this question, not the tool.
            if (!dialogResult.contains(text("already exists"))) {
                questions[dialogResult.section(text(" = "), -1)].insert(
                    dialogResult.section(text(" = "), 0, -2));
            }
        }
        QCOMPARE(sortedAndJoined(questions[text("Yes")]), sortedAndJoined(questions[text("No")]));
        QCOMPARE(questions[text("Yes")].size(), 3);
    }

    void everyFileDialogIsAcceptedAndCancelled()
    {
        const QSet<QString> dialogResults = subjects("ended");
        const QStringList captions = translatableStrings().filter(
            QRegularExpression(text("^(Select|Choose) (where|firmware|eeprom)")));
        QCOMPARE(captions.size(), 6);
        for (const QString &caption : captions) {
            QVERIFY2(dialogResults.contains(caption + text(" = accepted")), qPrintable(caption));
            QVERIFY2(dialogResults.contains(caption + text(" = rejected")), qPrintable(caption));
        }
    }

private:
    /// The string literals, with their placeholders, that the sources of @p folder pass to @p call,
    /// a regular expression.
    static QStringList translatableStrings(const char *folder, const char *call)
    {
        const QRegularExpression literal(text(call)
                                         + text("\\(\\s*((?:\"(?:[^\"\\\\]|\\\\.)*\"\\s*)+)"));
        QStringList texts;
        const QDir sources(TestPaths::sourceFile("src/") + text(folder));
        for (const QString &name : sources.entryList({text("*.cpp")}, QDir::Files)) {
            auto found = literal.globalMatch(contents(sources.filePath(name)));
            while (found.hasNext()) {
                QString literals = found.next().captured(1);
                texts.append(literals.remove(QRegularExpression(text("\"\\s*\"")))
                                 .simplified()
                                 .remove(QLatin1Char('"')));
            }
        }
        return texts;
    }

    /// The strings of the windows and of the controller, and the errors of the serial layer, which
    /// a message box shows after a prefix.
    static QStringList translatableStrings()
    {
        return translatableStrings("control", "\\btr") + translatableStrings("ui", "\\btr")
            + serialErrors();
    }

    static QStringList serialErrors() { return translatableStrings("serial", "\\berror\\(tr"); }

    bool isShown(const QString &string)
    {
        const QStringList parts = string.split(QRegularExpression(text("%[1-9]")));
        QStringList patterns;
        for (const QString &part : parts) {
            patterns.append(QRegularExpression::escape(part.trimmed()));
        }
        if (serialErrors().contains(string)) {
            patterns.prepend(QString());
        }
        const QRegularExpression pattern(
            QRegularExpression::anchoredPattern(patterns.join(text(".*"))));
        const QStringList shown = m_records.value(text("text")).keys();
        return !shown.filter(pattern).isEmpty();
    }

    QSet<QString> subjects(const char *event)
    {
        const QStringList keys = m_records.value(QLatin1String(event)).keys();
        return QSet<QString>(keys.begin(), keys.end());
    }

    /// The tests that recorded a subject, by event and subject.
    QMap<QString, QMap<QString, QStringList>> m_records;
};

KV_TEST_CORE_MAIN(TestUiCoverage)
#include "tst_uicoverage.moc"
