// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "common/logvalue.h"
#include "common/measurementdisplayoptions.h"
#include "common/measurementitem.h"
#include "storage/storedmeasurement.h"

#include <QtCore/QStringList>

/// The columns and rows of an export of stored measurements; saveToCsv() writes the file.
namespace MeasurementExport {

/// The names of the values of @p measurement that are among @p chosen, in their stored order.
QStringList valueNames(const StoredMeasurement &measurement, const QStringList &chosen);

/// A row for each measurement: those of its values whose names are among @p chosen, in their stored
/// order and in the units of @p options. A missing value shifts the values after it to the left.
QVector<LogValue> rows(const QVector<StoredMeasurement> &measurements, const QStringList &chosen,
                       const MeasurementDisplayOptions &options,
                       const QVector<MeasurementItem> &items);

} // namespace MeasurementExport
