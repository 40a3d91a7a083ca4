// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/unit/serial/handlerfixture.h"

#include <QtTest/QtTest>

class TestSerialPortHandlerFirmware : public QObject
{
    Q_OBJECT

private slots:
    void queuesTheWholeTransferAtOnce_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("blocks");
        QTest::newRow("nothing") << 0 << 0;
        QTest::newRow("one byte") << 1 << 1;
        QTest::newRow("15 bytes") << 15 << 1;
        QTest::newRow("16 bytes") << 16 << 1;
        QTest::newRow("17 bytes") << 17 << 2;
        QTest::newRow("48 bytes") << 48 << 3;
        QTest::newRow("64 KiB and a bit") << 65536 + 5 << 4097;
    }

    void queuesTheWholeTransferAtOnce()
    {
        QFETCH(int, size);
        QFETCH(int, blocks);
        const QByteArray firmware = firmwareOf(size);
        HandlerFixture f;
        f.handler.updateFirmware(firmware);
        QCOMPARE(f.queue->jobs.size(), blocks + 1);
        QCOMPARE(f.queue->jobs.at(0)->type(), SerialPortJobType::JobUpdateFirmware);
        QByteArray sent;
        for (int block = 0; block < blocks; ++block) {
            QCOMPARE(f.queue->jobs.at(block + 1)->type(),
                     SerialPortJobType::JobTransmitFirmwareBlock);
            const QByteArray bytes = f.bytesOf(block + 1);
            QCOMPARE(bytes.size(), qMin(16, size - block * 16));
            sent += bytes;
        }
        QCOMPARE(sent, firmware);
    }

    void eachBlockCarriesThePercentageAfterIt_data() { queuesTheWholeTransferAtOnce_data(); }

    void eachBlockCarriesThePercentageAfterIt()
    {
        QFETCH(int, size);
        QFETCH(int, blocks);
        HandlerFixture f;
        f.handler.updateFirmware(firmwareOf(size));
        for (int block = 0; block < blocks; ++block) {
            const QVariant result = f.resultOf(block + 1, latin1("*"));
            QCOMPARE(result.userType(), int(QMetaType::Double));
            const double expected = qMin(block * 16 + 16, size) / double(size) * 100;
            QVERIFY2(result.toDouble() == expected, qPrintable(QString::number(block)));
        }
        if (blocks > 0) {
            QVERIFY(f.resultOf(blocks, latin1("*")).toDouble() == 100.0);
        }
    }

    void sendsSeventeenBytesInTwoBlocks()
    {
        HandlerFixture f;
        f.handler.updateFirmware("0123456789abcdefX");
        QCOMPARE(f.bytesOf(1), QByteArray("0123456789abcdef"));
        QCOMPARE(f.bytesOf(2), QByteArray("X"));
        QCOMPARE(qRound(f.resultOf(1, latin1("*")).toDouble() * 10), 941);
        QVERIFY(f.resultOf(2, latin1("*")).toDouble() == 100.0);
    }

    void bytesOfAnAcknowledgementAreSentAsTheyAre()
    {
        const QByteArray firmware("*!.\0\r\n\xff$", 8);
        HandlerFixture f;
        f.handler.updateFirmware(firmware);
        QCOMPARE(f.bytesOf(1), firmware);
    }

    void firstJobWaitsForTheBootloader()
    {
        HandlerFixture f;
        f.handler.updateFirmware(QByteArray(16, 'x'));
        QCOMPARE(f.queue->jobs.at(0)->timeout(), 900000);
        QCOMPARE(f.bytesOf(0), QByteArray());
        f.port->sent.clear();
        f.resultOf(0, latin1("\r\nBOOT"));
        QCOMPARE(f.port->sent.join(), QByteArray("b"));
    }

    void relaysTheReportsUnchanged()
    {
        HandlerFixture f;
        QSignalSpy finished(&f.handler, &SerialPortHandlerInterface::actionFinished);
        using Action = SerialPortActionType;
        const QVector<QPair<Action, QVariant>> reports = {
            {Action::ActionRebootForFirmware, QVariant()},
            {Action::ActionBootloaderEntered, QVariant()},
            {Action::ActionFirmwareBlockTransmitted, 12.5},
            {Action::ActionFirmwareTransmitted, 100}};
        for (const auto &report : reports) {
            emit f.queue->actionFinished(report.first, report.second);
        }
        QCOMPARE(finished.count(), 0);
        turnEventLoop();
        QCOMPARE(finished.count(), reports.size());
        for (int i = 0; i < reports.size(); ++i) {
            QCOMPARE(finished.at(i).at(0).value<Action>(), reports.at(i).first);
            QCOMPARE(finished.at(i).at(1).value<QVariant>(), reports.at(i).second);
        }
    }

    void cancelRemovesBlocksBeforeTheFirstJob()
    {
        HandlerFixture f;
        f.handler.cancelFirmwareUpdate();
        QCOMPARE(f.queue->calls, QStringList({latin1("removeJobs 14"), latin1("removeJobs 13")}));
    }

    void cancelRaisesNoSignal()
    {
        HandlerFixture f;
        QSignalSpy failed(&f.handler, &SerialPortHandlerInterface::actionFailed);
        QSignalSpy finished(&f.handler, &SerialPortHandlerInterface::actionFinished);
        f.handler.cancelFirmwareUpdate();
        turnEventLoop();
        QCOMPARE(failed.count(), 0);
        QCOMPARE(finished.count(), 0);
    }
};

static QByteArray firmwareOf(int size)
{
    QByteArray firmware(size, '\0');
    for (int i = 0; i < size; ++i) {
        firmware[i] = static_cast<char>((i * 11 + i / 256) & 0xff);
    }
    return firmware;
}

KV_TEST_CORE_MAIN(TestSerialPortHandlerFirmware)
#include "tst_serialporthandlerfirmware.moc"
