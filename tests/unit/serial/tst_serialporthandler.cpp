// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/loggedmessages.h"
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtTest/QtTest>

namespace {

using Handler = SerialPortHandler;
using Type = SerialPortJobType;

const QDateTime someTime(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC);

// A call that needs a connection, the type of the job that it adds and the bytes that the job
// sends.
struct Request
{
    void (*call)(Handler &);
    Type type;
    const char *bytes;
};

const QVector<Request> requests = {
    {[](Handler &h) { h.readValue(text("co2")); }, Type::JobReadValue, "\r\nshow co2\r\n"},
    {[](Handler &h) { h.readMeasurements(); }, Type::JobReadMeasurements, "\r\nshow meas\r\n"},
    {[](Handler &h) { h.setValue(text("debug"), text("0")); }, Type::JobSetValue,
     "\r\nset debug=0\r\n"},
    {[](Handler &h) { h.readLog(); }, Type::JobReadLog, "\r\nlog --count\r\n"},
    {[](Handler &h) { h.writeToEeprom(); }, Type::JobWriteToEeprom, "write --really\r\n"},
    {[](Handler &h) { QMetaObject::invokeMethod(&h, "onWriteToEeprom"); }, Type::JobWriteToEeprom,
     "write --really\r\n"},
    {[](Handler &h) { h.eraseLog(); }, Type::JobEraseLog, "log --erase\r\n"},
    {[](Handler &h) { h.setDate(someTime); }, Type::JobSetDate, "\r\ndate 2017-11-13T10:20:30\r\n"},
    {[](Handler &h) { h.readDate(); }, Type::JobReadDate, "\r\ndate\r\n"},
    {[](Handler &h) { h.readModel(); }, Type::JobReadModel, "\r\nshow unit\r\n"},
    {[](Handler &h) { h.factoryReset(); }, Type::JobFactoryReset, "\r\ninitconf --really\r\n"},
    {[](Handler &h) { h.reboot(); }, Type::JobReboot, "reboot --really\r\n"},
    {[](Handler &h) { h.rebootToBootloader(); }, Type::JobReboot, "reboot --really\r\n"},
};

void callAll(Handler &handler)
{
    for (const Request &request : requests) {
        request.call(handler);
    }
}

// A handler whose isConnected() returns a value that the test sets.
class HandlerWithReplacedIsConnected : public SerialPortHandler
{
public:
    using SerialPortHandler::SerialPortHandler;
    bool isConnected() override { return isConnectedResult; }
    bool isConnectedResult = false;
};

} // namespace

class TestSerialPortHandler : public QObject
{
    Q_OBJECT

private slots:
    void clearsAndClosesTheQueueOnlyWhenDestroyed()
    {
        const auto queue = QSharedPointer<FakeQueue>::create();
        {
            SerialPortHandler handler(queue, nullptr);
            QVERIFY(!handler.isConnected());
            QVERIFY(queue->calls.isEmpty());
        }
        QCOMPARE(queue->calls, texts("clear|close"));
    }

    void registersTheMetaTypes()
    {
        HandlerFixture f;
        for (const char *name : {"SerialPortActionType", "SerialPortValueType", "SerialPortJobType",
                                 "QVector<LogValue>"}) {
            const int type = QMetaType::type(name);
            QVERIFY2(type != QMetaType::UnknownType && QMetaType::isRegistered(type), name);
        }
    }

    void ignoresRequestsBeforeTheFirstConnection()
    {
        HandlerFixture f;
        const QStringList messages = messagesLoggedBy([&f] { callAll(f.handler); });
        QVERIFY(f.queue->calls.isEmpty());
        // Only readValue() logs the reason.
        QCOMPARE(messages, texts("warning: Unable to add job false true"));
    }

    void addsOneJobForEachRequest()
    {
        HandlerFixture f;
        f.connectDevice();
        QCOMPARE(messagesLoggedBy([&f] { callAll(f.handler); }), QStringList());
        QCOMPARE(f.queue->jobs.size(), requests.size());
        for (int i = 0; i < requests.size(); ++i) {
            QCOMPARE(int(f.queue->jobs.at(i)->type()), int(requests.at(i).type));
            QCOMPARE(f.bytesSentBy(i), QByteArray(requests.at(i).bytes));
            QVERIFY(!f.queue->jobs.at(i)->parent());
        }
    }

    void stillAddsJobsAfterADisconnection()
    {
        HandlerFixture f;
        f.connectDevice();
        f.handler.disconnectFromDevice();
        QVERIFY(f.handler.isConnected());
        callAll(f.handler);
        QCOMPARE(f.queue->jobs.size(), requests.size());
    }

