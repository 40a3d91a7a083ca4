// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>

/// A serial port: text and bytes out, text in. Nothing here blocks.
class SerialPortInterface : public QObject
{
    Q_OBJECT

public:
    explicit SerialPortInterface(QObject *parent = nullptr)
        : QObject(parent)
    {
    }

    /// Sends text, in the device's character set.
    virtual void write(QString text) = 0;

    /// Sends bytes as they are.
    virtual void write(QByteArray data) = 0;

    /// Opens the port. On failure raises error and returns false.
    virtual bool open() = 0;

    virtual void close() = 0;
    virtual void flush() = 0;
    virtual QString portName() = 0;
    virtual bool isOpen() = 0;

signals:
    void error(QString description);
    void dataReady(QString text);
};
