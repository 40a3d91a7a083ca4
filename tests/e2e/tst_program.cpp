// SPDX-License-Identifier: GPL-3.0-or-later
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

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

const QString failedLoad =
    QStringLiteral("box 3 Failed to load configuration from file settings.xml");
const QString folderWanted = QStringLiteral(
    "box 1 Kv tool automatically stores measurements to disk. Please select a directory where the "
    "measurements can be stored.");
const QString folderDialog = QStringLiteral("folder Choose where to store measurements");

} // namespace

/// The program from its start to its end, as a process with folders of its own.
class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { UiCoverageRecorder::reset(); }
    void init();

    void startsAndEndsWithItsWindow();
    void builtProgramReachesItsEventLoop();
    void badModelFileIsToldAndPassedOver_data();
    void badModelFileIsToldAndPassedOver();
    void truncatedModelFileCountsAsFarAsItGoes();
    void folderInPlaceOfTheModelFileIsTold();
    void connectWithoutAnyPortDoesNothing();
    void storeGoesToTheFirstFolderThatOpens();
    void rememberedFolderComesFirst();
    void cancelledFolderDialogEndsWithoutAWindow();
    void badModelFileIsToldBeforeTheFolderDialog();
    void chosenFolderIsTakenAndRemembered();

private:
    QProcessEnvironment environment() const;
    void makeUnwritable();
    QStringList run(const QString &word);
    QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_home;
    int m_exitCode = -1;
};

void TestProgram::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    for (const char *name : {"home", "config", "data", "cache", "runtime", "work"}) {
        QVERIFY(QDir().mkpath(path(name)));
    }
    QFile::setPermissions(path("runtime"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_home = path("home");
    QVERIFY(QFile::copy(testpaths::sourceFile("settings.xml"), path("work/settings.xml")));
    m_exitCode = -1;
}

QProcessEnvironment TestProgram::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(text("HOME"), m_home);
    environment.insert(text("XDG_CONFIG_HOME"), path("config"));
    environment.insert(text("XDG_DATA_HOME"), m_home + text("/data"));
    environment.insert(text("XDG_CACHE_HOME"), path("cache"));
    environment.insert(text("XDG_RUNTIME_DIR"), path("runtime"));
    environment.insert(text("KV_SCENARIO"),
                       text("tst_program::") + QLatin1String(QTest::currentTestFunction()));
    environment.insert(text("LSAN_OPTIONS"),
                       text("suppressions=") + testpaths::sourceFile("tests/kit/lsan.supp"));
    return environment;
}

