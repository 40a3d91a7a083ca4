// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/faultmatrix.h"

#include "tests/kit/reliabilitytable.h"

#include <QtCore/QSet>
#include <QtTest/QtTest>
#include <algorithm>
#include <functional>
#include <utility>

namespace {

constexpr int runsOfEach = 2; // of a fault and of an operation, in the selection

/// How often the pairs chosen so far have each fault, operation and outcome.
class Coverage
{
public:
    explicit Coverage(const FaultMatrix &matrix)
        : m_matrix(matrix)
    {
    }

    /// The gain of the pair: how many of the unmet goals it contributes to.
    int gain(const FaultMatrix::Pair &pair) const
    {
        return (m_faults.value(pair.first) < runsOfEach ? 1 : 0)
            + (m_operations.value(pair.second) < runsOfEach ? 1 : 0)
            + (m_outcomes.contains(outcome(pair)) ? 0 : 1);
    }

    void add(const FaultMatrix::Pair &pair)
    {
        ++m_faults[pair.first];
        ++m_operations[pair.second];
        m_outcomes.insert(outcome(pair));
    }

private:
    QByteArray outcome(const FaultMatrix::Pair &pair) const
    {
        return m_matrix.expected(pair.first, pair.second).text;
    }

    const FaultMatrix &m_matrix;
    QMap<FaultKind, int> m_faults;
    QMap<int, int> m_operations;
    QSet<QByteArray> m_outcomes;
};

} // namespace

FaultMatrix::FaultMatrix(FaultLevel level, QVector<FaultOperation> operations,
                         QVector<Exception> exceptions, Rule rule)
    : m_operations(std::move(operations))
    , m_exceptions(std::move(exceptions))
    , m_rule(rule)
{
    for (const FaultInfo &info : faultInfos()) {
        if (info.levels.testFlag(level)) {
            m_faults.append(info.kind);
        }
    }
}

Expectation FaultMatrix::expected(FaultKind fault, int operation) const
{
    for (const Exception &exception : m_exceptions) {
        if (exception.fault == fault && exception.operation == operation) {
            return exception.expectation;
        }
    }
    return m_rule(fault, operation);
}

QVector<FaultMatrix::Pair> FaultMatrix::applicablePairs() const
{
    QVector<Pair> pairs;
    for (const FaultKind fault : m_faults) {
        for (int operation = 0; operation < m_operations.size(); ++operation) {
            if (expected(fault, operation).applies) {
                pairs.append({fault, operation});
            }
        }
    }
    return pairs;
}

/// Repeatedly chooses the pair with the greatest gain, until no pair has any.
QVector<FaultMatrix::Pair> FaultMatrix::coveringSelection() const
{
    QVector<Pair> remaining = applicablePairs();
    QVector<Pair> selection;
    Coverage coverage(*this);
    while (!remaining.isEmpty()) {
        const auto best = std::max_element(remaining.begin(), remaining.end(),
                                           [&](const Pair &one, const Pair &other) {
                                               return coverage.gain(one) < coverage.gain(other);
                                           });
        if (coverage.gain(*best) == 0) {
            break;
        }
        coverage.add(*best);
        selection.append(*best);
        remaining.erase(best);
    }
    return selection;
}

void FaultMatrix::addRows(const char *part) const
{
    QTest::addColumn<int>("fault");
    QTest::addColumn<int>("operation");
    const QVector<Pair> pairs =
        qgetenv("KV_FAULT_PAIRS") == "all" ? applicablePairs() : coveringSelection();
    for (const Pair &pair : pairs) {
        const FaultOperation &operation = m_operations.at(pair.second);
        if (qstrcmp(operation.part, part) == 0) {
            QTest::addRow("%s, %s", operation.name, faultInfo(pair.first).name)
                << static_cast<int>(pair.first) << pair.second;
        }
    }
}

void FaultMatrix::record(FaultKind fault, int operation, const QByteArray &seen)
{
    m_seen.insert({fault, operation}, seen);
}

void FaultMatrix::verify(int pairCount) const
{
    QCOMPARE(m_faults.size() * m_operations.size(), pairCount);
    for (const FaultKind fault : m_faults) {
        QCOMPARE(faultInfo(fault).kind, fault);
        for (int operation = 0; operation < m_operations.size(); ++operation) {
            QVERIFY2(qstrlen(expected(fault, operation).text) > 3, faultInfo(fault).name);
        }
    }
    const QVector<Pair> all = applicablePairs();
    const QVector<Pair> selection = coveringSelection();
    for (const Pair &pair : all) {
        const auto count = [](const QVector<Pair> &pairs,
                              const std::function<bool(const Pair &)> &is) {
            return std::count_if(pairs.begin(), pairs.end(), is);
        };
        const auto sameFault = [&](const Pair &other) { return other.first == pair.first; };
        const auto sameOperation = [&](const Pair &other) { return other.second == pair.second; };
        QVERIFY(count(selection, sameFault) >= qMin<qint64>(runsOfEach, count(all, sameFault)));
        QVERIFY(count(selection, sameOperation)
                >= qMin<qint64>(runsOfEach, count(all, sameOperation)));
    }
}

bool FaultMatrix::saveTables() const
{
    QStringList parts;
    for (const FaultOperation &operation : m_operations) {
        if (!parts.contains(QLatin1String(operation.part))) {
            parts += QLatin1String(operation.part);
        }
    }
    return std::all_of(parts.begin(), parts.end(),
                       [this](const QString &part) { return saveTable(part); });
}

bool FaultMatrix::saveTable(const QString &part) const
{
    ReliabilityTable table;
    for (const FaultKind fault : m_faults) {
        for (int operation = 0; operation < m_operations.size(); ++operation) {
            const FaultOperation &info = m_operations.at(operation);
            const Expectation expectation = expected(fault, operation);
            const QByteArray name = faultInfo(fault).name;
            if (part != QLatin1String(info.part)) {
                continue;
            }
            if (!expectation.applies) {
                table.add(name, info.name, QByteArray("not applicable: ") + expectation.text, "-");
            } else if (!m_seen.contains({fault, operation})) {
                return true; // an incomplete run has no table
            } else {
                const QByteArray seen = m_seen.value({fault, operation});
                table.add(name, info.name, expectation.text,
                          seen == expectation.text ? QByteArray("the same") : seen);
            }
        }
    }
    return ReliabilityTable::save(part, table.markdown());
}
