// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testpaths.h"

QString TestPaths::sourceFile(const char *name)
{
    return QStringLiteral(KV_SOURCE_DIR "/") + QLatin1String(name);
}

QString TestPaths::buildFile(const char *name)
{
    return QStringLiteral(KV_BINARY_DIR "/") + QLatin1String(name);
}
