// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialport.h"

#include "serial/dataparser.h"

#include <QtCore/QDebug>
#include <QtCore/QPointer>

SerialPort::SerialPort(QString portName, QObject *parent)
    : SerialPortInterface(parent)
    , m_port(new QSerialPort(portName))
{
    m_port->setBaudRate(QSerialPort::Baud115200, QSerialPort::AllDirections);
    m_port->setDataBits(QSerialPort::Data8);
    m_port->setStopBits(QSerialPort::OneStop);
    m_port->setParity(QSerialPort::NoParity);
    m_port->setFlowControl(QSerialPort::NoFlowControl);
    connect(m_port, &QIODevice::readyRead, this, &SerialPort::onReadyRead);
}

SerialPort::~SerialPort()
{
    if (m_isReading) {
        m_port->close(); // deleted by onReadyRead()
    } else {
        delete m_port;
    }
}

void SerialPort::write(QString text) { m_port->write(DataParser::toDeviceText(text).toLatin1()); }

void SerialPort::write(QByteArray data) { m_port->write(data); }

bool SerialPort::open()
{
    qDebug() << "Opening port" << m_port->portName();
    if (m_port->open(QIODevice::ReadWrite)) {
        qDebug() << "Port opened!";
        return true;
    }
    // Quirk: close() replaces the error text of open(), so the reason is always "Device is not
    // open".
    m_port->close();
    qDebug() << "Port open failed!";
    emit error(m_port->errorString());
    return false;
}

void SerialPort::close() { m_port->close(); }

void SerialPort::flush() { m_port->flush(); }

QString SerialPort::portName() { return m_port->portName(); }

bool SerialPort::isOpen() { return m_port->isOpen(); }

void SerialPort::onReadyRead()
{
    QSerialPort *port = m_port;
    const QPointer<SerialPort> self(this);
    m_isReading = true;
    // Quirk: a chunk ends at its first NUL byte; the rest of it is lost.
    emit dataReady(DataParser::fromDeviceText(QString::fromUtf8(port->readAll().constData())));
    if (self) {
        m_isReading = false;
    } else {
        // Not deleted immediately, since QSerialPort writes to its members after readyRead().
        port->deleteLater();
    }
}
