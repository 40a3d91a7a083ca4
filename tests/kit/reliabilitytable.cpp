// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/reliabilitytable.h"

#include "tests/kit/fileio.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QDir>
#include <cstdio>

bool saveReliabilityTable(const QString &name, const QVector<QByteArrayList> &rows)
{
    QByteArrayList lines;
    for (const QByteArrayList &cells : rows) {
        lines.append("| " + cells.join(" | ") + " |\n");
    }
    lines.insert(1, '|' + QByteArray("---|").repeated(rows.first().size()) + '\n');
    // Not with qDebug(), because the test log truncates long messages.
    std::printf("\n%s", lines.join().constData());
    std::fflush(stdout);
    const QDir folder(TestPaths::buildFile("reliability"));
    return folder.mkpath(QStringLiteral("."))
        && FileIo::write(folder.filePath(name + QStringLiteral(".md")), lines.join());
}
