// SPDX-License-Identifier: GPL-3.0-or-later
// The tool with a simulated transmitter in its port list; with --headless it walks the tour.
#include "demo/demotool.h"
#include "demo/tour.h"

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

int showWindow(DemoTool &tool, const QString &folder)
{
    QTextStream(stdout) << "A simulated transmitter is selected in the port list: press Connect.\n"
                        << "Everything that the demo keeps is in " << folder << '\n';
    tool.window().show();
    return QApplication::exec();
}

int walkTour(DemoTool &tool, const QString &folder)
{
    Tour tour(tool, folder);
    const bool passed = tour.run();
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
    parser.addOption(headless);
    parser.addOption({QStringLiteral("output"), QStringLiteral("Folder for all files."),
                      QStringLiteral("folder")});
    parser.process(application);

    DemoTool tool(folder);
    if (!tool.start({QStringLiteral("--model"), QStringLiteral("KVT-100"),
                     QStringLiteral("--log-rows"), QStringLiteral("150"),
                     QStringLiteral("--clock-offset"), QStringLiteral("-86400"),
                     QStringLiteral("--image"), folder + QLatin1String("/received.bin"),
                     QStringLiteral("--state"), folder + QLatin1String("/device.state")})) {
        return 1;
    }
    return parser.isSet(headless) ? walkTour(tool, folder) : showWindow(tool, folder);
}
