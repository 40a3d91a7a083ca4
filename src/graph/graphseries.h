// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtGui/QColor>

/// One point of a line in the chart.
struct GraphPoint
{
    /// In which moment which value, in the unit of the value axis.
    QDateTime time;
    double value = 0.0;
};

/// One line in the chart, with its points in the order in which they are joined.
struct GraphSeries
{
    QString name; ///< what the legend calls it
    QColor color; ///< of the line
    QVector<GraphPoint> points; ///< may be empty
};
