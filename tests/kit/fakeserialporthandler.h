// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialporthandlerinterface.h"

#include <functional>

/// A handler that passes each request to onCall as one string ("readValue health"). The test emits
/// its signals.
class FakeSerialPortHandler : public SerialPortHandlerInterface
{
    Q_OBJECT

public:
    void setSerialPort(QSharedPointer<SerialPortInterface> port) override
    {
        transport = port;
        record("setSerialPort", port->portName());
    }
    void readValue(const QString &name) override { record("readValue", name); }
    void readValues(const QStringList &names) override
    {
        record("readValues", names.join(QLatin1Char(' ')));
    }
    void readMeasurements() override { record("readMeasurements"); }
    void setValue(const QString &name, const QString &value) override
    {
        record("setValue", name + QLatin1Char('=') + value);
    }
    void setValues(const QStringList &keyValuePairs) override
    {
        record("setValues", keyValuePairs.join(QLatin1Char(' ')));
    }
    void setValues(const QString &text) override { record("setValues", text); }
    void clearJobs() override { record("clearJobs"); }
    void disconnectFromDevice() override { record("disconnectFromDevice"); }
    QString portName() override { return currentPortName; }
    void readLog() override { record("readLog"); }
    void writeToEeprom() override { record("writeToEeprom"); }
    void cancelLogRead() override { record("cancelLogRead"); }
    void eraseLog() override { record("eraseLog"); }
    void setDate(const QDateTime &newDate) override
    {
        date = newDate;
        record("setDate");
    }
    void readDate() override { record("readDate"); }
    void readModel() override { record("readModel"); }
    bool openPort() override
    {
        record("openPort");
        return openResult;
    }
    bool isConnected() override { return connectedResult; }
    void factoryReset() override { record("factoryReset"); }
    void reboot() override { record("reboot"); }
    void rebootToBootloader() override { record("rebootToBootloader"); }
    void updateFirmware(const QByteArray &image) override
    {
        firmware = image;
        record("updateFirmware");
    }
    void cancelFirmwareUpdate() override { record("cancelFirmwareUpdate"); }
    void cancelEepromRead() override { record("cancelEepromRead"); }
    void cancelEepromWrite() override { record("cancelEepromWrite"); }
    void readEeprom() override { record("readEeprom"); }
    void writeEeprom(const QByteArray &data) override
    {
        eeprom = data;
        record("writeEeprom");
    }

    std::function<void(const QString &call)> onCall;
    QSharedPointer<SerialPortInterface> transport;
    QString currentPortName;
    QDateTime date;
    QByteArray firmware;
    QByteArray eeprom;
    bool openResult = true;
    bool connectedResult = false;

public slots:
    void connectToDevice() override { record("connectToDevice"); }

private:
    void record(const char *name, const QString &arguments = QString())
    {
        if (onCall) {
            onCall((QLatin1String(name) + QLatin1Char(' ') + arguments).trimmed());
        }
    }
};
