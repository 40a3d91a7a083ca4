// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/devicelink.h"
#include "tests/integration/faulttable.h"
#include "tests/kit/reliabilitytable.h"
#include "tests/kit/testmain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <cstdio>

namespace {

constexpr int struckBlock = 5; // of the memory
constexpr int blocksThatWillDo = 9; // of 1024, the struck one among them
constexpr int memorySize = 65536;
constexpr int firmwareSize = 40; // three blocks

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

bool needsRestart(const Operation &operation)
{
    return operation.kind == Operation::Reboot || operation.kind == Operation::UpdateFirmware;
}

// The time-outs of the pair, in ms; 0: the job's own.
int timeoutOf(Trouble trouble, const Operation &operation)
{
    constexpr int deadLine = 40;
    constexpr int noGoodAnswer = 100;
    constexpr int oneBadAnswer = 200;
    constexpr int roomy = 300; // for answers that are gathered
    constexpr int lateByHalf = 1000; // far from the answer's moment, and so is the second time-out
    constexpr int afterRestart = 2000; // the device is there again by then
    switch (trouble) {
    case Trouble::LateAnswer:
        return needsRestart(operation) ? afterRestart : lateByHalf;
    case Trouble::SilenceOnce:
    case Trouble::LostByte:
    case Trouble::FlippedBit:
    case Trouble::Nul:
        if (operation.kind == Operation::ReadLog) {
            return roomy;
        }
        return needsRestart(operation) ? afterRestart : oneBadAnswer;
    case Trouble::HangUpBefore:
        return deadLine;
    case Trouble::SilenceAlways:
    case Trouble::HangUpDuring:
    case Trouble::ChecksumAlways:
    case Trouble::WrongEntryAlways:
    case Trouble::MalformedRecordAlways:
    case Trouble::MalformedBlockAlways:
        return noGoodAnswer;
    case Trouble::Delay:
    case Trouble::SingleBytes:
    case Trouble::Chatter:
    case Trouble::UnknownModel:
    case Trouble::NoLogOption:
    case Trouble::FinalStar:
    case Trouble::HangUpAfter:
        return 0;
    default:
        return roomy;
    }
}

QByteArray faultOf(const TroubleInfo &info, const Operation &operation)
{
    QByteArray fault = info.fault;
    if (info.trouble == Trouble::LateAnswer && needsRestart(operation)) {
        fault = "delay@%c:3000";
    }
    // A colon would end the command.
    const QByteArray command = QByteArray(operation.command).split(':').first();
    return fault.replace("%c", command).replace("%p", operation.byte);
}

QByteArray sendsText(int sends)
{
    return QByteArray::number(sends) + (sends == 1 ? " send" : " sends");
}

} // namespace

class TestFaultsByOperation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void meetsWhatIsDemanded_data();
    void meetsWhatIsDemanded();
    void leavesNoPairOut();
    void cleanupTestCase();

private:
    bool prepare(const TroubleInfo &trouble, const Operation &operation);
    void request(const Operation &operation);
    bool hasEnded(const Operation &operation) const;
    QByteArray run(const TroubleInfo &trouble, const Operation &operation);
    QByteArray outcome(const Operation &operation);
    QByteArray standstill(const Operation &operation, bool dead);
    QByteArray freed(const Operation &operation, bool dead);
    QByteArray afterwards();
    bool findsTheDeviceAgain(bool dead);

    // What came of the operation is true by the device's own word; otherwise what came.
    bool isTrue(const Operation &operation, QString &came);
    bool isOwnLog();
    QString cameOf(const char *beginning) const;

    QScopedPointer<QTemporaryDir> m_folder;
    QScopedPointer<DeviceLink> m_link;
    QMap<int, QByteArray> m_blocks; ///< read from the memory
    QByteArray m_memory; ///< for writing
    QByteArray m_firmware;
    QMap<QByteArray, QByteArray> m_seen; ///< by pair
};

