// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fileio.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "tests/kit/uicoveragerecorder.h"

#include <QtCore/QProcess>
#include <QtCore/QSettings>
#include <QtCore/QTemporaryDir>
#include <csignal>
#include <memory>

namespace {

constexpr int waitMs = 30000;

// Lines that tooldriver prints. The number after "box" is the QMessageBox::Icon.
const QStringList windowOnly = texts("window|closing|exit code 0");
const QStringList loadErrorBox(text("box 3 Failed to load configuration from file settings.xml"));
const QString folderRequestBox =
    text("box 1 Kv tool automatically stores measurements to disk. Please select a directory where "
         "the measurements can be stored.");
const QString folderDialog = text("folder Choose where to store measurements");

} // namespace

/// Runs the program as a process with its own folders, from the start to the exit.
class TestStartAndExit : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UiCoverageRecorder::reset(); }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        for (const char *name : {"home", "config", "data", "cache", "runtime", "work"}) {
            QVERIFY(QDir().mkpath(path(name)));
        }
        QFile::setPermissions(path("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_home = path("home");
        QVERIFY(QFile::copy(TestPaths::sourceFile("settings.xml"), path("work/settings.xml")));
    }

    void exitsWhenMainWindowIsClosed()
    {
        QCOMPARE(run(text("close")), windowOnly);
        // The data folder doesn't exist and the program doesn't create it, so the home folder,
        // which is tried next, is used.
        QVERIFY(QFile::exists(path("home/measurements.db")));
        QCOMPARE(rememberedFolder(), path("home"));
    }

    void exitClosesPort()
    {
        SimulatorProcess device;
        QVERIFY(device.start());
        QCOMPARE(run(device.port()), texts("window|port is open|closing|exit code 0"));
    }

    void builtProgramReachesItsEventLoop()
    {
        QProcess program;
        program.setProcessEnvironment(environment());
        program.setWorkingDirectory(path("work"));
        program.start(TestPaths::buildFile("kvtool"), QStringList());
        QVERIFY(program.waitForStarted(waitMs));
        // QSettings writes its file in the event loop, so the start is complete by then.
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path("config/Orvanta/Kv tool.conf")), waitMs);
        QCOMPARE(program.state(), QProcess::Running);
        QVERIFY(QFile::exists(path("home/measurements.db")));
        program.terminate();
        QVERIFY(program.waitForFinished(waitMs));
        QCOMPARE(program.exitStatus(), QProcess::CrashExit);
        QCOMPARE(program.exitCode(), SIGTERM);
        QVERIFY(!program.readAllStandardError().contains("Sanitizer"));
    }

    void badSettingsFileIsReportedAndIgnored()
    {
        const QString settingsFile = path("work/settings.xml");
        const QByteArray all = FileIo::contents(settingsFile);
        QVERIFY(QFile::remove(settingsFile));
        QCOMPARE(run(text("close")), loadErrorBox + windowOnly);
        for (const QByteArray &contents :
             {all.left(all.indexOf("<Devices>")), QByteArray("Transmitters:\n  - KVT-100\n"),
              QByteArray("<KVTConfig><Devices></Devices></KVTConfig>")}) {
            QVERIFY(FileIo::write(settingsFile, contents));
            QCOMPARE(run(text("close")), loadErrorBox + windowOnly);
        }
        // A file that is truncated inside a model is read up to there.
        QVERIFY(
            FileIo::write(settingsFile, all.left(all.indexOf("<Device name=\"KVT-100\"") + 60)));
        QCOMPARE(run(text("close")), windowOnly);
        // Not even root can read a folder as a file.
        QVERIFY(QFile::remove(settingsFile));
        QVERIFY(QDir().mkdir(settingsFile));
        QCOMPARE(run(text("close")), loadErrorBox + windowOnly);
    }

    void rememberedFolderIsTriedFirst()
    {
        QSettings(path("config/Orvanta/Kv tool.conf"), QSettings::IniFormat)
            .setValue(text("local storage path"), path("data"));
        QCOMPARE(run(text("close")), windowOnly);
        QVERIFY(QFile::exists(path("data/measurements.db")));
        QVERIFY(!QFile::exists(path("home/measurements.db")));
    }

    void cancellingFolderDialogExitsWithoutWindow()
    {
        makeStandardFoldersUnusable();
        QVERIFY(QFile::remove(path("work/settings.xml")));
        const QStringList lines = run(text("cancel"));
        QCOMPARE(lines.size(), 5);
        QCOMPARE(lines.mid(0, 3), loadErrorBox + QStringList({folderRequestBox, folderDialog}));
        QVERIFY2(
            lines.at(3).startsWith(text("box 3 Unable to write measurements to disk. Unable to "
                                        "write to default location: ")
                                   + m_home),
            qPrintable(lines.at(3)));
        QVERIFY(lines.at(3).endsWith(text(" and no replacement directory was chosen. Exiting!")));
        QCOMPARE(lines.at(4), text("exit code 0"));
    }

    void chosenFolderIsUsedAndRemembered()
    {
        makeStandardFoldersUnusable();
        QCOMPARE(run(path("data")),
                 QStringList({folderRequestBox, folderDialog,
                              text("box 3 Unable to write measures to /proc. Please choose another "
                                   "directory."),
                              folderDialog})
                     + windowOnly);
        QVERIFY(QFile::exists(path("data/measurements.db")));
        QCOMPARE(rememberedFolder(), path("data"));
    }

private:
    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(text("HOME"), m_home);
        environment.insert(text("XDG_CONFIG_HOME"), path("config"));
        environment.insert(text("XDG_DATA_HOME"), m_home + text("/data"));
        environment.insert(text("XDG_CACHE_HOME"), path("cache"));
        environment.insert(text("XDG_RUNTIME_DIR"), path("runtime"));
        environment.insert(text("KV_SCENARIO"),
                           text("tst_startandexit::")
                               + QLatin1String(QTest::currentTestFunction()));
        environment.insert(text("LSAN_OPTIONS"),
                           text("suppressions=") + TestPaths::sourceFile("tests/kit/lsan.supp"));
        return environment;
    }

    /// Moves the standard folders below a regular file, where not even root can create them.
    void makeStandardFoldersUnusable()
    {
        QVERIFY(FileIo::write(path("file"), QByteArray()));
        m_home = path("file/home");
    }

    /// Runs tooldriver; returns the lines that it prints, and how it ended.
    QStringList run(const QString &argument)
    {
        QProcess program;
        program.setProcessEnvironment(environment());
        program.setWorkingDirectory(path("work"));
        program.setStandardErrorFile(path("log"));
        program.start(TestPaths::buildFile("tests/e2e/tooldriver"), {argument});
        if (!program.waitForFinished(waitMs)) {
            return {text("did not exit")};
        }
        const bool crashed = program.exitStatus() == QProcess::CrashExit;
        return QString::fromLocal8Bit(program.readAllStandardOutput())
                   .split(QLatin1Char('\n'), Qt::SkipEmptyParts)
            << (crashed ? text("crashed") : text("exit code %1").arg(program.exitCode()));
    }

    QString rememberedFolder() const
    {
        return QSettings(path("config/Orvanta/Kv tool.conf"), QSettings::IniFormat)
            .value(text("local storage path"))
            .toString();
    }

    QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_home;
};

KV_TEST_CORE_MAIN(TestStartAndExit)
#include "tst_startandexit.moc"
