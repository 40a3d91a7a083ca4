// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtCore/QTimeZone>
#include <QtTest/QtTest>
#include <functional>

namespace {

const QDateTime someTime(QDate(2017, 11, 13), QTime(10, 20, 30), Qt::UTC);

// A request, the job that it makes and the bytes that this job sends.
struct Request
{
    const char *name;
    std::function<void(SerialPortHandler &)> ask;
    SerialPortJobType type;
    QByteArray bytes;
    bool testsTheField; // the others test isConnected()
};

QVector<Request> guardedRequests()
{
    using Handler = SerialPortHandler;
    using Type = SerialPortJobType;
    return {
        {"readValue", [](Handler &h) { h.readValue(latin1("co2")); }, Type::JobReadValue,
         "\r\nshow co2\r\n", true},
        {"readMeasurements", [](Handler &h) { h.readMeasurements(); }, Type::JobReadMeasurements,
         "\r\nshow meas\r\n", false},
        {"setValue", [](Handler &h) { h.setValue(latin1("debug"), latin1("0")); },
         Type::JobSetValue, "\r\nset debug=0\r\n", true},
        {"readLog", [](Handler &h) { h.readLog(); }, Type::JobReadLog, "\r\nlog --count\r\n",
         false},
        {"writeToEeprom", [](Handler &h) { h.writeToEeprom(); }, Type::JobWriteToEeprom,
         "write --really\r\n", false},
        {"onWriteToEeprom", [](Handler &h) { QMetaObject::invokeMethod(&h, "onWriteToEeprom"); },
         Type::JobWriteToEeprom, "write --really\r\n", false},
        {"eraseLog", [](Handler &h) { h.eraseLog(); }, Type::JobEraseLog, "log --erase\r\n", false},
        {"setDate", [](Handler &h) { h.setDate(someTime); }, Type::JobSetDate,
         "\r\ndate 2017-11-13T10:20:30\r\n", false},
        {"readDate", [](Handler &h) { h.readDate(); }, Type::JobReadDate, "\r\ndate\r\n", false},
        {"readModel", [](Handler &h) { h.readModel(); }, Type::JobReadModel, "\r\nshow unit\r\n",
         false},
        {"factoryReset", [](Handler &h) { h.factoryReset(); }, Type::JobFactoryReset,
         "\r\ninitconf --really\r\n", false},
        {"reboot", [](Handler &h) { h.reboot(); }, Type::JobReboot, "reboot --really\r\n", false},
        {"rebootToBootloader", [](Handler &h) { h.rebootToBootloader(); }, Type::JobReboot,
         "reboot --really\r\n", false},
    };
}

// A handler whose isConnected() does not return its field.
class HandlerWithFixedAnswer : public SerialPortHandler
{
public:
    using SerialPortHandler::SerialPortHandler;
    bool isConnected() override { return answer; }
    bool answer = false;
};

// Collects all log lines while it exists.
class LogCollector
{
public:
    LogCollector()
    {
        lines().clear();
        m_before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &line) { lines() << line; });
    }
    ~LogCollector() { qInstallMessageHandler(m_before); }
    Q_DISABLE_COPY(LogCollector)

    static QStringList &lines()
    {
        static QStringList list;
        return list;
    }

private:
    QtMessageHandler m_before;
};

} // namespace

class TestSerialPortHandler : public QObject
{
    Q_OBJECT

private slots:
    void doesNotCallTheQueueWhenConstructed()
    {
        HandlerFixture f;
        QVERIFY(f.queue->calls.isEmpty());
        QVERIFY(!f.handler.isConnected());
    }

    void registersTheMetaTypes()
    {
        HandlerFixture f;
        for (const char *name :
             {"SerialPortActionType", "SerialPortValueType", "SerialPortJobType"}) {
            const int type = QMetaType::type(name);
            QVERIFY2(type != QMetaType::UnknownType && QMetaType::isRegistered(type), name);
        }
    }

    void clearsAndClosesWhenDestroyed()
    {
        const auto queue = QSharedPointer<FakeQueue>::create();
        {
            SerialPortHandler handler(queue, nullptr);
        }
        QCOMPARE(queue->calls, QStringList({latin1("clear"), latin1("close")}));
    }

