// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialporthandler.h"

#include "serial/serialportjobconnect.h"
#include "serial/serialportjoberaselog.h"
#include "serial/serialportjobfactoryreset.h"
#include "serial/serialportjobreaddate.h"
#include "serial/serialportjobreadeepromblock.h"
#include "serial/serialportjobreadlog.h"
#include "serial/serialportjobreadlogvalue.h"
#include "serial/serialportjobreadmeasurements.h"
#include "serial/serialportjobreadmodel.h"
#include "serial/serialportjobreadvalue.h"
#include "serial/serialportjobreboot.h"
#include "serial/serialportjobsetdate.h"
#include "serial/serialportjobsetvalue.h"
#include "serial/serialportjobtransmitfirmwareblock.h"
#include "serial/serialportjobupdatefirmware.h"
#include "serial/serialportjobwriteeepromblock.h"
#include "serial/serialportjobwritetoeeprom.h"
#include "serial/serialutils.h"

#include <QtCore/QDebug>
#include <limits>
#include <utility>

constexpr int noLogBeingRead = -1;

constexpr int eepromBlockSize = 64; // bytes
constexpr int eepromBlocks = 1024;
// Quirk: one byte less than the blocks contain. Existing backup files have this size.
constexpr int eepromImageSize = 65535;

constexpr unsigned firmwareBlockSize = 16; // bytes

// Rounds toward zero. 0 for a value that no int can represent; it is not a meaningful percentage.
static int truncateToInt(double value)
{
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    return value >= lowest && value <= highest ? static_cast<int>(value) : 0;
}

template <typename Job, typename... Arguments>
void SerialPortHandler::addJob(const Arguments &...arguments)
{
    m_queue->addJob(QSharedPointer<SerialPortJobInterface>(
        new Job(m_queue->serialPort().data(), arguments..., nullptr)));
}

template <typename Job, typename... Arguments>
void SerialPortHandler::addJobIfConnected(const Arguments &...arguments)
{
    if (isConnected()) {
        addJob<Job>(arguments...);
    }
}

SerialPortHandler::SerialPortHandler(QSharedPointer<SerialPortQueueInterface> queue,
                                     QObject *parent)
    : SerialPortHandlerInterface(parent)
    , m_queue(std::move(queue))
{
    connectQueue();
    registerSerialMetaTypes();
}

SerialPortHandler::~SerialPortHandler()
{
    SerialPortHandler::clearJobs();
    SerialPortHandler::disconnectFromDevice();
}

void SerialPortHandler::connectQueue()
{
    using Queue = SerialPortQueueInterface;
    using Handler = SerialPortHandler;
    Queue *queue = m_queue.data();

    connect(queue, &Queue::error, this, &Handler::error, Qt::QueuedConnection);
    connect(queue, &Queue::dataWritten, this, &Handler::dataWritten, Qt::QueuedConnection);
    connect(queue, &Queue::dataRead, this, &Handler::dataRead, Qt::QueuedConnection);
    connect(queue, &Queue::measurementsRead, this, &Handler::measurementsRead,
            Qt::QueuedConnection);
    connect(queue, &Queue::allJobsDone, this, &Handler::allJobsDone, Qt::QueuedConnection);
    connect(queue, &Queue::jobFinished, this, &Handler::onJobFinished, Qt::QueuedConnection);
    connect(queue, &Queue::logValueRead, this, &Handler::onLogValueRead, Qt::QueuedConnection);
    connect(queue, &Queue::logTitlesRead, this, &Handler::onLogTitlesRead, Qt::QueuedConnection);
    // Quirk: connected twice, so each error of the queue is reported twice.
    connect(queue, &Queue::error, this, &Handler::error, Qt::QueuedConnection);
    connect(queue, &Queue::actionFinished, this, &Handler::actionFinished, Qt::QueuedConnection);
    connect(queue, &Queue::valueRead, this, &Handler::onValueRead, Qt::QueuedConnection);
    connect(queue, &Queue::jobFailed, this, &Handler::onJobFailed);
    connect(queue, &Queue::eepromBlockRead, this, &Handler::onEepromBlockRead);
    connect(queue, &Queue::eepromBlockWritten, this, &Handler::onEepromBlockWritten);
}

void SerialPortHandler::setSerialPort(QSharedPointer<SerialPortInterface> port)
{
    m_queue->setSerialPort(port);
}

void SerialPortHandler::readValue(const QString &name)
{
    if (!m_connected || name.isEmpty()) {
        qWarning() << "Unable to add job" << m_connected << !name.isEmpty();
        return;
    }
    addJob<SerialPortJobReadValue>(name);
}

void SerialPortHandler::readValues(const QStringList &names)
{
    for (const QString &name : names) {
        readValue(name);
    }
}

void SerialPortHandler::readMeasurements() { addJobIfConnected<SerialPortJobReadMeasurements>(); }

