// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/graphsettingsstorage.h"

#include "control/settingskeys.h"
#include "ui/settingsinterface.h"

GraphSettings GraphSettingsStorage::read(const SettingsInterface &settings)
{
    const auto now = [] { return QDateTime::currentDateTimeUtc(); };
    GraphSettings graph;
    graph.from = settings.value(SettingsKeys::graphFrom, now()).toDateTime();
    graph.to = settings.value(SettingsKeys::graphTo, now()).toDateTime();
    graph.measurementTypes =
        settings.value(SettingsKeys::graphMeasurementTypes, QStringList()).toStringList();
    graph.manualRange = settings.value(SettingsKeys::graphRangeManual, false).toBool();
    graph.maximum = settings.value(SettingsKeys::graphMaximumRange, 0.0).toDouble();
    graph.minimum = settings.value(SettingsKeys::graphMinimumRange, 0.0).toDouble();
    graph.showLatest = settings.value(SettingsKeys::graphShowLatest, true).toBool();
    return graph;
}

void GraphSettingsStorage::write(const GraphSettings &graph, SettingsInterface &settings)
{
    settings.setValue(SettingsKeys::graphFrom, graph.from);
    settings.setValue(SettingsKeys::graphTo, graph.to);
    settings.setValue(SettingsKeys::graphRangeManual, graph.manualRange);
    settings.setValue(SettingsKeys::graphMaximumRange, graph.maximum);
    settings.setValue(SettingsKeys::graphMinimumRange, graph.minimum);
    settings.setValue(SettingsKeys::graphMeasurementTypes, graph.measurementTypes);
    settings.setValue(SettingsKeys::graphShowLatest, graph.showLatest);
}
