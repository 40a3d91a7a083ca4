// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialport.h"

#include "serial/dataparser.h"

#include <QtCore/QDebug>

// A name by value is handed over, though QSerialPort copies it.
// cppcheck-suppress passedByValue // NOLINTNEXTLINE(performance-unnecessary-value-param)
SerialPort::SerialPort(QString portName, QObject *parent)
    : SerialPortInterface(parent)
    , m_port(portName)
{
    m_port.setBaudRate(QSerialPort::Baud115200, QSerialPort::AllDirections);
    m_port.setDataBits(QSerialPort::Data8);
    m_port.setStopBits(QSerialPort::OneStop);
    m_port.setParity(QSerialPort::NoParity);
    m_port.setFlowControl(QSerialPort::NoFlowControl);
    connect(&m_port, &QIODevice::readyRead, this, &SerialPort::onReadyRead);
}

void SerialPort::write(QString text)
{
    m_port.write(DataParser::toDeviceText(text).toLatin1());
}

void SerialPort::write(QByteArray data)
{
    m_port.write(data);
}

bool SerialPort::open()
{
    qDebug() << "Opening port" << m_port.portName();
    if (m_port.open(QIODevice::ReadWrite)) {
        qDebug() << "Port opened!";
        return true;
    }
    m_port.close();
    qDebug() << "Port open failed!";
    emit error(m_port.errorString());
    return false;
}

void SerialPort::close()
{
    m_port.close();
}

void SerialPort::flush()
{
    m_port.flush();
}

QString SerialPort::portName()
{
    return m_port.portName();
}

bool SerialPort::isOpen()
{
    return m_port.isOpen();
}

void SerialPort::onReadyRead()
{
    const QByteArray bytes = m_port.readAll();
    // What QString(bytes) makes of them, which an implicit conversion would hide: UTF-8, and the
    // chunk ends at its first NUL.
    const auto length = qstrnlen(bytes.constData(), static_cast<uint>(bytes.size()));
    const QString text = QString::fromUtf8(bytes.constData(), static_cast<int>(length));
    emit dataReady(DataParser::fromDeviceText(text));
}
