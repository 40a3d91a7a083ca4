// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjobreaddate.h"
#include "serial/serialportjobreadmodel.h"
#include "serial/serialportqueue.h"
#include "tests/kit/fakeserialport.h"
#include "tests/kit/jobdialogue.h"
#include "tests/kit/signalrecorder.h"

#include <QtTest/QtTest>

/// A job that is queued after one of the type @p type and has another type, and what it sends.
/// @{
inline JobPointer nextJobAfter(SerialPortJobType type, SerialPortInterface *port)
{
    if (type == SerialPortJobType::JobReadModel) {
        return JobPointer(new SerialPortJobReadDate(port));
    }
    return JobPointer(new SerialPortJobReadModel(port));
}

inline QByteArray nextJobCommand(SerialPortJobType type)
{
    return type == SerialPortJobType::JobReadModel ? "\r\ndate\r\n" : "\r\nshow unit\r\n";
}
/// @}

/// Makes the job time out immediately.
inline void timeOutNow(SerialPortJobInterface *job)
{
    QVERIFY(QMetaObject::invokeMethod(job, "onTimeOut", Qt::DirectConnection));
}
