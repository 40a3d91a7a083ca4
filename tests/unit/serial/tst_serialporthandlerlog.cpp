// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtTest/QtTest>
#include <limits>

namespace {

const QDateTime someTime(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC);

// The event of logRead() with these rows.
QString logReadEvent(const QVector<int> &indexes, const char *titles = "TIME|CO2")
{
    QString event = text("logRead ") + text(titles);
    for (const int index : indexes) {
        event += text("; %1 %2").arg(someTime.addSecs(index).toString(Qt::ISODate)).arg(index);
    }
    return event;
}

QStringList progressEvents(const QVector<int> &percentages)
{
    QStringList events;
    for (const int percentage : percentages) {
        events.append(text("logReadProgress %1").arg(percentage));
    }
    return events;
}

// A connected handler. The functions report...() emit what the queue would report of the log.
struct LogFixture : HandlerFixture
{
    LogFixture() { connectDevice(); }

    void reportCount(const QVariant &count)
    {
        emit queue->valueRead(SerialPortValueType::ValueLogCount, count);
        deliverPostedEvents();
    }
    void reportTitles(const char *titles = "TIME|CO2")
    {
        emit queue->logTitlesRead(texts(titles));
        deliverPostedEvents();
    }
    void reportRow(int index)
    {
        emit queue->logValueRead(index, {double(index)}, someTime.addSecs(index));
        deliverPostedEvents();
    }
    void reportRows(int count)
    {
        for (int index = 1; index <= count; ++index) {
            reportRow(index);
        }
    }
    /// Whether readLog() adds a job; otherwise it logs a message.
    bool acceptsReadLog()
    {
        queue->jobs.clear();
        handler.readLog();
        return queue->jobs.size() == 1
            && queue->jobs.at(0)->type() == SerialPortJobType::JobReadLog;
    }
    bool refusesReadLog()
    {
        QTest::ignoreMessage(QtDebugMsg, "Already reading log");
        return !acceptsReadLog();
    }
};

} // namespace

class TestSerialPortHandlerLog : public QObject
{
    Q_OBJECT

private slots:
    void queuesTitlesAndAllRowsImmediately()
    {
        for (const int count : {0, 1, 250, -1, -1000}) {
            LogFixture f;
            QTest::ignoreMessage(QtDebugMsg,
                                 qPrintable(text("Log has %1 entries, reading them").arg(count)));
            f.reportCount(count);
            QCOMPARE(f.queue->jobs.size(), qMax(0, count + 1));
            for (int index = 0; index < f.queue->jobs.size(); ++index) {
                QCOMPARE(f.queue->jobs.at(index)->type(), SerialPortJobType::JobReadLogValue);
                QCOMPARE(f.bytesSentBy(index),
                         "\r\nlog --read=" + QByteArray::number(index) + "\r\n");
            }
        }
    }

    void storesTheCountWithoutAConnectionButQueuesNothing()
    {
        HandlerFixture f;
        emit f.queue->valueRead(SerialPortValueType::ValueLogCount, 2);
        deliverPostedEvents();
        QVERIFY(f.queue->jobs.isEmpty());
        QTest::ignoreMessage(QtDebugMsg, "Already reading log");
        f.handler.readLog();
    }

    void reportsTitlesAndRowsInTheOrderOfArrival()
    {
        LogFixture f;
        f.reportCount(3);
        f.reportTitles();
        f.reportRow(7);
        f.reportRow(1);
        QCOMPARE(f.events, progressEvents({0, 50, 100}));
        f.reportRow(2);
        QCOMPARE(f.events, progressEvents({0, 50, 100}) << logReadEvent({7, 1, 2}));
    }

    void readOfAnEmptyLogFinishesWithItsTitles()
    {
        LogFixture f;
        f.reportCount(0);
        f.reportTitles();
        QCOMPARE(f.events, QStringList(logReadEvent({})));
    }

