// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QStringList>

class QWidget;

/// What of the shown window @p window can't be read in full: a label or button that is smaller than
/// its text, a text that is wider than its field, a row that is wider than its column. One line
/// each, beginning with the object's name. Only what the style and the fonts tell; the frame is
/// the window manager's.
QStringList cutTexts(const QWidget *window);
