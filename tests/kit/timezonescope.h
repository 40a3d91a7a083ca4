// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QtGlobal>
#include <ctime>

/// Eastern Europe, with its summer time, in the form that needs no data of the system's.
inline constexpr const char *easternEurope = "EET-2EEST,M3.5.0/3,M10.5.0/4";

/// Lets the process live in another time zone until the end of the scope.
class TimeZoneScope
{
public:
    explicit TimeZoneScope(const char *zone)
        : m_before(qgetenv("TZ"))
        , m_wasSet(qEnvironmentVariableIsSet("TZ"))
    {
        qputenv("TZ", zone);
        tzset();
    }
    ~TimeZoneScope()
    {
        if (m_wasSet) {
            qputenv("TZ", m_before);
        } else {
            qunsetenv("TZ");
        }
        tzset();
    }
    Q_DISABLE_COPY(TimeZoneScope)

private:
    QByteArray m_before;
    bool m_wasSet;
};
