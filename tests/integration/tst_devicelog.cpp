// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

class TestDeviceLog : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_link.reset(new DeviceLink); }

    void readsEveryRow_data()
    {
        QTest::addColumn<QString>("options");
        QTest::addColumn<int>("rows");
        for (const int rows : {0, 1, 2, 200}) {
            QTest::addRow("%d", rows) << QString() << rows;
        }
        for (const char *options :
             {"--fault chatter:1", "--fault single-bytes:1", "--model KVT-300"}) {
            QTest::addRow("3 %s", options) << text(options) << 3;
        }
    }

    void readsEveryRow()
    {
        QFETCH(QString, options);
        QFETCH(int, rows);
        QVERIFY(m_link->startConnected(options + text(" --log-rows %1").arg(rows)));
        readLog();
        // Once after the count, when no row is queued yet, and once at the end.
        QTRY_COMPARE(m_link->events.count(text("allJobsDone")), 2);
        QCOMPARE(m_link->events.first(), text("value 1 true"));
        QCOMPARE(m_link->events.count(text("log")), 1);
        QCOMPARE(m_link->log.size(), rows);
        QCOMPARE(m_link->port->texts.size(), rows + 2);
        QCOMPARE(m_link->port->texts.at(1), text("\r\nlog --read=0\r\n"));
    }

    void reports100PercentOneRowEarly()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 5")));
        readLog();
        // Titles, then rows 1 to 4 of 5; the last row completes the log instead.
        QCOMPARE(m_link->logProgress, QVector<int>({0, 25, 50, 75, 100}));
    }

    void canBeCancelledAndReadAgainAtOnce()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 200")));
        bool cancelled = false;
        QObject context;
        connect(&m_link->handler, &SerialPortHandlerInterface::logReadProgress, &context,
                [&](int percentage) {
                    if (!cancelled && percentage >= 50) {
                        cancelled = true;
                        m_link->handler.cancelLogRead();
                    }
                });
        m_link->handler.readLog();
        QVERIFY(runUntil([&] { return cancelled; }));
        QVERIFY(m_link->isIdle());
        QVERIFY(m_link->queue->jobs().isEmpty());
        QVERIFY(!m_link->events.contains(text("log")));
        const int sent = m_link->port->texts.size();
        QVERIFY(sent > 100 && sent < 110);

        // The rest of the cancelled row's answer is still to arrive.
        m_link->clearRecords();
        readLog();
        QCOMPARE(m_link->port->texts.size(), 202);
    }

    void takesARowThatWasReadAtTheCancelIntoTheNextRead()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 3")));
        {
            QObject context;
            connect(m_link->queue.data(), &SerialPortQueueInterface::logValueRead, &context,
                    [this](int index) {
                        if (index == 2) {
                            m_link->handler.cancelLogRead();
                        }
                    });
            m_link->handler.readLog();
            QVERIFY(runUntil([&] { return m_link->sends(text("log --read=2")) > 0; }));
            QVERIFY(runUntil([&] { return m_link->isIdle(); }));
        }
        // Quirk: rows are counted, not numbered, and the late one is counted too.
        m_link->handler.readLog();
        QVERIFY(m_link->waitFor(text("log")));
        QStringList titles;
        const QVector<LogValue> own = m_link->devicesLog(titles);
        QCOMPARE(m_link->log.size(), 3);
        QCOMPARE(m_link->log.at(0).time, own.at(1).time);
        QCOMPARE(m_link->log.at(1).time, own.at(0).time);
        QCOMPARE(m_link->log.at(2).time, own.at(1).time);
    }

    void refusesASecondReadWhileReading()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 50")));
        m_link->handler.readLog();
        QVERIFY(runUntil([&] { return m_link->logProgress.size() > 5; }));
        readLog();
        QVERIFY(runUntil([&] { return m_link->isIdle(); }));
        QCOMPARE(m_link->sends(text("log --count")), 1);
        QCOMPARE(m_link->events.count(text("log")), 1);
    }

    void erasesTheLog()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 7")));
        m_link->handler.eraseLog();
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events, QStringList({text("finished 2"), text("allJobsDone")}));
        QCOMPARE(m_link->simulator.state("log"), QByteArray("0"));
        readLog();
        QCOMPARE(m_link->log.size(), 0);
        QVERIFY(!m_link->titles.isEmpty());
    }

    void reportsAMissingLogOption()
    {
        const QStringList expected = {text("value 1 false"), text("allJobsDone")};
        QVERIFY(m_link->startConnected(text("--no-log-option")));
        m_link->handler.readLog();
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events, expected);
        m_link->clearRecords();
        m_link->handler.eraseLog();
        QVERIFY(m_link->waitForDone());
        QCOMPARE(m_link->events, expected);
        QCOMPARE(m_link->port->texts, QStringList{text("log --erase\r\n")});
    }

    void sendsAgainForARowThatWasWrongOnce_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<int>("sends");
        // After a wrong checksum the command is sent at once. Its answer is parsed together with
        // the bad line and times out, which costs one more send.
        QTest::addRow("checksum") << QByteArray("bad-checksum@2") << 3;
        QTest::addRow("entry") << QByteArray("wrong-entry@2") << 2;
        QTest::addRow("record") << QByteArray("malformed-record@2") << 2;
    }

    void sendsAgainForARowThatWasWrongOnce()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, sends);
        QVERIFY(m_link->startConnected(text("--log-rows 3")));
        QVERIFY(m_link->simulator.fault(fault));
        m_link->gatherMs = 40;
        readLog();
        QCOMPARE(m_link->sends(text("log --read=2")), sends);
        QCOMPARE(m_link->port->texts.size(), 5 + sends - 1);
    }

    void stopsAtARowThatStaysWrong_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<int>("row");
        for (const char *kind : {"bad-checksum", "wrong-entry", "malformed-record"}) {
            for (const int row : {0, 2}) {
                QTest::addRow("%s of row %d", kind, row)
                    << QByteArray(kind) + "-always@" + QByteArray::number(row) << row;
            }
        }
    }

    void stopsAtARowThatStaysWrong()
    {
        QFETCH(QByteArray, fault);
        QFETCH(int, row);
        QVERIFY(m_link->startConnected(text("--log-rows 3")));
        QVERIFY(m_link->simulator.fault(fault));
        m_link->setTimeouts(200);
        m_link->handler.readLog();
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->sends(text("log --read=%1").arg(row)), 5);
        // Only the count has ended.
        QCOMPARE(m_link->events, QStringList({text("value 1 true"), text("allJobsDone")}));
        QCOMPARE(m_link->logProgress.size(), row);
        QVERIFY(readAgain());
    }

    void stopsAtTitlesThatWereWrongOnce()
    {
        QVERIFY(m_link->startConnected(text("--log-rows 3 --fault bad-checksum@0")));
        m_link->handler.readLog();
        // Quirk: correct text after damaged text has a wrong checksum, each time.
        QVERIFY(m_link->waitForStall());
        QCOMPARE(m_link->sends(text("log --read=0")), 5);
        QVERIFY(readAgain());
    }

private:
    // Reads the log and compares it with the device's own.
    void readLog()
    {
        m_link->handler.readLog();
        QVERIFY(m_link->waitFor(text("log")));
        QVERIFY(m_link->hasDevicesLog());
    }

    // Cancels a read that has stopped, and reads the log.
    bool readAgain()
    {
        m_link->simulator.control("fault clear");
        m_link->setTimeouts(0);
        m_link->handler.cancelLogRead();
        const bool idle = m_link->isIdle();
        QTest::qWait(100); // for the rest of the bad line
        readLog();
        return idle;
    }

    QScopedPointer<DeviceLink> m_link;
};

KV_TEST_CORE_MAIN(TestDeviceLog)

#include "tst_devicelog.moc"
