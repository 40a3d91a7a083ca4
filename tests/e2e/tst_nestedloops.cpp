// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/e2e/dialogrows.h"
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtWidgets/QMessageBox>

namespace {

const QLatin1String portError("Error occurred with serial port communication: ");

} // namespace

/// Every modal dialog runs an event loop of its own, in which timers and device traffic continue
/// while the code that opened the dialog is blocked.
class TestNestedLoops : public ToolFixture
{
    Q_OBJECT

private slots:
    void readingsArriveDuringADialog_data()
    {
        addDialogColumns();
        addDialogRow({"log file dialog", "readLogButton", "Select where to save log to", ""});
        for (const DialogRow &row : otherDialogRows) {
            addDialogRow(row);
        }
    }

    void readingsArriveDuringADialog()
    {
        QFETCH(QByteArray, button);
        QFETCH(QString, title);
        QVERIFY(startPolling());
        bool arrived = false;
        dialogs().answerDialog(title, [&](QDialog *dialog) {
            arrived = readingsArrive();
            dialog->reject();
        });
        child<QPushButton>(button.constData())->click();
        QVERIFY(waitForAnswers());
        QVERIFY(arrived);
        QVERIFY(readingsArrive());
    }

    void boxFromAPollBlocksNothing()
    {
        QVERIFY(startPolling());
        bool arrived = false;
        dialogs().answerDialog(text("Kv tool"), [&](QDialog *dialog) {
            arrived = readingsArrive();
            dialog->accept();
        });
        // In the slot of the reading, so that the box nests in the delivery of the poll.
        const auto once = std::make_shared<bool>(true);
        connect(&tool().handler, &SerialPortHandlerInterface::measurementsRead, &window(), [=] {
            if (*once) {
                *once = false;
                window().showMessageBox(QMessageBox::Warning, text("In the middle of a poll"));
            }
        });
        QVERIFY(waitForAnswers());
        QVERIFY(arrived);

        QVERIFY(readingsArrive());
        // None was lost: each answer of the device is in the store.
        tool().controller.stopMeasurementPolling();
        QVERIFY(waitUntilQuiet());
        QCOMPARE(storedReadings(), commandCount("show meas$"));
    }

    void twoErrorsAreShownAboveEachOther()
    {
        QVERIFY(startPolling());
        QStringList answered;
        int highest = 0;
        for (int count = 0; count < 4; ++count) {
            dialogs().answerDialog(text("Kv tool"), [&](QDialog *dialog) {
                int open = 0;
                const auto widgets = QApplication::topLevelWidgets();
                for (QWidget *widget : widgets) {
                    open += qobject_cast<QMessageBox *>(widget) && widget->isVisible() ? 1 : 0;
                }
                highest = qMax(highest, open);
                answered.append(qobject_cast<QMessageBox *>(dialog)->text());
                QTest::keyClick(dialog, Qt::Key_Return);
            });
        }
        emit tool().queue->error(text("one"));
        emit tool().queue->error(text("two"));
        QVERIFY(waitForAnswers());
        QCOMPARE(highest, 4);
        // The last one is in front.
        QCOMPARE(answered,
                 QStringList({portError + text("two"), portError + text("two"),
                              portError + text("one"), portError + text("one")}));
        QVERIFY(isConnected());
        QVERIFY(readingsArrive());
    }

    void disconnectInAWaitDialogEndsItsJob_data()
    {
        addDialogColumns();
        for (const DialogRow &row : waitDialogRows) {
            // The clock's dialog closes before the clock is written.
            if (row.command != QByteArray("date 2")) {
                addDialogRow(row);
            }
        }
    }

    void disconnectInAWaitDialogEndsItsJob()
    {
        QFETCH(QByteArray, button);
        QFETCH(QString, title);
        QFETCH(QByteArray, command);
        QVERIFY(
            startPolling({text("--log-rows"), text("3000"), text("--write-ms"), text("60000")}));
        dialogs().answerDialog(title, [=](QDialog *dialog) {
            QTRY_VERIFY(commandCount(command.constData()) > 0);
            // The dialog blocks the button, but the end of a firmware update, for example,
            // disconnects.
            QVERIFY(!click("disconnectButton"));
            emit window().disconnectClicked();
            QTRY_VERIFY(!queue().serialPort()->isOpen());
            QVERIFY(!queue().currentJob());
            QVERIFY(queue().jobs().isEmpty());
            QVERIFY(dialog->isVisible());
            QVERIFY(press(cancelButton()));
        });
        prepareAnswers(button);
        child<QPushButton>(button.constData())->click();
        QVERIFY(waitForAnswers());
        QVERIFY(!isConnected());
        QVERIFY(isVisible("connectButton"));
        QVERIFY(button != "backupEepromButton" || !QFile::exists(jobFile()));

        // A write continues in the device; after the other jobs it can be connected again.
        if (button != "writeToEepromButton") {
            QVERIFY(connectByClick());
            QVERIFY(readingsArrive());
        }
    }

    void replyAfterTheDisconnectAsksTheClosedPort()
    {
        QVERIFY(startPolling());
        QVERIFY(disconnectByClick());
        // The handler stays connected: a count that arrives late makes it request the rows.
        QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QSerialPort): device not open");
        emit queue().valueRead(SerialPortValueType::ValueLogCount, 3);
        QCoreApplication::sendPostedEvents();
        QVERIFY(queue().currentJob());
        QCOMPARE(queue().jobs().size(), 3);
        // Before the first of them is sent again.
        tool().handler.cancelLogRead();

        forgetCommands();
        QVERIFY(connectByClick());
        QVERIFY(readingsArrive());
        QCOMPARE(commandCount("log"), 0);
    }
};

KV_TEST_MAIN(TestNestedLoops)
#include "tst_nestedloops.moc"
