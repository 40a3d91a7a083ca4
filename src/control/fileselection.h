// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QString>

class MainWindowInterface;
class SettingsInterface;

/// Opens file dialogs and stores the path of each chosen file under a settings key.
class FileSelection
{
    Q_DECLARE_TR_FUNCTIONS(MainWindowController)

public:
    /// Neither is owned; both must outlive this object.
    FileSelection(MainWindowInterface *window, SettingsInterface *settings);

    /// Lets the user choose a file to write and returns its path; empty if the user cancelled.
    /// @p defaultName is proposed until a path has been stored.
    QString selectSaveFileName(const QString &defaultName, const QString &settingsKey,
                               const QString &caption, const QString &filter);

    /// Lets the user choose a file to read and returns its contents. Empty if the user cancelled,
    /// and, after a message that calls the file @p label, if it can't be opened or is empty.
    QByteArray readFileWithDialog(const QString &caption, const QString &settingsKey,
                                  const QString &filter, const QString &label);

private:
    MainWindowInterface *m_window;
    SettingsInterface *m_settings;
};
