// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArrayList>
#include <QtCore/QString>
#include <QtCore/QVector>

/// Prints @p rows, of which the first has the titles, as a table in Markdown and saves it as
/// reliability/@p name.md in the build folder; false when it can't be saved.
bool saveReliabilityTable(const QString &name, const QVector<QByteArrayList> &rows);