void TestFaultsByOperation::initTestCase()
{
    for (int index = 0; index < memorySize; ++index) {
        m_memory += static_cast<char>((index * 7) & 0xff);
    }
    m_firmware = m_memory.left(firmwareSize);
}

void TestFaultsByOperation::init()
{
    m_folder.reset(new QTemporaryDir);
    m_link.reset(new DeviceLink);
    m_blocks.clear();
    connect(m_link->queue.data(), &SerialPortQueueInterface::eepromBlockRead, m_link.data(),
            [this](quint16 index, const QByteArray &data) { m_blocks.insert(index, data); });
}

void TestFaultsByOperation::meetsWhatIsDemanded_data()
{
    QTest::addColumn<int>("trouble");
    QTest::addColumn<int>("operation");
    for (int trouble = 0; trouble < troubles().size(); ++trouble) {
        for (int operation = 0; operation < operations().size(); ++operation) {
            const QByteArray words =
                demanded(troubles().at(trouble).trouble, operations().at(operation).kind);
            if (!words.startsWith("- ")) {
                QTest::addRow("%s, %s", operations().at(operation).name,
                              troubles().at(trouble).name)
                    << trouble << operation;
            }
        }
    }
}

void TestFaultsByOperation::meetsWhatIsDemanded()
{
    QFETCH(int, trouble);
    QFETCH(int, operation);
    const TroubleInfo &info = troubles().at(trouble);
    const Operation &asked = operations().at(operation);
    const QByteArray seen = run(info, asked);
    m_seen.insert(QTest::currentDataTag(), seen);
    QCOMPARE(seen, demanded(info.trouble, asked.kind));
}

void TestFaultsByOperation::leavesNoPairOut()
{
    int pairs = 0;
    for (int trouble = 0; trouble < troubles().size(); ++trouble) {
        QCOMPARE(static_cast<int>(troubles().at(trouble).trouble), trouble);
        for (int operation = 0; operation < operations().size(); ++operation) {
            QCOMPARE(static_cast<int>(operations().at(operation).kind), operation);
            const QByteArray words =
                demanded(troubles().at(trouble).trouble, operations().at(operation).kind);
            QVERIFY2(words.size() > 4, troubles().at(trouble).name);
            ++pairs;
        }
    }
    QCOMPARE(pairs, 27 * 14);
}

void TestFaultsByOperation::cleanupTestCase()
{
    ReliabilityTable table;
    bool complete = true;
    for (const TroubleInfo &trouble : troubles()) {
        for (const Operation &operation : operations()) {
            const QByteArray words = demanded(trouble.trouble, operation.kind);
            const QByteArray pair = QByteArray(operation.name) + ", " + trouble.name;
            if (words.startsWith("- ")) {
                table.addImpossible(trouble.name, operation.name, words.mid(2));
            } else {
                table.add(trouble.name, operation.name, words, m_seen.value(pair, "not run"));
                complete = complete && m_seen.contains(pair);
            }
        }
    }
    // Past the test log, which would cut a table of this length.
    const QByteArray markdown = table.markdown();
    std::printf("\n%s", markdown.constData());
    std::fflush(stdout);
    // A run of single pairs leaves the part as it was.
    QVERIFY(!complete || ReliabilityTable::keep(text("faults-by-operation"), markdown));
}

