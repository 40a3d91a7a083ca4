// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArrayList>
#include <QtCore/QString>
#include <QtCore/QVector>

/// Prints @p rows, of which the first contains the column headings, as a Markdown table and saves
/// it as reliability/@p name.md in the build folder; false if it can't be saved.
bool saveReliabilityTable(const QString &name, const QVector<QByteArrayList> &rows);
