// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/files.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "tests/kit/text.h"

#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

namespace {

QString contents(const QString &path) { return QString::fromUtf8(files::contents(path)); }

// Connected, but hidden for now: tests can only click them by code.
const QStringList hiddenButtons =
    texts("MainWindow.backupEepromButton|MainWindow.restoreEepromButton");

// Never shown: an export has as many rows as measurements, whose number was checked before.
const QStringList neverShown{QStringLiteral("No measurements to save")};

// Part of another text, of a table's header or of a file.
const QStringList notOnScreen = texts("Timestamp|firmware|CSV files (*.csv)|Name|Value");

/// Sorted, so that a failure shows what is missing.
QString listed(const QSet<QString> &names)
{
    QStringList all(names.begin(), names.end());
    all.sort();
    return all.join(QLatin1String("; "));
}

} // namespace

/// Checks the records that UiCoverageRecorder made in the end-to-end tests: together they show and
/// use every window, control and text of the tool.
class TestUiCoverage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        for (const QString &scenario : text(KV_SCENARIOS).split(QLatin1Char(','))) {
            const QString records = contents(text(KV_RECORDS_FOLDER "/") + scenario + text(".txt"));
            QVERIFY2(!records.isEmpty(), qPrintable(scenario));
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
                const QString scenario = record->size() == 1
                    ? record->first()
                    : text("%1 and %2 more").arg(record->first()).arg(record->size() - 1);
                inventory.write(
                    text("%1\t%2\t%3\n").arg(event.key(), record.key(), scenario).toUtf8());
            }
        }
    }

    void everyFormIsShown()
    {
        const QDir sources(testpaths::sourceFile("src/ui"));
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
        const QSet<QString> offered = subjects("offered");
        QVERIFY(offered.size() > 30);
        const QSet<QString> hidden(hiddenButtons.begin(), hiddenButtons.end());
        QCOMPARE(listed(offered - subjects("pressed")), listed(hidden));
        QCOMPARE(listed(hidden - subjects("clicked")), QString());
    }

    void everyWindowIsClosedByItsFrameAndEveryDialogGetsTheEscapeKey()
    {
        QCOMPARE(listed(subjects("shown") - subjects("closed")), QString());
        QCOMPARE(listed(subjects("shown") - subjects("escaped")), text("MainWindow"));
    }

    void everyTextIsShown()
    {
        const QStringList all = programTexts();
        QVERIFY(all.size() > 40);
        QStringList missing;
        for (const QString &one : all) {
            if (!notOnScreen.contains(one) && !isShown(one)) {
                missing.append(one);
            }
        }
        QCOMPARE(missing.join(text("; ")), neverShown.join(text("; ")));
    }

    void everyQuestionIsAnsweredBothWays()
    {
        QMap<QString, QSet<QString>> questions;
        for (const QString &end : subjects("ended")) {
            // The file dialog asks a question of its own.
            if (!end.contains(text("already exists"))) {
                questions[end.section(text(" = "), -1)].insert(end.section(text(" = "), 0, -2));
            }
        }
        QCOMPARE(listed(questions[text("Yes")]), listed(questions[text("No")]));
        QCOMPARE(questions[text("Yes")].size(), 3);
    }

    void everyFileDialogIsAcceptedAndCancelled()
    {
        const QSet<QString> ends = subjects("ended");
        const QStringList captions = programTexts().filter(
            QRegularExpression(text("^(Select|Choose) (where|firmware|eeprom)")));
        QCOMPARE(captions.size(), 6);
        for (const QString &caption : captions) {
            QVERIFY2(ends.contains(caption + text(" = accepted")), qPrintable(caption));
            QVERIFY2(ends.contains(caption + text(" = rejected")), qPrintable(caption));
        }
    }

private:
    /// The texts for the user in the sources of @p folder as arguments of @p call, with their
    /// placeholders.
    static QStringList programTexts(const char *folder, const char *call)
    {
        const QRegularExpression literal(text(call)
                                         + text("\\(\\s*((?:\"(?:[^\"\\\\]|\\\\.)*\"\\s*)+)"));
        QStringList texts;
        const QDir sources(testpaths::sourceFile("src/") + text(folder));
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

    /// Texts of the windows and the controller, and the errors of the serial layer, which a box
    /// shows after a text of its own.
    static QStringList programTexts()
    {
        return programTexts("control", "\\btr") + programTexts("ui", "\\btr") + serialErrors();
    }

    static QStringList serialErrors() { return programTexts("serial", "\\berror\\(tr"); }

    bool isShown(const QString &programText)
    {
        const QStringList parts = programText.split(QRegularExpression(text("%[1-9]")));
        QStringList patterns;
        for (const QString &part : parts) {
            patterns.append(QRegularExpression::escape(part.trimmed()));
        }
        if (serialErrors().contains(programText)) {
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

    QMap<QString, QMap<QString, QStringList>> m_records;
};

KV_TEST_CORE_MAIN(TestUiCoverage)
#include "tst_uicoverage.moc"
