// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/e2e/faultexpectations.h"
#include "tests/kit/pseudoterminal.h"
#include "tests/kit/toolfixture.h"

#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QListWidget>

/// Performs the user actions of the fault matrix and determines their outcomes.
class UserActionFixture : public ToolFixture
{
protected:
    /// Three blocks, the last one short.
    static QByteArray firmwareImage() { return QByteArray(40, 'i'); }

    static QByteArray restoreImage() { return FileIo::pseudoRandomBytes(eepromBytes); }

    void perform()
    {
        switch (m_action) {
        case Connect:
            click("connectButton");
            break;
        case Poll:
            poll();
            if (m_fault == FaultKind::RepliesInOneChunk
                && waitFor([this] { return commandCount("show meas$") == 1; })) {
                m_firstValues = deviceValues();
            }
            break;
        case SetValue:
            typeSetting("altitude", text("321"));
            break;
        case Synchronize:
            click("synchronizeButton");
            break;
        case WriteSettings:
            dialogs().answerMessageBox(text("write settings to EEPROM"), text("Yes"));
            click("writeToEepromButton");
            break;
        case SetClock:
            click("syncClockButton");
            break;
        case ReadLog:
            answerFileDialog("Select where to save log to", "log.csv");
            click("readLogButton");
            break;
        case ClearLog:
            dialogs().answerMessageBox(text("want to clear the log"), text("Yes"));
            click("eraseLogButton");
            break;
        case Backup:
            // The button is hidden from users, but connected.
            answerFileDialog("Select where to write eeprom backup", "backup.dat");
            child<QPushButton>("backupEepromButton")->click();
            break;
        case Restore:
            write(file(text("backup.dat")), restoreImage());
            answerFileDialog("Select eeprom backup file", "backup.dat");
            child<QPushButton>("restoreEepromButton")->click();
            break;
        case UpdateConnected:
        case UpdateUnconnected:
            updateFirmware();
            break;
        case ShowGraph:
            openGraph();
            break;
        case ExportMeasurements:
            exportMeasurements();
            break;
        case StartProgram:
        case CloseProgram:
            break;
        }
    }

    /// Lets the controller's measurement timer time out once.
    void poll()
    {
        constexpr int minuteMs = 60000;
        table()->item(0, 1)->setText(QString());
        MainWindowController &controller = tool().controller;
        QSignalSpy polls(&controller, &MainWindowController::measurementPollStarted);
        connect(&controller, &MainWindowController::measurementPollStarted, this,
                [&controller] { controller.setMeasurementInterval(minuteMs); });
        controller.setMeasurementInterval(1);
        if (polls.isEmpty()) {
            polls.wait(waitMs);
        }
        controller.disconnect(this);
    }

    /// Closes the main window, with a line fault during an exchange; returns the outcome.
    QByteArray closeProgram()
    {
        const int code = runEventLoop([=] {
            if (!isDiskFault(m_fault)) {
                click("synchronizeButton");
            }
            if (m_fault == FaultKind::HangUpDuring) {
                device().hangUp();
            }
            window().close();
        });
        m_tool.reset();
        return "exit code " + QByteArray::number(code);
    }

    /// Presses Disconnect and Connect.
    bool reconnect()
    {
        // The port is closed after a moment, which also enables the button.
        auto *const button = child<QPushButton>("connectButton");
        button->setEnabled(false);
        return click("disconnectButton") && waitFor([=] { return button->isEnabled(); })
            && connectByClick();
    }

