// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own main function, run inside the test.
#define main toolMain
#include "main/main.cpp"
#undef main

#include "tests/kit/simulatorprocess.h"
#include "tests/kit/testmain.h"

#include <QtCore/QSettings>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QPushButton>
#include <memory>

namespace {

QString port;
bool portWasOpen = false;

bool isOpen(const QString &path)
{
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    for (const QFileInfo &descriptor : descriptors.entryInfoList(QDir::Files | QDir::System)) {
        if (descriptor.symLinkTarget() == path) {
            return true;
        }
    }
    return false;
}

/// Connects to a simulated device, and closes the main window once the connection is established.
class ConnectThenClose : public QObject
{
public:
    ConnectThenClose()
        : QObject(qApp)
    {
        startTimer(20);
    }

protected:
    void timerEvent(QTimerEvent *) override
    {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window->inherits("QMainWindow") && window->isVisible()) {
                use(window);
                return;
            }
        }
    }

private:
    void use(QWidget *window)
    {
        if (!m_device) {
            m_device = std::make_unique<SimulatorProcess>();
            m_device->start();
            port = m_device->port();
            auto *const ports = window->findChild<QComboBox *>(QStringLiteral("serialPorts"));
            ports->clear();
            ports->addItem(QString(), port);
            window->findChild<QPushButton *>(QStringLiteral("connectButton"))->click();
        } else if (window->findChild<QPushButton *>(QStringLiteral("readLogButton"))->isEnabled()) {
            portWasOpen = isOpen(port);
            window->close();
        }
    }

    std::unique_ptr<SimulatorProcess> m_device;
};

void driveTheProgram()
{
    new ConnectThenClose;
}
Q_COREAPP_STARTUP_FUNCTION(driveTheProgram)

} // namespace

class TestOpenPort : public QObject
{
    Q_OBJECT

private slots:
    void closingTheWindowEndsTheProgramAndClosesThePort()
    {
        QVERIFY(QFile::copy(testpaths::sourceFile("settings.xml"), QStringLiteral("settings.xml")));
        QSettings(QStringLiteral("Orvanta"), QStringLiteral("Kv tool"))
            .setValue(QStringLiteral("local storage path"), QDir::currentPath());
        const PlatformMessageFilter filter;
        char name[] = "kvtool";
        char *arguments[] = {name, nullptr};
        QCOMPARE(toolMain(1, arguments), 0);
        QVERIFY(portWasOpen);
        QVERIFY(!isOpen(port));
    }
};

int main(int argc, char *argv[])
{
    TestHome home;
    TestOpenPort test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_openport.moc"
