// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QObject;

/// Connects the signals of the main window to the controller's slots. The connections are
/// string-based, so any object with these signals can implement the window.
void connectWindowSignals(const QObject *window, const QObject *controller);