    /// The outcome of an action that has ended.
    QByteArray outcome()
    {
        const int sends = m_action == Connect ? 2 : 1;
        // The regular expression matches the whole command: for block 5, not for block 50.
        const QByteArray command =
            affectedCommand() + QByteArray(m_action == SetClock ? "" : "(?![0-9])");
        const auto wasResent = [&] {
            return qstrlen(affectedCommand()) > 0 && commandCount(command.constData()) > sends;
        };
        // A device that replies late receives the resent command only after its first reply.
        const bool isResent = m_expected.contains("sent again") ? waitFor(wasResent) : wasResent();
        const char *const failure = m_action == Connect ? "not connected"
            : m_action == Backup                        ? "damaged block in the file"
                                                        : "reported as done, but without effect";
        const QByteArray result = m_action == Poll ? readingOutcome()
            : m_action == Synchronize              ? synchronizeOutcome()
                                      : QByteArray(hasTakenEffect() ? "done" : failure);
        return isResent && result == "done" ? result + ", command sent again" : result;
    }

    const char *affectedCommand() const
    {
        // A late reply to "show" may arrive in the same chunk as the next one, so the outcome would
        // vary. That of "date" doesn't.
        return m_action == Synchronize && m_fault == FaultKind::LateReply
            ? "date"
            : m_matrix.operation(m_action).command;
    }

    bool isReadingShown()
    {
        return table()->rowCount() > 0 && !table()->item(0, 1)->text().isEmpty();
    }

    bool graphShowsHistory()
    {
        QWidget *const graph = topLevelWidget("MeasurementGraph");
        const bool shown = childWidget<QListWidget>(graph, "list")->count() >= 2;
        graph->close();
        return shown;
    }

    FaultMatrix m_matrix = userFaultMatrix();

    // The current pair and its state.
    FaultKind m_fault = {};
    UserAction m_action = {};
    QByteArray m_expected;
    QByteArray m_eepromBefore;
    int m_readingsBefore = 0;
    QStringList m_firstValues; ///< in the device's reply to the first of two polls
    std::unique_ptr<PseudoTerminal> m_terminal; ///< replaces the device if it exists

private:
    static constexpr int eepromBytes = 65536;

    void answerFileDialog(const char *caption, const char *name)
    {
        dialogs().answerFileDialog(text(caption), file(text(name)));
    }

    static QDateTime minutesAgo(int minutes)
    {
        return QDateTime::currentDateTime().addSecs(-60 * minutes);
    }

    void updateFirmware()
    {
        write(file(text("image.bin")), firmwareImage());
        dialogs().answerMessageBox(text("Are you sure you wish to continue?"), text("Yes"));
        answerFileDialog("Select firmware file", "image.bin");
        if (m_action == UpdateUnconnected) {
            dialogs().answerDialog(text("Please reboot the device manually"),
                                   [this](QDialog *) { restartForUpdate(); });
        }
        click("updateFirmwareButton");
    }

    /// Switches the device off and on, as the dialog asks the user to do.
    void restartForUpdate()
    {
        constexpr int longerThanATimeoutMs = 500;
        switch (m_fault) {
        case FaultKind::Silence: // as if the user didn't
        case FaultKind::HangUpBefore:
        case FaultKind::PortMissing:
        case FaultKind::PortInUse:
            break;
        case FaultKind::LateReply:
            QTimer::singleShot(longerThanATimeoutMs, this, [this] { device().control("restart"); });
            break;
        case FaultKind::LostByte:
            m_terminal->write("\r\nOrvanta KVT BOT");
            break;
        case FaultKind::FlippedBit:
            m_terminal->write("\r\nOrvanta KVT BNOT");
            break;
        case FaultKind::NulByte:
            m_terminal->write(QByteArrayLiteral("\r\nOrvanta KVT BO\0OT"));
            break;
        default:
            device().control("restart");
        }
    }

    void openGraph()
    {
        if (m_fault == FaultKind::HangUpDuring) {
            QTimer::singleShot(0, &window(), [this] { device().hangUp(); });
        }
        click("buttonShowGraph");
        QWidget *const graph = topLevelWidget("MeasurementGraph");
        waitFor([=] { return graph->isVisible(); });
        childWidget<QDateTimeEdit>(graph, "fromDateTimeEdit")->setDateTime(minutesAgo(6 * 60));
    }

