// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/toolfixture.h"
#include "tests/endurance/monkeydevice.h"
#include "tests/endurance/monkeydice.h"
#include "tests/endurance/monkeyfiles.h"
#include "tests/endurance/monkeyledger.h"
#include "tests/endurance/monkeywatch.h"

#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTimer>
#include <QtCore/QVector>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QMessageBox>

/// A random walk of a user through the whole tool: the real window, a real port with the simulated
/// transmitter behind it, a real store and real files.
///
/// The walk leans to where things happen: it connects when it finds the tool disconnected, starts
/// every operation that there is, lets most of them run and cuts others short. An action may find a
/// modal dialog that an earlier one has opened and that still holds that one up.
class Monkey : public ToolFixture
{
    Q_OBJECT

public:
    struct Options
    {
        unsigned seed = 1;
        int actions = 2000;
        int hangMs = 20000; ///< without a sign of the event loop
    };

    explicit Monkey(const Options &options);

    /// The whole walk, several runs of the program; true when all was well. What is not well at
    /// once ends the process with the walk's trail.
    bool walk();

    /// What was done and seen. False when a walk of this length has to have come further.
    bool report();

private:
    // The program, from start to end.
    void runProgram();
    void prepareStore();
    void prepareModels();
    void checkStore();
    void hurry();

    // One action.
    void step();
    bool isBusyHere() const;
    void observe();
    void observeDialogs(QSet<QString> &states);
    void act();
    bool attendToDevice();
    void rest(int atMostMs);
    void begin(const char *kind);

    // The main window and the graph.
    void actOnWindow();
    void actOnMain();
    void actOnGraph();
    void pressGoal(const char *kind, const char *button);
    void choosePortAndConnect();
    void clickHidden(const char *kind, const char *button);
    void changeUnit();
    void closeMain();
    void fumble(QWidget *window);

    // Dialogs.
    void actOnPopup(QWidget *popup);
    void actOnDialog(QWidget *modal);
    void meet(QWidget *modal);
    void actOnBox(QMessageBox *box);
    void actOnFileDialog(QFileDialog *dialog);
    void answerFileDialog(QFileDialog *dialog);
    void actOnExportDialog(QDialog *dialog);
    void actOnWaitDialog(QDialog *dialog);
    void leave(QWidget *modal);
    static void closeByFrame(QWidget *window);

    bool requireVisits() const;

    Options m_options;
    QTemporaryDir m_home;
    MonkeyDevice m_transmitter;
    MonkeyFiles m_files;
    MonkeyLedger m_ledger;
    MonkeyWatch m_watch;
    QTimer m_next;
    MonkeyDice m_dice;
    int m_done = 0;
    int m_runs = 0;
    int m_connectedActions = 0;
    int m_deepest = 0;
    QVector<int> m_levels; ///< the event loops in which actions are under way
    QPointer<QWidget> m_dialog;
    QString m_dialogTitle;
    int m_dialogAge = 0; ///< in actions
    int m_patience = 0; ///< actions until the dialog is left
};
