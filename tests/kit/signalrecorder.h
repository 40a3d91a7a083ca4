// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "serial/serialportjobinterface.h"
#include "serial/serialportqueueinterface.h"
#include "tests/kit/devicereplies.h"
#include "tests/kit/enumeratornames.h"

#include <QtCore/QStringList>
#include <functional>
#include <type_traits>

/// An argument of a signal as text: "null" for a null string, hexadecimal digits for bytes, type
/// and value of a variant, and "(no value)" for an invalid one.
template <typename T>
QString toLogString(const T &value)
{
    if constexpr (std::is_same_v<T, QString>) {
        return value.isNull() ? latin1("null") : value;
    } else if constexpr (std::is_same_v<T, QStringList>) {
        return value.join(QLatin1Char('|'));
    } else if constexpr (std::is_same_v<T, QVector<double>>) {
        return joined(value);
    } else if constexpr (std::is_same_v<T, QByteArray>) {
        return latin1(value.toHex().constData());
    } else if constexpr (std::is_same_v<T, QDateTime>) {
        return value.toString(Qt::ISODate);
    } else if constexpr (std::is_same_v<T, QVariant>) {
        const bool isTime = value.userType() == QMetaType::QDateTime;
        const QString text = isTime ? toLogString(value.toDateTime()) : value.toString();
        return value.isValid() ? latin1(value.typeName()) + QLatin1Char(' ') + text
                               : latin1("(no value)");
    } else if constexpr (std::is_enum_v<T>) {
        return enumeratorName(value);
    } else {
        return QString::number(value);
    }
}

/// Returns a function that connects a signal of @p sender to @p add. Its parameters are the signal
/// and the text that is passed to @p add, in which the arguments replace %1, %2 and so on.
template <typename Sender, typename Add>
auto signalLogger(Sender *sender, const Add &add)
{
    return [=](auto signal, const char *text) {
        QObject::connect(sender, signal, sender, [=](const auto &...arguments) {
            if constexpr (sizeof...(arguments) == 0) {
                add(latin1(text));
            } else {
                add(latin1(text).arg(toLogString(arguments)...));
            }
        });
    };
}

/// Records the signals of jobs and queues as text, in the order in which they are emitted.
///
/// Must outlive the jobs and queues that it records.
class SignalRecorder
{
public:
    /// Records the signals of @p job, each followed by ", running" while the job is running.
    void record(SerialPortJobInterface *job);

    /// Records the signals of @p queue, each after "queue: ".
    void record(SerialPortQueueInterface *queue);

    QStringList log;

    /// Called inside each signal, with its index in log.
    std::function<void(int index)> onSignal;

private:
    void addEntry(const QString &text);
};
