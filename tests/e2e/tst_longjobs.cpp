// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtWidgets/QDateTimeEdit>

namespace {

const QLatin1String readingTitle("Reading log, please wait");
const QLatin1String saveCaption("Select where to save log to");

QStringList linesOf(const QByteArray &csv)
{
    return QString::fromUtf8(csv).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace

/// The jobs with a wait dialog that read and write log, settings and clock.
class TestLongJobs : public ToolFixture
{
    Q_OBJECT

private slots:
    void logIsReadIntoTheChosenFile()
    {
        QVERIFY(startConnected({text("--log-rows"), text("12")}));
        forgetCommands();
        const QString path = file(text("log.csv"));
        QList<int> progress;
        QSet<QString> titles;
        bool readEnabled = false;
        connect(bar(), &QProgressBar::valueChanged, this, [&](int value) {
            progress.append(value);
            if (value > 0) {
                titles.insert(waitDialog()->windowTitle());
                readEnabled = readEnabled || isEnabled("readLogButton");
            }
        });
        dialogs().answerDialog(readingTitle, [](QDialog *) {});
        dialogs().answerFileDialog(saveCaption, path);
        // Slow enough for the dialog to be shown.
        QVERIFY(device().fault("delay:30"));
        QVERIFY(click("readLogButton"));
        QTRY_VERIFY(QFile::exists(path));
        QVERIFY(!waitDialog()->isVisible());
        QCOMPARE(titles, QSet<QString>{readingTitle});
        QVERIFY(!readEnabled);
        QVERIFY(isEnabled("readLogButton"));

        // The row before the last shows 100, and the last shows nothing more.
        QVERIFY(progress.size() > 5);
        QVERIFY(std::is_sorted(progress.begin() + 1, progress.end()));
        QCOMPARE(progress.last(), 100);
        QCOMPARE(linesOf(contents(path)).size(), 13);
        QCOMPARE(linesOf(contents(path)), device().logAsCsv());
        QCOMPARE(rememberedValue("log filename").toString(), path);
        QCOMPARE(commandCount("log --count"), 1);
        QCOMPARE(commandCount("log --read="), 13);
    }

    void logOfOneRowIsRead()
    {
        QVERIFY(startConnected({text("--log-rows"), text("1")}));
        const QString path = file(text("log.csv"));
        dialogs().answerFileDialog(saveCaption, path);
        QVERIFY(click("readLogButton"));
        QTRY_VERIFY(QFile::exists(path));
        QCOMPARE(linesOf(contents(path)), device().logAsCsv());
    }

    void cancelledSaveDialogDropsTheLog()
    {
        QVERIFY(startConnected());
        dialogs().escapeDialog(saveCaption);
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());
        QVERIFY(!rememberedValue("log filename").isValid());
        QVERIFY(isEnabled("readLogButton"));

        // The next reading finds nothing of this one.
        const QString path = file(text("log.csv"));
        dialogs().answerFileDialog(saveCaption, path);
        QVERIFY(click("readLogButton"));
        QTRY_VERIFY(QFile::exists(path));
        QCOMPARE(contents(path).count('\n'), 6);
    }

    void unwritableLogFileIsReported()
    {
        QVERIFY(startConnected());
        const QString path = chooseFileInRemovedFolder(saveCaption);
        dialogs().answerBox(text("Unable to save log to file ") + path, text("OK"));
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());
        QCOMPARE(rememberedValue("log filename").toString(), path);
    }

    void cancelEndsTheReading_data()
    {
        QTest::addColumn<bool>("byFrame");
        QTest::addColumn<int>("cancels");
        // The button's own signal, and the one of the close that it causes.
        QTest::addRow("button") << false << 2;
        QTest::addRow("frame") << true << 1;
    }

    void cancelEndsTheReading()
    {
        QFETCH(bool, byFrame);
        QFETCH(int, cancels);
        QVERIFY(startConnected({text("--log-rows"), text("200")}));
        QSignalSpy cancelled(&window(), &MainWindow::waitDialogCancelled);
        atProgress(20,
                   [=] { QVERIFY(byFrame ? closeByFrame(waitDialog()) : press(cancelButton())); });
        QVERIFY(click("readLogButton"));
        QVERIFY(!waitDialog()->isVisible());
        QCOMPARE(cancelled.size(), cancels);
        QVERIFY(isEnabled("readLogButton"));
        QVERIFY(isIdle());
        QVERIFY(commandCount("log --read=") < 200);

        QVERIFY(click("synchronizeButton"));
        QVERIFY(waitUntilQuiet());
        QVERIFY(isConnected());
    }

    void escapeHidesTheDialogAndTheReadingContinues()
    {
        QVERIFY(startConnected({text("--log-rows"), text("60")}));
        const QString path = file(text("log.csv"));
        QSignalSpy cancels(&window(), &MainWindow::waitDialogCancelled);
        atProgress(20, [] { QTest::keyClick(waitDialog(), Qt::Key_Escape); });
        dialogs().answerFileDialog(saveCaption, path);
        QVERIFY(click("readLogButton"));
        QVERIFY(!waitDialog()->isVisible());
        QCOMPARE(cancels.size(), 0);
        QVERIFY(!isEnabled("readLogButton"));
        QTRY_VERIFY(QFile::exists(path));
        QVERIFY(isEnabled("readLogButton"));
        QCOMPARE(contents(path).count('\n'), 61);
    }

    void emptyLogIsReported()
    {
        QVERIFY(startConnected({text("--log-rows"), text("0")}));
        dialogs().answerBox(text("Log is empty"), text("OK"));
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(isEnabled("readLogButton"));
    }

