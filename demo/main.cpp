// SPDX-License-Identifier: GPL-3.0-or-later
// The tool with a simulated transmitter in its port list; with --headless it walks the tour.
#include "demo/demotool.h"
#include "demo/tour.h"
#include "simulator/processevents.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QTextStream>
#include <QtWidgets/QApplication>

namespace {

void keepQuiet(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type != QtDebugMsg) {
        QTextStream(stderr) << message << '\n';
    }
}

/// The folder behind --output, needed before there is an application object that could parse it.
QString outputFolder(int argc, char *argv[])
{
    for (int index = 1; index + 1 < argc; ++index) {
        if (qstrcmp(argv[index], "--output") == 0) {
            return QDir().absoluteFilePath(QString::fromLocal8Bit(argv[index + 1]));
        }
    }
    return QDir().absoluteFilePath(QStringLiteral("demo-output"));
}

QPalette darkPalette()
{
    const QColor window(49, 54, 59);
    const QColor text(239, 240, 241);
    QPalette palette(window);
    palette.setColor(QPalette::Base, QColor(35, 38, 41));
    palette.setColor(QPalette::AlternateBase, window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, text.darker(180));
    }
    palette.setColor(QPalette::Highlight, QColor(61, 174, 233));
    return palette;
}

bool start(DemoTool &tool, const QString &folder)
{
    return tool.start({QStringLiteral("--model"), QStringLiteral("KVT-100"),
                       QStringLiteral("--log-rows"), QStringLiteral("150"),
                       QStringLiteral("--clock-offset"), QStringLiteral("-86400"),
                       QStringLiteral("--image"), folder + QLatin1String("/received.bin"),
                       QStringLiteral("--state"), folder + QLatin1String("/device.state")});
}

/// Until the window is closed or the process is asked to end, by Ctrl+C for instance. Both are a
/// good end: the port is closed, and the simulator's process goes with the tool.
int showWindow(DemoTool &tool, const QString &folder)
{
    bool ended = false;
    Simulator::ProcessEvents events;
    events.watchSignals();
    QObject::connect(&events, &Simulator::ProcessEvents::terminated, qApp, [&ended] {
        ended = true;
        // The loops of open dialogs end with it.
        QCoreApplication::quit();
    });
    if (!start(tool, folder)) {
        return 1;
    }
    if (ended) {
        return 0;
    }
    QTextStream(stdout) << "A simulated transmitter is selected in the port list: press Connect.\n"
                        << "Everything that the demo keeps is in " << folder << '\n';
    tool.window().show();
    return QApplication::exec();
}

int walk(DemoTool &tool, const QString &folder, bool (Tour::*way)())
{
    if (!start(tool, folder)) {
        return 1;
    }
    Tour tour(tool, folder);
    const bool passed = (tour.*way)();
    QTextStream(stdout) << (passed ? "Every step worked" : "The tour stopped at a step that failed")
                        << "; files and pictures are in " << folder << '\n';
    tool.window().close();
    return passed ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    const QString folder = outputFolder(argc, argv);
    DemoTool::separateFromUser(folder);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    qInstallMessageHandler(keepQuiet);

    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption headless(QStringLiteral("headless"),
                                      QStringLiteral("Walk the tour, then end."));
    const QCommandLineOption looks(QStringLiteral("looks"),
                                   QStringLiteral("Take pictures of each window, then end."));
    const QCommandLineOption dark(QStringLiteral("dark"), QStringLiteral("Light on dark."));
    parser.addOptions({headless, looks, dark});
    parser.addOption({QStringLiteral("output"), QStringLiteral("Folder for all files."),
                      QStringLiteral("folder")});
    parser.process(application);
    if (parser.isSet(dark)) {
        QApplication::setPalette(darkPalette());
    }

    DemoTool tool(folder);
    if (parser.isSet(looks)) {
        return walk(tool, folder, &Tour::showLooks);
    }
    return parser.isSet(headless) ? walk(tool, folder, &Tour::run) : showWindow(tool, folder);
}
