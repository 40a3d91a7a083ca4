// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QVector>
#include <QtGui/QColor>

/// One point of a line in the chart.
struct GraphPoint
{
    QDateTime time; ///< position on the time axis
    double value = 0.0; ///< in the unit of the value axis
};

/// One line in the chart; it connects the points in their order.
struct GraphSeries
{
    QString name; ///< shown literally in the legend
    QColor color; ///< colour of the line
    QVector<GraphPoint> points; ///< may be empty
};
