// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/endurance/monkeyfiles.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>

namespace {

QString fullDevice()
{
    return QStringLiteral("/dev/full");
}

} // namespace

MonkeyFiles::MonkeyFiles(const QString &folder)
    : m_folder(folder)
{
    QDir().mkpath(m_folder);
    for (const int bytes : {0, 1, 15, 16, 17, 100, 1000, 4096}) {
        make(QStringLiteral("image-%1.bin").arg(bytes), bytes);
        m_images += m_folder + QStringLiteral("/image-%1.bin").arg(bytes);
    }
    for (const int bytes : {0, 1, 63, 64, 65, 4000, 65535, 65539, 70000}) {
        make(QStringLiteral("backup-%1.dat").arg(bytes), bytes);
        m_backups += m_folder + QStringLiteral("/backup-%1.dat").arg(bytes);
    }
    make(QStringLiteral("old.csv"), 10);
    make(QString::fromUtf8("\xE5\xA4\xA7\xE6\xB0\x97 %1 \xC3\xA9.csv"), 10);
    QDir(m_folder).mkdir(QStringLiteral("folder.bin"));
    m_hostile =
        QStringList{QString(),
                    m_folder + QStringLiteral("/folder.bin"),
                    m_folder + QStringLiteral("/missing/out.csv"),
                    m_folder + QLatin1Char('/') + QString(300, QLatin1Char('n')),
                    m_folder + QString::fromUtf8("/\xE5\xA4\xA7\xE6\xB0\x97 %1 \xC3\xA9.csv"),
                    fullDevice(),
                    QStringLiteral("/dev/null"),
                    QStringLiteral("/proc/version"),
                    QStringLiteral("/proc/self/mem"),
                    QStringLiteral("/nowhere/at/all.bin")};
}

void MonkeyFiles::make(const QString &name, int bytes)
{
    QByteArray contents(bytes, '\0');
    quint32 state = static_cast<quint32>(bytes);
    for (char &byte : contents) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    QFile file(m_folder + QLatin1Char('/') + name);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(contents);
    }
}

void MonkeyFiles::keepIn(QFileDialog *dialog) const
{
    dialog->setOption(QFileDialog::ReadOnly);
    if (dialog->directory().absolutePath() != m_folder) {
        dialog->setDirectory(m_folder);
    }
    auto *const name = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    if (name && !m_hostile.contains(name->text())
        && QDir::cleanPath(QDir(m_folder).absoluteFilePath(name->text()))
                .indexOf(m_folder + QLatin1Char('/'))
            != 0) {
        name->clear();
    }
}

QString MonkeyFiles::good(const QFileDialog *dialog, MonkeyDice &dice)
{
    if (dialog->acceptMode() == QFileDialog::AcceptOpen) {
        return dice.pick(dialog->windowTitle().contains(QLatin1String("firmware")) ? m_images
                                                                                   : m_backups);
    }
    if (dice.percent(20)) {
        return m_folder + QStringLiteral("/old.csv");
    }
    const QString path = m_folder + QStringLiteral("/written-%1").arg(++m_number);
    m_wanted.insert(path, dialog->windowTitle());
    return path;
}

QString MonkeyFiles::bad(const QFileDialog *dialog, MonkeyDice &dice) const
{
    const QString path = dice.pick<QString>(m_hostile);
    // What is read from it has no end.
    const bool endless = path == fullDevice() && dialog->acceptMode() == QFileDialog::AcceptOpen;
    return endless ? QString() : path;
}

QStringList MonkeyFiles::takeWritten()
{
    QStringList titles;
    for (auto wanted = m_wanted.begin(); wanted != m_wanted.end();) {
        if (sizeOf(wanted.key()) == 0) {
            ++wanted;
            continue;
        }
        titles += wanted.value();
        QFile::remove(wanted.key());
        wanted = m_wanted.erase(wanted);
    }
    return titles;
}

int MonkeyFiles::sizeOf(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() ? static_cast<int>(info.size()) : 0;
}
