// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/reliabilitytable.h"

#include "tests/kit/testpaths.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <cstdio>

void ReliabilityTable::add(const QByteArray &fault, const QByteArray &operation,
                           const QByteArray &expected, const QByteArray &seen)
{
    for (Row &row : m_rows) {
        if (row.fault == fault && row.expected == expected && row.seen == seen) {
            row.operations += operation;
            return;
        }
    }
    m_rows.append({fault, {operation}, expected, seen});
}

QByteArray ReliabilityTable::markdown() const
{
    QByteArray text = "| Fault | Operation | Expected | Seen |\n|---|---|---|---|\n";
    for (const Row &row : m_rows) {
        text += "| " + row.fault + " | " + row.operations.join(", ") + " | " + row.expected + " | "
            + row.seen + " |\n";
    }
    return text;
}

bool ReliabilityTable::save(const QString &name, const QByteArray &markdown)
{
    // Not through the test log, which would cut a long table.
    std::printf("\n%s", markdown.constData());
    std::fflush(stdout);
    const QDir folder(testpaths::buildFile("reliability"));
    QFile file(folder.filePath(name + QStringLiteral(".md")));
    return folder.mkpath(QStringLiteral(".")) && file.open(QIODevice::WriteOnly)
        && file.write(markdown) == markdown.size();
}
