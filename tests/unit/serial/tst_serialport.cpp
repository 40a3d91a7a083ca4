// SPDX-License-Identifier: GPL-3.0-or-later
#include "serial/serialport.h"
#include "serial/serialportjobconnect.h"
#include "serial/serialportqueue.h"
#include "tests/kit/pseudoterminal.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"

#include <QtTest/QtTest>

namespace {

// The letters that have other codes on the device.
const QString convertedLetters = text("\u00e4\u00f6\u00c4\u00d6\u00e5\u00c5");

void expectOpenMessages(const QString &name, const char *outcome)
{
    const QByteArray opening = "Opening port \"" + name.toLocal8Bit() + '"';
    QTest::ignoreMessage(QtDebugMsg, opening.constData());
    QTest::ignoreMessage(QtDebugMsg, outcome);
}

// All the text that a port has emitted so far.
QString received(const QSignalSpy &spy)
{
    QString all;
    for (const QList<QVariant> &arguments : spy) {
        all += arguments.first().toString();
    }
    return all;
}

} // namespace

class TestSerialPort : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_received.clear();
        m_device.reset(new PseudoTerminal);
        QVERIFY(!m_device->path().isEmpty());
        m_port.reset(new SerialPort(m_device->path(), nullptr));
        expectOpenMessages(m_port->portName(), "Port opened!");
        QVERIFY(m_port->open());
    }

    void isClosedUntilItIsOpened()
    {
        SerialPort port(m_device->path(), nullptr);
        QVERIFY(!port.isOpen());
        QVERIFY(m_port->isOpen());
    }

    void returnsThePortNameWithoutItsFolder()
    {
        SerialPort port(text("ttyUSB7"), this);
        QCOMPARE(port.portName(), text("ttyUSB7"));
        QCOMPARE(port.parent(), this);
        // On Linux the name is the location without its folder.
        QCOMPARE(SerialPort(text("/dev/ttyUSB7"), nullptr).portName(), text("ttyUSB7"));
    }

    void setsTheLineTo115200Baud8N1WithoutFlowControl()
    {
        const termios line = m_device->lineSettings();
        QCOMPARE(cfgetospeed(&line), speed_t(B115200));
        QCOMPARE(cfgetispeed(&line), speed_t(B115200));
        QCOMPARE(line.c_cflag & tcflag_t(CSIZE), tcflag_t(CS8));
        QCOMPARE(line.c_cflag & tcflag_t(PARENB), tcflag_t(0));
        QCOMPARE(line.c_cflag & tcflag_t(CSTOPB), tcflag_t(0));
        QCOMPARE(line.c_cflag & tcflag_t(CRTSCTS), tcflag_t(0));
        QCOMPARE(line.c_iflag & tcflag_t(IXON | IXOFF), tcflag_t(0));
    }

    void reportsAPortThatCannotBeOpened()
    {
        SerialPort port(QDir::current().filePath(text("nothing")), nullptr);
        QSignalSpy error(&port, &SerialPort::error);
        expectOpenMessages(port.portName(), "Port open failed!");
        QVERIFY(!port.open());
        QCOMPARE(error.count(), 1);
        // Quirk: the message is that of the close() after the failed open().
        QCOMPARE(error.first().first().toString(), QSerialPort::tr("Device is not open"));
        QVERIFY(!port.isOpen());
    }

    void secondOpenFailsAndClosesThePort()
    {
        QSignalSpy error(m_port.data(), &SerialPort::error);
        expectOpenMessages(m_port->portName(), "Port open failed!");
        QVERIFY(!m_port->open());
        QCOMPARE(error.count(), 1);
        QCOMPARE(error.first().first().toString(), QSerialPort::tr("Device is already open"));
        // The failure has closed the port.
        QVERIFY(!m_port->isOpen());
    }

    void opensAgainAfterAClose()
    {
        m_port->close();
        QVERIFY(!m_port->isOpen());
        expectOpenMessages(m_port->portName(), "Port opened!");
        QVERIFY(m_port->open());
        QVERIFY(m_port->isOpen());
        m_port->write(text("x"));
        QCOMPARE(receivedByDevice(1), QByteArray("x"));
    }

    void sendsFromTheEventLoop()
    {
        m_port->write(text("text"));
        m_port->write(QByteArray("bytes"));
        QCOMPARE(m_device->read(), QByteArray());
        QCOMPARE(receivedByDevice(9), QByteArray("textbytes"));
    }

    void sendsImmediatelyOnAFlush()
    {
        m_port->write(text("text"));
        m_port->flush();
        QCOMPARE(m_device->read(), QByteArray("text"));
    }

    void sendsTextInTheDevicesCharacterSet()
    {
        m_port->write(text("\r\nshow swver\r\n\u00e9"));
        m_port->write(convertedLetters);
        QCOMPARE(receivedByDevice(21),
                 QByteArray("\r\nshow swver\r\n\xe9\x84\x94\x8e\x99\x86\x8f"));
    }

    void sendsEveryByteUnchanged()
    {
        QByteArray bytes;
        for (int value = 0; value < 256; ++value) {
            bytes.append(static_cast<char>(value));
        }
        m_port->write(bytes);
        QCOMPARE(receivedByDevice(bytes.size()), bytes);
    }

    void emitsReceivedText_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        QTest::addRow("ASCII") << QByteArray("\r\n$ show") << text("\r\n$ show");
        const char controls[] = "\r-\x11-\x13-\x03-\x7f";
        QTest::addRow("control characters") << QByteArray(controls) << text(controls);
        QTest::addRow("up to the first NUL") << QByteArray("abc\0def\0g", 9) << text("abc");
        QTest::addRow("leading NUL") << QByteArray("\0abc", 4) << QString();
        QTest::addRow("converted letters in UTF-8")
            << QByteArray("\xc2\x84\xc2\x94\xc2\x8e\xc2\x99\xc2\x86\xc2\x8f") << convertedLetters;
        QTest::addRow("UTF-8") << QByteArray("\xc2\xb5g/m\xc2\xb3") << text("\u00b5g/m\u00b3");
        QTest::addRow("incomplete UTF-8 sequence") << QByteArray("<\xc2") << text("<\ufffd");
        QTest::addRow("invalid UTF-8") << QByteArray("<\x84>") << text("<\ufffd>");
    }
    void emitsReceivedText()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, expected);
        QSignalSpy dataReady(m_port.data(), &SerialPort::dataReady);
        QVERIFY(m_device->write(bytes));
        QTRY_COMPARE(dataReady.count(), 1);
        QCOMPARE(dataReady.first().first().toString(), expected);
    }

    void emitsEachChunkSeparately()
    {
        QSignalSpy dataReady(m_port.data(), &SerialPort::dataReady);
        QVERIFY(m_device->write(QByteArray("lost\0tail", 9)));
        QTRY_COMPARE(dataReady.count(), 1);
        QVERIFY(m_device->write("next"));
        QTRY_COMPARE(dataReady.count(), 2);
        QCOMPARE(received(dataReady), text("lostnext"));
    }

    void emitsNoSignalWhenTheDeviceHangsUp()
    {
        QSignalSpy error(m_port.data(), &SerialPort::error);
        QSignalSpy dataReady(m_port.data(), &SerialPort::dataReady);
        QVERIFY(m_device->write("last words"));
        QTRY_COMPARE(received(dataReady), text("last words"));
        m_device->hangUp();
        QVERIFY(!error.wait(50));
        QCOMPARE(received(dataReady), text("last words"));
    }

    void emitsNoSignalWhenAWriteFails()
    {
        SerialPort port(text("ttyNone"), nullptr);
        QSignalSpy error(&port, &SerialPort::error);
        const char *warning = "QIODevice::write (QSerialPort): device not open";
        QTest::ignoreMessage(QtWarningMsg, warning);
        port.write(text("x"));
        QTest::ignoreMessage(QtWarningMsg, warning);
        port.write(QByteArray("x"));
        QCOMPARE(error.count(), 0);
    }

    void canBeReplacedInsideDataReady_data()
    {
        QTest::addColumn<bool>("inNestedLoop");
        QTest::addRow("directly") << false;
        QTest::addRow("in a nested event loop, as a message box runs") << true;
    }

    // QSerialPort writes to its members after readyRead(), so it must outlive the transport.
    void canBeReplacedInsideDataReady()
    {
        QFETCH(bool, inNestedLoop);

        // The notifier of the open port is the child of the transport's QSerialPort.
        class NotifierFinder : public QObject
        {
        public:
            QPointer<QSerialPort> port;
            bool outlivesTransport = false;

        protected:
            bool eventFilter(QObject *object, QEvent *event) override
            {
                auto *parent = qobject_cast<QSerialPort *>(object->parent());
                if (event->type() == QEvent::SockAct && parent && !port) {
                    port = parent;
                    // After the slot of the transport.
                    connect(parent, &QIODevice::readyRead, this,
                            [this] { outlivesTransport = true; });
                }
                return false;
            }
        } finder;
        QCoreApplication::instance()->installEventFilter(&finder);

        SerialPortQueue queue;
        queue.setSerialPort(QSharedPointer<SerialPortInterface>(m_port.take()));
        bool wasReplaced = false;
        connect(&queue, &SerialPortQueue::jobFinished, &queue, [&] {
            const auto replace = [&] {
                const QWeakPointer<SerialPortInterface> replaced = queue.serialPort();
                queue.setSerialPort(
                    QSharedPointer<SerialPortInterface>(new SerialPort(m_device->path(), nullptr)));
                wasReplaced = replaced.isNull();
            };
            if (inNestedLoop) {
                QEventLoop loop;
                QTimer::singleShot(0, &loop, [&] {
                    replace();
                    QTimer::singleShot(0, &loop, &QEventLoop::quit);
                });
                loop.exec();
            } else {
                replace();
            }
        });
        queue.addJob(QSharedPointer<SerialPortJobInterface>(
            new SerialPortJobConnect(queue.serialPort().data())));
        QVERIFY(m_device->write("\r\n$ show swver\r\nshow: swver=1.2.3\r\n$ "));
        QTRY_VERIFY(wasReplaced);
        QVERIFY(finder.outlivesTransport);
        QTRY_VERIFY(finder.port.isNull());
        expectOpenMessages(queue.portName(), "Port opened!");
        QVERIFY(queue.open());
    }

private:
    // Waits until the device has received that many bytes in all, and returns them.
    QByteArray receivedByDevice(int length)
    {
        const bool complete = QTest::qWaitFor([this, length] {
            m_received += m_device->read();
            return m_received.size() >= length;
        });
        Q_UNUSED(complete) // the caller compares the bytes
        return m_received;
    }

    QScopedPointer<PseudoTerminal> m_device;
    QScopedPointer<SerialPort> m_port;
    QByteArray m_received;
};

KV_TEST_CORE_MAIN(TestSerialPort)
#include "tst_serialport.moc"
