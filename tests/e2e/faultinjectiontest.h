// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/e2e/faultexpectations.h"
#include "tests/kit/environmentfaults.h"
#include "tests/kit/pseudoterminal.h"
#include "tests/kit/toolfixture.h"

#include <QtCore/QTimer>

/// Runs user actions under faults, with the whole tool and its real window, and compares what the
/// user sees with the expectation.
class FaultInjectionTest : public ToolFixture
{
    Q_OBJECT

public:
    FaultInjectionTest();

private slots:
    void initTestCase() { prepareApplication(); }
    void init();
    void cleanup();
    void everydayWorkEndsAsExpected_data();
    void everydayWorkEndsAsExpected() { runRow(); }
    void longJobsEndAsExpected_data();
    void longJobsEndAsExpected() { runRow(); }
    void firmwareUpdatesEndAsExpected_data();
    void firmwareUpdatesEndAsExpected() { runRow(); }
    void actionsWithoutADeviceEndAsExpected_data();
    void actionsWithoutADeviceEndAsExpected() { runRow(); }
    void everyPairHasAnExpectation() { m_matrix.verify(23 * 16); }
    void cleanupTestCase() { QVERIFY(m_matrix.saveTables()); }

private:
    void runRow();
    QByteArray runLineFault();
    bool startTools();
    bool prepareDevice();
    bool injectLineFault();
    QByteArray simulatorFault() const;
    const char *affectedCommand() const;
    QByteArray lineOutcome();
    QByteArray recovery();
    bool reconnect();
    int timeoutMs(SerialPortJobType type) const;
    void shortenTimeouts();
    void cancelStalledDialog();
    void gatherChunks();
    bool isStalled();
    bool isQuiet();

    // useractions.cpp: performing the action and checking its result.
    static QByteArray firmwareImage();
    void perform();
    void poll();
    void updateFirmware();
    void restartForUpdate();
    void answerFileDialog(const char *caption, const char *name);
    void openGraph();
    void exportMeasurements();
    QByteArray closeProgram();
    QByteArray outcome();
    QByteArray readingOutcome();
    QByteArray synchronizeOutcome();
    bool hasTakenEffect();
    bool isConnectedCorrectly();
    bool isDevicesLog();
    bool isDevicesMemory();
    bool graphShowsHistory();
    QStringList storedValues();
    QStringList deviceValues();

    // diskfaults.cpp: faults of files and folders.
    QByteArray runDiskFault();
    QByteArray startUnderDiskFault();
    QByteArray useHistoryUnderDiskFault();
    QByteArray saveUnderDiskFault();
    QByteArray storeUnderDiskFault();
    bool writeHistory();
    bool injectDiskFault();
    bool damageStore();
    void removeDiskFault();
    QByteArray fileOutcome(const QString &path);
    QByteArray reports();
    QByteArray logSuffix() const;

    FaultMatrix m_matrix = userFaultMatrix();
    QTimer m_watch; ///< handles time-outs and dialogs in any event loop

    // Of the pair that is being run.
    FaultKind m_fault = {};
    UserAction m_action = {};
    Expectation m_expected;
    bool m_shortensTimeouts = false; ///< jobs have the pair's time-outs instead of their own
    bool m_cancelled = false; ///< a wait dialog had to be cancelled
    QElapsedTimer m_waiting;
    QStringList m_boxes; ///< texts of the message boxes, without questions
    QStringList m_warnings; ///< of the log
    QByteArray m_memoryBefore;
    int m_readingsBefore = 0;
    QStringList m_firstValues; ///< that the device gave to the first of two polls
    std::unique_ptr<PseudoTerminal> m_terminal; ///< in the device's place
    std::unique_ptr<PortInUseScope> m_portInUse;
    std::unique_ptr<DropPrivilegesScope> m_dropPrivileges;
    std::unique_ptr<FullDiskScope> m_fullDisk;
    std::unique_ptr<LockedDatabaseScope> m_lockedDatabase;
};