    void dropsTheRequestBeforeTheFirstConnect_data() { addRequests(); }

    void dropsTheRequestBeforeTheFirstConnect()
    {
        HandlerFixture f;
        const Request asked = request();
        const LogCollector log;
        asked.ask(f.handler);
        QVERIFY(f.queue->calls.isEmpty());
        // Only readValue() logs the reason.
        const bool logs = asked.type == SerialPortJobType::JobReadValue;
        QCOMPARE(LogCollector::lines(),
                 logs ? QStringList(latin1("Unable to add job false true")) : QStringList());
    }

    void makesTheJobOfTheRequest_data() { addRequests(); }

    void makesTheJobOfTheRequest()
    {
        HandlerFixture f;
        f.connectDevice();
        const Request asked = request();
        const LogCollector log;
        asked.ask(f.handler);
        QCOMPARE(LogCollector::lines(), QStringList());
        QCOMPARE(f.queue->jobs.size(), 1);
        QCOMPARE(int(f.queue->jobs.at(0)->type()), int(asked.type));
        QCOMPARE(f.bytesOf(0), asked.bytes);
        QVERIFY(!f.queue->jobs.at(0)->parent());
    }

    void stillMakesTheJobAfterADisconnect_data() { addRequests(); }

    void stillMakesTheJobAfterADisconnect()
    {
        HandlerFixture f;
        f.connectDevice();
        f.handler.disconnectFromDevice();
        QVERIFY(f.handler.isConnected());
        request().ask(f.handler);
        QCOMPARE(f.queue->jobs.size(), 1);
    }

    void testsTheFieldOrTheOperation_data() { addRequests(); }

    void testsTheFieldOrTheOperation()
    {
        const auto queue = QSharedPointer<FakeQueue>::create();
        queue->port = QSharedPointer<FakeSerialPort>::create();
        HandlerWithFixedAnswer handler(queue, nullptr);
        const Request asked = request();

        handler.answer = true;
        if (asked.type == SerialPortJobType::JobReadValue) {
            QTest::ignoreMessage(QtWarningMsg, "Unable to add job false true");
        }
        asked.ask(handler);
        QCOMPARE(queue->jobs.size(), asked.testsTheField ? 0 : 1);

        handler.answer = false;
        queue->jobs.clear();
        emit queue->jobFinished(SerialPortJobType::JobConnect);
        turnEventLoop();
        asked.ask(handler);
        QCOMPARE(queue->jobs.size(), asked.testsTheField ? 1 : 0);
    }

    void firmwareNeedsNoConnection()
    {
        HandlerFixture f;
        f.handler.updateFirmware(QByteArray(16, 'x'));
        QCOMPARE(f.queue->calls, QStringList({latin1("addJob 13"), latin1("addJob 14")}));
    }

    void readValueWarnsWithBothTestResults()
    {
        HandlerFixture f;
        QTest::ignoreMessage(QtWarningMsg, "Unable to add job false true");
        f.handler.readValue(latin1("co2"));
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
        const LogCollector log;
        f.handler.setValue(QString(), latin1("1"));
        QCOMPARE(LogCollector::lines(), QStringList());
        QVERIFY(f.queue->jobs.isEmpty());
        f.handler.setValue(latin1("name"), QString());
        QCOMPARE(f.queue->jobs.size(), 1);
        QCOMPARE(f.bytesOf(0), QByteArray("\r\nset name=\r\n"));
    }

    void readValuesKeepsTheOrder()
    {
        HandlerFixture f;
        f.connectDevice();
        QTest::ignoreMessage(QtWarningMsg, "Unable to add job true false");
        f.handler.readValues({latin1("b"), QString(), latin1("a"), latin1("b")});
        QCOMPARE(f.allBytes(), QByteArray("\r\nshow b\r\n\r\nshow a\r\n\r\nshow b\r\n"));
        f.handler.readValues(QStringList());
        QCOMPARE(f.queue->jobs.size(), 3);
    }

    void setValuesTakesPairsAlone()
    {
        HandlerFixture f;
        f.connectDevice();
        QTest::ignoreMessage(QtDebugMsg, "Invalid key value pair (\"b\")");
        QTest::ignoreMessage(QtDebugMsg, "Invalid key value pair (\"c\", \"2\", \"3\")");
        f.handler.setValues(
            QStringList({latin1("a=1"), latin1("b"), latin1("c=2=3"), latin1("=x"), latin1("d=")}));
        QCOMPARE(f.allBytes(), QByteArray("\r\nset a=1\r\n\r\nset d=\r\n"));
    }

