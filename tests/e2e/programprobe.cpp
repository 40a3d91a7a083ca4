// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own main function with an object that answers its dialogs and prints a line for
// each window and dialog.
//
// The argument "close" closes the main window once it is shown; "cancel" cancels the folder dialog,
// and any other argument is the folder to choose there.
#define main toolMain
#include "main/main.cpp"
#undef main

#include "tests/kit/screenshots.h"
#include "tests/kit/uicoveragerecorder.h"

#include <QtCore/QTimer>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <cstdio>

namespace {

void print(const QString &line)
{
    std::puts(line.toLocal8Bit().constData());
    std::fflush(stdout);
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
        } else if (modal == nullptr) {
            useWindow();
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

    void useWindow()
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->inherits("QMainWindow") && widget->isVisible()) {
                print(QStringLiteral("closing"));
                widget->close();
                return;
            }
        }
    }

    QString m_task;
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
    task = QString::fromLocal8Bit(argc > 1 ? argv[1] : "close");
    const int code = toolMain(1, argv);
    delete probe;
    print(QStringLiteral("end %1").arg(code));
    return code;
}
