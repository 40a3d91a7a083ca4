// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graph.h"

#include <QtWidgets/QHBoxLayout>

Graph::Graph(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(&m_graphQt);
}

void Graph::beginUpdate() { m_graphQt.beginUpdate(); }

void Graph::setTimeRange(const QDateTime &from, const QDateTime &to)
{
    m_graphQt.setTimeRange(from, to);
}

void Graph::setValueRange(double minimum, double maximum)
{
    m_graphQt.setValueRange(minimum, maximum);
}

void Graph::clear() { m_graphQt.clear(); }

void Graph::addSeries(const GraphSeries &series) { m_graphQt.addSeries(series); }

void Graph::endUpdate() { m_graphQt.endUpdate(); }
