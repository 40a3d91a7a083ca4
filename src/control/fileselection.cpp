// SPDX-License-Identifier: GPL-3.0-or-later
#include "control/fileselection.h"

#include "ui/mainwindowinterface.h"
#include "ui/settingsinterface.h"

#include <QtCore/QDebug>
#include <QtCore/QFile>

FileSelection::FileSelection(MainWindowInterface *window, SettingsInterface *settings)
    : m_window(window)
    , m_settings(settings)
{ }

QString FileSelection::selectSaveFileName(const QString &defaultName, const QString &settingsKey,
                                          const QString &caption, const QString &filter)
{
    const QString proposed = m_settings->value(settingsKey, defaultName).toString();
    QString fileName = m_window->selectSaveFile(caption, proposed, filter);
    if (!fileName.isEmpty()) {
        // Quirk: the path is stored even if the file turns out not to be writable.
        m_settings->setValue(settingsKey, fileName);
    }
    return fileName;
}

QByteArray FileSelection::readFileWithDialog(const QString &caption, const QString &settingsKey,
                                             const QString &filter, const QString &label)
{
    const QString path =
        m_window->selectOpenFile(caption, m_settings->value(settingsKey).toString(), filter);
    if (path.isEmpty()) {
        return QByteArray();
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Unable to open file" << path;
        m_window->showMessageBox(QMessageBox::Warning, tr("Unable to open %1!").arg(label));
        return QByteArray();
    }
    QByteArray contents = file.readAll();
    if (contents.isEmpty()) {
        qDebug() << label << "file is empty" << path;
        m_window->showMessageBox(QMessageBox::Warning, tr("Selected %1 is empty!").arg(label));
    }
    // Quirk: the path of an empty file is stored as well, so the next dialog opens in its folder.
    m_settings->setValue(settingsKey, path);
    return contents;
}
