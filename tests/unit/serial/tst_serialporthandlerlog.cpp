// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtTest/QtTest>
#include <limits>

namespace {

const QDateTime someTime(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC);
const QStringList someTitles = {QStringLiteral("TIME"), QStringLiteral("CO2")};

// A connected handler and its signals for the log.
struct LogFixture : HandlerFixture
{
    LogFixture()
    {
        QObject::connect(&handler, &SerialPortHandlerInterface::logRead,
                         [this](const QStringList &titles, const QVector<LogValue> &rows) {
                             ++reads;
                             readTitles = titles;
                             readRows = rows;
                         });
        QObject::connect(&handler, &SerialPortHandlerInterface::logReadProgress,
                         [this](int percentage) { progress.append(percentage); });
        connectDevice();
    }

    void reportCount(const QVariant &count)
    {
        emit queue->valueRead(SerialPortValueType::ValueLogCount, count);
        turnEventLoop();
    }
    void reportTitles(const QStringList &titles = someTitles)
    {
        emit queue->logTitlesRead(titles);
        turnEventLoop();
    }
    void reportRow(int index)
    {
        emit queue->logValueRead(index, {double(index)}, someTime.addSecs(index));
        turnEventLoop();
    }
    void reportRows(int count)
    {
        for (int index = 1; index <= count; ++index) {
            reportRow(index);
        }
    }
    /// Whether a request to read adds its job.
    bool takesRequest()
    {
        queue->jobs.clear();
        handler.readLog();
        return queue->jobs.size() == 1
            && queue->jobs.at(0)->type() == SerialPortJobType::JobReadLog;
    }

    int reads = 0;
    QStringList readTitles;
    QVector<LogValue> readRows;
    QVector<int> progress;
};

// A handler that is never connected.
class DetachedHandler : public SerialPortHandler
{
public:
    using SerialPortHandler::SerialPortHandler;
    bool isConnected() override { return false; }
};

} // namespace

