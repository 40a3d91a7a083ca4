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
    const char *damagedByte; ///< number of the byte of the reply that is damaged, from 1
};

/// The expected outcome of an operation under a fault, or the reason why the fault is not
/// applicable to the operation.
struct Expectation
{
    constexpr Expectation(const char *outcome = "", bool isApplicable = true)
        : text(outcome)
        , applies(isApplicable)
    { }

    const char *text; ///< the outcome, or the reason if not applicable
    bool applies;
};

constexpr Expectation notApplicable(const char *reason) { return Expectation(reason, false); }

/// All pairs of the faults of one level and its operations, with the expected and the actual
/// outcome of each.
///
/// A test function runs the rows that addRows() adds, and records the actual outcomes. The rows are
/// a selection with each fault and each operation at least twice and each expected outcome at least
/// once; with KV_FAULT_PAIRS=all in the environment they are all pairs.
class FaultMatrix
{
public:
    /// A set of values; an empty one, {}, contains every value.
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

    /// The expectation of each of the operations under each of the faults.
    struct Entry
    {
        AnyOf<FaultKind> faults;
        AnyOf<int> operations;
        Expectation expectation;
    };
    using Exception = Entry; ///< an entry that differs from the rule
    using Rule = Expectation (*)(FaultKind fault, int operation);
    using Pair = QPair<FaultKind, int>;

    /// The number of an operation is its index in @p operations. The expectation of a pair is that
    /// of the first of @p entries that contains the pair; if none does, the result of @p rule.
    FaultMatrix(FaultLevel level, QVector<FaultOperation> operations, QVector<Entry> entries,
                Rule rule = nullptr);

    Expectation expected(FaultKind fault, int operation) const;

    const FaultOperation &operation(int number) const { return m_operations.at(number); }

    /// Adds the data rows of @p part. Each row has a "fault" and an "operation", both int.
    void addRows(const char *part) const;

    /// Records the actual outcome of a pair, for saveTables().
    void record(FaultKind fault, int operation, const QByteArray &outcome);

    /// Fails the running test unless there are @p pairCount pairs, each with an expectation, and
    /// the selection contains each fault and each operation as often as required.
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
    QMap<Pair, QByteArray> m_outcomes;
};
