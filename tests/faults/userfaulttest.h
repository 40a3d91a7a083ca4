// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/toolfixture.h"
#include "tests/faults/refusals.h"
#include "tests/faults/userfaults.h"
#include "tests/kit/pseudoterminal.h"
#include "tests/kit/reliabilitytable.h"

#include <QtCore/QTimer>

/// Carries out each act of one group under each fault, with the whole tool and its real window, and
/// compares what a person sees of it with what the table demands. Prints the table at its end.
class UserFaultTest : public ToolFixture
{
    Q_OBJECT

protected:
    /// @p part is the name under which the table is kept for docs/reliability.md.
    UserFaultTest(ActGroup group, const QString &part);

private slots:
    void initTestCase() { prepareApplication(); }
    void init();
    void cleanup();
    void seesWhatIsDemanded_data();
    void seesWhatIsDemanded();
    void leavesNoPairOut();
    void cleanupTestCase();

private:
    // The stage.
    QByteArray run(const FaultInfo &fault, const ActInfo &act);
    QByteArray runOnTheLine();
    QByteArray runOnTheDisk();
    bool openTool();
    bool prepareLine();
    bool strikeLine();
    QByteArray strikeText() const;
    const char *struckCommand() const;
    int timeoutMs(SerialPortJobType type) const;
    void watch();
    void hurry();
    void gatherChunks();
    bool isStalled();
    bool isQuiet();
    QByteArray wordsOfTheLine();
    QByteArray recovery();
    bool disconnectAndConnect();

    // The acts.
    void carryOut();
    void poll();
    void updateFirmware();
    void restartForUpdate();
    void saveTo(const char *caption, const QString &path);
    void openGraph();
    void exportMeasurements();
    QByteArray closeWindow();
    QByteArray outcome();
    QByteArray outcomeOfReading();
    QByteArray outcomeOfSynchronize();
    bool isTrue();
    bool isConnectedRightly();
    bool isOwnLog();
    bool isOwnMemory();
    bool graphShowsHistory();
    QStringList storedValues();
    QStringList deviceValues();

    // The disk.
    QByteArray startOnTheDisk();
    QByteArray lookBackOnTheDisk();
    QByteArray saveOnTheDisk();
    QByteArray storeOnTheDisk();
    bool writeHistory();
    bool strikeDisk();
    void healDisk();
    bool canHeal() const;
    bool spoilStore(Fault fault);
    QByteArray told();

    ActGroup m_group;
    QString m_part;
    ReliabilityTable m_table;
    int m_seen = 0; ///< pairs that have been run

    // Of the pair that is being run.
    FaultInfo m_fault = {};
    ActInfo m_act = {};
    QTimer m_watch;
    bool m_hurrying = false; ///< jobs have the time-outs of the pair, not their own
    bool m_cancelled = false; ///< a wait dialog stood until it was cancelled
    QElapsedTimer m_waiting;
    QStringList m_boxes; ///< what message boxes said, questions left out
    QStringList m_warnings; ///< of the log
    QByteArray m_memoryBefore;
    QByteArray m_image;
    int m_readings = 0;
    bool m_exportIsEmpty = false;
    QStringList m_firstValues; ///< that the device gave to the first of two polls
    std::unique_ptr<PseudoTerminal> m_line;
    std::unique_ptr<PortUser> m_portUser;
    std::unique_ptr<OrdinaryUser> m_ordinary;
    std::unique_ptr<FullDisk> m_fullDisk;
    std::unique_ptr<DatabaseUser> m_databaseUser;
};
