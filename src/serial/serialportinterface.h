// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>

/// A serial port: sends text and bytes, receives text. No function blocks.
class SerialPortInterface : public QObject
{
    Q_OBJECT

public:
    /// A closed port.
    using QObject::QObject;

    /// Sends text, in the device's character set.
    virtual void write(QString text) = 0;

    /// Sends bytes unchanged.
    virtual void write(QByteArray data) = 0;

    /// Opens the port. On failure emits error() and returns false.
    virtual bool open() = 0;

    /// Closes the port.
    virtual void close() = 0;

    /// Writes as much of the buffered output to the port as possible without blocking.
    virtual void flush() = 0;

    /// The name of the port, without a leading "/dev/".
    virtual QString portName() = 0;

    /// Whether the port is open.
    virtual bool isOpen() = 0;

signals:
    /// The port could not be opened.
    void error(QString description);

    /// Text has been received, in chunks of any size.
    void dataReady(QString text);
};
