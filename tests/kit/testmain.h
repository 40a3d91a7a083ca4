// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/testhome.h"

#include <QtTest/QtTest>
#include <QtWidgets/QApplication>

/// Suppresses the messages of the offscreen platform about features that it does not support; they
/// do not concern the program. All others are passed to the message handler of the test log, which
/// must be installed before.
class PlatformMessageFilter
{
public:
    PlatformMessageFilter();
    ~PlatformMessageFilter();
    Q_DISABLE_COPY(PlatformMessageFilter)
};

/// Runs the functions of @p test with the filter above and returns the number of failures.
int runTest(QObject *test, int argc, char *argv[]);

/// The main function of a test program that needs windows.
#define KV_TEST_MAIN(TestClass)               \
    int main(int argc, char *argv[])          \
    {                                         \
        TestHome home;                        \
        QApplication application(argc, argv); \
        TestClass test;                       \
        return runTest(&test, argc, argv);    \
    }

/// The main function of a test program without windows.
#define KV_TEST_CORE_MAIN(TestClass)              \
    int main(int argc, char *argv[])              \
    {                                             \
        TestHome home;                            \
        QCoreApplication application(argc, argv); \
        TestClass test;                           \
        return QTest::qExec(&test, argc, argv);   \
    }
