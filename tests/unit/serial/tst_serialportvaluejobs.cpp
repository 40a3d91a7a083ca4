// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialportjobconnect.h"
#include "serial/serialportjobreaddate.h"
#include "serial/serialportjobreadmeasurements.h"
#include "serial/serialportjobreadmodel.h"
#include "serial/serialportjobreadvalue.h"
#include "serial/serialportjobsetdate.h"
#include "serial/serialportjobsetvalue.h"
#include "tests/kit/replysamples.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"
#include "tests/unit/serial/jobdialoguetest.h"

#include <QtCore/QTimeZone>
#include <algorithm>

class TestSerialPortValueJobs : public JobDialogueTest
{
    Q_OBJECT

public:
    TestSerialPortValueJobs()
        : JobDialogueTest(valueDialogues())
    {
    }

private slots:
    void awaitsASecondChunk()
    {
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobReadValue job(&port, latin1("p"));
        recorder.record(&job);
        job.setTimeout(60000); // not before the second chunk, however slow the machine
        job.start();
        port.receive(latin1("\r\n$ show p\r\nshow: p=9"));
        QTimer::singleShot(100, &port, [&port] { port.receive(latin1("90\r\n$ ")); });
        QTRY_VERIFY(!job.isRunning());
        QCOMPARE(recorder.log, QStringList({latin1("dataRead p=990"), latin1("finished")}));
        QCOMPARE(port.sent.size(), 1);
    }

    void waitsForTheRestOf_data()
    {
        QTest::addColumn<QString>("dialogue");
        QTest::addColumn<QString>("reply");

        QTest::addRow("a value without a prompt")
            << latin1("read value") << latin1("show p\r\nshow: p=990\r\n");
        QTest::addRow("a prompt that is no new line")
            << latin1("read value") << latin1("show p\r\nshow: p=990 $ ");
        QTest::addRow("the value of another name")
            << latin1("read value") << latin1("show q\r\nshow: q=990\r\n$ ");
        QTest::addRow("an unknown parameter without its mark")
            << latin1("read value") << latin1("show p\r\nshow: Unknown parameter\r\n$ ");
        QTest::addRow("an unknown version")
            << latin1("connect") << latin1("show swver\r\nshow: Unknown parameter!\r\n$ ");
        QTest::addRow("a set that is refused")
            << latin1("set value") << latin1("set p=2000\r\nset: Unknown parameter!\r\n$ ");
        QTest::addRow("a set without its echo")
            << latin1("set value") << latin1("set p=2000\r\n$ ");
        QTest::addRow("no measurements")
            << latin1("read measurements") << latin1("show meas\r\nshow: meas=\"\"\r\n$ ");
        QTest::addRow("a pair without a value")
            << latin1("read measurements") << latin1("show meas\r\nshow: meas=\"co2=1;t\"\r\n$ ");
        QTest::addRow("a trailing semicolon")
            << latin1("read measurements") << latin1("show meas\r\nshow: meas=\"co2=1;\"\r\n$ ");
        QTest::addRow("a date without a time")
            << latin1("read date") << latin1("date\r\n2017-11-13\r\n$ ");
        QTest::addRow("a date that is not confirmed")
            << latin1("set date") << latin1("date x\r\n2017-11-13T10:20:30\r\n$ ");
        QTest::addRow("a model without the serial line")
            << latin1("read model") << latin1("show unit\r\nModel: KVT 301\r\n$ ");
    }

    void waitsForTheRestOf()
    {
        QFETCH(QString, dialogue);
        QFETCH(QString, reply);

        const QVector<JobDialogue> dialogues = valueDialogues();
        const auto found =
            std::find_if(dialogues.cbegin(), dialogues.cend(),
                         [&](const JobDialogue &entry) { return latin1(entry.name) == dialogue; });
        QVERIFY(found != dialogues.cend());
        FakeSerialPort port;
        SignalRecorder recorder;
        const JobPointer job = found->make(&port);
        recorder.record(job.data());
        job->start();
        port.receive(latin1("\r\n$ ") + reply);
        QVERIFY(recorder.log.isEmpty());
        QVERIFY(job->isRunning());
        QCOMPARE(port.sent, found->command);
        job->setTimeout(1);
        QTRY_COMPARE(recorder.log, QStringList(latin1("timedOut")));
    }

    void skipsTheBootText()
    {
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobConnect job(&port);
        recorder.record(&job);
        job.start();
        port.receive(latin1("All tests passed.\r\nOrvanta KVT 3 $\r\nCopyright 2017\r\n$ \r\n"));
        port.receive(latin1("$ show swver\r\nshow: swver=1.2.3\r\n"));
        QVERIFY(recorder.log.isEmpty());
        port.receive(latin1("$"));
        QCOMPARE(recorder.log, QStringList(latin1("finished")));
    }