    void exportMeasurements()
    {
        dialogs().answerDialog(text("Select measurements to export"), [=](QDialog *dialog) {
            if (m_fault == FaultKind::HangUpDuring) {
                device().hangUp();
            }
            childWidget<QDateTimeEdit>(dialog, "exportDateTimeFrom")
                ->setDateTime(minutesAgo(6 * 60));
            childWidget<QDateTimeEdit>(dialog, "exportDateTimeTo")->setDateTime(minutesAgo(1));
            press(dialog, QDialogButtonBox::Ok);
        });
        answerFileDialog("Select where to save measurements to", "measurements.csv");
        click("exportLocalMeasurementsButton");
    }

    /// The outcome of the last reading, according to the table and the database.
    QByteArray readingOutcome()
    {
        if (!isReadingShown() || storedReadings() <= m_readingsBefore) {
            return isReadingShown() ? "shown, not stored" : "nothing new";
        }
        // Of two replies in one chunk the first one is used.
        const QStringList expected = m_firstValues.isEmpty() ? deviceValues() : m_firstValues;
        return lastStoredValues() == expected ? "done" : "damaged value shown and stored";
    }

    QByteArray synchronizeOutcome()
    {
        // A read value that differs from the one in the cell is sent to the device, like a typed
        // one.
        const QString shown = setting("altitude")->text();
        const QByteArray deviceValue = device().setting("altitude");
        if (shown == text("777") && deviceValue == "777") {
            return "done";
        }
        const QByteArray value =
            shown.contains(QLatin1Char('\n')) ? "of two replies" : shown.toUtf8();
        return "damaged value " + value + " shown and sent back; the device has " + deviceValue;
    }

    /// Whether the action has taken effect, according to the device's state and the files.
    bool hasTakenEffect()
    {
        switch (m_action) {
        case Connect:
            return isConnectedCorrectly();
        case SetValue:
            return device().setting("altitude") == "321"
                && setting("altitude")->text() == text("321");
        case WriteSettings:
            return device().control("memory").join() != m_eepromBefore;
        case SetClock:
            return qAbs(device().clock().secsTo(QDateTime::currentDateTimeUtc())) < 20
                && commandCount("write --really") > 0;
        case ReadLog:
            return linesOf("log.csv") == device().logAsCsv() && isEnabled("readLogButton");
        case ClearLog:
            return device().state("log") == "0";
        case Backup:
            return backupMatchesEeprom();
        case Restore:
            return device().control("memory").join() == restoreImage().toHex();
        case UpdateConnected:
        case UpdateUnconnected:
            return contents(file(text("received.bin"))) == firmwareImage() && !isConnected();
        case ShowGraph:
            return graphShowsHistory();
        case ExportMeasurements:
            return linesOf("measurements.csv").size() == 4;
        default:
            return false;
        }
    }

    QStringList linesOf(const char *name)
    {
        return QString::fromUtf8(contents(file(text(name))))
            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    bool isConnectedCorrectly()
    {
        const auto has = [this](const QString &shown, const char *variable) {
            return shown.toLatin1() == device().setting(variable);
        };
        return has(fieldText("serialNumber"), "serial") && has(fieldText("modelNumber"), "model")
            && has(fieldText("swVersion"), "swver") && has(fieldText("hwVersion"), "hwver")
            && has(setting("altitude")->text(), "altitude") && isConnected()
            && readingOutcome() == "done";
    }

    bool backupMatchesEeprom()
    {
        constexpr int blockBytes = 64;
        // Each block is stored at the offset of its number, over all but the first byte of the
        // previous one.
        const QByteArray memory = QByteArray::fromHex(device().control("memory").join());
        QByteArray image(eepromBytes - 1, '\0');
        for (int block = 0; block < eepromBytes / blockBytes; ++block) {
            image.replace(block, blockBytes, memory.mid(block * blockBytes, blockBytes));
        }
        return contents(file(text("backup.dat"))).mid(4) == image;
    }
};