bool TestFaultsByOperation::prepare(const TroubleInfo &trouble, const Operation &operation)
{
    // Longer than a busy machine keeps the tool from reading the announcement of the reset, which
    // must not come in one piece with the bootloader's greeting, and from answering that.
    const bool update = operation.kind == Operation::UpdateFirmware;
    QString options = text("--log-rows 3 --write-ms 1 --reboot-ms %1 --boot-wait %2 --image %3 "
                           "--image-size %4")
                          .arg(update ? 300 : 20)
                          .arg(update ? 1000 : 300)
                          .arg(m_folder->filePath(text("image")))
                          .arg(firmwareSize);
    if (trouble.trouble == Trouble::NoLogOption) {
        options += text(" --no-log-option");
    }
    if (!m_link->start(options)) {
        return false;
    }
    if (operation.kind == Operation::Connect) {
        if (!m_link->handler.openPort()) {
            return false;
        }
    } else if (!m_link->connectDevice()) {
        return false;
    }
    const QByteArray fault = faultOf(trouble, operation);
    if (!fault.isEmpty() && !m_link->simulator.fault(fault)) {
        return false;
    }
    if (trouble.trouble == Trouble::HangUpBefore) {
        m_link->simulator.hangUp();
    }
    const bool checksum = trouble.trouble == Trouble::ChecksumOnce
        || trouble.trouble == Trouble::LostByte || trouble.trouble == Trouble::FlippedBit;
    // Else each piece of the line behind a bad checksum costs another send.
    m_link->gatherMs = checksum && operation.kind == Operation::ReadLog ? 30 : 0;
    return true;
}

void TestFaultsByOperation::request(const Operation &operation)
{
    SerialPortHandler &handler = m_link->handler;
    switch (operation.kind) {
    case Operation::Connect:
        handler.connectToDevice();
        break;
    case Operation::Poll:
        handler.readMeasurements();
        break;
    case Operation::ReadModel:
        handler.readModel();
        break;
    case Operation::ReadValue:
        handler.readValue(text("altitude"));
        break;
    case Operation::SetValue:
        handler.setValue(text("altitude"), text("321"));
        break;
    case Operation::ReadClock:
        handler.readDate();
        break;
    case Operation::SetClock:
        handler.setDate(QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5), Qt::UTC));
        break;
    case Operation::StoreSettings:
        handler.writeToEeprom();
        break;
    case Operation::ReadLog:
        handler.readLog();
        break;
    case Operation::EraseLog:
        handler.eraseLog();
        break;
    case Operation::ReadMemory:
        handler.readEeprom();
        break;
    case Operation::WriteMemory:
        handler.writeEeprom(m_memory);
        break;
    case Operation::Reboot:
        handler.reboot();
        break;
    case Operation::UpdateFirmware:
        handler.rebootToBootloader();
        handler.updateFirmware(m_firmware);
        break;
    }
}

bool TestFaultsByOperation::hasEnded(const Operation &operation) const
{
    const QStringList &events = m_link->events;
    switch (operation.kind) {
    case Operation::Connect:
        return events.contains(text("connected"));
    case Operation::ReadLog:
        return events.contains(text("log")) || events.contains(text("value 1 false"));
    case Operation::ReadMemory:
    case Operation::WriteMemory:
        return m_link->memoryProgress.size() >= blocksThatWillDo;
    case Operation::UpdateFirmware:
        return events.contains(text("failed 5")) || events.contains(text("allJobsDone"));
    default:
        return events.contains(text("allJobsDone"));
    }
}

QByteArray TestFaultsByOperation::run(const TroubleInfo &trouble, const Operation &operation)
{
    if (!prepare(trouble, operation)) {
        return "not prepared";
    }
    request(operation);
    m_link->hurry(timeoutOf(trouble.trouble, operation));
    if (trouble.trouble == Trouble::LateAnswer && !needsRestart(operation)) {
        constexpr unsigned long untilBothAreThereMs = 800;
        const QString command = text(operation.command);
        if (!runUntil([&] { return m_link->sends(command) == 2; })) {
            return "not sent again";
        }
        m_link->port->flush();
        QThread::msleep(untilBothAreThereMs);
    }
    const bool moved = runUntil([&] { return m_link->isStalled() || hasEnded(operation); });
    if (!moved) {
        return "nothing within 20 s";
    }
    const bool dead =
        trouble.trouble == Trouble::HangUpBefore || trouble.trouble == Trouble::HangUpDuring;
    if (m_link->isStalled()) {
        return standstill(operation, dead);
    }
    const QByteArray seen = outcome(operation);
    return trouble.trouble == Trouble::HangUpAfter ? seen + afterwards() : seen;
}

