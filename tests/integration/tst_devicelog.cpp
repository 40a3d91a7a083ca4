// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/integration/devicelink.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

namespace {

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

// The log as it would have to arrive, from the device's own lines.
struct OwnLog
{
    QStringList titles;
    QVector<LogValue> rows;
};

OwnLog ownLog(SimulatorProcess &simulator)
{
    OwnLog log;
    const QList<QByteArray> lines = simulator.control("log");
    for (int index = 0; index < lines.size(); ++index) {
        const QByteArray &line = lines.at(index);
        const int begin = line.indexOf('=') + 1;
        const QByteArray record = line.mid(begin, line.lastIndexOf('#') - begin);
        QStringList fields = QString::fromLatin1(record).split(QLatin1Char(','));
        if (index == 0) {
            log.titles = fields;
            continue;
        }
        LogValue row;
        row.time = QDateTime::fromString(fields.takeFirst(), Qt::ISODate);
        row.time.setTimeSpec(Qt::UTC);
        for (const QString &field : fields) {
            row.values += field.toDouble();
        }
        log.rows += row;
    }
    return log;
}

} // namespace

class TestDeviceLog : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryRow_data();
    void readsEveryRow();
    void moves100OneRowEarly();
    void canBeCancelledAndReadAgainAtOnce();
    void takesARowThatWasUnderWayAtTheCancelIntoTheNextRead();
    void refusesASecondReadWhileReading();
    void erasesTheLog();
    void tellsOfAMissingLogOption();
    void sendsAgainARowThatWasWrongOnce_data();
    void sendsAgainARowThatWasWrongOnce();
    void stallsAtARowThatStaysWrong_data();
    void stallsAtARowThatStaysWrong();
    void stallsAtATitleLineThatWasWrongOnce();

private:
    void compareWithDevice(DeviceLink &link);
};

void TestDeviceLog::compareWithDevice(DeviceLink &link)
{
    const OwnLog own = ownLog(link.simulator);
    QCOMPARE(link.titles, own.titles);
    QCOMPARE(link.log.size(), own.rows.size());
    for (int row = 0; row < own.rows.size(); ++row) {
        QCOMPARE(link.log.at(row).time, own.rows.at(row).time);
        QCOMPARE(link.log.at(row).time.timeSpec(), Qt::UTC);
        QCOMPARE(link.log.at(row).values, own.rows.at(row).values);
    }
}

void TestDeviceLog::readsEveryRow_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<QString>("options");
    for (const int rows : {0, 1, 2, 200}) {
        QTest::addRow("%d", rows) << rows << QString();
    }
    QTest::addRow("3 under chatter") << 3 << text(" --fault chatter:1");
    QTest::addRow("3 in single bytes") << 3 << text(" --fault single-bytes:1");
    QTest::addRow("3 of KVT-300") << 3 << text(" --model KVT-300");
}

void TestDeviceLog::readsEveryRow()
{
    QFETCH(int, rows);
    QFETCH(QString, options);
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows %1").arg(rows) + options));
    QVERIFY(link.connectDevice());
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    // Once for the count, behind which no row waits yet, and once at the end.
    QTRY_COMPARE(link.events.count(text("allJobsDone")), 2);
    QCOMPARE(link.log.size(), rows);
    compareWithDevice(link);
    QVERIFY(link.isIdle());
    // The count, the titles and the rows, each once.
    QCOMPARE(link.port->texts.size(), rows + 2);
    QCOMPARE(link.events.count(text("value 1 true")), 1);

    // The device has no more to say, and a second read says the same.
    link.forget();
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    compareWithDevice(link);
}

void TestDeviceLog::moves100OneRowEarly()
{
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows 5")));
    QVERIFY(link.connectDevice());
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    // Titles, then rows 1 to 4 of 5; the last row gives the log instead.
    QCOMPARE(link.logProgress, QVector<int>({0, 25, 50, 75, 100}));
}

void TestDeviceLog::canBeCancelledAndReadAgainAtOnce()
{
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows 200")));
    QVERIFY(link.connectDevice());
    bool cancelled = false;
    QObject context;
    connect(&link.handler, &SerialPortHandlerInterface::logReadProgress, &context,
            [&](int percentage) {
                if (!cancelled && percentage >= 50) {
                    cancelled = true;
                    link.handler.cancelLogRead();
                }
            });
    link.handler.readLog();
    QVERIFY(runUntil([&] { return cancelled; }));
    QVERIFY(link.isIdle());
    QVERIFY(link.queue->jobs().isEmpty());
    QVERIFY(!link.events.contains(text("log")));
    const int sent = link.port->texts.size();
    QVERIFY(sent > 100 && sent < 110);

    // The rest of the cancelled row's answer is still on its way.
    link.forget();
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    QCOMPARE(link.port->texts.size(), 202);
    compareWithDevice(link);
}

