// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/kit/text.h"

#include <QtTest/QtTest>
#include <initializer_list>

/// A button of the main window, the title of the dialog that it leads to, and for a wait dialog
/// the beginning of the command that the device then gets.
struct DialogRow
{
    const char *name;
    const char *button;
    const char *title;
    const char *command;
};

/// The wait dialogs of long jobs.
inline constexpr DialogRow waitDialogRows[] = {
    {"log", "readLogButton", "Reading log, please wait", "log --read="},
    {"write", "writeToEepromButton", "Writing data to eeprom, please wait", "write --really"},
    {"clock", "syncClockButton", "Setting device clock, please wait", "date 2"},
    {"backup", "backupEepromButton", "Waiting for eeprom backup to be created from the device",
     "eeprom --read_block"},
    {"restore", "restoreEepromButton",
     "Waiting for eeprom backup to be written to device from file", "eeprom --write_block"},
};

/// One dialog of each other kind.
inline constexpr DialogRow otherDialogRows[] = {
    {"question", "eraseLogButton", "Clear log", ""},
    {"file dialog", "backupEepromButton", "Select where to write eeprom backup", ""},
    {"export dialog", "exportLocalMeasurementsButton", "Select measurements to export", ""},
};

/// For _data functions: the columns button, title and command.
inline void addDialogColumns()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QByteArray>("command");
}

inline void addDialogRow(const DialogRow &row)
{
    QTest::addRow("%s", row.name) << QByteArray(row.button) << text(row.title)
                                  << QByteArray(row.command);
}
