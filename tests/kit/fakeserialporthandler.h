// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialporthandlerinterface.h"

#include <functional>

/// A handler that records each request as one text ("readValue health"); the test raises its
/// signals.
class FakeSerialPortHandler : public SerialPortHandlerInterface
{
    Q_OBJECT

public:
    void setSerialPort(QSharedPointer<SerialPortInterface> port) override
    {
        transport = port;
        calls.append(QStringLiteral("setSerialPort"));
    }
    void readValue(const QString &name) override
    {
        calls.append(QStringLiteral("readValue ") + name);
    }
    void readValues(const QStringList &names) override
    {
        calls.append(QStringLiteral("readValues ") + names.join(QLatin1Char(' ')));
    }
    void readMeasurements() override { calls.append(QStringLiteral("readMeasurements")); }
    void setValue(const QString &name, const QString &value) override
    {
        calls.append(QStringLiteral("setValue ") + name + QLatin1Char('=') + value);
    }
    void setValues(const QStringList &keyValuePairs) override
    {
        calls.append(QStringLiteral("setValues ") + keyValuePairs.join(QLatin1Char(' ')));
    }
    void setValues(const QString &text) override
    {
        calls.append(QStringLiteral("setValues ") + text);
    }
    void clearJobs() override
    {
        calls.append(QStringLiteral("clearJobs"));
        if (duringClearJobs) {
            duringClearJobs();
        }
    }
    void disconnectFromDevice() override { calls.append(QStringLiteral("disconnectFromDevice")); }
    QString portName() override { return currentPortName; }
    void readLog() override { calls.append(QStringLiteral("readLog")); }
    void writeToEeprom() override { calls.append(QStringLiteral("writeToEeprom")); }
    void cancelLogRead() override { calls.append(QStringLiteral("cancelLogRead")); }
    void eraseLog() override { calls.append(QStringLiteral("eraseLog")); }
    void setDate(const QDateTime &newDate) override
    {
        date = newDate;
        calls.append(QStringLiteral("setDate"));
    }
    void readDate() override { calls.append(QStringLiteral("readDate")); }
    void readModel() override { calls.append(QStringLiteral("readModel")); }
    bool openPort() override
    {
        calls.append(QStringLiteral("openPort"));
        return openResult;
    }
    bool isConnected() override { return connectedResult; }
    void factoryReset() override { calls.append(QStringLiteral("factoryReset")); }
    void reboot() override { calls.append(QStringLiteral("reboot")); }
    void rebootToBootloader() override { calls.append(QStringLiteral("rebootToBootloader")); }
    void updateFirmware(const QByteArray &image) override
    {
        firmware = image;
        calls.append(QStringLiteral("updateFirmware"));
    }
    void cancelFirmwareUpdate() override { calls.append(QStringLiteral("cancelFirmwareUpdate")); }
    void cancelEepromRead() override { calls.append(QStringLiteral("cancelEepromRead")); }
    void cancelEepromWrite() override { calls.append(QStringLiteral("cancelEepromWrite")); }
    void readEeprom() override { calls.append(QStringLiteral("readEeprom")); }
    void writeEeprom(const QByteArray &data) override
    {
        eeprom = data;
        calls.append(QStringLiteral("writeEeprom"));
    }

    QStringList calls;
    QSharedPointer<SerialPortInterface> transport;
    QString currentPortName;
    QDateTime date;
    QByteArray firmware;
    QByteArray eeprom;
    std::function<void()> duringClearJobs;
    bool openResult = true;
    bool connectedResult = false;

public slots:
    void connectToDevice() override { calls.append(QStringLiteral("connectToDevice")); }
};
