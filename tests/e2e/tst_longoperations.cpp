// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtWidgets/QDateTimeEdit>

namespace {

const QLatin1String readingTitle("Reading log, please wait");
const QLatin1String clockTitle("Setting device clock, please wait");
const QLatin1String saveCaption("Select where to save log to");
const QLatin1String clearQuestion("Are you sure you want to clear the log?");
const QLatin1String writeQuestion("Are you sure you want to write settings to EEPROM?");
const QLatin1String writingTitle("Writing data to eeprom, please wait");

} // namespace

/// The operations on log, settings and clock, most of which show a wait dialog.
class TestLongOperations : public ToolFixture
{
    Q_OBJECT

private slots:
    void logIsSavedToChosenFile()
    {
        QVERIFY(startConnected({text("--log-rows"), text("12")}));
        clearCommands();
        QList<int> progress;
        QSet<QString> titles;
        bool readWasEnabled = false;
        connect(progressBar(), &QProgressBar::valueChanged, this, [&](int value) {
            progress.append(value);
            if (value > 0) {
                titles.insert(waitDialog()->windowTitle());
                readWasEnabled = readWasEnabled || isEnabled("readLogButton");
            }
        });
        dialogs().answerDialog(readingTitle, [](QDialog *) {});
        // Long enough for the dialog to be shown.
        QVERIFY(device().fault("delay:30"));
        QVERIFY(saveLog());
        QVERIFY(!waitDialog()->isVisible());
        QCOMPARE(titles, QSet<QString>{readingTitle});
        QVERIFY(!readWasEnabled);
        QVERIFY(isEnabled("readLogButton"));

        // The last row but one sets the progress to 100; the last one doesn't report progress.
        QVERIFY(progress.size() > 5);
        QVERIFY(std::is_sorted(progress.begin() + 1, progress.end()));
        QCOMPARE(progress.last(), 100);
        const QStringList lines =
            QString::fromUtf8(contents(logPath())).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 13);
        QCOMPARE(lines, device().logAsCsv());
        QCOMPARE(savedPreference("log filename").toString(), logPath());
        QCOMPARE(commandCount("log --count"), 1);
        QCOMPARE(commandCount("log --read="), 13);
    }

    void cancellingSaveDialogDiscardsLog()
    {
        QVERIFY(startConnected());
        dialogs().escapeDialog(saveCaption);
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());
        QVERIFY(!savedPreference("log filename").isValid());
        QVERIFY(isEnabled("readLogButton"));

        // The next log contains no rows of the discarded one.
        QVERIFY(saveLog());
        QCOMPARE(contents(logPath()).count('\n'), 6);
    }

    void unwritableLogFileIsReported()
    {
        QVERIFY(startConnected());
        const QString path = chooseFileInRemovedFolder(saveCaption);
        dialogs().answerMessageBox(text("Unable to save log to file ") + path, text("OK"));
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());
        QCOMPARE(savedPreference("log filename").toString(), path);
    }

    void cancelStopsReadingLog()
    {
        QVERIFY(startConnected({text("--log-rows"), text("200")}));
        const QSignalSpy cancelled(&window(), &MainWindow::waitDialogCancelled);
        atProgress(20, [] { QVERIFY(press(cancelButton())); });
        QVERIFY(click("readLogButton"));
        QVERIFY(!waitDialog()->isVisible());
        // One signal from the button, and one from the close event that it causes.
        QCOMPARE(cancelled.size(), 2);
        QVERIFY(isEnabled("readLogButton"));
        QVERIFY(isIdle());
        QVERIFY(commandCount("log --read=") < 200);

        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilIdle());
        QVERIFY(isConnected());
    }

    void emptyLogIsReportedAndWaitDialogKeepsReason()
    {
        QVERIFY(startConnected({text("--log-rows"), text("0")}));
        dialogs().answerMessageBox(text("Log is empty"), text("OK"));
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(isEnabled("readLogButton"));

        // From now on each clock reply closes the hidden dialog, which counts as a cancellation of
        // the log read: the waiting jobs are removed from the queue.
        QSignalSpy cancels(&window(), &MainWindow::waitDialogCancelled);
        clearCommands();
        QVERIFY(click("synchronizeButton"));
        QVERIFY(click("synchronizeButton"));
        QTRY_COMPARE(cancels.size(), 1);
        QCOMPARE(cancels.first().first().value<WaitDialogReason>(), WaitDialogReason::ReadingLog);
        QVERIFY(waitUntilIdle());
        QCOMPARE(commandCount("date"), 1);
        QVERIFY(commands().size() < 2 * 15);
    }

    void missingLogOptionIsReportedAndReadIsEnabledAgain()
    {
        const QString missing =
            text("No LOG option installed to device, unable to read or clear log.");
        QVERIFY(startConnected({text("--no-log-option")}));
        dialogs().answerMessageBox(missing, text("OK"));
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());
        QVERIFY(!waitDialog()->isVisible());
        // Closing the dialog counts as a cancellation of the log read, which enables the button.
        QVERIFY(isEnabled("readLogButton"));

        dialogs().answerMessageBox(clearQuestion, text("Yes"));
        dialogs().answerMessageBox(missing, text("OK"));
        QVERIFY(click("eraseLogButton"));
        QVERIFY(waitForAnswers());
    }

    void logIsClearedAfterConfirmation()
    {
        QVERIFY(startConnected());
        dialogs().answerMessageBox(clearQuestion, text("No"));
        QVERIFY(click("eraseLogButton"));
        QVERIFY(waitUntilIdle());
        QCOMPARE(device().state("log"), QByteArray("5"));

        dialogs().answerMessageBox(clearQuestion, text("Yes"));
        QVERIFY(click("eraseLogButton"));
        QTRY_COMPARE(device().state("log"), QByteArray("0"));
        QVERIFY(waitUntilIdle());
        QCOMPARE(commandCount("log --erase"), 1);
    }

    void settingsAreWrittenAfterConfirmation()
    {
        QVERIFY(startConnected({text("--write-ms"), text("300")}));
        clearCommands();
        dialogs().answerMessageBox(writeQuestion, text("No"));
        QVERIFY(click("writeToEepromButton"));
        QCOMPARE(commands(), QStringList());

        bool barWasBusy = false;
        dialogs().answerMessageBox(writeQuestion, text("Yes"));
        dialogs().answerDialog(writingTitle,
                               [&](QDialog *) { barWasBusy = progressBar()->maximum() == 0; });
        QVERIFY(click("writeToEepromButton"));
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(barWasBusy);
        QCOMPARE(commands(), QStringList(text("write --really")));
        QVERIFY(!queue().currentJob());
    }

    void settingClockSendsCommandsInFixedOrder()
    {
        QVERIFY(startConnected({text("--clock-offset"), text("-86400")}));
        const auto isRight = [this] {
            return qAbs(device().clock().secsTo(QDateTime::currentDateTimeUtc())) <= 5;
        };
        QVERIFY(!isRight());
        clearCommands();
        int writtenAtFirstClose = -1;
        dialogs().answerDialog(clockTitle, [](QDialog *) {});
        connect(&window(), &MainWindow::waitDialogCancelled, this, [&] {
            if (writtenAtFirstClose < 0) {
                writtenAtFirstClose = commandCount("date 2");
            }
        });
        QVERIFY(device().fault("delay:100"));
        QVERIFY(click("syncClockButton"));
        QVERIFY(!waitDialog()->isVisible());
        QCOMPARE(writtenAtFirstClose, 0);
        QTRY_COMPARE(commandCount("date$"), 2);
        QVERIFY(waitUntilIdle());
        QVERIFY(isRight());

        // First everything is read again; then the clock is written, stored and read.
        const QStringList sent = commands();
        QCOMPARE(sent.size(), 6 + 8 + 1 + 3);
        QCOMPARE(sent.first(), text("show hwver"));
        QCOMPARE(sent.at(14), text("date"));
        QVERIFY(sent.at(15).startsWith(text("date 2")));
        QVERIFY(!sent.at(15).endsWith(QLatin1Char('Z')));
        QCOMPARE(sent.mid(16), texts("write --really|date"));
        const QDateTime shown = child<QDateTimeEdit>("deviceClockDateTimeEdit")->dateTime();
        QVERIFY(qAbs(shown.secsTo(QDateTime::currentDateTime())) <= 5);
    }

private:
    QString logPath() const { return file(text("log.csv")); }

    bool saveLog()
    {
        dialogs().answerFileDialog(saveCaption, logPath());
        return click("readLogButton") && waitFor([this] { return QFile::exists(logPath()); });
    }
};

KV_TEST_MAIN(TestLongOperations)
#include "tst_longoperations.moc"
