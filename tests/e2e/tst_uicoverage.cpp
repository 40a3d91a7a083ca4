// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

namespace {

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

QString contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// Wired, but hidden for now: a scenario can press them by code alone.
const QStringList outOfReach{QStringLiteral("MainWindow.backupEepromButton"),
                             QStringLiteral("MainWindow.restoreEepromButton")};

// What the program can't show. The rows of an export are as many as the measurements, and that
// there are some has been looked at before.
const QStringList neverShown{QStringLiteral("No measurements to save")};

// Part of other texts, of a table's header, or of a file.
const QStringList notOnScreen{QStringLiteral("Timestamp"), QStringLiteral("firmware"),
                              QStringLiteral("CSV files (*.csv)"), QStringLiteral("Name"),
                              QStringLiteral("Value")};

/// In one order, so that a failure tells what is missing.
QString listed(const QSet<QString> &names)
{
    QStringList all(names.begin(), names.end());
    all.sort();
    return all.join(QLatin1String("; "));
}

} // namespace

/// All scenarios together: no control, dialog or text of the tool that none of them has met. It
/// reads the notes of UiCoverageRecorder, which ctest has made before it.
class TestEveryButton : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void everyFormIsShown();
    void everyControlIsPressed();
    void controlsOutOfReachAreClicked();
    void everyWindowIsClosedByItsFrame();
    void everyDialogGetsTheEscapeKey();
    void everyTextIsSeen();
    void everyQuestionIsAnsweredBothWays();
    void everyFileDialogIsAcceptedAndCancelled();

private:
    static QStringList programTexts(const char *folder, const char *call);
    static QStringList programTexts();
    static QStringList serialErrors();
    bool isSeen(const QString &programText);
    QSet<QString> subjects(const char *word);

    QMap<QString, QMap<QString, QStringList>> m_notes;
};

void TestEveryButton::initTestCase()
{
    const QStringList scenarios = text(KV_SCENARIOS).split(QLatin1Char(','));
    for (const QString &scenario : scenarios) {
        const QString notes = contents(text(KV_NOTES_FOLDER "/") + scenario + text(".txt"));
        QVERIFY2(!notes.isEmpty(), qPrintable(scenario));
        const QStringList lines = notes.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (const QString &line : lines) {
            const QStringList fields = line.split(QLatin1Char('\t'));
            QCOMPARE(fields.size(), 3);
            m_notes[fields.at(0)][fields.at(1)].append(fields.at(2));
        }
    }
    QFile inventory(text(KV_NOTES_FOLDER "/inventory.txt"));
    QVERIFY(inventory.open(QIODevice::WriteOnly));
    for (auto word = m_notes.constBegin(); word != m_notes.constEnd(); ++word) {
        for (auto note = word->constBegin(); note != word->constEnd(); ++note) {
            const QString scenario = note->size() == 1
                ? note->first()
                : text("%1 and %2 more").arg(note->first()).arg(note->size() - 1);
            inventory.write(text("%1\t%2\t%3\n").arg(word.key(), note.key(), scenario).toUtf8());
        }
    }
}

QSet<QString> TestEveryButton::subjects(const char *word)
{
    const QStringList keys = m_notes.value(QLatin1String(word)).keys();
    return QSet<QString>(keys.begin(), keys.end());
}

/// The texts for the user in the sources of @p folder behind @p call, with their placeholders.
QStringList TestEveryButton::programTexts(const char *folder, const char *call)
{
    const QRegularExpression literal(text(call)
                                     + text("\\(\\s*((?:\"(?:[^\"\\\\]|\\\\.)*\"\\s*)+)"));
    QStringList texts;
    const QDir sources(testpaths::sourceFile("src/") + text(folder));
    const QStringList names = sources.entryList({text("*.cpp")}, QDir::Files);
    for (const QString &name : names) {
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

/// Texts of the window and its controller, and the errors of the floor below, which a box repeats
/// behind words of its own.
QStringList TestEveryButton::programTexts()
{
    return programTexts("control", "\\btr") + programTexts("ui", "\\btr") + serialErrors();
}

QStringList TestEveryButton::serialErrors()
{
    return programTexts("serial", "\\berror\\(tr");
}

bool TestEveryButton::isSeen(const QString &programText)
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
    const QStringList seen = m_notes.value(text("text")).keys();
    return std::any_of(seen.begin(), seen.end(),
                       [&](const QString &one) { return pattern.match(one).hasMatch(); });
}

void TestEveryButton::everyFormIsShown()
{
    const QDir sources(testpaths::sourceFile("src/ui"));
    const QStringList forms = sources.entryList({text("*.ui")}, QDir::Files);
    QVERIFY(!forms.isEmpty());
    QSet<QString> missing;
    for (const QString &form : forms) {
        const QRegularExpression name(text("<class>(\\w+)</class>"));
        missing.insert(name.match(contents(sources.filePath(form))).captured(1));
    }
    QCOMPARE(listed(missing - subjects("shown")), QString());
}

void TestEveryButton::everyControlIsPressed()
{
    const QSet<QString> offered = subjects("offered");
    QVERIFY(offered.size() > 30);
    const QSet<QString> hidden(outOfReach.begin(), outOfReach.end());
    QCOMPARE(listed(offered - subjects("pressed")), listed(hidden));
}

void TestEveryButton::controlsOutOfReachAreClicked()
{
    for (const QString &button : outOfReach) {
        QVERIFY2(subjects("clicked").contains(button), qPrintable(button));
    }
}

void TestEveryButton::everyWindowIsClosedByItsFrame()
{
    QCOMPARE(listed(subjects("shown") - subjects("closed")), QString());
}

void TestEveryButton::everyDialogGetsTheEscapeKey()
{
    QCOMPARE(listed(subjects("shown") - subjects("escaped")), text("MainWindow"));
}

void TestEveryButton::everyTextIsSeen()
{
    const QStringList all = programTexts();
    QVERIFY(all.size() > 40);
    QStringList missing;
    for (const QString &one : all) {
        if (!notOnScreen.contains(one) && !isSeen(one)) {
            missing.append(one);
        }
    }
    QCOMPARE(missing.join(text("; ")), neverShown.join(text("; ")));
}

void TestEveryButton::everyQuestionIsAnsweredBothWays()
{
    const QSet<QString> ends = subjects("ended");
    int questions = 0;
    for (const QString &end : ends) {
        const QString yes = text(" = Yes");
        const QString no = text(" = No");
        // The file dialog's own question is not the tool's.
        if ((end.endsWith(yes) || end.endsWith(no)) && !end.contains(text("already exists"))) {
            const QString question = end.left(end.lastIndexOf(text(" = ")));
            QVERIFY2(ends.contains(question + yes), qPrintable(question));
            QVERIFY2(ends.contains(question + no), qPrintable(question));
            ++questions;
        }
    }
    QCOMPARE(questions, 2 * 3);
}

void TestEveryButton::everyFileDialogIsAcceptedAndCancelled()
{
    const QSet<QString> ends = subjects("ended");
    const QStringList captions =
        programTexts().filter(QRegularExpression(text("^(Select|Choose) (where|firmware|eeprom)")));
    QCOMPARE(captions.size(), 6);
    for (const QString &caption : captions) {
        QVERIFY2(ends.contains(caption + text(" = accepted")), qPrintable(caption));
        QVERIFY2(ends.contains(caption + text(" = rejected")), qPrintable(caption));
    }
}

KV_TEST_CORE_MAIN(TestEveryButton)
#include "tst_everybutton.moc"
