// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

class QWidget;

/// Saves a screenshot of @p window with its frame in the folder that the environment variable
/// KV_SCREENSHOTS names; without the variable, does nothing. Runs the event loop until the window
/// is painted.
void takeScreenshot(QWidget *window);

/// Saves a screenshot of @p window with its frame as @p path. Waits up to @p frameMs for the frame,
/// which never appears without a window manager, and @p paintMs for the painting, whose end no
/// signal reports: window manager and display server are other processes.
void saveScreenshot(const QWidget *window, const QString &path, int frameMs = 300,
                    int paintMs = 40);
