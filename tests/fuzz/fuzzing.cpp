// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/fuzzing.h"

#include <QtCore/QTextCodec>
#include <QtWidgets/QApplication>

static void onMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

/// Called by libFuzzer before the first input. Turns off log lines, which would take most of the
/// time, and constructs the application.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qInstallMessageHandler(onMessage);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never deleted: Qt's own static objects are destroyed before it otherwise.
    static auto *const application = new QApplication(*argc, *argv);
    application->setQuitOnLastWindowClosed(false);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    return 0;
}