    void sendsNamesAndValuesUnchanged()
    {
        FakeSerialPort port;
        SerialPortJobReadValue readJob(&port, latin1("a%1.*"));
        SerialPortJobSetValue setJob(&port, latin1("a%2"), latin1(" 50 %1 = "));
        readJob.start();
        setJob.start();
        QCOMPARE(port.sent, QByteArrayList({"\r\nshow a%1.*\r\n", "\r\nset a%2= 50 %1 = \r\n"}));
    }

    void reportsAnEmptyValue()
    {
        FakeSerialPort port;
        SerialPortJobReadValue job(&port, latin1("p"));
        QSignalSpy dataRead(&job, &SerialPortJob::dataRead);
        job.start();
        port.receive(latin1("show: p=\r\n$ "));
        QCOMPARE(dataRead.size(), 1);
        QVERIFY(dataRead.first().at(1).toString().isEmpty());
    }

    void stampsMeasurementsWithItsOwnTimeInUtc()
    {
        const TimeZoneScope zone("Asia/Tokyo");
        FakeSerialPort port;
        SerialPortJobReadMeasurements job(&port);
        QDateTime stamp;
        connect(&job, &SerialPortJob::measurementsRead, &job,
                [&stamp](const QDateTime &timestamp) { stamp = timestamp; });
        job.start();
        const QDateTime before = QDateTime::currentDateTimeUtc();
        port.receive(latin1("show: meas=co2=1\r\n$ "));
        const QDateTime after = QDateTime::currentDateTimeUtc();
        QCOMPARE(stamp.timeSpec(), Qt::UTC);
        QVERIFY(before <= stamp && stamp <= after);
    }

    void sendsTheFieldsOfADate_data()
    {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QByteArray>("command");

        const QDate day(2017, 11, 13);
        const QTime time(10, 20, 30, 987);
        QTest::addRow("UTC") << QDateTime(day, time, Qt::UTC)
                             << QByteArray("\r\ndate 2017-11-13T10:20:30\r\n");
        QTest::addRow("local") << QDateTime(day, time)
                               << QByteArray("\r\ndate 2017-11-13T10:20:30\r\n");
        QTest::addRow("offset") << QDateTime(day, time, Qt::OffsetFromUTC, 7200)
                                << QByteArray("\r\ndate 2017-11-13T10:20:30+02:00\r\n");
        QTest::addRow("time zone") << QDateTime(day, time, QTimeZone("Asia/Tokyo"))
                                   << QByteArray("\r\ndate 2017-11-13T10:20:30+09:00\r\n");
    }

    void sendsTheFieldsOfADate()
    {
        QFETCH(QDateTime, date);
        QFETCH(QByteArray, command);

        const TimeZoneScope zone("Europe/Helsinki");
        FakeSerialPort port;
        SerialPortJobSetDate job(&port, date);
        job.start();
        QCOMPARE(port.sent, QByteArrayList({command}));
    }

    void sendsNothingForAnInvalidDate()
    {
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobSetDate job(&port, QDateTime());
        recorder.record(&job);
        job.start();
        QCOMPARE(
            recorder.log,
            QStringList(latin1("error Unable to set time, invalid timestamp given: , running")));
        QVERIFY(port.sent.isEmpty());
    }

    void reportsAnImpossibleDate()
    {
        FakeSerialPort port;
        SignalRecorder recorder;
        SerialPortJobReadDate readJob(&port);
        SerialPortJobSetDate setJob(&port, QDateTime::currentDateTime());
        recorder.record(&readJob);
        recorder.record(&setJob);
        readJob.start();
        port.receive(latin1("date\r\n2017-13-45T25:00:00\r\n$ "));
        setJob.start();
        port.receive(latin1("Date updated to 2017-13-45T25:00:00\r\n"));
        QCOMPARE(recorder.log,
                 QStringList({latin1("valueRead 0 QDateTime "), latin1("finished"),
                              latin1("actionFinished 1 QDateTime "), latin1("finished")}));
    }

    void skipsTheTailOfTheModelInTheNextJob()
    {
        const auto port = QSharedPointer<FakeSerialPort>::create();
        SerialPortQueue queue(nullptr);
        queue.setSerialPort(port);
        SignalRecorder recorder;
        recorder.record(&queue);
        queue.addJob(JobPointer(new SerialPortJobReadModel(port.data())));
        queue.addJob(JobPointer(new SerialPortJobReadValue(port.data(), latin1("swver"))));
        port->receive(latin1("\r\n$ show unit\r\nModel: KVT 301\r\nSerial: 12"));
        port->receive(latin1("34\r\n$ "));
        port->receive(latin1("\r\n$ show swver\r\nshow: swver=1.2.3\r\n$ "));
        QCOMPARE(
            recorder.log,
            QStringList({latin1("queue: valueRead 3 QString KVT 301"),
                         latin1("queue: jobFinished 10"), latin1("queue: dataRead swver=1.2.3"),
                         latin1("queue: jobFinished 1"), latin1("queue: allJobsDone")}));
    }
};

KV_TEST_CORE_MAIN(TestSerialPortValueJobs)
#include "tst_serialportvaluejobs.moc"
