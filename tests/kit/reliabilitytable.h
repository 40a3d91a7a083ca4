// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QByteArrayList>
#include <QtCore/QString>
#include <QtCore/QVector>

/// A table of faults and operations in Markdown: what was expected and what was seen. Operations
/// with the same outcome under a fault share a row.
class ReliabilityTable
{
public:
    void add(const QByteArray &fault, const QByteArray &operation, const QByteArray &expected,
             const QByteArray &seen);

    QByteArray markdown() const;

    /// Prints @p markdown and saves it as reliability/@p name.md in the build folder; false when it
    /// can't be saved.
    static bool save(const QString &name, const QByteArray &markdown);

private:
    struct Row
    {
        QByteArray fault;
        QByteArrayList operations;
        QByteArray expected;
        QByteArray seen;
    };

    QVector<Row> m_rows;
};