void SerialPortHandler::setValue(const QString &name, const QString &value)
{
    if (m_connected && !name.isEmpty()) {
        addJob<SerialPortJobSetValue>(name, value);
    }
}

void SerialPortHandler::setValues(const QStringList &keyValuePairs)
{
    for (const QString &pair : keyValuePairs) {
        const QStringList parts = pair.split(QLatin1Char('='));
        if (parts.size() == 2) {
            setValue(parts.at(0), parts.at(1));
        } else {
            qDebug() << "Invalid key value pair" << parts;
        }
    }
}

void SerialPortHandler::setValues(const QString &text)
{
    setValues(text.trimmed().remove(QLatin1Char('\r')).split(QLatin1Char('\n')));
}

void SerialPortHandler::clearJobs() { m_queue->clear(); }

void SerialPortHandler::disconnectFromDevice() { m_queue->close(); }

QString SerialPortHandler::portName() { return m_queue->portName(); }

void SerialPortHandler::readLog()
{
    // Quirk: a second read is accepted until the number of entries has arrived, and while a log
    // of 0 entries is being read.
    if (m_logCount >= 1) {
        qDebug() << "Already reading log";
        return;
    }
    addJobIfConnected<SerialPortJobReadLog>();
}

void SerialPortHandler::writeToEeprom() { addJobIfConnected<SerialPortJobWriteToEeprom>(); }

void SerialPortHandler::cancelLogRead()
{
    clearJobs();
    // Quirk: a queued signal that is delivered after this doesn't identify its read: a row becomes
    // the first row of the next log, and a number of rows starts the reading of these rows.
    resetLogData();
}

void SerialPortHandler::eraseLog() { addJobIfConnected<SerialPortJobEraseLog>(); }

void SerialPortHandler::setDate(const QDateTime &date)
{
    addJobIfConnected<SerialPortJobSetDate>(date);
}

void SerialPortHandler::readDate() { addJobIfConnected<SerialPortJobReadDate>(); }

void SerialPortHandler::readModel() { addJobIfConnected<SerialPortJobReadModel>(); }

bool SerialPortHandler::openPort()
{
    if (m_queue->open()) {
        return true;
    }
    qDebug() << "Unable open port";
    emit error(tr("Unable to open port!"));
    return false;
}

bool SerialPortHandler::isConnected() { return m_connected; }

void SerialPortHandler::factoryReset() { addJobIfConnected<SerialPortJobFactoryReset>(); }

void SerialPortHandler::reboot()
{
    addJobIfConnected<SerialPortJobReboot>(RebootMode::RebootAndWaitForSelftest);
}

void SerialPortHandler::rebootToBootloader()
{
    addJobIfConnected<SerialPortJobReboot>(RebootMode::RebootForFirmwareUpdate);
}

void SerialPortHandler::updateFirmware(const QByteArray &firmware)
{
    addJob<SerialPortJobUpdateFirmware>();
    const auto size = static_cast<unsigned>(firmware.size());
    for (unsigned offset = 0; offset < size; offset += firmwareBlockSize) {
        const double percentage = firmwarePercentage(offset, firmwareBlockSize, size);
        const QByteArray chunk =
            firmware.mid(static_cast<int>(offset), static_cast<int>(firmwareBlockSize));
        addJob<SerialPortJobTransmitFirmwareBlock>(chunk, percentage);
    }
}

void SerialPortHandler::cancelFirmwareUpdate()
{
    m_queue->removeJobs(SerialPortJobType::JobTransmitFirmwareBlock);
    m_queue->removeJobs(SerialPortJobType::JobUpdateFirmware);
}

void SerialPortHandler::cancelEepromRead()
{
    m_queue->removeJobs(SerialPortJobType::JobReadEepromBlock);
}

void SerialPortHandler::cancelEepromWrite()
{
    m_queue->removeJobs(SerialPortJobType::JobWriteEepromBlock);
}

void SerialPortHandler::readEeprom()
{
    m_eepromData.fill('\0', eepromImageSize);
    for (int block = 0; block < eepromBlocks; ++block) {
        addJobIfConnected<SerialPortJobReadEepromBlock>(static_cast<quint16>(block),
                                                        eepromPercentage(block));
    }
}

void SerialPortHandler::writeEeprom(const QByteArray &data)
{
    for (int block = 0; block < eepromBlocks; ++block) {
        addJobIfConnected<SerialPortJobWriteEepromBlock>(
            static_cast<quint16>(block), data.mid(block * eepromBlockSize, eepromBlockSize),
            eepromPercentage(block));
    }
}

void SerialPortHandler::connectToDevice()
{
    clearJobs();
    if (openPort()) {
        addJob<SerialPortJobConnect>();
    }
}