    void onlyReadValueAndSetValueBypassIsConnected()
    {
        const auto queue = QSharedPointer<FakeQueue>::create();
        queue->port = QSharedPointer<FakeSerialPort>::create();
        HandlerWithReplacedIsConnected handler(queue, nullptr);
        QStringList addedWithoutIsConnected;
        QStringList addedByIsConnected;
        for (const Request &request : requests) {
            const bool isReadOrSetValue =
                request.type == Type::JobReadValue || request.type == Type::JobSetValue;
            (isReadOrSetValue ? addedWithoutIsConnected : addedByIsConnected)
                << text("addJob ") + enumeratorName(request.type);
        }

        handler.isConnectedResult = true;
        QTest::ignoreMessage(QtWarningMsg, "Unable to add job false true");
        callAll(handler);
        QCOMPARE(queue->calls, addedByIsConnected);

        handler.isConnectedResult = false;
        queue->calls.clear();
        emit queue->jobFinished(Type::JobConnect);
        deliverPostedEvents();
        callAll(handler);
        QCOMPARE(queue->calls, addedWithoutIsConnected);
    }

    void warningOfReadValueShowsBothConditions()
    {
        HandlerFixture f;
        QTest::ignoreMessage(QtWarningMsg, "Unable to add job false false");
        f.handler.readValue(QString());
        f.connectDevice();
        QTest::ignoreMessage(QtWarningMsg, "Unable to add job true false");
        f.handler.readValue(QString());
        QVERIFY(f.queue->jobs.isEmpty());
    }

    void ignoresSetValueWithoutAName()
    {
        HandlerFixture f;
        f.connectDevice();
        QCOMPARE(messagesLoggedBy([&f] { f.handler.setValue(QString(), text("1")); }),
                 QStringList());
        QVERIFY(f.queue->jobs.isEmpty());
        f.handler.setValue(text("name"), QString());
        QCOMPARE(f.bytesSentByAllJobs(), QByteArray("\r\nset name=\r\n"));
    }

    void readValuesKeepsTheOrder()
    {
        HandlerFixture f;
        f.connectDevice();
        QTest::ignoreMessage(QtWarningMsg, "Unable to add job true false");
        f.handler.readValues(texts("b||a|b"));
        f.handler.readValues(QStringList());
        QCOMPARE(f.bytesSentByAllJobs(), QByteArray("\r\nshow b\r\n\r\nshow a\r\n\r\nshow b\r\n"));
    }

    void setValuesIgnoresInvalidPairs()
    {
        HandlerFixture f;
        f.connectDevice();
        QTest::ignoreMessage(QtDebugMsg, "Invalid key value pair (\"b\")");
        QTest::ignoreMessage(QtDebugMsg, "Invalid key value pair (\"c\", \"2\", \"3\")");
        f.handler.setValues(texts("a=1|b|c=2=3|=x|d="));
        QCOMPARE(f.bytesSentByAllJobs(), QByteArray("\r\nset a=1\r\n\r\nset d=\r\n"));
    }

    void setValuesSplitsATextIntoLines()
    {
        for (const char *lines : {"a=1\nb=2", "a=1\r\nb=2\r\n", " \r\n a=1\nb=2 \n\n",
                                  "a\r=1\nb=\r2", "a=1\r\n\r\nb=2"}) {
            HandlerFixture f;
            f.connectDevice();
            f.handler.setValues(text(lines));
            QCOMPARE(f.bytesSentByAllJobs(), QByteArray("\r\nset a=1\r\n\r\nset b=2\r\n"));
        }
        HandlerFixture f;
        QTest::ignoreMessage(QtDebugMsg, "Invalid key value pair (\"\")");
        f.handler.setValues(text(" \n"));
    }

    void onlyRebootWaitsForTheSelfTest()
    {
        HandlerFixture f;
        f.connectDevice();
        f.handler.reboot();
        f.handler.rebootToBootloader();
        for (const auto &job : qAsConst(f.queue->jobs)) {
            job->start();
        }
        f.port->receive(text("Reseting device in 5 seconds\r\n"));
        QVERIFY(f.queue->jobs.at(0)->isRunning());
        QVERIFY(!f.queue->jobs.at(1)->isRunning());
    }

