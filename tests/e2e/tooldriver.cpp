// SPDX-License-Identifier: GPL-3.0-or-later
// The main function of the program, together with an object that answers the program's dialogs,
// prints a line for each window and dialog, and closes the main window when it is shown.
//
// The argument is a port to connect to before the main window is closed, "cancel" to cancel the
// folder dialog, or the folder to choose there.
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

class ToolDriver : public QObject
{
public:
    explicit ToolDriver(const QString &argument)
        : m_argument(argument)
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
        if (m_argument == QLatin1String("cancel")) {
            dialog->reject();
            return;
        }
        // First a folder in which no file can be created, then the one from the command line.
        const QString folder = m_folders++ == 0 ? QStringLiteral("/proc") : m_argument;
        dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(folder);
        static_cast<QDialog *>(dialog)->done(QDialog::Accepted);
    }

    void useWindow(QWidget *window)
    {
        const auto button = [=](const char *name) {
            return window->findChild<QPushButton *>(QLatin1String(name));
        };
        if (m_argument.startsWith(QLatin1String("/dev/"))) {
            if (!m_connectClicked) {
                m_connectClicked = true;
                auto *const ports = window->findChild<QComboBox *>(QStringLiteral("serialPorts"));
                ports->clear();
                ports->addItem(QString(), m_argument);
                button("connectButton")->click();
            }
            if (!button("readLogButton")->isEnabled()) {
                return;
            }
        }
        if (isOpen(m_argument)) {
            print(QStringLiteral("port is open"));
        }
        print(QStringLiteral("closing"));
        window->close();
    }

    QString m_argument;
    QPointer<QWidget> m_window;
    bool m_connectClicked = false;
    int m_folders = 0;
    bool m_takingScreenshot = false;
};

ToolDriver *driver = nullptr;
QString argument;

// Called by the constructor of the application object, inside the program's main function.
void startDriver()
{
    driver = new ToolDriver(argument);
    qApp->installEventFilter(driver);
    new UiCoverageRecorder(qApp);
}
Q_COREAPP_STARTUP_FUNCTION(startDriver)

} // namespace

int main(int argc, char *argv[])
{
    argument = QString::fromLocal8Bit(argv[argc - 1]);
    const int code = toolMain(1, argv);
    delete driver;
    if (isOpen(argument)) {
        print(QStringLiteral("port is still open"));
    }
    return code;
}
