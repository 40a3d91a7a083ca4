// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportinterface.h"

#include <QtCore/QByteArrayList>
#include <QtCore/QVector>

/// A transport without a wire: writes down what is sent and counts what else is asked. The test
/// says what arrives.
class FakeSerialPort : public SerialPortInterface
{
    Q_OBJECT

public:
    enum class Kind { Text, Bytes };

    explicit FakeSerialPort(QObject *parent = nullptr)
        : SerialPortInterface(parent)
    {
    }

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
        ++opens;
        opened = openResult;
        return openResult;
    }
    void close() override
    {
        ++closes;
        opened = false;
    }
    void flush() override { ++flushes; }
    QString portName() override { return name; }
    bool isOpen() override { return opened; }

    /// Text from the device.
    void receive(const QString &text) { emit dataReady(text); }

    /// What was written, one entry for each write, texts in UTF-8; and beside it how each was.
    QByteArrayList sent;
    QVector<Kind> kinds;
    QString name = QStringLiteral("ttyFAKE0");
    bool openResult = true;
    bool opened = false;
    int opens = 0;
    int closes = 0;
    int flushes = 0;
};