void TestDeviceLog::takesARowThatWasUnderWayAtTheCancelIntoTheNextRead()
{
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows 3")));
    QVERIFY(link.connectDevice());
    {
        QObject context;
        connect(link.queue.data(), &SerialPortQueueInterface::logValueRead, &context,
                [&](int index) {
                    if (index == 2) {
                        link.handler.cancelLogRead();
                    }
                });
        link.handler.readLog();
        QVERIFY(runUntil([&] { return link.sends(text("log --read=2")) > 0; }));
        QVERIFY(runUntil([&] { return link.isIdle(); }));
    }
    // Nothing is done against it: rows have no place of their own, and three rows are three rows.
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    const OwnLog own = ownLog(link.simulator);
    QCOMPARE(link.log.size(), 3);
    QCOMPARE(link.log.at(0).time, own.rows.at(1).time);
    QCOMPARE(link.log.at(1).time, own.rows.at(0).time);
    QCOMPARE(link.log.at(2).time, own.rows.at(1).time);
}

void TestDeviceLog::refusesASecondReadWhileReading()
{
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows 50")));
    QVERIFY(link.connectDevice());
    link.handler.readLog();
    QVERIFY(runUntil([&] { return link.logProgress.size() > 5; }));
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    QVERIFY(runUntil([&] { return link.isIdle(); }));
    QCOMPARE(link.sends(text("log --count")), 1);
    QCOMPARE(link.events.count(text("log")), 1);
    compareWithDevice(link);
}

void TestDeviceLog::erasesTheLog()
{
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows 7")));
    QVERIFY(link.connectDevice());
    link.handler.eraseLog();
    QVERIFY(link.waitForDone());
    const QStringList expected = {text("finished 2"), text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.simulator.state("log"), QByteArray("0"));
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    QCOMPARE(link.log.size(), 0);
    QVERIFY(!link.titles.isEmpty());
}

void TestDeviceLog::tellsOfAMissingLogOption()
{
    DeviceLink link;
    QVERIFY(link.start(text("--no-log-option")));
    QVERIFY(link.connectDevice());
    const QStringList expected = {text("value 1 false"), text("allJobsDone")};
    link.handler.readLog();
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events, expected);
    link.forget();
    link.handler.eraseLog();
    QVERIFY(link.waitForDone());
    QCOMPARE(link.events, expected);
    QCOMPARE(link.port->texts, QStringList{text("log --erase\r\n")});
}

void TestDeviceLog::sendsAgainARowThatWasWrongOnce_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<int>("sends");
    // A wrong checksum sends at once; the answer is judged together with the bad line and is
    // waited for in vain, so a time-out costs one more.
    QTest::addRow("checksum") << QByteArray("bad-checksum@2") << 3;
    QTest::addRow("entry") << QByteArray("wrong-entry@2") << 2;
    QTest::addRow("record") << QByteArray("malformed-record@2") << 2;
}

void TestDeviceLog::sendsAgainARowThatWasWrongOnce()
{
    QFETCH(QByteArray, fault);
    QFETCH(int, sends);
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows 3")));
    QVERIFY(link.connectDevice());
    QVERIFY(link.simulator.fault(fault));
    link.gatherMs = 40;
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    compareWithDevice(link);
    QCOMPARE(link.sends(text("log --read=2")), sends);
    QCOMPARE(link.port->texts.size(), 5 + sends - 1);
}

void TestDeviceLog::stallsAtARowThatStaysWrong_data()
{
    QTest::addColumn<QByteArray>("fault");
    for (const char *kind : {"bad-checksum", "wrong-entry", "malformed-record"}) {
        for (const int row : {0, 2}) {
            QTest::addRow("%s of row %d", kind, row)
                << QByteArray(kind) + "-always@" + QByteArray::number(row);
        }
    }
}

void TestDeviceLog::stallsAtARowThatStaysWrong()
{
    QFETCH(QByteArray, fault);
    const bool titles = fault.endsWith('0');
    const QString command = titles ? text("log --read=0") : text("log --read=2");
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows 3")));
    QVERIFY(link.connectDevice());
    QVERIFY(link.simulator.fault(fault));
    link.hurry(200);
    link.handler.readLog();
    QVERIFY(link.waitForStall());
    QCOMPARE(link.sends(command), 5);
    // The count alone is done; of the rows nothing more is heard.
    const QStringList expected = {text("value 1 true"), text("allJobsDone")};
    QCOMPARE(link.events, expected);
    QCOMPARE(link.logProgress.size(), titles ? 0 : 2);

    link.simulator.control("fault clear");
    link.hurry(0);
    link.handler.cancelLogRead();
    QVERIFY(link.isIdle());
    QTest::qWait(100);
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    compareWithDevice(link);
}

void TestDeviceLog::stallsAtATitleLineThatWasWrongOnce()
{
    DeviceLink link;
    QVERIFY(link.start(text("--log-rows 3 --fault bad-checksum@0")));
    QVERIFY(link.connectDevice());
    link.handler.readLog();
    // Good text behind bad text is a wrong checksum again, each time.
    QVERIFY(link.waitForStall());
    QCOMPARE(link.sends(text("log --read=0")), 5);
    link.handler.cancelLogRead();
    QTest::qWait(100);
    link.handler.readLog();
    QVERIFY(link.waitFor(text("log")));
    compareWithDevice(link);
}

KV_TEST_CORE_MAIN(TestDeviceLog)

#include "tst_devicelog.moc"
