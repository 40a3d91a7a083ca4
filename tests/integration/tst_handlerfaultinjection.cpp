// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/faultexpectations.h"
#include "tests/kit/devicelink.h"
#include "tests/kit/fileio.h"
#include "tests/kit/testmain.h"

#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtTest/QtTest>

namespace {

using Faults = FaultMatrix::AnyOf<FaultKind>;

// EEPROM operations are cancelled after the first of their 1024 blocks. One of these is the block
// that the fault affects; see the operations in faultexpectations.cpp.
constexpr int blocksBeforeCancel = 9;
constexpr int affectedBlock = 5;
constexpr int eepromBlockSize = 64;

QByteArray eepromImage() { return FileIo::pseudoRandomBytes(65536); }

QByteArray firmwareImage()
{
    return eepromImage().left(40); // three firmware blocks, the last one incomplete
}

/// How an operation is requested, how its success is reported and how it is cancelled.
struct Steps
{
    void (*request)(SerialPortHandler &);
    const char *report; ///< the beginning of the event that reports success
    const char *value = ""; ///< the rest of the event
    void (SerialPortHandler::*cancel)() = nullptr;
};

// In the order of HandlerOperation.
const Steps allSteps[] = {
    {[](auto &handler) { handler.connectToDevice(); }, "connected"},
    {[](auto &handler) { handler.readMeasurements(); }, "measurements"},
    {[](auto &handler) { handler.readModel(); }, "value ValueDeviceModel QString ", "KVT-100"},
    {[](auto &handler) { handler.readValue(text("altitude")); }, "read altitude=", "120"},
    {[](auto &handler) { handler.setValue(text("altitude"), text("321")); },
     "written altitude=", "321"},
    {[](auto &handler) { handler.readDate(); }, "value ValueDeviceDate QDateTime "},
    {[](auto &handler) {
         handler.setDate({{2030, 1, 2}, {3, 4, 5}, Qt::UTC});
     },
     "finished ActionSetDate QDateTime ", "2030-01-02T03:04:05Z"},
    {[](auto &handler) { handler.writeToEeprom(); }, "finished ActionWriteToEeprom (no value)"},
    {[](auto &handler) { handler.readLog(); }, "log", "", &SerialPortHandler::cancelLogRead},
    {[](auto &handler) { handler.eraseLog(); }, "finished ActionEraseLog (no value)"},
    {[](auto &handler) { handler.readEeprom(); }, "finished ActionEepromRead", "",
     &SerialPortHandler::cancelEepromRead},
    {[](auto &handler) { handler.writeEeprom(eepromImage()); },
     "finished ActionEepromWritten (no value)", "", &SerialPortHandler::cancelEepromWrite},
    {[](auto &handler) { handler.reboot(); }, "finished ActionReboot (no value)"},
    {[](auto &handler) {
         handler.rebootToBootloader();
         handler.updateFirmware(firmwareImage());
     },
     "finished ActionFirmwareTransmitted int 100", "", &SerialPortHandler::cancelFirmwareUpdate},
};

bool restartsDevice(HandlerOperation operation)
{
    return operation == Reboot || operation == UpdateFirmware;
}

// The time-out of the jobs for a pair, in ms; 0 keeps the default of each job.
int timeoutMs(FaultKind fault, HandlerOperation operation)
{
    using F = FaultKind;
    constexpr int afterRestartMs = 2000; // by then the device has restarted
    constexpr int longReplyMs = 300; // for replies that may arrive in many chunks
    const Faults singleReplyFaults{F::SilenceOnce, F::LostByte, F::FlippedBit, F::NulByte};
    if (restartsDevice(operation) && (fault == F::LateReply || singleReplyFaults.contains(fault))) {
        return afterRestartMs;
    }
    const QVector<QPair<Faults, int>> timeouts = {
        {F::LateReply, lateReplyTimeoutMs},
        {singleReplyFaults, operation == ReadLog ? longReplyMs : 200},
        {F::HangUpBefore, 40},
        {{F::Silence, F::HangUpDuring, F::WrongChecksumAlways, F::WrongEntryAlways,
          F::MalformedRecordAlways, F::MalformedBlockAlways},
         100},
        {{F::ShortDelay, F::SingleBytes, F::Chatter, F::UnknownModel, F::NoLogOption, F::FinalStar,
          F::HangUpAfter},
         0},
    };
    for (const auto &timeout : timeouts) {
        if (timeout.first.contains(fault)) {
            return timeout.second;
        }
    }
    return longReplyMs;
}

QByteArray sendsText(int sends)
{
    return QByteArray::number(sends) + (sends == 1 ? " send" : " sends");
}

} // namespace

