// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/endurance/monkeydice.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

class QFileDialog;

/// The files that the monkey is given, and those that it wants to see written.
///
/// File dialogs can leave their folder, rename and delete; keepIn() sees to it that a walk touches
/// nothing but this folder, and devices and names that can't come to harm.
class MonkeyFiles
{
public:
    /// Images and backups of odd sizes are made in @p folder.
    explicit MonkeyFiles(const QString &folder);

    /// Takes @p dialog back into the folder, and what is typed there that leads out of it.
    void keepIn(QFileDialog *dialog) const;

    /// A path for @p dialog: one that can be read or written.
    QString good(const QFileDialog *dialog, MonkeyDice &dice);

    /// A path for @p dialog that is a folder, a full or special device, too long, nowhere, or
    /// empty.
    QString bad(const QFileDialog *dialog, MonkeyDice &dice) const;

    /// The kinds of file that stand complete by now and are taken away: the titles of the dialogs
    /// that asked for them.
    QStringList takeWritten();

    /// The size of a file, in bytes; 0 for what is none.
    static int sizeOf(const QString &path);

private:
    void make(const QString &name, int bytes);

    QString m_folder;
    QStringList m_images;
    QStringList m_backups;
    QStringList m_hostile;
    QMap<QString, QString> m_wanted; ///< path to title
    int m_number = 0;
};
