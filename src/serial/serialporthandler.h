// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/logvalue.h"
#include "serial/serialporthandlerinterface.h"
#include "serial/serialportqueueinterface.h"

/// Turns each request into jobs for the queue, and what the queue reports into its own signals.
///
/// Shares the queue; a transport has to be set before the first request. Most signals of the queue
/// arrive by queued connections, outside the call stack of the job, so a slot may add jobs or clear
/// the queue. Failures of jobs and EEPROM blocks arrive directly, so that a cancellation takes
/// effect before the next job starts.
class SerialPortHandler : public SerialPortHandlerInterface
{
    Q_OBJECT

public:
    /// Connects to @p queue, which must not be null.
    SerialPortHandler(QSharedPointer<SerialPortQueueInterface> queue, QObject *parent);

    /// Clears the queue and closes the port.
    ~SerialPortHandler() override;

    void setSerialPort(QSharedPointer<SerialPortInterface> port) override;

    /// Logs a warning if no device has been connected yet or @p name is empty.
    void readValue(const QString &name) override;
    void readValues(const QStringList &names) override;
    void readMeasurements() override;
    void setValue(const QString &name, const QString &value) override;
    void setValues(const QStringList &keyValuePairs) override;
    void setValues(const QString &text) override;
    void clearJobs() override;
    void disconnectFromDevice() override;
    QString portName() override;

    /// Reads the number of log entries, then the titles and each entry; logRead() delivers all of
    /// them. Ignored while entries are already being read.
    void readLog() override;
    void writeToEeprom() override;

    /// Clears the whole queue and discards the rows read so far.
    void cancelLogRead() override;
    void eraseLog() override;
    void setDate(const QDateTime &date) override;
    void readDate() override;
    void readModel() override;
    bool openPort() override;
    bool isConnected() override;
    void factoryReset() override;
    void reboot() override;
    void rebootToBootloader() override;

    /// Needs no connected device: the first job waits for a bootloader. The bytes of @p firmware
    /// are sent unchanged, in blocks of 16; the last one may be shorter.
    void updateFirmware(const QByteArray &firmware) override;
    void cancelFirmwareUpdate() override;

    /// Blocks that have already been written remain written.
    /// @{
    void cancelEepromRead() override;
    void cancelEepromWrite() override;
    /// @}

    /// Reads all 1024 blocks; ActionEepromRead carries the image of 65535 bytes or more.
    void readEeprom() override;

    /// Blocks beyond the end of @p data are short or empty, and are written nevertheless.
    void writeEeprom(const QByteArray &data) override;

public slots:
    /// Sends the first command up to five times.
    void connectToDevice() override;

private slots:
    void onValueRead(SerialPortValueType type, QVariant value);
    void onLogValueRead(int index, QVector<double> values, QDateTime time);
    void onLogTitlesRead(QStringList titles);
    void onJobFinished(SerialPortJobType type);
    void onWriteToEeprom();
    void onJobFailed(SerialPortJobType type);
    void onEepromBlockRead(quint16 blockIndex, QByteArray data);
    void onEepromBlockWritten(quint16 blockIndex);

private:
    template <typename Job, typename... Arguments>
    void addJob(const Arguments &...arguments);
    template <typename Job, typename... Arguments>
    void addJobIfConnected(const Arguments &...arguments);

    void connectQueue();
    void onLogCountRead(int count);
    void checkIfLogRead();
    void resetLogData();
    int logReadPercentage() const;
    static int eepromPercentage(int blockIndex);
    static double firmwarePercentage(unsigned offset, unsigned blockSize, unsigned total);

    bool m_connected = false; // Quirk: stays true after a disconnection, see isConnected()
    QSharedPointer<SerialPortQueueInterface> m_queue;
    QStringList m_logTitles;
    QVector<LogValue> m_logValues;
    QByteArray m_eepromData;
    int m_logCount = -1; // -1 while no log is being read
};
