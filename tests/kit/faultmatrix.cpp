// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/faultmatrix.h"

#include "tests/kit/reliabilitytable.h"

#include <QtCore/QSet>
#include <QtTest/QtTest>
#include <algorithm>
#include <utility>

namespace {

constexpr int minimumRuns = 2; // of each fault and each operation in the selection

} // namespace

FaultMatrix::FaultMatrix(FaultLevel level, QVector<FaultOperation> operations,
                         QVector<Entry> entries, Rule rule)
    : m_operations(std::move(operations))
    , m_entries(std::move(entries))
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
    for (const Entry &entry : m_entries) {
        if (entry.faults.contains(fault) && entry.operations.contains(operation)) {
            return entry.expectation;
        }
    }
    return m_rule != nullptr ? m_rule(fault, operation) : Expectation();
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

/// Chooses pairs by their gain, the number of goals not yet reached that they contribute to.
QVector<FaultMatrix::Pair> FaultMatrix::coveringSelection() const
{
    QVector<Pair> selection;
    QMap<FaultKind, int> faults;
    QMap<int, int> operations;
    QSet<QByteArray> outcomes;
    for (int minimumGain = 3; minimumGain > 0; --minimumGain) {
        for (const Pair &pair : applicablePairs()) {
            const QByteArray outcome = expected(pair.first, pair.second).text;
            const int gain = (faults.value(pair.first) < minimumRuns ? 1 : 0)
                + (operations.value(pair.second) < minimumRuns ? 1 : 0)
                + (outcomes.contains(outcome) ? 0 : 1);
            if (gain >= minimumGain && !selection.contains(pair)) {
                ++faults[pair.first];
                ++operations[pair.second];
                outcomes.insert(outcome);
                selection.append(pair);
            }
        }
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

void FaultMatrix::record(FaultKind fault, int operation, const QByteArray &outcome)
{
    m_outcomes.insert({fault, operation}, outcome);
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
    const auto isCovered = [&](const auto &is) {
        return std::count_if(selection.begin(), selection.end(), is)
            >= qMin<qint64>(minimumRuns, std::count_if(all.begin(), all.end(), is));
    };
    for (const Pair &pair : all) {
        QVERIFY(isCovered([&](const Pair &other) { return other.first == pair.first; }));
        QVERIFY(isCovered([&](const Pair &other) { return other.second == pair.second; }));
    }
}

bool FaultMatrix::saveTables() const
{
    QSet<QByteArray> parts;
    for (const FaultOperation &operation : m_operations) {
        parts.insert(operation.part);
    }
    return std::all_of(parts.begin(), parts.end(),
                       [this](const QByteArray &part) { return saveTable(part); });
}

/// Operations with the same outcome under a fault share a row.
bool FaultMatrix::saveTable(const QByteArray &part) const
{
    QVector<QByteArrayList> rows{{"Fault", "Operation", "Expected", "Actual"}};
    for (const FaultKind fault : m_faults) {
        const int firstOfFault = rows.size();
        for (int operation = 0; operation < m_operations.size(); ++operation) {
            const Expectation expectation = expected(fault, operation);
            if (part != m_operations.at(operation).part) {
                continue;
            }
            if (expectation.applies && !m_outcomes.contains({fault, operation})) {
                return true; // an incomplete run has no table
            }
            const QByteArray outcome = m_outcomes.value({fault, operation});
            const QByteArrayList cells = !expectation.applies
                ? QByteArrayList{QByteArray("not applicable: ") + expectation.text, "-"}
                : QByteArrayList{expectation.text,
                                 outcome == expectation.text ? "the same" : outcome};
            const auto row =
                std::find_if(rows.begin() + firstOfFault, rows.end(),
                             [&](const QByteArrayList &other) { return other.mid(2) == cells; });
            const QByteArray name = m_operations.at(operation).name;
            if (row == rows.end()) {
                rows.append(QByteArrayList{faultInfo(fault).name, name} + cells);
            } else {
                (*row)[1] += ", " + name;
            }
        }
    }
    return saveReliabilityTable(QString::fromLatin1(part), rows);
}
