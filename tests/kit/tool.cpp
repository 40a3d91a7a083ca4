// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/tool.h"

#include <QtWidgets/QComboBox>

void Tool::choosePort(const QString &name, const QString &path)
{
    window.addPort(name, path);
    const auto *const ports = window.findChild<QComboBox *>(QStringLiteral("serialPorts"));
    window.selectPortIndex(ports->count() - 1);
}
