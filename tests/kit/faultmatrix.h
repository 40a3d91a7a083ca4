// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/faultkind.h"

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QPair>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <initializer_list>

/// An operation that is run under faults.
struct FaultOperation
{
    const char *part; ///< the test function and table that it belongs to
    const char *name;
    const char *command; ///< the console command that the faults affect; empty for none
    const char *damagedByte; ///< of the command's answer, counted from 1
};

/// The expected outcome of an operation under a fault, or why the two don't apply to each other.
struct Expectation
{
    constexpr Expectation(const char *words = "", bool isApplicable = true)
        : text(words)
        , applies(isApplicable)
    { }

    const char *text; ///< the outcome; the reason when it doesn't apply
    bool applies;
};

constexpr Expectation notApplicable(const char *reason) { return Expectation(reason, false); }

/// All pairs of the faults of one level and its operations, with the expectation of each, and what
/// was seen.
///
/// A test function runs the rows that addRows() adds, and records what it sees. That is a selection
/// with each fault and each operation at least twice and each expected outcome at least once; with
/// KV_FAULT_PAIRS=all in the environment it is every pair.
class FaultMatrix
{
public:
    /// One value, several, or with {} every value.
    template <typename T>
    class AnyOf
    {
    public:
        AnyOf() = default;
        AnyOf(T value)
            : m_values{value}
        { }
        AnyOf(std::initializer_list<T> values)
            : m_values(values)
        { }
        bool contains(T value) const { return m_values.isEmpty() || m_values.contains(value); }

    private:
        QVector<T> m_values;
    };

    /// What is expected of each of the operations under each of the faults.
    struct Entry
    {
        AnyOf<FaultKind> faults;
        AnyOf<int> operations;
        Expectation expectation;
    };
    using Exception = Entry; ///< an entry that differs from the rule
    using Rule = Expectation (*)(FaultKind fault, int operation);
    using Pair = QPair<FaultKind, int>;

    /// An operation's number is its index in @p operations. The first of @p entries that contains
    /// the pair gives its expectation; without one, @p rule.
    FaultMatrix(FaultLevel level, QVector<FaultOperation> operations, QVector<Entry> entries,
                Rule rule = nullptr);

    Expectation expected(FaultKind fault, int operation) const;

    const FaultOperation &operation(int number) const { return m_operations.at(number); }

    /// Adds the data rows of @p part. Each row has a "fault" and an "operation", both int.
    void addRows(const char *part) const;

    /// Records what was seen of a pair, for saveTables().
    void record(FaultKind fault, int operation, const QByteArray &seen);

    /// Fails the running test unless there are @p pairCount pairs, each with an expectation, and
    /// the selection covers what it has to.
    void verify(int pairCount) const;

    /// Saves the table of each part whose applicable pairs have all been recorded.
    bool saveTables() const;

private:
    QVector<Pair> applicablePairs() const;
    QVector<Pair> coveringSelection() const;
    bool saveTable(const QByteArray &part) const;

    QVector<FaultKind> m_faults;
    QVector<FaultOperation> m_operations;
    QVector<Entry> m_entries;
    Rule m_rule;
    QMap<Pair, QByteArray> m_seen;
};
