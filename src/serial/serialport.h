// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"

#include <QtSerialPort/QSerialPort>

/// A serial port of the computer: 115200 baud, 8 data bits, no parity, one stop bit, no flow
/// control.
///
/// A port that fails after it has been opened emits no signal; its jobs time out. A slot connected
/// to dataReady() may close or delete it.
class SerialPort : public SerialPortInterface
{
    Q_OBJECT

public:
    /// @p portName is a name or a location, such as "ttyUSB0" or "/dev/ttyUSB0".
    SerialPort(QString portName, QObject *parent);
    ~SerialPort() override;
    Q_DISABLE_COPY(SerialPort)

    void write(QString text) override;
    void write(QByteArray data) override;
    bool open() override;
    void close() override;
    void flush() override;
    QString portName() override;
    bool isOpen() override;

private slots:
    void onReadyRead();

private:
    QSerialPort *m_port; // owned; outlives an object that is deleted inside dataReady()
    bool m_isReading = false; // true while dataReady() is being emitted
};
