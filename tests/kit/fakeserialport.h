// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"

#include <QtCore/QByteArrayList>
#include <QtCore/QVector>

/// A transport without a device: records what is written and counts the calls of open(), close()
/// and flush(). The test calls receive().
class FakeSerialPort : public SerialPortInterface
{
    Q_OBJECT

public:
    enum class Kind { Text, Bytes };

    explicit FakeSerialPort(QObject *parent = nullptr)
        : SerialPortInterface(parent)
    { }

    void write(QString text) override
    {
        kinds.append(Kind::Text);
        sent.append(text.toUtf8());
    }
    void write(QByteArray data) override
    {
        kinds.append(Kind::Bytes);
        sent.append(data);
    }
    bool open() override
    {
        ++openCount;
        opened = openResult;
        return openResult;
    }
    void close() override
    {
        ++closeCount;
        opened = false;
    }
    void flush() override { ++flushCount; }
    QString portName() override { return name; }
    bool isOpen() override { return opened; }

    /// Emits @p text as received from the device.
    void receive(const QString &text) { emit dataReady(text); }

    QByteArrayList sent; ///< one entry for each write(), text in UTF-8
    QVector<Kind> kinds; ///< of the entries of sent
    QString name = QStringLiteral("ttyFAKE0");
    bool openResult = true;
    bool opened = false;
    int openCount = 0;
    int closeCount = 0;
    int flushCount = 0;
};