    void missingLogOptionEndsWithTheControlEnabled()
    {
        const QString missing =
            text("No LOG option installed to device, unable to read or clear log.");
        QVERIFY(startConnected({text("--no-log-option")}));
        dialogs().answerBox(missing, text("OK"));
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());
        QVERIFY(!waitDialog()->isVisible());
        // The dialog's close runs the cancel of its reason, which enables the control.
        QVERIFY(isEnabled("readLogButton"));

        dialogs().answerBox(text("Are you sure you want to clear the log?"), text("Yes"));
        dialogs().answerBox(missing, text("OK"));
        QVERIFY(click("eraseLogButton"));
        QVERIFY(waitForAnswers());
    }

    void logIsClearedAfterAQuestion()
    {
        QVERIFY(startConnected());
        dialogs().answerBox(text("Are you sure you want to clear the log?"), text("No"));
        QVERIFY(click("eraseLogButton"));
        QVERIFY(waitUntilQuiet());
        QCOMPARE(device().state("log"), QByteArray("5"));

        dialogs().answerBox(text("Are you sure you want to clear the log?"), text("Yes"));
        QVERIFY(click("eraseLogButton"));
        QTRY_COMPARE(device().state("log"), QByteArray("0"));
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commandCount("log --erase"), 1);
    }

    void reasonRemainsAfterItsDialog()
    {
        QVERIFY(startConnected({text("--log-rows"), text("0")}));
        dialogs().answerBox(text("Log is empty"), text("OK"));
        QVERIFY(click("readLogButton"));
        QVERIFY(waitForAnswers());

        // From now on each clock reply closes the hidden dialog, which cancels the log read: the
        // jobs after the clock are removed from the queue.
        QSignalSpy cancels(&window(), &MainWindow::waitDialogCancelled);
        forgetCommands();
        QVERIFY(click("synchronizeButton"));
        QVERIFY(click("synchronizeButton"));
        QTRY_COMPARE(cancels.size(), 1);
        QCOMPARE(cancels.first().first().value<WaitDialogReason>(), WaitDialogReason::ReadingLog);
        QVERIFY(waitUntilQuiet());
        QCOMPARE(commandCount("date"), 1);
        QVERIFY(commands().size() < 2 * 15);
    }

    void settingsAreWrittenAfterAQuestion()
    {
        QVERIFY(startConnected({text("--write-ms"), text("300")}));
        forgetCommands();
        dialogs().answerBox(text("Are you sure you want to write settings to EEPROM?"), text("No"));
        QVERIFY(click("writeToEepromButton"));
        QCOMPARE(commands(), QStringList());

        bool running = false;
        dialogs().answerBox(text("Are you sure you want to write settings to EEPROM?"),
                            text("Yes"));
        dialogs().answerDialog(text("Writing data to eeprom, please wait"),
                               [&](QDialog *) { running = bar()->maximum() == 0; });
        QVERIFY(click("writeToEepromButton"));
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(running);
        QCOMPARE(commands(), QStringList(text("write --really")));
        QVERIFY(!queue().currentJob());
    }

    void cancelledWriteContinues()
    {
        QVERIFY(startConnected({text("--write-ms"), text("1500")}));
        QSignalSpy finished(&tool().handler, &SerialPortHandlerInterface::actionFinished);
        dialogs().answerBox(text("Are you sure you want to write settings to EEPROM?"),
                            text("Yes"));
        dialogs().answerDialog(text("Writing data to eeprom, please wait"),
                               [this](QDialog *) { QVERIFY(press(cancelButton())); });
        QVERIFY(click("writeToEepromButton"));
        QVERIFY(!waitDialog()->isVisible());
        QVERIFY(queue().currentJob());
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(finished.first().first().value<SerialPortActionType>(),
                 SerialPortActionType::ActionWriteToEeprom);
    }

    void clockIsSetInItsOrder()
    {
        QVERIFY(startConnected({text("--clock-offset"), text("-86400")}));
        const auto isRight = [this] {
            return qAbs(device().clock().secsTo(QDateTime::currentDateTimeUtc())) <= 5;
        };
        QVERIFY(!isRight());
        forgetCommands();
        int writtenAtFirstClose = -1;
        dialogs().answerDialog(text("Setting device clock, please wait"), [](QDialog *) {});
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
        QVERIFY(waitUntilQuiet());
        QVERIFY(isRight());

        // Everything is read again first; then the clock is written, stored, and read back.
        QStringList order = commands();
        QCOMPARE(order.size(), 6 + 8 + 1 + 3);
        QCOMPARE(order.first(), text("show hwver"));
        QCOMPARE(order.at(14), text("date"));
        QVERIFY(order.at(15).startsWith(text("date 2")));
        QVERIFY(!order.at(15).endsWith(QLatin1Char('Z')));
        QCOMPARE(order.at(16), text("write --really"));
        QCOMPARE(order.at(17), text("date"));
        const QDateTime shown = child<QDateTimeEdit>("deviceClockDateTimeEdit")->dateTime();
        QVERIFY(qAbs(shown.secsTo(QDateTime::currentDateTime())) <= 5);
    }

    void clockWithASilentDeviceWaitsForACancel()
    {
        QVERIFY(startConnected());
        QVERIFY(device().fault("silence@date"));
        forgetCommands();
        dialogs().answerDialog(text("Setting device clock, please wait"), [this](QDialog *dialog) {
            QVERIFY(waitFor([this] { return commandCount("date$") == 1; }));
            QVERIFY(dialog->isVisible());
            QVERIFY(press(cancelButton()));
        });
        QVERIFY(click("syncClockButton"));
        // Cancels the dialog alone: the jobs continue, the clock's among them.
        QTRY_COMPARE(commandCount("date 2"), 1);
        QTRY_COMPARE(commandCount("write --really"), 1);
    }
};

KV_TEST_MAIN(TestLongJobs)
#include "tst_longjobs.moc"