    void readsALogOfOneRow()
    {
        LogFixture f;
        f.reportCount(1);
        f.reportTitles();
        QCOMPARE(f.events.size(), 1); // the progress, which means nothing for one row
        f.reportRow(1);
        QCOMPARE(f.events.mid(1), QStringList(logReadEvent({1})));
    }

    // Quirk: the last row ends the read without a progress report.
    void showsProgressOneRowEarly()
    {
        QVector<int> percentagesOf101Rows;
        for (int row = 0; row <= 100; ++row) {
            percentagesOf101Rows.append(int(row / 100.0 * 100));
        }
        const QVector<QVector<int>> reads = {
            {0, 100}, {0, 50, 100}, {0, 33, 66, 100}, {0, 25, 50, 75, 100}, percentagesOf101Rows};
        for (const QVector<int> &percentages : reads) {
            LogFixture f;
            f.reportCount(percentages.size());
            f.reportTitles();
            f.reportRows(percentages.size());
            QVERIFY(f.events.takeLast().startsWith(text("logRead TIME|CO2; ")));
            QCOMPARE(f.events, progressEvents(percentages));
        }
    }

    void acceptsAReadAfterAnInvalidCount()
    {
        for (const QVariant &count : {QVariant(-1), QVariant(std::numeric_limits<int>::min()),
                                      QVariant(text("x")), QVariant()}) {
            LogFixture f;
            f.reportCount(count);
            f.reportTitles();
            f.reportRows(2);
            QVERIFY(f.acceptsReadLog());
        }
    }

    void toleratesMoreRowsThanCounted()
    {
        LogFixture f;
        f.reportCount(1);
        f.reportRows(3);
        QCOMPARE(f.events.filter(text("logReadProgress ")).size(), 2);
        QCOMPARE(f.events.size(), 2);
        QVERIFY(f.refusesReadLog());
    }

    void writesADebugMessageForEachStep()
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

    // Quirk: support staff search for the message with this spelling.
    void waitsForMissingTitlesAndKeepsTheRows()
    {
        LogFixture f;
        f.reportCount(2);
        emit f.queue->logTitlesRead(QStringList());
        f.reportRow(1);
        QTest::ignoreMessage(QtDebugMsg, "Got all log values, but log titles are msising");
        f.reportRow(2);
        QCOMPARE(f.events, progressEvents({0, 100}));
        QVERIFY(f.refusesReadLog());
        f.reportTitles();
        QCOMPARE(f.events, progressEvents({0, 100}) << logReadEvent({1, 2}));
    }

    void cancelOfAReadWithoutTitlesAllowsANewRead()
    {
        LogFixture f;
        f.reportCount(1);
        QTest::ignoreMessage(QtDebugMsg, "Got all log values, but log titles are msising");
        f.reportRow(1);
        QVERIFY(f.refusesReadLog());
        f.handler.cancelLogRead();
        QVERIFY(f.acceptsReadLog());
    }

    void laterTitlesReplaceEarlierOnes()
    {
        LogFixture f;
        f.reportCount(1);
        f.reportTitles("old|older");
        f.reportTitles();
        f.reportTitles();
        f.reportRow(1);
        QCOMPARE(f.events.last(), logReadEvent({1}));
    }

    void refusesASecondReadAfterTheCount()
    {
        LogFixture f;
        QVERIFY(f.acceptsReadLog());
        QVERIFY(f.acceptsReadLog());
        f.reportCount(1);
        QVERIFY(f.refusesReadLog());
        f.reportTitles();
        QVERIFY(f.refusesReadLog());
    }

    // Quirk: a read with a count of 0 is not treated as in progress.
    void acceptsASecondReadOfAnEmptyLog()
    {
        LogFixture f;
        f.reportCount(0);
        QVERIFY(f.acceptsReadLog());
    }

