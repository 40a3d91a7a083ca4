// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/endurance/inputsimulator.h"
#include "tests/kit/fileio.h"

#include <QtCore/QDir>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>

/// The files that are chosen in file dialogs, and those that the tool writes.
class RandomFiles
{
public:
    /// Creates images and backups of unusual sizes in @p folder.
    explicit RandomFiles(const QString &folder)
        : m_folder(folder)
        , m_invalid(texts("|/dev/full|/dev/null|/proc/version|/proc/self/mem|/nowhere/at/all.bin")
                    << file("folder.bin") << file("missing/out.csv") << file("大気 %1 é.csv")
                    << file("") + QString(300, QLatin1Char('n')))
    {
        QDir().mkpath(file("folder.bin"));
        for (const int size : {0, 1, 15, 16, 17, 100, 1000, 4096}) {
            create(file("image-%1.bin").arg(size), size);
        }
        for (const int size : {0, 1, 63, 64, 65, 4000, 65535, 65539, 70000}) {
            create(file("backup-%1.dat").arg(size), size);
        }
        create(file("old.csv"), 10);
        create(file("大気 %1 é.csv"), 10);
    }

    /// Returns @p dialog to the folder and clears a typed name outside of it, so that no other
    /// files can be renamed, deleted or overwritten.
    void confine(QFileDialog *dialog) const
    {
        dialog->setOption(QFileDialog::ReadOnly);
        if (dialog->directory().absolutePath() != m_folder) {
            dialog->setDirectory(m_folder);
        }
        auto *const name = WindowDriver::childWidget<QLineEdit>(dialog, "fileNameEdit");
        const QString path = QDir::cleanPath(QDir(m_folder).absoluteFilePath(name->text()));
        if (!m_invalid.contains(name->text()) && !path.startsWith(file(""))) {
            name->clear();
        }
    }

    /// A path that can be read or written, or one of a folder, a device or a missing file, or a
    /// path that is too long or empty.
    QString randomPath(const QFileDialog *dialog)
    {
        const bool isRead = dialog->acceptMode() == QFileDialog::AcceptOpen;
        if (Random::percent(25)) {
            const QString path = Random::pick(m_invalid);
            // The tool would read it endlessly.
            return isRead && path == text("/dev/full") ? QString() : path;
        }
        if (isRead) {
            const bool isImage = dialog->windowTitle().contains(text("firmware"));
            const QString names = isImage ? text("image-*") : text("backup-*");
            return Random::pick(QDir(m_folder).entryInfoList({names})).filePath();
        }
        return Random::percent(20) ? file("old.csv") : file("written: ") + dialog->windowTitle();
    }

    /// Removes the files that the tool has written; returns their names, which contain the titles
    /// of the file dialogs.
    QStringList takeWrittenFiles() const
    {
        QStringList names;
        for (const auto &info : QDir(m_folder).entryInfoList({text("written*")}, QDir::Files)) {
            if (info.size() > 0) {
                names << info.fileName();
                QFile::remove(info.filePath());
            }
        }
        return names;
    }

private:
    QString file(const char *name) const { return m_folder + QLatin1Char('/') + text(name); }

    static void create(const QString &path, int size)
    {
        FileIo::write(path, FileIo::pseudoRandomBytes(size));
    }

    QString m_folder;
    QStringList m_invalid;
};
