// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QTimeZone>

constexpr qint64 startMs = 1672531200000; // 2023-01-01T00:00:00Z
constexpr qint64 minuteMs = 60000;

constexpr int minutesPerDay = 1440;
constexpr int minutesPerMonth = 30 * minutesPerDay;
constexpr int minutesPerYear = 365 * minutesPerDay;

/// The time of reading number @p minute, counted from 0, in a series with one reading a minute.
inline QDateTime timeOf(qint64 minute)
{
    return QDateTime::fromMSecsSinceEpoch(startMs + minute * minuteMs, QTimeZone::utc());
}
