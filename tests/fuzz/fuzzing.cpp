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

/// Called by libFuzzer before the first input. Turns off log messages, which would take most of the
/// time, and constructs the application object.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    qInstallMessageHandler(onMessage);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Never deleted: otherwise Qt's static objects would be destroyed before it.
    static auto *const application = new QApplication(*argc, *argv);
    application->setQuitOnLastWindowClosed(false);
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    return 0;
}
