// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testhome.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

namespace {

void useFolder(const char *variable, const QString &path)
{
    QDir().mkpath(path);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv(variable, path.toLocal8Bit());
}

} // namespace

TestHome::TestHome()
{
    useFolders(m_folder.path());
    useFolder("XDG_RUNTIME_DIR", m_folder.filePath(QStringLiteral("runtime")));
    const QString work = m_folder.filePath(QStringLiteral("cwd"));
    QDir().mkpath(work);
    QDir::setCurrent(work);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
}

TestHome::~TestHome()
{
    QDir::setCurrent(QDir::rootPath());
}

void TestHome::useFolders(const QString &root)
{
    const QDir folder(root);
    useFolder("HOME", folder.filePath(QStringLiteral("home")));
    useFolder("XDG_CONFIG_HOME", folder.filePath(QStringLiteral("config")));
    useFolder("XDG_DATA_HOME", folder.filePath(QStringLiteral("data")));
    useFolder("XDG_CACHE_HOME", folder.filePath(QStringLiteral("cache")));
}