/// Runs each operation of the handler under faults and compares the outcome with the expectation.
class TestHandlerFaultInjection : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder.reset(new QTemporaryDir);
        m_link.reset(new DeviceLink);
        m_blocks.clear();
        connect(m_link->queue.data(), &SerialPortQueueInterface::eepromBlockRead, m_link.data(),
                [this](quint16 index, const QByteArray &data) { m_blocks.insert(index, data); });
    }

    void operationsEndAsExpected_data() { m_matrix.addRows(m_matrix.operation(0).part); }

    void operationsEndAsExpected()
    {
        QFETCH(int, fault);
        QFETCH(int, operation);
        m_fault = static_cast<FaultKind>(fault);
        m_operation = static_cast<HandlerOperation>(operation);
        const QByteArray seen = run();
        m_matrix.record(m_fault, m_operation, seen);
        QCOMPARE(seen, QByteArray(m_matrix.expected(m_fault, m_operation).text));
    }

    void everyPairHasAnExpectation() { m_matrix.verify(27 * 14); }
    void cleanupTestCase() { QVERIFY(m_matrix.saveTables()); }

private:
    bool prepare()
    {
        // An update needs longer delays: even on a slow machine, the restart message must not
        // arrive in the same chunk as the bootloader's prompt, and the bootloader must not stop
        // waiting.
        const bool update = m_operation == UpdateFirmware;
        QString options = text("--log-rows 3 --write-ms 1 --reboot-ms %1 --boot-wait %2 --image %3 "
                               "--image-size %4")
                              .arg(update ? 300 : 20)
                              .arg(update ? 1000 : 300)
                              .arg(imageFile())
                              .arg(firmwareImage().size());
        if (m_fault == FaultKind::NoLogOption) {
            options += text(" --no-log-option");
        }
        if (!m_link->start(options)
            || !(m_operation == Connect ? m_link->handler.openPort() : m_link->connectDevice())) {
            return false;
        }
        const QByteArray fault = simulatorFault();
        if (!fault.isEmpty() && !m_link->simulator.fault(fault)) {
            return false;
        }
        if (m_fault == FaultKind::HangUpBefore) {
            m_link->simulator.hangUp();
        }
        const Faults lineDamagingFaults{FaultKind::WrongChecksum, FaultKind::LostByte,
                                        FaultKind::FlippedBit};
        // Without this pause, each further chunk of a line with a wrong checksum makes the job
        // send its command again.
        m_link->chunkPauseMs =
            m_operation == ReadLog && lineDamagingFaults.contains(m_fault) ? 30 : 0;
        return true;
    }

    QByteArray simulatorFault() const
    {
        if (m_fault == FaultKind::LateReply && restartsDevice(m_operation)) {
            return "delay@reboot:3000"; // longer than the time-out
        }
        const FaultOperation &operation = m_matrix.operation(m_operation);
        // A colon would end the command in the description of the fault.
        const QByteArray command = QByteArray(operation.command).split(':').first();
        return faultInfo(m_fault).simulatorFaultFor(command, operation.damagedByte);
    }

    bool hasEnded() const
    {
        const auto hasEvent = [this](const char *name) {
            return m_link->events.contains(text(name));
        };
        if (m_operation == ReadEeprom || m_operation == WriteEeprom) {
            return m_link->eepromProgress.size() >= blocksBeforeCancel;
        }
        return m_operation == ReadLog
            ? hasEvent("log") || hasEvent("value ValueLogOption bool false")
            : hasEvent("connected") || hasEvent("failed ActionFirmwareBlockTransmitted")
                || hasEvent("allJobsDone");
    }

    /// After the second send, blocks the event loop until both replies have arrived.
    bool waitForBothReplies()
    {
        constexpr unsigned long pauseMs = lateReplyMs - lateReplyTimeoutMs + 300;
        if (!runUntil([&] { return m_link->sendCount(command()) == 2; })) {
            return false;
        }
        m_link->port->flush();
        QThread::msleep(pauseMs);
        return true;
    }

    QByteArray run()
    {
        if (!prepare()) {
            return "not prepared";
        }
        steps().request(m_link->handler);
        m_link->setTimeouts(timeoutMs(m_fault, m_operation));
        if (m_fault == FaultKind::LateReply && !restartsDevice(m_operation)
            && !waitForBothReplies()) {
            return "not sent again";
        }
        if (!runUntil([&] { return m_link->isStalled() || hasEnded(); })) {
            return "no outcome within 20 s";
        }
        if (m_link->isStalled()) {
            return stallOutcome();
        }
        const QByteArray seen = outcome();
        return m_fault == FaultKind::HangUpAfter ? seen + outcomeAfterHangUp() : seen;
    }

    QByteArray outcome()
    {
        if (m_operation == ReadEeprom || m_operation == WriteEeprom) {
            (m_link->handler.*steps().cancel)();
        }
        const QStringList &events = m_link->events;
        if (events.contains(text("value ValueLogOption bool false"))) {
            return "reports that there is no log";
        }
        if (events.contains(text("failed ActionFirmwareBlockTransmitted"))) {
            return "failed at block " + QByteArray::number(m_link->port->blocks.size());
        }
        if (m_operation == UpdateFirmware && m_link->firmwareProgress.contains(100.0)) {
            return "all blocks accepted, completion not reported";
        }
        QString value;
        const bool correct = isCorrect(value);
        if (value.contains(text("\r\n"))) {
            value = text("two replies in one");
        }
        return (correct ? QByteArray("done, ")
                        : "wrong result reported: " + value.toLatin1() + ", ")
            + sendsText(m_link->sendCount(command()));
    }

    QByteArray stallOutcome()
    {
        QStringList reported = m_link->events;
        if (m_operation == ReadLog && !reported.isEmpty()) {
            reported = reported.mid(2); // the first two report the number of rows
        }
        reported.removeAll(text("finished ActionRebootForFirmware (no value)"));
        if (!reported.isEmpty()) {
            return "queue stopped, but reported " + reported.join(text("; ")).toLatin1();
        }
        const QString last = m_link->port->texts.last().trimmed();
        const QByteArray sends =
            sendsText(m_link->sendCount(last)); // the recovery clears the records
        return "queue stopped after " + sends + recovery();
    }

    /// Removes the fault and calls the function that should start the queue again.
    QByteArray recovery()
    {
        SerialPortHandler &handler = m_link->handler;
        QByteArray call = "cancel";
        m_link->simulator.control("fault clear");
        m_link->chunkPauseMs = 0;
        m_link->setTimeouts(0);
        if (m_fault == FaultKind::HangUpBefore || m_fault == FaultKind::HangUpDuring) {
            call = "close";
            handler.disconnectFromDevice();
        } else if (m_operation == Connect) {
            call = "connect";
            handler.connectToDevice();
        } else if (steps().cancel != nullptr
                   && (m_operation != UpdateFirmware
                       || m_link->events.contains(
                           text("finished ActionRebootForFirmware (no value)")))) {
            (handler.*steps().cancel)();
        } else {
            call = "clear";
            handler.clearJobs();
        }
        const bool hasRecovered =
            call == "connect" ? m_link->waitFor(text("connected")) : m_link->isIdle();
        return (hasRecovered && worksAgain() ? "; works after " : "; doesn't work after ") + call;
    }

    QByteArray outcomeAfterHangUp()
    {
        // Completion is reported before the last job has left the queue.
        runUntil([&] { return m_link->isIdle(); });
        m_link->simulator.hangUp();
        m_link->clearRecords();
        m_link->handler.readValue(text("altitude"));
        m_link->setTimeouts(40);
        if (!m_link->waitForStall() || m_link->sendCount(text("show altitude")) != 5) {
            return "; next command: queue not stopped";
        }
        m_link->handler.disconnectFromDevice();
        return QByteArray("; next command: queue stopped, ")
            + (worksAgain() ? "works after close" : "doesn't work after close");
    }

    /// Whether the handler can connect to the device and read from it; after a hang-up, through a
    /// new port.
    bool worksAgain()
    {
        m_link->setTimeouts(0);
        if (isHangUp(m_fault)) {
            if (!m_link->simulator.resume()) {
                return false;
            }
            m_link->replacePort();
        }
        if (m_link->simulator.state("mode") == "bootloader") {
            m_link->simulator.control("restart");
        }
        return runUntil([&] { return m_link->simulator.state("mode") == "console"; })
            && m_link->connectDevice() && m_link->readReturns("hwver", "B");
    }

    /// Whether the reported result equals the device's data; @p value is set to what was reported.
    bool isCorrect(QString &value)
    {
        SimulatorProcess &simulator = m_link->simulator;
        const auto deviceBlock = [&] {
            return QByteArray::fromHex(
                simulator.control("memory " + QByteArray::number(affectedBlock)).value(0));
        };
        value = reportedValue(text(steps().report));
        const bool isReported = value == text(steps().value);
        switch (m_operation) {
        case Poll:
            return m_link->measurementsMatchDevice();
        case SetValue:
            return isReported && simulator.setting("altitude") == "321";
        case ReadClock: {
            const QDateTime time = QDateTime::fromString(value, Qt::ISODate);
            return qAbs(time.secsTo(QDateTime::currentDateTimeUtc())) < 20;
        }
        case SetClock:
            return isReported
                && simulator.control("clock").value(0).startsWith("2030-01-02T03:04:");
        case ReadLog:
            return m_link->logMatchesDevice();
        case EraseLog:
            return isReported && simulator.state("log") == "0";
        case ReadEeprom:
            value = text("%1 bytes").arg(m_blocks.value(affectedBlock).size());
            return m_blocks.value(affectedBlock) == deviceBlock();
        case WriteEeprom:
            return eepromImage().mid(affectedBlock * eepromBlockSize, eepromBlockSize)
                == deviceBlock();
        case UpdateFirmware:
            return isReported && FileIo::contents(imageFile()) == firmwareImage();
        default:
            return isReported;
        }
    }

    QString reportedValue(const QString &report) const
    {
        for (const QString &event : m_link->events) {
            if (event.startsWith(report)) {
                return event.mid(report.size());
            }
        }
        return text("nothing");
    }

    const Steps &steps() const { return allSteps[m_operation]; }
    QString imageFile() const { return m_folder->filePath(text("image")); }
    QString command() const { return text(m_matrix.operation(m_operation).command); }

    FaultMatrix m_matrix = handlerFaultMatrix();

    // The pair that is being tested, and its device.
    FaultKind m_fault = {};
    HandlerOperation m_operation = {};
    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<DeviceLink> m_link;
    QMap<int, QByteArray> m_blocks; ///< EEPROM blocks that were read, by number
};

KV_TEST_CORE_MAIN(TestHandlerFaultInjection)

#include "tst_handlerfaultinjection.moc"
