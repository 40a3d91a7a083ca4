// SPDX-License-Identifier: GPL-3.0-or-later
// KV Tool with a simulated transmitter in its port list.
#include "demo/startdemo.h"
#include "simulator/externalevents.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QLockFile>
#include <QtCore/QTextStream>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>

namespace {

/// The value of --output. It is needed before the application object exists, which the parser
/// requires.
QString outputFolder(int argc, char *argv[])
{
    for (int index = 1; index + 1 < argc; ++index) {
        if (qstrcmp(argv[index], "--output") == 0) {
            return QDir().absoluteFilePath(QString::fromLocal8Bit(argv[index + 1]));
        }
    }
    return QDir().absoluteFilePath(QStringLiteral("demo-output/interactive"));
}

/// Locks @p folder for this process. Returns false, after a message, if another demo uses it: two
/// simulated transmitters would overwrite each other's state there.
bool lockFolder(QLockFile &lock, const QString &folder)
{
    lock.setStaleLockTime(0); // A demo may run for days; the lock of a killed one is still removed.
    if (lock.tryLock()) {
        return true;
    }
    QMessageBox box(QMessageBox::Warning, QStringLiteral("KV Tool Demo"),
                    QStringLiteral("The folder %1 can't be used, or another demo is using it.")
                        .arg(QDir::toNativeSeparators(folder)),
                    QMessageBox::Ok);
    box.setTextFormat(Qt::PlainText);
    box.exec();
    return false;
}

/// Runs until the window is closed or the process is terminated, for example by Ctrl+C. Either
/// closes the port, ends the simulator's process and returns 0.
int run(const QString &folder)
{
    QLockFile lock(folder + QLatin1String("/demo.lock"));
    if (!lockFolder(lock, folder)) {
        return 1;
    }
    ToolObjects tool;
    SimulatorProcess device(QCoreApplication::applicationDirPath()
                            + QLatin1String("/kvt-simulator"));
    bool terminated = false;
    Simulator::ExternalEvents events;
    events.watchSignals();
    QObject::connect(&events, &Simulator::ExternalEvents::terminated, qApp, [&terminated] {
        terminated = true;
        // Also ends the event loops of open dialogs.
        QCoreApplication::quit();
    });
    if (!startDemo(tool, device, folder)) {
        return 1;
    }
    if (terminated) {
        return 0;
    }
    QTextStream(stdout) << "A simulated transmitter is selected in the port list: press Connect.\n"
                        << "The demo stores its files in " << folder << '\n';
    tool.window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    const QString folder = outputFolder(argc, argv);
    prepareDemo(folder);
    const QApplication application(argc, argv);

    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({QStringLiteral("output"),
                      QStringLiteral("Folder for all files; demo-output/interactive by default."),
                      QStringLiteral("folder")});
    parser.process(application);
    return run(folder);
}