/// No standard folder can be made or written, by nobody: they are said to lie inside a file.
void TestProgram::makeUnwritable()
{
    QFile file(path("file"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    m_home = path("file/home");
}

/// What the probe saw, line by line.
QStringList TestProgram::run(const QString &word)
{
    QProcess program;
    program.setProcessEnvironment(environment());
    program.setWorkingDirectory(path("work"));
    program.setStandardErrorFile(path("log"));
    program.start(testpaths::buildFile("tests/e2e/programprobe"), {word});
    if (!program.waitForFinished(waitMs)) {
        return {text("did not end")};
    }
    m_exitCode = program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
    return QString::fromLocal8Bit(program.readAllStandardOutput())
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

void TestProgram::startsAndEndsWithItsWindow()
{
    QCOMPARE(run(text("close")), QStringList({text("window"), text("closing"), text("end 0")}));
    QCOMPARE(m_exitCode, 0);
}

void TestProgram::builtProgramReachesItsEventLoop()
{
    QProcess program;
    program.setProcessEnvironment(environment());
    program.setWorkingDirectory(path("work"));
    program.start(testpaths::buildFile("kvtool"), QStringList());
    QVERIFY(program.waitForStarted(waitMs));
    // The store is the last thing that is opened before the window; the settings reach their file
    // from the event loop alone.
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(path("config/Orvanta/Kv tool.conf")), waitMs);
    QCOMPARE(program.state(), QProcess::Running);
    QVERIFY(QFile::exists(path("home/measurements.db")));
    program.terminate();
    QVERIFY(program.waitForFinished(waitMs));
    QCOMPARE(program.exitStatus(), QProcess::CrashExit);
    QCOMPARE(program.exitCode(), SIGTERM);
    QVERIFY(!program.readAllStandardError().contains("Sanitizer"));
}

void TestProgram::badModelFileIsToldAndPassedOver_data()
{
    QTest::addColumn<QByteArray>("contents");
    QFile sample(testpaths::sourceFile("settings.xml"));
    QVERIFY(sample.open(QIODevice::ReadOnly));
    const QByteArray all = sample.readAll();
    QTest::addRow("missing") << QByteArray();
    QTest::addRow("truncated before the first model") << all.left(all.indexOf("<Devices>"));
    QTest::addRow("not XML") << QByteArray("Transmitters:\n  - KVT-100\n");
    QTest::addRow("without models") << QByteArray("<KVTConfig><Devices></Devices></KVTConfig>");
}

void TestProgram::badModelFileIsToldAndPassedOver()
{
    QFETCH(QByteArray, contents);
    QFile file(path("work/settings.xml"));
    QVERIFY(file.remove());
    if (!contents.isNull()) {
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(contents), qint64(contents.size()));
        file.close();
    }
    QCOMPARE(run(text("close")),
             QStringList({failedLoad, text("window"), text("closing"), text("end 0")}));
    QCOMPARE(m_exitCode, 0);
}

void TestProgram::truncatedModelFileCountsAsFarAsItGoes()
{
    QFile file(path("work/settings.xml"));
    QVERIFY(file.open(QIODevice::ReadWrite));
    const QByteArray all = file.readAll();
    QVERIFY(file.resize(all.indexOf("<Device name=\"KVT-100\"") + 60));
    file.close();
    QCOMPARE(run(text("close")), QStringList({text("window"), text("closing"), text("end 0")}));
}

void TestProgram::folderInPlaceOfTheModelFileIsTold()
{
    // Stands there, and can be read by nobody.
    QVERIFY(QFile::remove(path("work/settings.xml")));
    QVERIFY(QDir().mkdir(path("work/settings.xml")));
    QCOMPARE(run(text("close")),
             QStringList({failedLoad, text("window"), text("closing"), text("end 0")}));
}

void TestProgram::connectWithoutAnyPortDoesNothing()
{
    QCOMPARE(run(text("connect")), QStringList({text("window"), text("closing"), text("end 0")}));
    QFile log(path("log"));
    QVERIFY(log.open(QIODevice::ReadOnly));
    QVERIFY(log.readAll().contains("Unable to connect with empty port name"));
}

void TestProgram::storeGoesToTheFirstFolderThatOpens()
{
    // The data folder does not exist, and the program makes none: the home folder is next.
    QCOMPARE(run(text("close")).last(), text("end 0"));
    QVERIFY(QFile::exists(path("home/measurements.db")));
    QSettings settings(path("config/Orvanta/Kv tool.conf"), QSettings::IniFormat);
    QCOMPARE(settings.value(text("local storage path")).toString(), path("home"));
}

void TestProgram::rememberedFolderComesFirst()
{
    {
        QSettings settings(path("config/Orvanta/Kv tool.conf"), QSettings::IniFormat);
        settings.setValue(text("local storage path"), path("data"));
    }
    QCOMPARE(run(text("close")).last(), text("end 0"));
    QVERIFY(QFile::exists(path("data/measurements.db")));
    QVERIFY(!QFile::exists(path("home/measurements.db")));
}

void TestProgram::cancelledFolderDialogEndsWithoutAWindow()
{
    makeUnwritable();
    const QStringList seen = run(text("cancel"));
    QCOMPARE(seen.size(), 4);
    QCOMPARE(seen.mid(0, 2), QStringList({folderWanted, folderDialog}));
    QVERIFY2(seen.at(2).startsWith(text("box 3 Unable to write measurements to disk. Unable to "
                                        "write to default location: ")
                                   + m_home),
             qPrintable(seen.at(2)));
    QVERIFY(seen.at(2).endsWith(text(" and no replacement directory was chosen. Exiting!")));
    QCOMPARE(seen.at(3), text("end 0"));
    QCOMPARE(m_exitCode, 0);
    QVERIFY(!seen.contains(text("window")));
}

void TestProgram::badModelFileIsToldBeforeTheFolderDialog()
{
    makeUnwritable();
    QVERIFY(QFile::remove(path("work/settings.xml")));
    const QStringList seen = run(text("cancel"));
    QCOMPARE(seen.mid(0, 3), QStringList({failedLoad, folderWanted, folderDialog}));
    QCOMPARE(m_exitCode, 0);
}

void TestProgram::chosenFolderIsTakenAndRemembered()
{
    makeUnwritable();
    QCOMPARE(run(path("data")),
             QStringList({folderWanted, folderDialog,
                          text("box 3 Unable to write measures to /proc. Please choose another "
                               "directory."),
                          folderDialog, text("window"), text("closing"), text("end 0")}));
    QVERIFY(QFile::exists(path("data/measurements.db")));
    QSettings settings(path("config/Orvanta/Kv tool.conf"), QSettings::IniFormat);
    QCOMPARE(settings.value(text("local storage path")).toString(), path("data"));
}

KV_TEST_CORE_MAIN(TestProgram)
#include "tst_program.moc"
