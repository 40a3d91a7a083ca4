// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/endurance/inputsimulator.h"
#include "tests/kit/files.h"

#include <QtCore/QDir>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>

/// The files to choose in file dialogs, and those that the tool should write.
class RandomFiles
{
public:
    /// Creates images and backups of unusual sizes in @p folder.
    RandomFiles(const QString &folder, RandomSource &random)
        : m_folder(folder)
        , m_random(random)
    {
        QDir().mkpath(file("folder.bin"));
        for (const int size : {0, 1, 15, 16, 17, 100, 1000, 4096}) {
            m_images += create(file("image-%1.bin").arg(size), size);
        }
        for (const int size : {0, 1, 63, 64, 65, 4000, 65535, 65539, 70000}) {
            m_backups += create(file("backup-%1.dat").arg(size), size);
        }
        constexpr int otherSize = 10;
        create(file("old.csv"), otherSize);
        m_invalid = texts("|/dev/full|/dev/null|/proc/version|/proc/self/mem|/nowhere/at/all.bin")
            << file("folder.bin") << file("missing/out.csv")
            << file("") + QString(300, QLatin1Char('n'))
            << create(file("大気 %1 é.csv"), otherSize);
    }

    /// Takes @p dialog back into the folder and removes a typed name outside of it, so that a run
    /// can't rename or delete anything else.
    void confine(QFileDialog *dialog) const
    {
        dialog->setOption(QFileDialog::ReadOnly);
        if (dialog->directory().absolutePath() != m_folder) {
            dialog->setDirectory(m_folder);
        }
        auto *const name = dialog->findChild<QLineEdit *>(text("fileNameEdit"));
        const QString path = QDir::cleanPath(QDir(m_folder).absoluteFilePath(name->text()));
        if (!m_invalid.contains(name->text()) && !path.startsWith(m_folder + QLatin1Char('/'))) {
            name->clear();
        }
    }

    /// A path that can be read or written.
    QString validPath(const QFileDialog *dialog)
    {
        if (dialog->acceptMode() == QFileDialog::AcceptOpen) {
            return m_random.pick(isForImage(dialog) ? m_images : m_backups);
        }
        if (m_random.percent(20)) {
            return file("old.csv");
        }
        return m_folder + text("/written: ") + dialog->windowTitle();
    }

    /// A folder, a device, a name that is too long, a missing or an empty path.
    QString invalidPath(const QFileDialog *dialog)
    {
        const QString path = m_random.pick(m_invalid);
        const bool isRead = dialog->acceptMode() == QFileDialog::AcceptOpen;
        // Reading it never ends.
        return isRead && path == text("/dev/full") ? QString() : path;
    }

    /// Removes the files that have been written; their names, with the titles of the dialogs.
    QStringList takeWritten() const
    {
        QStringList names;
        const auto found = QDir(m_folder).entryInfoList({text("written*")}, QDir::Files);
        for (const QFileInfo &info : found) {
            if (info.size() > 0) {
                names << info.fileName();
                QFile::remove(info.filePath());
            }
        }
        return names;
    }

    static bool isForImage(const QFileDialog *dialog)
    {
        return dialog->windowTitle().contains(text("firmware"));
    }

    static int sizeOf(const QString &path)
    {
        const QFileInfo info(path);
        return info.isFile() ? static_cast<int>(info.size()) : 0;
    }

private:
    QString file(const char *name) const { return m_folder + QLatin1Char('/') + text(name); }

    static QString create(const QString &path, int size)
    {
        files::write(path, files::pseudoRandomBytes(size));
        return path;
    }

    QString m_folder;
    RandomSource &m_random;
    QStringList m_images;
    QStringList m_backups;
    QStringList m_invalid;
};
