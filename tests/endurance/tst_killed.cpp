// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/databaseinspector.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testparameters.h"
#include "tests/kit/testpaths.h"
#include "tests/kit/text.h"

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
constexpr int longestPollingUs = 200000; ///< from the first reading to the kill
constexpr int longestCreationUs = 120000; ///< from the creation of the file to the kill

/// A process of the tool, killed with this object and with the test.
class ToolProcess : public QProcess
{
public:
    ~ToolProcess() override { killNow(); }

    bool startProgram(const QString &program, const QStringList &arguments)
    {
        start(testpaths::buildFile("") + program, arguments);
        return waitForStarted(waitMs);
    }

    /// Waits for the first stored reading; false when none arrives.
    bool waitForReading()
    {
        while (!canReadLine() && waitForReadyRead(waitMs)) { }
        return canReadLine();
    }

    /// The number of readings that it reported as stored, to be called after the kill.
    int reportedReadings() { return readAllStandardOutput().count("reading\n"); }

    /// False when it had ended before.
    bool killNow()
    {
        kill();
        waitForFinished(waitMs);
        return exitStatus() == QProcess::CrashExit && exitCode() == SIGKILL;
    }

    /// The warnings that it has logged, but for those that the offscreen platform logs.
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

/// The tool, killed at random moments, again and again on the same files.
class TestKilled : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        qputenv("QT_LOGGING_RULES", "*.debug=false");
        QVERIFY(QFile::copy(testpaths::sourceFile("settings.xml"), text("settings.xml")));
        const int seed = TestParameters::seed();
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

    /// One kill in five during start, connect and the first readings, the others while polling.
    void storeIsIntactAfterKillsWhilePolling()
    {
        constexpr int connectingInterval = 5;
        const int kills = TestParameters::number("KV_KILLS", 12);
        m_partial.fill(0, valuesPerReading);
        for (int kill = 0; kill < kills; ++kill) {
            if (kill % connectingInterval == connectingInterval - 1) {
                killWhileConnecting();
            } else {
                killWhilePolling();
            }
            if (QTest::currentTestFailed()) {
                return;
            }
        }
        QCOMPARE(DatabaseInspector(storePath()).integrity(), text("ok"));
        QStringList partial;
        for (const int count : m_partial) {
            partial += QString::number(count);
        }
        qInfo(
            "%d kills, %d readings; the last had none, one, ... of its %d values after %s kills; a "
            "commit was interrupted in %d; longest start to the first reading %d ms",
            kills, m_readings.size(), valuesPerReading, qPrintable(partial.join(text(", "))),
            m_interrupted, m_longestStartUs / 1000);
        QVERIFY(std::accumulate(m_partial.cbegin(), m_partial.cend(), 0) > 0);
    }

    /// The built program, killed while it creates its tables.
    void storeIsIntactAfterKillsDuringCreation()
    {
        const QStringList tablesInOrder = {text("device"), text("measurement_type"),
                                           text("measurement_metadata"), text("measurement_value")};
        QVector<int> seen(tablesInOrder.size() + 1, 0);
        const int kills = qMax(4, TestParameters::number("KV_KILLS", 12) / 4);
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
            ++seen[tables.size()];
            startOnIncompleteStore(tables);
            if (QTest::currentTestFailed()) {
                return;
            }
        }
        qInfo("%d kills during creation; none to all four tables left: %d %d %d %d %d", kills,
              seen.at(0), seen.at(1), seen.at(2), seen.at(3), seen.at(4));
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
        // On the port of the previous process.
        return m_device->release()
            && process.startProgram(text("/tests/endurance/pollingtool"), {m_device->port()});
    }

    void killWhileConnecting()
    {
        ToolProcess process;
        QVERIFY(startTool(process));
        killAndCheckStore(process, m_startUs);
    }

    void killWhilePolling()
    {
        ToolProcess process;
        QElapsedTimer time;
        time.start();
        QVERIFY(startTool(process));
        // With the files as the last kill left them.
        QVERIFY2(process.waitForReading(), qPrintable(process.warnings()));
        const int us = static_cast<int>(time.nsecsElapsed() / 1000);
        m_startUs = m_startUs == 0 ? us : m_startUs;
        m_longestStartUs = qMax(m_longestStartUs, us);
        killAndCheckStore(process, longestPollingUs);
    }

    /// Kills within @p longestUs.
    void killAndCheckStore(ToolProcess &process, int longestUs)
    {
        sleepUpTo(longestUs);
        QVERIFY2(process.killNow(), qPrintable(process.warnings()));
        QCOMPARE(process.warnings(), QString());
        checkStore(process.reportedReadings());
    }

    void checkStore(int reported)
    {
        QTemporaryDir folder;
        m_interrupted += QFile::exists(storePath() + DatabaseInspector::journalSuffix()) ? 1 : 0;
        DatabaseInspector inspector(DatabaseInspector::copy(storePath(), folder.path()));
        QCOMPARE(inspector.integrity(), text("ok"));
        QCOMPARE(inspector.orphans(), 0);
        QCOMPARE(inspector.deviceSerials().size(), 1);
        QStringList types = inspector.typeNames();
        QCOMPARE(types.removeDuplicates(), 0);
        QVERIFY(types.size() <= valuesPerReading);

        const auto readings = inspector.readings();
        // Readings of earlier runs are unchanged, incomplete ones included.
        QCOMPARE(readings.mid(0, m_readings.size()), m_readings);
        int whole = 0;
        for (int index = m_readings.size(); index < readings.size(); ++index) {
            const DatabaseInspector::Reading &reading = readings.at(index);
            QCOMPARE(reading.id, qint64(index) + 1);
            QCOMPARE(reading.types, reading.values);
            if (reading.values == valuesPerReading) {
                ++whole;
            } else {
                QVERIFY(index == readings.size() - 1 && reading.values < valuesPerReading);
                ++m_partial[reading.values];
            }
        }
        // One reading may have been stored and not yet reported.
        QVERIFY(whole == reported || whole == reported + 1);
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
        // Early moments more often: the time of the four commits depends on the disk.
        sleepUpTo(m_random.bounded(1, longestCreationUs));
        QVERIFY2(program.killNow(), qPrintable(program.warnings()));
        QCOMPARE(program.warnings(), QString());
        QVERIFY(QFile::exists(storePath()));
    }

    /// An existing file is used without a check, and opening reads the type table only. So a store
    /// with all tables is continued, one without the type table is skipped for the next folder, and
    /// the two cases between are used and every reading is logged as an error.
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
            // Without the table, the text of the error instead of an id.
            const QStringList ids = inspector.texts(text("select id from measurement_metadata"));
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
    int m_startUs = 0; ///< from the first start to its first reading
    int m_longestStartUs = 0;
    QVector<DatabaseInspector::Reading> m_readings; ///< in the store after the last kill
    QVector<int> m_partial; ///< kills that left the last reading with so many values, but not all
    int m_interrupted = 0; ///< kills that left a journal to roll back
};

KV_TEST_CORE_MAIN(TestKilled)
#include "tst_killed.moc"