QByteArray TestFaultsByOperation::outcome(const Operation &operation)
{
    if (operation.kind == Operation::ReadMemory) {
        m_link->handler.cancelEepromRead();
    } else if (operation.kind == Operation::WriteMemory) {
        m_link->handler.cancelEepromWrite();
    }
    const QStringList &events = m_link->events;
    if (events.contains(text("value 1 false"))) {
        return "told that there is no log";
    }
    if (events.contains(text("failed 5"))) {
        return "failed at block " + QByteArray::number(m_link->port->blocks.size());
    }
    if (operation.kind == Operation::UpdateFirmware && m_link->firmwareProgress.contains(100.0)) {
        return "all blocks taken, no end told";
    }
    QString came;
    const bool asAsked = isTrue(operation, came);
    if (came.contains(text("\r\n"))) {
        came = text("two answers in one");
    }
    return (asAsked ? QByteArray("done, ") : "as it came: " + came.toLatin1() + ", ")
        + sendsText(m_link->sends(text(operation.command)));
}

QByteArray TestFaultsByOperation::standstill(const Operation &operation, bool dead)
{
    QStringList told = m_link->events;
    if (operation.kind == Operation::ReadLog && !told.isEmpty()) {
        // Of the count, which was answered.
        told = told.mid(2);
    }
    told.removeAll(text("finished 4"));
    if (!told.isEmpty()) {
        return "stall, but told " + told.join(text("; ")).toLatin1();
    }
    const QString last = m_link->port->texts.last().trimmed();
    const QByteArray sends = sendsText(m_link->sends(last));
    return "stall after " + sends + freed(operation, dead);
}

QByteArray TestFaultsByOperation::freed(const Operation &operation, bool dead)
{
    SerialPortHandler &handler = m_link->handler;
    QByteArray way = dead ? "close" : operation.cancel;
    m_link->simulator.control("fault clear");
    m_link->gatherMs = 0;
    m_link->hurry(0);
    if (way == "close") {
        handler.disconnectFromDevice();
    } else if (way == "connect") {
        handler.connectToDevice();
    } else if (operation.kind == Operation::ReadLog) {
        handler.cancelLogRead();
    } else if (operation.kind == Operation::ReadMemory) {
        handler.cancelEepromRead();
    } else if (operation.kind == Operation::WriteMemory) {
        handler.cancelEepromWrite();
    } else if (operation.kind == Operation::UpdateFirmware
               && m_link->events.contains(text("finished 4"))) {
        way = "cancel";
        handler.cancelFirmwareUpdate();
    } else {
        handler.clearJobs();
    }
    const bool free = way == "connect" ? m_link->waitFor(text("connected")) : m_link->isIdle();
    return (free && findsTheDeviceAgain(dead) ? ", freed by " : ", not freed by ") + way;
}

QByteArray TestFaultsByOperation::afterwards()
{
    // The end was told before the last job left the queue.
    runUntil([&] { return m_link->isIdle(); });
    m_link->simulator.hangUp();
    m_link->forget();
    m_link->handler.readValue(text("altitude"));
    m_link->hurry(40);
    if (!m_link->waitForStall() || m_link->sends(text("show altitude")) != 5) {
        return "; the next: no stall";
    }
    m_link->handler.disconnectFromDevice();
    return findsTheDeviceAgain(true) ? "; the next: stall, freed by close"
                                     : "; the next: stall, not freed";
}

bool TestFaultsByOperation::findsTheDeviceAgain(bool dead)
{
    m_link->hurry(0);
    if (dead) {
        if (!m_link->simulator.resume()) {
            return false;
        }
        m_link->plugIn();
    }
    if (m_link->simulator.state("mode") == "bootloader") {
        m_link->simulator.control("restart");
    }
    if (!runUntil([&] { return m_link->simulator.state("mode") == "console"; })
        || !m_link->connectDevice()) {
        return false;
    }
    m_link->handler.readValue(text("hwver"));
    return m_link->waitFor(text("read hwver=B"));
}

