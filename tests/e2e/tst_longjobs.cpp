// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/toolfixture.h"
#include "tests/kit/testmain.h"

#include <QtWidgets/QDateTimeEdit>

namespace {

const QLatin1String readingTitle("Reading log, please wait");
const QLatin1String saveCaption("Select where to save log to");

} // namespace

class TestLongJobs : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareApplication(); }
    void init() { beginCase(); }
    void cleanup() { endCase(); }

    void logIsReadIntoTheChosenFile();
    void logOfOneRowIsRead();
    void cancelledSaveDialogDropsTheLog();
    void logFileThatCanNotBeWrittenIsTold();
    void cancelButtonEndsTheReading();
    void frameOfTheWaitDialogEndsTheReading();
    void escapeHidesTheDialogAndTheReadingRunsOn();
    void emptyLogIsTold();
    void missingLogOptionEndsWithTheControlEnabled();
    void logIsClearedAfterAQuestion();
    void reasonOutlivesItsDialog();

    void settingsAreWrittenAfterAQuestion();
    void cancelledWriteRunsOn();
    void clockIsSetInItsOrder();
    void clockWithASilentDeviceWaitsForACancel();

private:
    QStringList deviceLog();
    void whenBarReaches(int percentage, const std::function<void()> &action);
};

/// The device's log as the CSV file should have it.
QStringList TestLongJobs::deviceLog()
{
    QStringList lines;
    for (const QByteArray &row : device().control("log")) {
        const int begin = row.indexOf('=') + 1;
        QStringList cells = QString::fromLatin1(row.mid(begin, row.lastIndexOf('#') - begin))
                                .split(QLatin1Char(','));
        if (!lines.isEmpty()) {
            QDateTime time = QDateTime::fromString(cells.first(), Qt::ISODate);
            time.setTimeSpec(Qt::UTC);
            cells.first() = time.toLocalTime().toString(Qt::ISODate);
            for (int index = 1; index < cells.size(); ++index) {
                cells[index] = QString::number(cells.at(index).toDouble(), 'g', 6);
            }
        }
        lines.append(cells.join(QLatin1Char(',')));
    }
    return lines;
}

/// Runs @p action once, from the event loop of the wait dialog that is about to come.
void TestLongJobs::whenBarReaches(int percentage, const std::function<void()> &action)
{
    auto *const once = new QObject(bar());
    connect(
        bar(), &QProgressBar::valueChanged, once,
        [=](int value) {
            if (value >= percentage) {
                once->disconnect();
                once->deleteLater();
                const auto run = action;
                run();
            }
        },
        Qt::QueuedConnection);
}

void TestLongJobs::logIsReadIntoTheChosenFile()
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
    // Slow enough to be seen by a person.
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
    const QStringList lines =
        QString::fromUtf8(contents(path)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 13);
    QCOMPARE(lines, deviceLog());
    QCOMPARE(rememberedValue("log filename").toString(), path);
    QCOMPARE(commandCount("log --count"), 1);
    QCOMPARE(commandCount("log --read="), 13);
}

void TestLongJobs::logOfOneRowIsRead()
{
    QVERIFY(startConnected({text("--log-rows"), text("1")}));
    const QString path = file(text("log.csv"));
    dialogs().answerFileDialog(saveCaption, path);
    QVERIFY(click("readLogButton"));
    QTRY_VERIFY(QFile::exists(path));
    QCOMPARE(QString::fromUtf8(contents(path)).split(QLatin1Char('\n'), Qt::SkipEmptyParts),
             deviceLog());
}