class TestSerialPortHandlerLog : public QObject
{
    Q_OBJECT

private slots:
    void queuesTitlesAndEveryRowAtOnce_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("jobs");
        QTest::newRow("none") << 0 << 1;
        QTest::newRow("one") << 1 << 2;
        QTest::newRow("many") << 250 << 251;
        QTest::newRow("minus one") << -1 << 0;
        QTest::newRow("far below zero") << -1000 << 0;
    }

    void queuesTitlesAndEveryRowAtOnce()
    {
        QFETCH(int, count);
        QFETCH(int, jobs);
        LogFixture f;
        QTest::ignoreMessage(QtDebugMsg,
                             qPrintable(latin1("Log has %1 entries, reading them").arg(count)));
        f.reportCount(count);
        QCOMPARE(f.queue->jobs.size(), jobs);
        for (int index = 0; index < jobs; ++index) {
            QCOMPARE(f.queue->jobs.at(index)->type(), SerialPortJobType::JobReadLogValue);
            QCOMPARE(f.bytesOf(index), "\r\nlog --read=" + QByteArray::number(index) + "\r\n");
        }
    }

    void takesTheCountWithoutAConnectionButQueuesNothing()
    {
        const auto queue = QSharedPointer<FakeQueue>::create();
        DetachedHandler handler(queue, nullptr);
        emit queue->valueRead(SerialPortValueType::ValueLogCount, 2);
        turnEventLoop();
        QVERIFY(queue->jobs.isEmpty());
        QTest::ignoreMessage(QtDebugMsg, "Already reading log");
        handler.readLog();
    }

    void doesNotRelayTheCount()
    {
        LogFixture f;
        QSignalSpy valueRead(&f.handler, &SerialPortHandlerInterface::valueRead);
        f.reportCount(2);
        QCOMPARE(valueRead.count(), 0);
    }

    void reportsTitlesAndRows()
    {
        LogFixture f;
        f.reportCount(3);
        f.reportTitles();
        f.reportRows(2);
        QCOMPARE(f.reads, 0);
        f.reportRow(3);
        QCOMPARE(f.reads, 1);
        QCOMPARE(f.readTitles, someTitles);
        QCOMPARE(f.readRows.size(), 3);
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(f.readRows.at(i).values, QVector<double>({double(i + 1)}));
            QCOMPARE(f.readRows.at(i).time, someTime.addSecs(i + 1));
        }
    }

    void keepsTheOrderOfArrival()
    {
        LogFixture f;
        f.reportCount(2);
        f.reportTitles();
        f.reportRow(7);
        f.reportRow(1);
        QCOMPARE(f.reads, 1);
        QCOMPARE(f.readRows.at(0).values, QVector<double>({7.0}));
        QCOMPARE(f.readRows.at(1).values, QVector<double>({1.0}));
    }

    void emptyLogEndsAtItsTitles()
    {
        LogFixture f;
        f.reportCount(0);
        f.reportTitles();
        QCOMPARE(f.reads, 1);
        QCOMPARE(f.readTitles, someTitles);
        QVERIFY(f.readRows.isEmpty());
        QVERIFY(f.progress.isEmpty());
    }

    void singleRowEndsTheReadWithoutFault()
    {
        LogFixture f;
        f.reportCount(1);
        f.reportTitles();
        QCOMPARE(f.progress.size(), 1);
        f.reportRow(1);
        QCOMPARE(f.reads, 1);
        QCOMPARE(f.readRows.size(), 1);
        QCOMPARE(f.progress.size(), 1);
    }

    void showsProgressOneRowEarly_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QVector<int>>("progress");
        QTest::newRow("two") << 2 << QVector<int>{0, 100};
        QTest::newRow("three") << 3 << QVector<int>{0, 50, 100};
        QTest::newRow("four, cut and not rounded") << 4 << QVector<int>{0, 33, 66, 100};
        QTest::newRow("five") << 5 << QVector<int>{0, 25, 50, 75, 100};
        QVector<int> hundred;
        for (int row = 0; row <= 100; ++row) {
            hundred.append(int(row / 100.0 * 100));
        }
        QTest::newRow("hundred and one") << 101 << hundred;
    }

    void showsProgressOneRowEarly()
    {
        QFETCH(int, count);
        QFETCH(QVector<int>, progress);
        LogFixture f;
        f.reportCount(count);
        f.reportTitles();
        f.reportRows(count);
        QCOMPARE(f.progress, progress);
        QCOMPARE(f.reads, 1);
    }

    void survivesInvalidCounts_data()
    {
        QTest::addColumn<QVariant>("count");
        QTest::newRow("minus one") << QVariant(-1);
        QTest::newRow("lowest") << QVariant(std::numeric_limits<int>::min());
        QTest::newRow("no number") << QVariant(latin1("x"));
        QTest::newRow("nothing") << QVariant();
    }

    void survivesInvalidCounts()
    {
        QFETCH(QVariant, count);
        LogFixture f;
        f.reportCount(count);
        f.reportTitles();
        f.reportRows(2);
        QVERIFY(f.takesRequest());
    }

    void survivesMoreRowsThanCounted()
    {
        LogFixture f;
        f.reportCount(1);
        f.reportRows(3);
        QCOMPARE(f.reads, 0);
        QCOMPARE(f.progress.size(), 2);
        QTest::ignoreMessage(QtDebugMsg, "Already reading log");
        QVERIFY(!f.takesRequest());
    }

    void logsWhatItReads()
    {
        LogFixture f;
        QTest::ignoreMessage(QtDebugMsg, "Log has 2 entries, reading them");
        f.reportCount(2);
        QTest::ignoreMessage(QtDebugMsg, "Got 2 log titles");
        QTest::ignoreMessage(QtDebugMsg, "Got 0 / 2 log values");
        f.reportTitles();
        QTest::ignoreMessage(QtDebugMsg, "Got log value 1 which contains 1 entries");
        QTest::ignoreMessage(QtDebugMsg, "Got 1 / 2 log values");
        f.reportRow(1);
        QTest::ignoreMessage(QtDebugMsg, "Got log value 2 which contains 1 entries");
        QTest::ignoreMessage(QtDebugMsg, "All log values read");
        f.reportRow(2);
    }

    void missingTitlesKeepTheRowsAndTheReading()
    {
        LogFixture f;
        f.reportCount(2);
        f.reportTitles(QStringList());
        f.reportRow(1);
        QTest::ignoreMessage(QtDebugMsg, "Got all log values, but log titles are msising");
        f.reportRow(2);
        QCOMPARE(f.reads, 0);
        QCOMPARE(f.progress, QVector<int>({0, 100}));
        QTest::ignoreMessage(QtDebugMsg, "Already reading log");
        QVERIFY(!f.takesRequest());
        f.handler.cancelLogRead();
        QVERIFY(f.takesRequest());
    }

    void titlesAfterTheRowsEndTheRead()
    {
        LogFixture f;
        f.reportCount(2);
        f.reportRow(1);
        QTest::ignoreMessage(QtDebugMsg, "Got all log values, but log titles are msising");
        f.reportRow(2);
        f.reportTitles();
        QCOMPARE(f.reads, 1);
        QCOMPARE(f.readRows.size(), 2);
    }

    void laterTitlesReplaceEarlierOnes()
    {
        LogFixture f;
        f.reportCount(1);
        f.reportTitles({latin1("old"), latin1("older")});
        f.reportTitles();
        f.reportTitles();
        f.reportRow(1);
        QCOMPARE(f.readTitles, someTitles);
    }

    void refusesASecondReadWhileRowsArrive()
    {
        LogFixture f;
        f.reportCount(1);
        QTest::ignoreMessage(QtDebugMsg, "Already reading log");
        QVERIFY(!f.takesRequest());
        f.reportTitles();
        QTest::ignoreMessage(QtDebugMsg, "Already reading log");
        QVERIFY(!f.takesRequest());
    }

    void acceptsASecondReadWhileCounting()
    {
        LogFixture f;
        QVERIFY(f.takesRequest());
        QVERIFY(f.takesRequest());
    }

    void takesASecondReadOfAnEmptyLog()
    {
        LogFixture f;
        f.reportCount(0);
        QVERIFY(f.takesRequest());
    }

    void acceptsANewReadOnceTheLastIsReported()
    {
        LogFixture f;
        f.reportCount(2);
        f.reportTitles();
        f.reportRows(2);
        QVERIFY(f.takesRequest());
        // Nothing of the first read is left for the second.
        f.reportCount(1);
        f.reportTitles({latin1("new")});
        f.reportRow(1);
        QCOMPARE(f.reads, 2);
        QCOMPARE(f.readTitles, QStringList({latin1("new")}));
        QCOMPARE(f.readRows.size(), 1);
    }

    void relaysThatThereIsNoLog()
    {
        LogFixture f;
        QSignalSpy valueRead(&f.handler, &SerialPortHandlerInterface::valueRead);
        emit f.queue->valueRead(SerialPortValueType::ValueLogOption, false);
        turnEventLoop();
        QCOMPARE(valueRead.count(), 1);
        QCOMPARE(valueRead.at(0).at(0).value<SerialPortValueType>(),
                 SerialPortValueType::ValueLogOption);
        QVERIFY(f.queue->jobs.isEmpty());
        QVERIFY(f.takesRequest());
    }

    void cancelClearsTheQueueAndAllowsANewRead()
    {
        LogFixture f;
        f.reportCount(5);
        f.reportTitles();
        f.reportRows(2);
        f.queue->calls.clear();
        f.handler.cancelLogRead();
        QCOMPARE(f.queue->calls, QStringList({latin1("clear")}));
        QVERIFY(f.takesRequest());
    }

    void cancelDiscardsTitlesAndRows()
    {
        LogFixture f;
        f.reportCount(3);
        f.reportTitles();
        f.reportRows(2);
        f.handler.cancelLogRead();
        f.reportCount(1);
        QTest::ignoreMessage(QtDebugMsg, "Got all log values, but log titles are msising");
        f.reportRow(1);
        QCOMPARE(f.reads, 0);
    }

    // Quirk: the row becomes the first of the next log.
    void takesARowInFlightThroughACancel()
    {
        LogFixture f;
        f.reportCount(3);
        emit f.queue->logValueRead(1, {1.0}, someTime);
        f.handler.cancelLogRead();
        turnEventLoop();
        f.reportCount(1);
        f.reportTitles();
        QCOMPARE(f.reads, 1);
        QCOMPARE(f.readRows.size(), 1);
    }

    void emitsNoLogForTitlesInFlightThroughACancel()
    {
        LogFixture f;
        f.reportCount(3);
        emit f.queue->logTitlesRead(someTitles);
        f.handler.cancelLogRead();
        turnEventLoop();
        QCOMPARE(f.reads, 0);
        QVERIFY(f.takesRequest());
    }

    void allowsACancelInsideLogRead()
    {
        LogFixture f;
        connect(&f.handler, &SerialPortHandlerInterface::logRead, this,
                [&f] { f.handler.cancelLogRead(); });
        f.reportCount(1);
        f.reportTitles();
        f.reportRow(1);
        QCOMPARE(f.reads, 1);
        QCOMPARE(f.readRows.size(), 1);
        QVERIFY(f.takesRequest());
    }

    void allowsACancelInsideTheProgress()
    {
        LogFixture f;
        connect(&f.handler, &SerialPortHandlerInterface::logReadProgress, this,
                [&f] { f.handler.cancelLogRead(); });
        f.reportCount(3);
        f.reportTitles();
        QCOMPARE(f.reads, 0);
        QVERIFY(f.takesRequest());
    }

    void ignoresAReadInsideLogRead()
    {
        LogFixture f;
        bool taken = true;
        connect(&f.handler, &SerialPortHandlerInterface::logRead, this,
                [&f, &taken] { taken = f.takesRequest(); });
        f.reportCount(1);
        f.reportTitles();
        QTest::ignoreMessage(QtDebugMsg, "Already reading log");
        f.reportRow(1);
        QVERIFY(!taken);
        QVERIFY(f.takesRequest());
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandlerLog)
#include "tst_serialporthandlerlog.moc"
