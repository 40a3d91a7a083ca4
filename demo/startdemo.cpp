// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/startdemo.h"

#include "demo/history.h"
#include "tests/kit/testhome.h"

#include <QtCore/QDebug>
#include <QtCore/QDir>
#include <QtCore/QTextStream>
#include <QtWidgets/QApplication>

void prepareDemo(const QString &folder)
{
    TestHome::useFolders(folder + QLatin1String("/user"));
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &message) {
        if (type != QtDebugMsg) {
            QTextStream(stderr) << message << '\n';
        }
    });
}

bool startDemo(ToolObjects &tool, SimulatorProcess &device, const QString &folder,
               const QStringList &options)
{
    const QDir files(folder);
    // The clock is one day behind, so that setting it has a visible effect.
    const QStringList defaultOptions{
        QStringLiteral("--model"),        QStringLiteral("KVT-100"),
        QStringLiteral("--log-rows"),     QStringLiteral("150"),
        QStringLiteral("--clock-offset"), QStringLiteral("-86400"),
        QStringLiteral("--image"),        files.filePath(QStringLiteral("received.bin")),
        QStringLiteral("--state"),        files.filePath(QStringLiteral("device.state"))};
    if (!device.start(defaultOptions + options)) {
        qWarning() << "The simulated transmitter did not start";
        return false;
    }
    const QString database = files.filePath(QStringLiteral("measurements.db"));
    if (!QFile::exists(database) && !writeHistory(tool.storage, database, device)) {
        qWarning() << "The history could not be written";
        return false;
    }
    tool.settings.setValue(QStringLiteral("local storage path"), folder);
    if (!tool.controller.start()) {
        return false;
    }
    tool.addAndSelectPort(QObject::tr("Simulated transmitter"), device.port());
    return true;
}