void TestLongJobs::cancelledSaveDialogDropsTheLog()
{
    QVERIFY(startConnected());
    dialogs().answerDialog(saveCaption,
                           [](QDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    QVERIFY(click("readLogButton"));
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
    QVERIFY(!rememberedValue("log filename").isValid());
    QVERIFY(isEnabled("readLogButton"));

    // The next reading finds nothing of this one.
    const QString path = file(text("log.csv"));
    dialogs().answerFileDialog(saveCaption, path);
    QVERIFY(click("readLogButton"));
    QTRY_VERIFY(QFile::exists(path));
    QCOMPARE(contents(path).count('\n'), 6);
}

void TestLongJobs::logFileThatCanNotBeWrittenIsTold()
{
    QVERIFY(startConnected());
    // The folder goes away between the choice and the writing.
    const QString inside = file(text("no-folder/log.csv"));
    dialogs().answerDialog(saveCaption, [=](QDialog *dialog) {
        QVERIFY(QDir().mkdir(file(text("no-folder"))));
        dialog->findChild<QLineEdit *>(text("fileNameEdit"))->setText(inside);
        QVERIFY(QDir().rmdir(file(text("no-folder"))));
        dialog->done(QDialog::Accepted);
    });
    dialogs().answerBox(text("Unable to save log to file ") + inside, text("OK"));
    QVERIFY(click("readLogButton"));
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
    QCOMPARE(rememberedValue("log filename").toString(), inside);
}

void TestLongJobs::cancelButtonEndsTheReading()
{
    QVERIFY(startConnected({text("--log-rows"), text("200")}));
    QSignalSpy cancels(&window(), &MainWindow::waitDialogCancelled);
    whenBarReaches(20, [this] { QVERIFY(press(cancelButton())); });
    QVERIFY(click("readLogButton"));
    QVERIFY(!waitDialog()->isVisible());
    // The button's own, and the one of the close that it brings, inside it.
    QCOMPARE(cancels.size(), 2);
    QVERIFY(isEnabled("readLogButton"));
    QVERIFY(!queue().currentJob());
    QVERIFY(queue().jobs().isEmpty());
    QVERIFY(commandCount("log --read=") < 200);

    QVERIFY(click("synchronizeButton"));
    QVERIFY(waitUntilQuiet());
    QVERIFY(isConnected());
}

void TestLongJobs::frameOfTheWaitDialogEndsTheReading()
{
    QVERIFY(startConnected({text("--log-rows"), text("200")}));
    QSignalSpy cancels(&window(), &MainWindow::waitDialogCancelled);
    whenBarReaches(20, [] { QVERIFY(closeByFrame(waitDialog())); });
    QVERIFY(click("readLogButton"));
    QCOMPARE(cancels.size(), 1);
    QVERIFY(isEnabled("readLogButton"));
    QVERIFY(!queue().currentJob());
    QVERIFY(commandCount("log --read=") < 200);
}

void TestLongJobs::escapeHidesTheDialogAndTheReadingRunsOn()
{
    QVERIFY(startConnected({text("--log-rows"), text("60")}));
    const QString path = file(text("log.csv"));
    QSignalSpy cancels(&window(), &MainWindow::waitDialogCancelled);
    whenBarReaches(20, [] { QTest::keyClick(waitDialog(), Qt::Key_Escape); });
    dialogs().answerFileDialog(saveCaption, path);
    QVERIFY(click("readLogButton"));
    QVERIFY(!waitDialog()->isVisible());
    QCOMPARE(cancels.size(), 0);
    QVERIFY(!isEnabled("readLogButton"));
    QTRY_VERIFY(QFile::exists(path));
    QVERIFY(isEnabled("readLogButton"));
    QCOMPARE(contents(path).count('\n'), 61);
}

void TestLongJobs::emptyLogIsTold()
{
    QVERIFY(startConnected({text("--log-rows"), text("0")}));
    dialogs().answerBox(text("Log is empty"), text("OK"));
    QVERIFY(click("readLogButton"));
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
    QVERIFY(!waitDialog()->isVisible());
    QVERIFY(isEnabled("readLogButton"));
}

void TestLongJobs::missingLogOptionEndsWithTheControlEnabled()
{
    const QString missing = text("No LOG option installed to device, unable to read or clear log.");
    QVERIFY(startConnected({text("--no-log-option")}));
    dialogs().answerBox(missing, text("OK"));
    QVERIFY(click("readLogButton"));
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
    QVERIFY(!waitDialog()->isVisible());
    // The dialog's close runs the cancel of its reason, which enables the control.
    QVERIFY(isEnabled("readLogButton"));

    dialogs().answerBox(text("Are you sure you want to clear the log?"), text("Yes"));
    dialogs().answerBox(missing, text("OK"));
    QVERIFY(click("eraseLogButton"));
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));
}

void TestLongJobs::logIsClearedAfterAQuestion()
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

void TestLongJobs::reasonOutlivesItsDialog()
{
    QVERIFY(startConnected({text("--log-rows"), text("0")}));
    dialogs().answerBox(text("Log is empty"), text("OK"));
    QVERIFY(click("readLogButton"));
    QVERIFY(waitFor([this] { return dialogs().isSatisfied(); }));

    // From now on each clock reply closes the hidden dialog, and that is a cancel of the log read:
    // what waits in the queue behind the clock is gone.
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

void TestLongJobs::settingsAreWrittenAfterAQuestion()
{
    QVERIFY(startConnected({text("--write-ms"), text("300")}));
    forgetCommands();
    dialogs().answerBox(text("Are you sure you want to write settings to EEPROM?"), text("No"));
    QVERIFY(click("writeToEepromButton"));
    QCOMPARE(commands(), QStringList());

    bool running = false;
    dialogs().answerBox(text("Are you sure you want to write settings to EEPROM?"), text("Yes"));
    dialogs().answerDialog(text("Writing data to eeprom, please wait"),
                           [&](QDialog *) { running = bar()->maximum() == 0; });
    QVERIFY(click("writeToEepromButton"));
    QVERIFY(!waitDialog()->isVisible());
    QVERIFY(running);
    QCOMPARE(commands(), QStringList(text("write --really")));
    QVERIFY(!queue().currentJob());
}

void TestLongJobs::cancelledWriteRunsOn()
{
    QVERIFY(startConnected({text("--write-ms"), text("1500")}));
    QSignalSpy finished(&tool().handler, &SerialPortHandlerInterface::actionFinished);
    dialogs().answerBox(text("Are you sure you want to write settings to EEPROM?"), text("Yes"));
    dialogs().answerDialog(text("Writing data to eeprom, please wait"),
                           [this](QDialog *) { QVERIFY(press(cancelButton())); });
    QVERIFY(click("writeToEepromButton"));
    QVERIFY(!waitDialog()->isVisible());
    QVERIFY(queue().currentJob());
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(finished.first().first().value<SerialPortActionType>(),
             SerialPortActionType::ActionWriteToEeprom);
}

void TestLongJobs::clockIsSetInItsOrder()
{
    QVERIFY(startConnected({text("--clock-offset"), text("-86400")}));
    const auto isRight = [this] {
        QDateTime clock = QDateTime::fromString(
            QString::fromLatin1(device().control("clock").value(0)), Qt::ISODate);
        clock.setTimeSpec(Qt::UTC);
        return qAbs(clock.secsTo(QDateTime::currentDateTimeUtc())) <= 5;
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

    // Everything is read anew first; then the clock is written, kept, and read back.
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

void TestLongJobs::clockWithASilentDeviceWaitsForACancel()
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
    // The cancel is one of the dialog alone: what was asked for goes on, the clock behind it.
    QTRY_COMPARE(commandCount("date 2"), 1);
    QTRY_COMPARE(commandCount("write --really"), 1);
}

KV_TEST_MAIN(TestLongJobs)
#include "tst_longjobs.moc"
