// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/databaseinspector.h"
#include "tests/kit/enduranceparameters.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"

#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSettings>
#include <QtCore/QThread>
#include <algorithm>
#include <csignal>
#include <memory>
#include <numeric>
#include <sys/prctl.h>

namespace {

constexpr int waitMs = 60000;
constexpr int valuesPerReading = 6;
constexpr int maximumPollingUs = 200000; ///< from the first reading to the kill
constexpr int maximumCreationUs = 120000; ///< from the creation of the file to the kill

/// A process of the tool. It is killed when this object is deleted or the test program exits.
class ToolProcess : public QProcess
{
public:
    ~ToolProcess() override { killNow(); }

    bool startProgram(const QString &program, const QStringList &arguments)
    {
        start(TestPaths::buildFile("") + program, arguments);
        return waitForStarted(waitMs);
    }

    /// Waits for the first stored reading; false when none arrives.
    bool waitForReading()
    {
        while (!canReadLine() && waitForReadyRead(waitMs)) { }
        return canReadLine();
    }

    /// How many readings the process has reported as stored; to be called after killNow().
    int reportedReadings() { return readAllStandardOutput().count("reading\n"); }

    /// Kills the process; false if it had already exited.
    bool killNow()
    {
        kill();
        waitForFinished(waitMs);
        return exitStatus() == QProcess::CrashExit && exitCode() == SIGKILL;
    }

    /// The warnings that the process has logged, except those of the offscreen platform.
    QString warnings()
    {
        m_errors += readAllStandardError();
        const QStringList lines = QString::fromLocal8Bit(m_errors).split(QLatin1Char('\n'));
        const QRegularExpression ofTool(
            text("^(?!$|.*This plugin does not support propagateSizeHints\\(\\)$)"));
        return lines.filter(ofTool).join(QLatin1Char('\n'));
    }

protected:
    void setupChildProcess() override { prctl(PR_SET_PDEATHSIG, SIGKILL); }

private:
    QByteArray m_errors;
};

} // namespace

/// Kills the tool at random moments, repeatedly with the same files.
class TestProcessKill : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("QT_LOGGING_RULES", "*.debug=false");
        QVERIFY(QFile::copy(TestPaths::sourceFile("settings.xml"), text("settings.xml")));
        const int seed = EnduranceParameters::seed();
        m_random.seed(static_cast<quint32>(seed));
        qInfo("seed %d", seed);
    }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_device = std::make_unique<SimulatorProcess>();
        QVERIFY(m_device->start({text("--rate"), text("0")}));
        rememberFolder();
    }

    void cleanup()
    {
        m_device.reset();
        m_folder.reset();
    }

    /// Every fifth kill is during start, connect or the first readings, the others while polling.
    void databaseIsIntactAfterKillsWhilePolling()
    {
        constexpr int connectKillInterval = 5;
        const int kills = EnduranceParameters::positiveNumber("KV_KILLS", 12);
        m_killsByPartialValues.fill(0, valuesPerReading);
        for (int kill = 0; kill < kills; ++kill) {
            if (kill % connectKillInterval == connectKillInterval - 1) {
                killWhileConnecting();
            } else {
                killWhilePolling();
            }
            if (QTest::currentTestFailed()) {
                return;
            }
        }
        QCOMPARE(DatabaseInspector(storePath()).integrity(), text("ok"));
        QStringList counts;
        for (const int count : m_killsByPartialValues) {
            counts += QString::number(count);
        }
        qInfo(
            "%d kills, %d readings; the last one had 0, 1, ... of its %d values after %s kills; %d "
            "kills interrupted a commit; longest time from a start to its first reading %d ms",
            kills, m_readings.size(), valuesPerReading, qPrintable(counts.join(text(", "))),
            m_interrupted, m_longestStartUs / 1000);
        QVERIFY(std::accumulate(m_killsByPartialValues.cbegin(), m_killsByPartialValues.cend(), 0)
                > 0);
    }

    /// Kills kvtool while it creates its tables.
    void databaseIsIntactAfterKillsDuringCreation()
    {
        const QStringList tablesInOrder = {text("device"), text("measurement_type"),
                                           text("measurement_metadata"), text("measurement_value")};
        QVector<int> killsByTableCount(tablesInOrder.size() + 1, 0);
        const int kills = qMax(4, EnduranceParameters::positiveNumber("KV_KILLS", 12) / 4);
        for (int kill = 0; kill < kills; ++kill) {
            m_folder = std::make_unique<QTemporaryDir>();
            rememberFolder();
            killDuringCreation();
            if (QTest::currentTestFailed()) {
                return;
            }
            QTemporaryDir folder;
            QStringList tables;
            {
                DatabaseInspector inspector(DatabaseInspector::copy(storePath(), folder.path()));
                QCOMPARE(inspector.integrity(), text("ok"));
                tables = inspector.tables();
            }
            QCOMPARE(tables, tablesInOrder.mid(0, tables.size()));
            ++killsByTableCount[tables.size()];
            startOnIncompleteStore(tables);
            if (QTest::currentTestFailed()) {
                return;
            }
        }
        qInfo("%d kills during creation; kills that left 0 to 4 tables: %d %d %d %d %d", kills,
              killsByTableCount.at(0), killsByTableCount.at(1), killsByTableCount.at(2),
              killsByTableCount.at(3), killsByTableCount.at(4));
    }