    void acceptsANewReadAfterLogRead()
    {
        LogFixture f;
        f.reportCount(2);
        f.reportTitles();
        f.reportRows(2);
        QVERIFY(f.acceptsReadLog());
        // The second read contains nothing of the first.
        f.reportCount(1);
        f.reportTitles("new");
        f.reportRow(1);
        QCOMPARE(f.events.last(), logReadEvent({1}, "new"));
    }

    void forwardsThatThereIsNoLogOption()
    {
        LogFixture f;
        emit f.queue->valueRead(SerialPortValueType::ValueLogOption, false);
        deliverPostedEvents();
        QCOMPARE(f.events, texts("valueRead ValueLogOption bool false"));
        QVERIFY(f.queue->jobs.isEmpty());
        QVERIFY(f.acceptsReadLog());
    }

    void cancelClearsTheQueueAndAllowsANewRead()
    {
        LogFixture f;
        f.reportCount(5);
        f.reportTitles();
        f.reportRows(2);
        f.queue->calls.clear();
        f.handler.cancelLogRead();
        QCOMPARE(f.queue->calls, texts("clear"));
        QVERIFY(f.acceptsReadLog());
        // The titles and the rows of the cancelled read have been discarded.
        f.events.clear();
        f.reportCount(1);
        QTest::ignoreMessage(QtDebugMsg, "Got all log values, but log titles are msising");
        f.reportRow(1);
        QCOMPARE(f.events, QStringList());
    }

    // Quirk: the row becomes the first row of the next log.
    void keepsARowQueuedBeforeTheCancel()
    {
        LogFixture f;
        f.reportCount(3);
        emit f.queue->logValueRead(1, {1.0}, someTime.addSecs(1));
        f.handler.cancelLogRead();
        deliverPostedEvents();
        f.reportCount(1);
        f.reportTitles();
        QCOMPARE(f.events.last(), logReadEvent({1}));
    }

    // Quirk: the rows are read after the cancel.
    void readsTheLogIfTheCountIsQueuedBeforeTheCancel()
    {
        LogFixture f;
        emit f.queue->valueRead(SerialPortValueType::ValueLogCount, 1);
        f.handler.cancelLogRead();
        deliverPostedEvents();
        f.reportTitles();
        f.reportRow(1);
        QCOMPARE(f.events.last(), logReadEvent({1}));
    }

    void emitsNoLogForTitlesQueuedBeforeTheCancel()
    {
        LogFixture f;
        f.reportCount(3);
        emit f.queue->logTitlesRead(texts("TIME|CO2"));
        f.handler.cancelLogRead();
        deliverPostedEvents();
        QCOMPARE(f.events, progressEvents({0}));
        QVERIFY(f.acceptsReadLog());
    }

    void allowsACancelInsideLogRead()
    {
        LogFixture f;
        connect(&f.handler, &SerialPortHandlerInterface::logRead, this,
                [&f] { f.handler.cancelLogRead(); });
        f.reportCount(1);
        f.reportTitles();
        f.reportRow(1);
        QCOMPARE(f.events.filter(text("logRead ")), QStringList(logReadEvent({1})));
        QVERIFY(f.acceptsReadLog());
    }

    void allowsACancelInsideLogReadProgress()
    {
        LogFixture f;
        connect(&f.handler, &SerialPortHandlerInterface::logReadProgress, this,
                [&f] { f.handler.cancelLogRead(); });
        f.reportCount(3);
        f.reportTitles();
        QCOMPARE(f.events, progressEvents({0}));
        QVERIFY(f.acceptsReadLog());
    }

    void ignoresAReadInsideLogRead()
    {
        LogFixture f;
        bool refused = false;
        connect(&f.handler, &SerialPortHandlerInterface::logRead, this,
                [&f, &refused] { refused = f.refusesReadLog(); });
        f.reportCount(1);
        f.reportTitles();
        f.reportRow(1);
        QVERIFY(refused);
        QVERIFY(f.acceptsReadLog());
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandlerLog)
#include "tst_serialporthandlerlog.moc"
