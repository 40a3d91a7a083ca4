// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QList>
#include <QtCore/QStringList>

class QWidget;

/// Checks that a user can read each text of a shown window, reach each control with the keyboard,
/// and that a screen reader has a name for it. Each function returns one string for each problem,
/// beginning with the object's name.
namespace LayoutChecks {

/// Captions, buttons, headers, messages and labels of a chart that are cut off or shortened.
QStringList cutTexts(const QWidget *window);

/// Contents of fields, cells, lists and a chart's legend that are cut off or shortened.
QStringList cutContents(const QWidget *window);

/// Enabled inputs and buttons of the active window @p window that neither Tab nor Shift+Tab
/// reaches.
QStringList unreachableControls(QWidget *window);

/// Inputs, lists, tables and charts whose accessible name is missing or the same as another one.
QStringList badlyNamedControls(const QWidget *window);

/// Texts of enabled widgets whose contrast, measured on the painted pixels, is below 4.5 : 1.
QStringList lowContrastTexts(QWidget *window);

/// The inputs, lists, tables and charts of @p window, without the widgets that these consist of.
QList<QWidget *> inputs(const QWidget *window);

/// The widgets in the active window @p window that get the focus when @p key, Tab or Backtab, is
/// pressed repeatedly.
QList<QWidget *> widgetsReachedBy(QWidget *window, Qt::Key key);

} // namespace LayoutChecks