    void queuesAllFirmwareBlocksImmediately_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("blocks");
        QTest::addRow("empty") << 0 << 0;
        QTest::addRow("one byte") << 1 << 1;
        QTest::addRow("15 bytes") << 15 << 1;
        QTest::addRow("16 bytes") << 16 << 1;
        QTest::addRow("17 bytes") << 17 << 2;
        QTest::addRow("48 bytes") << 48 << 3;
        QTest::addRow("64 KiB and 5 bytes") << 65536 + 5 << 4097;
    }

    // This needs no connection.
    void queuesAllFirmwareBlocksImmediately()
    {
        QFETCH(int, size);
        QFETCH(int, blocks);
        QByteArray firmware(size, '\0');
        for (int i = 0; i < size; ++i) {
            firmware[i] = static_cast<char>((i * 11 + i / 256) & 0xff);
        }
        HandlerFixture f;
        f.handler.updateFirmware(firmware);
        QCOMPARE(f.queue->jobs.size(), blocks + 1);
        QCOMPARE(f.queue->jobs.at(0)->type(), Type::JobUpdateFirmware);
        for (int block = 1; block <= blocks; ++block) {
            QCOMPARE(f.queue->jobs.at(block)->type(), Type::JobTransmitFirmwareBlock);
            QCOMPARE(f.bytesSentBy(block), firmware.mid((block - 1) * 16, 16));
            // The progress of the transfer after this block.
            const QVariant percentage = f.resultOf(block, text("*"));
            QCOMPARE(percentage.userType(), int(QMetaType::Double));
            QVERIFY(percentage.toDouble()
                    == (block == blocks ? 100.0 : block * 16 / double(size) * 100));
        }
    }

    void cancelRemovesTheJobsOfTheOperation()
    {
        HandlerFixture f;
        f.handler.cancelFirmwareUpdate();
        f.handler.cancelEepromRead();
        f.handler.cancelEepromWrite();
        QCOMPARE(f.queue->calls,
                 texts("removeJobs JobTransmitFirmwareBlock|removeJobs JobUpdateFirmware|"
                       "removeJobs JobReadEepromBlock|removeJobs JobWriteEepromBlock"));
        deliverPostedEvents();
        QCOMPARE(f.events, QStringList());
    }

    void forwardsCallsToTheQueue()
    {
        HandlerFixture f;
        const auto other = QSharedPointer<FakeSerialPort>::create();
        f.handler.setSerialPort(other);
        QCOMPARE(f.queue->port.data(), static_cast<SerialPortInterface *>(other.data()));
        f.handler.clearJobs();
        f.handler.disconnectFromDevice();
        QCOMPARE(f.queue->calls, texts("setSerialPort|clear|close"));
        QVERIFY(f.handler.portName().isEmpty());
        f.queue->currentPortName = text("ttyUSB0");
        QCOMPARE(f.handler.portName(), text("ttyUSB0"));
    }

    void reportsAPortThatDoesNotOpen()
    {
        HandlerFixture f;
        QVERIFY(f.handler.openPort());
        QCOMPARE(f.events, QStringList());
        f.queue->openResult = false;
        QTest::ignoreMessage(QtDebugMsg, "Unable open port");
        QVERIFY(!f.handler.openPort());
        QCOMPARE(f.events, texts("error Unable to open port!"));
        QCOMPARE(f.queue->calls, texts("open|open"));
    }

    void connectClearsTheQueueOpensThePortAndAddsAJob()
    {
        HandlerFixture f;
        f.handler.connectToDevice();
        QCOMPARE(f.queue->calls, texts("clear|open|addJob JobConnect"));
        QCOMPARE(f.bytesSentBy(0), QByteArray("\r\nshow swver\r\n"));
        QVERIFY(!f.handler.isConnected());
        f.handler.connectToDevice();
        QCOMPARE(f.queue->calls.mid(3), texts("clear|open|addJob JobConnect"));
    }

    void connectAddsNoJobIfThePortDoesNotOpen()
    {
        HandlerFixture f;
        f.queue->openResult = false;
        QTest::ignoreMessage(QtDebugMsg, "Unable open port");
        f.handler.connectToDevice();
        QCOMPARE(f.queue->calls, texts("clear|open"));
        QCOMPARE(f.events, texts("error Unable to open port!"));
    }

    void isConnectedOnlyAfterAFinishedConnectJob()
    {
        HandlerFixture f;
        bool wasConnected = false;
        connect(&f.handler, &Handler::connected, this,
                [&f, &wasConnected] { wasConnected = f.handler.isConnected(); });
        for (const int type : {-1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}) {
            emit f.queue->jobFinished(static_cast<Type>(type));
        }
        emit f.queue->jobFailed(Type::JobConnect);
        deliverPostedEvents();
        QVERIFY(!f.handler.isConnected());
        QCOMPARE(f.events, QStringList());

        emit f.queue->jobFinished(Type::JobConnect);
        QVERIFY(!f.handler.isConnected());
        deliverPostedEvents();
        QVERIFY(wasConnected);
        emit f.queue->jobFailed(Type::JobConnect);
        deliverPostedEvents();
        QVERIFY(f.handler.isConnected());
        QCOMPARE(f.events, texts("connected"));
        QVERIFY(f.queue->calls.isEmpty());
    }

    void allowsRequestsInsideConnected()
    {
        HandlerFixture f;
        connect(&f.handler, &Handler::connected, this, [&f] {
            f.handler.clearJobs();
            f.handler.readValue(text("serial"));
        });
        f.connectDevice();
        QCOMPARE(f.queue->calls, texts("clear|addJob JobReadValue"));
    }

    void forwardsSignalsFromTheEventLoop()
    {
        HandlerFixture f;
        emit f.queue->dataWritten(text("n"), text("v"));
        emit f.queue->dataRead(text("n"), text("w"));
        emit f.queue->measurementsRead(someTime, {{text("co2"), text("400")}});
        emit f.queue->allJobsDone();
        emit f.queue->jobFinished(Type::JobConnect);
        emit f.queue->logTitlesRead({text("t")});
        emit f.queue->logValueRead(1, {1.5}, someTime);
        emit f.queue->actionFinished(SerialPortActionType::ActionSetDate, someTime);
        emit f.queue->valueRead(SerialPortValueType::ValueDeviceDate, someTime);
        QCOMPARE(f.events, QStringList());
        deliverPostedEvents();
        const QStringList expected = {
            text("dataWritten n=v"),
            text("dataRead n=w"),
            text("measurementsRead 2017-11-13T10:20:30Z co2=400"),
            text("allJobsDone"),
            text("connected"),
            text("logReadProgress 0"),
            text("logReadProgress -50"),
            text("actionFinished ActionSetDate QDateTime 2017-11-13T10:20:30.000Z"),
            text("valueRead ValueDeviceDate QDateTime 2017-11-13T10:20:30.000Z")};
        QCOMPARE(f.events, expected);
    }

    void reportsEachErrorTwice()
    {
        HandlerFixture f;
        emit f.queue->error(text("a"));
        emit f.queue->error(text("b"));
        QCOMPARE(f.events, QStringList());
        deliverPostedEvents();
        QCOMPARE(f.events, texts("error a|error a|error b|error b"));
    }

    void forwardsOnlyModelClockAndLogOption()
    {
        HandlerFixture f;
        f.connectDevice();
        const QVector<QPair<int, QVariant>> values = {
            {-1, 1}, {0, someTime}, {1, false}, {2, -1}, {3, text("KVT 301")}, {4, 1}, {99, 1}};
        for (const auto &[type, value] : values) {
            emit f.queue->valueRead(static_cast<SerialPortValueType>(type), value);
        }
        deliverPostedEvents();
        QCOMPARE(f.events,
                 texts("valueRead ValueDeviceDate QDateTime 2017-11-13T10:20:30.000Z|"
                       "valueRead ValueLogOption bool false|"
                       "valueRead ValueDeviceModel QString KVT 301"));
        QVERIFY(f.queue->jobs.isEmpty());
    }

    void handlesAFailedJob_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("logMessage");
        QTest::addColumn<QStringList>("calls");
        QTest::addRow("model") << 10 << QByteArray()
                               << texts("error Unable to determine connected device type");
        QTest::addRow("wait for bootloader")
            << 13
            << QByteArray("Firmware update job failed, bootloader was not accessible. Canceling "
                          "firmware update")
            << texts("removeJobs JobTransmitFirmwareBlock|removeJobs JobUpdateFirmware|"
                     "actionFailed ActionBootloaderEntered");
        QTest::addRow("firmware block")
            << 14 << QByteArray("Firmware transfer job failed. Canceling firmware update")
            << texts("removeJobs JobTransmitFirmwareBlock|removeJobs JobUpdateFirmware|"
                     "actionFailed ActionFirmwareBlockTransmitted");
        QTest::addRow("EEPROM block read")
            << 15 << QByteArray()
            << texts("removeJobs JobReadEepromBlock|actionFailed ActionEepromRead");
        QTest::addRow("EEPROM block written")
            << 16 << QByteArray()
            << texts("removeJobs JobWriteEepromBlock|actionFailed ActionEepromWritten");
        for (const int type : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 17}) {
            QTest::addRow("other type %d", type) << type << QByteArray() << QStringList();
        }
    }

    void handlesAFailedJob()
    {
        QFETCH(int, type);
        QFETCH(QByteArray, logMessage);
        QFETCH(QStringList, calls);
        HandlerFixture f;
        recordEvents(f.handler, f.queue->calls);
        if (!logMessage.isEmpty()) {
            QTest::ignoreMessage(QtDebugMsg, logMessage.constData());
        }
        emit f.queue->jobFailed(static_cast<Type>(type));
        QCOMPARE(f.queue->calls, calls);
        deliverPostedEvents();
        QCOMPARE(f.queue->calls, calls);
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandler)
#include "tst_serialporthandler.moc"
