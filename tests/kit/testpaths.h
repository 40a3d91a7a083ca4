// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QString>

/// Where a test finds the files that it needs.
namespace TestPaths {

/// The path of a file in the source tree, such as "settings.xml".
QString sourceFile(const char *name);

/// The path of a file in the build folder, such as "kvt-simulator".
QString buildFile(const char *name);

} // namespace TestPaths
