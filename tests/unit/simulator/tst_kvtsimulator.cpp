// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/fileio.h"
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/unit/simulator/portclient.h"

#include <QtCore/QFileInfo>
#include <sys/ioctl.h>

/// The simulator as a process of its own. tests/integration checks how it communicates with the
/// device handler.
class TestKvtSimulator : public QObject
{
    Q_OBJECT

private slots:
    void rejectsInvalidCommandLine()
    {
        for (const char *arguments :
             {"--model KVT-999", "--rate fast", "--rate -1", "--log-rows 100000", "--fault thunder",
              "--nonsense", "something", "--link /nonexistent/folder/port"}) {
            QProcess process;
            process.start(TestPaths::buildFile("kvt-simulator"),
                          text(arguments).split(QLatin1Char(' ')));
            QVERIFY(process.waitForFinished());
            QVERIFY2(process.exitCode() == 1, arguments);
            QVERIFY(process.readAllStandardError().startsWith("kvt-simulator: "));
            QCOMPARE(process.readAllStandardOutput(), QByteArray());
        }
    }

    void printsHelp()
    {
        QProcess process;
        process.start(TestPaths::buildFile("kvt-simulator"), {text("--help")});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 0);
        const QByteArray help = process.readAllStandardOutput();
        QVERIFY(help.contains("boot-with-line-end") && help.contains("--image-size"));
    }

    void appliesOptions()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start(text("--model KVT-200 --serial S-17 --health 135% --log-rows 4 "
                                     "--meas-state 3 --debug --clock-offset -86400")
                                    .split(QLatin1Char(' '))));
        QCOMPARE(
            simulator.control("state"),
            (QList<QByteArray>{"mode=console", "port=" + simulator.port().toLatin1(), "exchanges=0",
                               "log=4", "model=KVT-200", "serial=S-17", "swver=2.6.0", "hwver=B2",
                               "meas_state=3", "health=135%", "debug=1"}));
        const qint64 ahead = QDateTime::currentDateTimeUtc().secsTo(simulator.clock());
        QVERIFY2(qAbs(ahead + 86400) <= 60, QByteArray::number(ahead).constData());
    }

    void sendsAtTheRequestedRate()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--rate"), text("9600")}));
        PortClient client(simulator.port());
        QElapsedTimer timer;
        timer.start();
        const QByteArray reply = client.exchange("eeprom --read_block 0\r\n");
        QVERIFY(reply.size() > 150);
        QVERIFY(timer.elapsed() >= reply.size() * 10 * 1000 / 9600);
    }

    void keepsLinkToPortUntilTerminated()
    {
        QTemporaryDir folder;
        const QString link = folder.filePath(text("port"));
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--link"), link}));
        QCOMPARE(QFile::symLinkTarget(link), simulator.port());
        simulator.hangUp();
        QCOMPARE(simulator.state("port"), QByteArray());
        QVERIFY(simulator.resume());
        QCOMPARE(QFile::symLinkTarget(link), simulator.port());
        QCOMPARE(PortClient(link).exchange("\r\n"), QByteArray("\r\nKVT $ "));
        QVERIFY(simulator.terminate());
        QCOMPARE(simulator.exitCode(), 0);
        QVERIFY(!QFileInfo(link).isSymLink());
    }

    void savesStateWhenInputCloses()
    {
        QTemporaryDir folder;
        const QStringList options = {text("--state"), folder.filePath(text("state"))};
        SimulatorProcess simulator;
        QVERIFY(simulator.start(options));
        PortClient(simulator.port()).exchange("log --erase\r\n");
        QVERIFY(simulator.stop());
        QCOMPARE(simulator.exitCode(), 0);
        QVERIFY(simulator.start(options));
        QCOMPARE(simulator.state("log"), QByteArray("0"));
    }

    void executesControlCommands()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start());
        PortClient client(simulator.port());
        QCOMPARE(simulator.control("settings").size(), 8);
        QCOMPARE(simulator.control("set altitude=99999"), QList<QByteArray>{"altitude=9000"});
        QVERIFY(client.exchange("show altitude\r\n").contains("altitude=9000\r\n"));
        QCOMPARE(simulator.state("exchanges"), QByteArray("1"));
        const QByteArray block = simulator.control("memory 7").value(0);
        QCOMPARE(simulator.control("memory").value(7), block);
        QVERIFY(client.exchange("eeprom --read_block 7\r\n").contains(block + "\r\n"));
        simulator.control("health 12%");
        QVERIFY(client.exchange("show health\r\n").contains("health=12%\r\n"));
        simulator.control("meas-state 4");
        QVERIFY(client.exchange("show meas_state\r\n").contains("meas_state=4\r\n"));
        simulator.control("image-size 5");
        simulator.control("restart");
        QVERIFY(client.exchange("", "BOOT").endsWith("BOOT"));
        QCOMPARE(simulator.state("mode"), QByteArray("bootloader"));
        QCOMPARE(client.exchange("b12345", ".").left(1), QByteArray("."));
        QCOMPARE(simulator.control("image"), QList<QByteArray>{"5 bytes"});
        for (const char *invalid :
             {"nonsense", "", "fault thunder", "setting nonsense", "memory 1024", "image-size x",
              "set nonsense=1", "meas-state x"}) {
            simulator.control(invalid);
            QVERIFY2(!simulator.succeeded(), invalid);
        }
    }

    void reservesNumberOfClosedTerminal()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start());
        const QString oldPort = simulator.port();
        simulator.hangUp();
        SimulatorProcess other;
        QVERIFY(other.start());
        QVERIFY(other.port() != oldPort);
        QVERIFY(simulator.resume());
        QVERIFY(simulator.port() != oldPort);
        QVERIFY(!PortClient(oldPort).isOpen());
    }

    void releaseEndsExclusiveUseOfPort()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start());
        const PortClient observer(simulator.port());
        const auto isExclusive = [&observer] {
            int exclusive = -1;
            ::ioctl(observer.descriptor(), TIOCGEXCL, &exclusive);
            return exclusive;
        };
        QCOMPARE(::ioctl(PortClient(simulator.port()).descriptor(), TIOCEXCL), 0);
        QCOMPARE(isExclusive(), 1);
        QVERIFY(simulator.release());
        QCOMPARE(isExclusive(), 0);
    }

    void writesEventLog()
    {
        QTemporaryDir folder;
        const QString file = folder.filePath(text("journal"));
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--journal"), file, text("--fault"), text("nul@2")}));
        PortClient client(simulator.port());
        client.exchange("\r\nshow hwver\r\n", "B\r\nKVT $ ");
        client.exchange("eeprom --write_block 3\r\n" + QByteArray(64, 'x'), "Done\r\nKVT $ ");
        simulator.hangUp();
        QCOMPARE(FileIo::contents(file),
                 "port " + simulator.port().toLatin1()
                     + "\ncommand show hwver\ncommand eeprom --write_block 3\nfault nul@2\n"
                       "raw 64 bytes for block 3\nhangup\n");
    }
};

KV_TEST_CORE_MAIN(TestKvtSimulator)

#include "tst_kvtsimulator.moc"
