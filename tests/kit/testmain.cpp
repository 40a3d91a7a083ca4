// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"

namespace {

QtMessageHandler testLogHandler = nullptr;

void filterMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (!message.startsWith(QLatin1String("This plugin does not support "))) {
        testLogHandler(type, context, message);
    }
}

} // namespace

PlatformMessageFilter::PlatformMessageFilter()
{
    testLogHandler = qInstallMessageHandler(filterMessage);
}

PlatformMessageFilter::~PlatformMessageFilter() { qInstallMessageHandler(testLogHandler); }

int runTest(QObject *test, int argc, char *argv[])
{
    QTest::qInit(test, argc, argv);
    int failed = 0;
    {
        const PlatformMessageFilter filter;
        failed = QTest::qRun();
    }
    QTest::qCleanup();
    return failed;
}
