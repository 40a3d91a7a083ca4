// SPDX-License-Identifier: GPL-3.0-or-later
// Usage: kvtool-tour <folder>
// Runs the scripted tour with all its files in the folder; exits with 0 when every step worked.
#include "tests/e2e/tour/tour.h"
#include "tests/kit/testhome.h"

#include <QtCore/QDir>
#include <QtCore/QTextStream>

namespace {

void suppressDebugMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type != QtDebugMsg) {
        QTextStream(stderr) << message << '\n';
    }
}

} // namespace

int main(int argc, char *argv[])
{
    const QString name = argc == 2 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (name.isEmpty() || name.startsWith(QLatin1Char('-'))) {
        QTextStream(stderr) << "Usage: kvtool-tour <folder>\n";
        return 2;
    }
    const QString folder = QDir().absoluteFilePath(name);
    TestHome::useFolders(folder + QLatin1String("/user"));
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QApplication application(argc, argv);
    qInstallMessageHandler(suppressDebugMessages);
    Tour tour(folder);
    return tour.run() ? 0 : 1;
}
