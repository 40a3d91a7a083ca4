// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"

#include <QtSerialPort/QSerialPort>

/// A real serial port at 115200 baud, 8 data bits, no parity, one stop bit, no flow control.
///
/// No error of the port is reported after it was opened: what fails then shows as silence.
class SerialPort : public SerialPortInterface
{
    Q_OBJECT

public:
    /// @p portName is a port's name or its location. The port is not opened yet.
    SerialPort(QString portName, QObject *parent);

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
    QSerialPort m_port;
};
