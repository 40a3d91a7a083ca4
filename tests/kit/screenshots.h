// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

class QWidget;

/// Saves a picture of @p window with its frame in the folder that the environment variable
/// KV_SCREENSHOTS names; without it, does nothing. Runs the event loop until the window is painted.
void takeScreenshot(QWidget *window);

/// Saves a picture of @p window with its frame as @p path. Waits up to @p frameMs for the frame,
/// which a display without a window manager never gives, and @p paintMs for the painting, whose end
/// no signal reports: window manager and display are processes of their own.
void saveScreenshot(const QWidget *window, const QString &path, int frameMs = 300,
                    int paintMs = 40);
