// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

/// A temporary home, settings, data and working folder, so that a test doesn't use the files of the
/// user and tests can run in parallel. Created before the application object, removed at the end.
class TestHome
{
public:
    TestHome()
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
    ~TestHome() { QDir::setCurrent(QDir::rootPath()); }
    Q_DISABLE_COPY(TestHome)

    /// Sets the home, settings, data and cache folder of this process to folders in @p root, which
    /// must be an absolute path. To be called before the application object is created.
    static void useFolders(const QString &root)
    {
        useFolder("HOME", root + QStringLiteral("/home"));
        useFolder("XDG_CONFIG_HOME", root + QStringLiteral("/config"));
        useFolder("XDG_DATA_HOME", root + QStringLiteral("/data"));
        useFolder("XDG_CACHE_HOME", root + QStringLiteral("/cache"));
    }

private:
    static void useFolder(const char *variable, const QString &path)
    {
        QDir().mkpath(path);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(variable, path.toLocal8Bit());
    }

    QTemporaryDir m_folder;
};
