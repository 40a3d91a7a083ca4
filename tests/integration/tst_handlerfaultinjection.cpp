// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/faultexpectations.h"
#include "tests/kit/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtTest/QtTest>

namespace {

constexpr int affectedBlock = 5; // of the memory
constexpr int sufficientBlocks = 9; // of 1024, the affected one among them
constexpr int blockSize = 64;
constexpr int memorySize = 65536;
constexpr int firmwareSize = 40; // three blocks

bool isRestart(HandlerOperation operation)
{
    return operation == Reboot || operation == UpdateFirmware;
}

bool isDeadLine(FaultKind fault)
{
    return fault == FaultKind::HangUpBefore || fault == FaultKind::HangUpDuring;
}

// The time-outs of the pair, in ms; 0: the job's own.
int timeoutMs(FaultKind fault, HandlerOperation operation)
{
    constexpr int deadLineMs = 40;
    constexpr int noGoodAnswerMs = 100;
    constexpr int oneBadAnswerMs = 200;
    constexpr int gatheredMs = 300; // for answers that are gathered
    constexpr int afterRestartMs = 2000; // by then the device is back
    switch (fault) {
    case FaultKind::LateAnswer:
        return isRestart(operation) ? afterRestartMs : lateAnswerTimeoutMs;
    case FaultKind::SilenceOnce:
    case FaultKind::LostByte:
    case FaultKind::FlippedBit:
    case FaultKind::NulByte:
        return operation == ReadLog ? gatheredMs
            : isRestart(operation)  ? afterRestartMs
                                    : oneBadAnswerMs;
    case FaultKind::HangUpBefore:
        return deadLineMs;
    case FaultKind::Silence:
    case FaultKind::HangUpDuring:
    case FaultKind::WrongChecksumAlways:
    case FaultKind::WrongEntryAlways:
    case FaultKind::MalformedRecordAlways:
    case FaultKind::MalformedBlockAlways:
        return noGoodAnswerMs;
    case FaultKind::ShortDelay:
    case FaultKind::SingleBytes:
    case FaultKind::Chatter:
    case FaultKind::UnknownModel:
    case FaultKind::NoLogOption:
    case FaultKind::FinalStar:
    case FaultKind::HangUpAfter:
        return 0;
    default:
        return gatheredMs;
    }
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
    void initTestCase()
    {
        for (int index = 0; index < memorySize; ++index) {
            m_memory += static_cast<char>((index * 7) & 0xff);
        }
        m_firmware = m_memory.left(firmwareSize);
    }

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
        // An update needs long times: the announcement of the restart must not arrive in one piece
        // with the bootloader's greeting, nor the bootloader stop waiting, when the machine is
        // slow.
        const bool update = m_operation == UpdateFirmware;
        QString options = text("--log-rows 3 --write-ms 1 --reboot-ms %1 --boot-wait %2 --image %3 "
                               "--image-size %4")
                              .arg(update ? 300 : 20)
                              .arg(update ? 1000 : 300)
                              .arg(m_folder->filePath(text("image")))
                              .arg(firmwareSize);
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
        const bool damagesLine = m_fault == FaultKind::WrongChecksum
            || m_fault == FaultKind::LostByte || m_fault == FaultKind::FlippedBit;
        // Otherwise each piece of the line after a wrong checksum uses up another send.
        m_link->gatherMs = damagesLine && m_operation == ReadLog ? 30 : 0;
        return true;
    }

    QByteArray simulatorFault() const
    {
        if (m_fault == FaultKind::LateAnswer && isRestart(m_operation)) {
            return "delay@reboot:3000"; // longer than the time-out
        }
        const FaultOperation &operation = m_matrix.operation(m_operation);
        // A colon would end the command.
        const QByteArray command = QByteArray(operation.command).split(':').first();
        return faultInfo(m_fault).simulatorFaultFor(command, operation.damagedByte);
    }

