// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/testpaths.h"

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayList>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QVector>

/// The part of docs/reliability.md that one test program measures: what was demanded of each pair
/// of a fault and an operation, and what was seen.
class ReliabilityTable
{
public:
    /// A pair that the program has run. Pairs come in the order of the table, fault by fault.
    void add(const QByteArray &fault, const QByteArray &operation, const QByteArray &demanded,
             const QByteArray &seen)
    {
        const QByteArray same = demanded == seen ? QByteArray("the same") : seen;
        addRow(fault, operation, demanded, same);
    }

    /// A pair that can't meet.
    void addImpossible(const QByteArray &fault, const QByteArray &operation,
                       const QByteArray &reason)
    {
        addRow(fault, operation, "can't meet: " + reason, "-");
    }

    /// Operations that end alike under a fault share a row.
    QByteArray markdown() const
    {
        QByteArray text = "| Fault | Operation | Demanded | Seen |\n|---|---|---|---|\n";
        for (const Row &row : m_rows) {
            text += "| " + row.fault + " | " + row.operations.join(", ") + " | " + row.demanded
                + " | " + row.seen + " |\n";
        }
        return text;
    }

    /// Keeps @p markdown as the part called @p name, where scripts/reliability finds it.
    static bool keep(const QString &name, const QByteArray &markdown)
    {
        const QDir folder(testpaths::buildFile("reliability"));
        QFile file(folder.filePath(name + QStringLiteral(".md")));
        return folder.mkpath(QStringLiteral(".")) && file.open(QIODevice::WriteOnly)
            && file.write(markdown) == markdown.size();
    }

private:
    struct Row
    {
        QByteArray fault;
        QByteArrayList operations;
        QByteArray demanded;
        QByteArray seen;
    };

    void addRow(const QByteArray &fault, const QByteArray &operation, const QByteArray &demanded,
                const QByteArray &seen)
    {
        for (Row &row : m_rows) {
            if (row.fault == fault && row.demanded == demanded && row.seen == seen) {
                row.operations += operation;
                return;
            }
        }
        m_rows.append({fault, {operation}, demanded, seen});
    }

    QVector<Row> m_rows;
};
