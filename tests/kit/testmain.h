// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/testhome.h"

#include <QtTest/QtTest>
#include <QtWidgets/QApplication>

/// Suppresses the messages in which the offscreen platform says what it can't do for a window or a
/// popup; they say nothing about the program. All others go on to the test log, which must be
/// installed before.
class PlatformMessageFilter
{
public:
    PlatformMessageFilter();
    ~PlatformMessageFilter();
    Q_DISABLE_COPY(PlatformMessageFilter)
};

/// Runs the functions of @p test with the filter above; the number of failed ones.
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
