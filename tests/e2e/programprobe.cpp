// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own main, with a hand that answers its dialogs and an eye that tells what there was
// to see. A line for each thing seen goes to standard output.
//
// The word of the one argument says what happens: "close" closes the main window when it is there,
// "connect" presses Connect first; "cancel" cancels the folder dialog, and anything else is the
// folder to choose there.
#define main toolMain
#include "main/main.cpp"
#undef main

#include "tests/kit/screenshots.h"
#include "tests/kit/uicoveragerecorder.h"

#include <QtCore/QTimer>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <cstdio>

namespace {

void say(const QString &line)
{
    std::puts(line.toLocal8Bit().constData());
    std::fflush(stdout);
}

class Probe : public QObject
{
public:
    explicit Probe(const QString &word)
        : m_word(word)
    {
        startTimer(lookIntervalMs);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched->inherits("QMainWindow")) {
            say(QStringLiteral("window"));
        }
        return false;
    }

protected:
    void timerEvent(QTimerEvent *) override
    {
        if (m_looking) {
            return; // a picture takes its time
        }
        QWidget *const modal = QApplication::activeModalWidget();
        if (modal != nullptr) {
            m_looking = true;
            takeScreenshot(modal);
            m_looking = false;
        }
        if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
            say(QStringLiteral("box %1 %2").arg(box->icon()).arg(box->text()));
            box->button(QMessageBox::Ok)->click();
        } else if (auto *const dialog = qobject_cast<QFileDialog *>(modal)) {
            say(QStringLiteral("folder %1").arg(dialog->windowTitle()));
            answer(dialog);
        } else if (modal == nullptr) {
            lookAtWindow();
        }
    }

private:
    static constexpr int lookIntervalMs = 20;

    void answer(QFileDialog *dialog)
    {
        if (m_word == QLatin1String("cancel")) {
            dialog->reject();
            return;
        }
        // A folder that can't be used the first time, then the one given.
        const QString folder = m_folders++ == 0 ? QStringLiteral("/proc") : m_word;
        dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(folder);
        static_cast<QDialog *>(dialog)->done(QDialog::Accepted);
    }

    void lookAtWindow()
    {
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->inherits("QMainWindow") && widget->isVisible()) {
                if (m_word == QLatin1String("connect") && !m_connected) {
                    m_connected = true;
                    widget->findChild<QComboBox *>()->clear();
                    widget->findChild<QPushButton *>(QStringLiteral("connectButton"))->click();
                    return;
                }
                say(QStringLiteral("closing"));
                widget->close();
                return;
            }
        }
    }

    QString m_word;
    int m_folders = 0;
    bool m_looking = false;
    bool m_connected = false;
};

Probe *probe = nullptr;
QString word;

// Runs when the application object has been made, inside the program's main.
void beginLooking()
{
    probe = new Probe(word);
    qApp->installEventFilter(probe);
    new UiCoverageRecorder(qApp);
}
Q_COREAPP_STARTUP_FUNCTION(beginLooking)

} // namespace

int main(int argc, char *argv[])
{
    word = QString::fromLocal8Bit(argc > 1 ? argv[1] : "close");
    const int code = toolMain(1, argv);
    delete probe;
    say(QStringLiteral("end %1").arg(code));
    return code;
}
