// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own main function with an object that answers its dialogs and prints a line for
// each window and dialog. It closes the main window once that is shown.
//
// A port as the argument is connected to before; "cancel" cancels the folder dialog, and any other
// argument is the folder to choose there.
#define main toolMain
#include "main/main.cpp"
#undef main

#include "tests/kit/screenshots.h"
#include "tests/kit/uicoveragerecorder.h"

#include <QtCore/QDir>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <algorithm>
#include <cstdio>

namespace {

void print(const QString &line)
{
    std::puts(line.toLocal8Bit().constData());
    std::fflush(stdout);
}

bool isOpen(const QString &path)
{
    const QFileInfoList descriptors =
        QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::Files | QDir::System);
    return std::any_of(descriptors.begin(), descriptors.end(), [&](const QFileInfo &descriptor) {
        return descriptor.symLinkTarget() == path;
    });
}

class Probe : public QObject
{
public:
    explicit Probe(const QString &task)
        : m_task(task)
    {
        startTimer(intervalMs);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched->inherits("QMainWindow")) {
            print(QStringLiteral("window"));
            m_window = static_cast<QWidget *>(watched);
        }
        return false;
    }

protected:
    void timerEvent(QTimerEvent *) override
    {
        if (m_takingScreenshot) {
            return;
        }
        QWidget *const modal = QApplication::activeModalWidget();
        if (modal != nullptr) {
            m_takingScreenshot = true;
            takeScreenshot(modal);
            m_takingScreenshot = false;
        }
        if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
            print(QStringLiteral("box %1 %2").arg(box->icon()).arg(box->text()));
            box->button(QMessageBox::Ok)->click();
        } else if (auto *const dialog = qobject_cast<QFileDialog *>(modal)) {
            print(QStringLiteral("folder %1").arg(dialog->windowTitle()));
            answer(dialog);
        } else if (m_window != nullptr && m_window->isVisible()) {
            useWindow(m_window);
        }
    }

private:
    static constexpr int intervalMs = 20;

    void answer(QFileDialog *dialog)
    {
        if (m_task == QLatin1String("cancel")) {
            dialog->reject();
            return;
        }
        // A folder that can't be used the first time, then the one given.
        const QString folder = m_folders++ == 0 ? QStringLiteral("/proc") : m_task;
        dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(folder);
        static_cast<QDialog *>(dialog)->done(QDialog::Accepted);
    }

    void useWindow(QWidget *window)
    {
        const auto button = [=](const char *name) {
            return window->findChild<QPushButton *>(QLatin1String(name));
        };
        if (m_task.startsWith(QLatin1String("/dev/"))) {
            if (!m_connects) {
                m_connects = true;
                auto *const ports = window->findChild<QComboBox *>(QStringLiteral("serialPorts"));
                ports->clear();
                ports->addItem(QString(), m_task);
                button("connectButton")->click();
            }
            if (!button("readLogButton")->isEnabled()) {
                return;
            }
        }
        if (isOpen(m_task)) {
            print(QStringLiteral("port is open"));
        }
        print(QStringLiteral("closing"));
        window->close();
    }

    QString m_task;
    QPointer<QWidget> m_window;
    bool m_connects = false;
    int m_folders = 0;
    bool m_takingScreenshot = false;
};

Probe *probe = nullptr;
QString task;

// Runs when the application object has been made, inside the program's main.
void startProbe()
{
    probe = new Probe(task);
    qApp->installEventFilter(probe);
    new UiCoverageRecorder(qApp);
}
Q_COREAPP_STARTUP_FUNCTION(startProbe)

} // namespace

int main(int argc, char *argv[])
{
    task = QString::fromLocal8Bit(argv[argc - 1]);
    const int code = toolMain(1, argv);
    delete probe;
    if (isOpen(task)) {
        print(QStringLiteral("port is still open"));
    }
    return code;
}
