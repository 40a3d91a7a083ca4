// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QString>

class MainWindowInterface;
class SettingsInterface;

/// The file dialogs, each with a settings key under which the path of the chosen file is
/// remembered.
class FileSelection
{
    Q_DECLARE_TR_FUNCTIONS(MainWindowController)

public:
    /// Both are not owned and must outlive this.
    FileSelection(MainWindowInterface *window, SettingsInterface *settings);

    /// The path of a file to write; empty when the user cancelled. @p defaultName is proposed until
    /// a path has been remembered.
    QString selectSaveFileName(const QString &defaultName, const QString &settingsKey,
                               const QString &caption, const QString &filter);

    /// The contents of a file to read. Empty when the user cancelled, and, after a message that
    /// calls the file @p label, when it can't be opened or is empty.
    QByteArray readFileWithDialog(const QString &caption, const QString &settingsKey,
                                  const QString &filter, const QString &label);

private:
    MainWindowInterface *m_window;
    SettingsInterface *m_settings;
};
