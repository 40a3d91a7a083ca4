// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/simulatorprocess.h"
#include "tests/kit/testmain.h"
#include "tests/kit/testpaths.h"
#include "tests/kit/text.h"
#include "tests/unit/simulator/portclient.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <sys/ioctl.h>

namespace {

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray exchange(PortClient &client, const QByteArray &command, const QByteArray &end = "$ ")
{
    client.take();
    client.write(command);
    client.waitForEnd(end);
    return client.take();
}

} // namespace

class TestKvtSimulator : public QObject
{
    Q_OBJECT

private slots:
    void answersOnItsPort()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start());
        PortClient client(simulator.port());
        QVERIFY(client.isOpen());
        QCOMPARE(exchange(client, "\r\n"), QByteArray("\r\nKVT $ "));
        QCOMPARE(exchange(client, "show swver\r\n"),
                 QByteArray("show swver\r\nshow: swver=2.4.1\r\nKVT $ "));
    }

    void simulatesTheRequestedModel_data()
    {
        QTest::addColumn<QString>("model");
        QTest::addColumn<QByteArray>("measurements");
        QTest::addRow("KVT-100") << text("KVT-100") << QByteArray("W0 W1 W2 A2 A4 LUX");
        QTest::addRow("KVT-200") << text("KVT-200") << QByteArray("A3 A0 A1 P1 W0 W1 W2 FLOW");
        QTest::addRow("KVT-300") << text("KVT-300")
                                 << QByteArray("W0 W1 W2 A0 A1 P0 P1 W3 W4 W5 SR BATT");
    }

    void simulatesTheRequestedModel()
    {
        QFETCH(QString, model);
        QFETCH(QByteArray, measurements);
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--model"), model}));
        PortClient client(simulator.port());
        QVERIFY(exchange(client, "show unit\r\n").contains("Model: " + model.toLatin1() + "\r\n"));
        const QByteArray answer = exchange(client, "show meas\r\n");
        QList<QByteArray> names;
        for (const QByteArray &pair : simulator.measurements()) {
            QVERIFY(answer.contains(pair));
            names += pair.left(pair.indexOf('='));
        }
        QCOMPARE(names.join(' '), measurements);
    }

    void refusesAWrongCommandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        const auto row = [](const char *words) {
            QTest::addRow("%s", words) << QString::fromLatin1(words).split(QLatin1Char(' '));
        };
        row("--model KVT-999");
        row("--rate fast");
        row("--rate -1");
        row("--log-rows 100000");
        row("--fault thunder");
        row("--nonsense");
        row("something");
        row("--link /nonexistent/folder/port");
    }

    void refusesAWrongCommandLine()
    {
        QFETCH(QStringList, arguments);
        QProcess process;
        process.start(testpaths::buildFile("kvt-simulator"), arguments);
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(process.readAllStandardError().startsWith("kvt-simulator: "));
        QCOMPARE(process.readAllStandardOutput(), QByteArray());
    }

    void printsItsHelp()
    {
        QProcess process;
        process.start(testpaths::buildFile("kvt-simulator"), {text("--help")});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 0);
        const QByteArray help = process.readAllStandardOutput();
        QVERIFY(help.contains("boot-with-line-end") && help.contains("--image-size"));
    }

    void appliesItsOptions()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start(text("--serial S-17 --health 135% --log-rows 4 --warmup 600000 "
                                     "--unavailable W1 --debug --clock-offset -86400 --rate 0")
                                    .split(QLatin1Char(' '))));
        PortClient client(simulator.port());
        const QDate yesterday = QDateTime::currentDateTimeUtc().addDays(-1).date();
        const QList<QPair<QByteArray, QByteArray>> expected = {
            {"show serial", "serial=S-17\r\n"},
            {"show health", "health=135%\r\n"},
            {"log --count", "\r\ncount=4\r\n"},
            {"show meas_state", "meas_state=0\r\n"},
            {"show meas", ";W1=N;"},
            {"show debug", "debug=1\r\n"},
            {"date", yesterday.toString(Qt::ISODate).toLatin1()},
        };
        for (const auto &pair : expected) {
            const QByteArray answer = exchange(client, pair.first + "\r\n");
            QVERIFY2(answer.contains(pair.second), answer.constData());
        }
    }

    void endsOnATerminationSignal()
    {
        QTemporaryDir folder;
        const QString link = folder.filePath(text("port"));
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--link"), link}));
        QCOMPARE(QFile::symLinkTarget(link), simulator.port());
        QVERIFY(simulator.terminate());
        QCOMPARE(simulator.exitCode(), 0);
        QVERIFY(!QFileInfo(link).isSymLink());
    }

    void endsWhenItsInputCloses()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start());
        QVERIFY(simulator.stop());
        QCOMPARE(simulator.exitCode(), 0);
    }

    void keepsStoredSettingsOverARestart()
    {
        QTemporaryDir folder;
        const QStringList options = {text("--state"), folder.filePath(text("state")),
                                     text("--write-ms"), text("50")};
        {
            SimulatorProcess simulator;
            QVERIFY(simulator.start(options));
            PortClient client(simulator.port());
            exchange(client, "set altitude=321\r\n");
            QVERIFY(exchange(client, "write --really\r\n").contains("bytes written!\r\n"));
            exchange(client, "set altitude=322\r\n");
            QCOMPARE(simulator.setting("altitude"), QByteArray("322"));
            QVERIFY(simulator.stop());
        }
        SimulatorProcess again;
        QVERIFY(again.start(options));
        PortClient client(again.port());
        QVERIFY(exchange(client, "show altitude\r\n").contains("altitude=321\r\n"));
    }

    void receivesAnImageByteForByte()
    {
        QTemporaryDir folder;
        const QString file = folder.filePath(text("image.bin"));
        QByteArray image;
        for (int index = 0; index < 1000; ++index) {
            image += static_cast<char>((index * 37) & 0xff);
        }
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--image"), file, text("--image-size"), text("1000"),
                                 text("--reboot-ms"), text("50")}));
        PortClient client(simulator.port());
        QVERIFY(exchange(client, "reboot --really\r\n", "BOOT")
                    .contains("Reseting device in 5 seconds"));
        client.write("b");
        for (int offset = 0; offset < image.size(); offset += 16) {
            const bool last = offset + 16 >= image.size();
            const QByteArray answer = exchange(client, image.mid(offset, 16), last ? "." : "*");
            QCOMPARE(answer.left(1), QByteArray(last ? "." : "*"));
        }
        QVERIFY(client.waitForEnd("$ "));
        QVERIFY(client.take().contains("All tests passed."));
        QCOMPARE(contentsOf(file), image);
        QCOMPARE(simulator.control("image"), QList<QByteArray>{"1000 bytes"});
    }

    void executesControlCommands()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--log-rows"), text("2")}));
        PortClient client(simulator.port());

        QCOMPARE(simulator.state("mode"), QByteArray("console"));
        QCOMPARE(simulator.state("model"), QByteArray("KVT-100"));
        QCOMPARE(simulator.state("port"), simulator.port().toLatin1());
        QCOMPARE(simulator.state("exchanges"), QByteArray("0"));
        QCOMPARE(simulator.state("log"), QByteArray("2"));
        QCOMPARE(simulator.control("settings").size(), 8);
        QCOMPARE(simulator.control("set altitude=99999"), QList<QByteArray>{"altitude=9000"});
        QVERIFY(exchange(client, "show altitude\r\n").contains("altitude=9000\r\n"));
        QCOMPARE(simulator.state("exchanges"), QByteArray("1"));

        const QList<QByteArray> log = simulator.control("log");
        QCOMPARE(log.size(), 3);
        for (int row = 0; row < log.size(); ++row) {
            const QByteArray number = QByteArray::number(row);
            QVERIFY(exchange(client, "log --read=" + number + "\r\n").contains(log.at(row)));
        }
        QCOMPARE(simulator.control("memory").size(), 1024);
        QVERIFY(exchange(client, "eeprom --read_block 7\r\n")
                    .contains(simulator.control("memory 7").value(0)));
        exchange(client, "date 2030-01-02T03:04:05\r\n");
        QVERIFY(simulator.control("clock").value(0).startsWith("2030-01-02T03:04:"));
        simulator.control("health 12%");
        QVERIFY(exchange(client, "show health\r\n").contains("health=12%\r\n"));
        simulator.control("meas-state 4");
        QVERIFY(exchange(client, "show meas_state\r\n").contains("meas_state=4\r\n"));

        for (const char *wrong :
             {"nonsense", "", "fault thunder", "setting nonsense", "memory 1024", "image-size x",
              "set nonsense=1", "meas-state x"}) {
            simulator.control(wrong);
            QVERIFY2(!simulator.succeeded(), wrong);
        }
        simulator.control("image-size 5");
        simulator.control("restart");
        QVERIFY(simulator.succeeded());
        QVERIFY(client.waitForEnd("BOOT"));
        QCOMPARE(simulator.state("mode"), QByteArray("bootloader"));
        QCOMPARE(exchange(client, "b12345", ".").left(1), QByteArray("."));
    }

    void acceptsFaultsWhileItRuns()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--fault"), text("lost-byte@1:1")}));
        PortClient client(simulator.port());
        QVERIFY(exchange(client, "show hwver\r\n").contains("\r\nhow: hwver"));
        QVERIFY(simulator.fault("unknown-model@next"));
        QVERIFY(exchange(client, "show model\r\n").contains("KVT-900"));
        QVERIFY(simulator.fault("silence"));
        client.write("show hwver\r\n");
        QVERIFY(!client.waitForEnd("$ ", 300));
        simulator.control("fault clear");
        QVERIFY(exchange(client, "show hwver\r\n").contains("show: hwver=B\r\n"));
    }

    void hangsUpAndResumes()
    {
        QTemporaryDir folder;
        const QString link = folder.filePath(text("port"));
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--link"), link, text("--fault"), text("hangup@2:6")}));
        {
            PortClient client(simulator.port());
            exchange(client, "show hwver\r\n");
            client.write("show hwver\r\n");
            QVERIFY(client.waitForHangUp());
            QCOMPARE(client.received(), QByteArray("show hwver\r\nshow: "));
        }
        QCOMPARE(simulator.state("port"), QByteArray());
        QVERIFY(simulator.resume());
        QCOMPARE(QFile::symLinkTarget(link), simulator.port());
        PortClient client(link);
        QVERIFY(exchange(client, "show hwver\r\n").contains("show: hwver=B\r\n"));
        simulator.hangUp();
        QVERIFY(client.waitForHangUp());
    }

    void reservesTheNumberOfAClosedLine()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start());
        const QString dead = simulator.port();
        simulator.hangUp();
        SimulatorProcess other;
        QVERIFY(other.start());
        QVERIFY(other.port() != dead);
        QVERIFY(simulator.resume());
        QVERIFY(simulator.port() != dead);
        QVERIFY(!PortClient(dead).isOpen());
    }

    void releasesThePortOfAKilledClient()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start());
        const PortClient observer(simulator.port());
        {
            const PortClient client(simulator.port());
            QCOMPARE(ioctl(client.descriptor(), TIOCEXCL), 0);
        }
        int exclusive = 0;
        QCOMPARE(ioctl(observer.descriptor(), TIOCGEXCL, &exclusive), 0);
        QCOMPARE(exclusive, 1);
        QVERIFY(simulator.release());
        QCOMPARE(ioctl(observer.descriptor(), TIOCGEXCL, &exclusive), 0);
        QCOMPARE(exclusive, 0);
    }

    void writesAnEventLog()
    {
        QTemporaryDir folder;
        const QString file = folder.filePath(text("journal"));
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--journal"), file, text("--fault"), text("nul@2")}));
        PortClient client(simulator.port());
        exchange(client, "\r\nshow hwver\r\n", "B\r\nKVT $ ");
        exchange(client, "eeprom --write_block 3\r\n" + QByteArray(64, 'x'), "Done\r\nKVT $ ");
        simulator.hangUp();
        QCOMPARE(contentsOf(file),
                 "port " + simulator.port().toLatin1()
                     + "\ncommand show hwver\ncommand eeprom --write_block 3\nfault nul@2\n"
                       "raw 64 bytes for block 3\nhangup\n");
    }

    void sendsAtTheLinesRate()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--rate"), text("9600")}));
        PortClient client(simulator.port());
        QElapsedTimer timer;
        timer.start();
        const QByteArray answer = exchange(client, "eeprom --read_block 0\r\n");
        QVERIFY(answer.size() > 150);
        QVERIFY(timer.elapsed() >= answer.size() * 10 * 1000 / 9600);
    }

    void survivesNoiseOnTheLine()
    {
        SimulatorProcess simulator;
        QVERIFY(simulator.start({text("--rate"), text("0"), text("--reboot-ms"), text("10")}));
        PortClient client(simulator.port());
        quint32 state = 12345;
        for (int part = 0; part < 200; ++part) {
            QByteArray noise;
            for (int index = 0; index < 200; ++index) {
                state = state * 1664525U + 1013904223U;
                noise += static_cast<char>(state >> 24);
            }
            QVERIFY(client.writeAll(noise));
        }
        QVERIFY(exchange(client, "\r\nshow hwver\r\n", "show: hwver=B\r\nKVT $ ")
                    .contains("show: hwver=B\r\n"));
    }
};

KV_TEST_CORE_MAIN(TestKvtSimulator)

#include "tst_kvtsimulator.moc"
