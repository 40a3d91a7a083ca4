// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/storewitness.h"
#include "tests/endurance/strain.h"
#include "tests/kit/simulatorprocess.h"
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
constexpr int valuesOfAReading = 6;
constexpr int longestPollingUs = 200000; ///< from the first reading to the kill
constexpr int longestMakingUs = 120000; ///< from the store's file being there to the kill

QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

/// A process of the tool. It goes with this one, whatever becomes of that.
class Victim : public QProcess
{
public:
    ~Victim() override { killIt(); }

    bool startIt(const QString &program, const QStringList &arguments)
    {
        start(testpaths::buildFile("") + program, arguments);
        return waitForStarted(waitMs);
    }

    /// Waits for the first reading in the store; false when it doesn't come.
    bool waitForReading()
    {
        QElapsedTimer time;
        time.start();
        while (!canReadLine() && time.elapsed() < waitMs) {
            if (!waitForReadyRead(waitMs)) {
                return false;
            }
        }
        return canReadLine();
    }

    /// How many readings it has reported as stored; for after the kill.
    int reported() { return readAllStandardOutput().count("reading\n"); }

    /// True when it was alive until the kill.
    bool killIt()
    {
        kill();
        waitForFinished(waitMs);
        return exitStatus() == QProcess::CrashExit && exitCode() == SIGKILL;
    }

    /// What it has had to complain about.
    QStringList complaints()
    {
        m_errors += readAllStandardError();
        QStringList lines =
            QString::fromLocal8Bit(m_errors).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        // The platform without a display says it of each window.
        const auto ofNoDisplay = [](const QString &line) {
            return line.endsWith(text("This plugin does not support propagateSizeHints()"));
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), ofNoDisplay), lines.end());
        return lines;
    }

protected:
    void setupChildProcess() override { prctl(PR_SET_PDEATHSIG, SIGKILL); }

private:
    QByteArray m_errors;
};

} // namespace

/// The tool killed at random moments, without a word, again and again on the same files.
class TestKilled : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void storeSurvivesKillsWhilePolling();
    void storeSurvivesKillsWhileItIsMade();

private:
    QString storePath() const { return m_folder->filePath(text("measurements.db")); }
    void rememberFolder();
    QString rememberedFolder() const;
    int random(int bound) { return static_cast<int>(m_random.bounded(bound)); }

    bool startVictim(Victim &victim);
    void killConnecting();
    void killPolling();
    void checkStore(int reported);
    void killMaking();
    void startOnRemains(const QStringList &tables);

    QRandomGenerator m_random;
    std::unique_ptr<SimulatorProcess> m_device;
    std::unique_ptr<QTemporaryDir> m_folder;
    qint64 m_startUs = 0; ///< that the first victim took to its first reading
    qint64 m_longestStartMs = 0;
    QVector<StoreWitness::Reading> m_readings; ///< in the store after the last kill
    QVector<int> m_partial; ///< kills that left the last reading with so many values, but not all
    int m_interrupted = 0; ///< kills that left a journal to roll back
};

void TestKilled::initTestCase()
{
    qputenv("QT_LOGGING_RULES", "*.debug=false");
    QVERIFY(QFile::copy(testpaths::sourceFile("settings.xml"), text("settings.xml")));
    const int seed = Strain::seed();
    m_random.seed(static_cast<quint32>(seed));
    qInfo("seed %d", seed);
}

void TestKilled::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_device = std::make_unique<SimulatorProcess>();
    QVERIFY(m_device->start({text("--rate"), text("0")}));
    rememberFolder();
}

void TestKilled::cleanup()
{
    m_device.reset();
    m_folder.reset();
}

void TestKilled::rememberFolder()
{
    QSettings settings(text("Orvanta"), text("Kv tool"));
    settings.setValue(text("local storage path"), m_folder->path());
}

QString TestKilled::rememberedFolder() const
{
    return QSettings(text("Orvanta"), text("Kv tool")).value(text("local storage path")).toString();
}

bool TestKilled::startVictim(Victim &victim)
{
    // On the port of the victim before.
    return m_device->release()
        && victim.startIt(text("/tests/endurance/killvictim"), {m_device->port()});
}