    void request()
    {
        SerialPortHandler &handler = m_link->handler;
        switch (m_operation) {
        case Connect:
            handler.connectToDevice();
            break;
        case Poll:
            handler.readMeasurements();
            break;
        case ReadModel:
            handler.readModel();
            break;
        case ReadValue:
            handler.readValue(text("altitude"));
            break;
        case SetValue:
            handler.setValue(text("altitude"), text("321"));
            break;
        case ReadClock:
            handler.readDate();
            break;
        case SetClock:
            handler.setDate(QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5), Qt::UTC));
            break;
        case StoreSettings:
            handler.writeToEeprom();
            break;
        case ReadLog:
            handler.readLog();
            break;
        case EraseLog:
            handler.eraseLog();
            break;
        case ReadMemory:
            handler.readEeprom();
            break;
        case WriteMemory:
            handler.writeEeprom(m_memory);
            break;
        case Reboot:
            handler.reboot();
            break;
        case UpdateFirmware:
            handler.rebootToBootloader();
            handler.updateFirmware(m_firmware);
            break;
        }
    }

    bool hasEnded() const
    {
        const QStringList &events = m_link->events;
        switch (m_operation) {
        case Connect:
            return events.contains(text("connected"));
        case ReadLog:
            return events.contains(text("log")) || events.contains(text("value 1 false"));
        case ReadMemory:
        case WriteMemory:
            return m_link->memoryProgress.size() >= sufficientBlocks;
        case UpdateFirmware:
            return events.contains(text("failed 5")) || events.contains(text("allJobsDone"));
        default:
            return events.contains(text("allJobsDone"));
        }
    }

    /// Keeps the event loop from running after the second send until both answers have arrived.
    bool awaitBothAnswers()
    {
        constexpr unsigned long pauseMs = lateAnswerMs - lateAnswerTimeoutMs + 300;
        if (!runUntil([&] { return m_link->sends(command()) == 2; })) {
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
        request();
        m_link->setTimeouts(timeoutMs(m_fault, m_operation));
        if (m_fault == FaultKind::LateAnswer && !isRestart(m_operation) && !awaitBothAnswers()) {
            return "not sent again";
        }
        if (!runUntil([&] { return m_link->isStalled() || hasEnded(); })) {
            return "no end within 20 s";
        }
        if (m_link->isStalled()) {
            return stallOutcome();
        }
        const QByteArray seen = outcome();
        return m_fault == FaultKind::HangUpAfter ? seen + outcomeAfterHangUp() : seen;
    }

    QByteArray outcome()
    {
        if (m_operation == ReadMemory) {
            m_link->handler.cancelEepromRead();
        } else if (m_operation == WriteMemory) {
            m_link->handler.cancelEepromWrite();
        }
        const QStringList &events = m_link->events;
        if (events.contains(text("value 1 false"))) {
            return "reports that there is no log";
        }
        if (events.contains(text("failed 5"))) {
            return "failed at block " + QByteArray::number(m_link->port->blocks.size());
        }
        if (m_operation == UpdateFirmware && m_link->firmwareProgress.contains(100.0)) {
            return "all blocks accepted, no end reported";
        }
        QString value;
        const bool correct = isCorrect(value);
        if (value.contains(text("\r\n"))) {
            value = text("two answers in one");
        }
        return (correct ? QByteArray("done, ") : "passed on: " + value.toLatin1() + ", ")
            + sendsText(m_link->sends(command()));
    }

    QByteArray stallOutcome()
    {
        QStringList reported = m_link->events;
        if (m_operation == ReadLog && !reported.isEmpty()) {
            reported = reported.mid(2); // the first two report the count of rows
        }
        reported.removeAll(text("finished 4"));
        if (!reported.isEmpty()) {
            return "queue stopped, but reported " + reported.join(text("; ")).toLatin1();
        }
        const QString last = m_link->port->texts.last().trimmed();
        const QByteArray sends = sendsText(m_link->sends(last)); // the recovery clears the records
        return "queue stopped after " + sends + recovery();
    }

    /// Removes the fault and calls the function that should start the queue again.
    QByteArray recovery()
    {
        SerialPortHandler &handler = m_link->handler;
        QByteArray call = "cancel";
        m_link->simulator.control("fault clear");
        m_link->gatherMs = 0;
        m_link->setTimeouts(0);
        if (isDeadLine(m_fault)) {
            call = "close";
            handler.disconnectFromDevice();
        } else if (m_operation == Connect) {
            call = "connect";
            handler.connectToDevice();
        } else if (m_operation == ReadLog) {
            handler.cancelLogRead();
        } else if (m_operation == ReadMemory) {
            handler.cancelEepromRead();
        } else if (m_operation == WriteMemory) {
            handler.cancelEepromWrite();
        } else if (m_operation == UpdateFirmware && m_link->events.contains(text("finished 4"))) {
            handler.cancelFirmwareUpdate();
        } else {
            call = "clear";
            handler.clearJobs();
        }
        const bool isFree =
            call == "connect" ? m_link->waitFor(text("connected")) : m_link->isIdle();
        return (isFree && worksAgain() ? "; works after " : "; doesn't work after ") + call;
    }

    QByteArray outcomeAfterHangUp()
    {
        // The end is reported before the last job has left the queue.
        runUntil([&] { return m_link->isIdle(); });
        m_link->simulator.hangUp();
        m_link->clearRecords();
        m_link->handler.readValue(text("altitude"));
        m_link->setTimeouts(40);
        if (!m_link->waitForStall() || m_link->sends(text("show altitude")) != 5) {
            return "; next command: no stop";
        }
        m_link->handler.disconnectFromDevice();
        return QByteArray("; next command: queue stopped, ")
            + (worksAgain() ? "works after close" : "doesn't work after close");
    }

    /// Whether the device can be connected and read, on a new line if the old one was hung up.
    bool worksAgain()
    {
        m_link->setTimeouts(0);
        if (isHangUp(m_fault)) {
            if (!m_link->simulator.resume()) {
                return false;
            }
            m_link->renewPort();
        }
        if (m_link->simulator.state("mode") == "bootloader") {
            m_link->simulator.control("restart");
        }
        return runUntil([&] { return m_link->simulator.state("mode") == "console"; })
            && m_link->connectDevice() && m_link->canRead("hwver", "B");
    }

    /// Whether the reported result is the device's own; @p value is what was reported.
    bool isCorrect(QString &value)
    {
        const QStringList &events = m_link->events;
        SimulatorProcess &simulator = m_link->simulator;
        const auto ownBlock = [&simulator] {
            return simulator.control("memory " + QByteArray::number(affectedBlock)).value(0);
        };
        switch (m_operation) {
        case Connect:
            return true;
        case Poll:
            return m_link->hasDevicesMeasurements();
        case ReadModel:
            value = reportedValue("value 3 ");
            return value == text("KVT-100");
        case ReadValue:
            value = reportedValue("read altitude=");
            return value == text("120");
        case SetValue:
            value = reportedValue("written altitude=");
            return value == text("321") && simulator.setting("altitude") == "321";
        case ReadClock: {
            value = reportedValue("value 0 ");
            const QDateTime time = QDateTime::fromString(value, Qt::ISODate);
            return qAbs(time.secsTo(QDateTime::currentDateTimeUtc())) < 20;
        }
        case SetClock:
            value = reportedValue("finished 1 ");
            return value == text("2030-01-02T03:04:05Z")
                && simulator.control("clock").value(0).startsWith("2030-01-02T03:04:");
        case StoreSettings:
            return events.contains(text("finished 0"));
        case ReadLog:
            return m_link->hasDevicesLog();
        case EraseLog:
            return events.contains(text("finished 2")) && simulator.state("log") == "0";
        case ReadMemory:
            value = text("%1 bytes").arg(m_blocks.value(affectedBlock).size());
            return m_blocks.value(affectedBlock).toHex() == ownBlock();
        case WriteMemory:
            return m_memory.mid(affectedBlock * blockSize, blockSize).toHex() == ownBlock();
        case Reboot:
            return events.contains(text("finished 3"));
        case UpdateFirmware: {
            QFile file(m_folder->filePath(text("image")));
            return events.contains(text("finished 7 100")) && file.open(QIODevice::ReadOnly)
                && file.readAll() == m_firmware;
        }
        }
        return false;
    }

    QString reportedValue(const char *prefix) const
    {
        for (const QString &event : m_link->events) {
            if (event.startsWith(text(prefix))) {
                return event.mid(static_cast<int>(qstrlen(prefix)));
            }
        }
        return text("nothing");
    }

    QString command() const { return text(m_matrix.operation(m_operation).command); }

    FaultMatrix m_matrix = handlerFaultMatrix();
    QByteArray m_memory; ///< for writing
    QByteArray m_firmware;

    // Of the pair that is being run.
    FaultKind m_fault = {};
    HandlerOperation m_operation = {};
    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<DeviceLink> m_link;
    QMap<int, QByteArray> m_blocks; ///< read from the memory
};

KV_TEST_CORE_MAIN(TestHandlerFaultInjection)

#include "tst_handlerfaultinjection.moc"