void SerialPortHandler::onValueRead(SerialPortValueType type, QVariant value)
{
    switch (type) {
    case SerialPortValueType::ValueLogCount:
        onLogCountRead(value.toInt());
        break;
    case SerialPortValueType::ValueDeviceDate:
    case SerialPortValueType::ValueLogOption:
    case SerialPortValueType::ValueDeviceModel:
        emit valueRead(type, value);
        break;
    }
}

void SerialPortHandler::onLogValueRead(int index, QVector<double> values, QDateTime time)
{
    qDebug() << "Got log value" << index << "which contains" << values.size() << "entries";
    m_logValues.append({std::move(values), std::move(time)});
    checkIfLogRead();
}

void SerialPortHandler::onLogTitlesRead(QStringList titles)
{
    qDebug() << "Got" << titles.size() << "log titles";
    m_logTitles = std::move(titles);
    checkIfLogRead();
}

void SerialPortHandler::onJobFinished(SerialPortJobType type)
{
    if (type == SerialPortJobType::JobConnect) {
        m_connected = true;
        emit connected();
    }
}

void SerialPortHandler::onWriteToEeprom() { writeToEeprom(); }

void SerialPortHandler::onJobFailed(SerialPortJobType type)
{
    switch (type) {
    case SerialPortJobType::JobReadModel:
        emit error(tr("Unable to determine connected device type"));
        break;
    case SerialPortJobType::JobUpdateFirmware:
        qDebug() << "Firmware update job failed, bootloader was not accessible. Canceling firmware "
                    "update";
        cancelFirmwareUpdate();
        emit actionFailed(SerialPortActionType::ActionBootloaderEntered);
        break;
    case SerialPortJobType::JobTransmitFirmwareBlock:
        qDebug() << "Firmware transfer job failed. Canceling firmware update";
        cancelFirmwareUpdate();
        emit actionFailed(SerialPortActionType::ActionFirmwareBlockTransmitted);
        break;
    case SerialPortJobType::JobReadEepromBlock:
        cancelEepromRead();
        emit actionFailed(SerialPortActionType::ActionEepromRead);
        break;
    case SerialPortJobType::JobWriteEepromBlock:
        cancelEepromWrite();
        emit actionFailed(SerialPortActionType::ActionEepromWritten);
        break;
    default:
        break;
    }
}

void SerialPortHandler::onEepromBlockRead(quint16 blockIndex, QByteArray data)
{
    // Quirk: the offset is the block's number, not its address, so a block overwrites all but the
    // first byte of the one before. Existing backup files have this form.
    quint16 offset = blockIndex;
    for (const char byte : qAsConst(data)) {
        if (offset >= m_eepromData.size()) {
            m_eepromData.append(offset + 1 - m_eepromData.size(), '\0');
        }
        m_eepromData.data()[offset] = byte;
        ++offset;
    }
    // hasJob() does not count the current job, which has reported this block.
    if (!m_queue->hasJob(SerialPortJobType::JobReadEepromBlock)) {
        emit actionFinished(SerialPortActionType::ActionEepromRead, m_eepromData);
    }
}

void SerialPortHandler::onEepromBlockWritten(quint16)
{
    if (!m_queue->hasJob(SerialPortJobType::JobWriteEepromBlock)) {
        emit actionFinished(SerialPortActionType::ActionEepromWritten, QVariant());
    }
}

void SerialPortHandler::onLogCountRead(int count)
{
    m_logCount = count;
    qDebug() << "Log has" << count << "entries, reading them";
    // Row 0 contains the titles, so there is one job more than there are entries.
    for (int index = 0; index <= count; ++index) {
        addJobIfConnected<SerialPortJobReadLogValue>(index);
    }
}

void SerialPortHandler::checkIfLogRead()
{
    if (m_logValues.size() != m_logCount) {
        qDebug() << "Got" << m_logValues.size() << "/" << m_logCount << "log values";
        emit logReadProgress(logReadPercentage());
        return;
    }
    if (m_logTitles.isEmpty()) {
        // Quirk: the spelling is required: support staff search for this line.
        qDebug() << "Got all log values, but log titles are msising";
        return;
    }
    qDebug() << "All log values read";
    emit logRead(m_logTitles, m_logValues);
    resetLogData();
}

void SerialPortHandler::resetLogData()
{
    m_logTitles.clear();
    m_logValues.clear();
    m_logCount = noLogBeingRead;
}

int SerialPortHandler::logReadPercentage() const
{
    // Quirk: the second-to-last row shows 100, since the last row ends the read without a progress
    // report. With a single row this is 0 / 0, hence truncateToInt().
    return truncateToInt(m_logValues.size() / (static_cast<double>(m_logCount) - 1) * 100);
}

int SerialPortHandler::eepromPercentage(int blockIndex)
{
    return static_cast<int>(blockIndex / (eepromBlocks - 1.0) * 100);
}

double SerialPortHandler::firmwarePercentage(unsigned offset, unsigned blockSize, unsigned total)
{
    return static_cast<double>(qMin(offset + blockSize, total)) / total * 100;
}