bool TestFaultsByOperation::isTrue(const Operation &operation, QString &came)
{
    const QStringList &events = m_link->events;
    SimulatorProcess &simulator = m_link->simulator;
    switch (operation.kind) {
    case Operation::Connect:
        return true;
    case Operation::Poll: {
        QList<QByteArray> pairs;
        for (auto pair = m_link->measurements.cbegin(); pair != m_link->measurements.cend();
             ++pair) {
            pairs += (pair.key() + QLatin1Char('=') + pair.value()).toLatin1();
        }
        QList<QByteArray> own = simulator.measurements();
        std::sort(pairs.begin(), pairs.end());
        std::sort(own.begin(), own.end());
        return pairs == own;
    }
    case Operation::ReadModel:
        came = cameOf("value 3 ");
        return came == text("KVT-100");
    case Operation::ReadValue:
        came = cameOf("read altitude=");
        return came == text("120");
    case Operation::SetValue:
        came = cameOf("written altitude=");
        return came == text("321") && simulator.setting("altitude") == "321";
    case Operation::ReadClock: {
        came = cameOf("value 0 ");
        const QDateTime time = QDateTime::fromString(came, Qt::ISODate);
        return qAbs(time.secsTo(QDateTime::currentDateTimeUtc())) < 20;
    }
    case Operation::SetClock:
        came = cameOf("finished 1 ");
        return came == text("2030-01-02T03:04:05Z")
            && simulator.control("clock").value(0).startsWith("2030-01-02T03:04:");
    case Operation::StoreSettings:
        return events.contains(text("finished 0"));
    case Operation::ReadLog:
        return isOwnLog();
    case Operation::EraseLog:
        return events.contains(text("finished 2")) && simulator.state("log") == "0";
    case Operation::ReadMemory: {
        came = text("%1 bytes").arg(m_blocks.value(struckBlock).size());
        return m_blocks.value(struckBlock)
            == QByteArray::fromHex(
                   simulator.control("memory " + QByteArray::number(struckBlock)).value(0));
    }
    case Operation::WriteMemory:
        return m_memory.mid(struckBlock * 64, 64).toHex()
            == simulator.control("memory " + QByteArray::number(struckBlock)).value(0);
    case Operation::Reboot:
        return events.contains(text("finished 3"));
    case Operation::UpdateFirmware: {
        QFile file(m_folder->filePath(text("image")));
        return events.contains(text("finished 7 100")) && file.open(QIODevice::ReadOnly)
            && file.readAll() == m_firmware;
    }
    }
    return false;
}

bool TestFaultsByOperation::isOwnLog()
{
    const QList<QByteArray> lines = m_link->simulator.control("log");
    if (lines.size() != m_link->log.size() + 1) {
        return false;
    }
    for (int row = 0; row < m_link->log.size(); ++row) {
        QStringList fields = QString::fromLatin1(lines.at(row + 1))
                                 .section(QLatin1Char('='), 1)
                                 .section(QLatin1Char('#'), 0, 0)
                                 .split(QLatin1Char(','));
        const LogValue &value = m_link->log.at(row);
        if (value.time.toString(Qt::ISODate) != fields.takeFirst() + QLatin1Char('Z')
            || value.values.size() != fields.size()) {
            return false;
        }
        for (int column = 0; column < fields.size(); ++column) {
            if (value.values.at(column) != fields.at(column).toDouble()) {
                return false;
            }
        }
    }
    return true;
}

QString TestFaultsByOperation::cameOf(const char *beginning) const
{
    for (const QString &event : m_link->events) {
        if (event.startsWith(text(beginning))) {
            return event.mid(static_cast<int>(qstrlen(beginning)));
        }
    }
    return text("nothing");
}

KV_TEST_CORE_MAIN(TestFaultsByOperation)

#include "tst_faultsbyoperation.moc"
