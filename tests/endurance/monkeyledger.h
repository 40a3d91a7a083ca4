// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QMap>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QVector>

/// What a walk did, where it came to, and what memory it held.
class MonkeyLedger
{
public:
    void countAction(const char *kind) { ++m_actions[QLatin1String(kind)]; }

    /// Counts one visit of each state that was not there at the last call.
    void see(const QSet<QString> &states);

    /// Counts one visit of a state that has no duration.
    void visit(const QString &state) { ++m_visits[state]; }

    int visits(const QString &state) const { return m_visits.value(state); }

    /// Takes a sample of the memory in use, for a moment in which the tool has just ended. Returns
    /// free memory to the system first, so that the resident set says what is held.
    void sampleMemory(int actions);

    /// Prints the counts.
    void print() const;

    /// Prints the memory's course. False when it grows; only to be asked of a program without a
    /// sanitizer, whose quarantine grows by design.
    bool isMemoryFlat() const;

private:
    struct Sample
    {
        int actions;
        double residentBytes;
        double heapBytes; ///< that the program holds
    };

    QMap<QString, int> m_actions;
    QMap<QString, int> m_visits;
    QSet<QString> m_states;
    QVector<Sample> m_samples;
};
