// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QList>
#include <QtCore/QStringList>

class QWidget;

/// Checks that a user can read each text of a shown window, reach each control with the keyboard,
/// and that a screen reader has a name for it. Each function returns one line for each fault,
/// beginning with the object's name, and an empty list when there is none.
namespace LayoutChecks {

/// Captions, buttons, headers, messages and labels of a chart that are cut off or shortened.
QStringList cutTexts(const QWidget *window);

/// Contents that are cut off or shortened: of fields, cells, lists and a chart's legend.
QStringList cutContents(const QWidget *window);

/// Enabled inputs and buttons of the active window @p window that neither Tab nor Shift+Tab stops
/// at.
QStringList unreachableControls(QWidget *window);

/// Inputs, lists, tables and charts whose accessible name is missing or not their own.
QStringList badlyNamedControls(const QWidget *window);

/// Enabled texts whose contrast, measured on the painted pixels, is below 4.5 : 1.
QStringList lowContrastTexts(QWidget *window);

/// The inputs, lists, tables and charts of @p window; not the parts that Qt makes them of.
QList<QWidget *> inputs(const QWidget *window);

/// The widgets that @p key, which is Tab or Backtab, stops at in the active window @p window.
QList<QWidget *> stops(QWidget *window, Qt::Key key);

} // namespace LayoutChecks
