// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/timezonescope.h"

#include <ctime>

TimeZoneScope::TimeZoneScope(const char *zone)
    : m_before(qgetenv("TZ"))
    , m_wasSet(qEnvironmentVariableIsSet("TZ"))
{
    qputenv("TZ", zone);
    tzset();
}

TimeZoneScope::~TimeZoneScope()
{
    if (m_wasSet) {
        qputenv("TZ", m_before);
    } else {
        qunsetenv("TZ");
    }
    tzset();
}
