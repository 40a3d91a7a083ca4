// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>
#include <ctime>

/// Eastern Europe with summer time, as a POSIX rule, which needs no time zone database.
inline constexpr const char *easternEurope = "EET-2EEST,M3.5.0/3,M10.5.0/4";

/// Sets the process's time zone until the end of the scope.
class TimeZoneScope
{
public:
    explicit TimeZoneScope(const char *zone) { use(zone); }
    ~TimeZoneScope() { use(m_before); }
    Q_DISABLE_COPY(TimeZoneScope)

private:
    static void use(const QByteArray &zone)
    {
        if (zone.isNull()) {
            qunsetenv("TZ");
        } else {
            qputenv("TZ", zone);
        }
        tzset();
    }

    const QByteArray m_before = qgetenv("TZ");
};
