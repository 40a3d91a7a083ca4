// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

class QWidget;

/// Saves a picture of @p window with its frame in the folder that the environment variable
/// KV_SCREENSHOTS names; without it, does nothing. Runs the event loop until the window is painted.
void takeScreenshot(QWidget *window);

/// Saves a picture of @p window with its frame as @p path, once it is painted.
void saveScreenshot(const QWidget *window, const QString &path);
