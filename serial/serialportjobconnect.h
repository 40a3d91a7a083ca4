// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjob.h"

#include <QtCore/QString>

/// Finds out whether a console answers: asks for the software version.
class SerialPortJobConnect : public SerialPortJob
{
    Q_OBJECT

public:
    explicit SerialPortJobConnect(SerialPortInterface *port, QObject *parent = nullptr);

protected:
    void sendCommand() override;
    void parseData(QString buffer) override;

private:
    QString m_softwareVersion;
};
