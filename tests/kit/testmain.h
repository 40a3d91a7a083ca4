// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>

/// A home, settings, data and working folder of the test's own, so that nothing of the user's is
/// touched and tests run side by side. Made before the application object, gone with the test.
class TestHome
{
public:
    TestHome()
    {
        const QString root = m_dir.path();
        const struct
        {
            const char *variable;
            const char *folder;
        } folders[] = {{"HOME", "home"},
                       {"XDG_CONFIG_HOME", "config"},
                       {"XDG_DATA_HOME", "data"},
                       {"XDG_CACHE_HOME", "cache"},
                       {"XDG_RUNTIME_DIR", "runtime"}};
        for (const auto &entry : folders) {
            const QString path = root + QLatin1Char('/') + QLatin1String(entry.folder);
            QDir().mkpath(path);
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            qputenv(entry.variable, path.toLocal8Bit());
        }
        QDir().mkpath(root + QLatin1String("/cwd"));
        QDir::setCurrent(root + QLatin1String("/cwd"));
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
    }
    ~TestHome() { QDir::setCurrent(QDir::rootPath()); }
    Q_DISABLE_COPY(TestHome)

private:
    QTemporaryDir m_dir;
};

/// Keeps back the lines in which the offscreen platform says what it can't do for a window or a
/// list that drops down; they say nothing about the program. All others pass on to the test log,
/// which has to be in place before.
class PlatformNoiseFilter
{
public:
    PlatformNoiseFilter() { passOn() = qInstallMessageHandler(filter); }
    ~PlatformNoiseFilter() { qInstallMessageHandler(passOn()); }
    Q_DISABLE_COPY(PlatformNoiseFilter)

private:
    static QtMessageHandler &passOn()
    {
        static QtMessageHandler handler = nullptr;
        return handler;
    }
    static void filter(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (!text.startsWith(QLatin1String("This plugin does not support "))) {
            passOn()(type, context, text);
        }
    }
};

/// The main function of a test program that needs windows.
#define KV_TEST_MAIN(TestClass)               \
    int main(int argc, char *argv[])          \
    {                                         \
        TestHome home;                        \
        QApplication application(argc, argv); \
        TestClass test;                       \
        QTest::qInit(&test, argc, argv);      \
        int failed = 0;                       \
        {                                     \
            PlatformNoiseFilter filter;       \
            failed = QTest::qRun();           \
        }                                     \
        QTest::qCleanup();                    \
        return failed;                        \
    }

/// The main function of a test program without windows.
#define KV_TEST_CORE_MAIN(TestClass)              \
    int main(int argc, char *argv[])              \
    {                                             \
        TestHome home;                            \
        QCoreApplication application(argc, argv); \
        TestClass test;                           \
        return QTest::qExec(&test, argc, argv);   \
    }