private:
    QString storePath() const { return m_folder->filePath(text("measurements.db")); }

    void rememberFolder()
    {
        QSettings settings(text("Orvanta"), text("Kv tool"));
        settings.setValue(text("local storage path"), m_folder->path());
    }

    QString rememberedFolder() const
    {
        return QSettings(text("Orvanta"), text("Kv tool"))
            .value(text("local storage path"))
            .toString();
    }

    void sleepUpTo(int us) { QThread::usleep(m_random.bounded(static_cast<quint32>(us))); }

    bool startTool(ToolProcess &process)
    {
        // The new process uses the port of the previous one.
        return m_device->release()
            && process.startProgram(text("/tests/endurance/pollingtool"), {m_device->port()});
    }

    void killWhileConnecting()
    {
        ToolProcess process;
        QVERIFY(startTool(process));
        killAndCheckStore(process, m_firstStartUs);
    }

    void killWhilePolling()
    {
        ToolProcess process;
        QElapsedTimer time;
        time.start();
        QVERIFY(startTool(process));
        // The process starts with the files that the last kill left.
        QVERIFY2(process.waitForReading(), qPrintable(process.warnings()));
        const int startUs = static_cast<int>(time.nsecsElapsed() / 1000);
        m_firstStartUs = m_firstStartUs == 0 ? startUs : m_firstStartUs;
        m_longestStartUs = qMax(m_longestStartUs, startUs);
        killAndCheckStore(process, maximumPollingUs);
    }

    /// Kills @p process after a random time of up to @p maximumUs, then checks the database.
    void killAndCheckStore(ToolProcess &process, int maximumUs)
    {
        sleepUpTo(maximumUs);
        QVERIFY2(process.killNow(), qPrintable(process.warnings()));
        QCOMPARE(process.warnings(), QString());
        checkStore(process.reportedReadings());
    }

    void checkStore(int reportedCount)
    {
        QTemporaryDir folder;
        m_interrupted += QFile::exists(storePath() + DatabaseInspector::journalSuffix()) ? 1 : 0;
        DatabaseInspector inspector(DatabaseInspector::copy(storePath(), folder.path()));
        QCOMPARE(inspector.integrity(), text("ok"));
        QCOMPARE(inspector.orphanCount(), 0);
        QCOMPARE(inspector.deviceSerials().size(), 1);
        QStringList types = inspector.typeNames();
        QCOMPARE(types.removeDuplicates(), 0);
        QVERIFY(types.size() <= valuesPerReading);

        const auto readings = inspector.readings();
        // Readings of earlier runs are unchanged, incomplete ones included.
        QCOMPARE(readings.mid(0, m_readings.size()), m_readings);
        int complete = 0;
        for (int index = m_readings.size(); index < readings.size(); ++index) {
            const DatabaseInspector::Reading &reading = readings.at(index);
            QCOMPARE(reading.id, qint64(index) + 1);
            QCOMPARE(reading.types, reading.values);
            if (reading.values == valuesPerReading) {
                ++complete;
            } else {
                QVERIFY(index == readings.size() - 1 && reading.values < valuesPerReading);
                ++m_killsByPartialValues[reading.values];
            }
        }
        // One reading may have been stored and not yet reported.
        QVERIFY(complete == reportedCount || complete == reportedCount + 1);
        m_readings = readings;
        QCOMPARE(rememberedFolder(), m_folder->path());
    }

    void killDuringCreation()
    {
        ToolProcess program;
        QVERIFY(program.startProgram(text("/kvtool"), QStringList()));
        QElapsedTimer time;
        time.start();
        while (!QFile::exists(storePath()) && time.elapsed() < waitMs) {
            QThread::yieldCurrentThread();
        }
        // Early moments are more frequent: the time of the four commits depends on the disk.
        sleepUpTo(m_random.bounded(1, maximumCreationUs));
        QVERIFY2(program.killNow(), qPrintable(program.warnings()));
        QCOMPARE(program.warnings(), QString());
        QVERIFY(QFile::exists(storePath()));
    }

    /// Starts the tool with the database that the kill left. An existing file isn't checked, and
    /// opening it only reads the type table. So a database with all tables is used; without the
    /// type table, the next folder is used instead; with two or three of the tables, the database
    /// is used but a warning is logged for every reading.
    void startOnIncompleteStore(const QStringList &tables)
    {
        const bool skipped = tables.size() < 2;
        const QString path = skipped ? QDir::homePath() + text("/measurements.db") : storePath();
        QTemporaryDir folder;
        const int before =
            DatabaseInspector(DatabaseInspector::copy(path, folder.path())).readings().size();
        ToolProcess process;
        QVERIFY(startTool(process));
        QVERIFY2(process.waitForReading(), qPrintable(process.warnings()));
        QVERIFY2(process.killNow(), qPrintable(process.warnings()));
        QCOMPARE(process.warnings().isEmpty(), tables.size() == 4);
        QCOMPARE(rememberedFolder(), skipped ? QDir::homePath() : m_folder->path());

        DatabaseInspector inspector(DatabaseInspector::copy(path, folder.path()));
        QCOMPARE(inspector.integrity(), text("ok"));
        if (tables.size() == 2 || tables.size() == 3) {
            QCOMPARE(inspector.tables(), tables);
            // If the table doesn't exist, the error message instead of an id.
            const QStringList ids = inspector.rows(text("select id from measurement_metadata"));
            QCOMPARE(ids.value(0).toInt(), tables.size() == 3 ? 1 : 0);
            return;
        }
        const auto readings = inspector.readings();
        QVERIFY(readings.size() > before);
        QCOMPARE(readings.at(before).id, qint64(before) + 1);
        QCOMPARE(readings.at(before).types, valuesPerReading);
    }

    QRandomGenerator m_random;
    std::unique_ptr<SimulatorProcess> m_device;
    std::unique_ptr<QTemporaryDir> m_folder;
    int m_firstStartUs = 0; ///< from the first start to its first reading
    int m_longestStartUs = 0;
    QVector<DatabaseInspector::Reading> m_readings; ///< in the database after the last kill
    QVector<int> m_killsByPartialValues; ///< by the number of values in an incomplete last reading
    int m_interrupted = 0; ///< kills that left a journal to roll back
};

KV_TEST_CORE_MAIN(TestProcessKill)
#include "tst_processkill.moc"
