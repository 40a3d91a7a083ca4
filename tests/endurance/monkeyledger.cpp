// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/monkeyledger.h"

#include <QtCore/QFile>
#include <cstdio>
#include <malloc.h>
#include <unistd.h>

namespace {

void printCounts(const char *title, const QMap<QString, int> &counts)
{
    std::printf("%s\n", title);
    for (auto count = counts.constBegin(); count != counts.constEnd(); ++count) {
        std::printf("  %7d %s\n", count.value(), qUtf8Printable(count.key()));
    }
}

double residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return file.readAll().split(' ').value(1).toDouble()
        * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// The slope of the line of least squares through the points, in units of y for one of x.
double slope(const QVector<double> &x, const QVector<double> &y)
{
    const int count = x.size();
    double meanX = 0;
    double meanY = 0;
    for (int i = 0; i < count; ++i) {
        meanX += x.at(i) / count;
        meanY += y.at(i) / count;
    }
    double both = 0;
    double square = 0;
    for (int i = 0; i < count; ++i) {
        both += (x.at(i) - meanX) * (y.at(i) - meanY);
        square += (x.at(i) - meanX) * (x.at(i) - meanX);
    }
    return square > 0 ? both / square : 0;
}

} // namespace

void MonkeyLedger::see(const QSet<QString> &states)
{
    for (const QString &state : states) {
        if (!m_states.contains(state)) {
            visit(state);
        }
    }
    m_states = states;
}

void MonkeyLedger::sampleMemory(int actions)
{
    malloc_trim(0);
    m_samples.append({actions, residentBytes(), static_cast<double>(mallinfo2().uordblks)});
}

void MonkeyLedger::print() const
{
    printCounts("actions", m_actions);
    printCounts("states reached", m_visits);
}

bool MonkeyLedger::isMemoryFlat() const
{
    // The first third fills what Qt keeps for good: glyphs, icons, styles, the types of its
    // signals.
    const int first = m_samples.size() / 3;
    constexpr int fewest = 20;
    if (m_samples.size() - first < fewest) {
        std::printf("memory: too few ends of the program for a judgement\n");
        return true;
    }
    QVector<double> actions;
    QVector<double> resident;
    QVector<double> heap;
    for (int i = first; i < m_samples.size(); ++i) {
        actions.append(m_samples.at(i).actions);
        resident.append(m_samples.at(i).residentBytes);
        heap.append(m_samples.at(i).heapBytes);
    }
    constexpr double mebibyte = 1024.0 * 1024.0;
    const double residentSlope = slope(actions, resident);
    const double heapSlope = slope(actions, heap);
    std::printf(
        "memory at %d ends of the program: resident %.1f MiB at first, %.1f MiB after the "
        "first third, %.1f MiB at last, %+.1f bytes an action; held by the program %.2f MiB "
        "after the first third, %.2f MiB at last, %+.1f bytes an action\n",
        m_samples.size(), m_samples.first().residentBytes / mebibyte, resident.first() / mebibyte,
        resident.last() / mebibyte, residentSlope, heap.first() / mebibyte, heap.last() / mebibyte,
        heapSlope);
    constexpr double mostBytesAnAction = 20;
    return residentSlope < mostBytesAnAction && heapSlope < mostBytesAnAction;
}