    void setValuesSplitsAText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("emptyLines");
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray both = "\r\nset a=1\r\n\r\nset b=2\r\n";
        QTest::newRow("lines") << latin1("a=1\nb=2") << 0 << both;
        QTest::newRow("carriage returns") << latin1("a=1\r\nb=2\r\n") << 0 << both;
        QTest::newRow("space around") << latin1(" \r\n a=1\nb=2 \n\n") << 0 << both;
        QTest::newRow("carriage return inside") << latin1("a\r=1\nb=\r2") << 0 << both;
        QTest::newRow("empty line") << latin1("a=1\r\n\r\nb=2") << 1 << both;
        QTest::newRow("nothing") << latin1(" \n") << 1 << QByteArray();
    }

    void setValuesSplitsAText()
    {
        QFETCH(QString, text);
        QFETCH(int, emptyLines);
        QFETCH(QByteArray, bytes);
        HandlerFixture f;
        f.connectDevice();
        for (int i = 0; i < emptyLines; ++i) {
            QTest::ignoreMessage(QtDebugMsg, "Invalid key value pair (\"\")");
        }
        f.handler.setValues(text);
        QCOMPARE(f.allBytes(), bytes);
    }

    void rebootWaitsForTheSelfTest()
    {
        HandlerFixture f;
        f.connectDevice();
        f.handler.reboot();
        QSignalSpy action(f.queue->jobs.at(0).data(), &SerialPortJobInterface::actionFinished);
        f.queue->jobs.at(0)->start();
        f.port->receive(latin1("Reseting device in 5 seconds\r\n"));
        QCOMPARE(action.count(), 0);
        f.port->receive(latin1("Performing selftest...\r\nAll tests passed.\r\nOrvanta KVT\r\n"
                               "Compiled on x\r\nCopyright y"));
        QCOMPARE(action.count(), 1);
        QCOMPARE(action.at(0).at(0).value<SerialPortActionType>(),
                 SerialPortActionType::ActionReboot);
    }

    void rebootToBootloaderWaitsForTheAnnouncement()
    {
        HandlerFixture f;
        f.connectDevice();
        f.handler.rebootToBootloader();
        QSignalSpy action(f.queue->jobs.at(0).data(), &SerialPortJobInterface::actionFinished);
        f.queue->jobs.at(0)->start();
        f.port->receive(latin1("Reseting device in 5 seconds\r\n"));
        QCOMPARE(action.count(), 1);
        QCOMPARE(action.at(0).at(0).value<SerialPortActionType>(),
                 SerialPortActionType::ActionRebootForFirmware);
    }

    void forwardsToTheQueue()
    {
        HandlerFixture f;
        const auto other = QSharedPointer<FakeSerialPort>::create();
        f.handler.setSerialPort(other);
        QCOMPARE(f.queue->port.data(), static_cast<SerialPortInterface *>(other.data()));
        f.handler.clearJobs();
        f.handler.disconnectFromDevice();
        QCOMPARE(f.queue->calls,
                 QStringList({latin1("setSerialPort"), latin1("clear"), latin1("close")}));
        QVERIFY(f.handler.portName().isEmpty());
        f.queue->currentPortName = latin1("ttyUSB0");
        QCOMPARE(f.handler.portName(), latin1("ttyUSB0"));
    }

    void opensThePort()
    {
        HandlerFixture f;
        QSignalSpy error(&f.handler, &SerialPortHandlerInterface::error);
        const LogCollector log;
        QVERIFY(f.handler.openPort());
        QCOMPARE(LogCollector::lines(), QStringList());
        QCOMPARE(f.queue->calls, QStringList({latin1("open")}));
        turnEventLoop();
        QCOMPARE(error.count(), 0);
    }

    void reportsAPortThatDoesNotOpen()
    {
        HandlerFixture f;
        f.queue->openResult = false;
        QSignalSpy error(&f.handler, &SerialPortHandlerInterface::error);
        QTest::ignoreMessage(QtDebugMsg, "Unable open port");
        QVERIFY(!f.handler.openPort());
        QCOMPARE(error.count(), 1);
        QCOMPARE(error.at(0).at(0).toString(), latin1("Unable to open port!"));
    }

    void connectClearsOpensAndAddsAJob()
    {
        HandlerFixture f;
        f.handler.connectToDevice();
        QCOMPARE(f.queue->calls,
                 QStringList({latin1("clear"), latin1("open"), latin1("addJob 0")}));
        QCOMPARE(f.bytesOf(0), QByteArray("\r\nshow swver\r\n"));
        QVERIFY(!f.handler.isConnected());
        f.handler.connectToDevice();
        QCOMPARE(f.queue->calls.mid(3),
                 QStringList({latin1("clear"), latin1("open"), latin1("addJob 0")}));
    }

    void connectStopsAtAPortThatDoesNotOpen()
    {
        HandlerFixture f;
        f.queue->openResult = false;
        QSignalSpy error(&f.handler, &SerialPortHandlerInterface::error);
        QTest::ignoreMessage(QtDebugMsg, "Unable open port");
        f.handler.connectToDevice();
        QCOMPARE(f.queue->calls, QStringList({latin1("clear"), latin1("open")}));
        QCOMPARE(error.count(), 1);
    }

    void connectJobMakesItConnected()
    {
        HandlerFixture f;
        QSignalSpy connected(&f.handler, &SerialPortHandlerInterface::connected);
        bool wasConnected = false;
        connect(&f.handler, &SerialPortHandlerInterface::connected, this,
                [&f, &wasConnected] { wasConnected = f.handler.isConnected(); });
        emit f.queue->jobFinished(SerialPortJobType::JobConnect);
        QVERIFY(!f.handler.isConnected());
        turnEventLoop();
        QVERIFY(f.handler.isConnected());
        QVERIFY(wasConnected);
        QCOMPARE(connected.count(), 1);
    }

    void otherJobsDoNotMakeItConnected()
    {
        HandlerFixture f;
        QSignalSpy connected(&f.handler, &SerialPortHandlerInterface::connected);
        for (int type = 1; type <= 17; ++type) {
            emit f.queue->jobFinished(static_cast<SerialPortJobType>(type));
        }
        emit f.queue->jobFinished(static_cast<SerialPortJobType>(-1));
        turnEventLoop();
        QVERIFY(!f.handler.isConnected());
        QCOMPARE(connected.count(), 0);
        QVERIFY(f.queue->calls.isEmpty());
    }

    void allowsJobsInsideConnected()
    {
        HandlerFixture f;
        connect(&f.handler, &SerialPortHandlerInterface::connected, this, [&f] {
            f.handler.clearJobs();
            f.handler.readValue(latin1("serial"));
        });
        emit f.queue->jobFinished(SerialPortJobType::JobConnect);
        turnEventLoop();
        QCOMPARE(f.queue->calls, QStringList({latin1("clear"), latin1("addJob 1")}));
    }

    void relaysFromTheEventLoop_data()
    {
        QTest::addColumn<int>("report");
        const char *names[] = {"error",          "dataWritten", "dataRead",     "measurementsRead",
                               "allJobsDone",    "jobFinished", "logValueRead", "logTitlesRead",
                               "actionFinished", "valueRead"};
        for (int i = 0; i < 10; ++i) {
            QTest::newRow(names[i]) << i;
        }
    }

    void relaysFromTheEventLoop()
    {
        QFETCH(int, report);
        using Handler = SerialPortHandlerInterface;
        HandlerFixture f;
        FakeQueue *queue = f.queue.data();
        const QMap<QString, QString> values = {{latin1("co2"), latin1("400")}};
        QScopedPointer<QSignalSpy> spy;
        QVariantList expected;
        const auto listen = [&](auto signal, const QVariantList &arguments) {
            spy.reset(new QSignalSpy(&f.handler, signal));
            expected = arguments;
        };
        switch (report) {
        case 0:
            listen(&Handler::error, {latin1("reason")});
            emit queue->error(latin1("reason"));
            break;
        case 1:
            listen(&Handler::dataWritten, {latin1("n"), latin1("v")});
            emit queue->dataWritten(latin1("n"), latin1("v"));
            break;
        case 2:
            listen(&Handler::dataRead, {latin1("n"), latin1("v")});
            emit queue->dataRead(latin1("n"), latin1("v"));
            break;
        case 3:
            listen(&Handler::measurementsRead, {someTime, QVariant::fromValue(values)});
            emit queue->measurementsRead(someTime, values);
            break;
        case 4:
            listen(&Handler::allJobsDone, {});
            emit queue->allJobsDone();
            break;
        case 5:
            listen(&Handler::connected, {});
            emit queue->jobFinished(SerialPortJobType::JobConnect);
            break;
        case 6:
            listen(&Handler::logReadProgress, {-50});
            emit queue->logValueRead(1, {1.5}, someTime);
            break;
        case 7:
            listen(&Handler::logReadProgress, {0});
            emit queue->logTitlesRead({latin1("t")});
            break;
        case 8:
            listen(&Handler::actionFinished,
                   {QVariant::fromValue(SerialPortActionType::ActionSetDate), QVariant(someTime)});
            emit queue->actionFinished(SerialPortActionType::ActionSetDate, someTime);
            break;
        default:
            listen(&Handler::valueRead,
                   {QVariant::fromValue(SerialPortValueType::ValueDeviceDate), QVariant(someTime)});
            emit queue->valueRead(SerialPortValueType::ValueDeviceDate, someTime);
            break;
        }
        QCOMPARE(spy->count(), 0);
        turnEventLoop();
        QCOMPARE(spy->count(), report == 0 ? 2 : 1);
        QCOMPARE(spy->at(0).size(), expected.size());
        for (int i = 0; i < expected.size(); ++i) {
            const QVariant &seen = spy->at(0).at(i);
            if (seen.userType() == qMetaTypeId<SerialPortActionType>()) {
                QCOMPARE(seen.value<SerialPortActionType>(), SerialPortActionType::ActionSetDate);
            } else if (seen.userType() == qMetaTypeId<SerialPortValueType>()) {
                QCOMPARE(seen.value<SerialPortValueType>(), SerialPortValueType::ValueDeviceDate);
            } else if (seen.userType() == qMetaTypeId<QMap<QString, QString>>()) {
                QCOMPARE((seen.value<QMap<QString, QString>>()), values);
            } else {
                QCOMPARE(seen, expected.at(i));
            }
        }
    }

    void reportsEachErrorTwice()
    {
        HandlerFixture f;
        QStringList reasons;
        connect(&f.handler, &SerialPortHandlerInterface::error, this,
                [&reasons](const QString &reason) { reasons.append(reason); });
        emit f.queue->error(latin1("a"));
        emit f.queue->error(latin1("b"));
        QVERIFY(reasons.isEmpty());
        turnEventLoop();
        QCOMPARE(reasons, QStringList({latin1("a"), latin1("a"), latin1("b"), latin1("b")}));
    }

    void receivesFailuresAndBlocksAtOnce()
    {
        HandlerFixture f;
        QSignalSpy failed(&f.handler, &SerialPortHandlerInterface::actionFailed);
        QSignalSpy finished(&f.handler, &SerialPortHandlerInterface::actionFinished);
        emit f.queue->jobFailed(SerialPortJobType::JobReadEepromBlock);
        QCOMPARE(failed.count(), 1);
        emit f.queue->eepromBlockRead(0, QByteArray());
        QCOMPARE(finished.count(), 1);
        emit f.queue->eepromBlockWritten(0);
        QCOMPARE(finished.count(), 2);
        turnEventLoop();
        QCOMPARE(failed.count(), 1);
        QCOMPARE(finished.count(), 2);
    }

    void relaysTheValuesItKnows_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("relayed");
        QTest::newRow("device date") << 0 << QVariant(someTime) << true;
        QTest::newRow("log option") << 1 << QVariant(false) << true;
        QTest::newRow("log count") << 2 << QVariant(-1) << false;
        QTest::newRow("device model") << 3 << QVariant(latin1("KVT 301")) << true;
        QTest::newRow("the next number") << 4 << QVariant(1) << false;
        QTest::newRow("unknown") << 99 << QVariant(1) << false;
        QTest::newRow("negative") << -1 << QVariant(1) << false;
    }

    void relaysTheValuesItKnows()
    {
        QFETCH(int, type);
        QFETCH(QVariant, value);
        QFETCH(bool, relayed);
        HandlerFixture f;
        f.connectDevice();
        QSignalSpy valueRead(&f.handler, &SerialPortHandlerInterface::valueRead);
        emit f.queue->valueRead(static_cast<SerialPortValueType>(type), value);
        turnEventLoop();
        QCOMPARE(valueRead.count(), relayed ? 1 : 0);
        if (relayed) {
            QCOMPARE(int(valueRead.at(0).at(0).value<SerialPortValueType>()), type);
            QCOMPARE(valueRead.at(0).at(1).value<QVariant>(), value);
        }
        QVERIFY(f.queue->jobs.isEmpty());
    }

    void handlesAFailedJob_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QByteArray>("log");
        QTest::addColumn<QStringList>("steps");
        for (int type = -1; type <= 17; ++type) {
            switch (static_cast<SerialPortJobType>(type)) {
            case SerialPortJobType::JobReadModel:
                QTest::newRow("model")
                    << type << QByteArray()
                    << QStringList({latin1("error Unable to determine connected device type")});
                break;
            case SerialPortJobType::JobUpdateFirmware:
                QTest::newRow("bootloader")
                    << type
                    << QByteArray("Firmware update job failed, bootloader was not accessible. "
                                  "Canceling firmware update")
                    << QStringList({latin1("removeJobs 14"), latin1("removeJobs 13"),
                                    latin1("actionFailed 6")});
                break;
            case SerialPortJobType::JobTransmitFirmwareBlock:
                QTest::newRow("firmware block")
                    << type << QByteArray("Firmware transfer job failed. Canceling firmware update")
                    << QStringList({latin1("removeJobs 14"), latin1("removeJobs 13"),
                                    latin1("actionFailed 5")});
                break;
            case SerialPortJobType::JobReadEepromBlock:
                QTest::newRow("block read")
                    << type << QByteArray()
                    << QStringList({latin1("removeJobs 15"), latin1("actionFailed 8")});
                break;
            case SerialPortJobType::JobWriteEepromBlock:
                QTest::newRow("block written")
                    << type << QByteArray()
                    << QStringList({latin1("removeJobs 16"), latin1("actionFailed 9")});
                break;
            default:
                QTest::addRow("other %d", type) << type << QByteArray() << QStringList();
            }
        }
    }

    void handlesAFailedJob()
    {
        QFETCH(int, type);
        QFETCH(QByteArray, log);
        QFETCH(QStringList, steps);
        HandlerFixture f;
        QStringList &seen = f.queue->calls;
        connect(&f.handler, &SerialPortHandlerInterface::actionFailed, this,
                [&seen](SerialPortActionType action) {
                    seen.append(latin1("actionFailed %1").arg(int(action)));
                });
        connect(&f.handler, &SerialPortHandlerInterface::error, this,
                [&seen](const QString &reason) { seen.append(latin1("error ") + reason); });
        if (!log.isEmpty()) {
            QTest::ignoreMessage(QtDebugMsg, log.constData());
        }
        emit f.queue->jobFailed(static_cast<SerialPortJobType>(type));
        QCOMPARE(seen, steps);
        turnEventLoop();
        QCOMPARE(seen, steps);
    }

    void failedConnectChangesNothing()
    {
        HandlerFixture f;
        QSignalSpy connected(&f.handler, &SerialPortHandlerInterface::connected);
        emit f.queue->jobFailed(SerialPortJobType::JobConnect);
        QVERIFY(!f.handler.isConnected());
        f.connectDevice();
        emit f.queue->jobFailed(SerialPortJobType::JobConnect);
        turnEventLoop();
        QVERIFY(f.handler.isConnected());
        QCOMPARE(connected.count(), 1);
    }

private:
    static void addRequests()
    {
        QTest::addColumn<int>("index");
        const QVector<Request> requests = guardedRequests();
        for (int i = 0; i < requests.size(); ++i) {
            QTest::newRow(requests.at(i).name) << i;
        }
    }

    Request request() const
    {
        QFETCH(int, index);
        return guardedRequests().at(index);
    }
};

KV_TEST_CORE_MAIN(TestSerialPortHandler)
#include "tst_serialporthandler.moc"