/// Every few kills one in the start, the connect and the first readings; the others in the polling.
void TestKilled::storeSurvivesKillsWhilePolling()
{
    constexpr int killsToAConnecting = 5;
    const int kills = Strain::size("KV_KILLS", 12);
    m_partial.fill(0, valuesOfAReading);
    for (int kill = 0; kill < kills; ++kill) {
        if (kill % killsToAConnecting == killsToAConnecting - 1) {
            killConnecting();
        } else {
            killPolling();
        }
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    QCOMPARE(StoreWitness(storePath()).integrity(), text("ok"));
    QStringList partial;
    for (const int count : m_partial) {
        partial += QString::number(count);
    }
    qInfo("%d kills, %d readings; the last had none, one, ... of its %d values after %s kills; a "
          "commit was interrupted in %d; longest start to the first reading %lld ms",
          kills, m_readings.size(), valuesOfAReading, qPrintable(partial.join(text(", "))),
          m_interrupted, m_longestStartMs);
    QVERIFY(std::accumulate(m_partial.cbegin(), m_partial.cend(), 0) > 0);
}

void TestKilled::killConnecting()
{
    Victim victim;
    QVERIFY(startVictim(victim));
    QThread::usleep(static_cast<unsigned long>(random(static_cast<int>(m_startUs))));
    QVERIFY2(victim.killIt(), qPrintable(victim.complaints().join(text("\n"))));
    QCOMPARE(victim.complaints(), QStringList());
    checkStore(victim.reported());
}

void TestKilled::killPolling()
{
    Victim victim;
    QElapsedTimer time;
    time.start();
    QVERIFY(startVictim(victim));
    // Again on what the last kill left, and again a new reading.
    QVERIFY2(victim.waitForReading(), qPrintable(victim.complaints().join(text("\n"))));
    m_startUs = m_startUs == 0 ? time.nsecsElapsed() / 1000 : m_startUs;
    m_longestStartMs = qMax(m_longestStartMs, time.elapsed());
    QThread::usleep(static_cast<unsigned long>(random(longestPollingUs)));
    QVERIFY2(victim.killIt(), qPrintable(victim.complaints().join(text("\n"))));
    QCOMPARE(victim.complaints(), QStringList());
    checkStore(victim.reported());
}

void TestKilled::checkStore(int reported)
{
    QTemporaryDir folder;
    m_interrupted += QFile::exists(storePath() + StoreWitness::journalEnd()) ? 1 : 0;
    StoreWitness witness(StoreWitness::copy(storePath(), folder.path()));
    QCOMPARE(witness.integrity(), text("ok"));
    QCOMPARE(witness.strays(), 0);
    QCOMPARE(witness.deviceSerials().size(), 1);
    QStringList types = witness.typeNames();
    QCOMPARE(types.removeDuplicates(), 0);
    QVERIFY(types.size() <= valuesOfAReading);

    const QVector<StoreWitness::Reading> readings = witness.readings();
    // What an earlier kill left is as it was, with what it lacked.
    QCOMPARE(readings.mid(0, m_readings.size()), m_readings);
    int whole = 0;
    for (int index = m_readings.size(); index < readings.size(); ++index) {
        const StoreWitness::Reading &reading = readings.at(index);
        QCOMPARE(reading.id, qint64(index) + 1);
        QCOMPARE(reading.types, reading.values);
        if (reading.values == valuesOfAReading) {
            ++whole;
        } else {
            QVERIFY(index == readings.size() - 1 && reading.values < valuesOfAReading);
            ++m_partial[reading.values];
        }
    }
    // The one more was stored and not yet reported.
    QVERIFY(whole == reported || whole == reported + 1);
    m_readings = readings;
    QCOMPARE(rememberedFolder(), m_folder->path());
}

/// The built program, killed around the making of its tables.
void TestKilled::storeSurvivesKillsWhileItIsMade()
{
    const QStringList tablesInOrder = {text("device"), text("measurement_type"),
                                       text("measurement_metadata"), text("measurement_value")};
    QVector<int> seen(tablesInOrder.size() + 1, 0);
    const int kills = qMax(4, Strain::size("KV_KILLS", 12) / 4);
    for (int kill = 0; kill < kills; ++kill) {
        m_folder = std::make_unique<QTemporaryDir>();
        rememberFolder();
        killMaking();
        if (QTest::currentTestFailed()) {
            return;
        }
        QTemporaryDir folder;
        QStringList tables;
        {
            StoreWitness witness(StoreWitness::copy(storePath(), folder.path()));
            QCOMPARE(witness.integrity(), text("ok"));
            tables = witness.tables();
        }
        QCOMPARE(tables, tablesInOrder.mid(0, tables.size()));
        ++seen[tables.size()];
        startOnRemains(tables);
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    qInfo("%d kills in the making; tables left, none to all four: %d %d %d %d %d", kills,
          seen.at(0), seen.at(1), seen.at(2), seen.at(3), seen.at(4));
}

void TestKilled::killMaking()
{
    Victim program;
    QVERIFY(program.startIt(text("/kvtool"), QStringList()));
    QElapsedTimer time;
    time.start();
    while (!QFile::exists(storePath()) && time.elapsed() < waitMs) {
        QThread::yieldCurrentThread();
    }
    // Early moments more often than late ones: how long four commits take is the disk's matter.
    QThread::usleep(static_cast<unsigned long>(random(1 + random(longestMakingUs))));
    QVERIFY2(program.killIt(), qPrintable(program.complaints().join(text("\n"))));
    QCOMPARE(program.complaints(), QStringList());
    QVERIFY(QFile::exists(storePath()));
}

/// A file that exists is taken for a store unseen, and the type table is the one that is read at
/// its opening. So a store with all tables goes on, one without the type table is passed over for
/// the next folder, and the two between stay as they are, each reading being tried and logged.
void TestKilled::startOnRemains(const QStringList &tables)
{
    const bool passedOver = tables.size() < 2;
    const QString path = passedOver ? QDir::homePath() + text("/measurements.db") : storePath();
    QTemporaryDir folder;
    const int before = StoreWitness(StoreWitness::copy(path, folder.path())).readings().size();
    Victim victim;
    QVERIFY(startVictim(victim));
    QVERIFY2(victim.waitForReading(), qPrintable(victim.complaints().join(text("\n"))));
    QVERIFY2(victim.killIt(), qPrintable(victim.complaints().join(text("\n"))));
    QCOMPARE(victim.complaints().isEmpty(), tables.size() == 4);
    QCOMPARE(rememberedFolder(), passedOver ? QDir::homePath() : m_folder->path());

    StoreWitness witness(StoreWitness::copy(path, folder.path()));
    QCOMPARE(witness.integrity(), text("ok"));
    if (tables.size() == 2 || tables.size() == 3) {
        QCOMPARE(witness.tables(), tables);
        const QStringList bare = witness.texts(text("select id from measurement_metadata"));
        QCOMPARE(!bare.isEmpty(), tables.size() == 3);
        return;
    }
    const QVector<StoreWitness::Reading> readings = witness.readings();
    QVERIFY(readings.size() > before);
    QCOMPARE(readings.at(before).id, qint64(before) + 1);
    QCOMPARE(readings.at(before).types, valuesOfAReading);
}

KV_TEST_CORE_MAIN(TestKilled)
#include "tst_killed.moc"
