// SPDX-License-Identifier: GPL-3.0-or-later
// The monkey at popups and modal dialogs: answered, escaped, closed, or left standing a while.
#include "tests/endurance/monkey.h"
#include "tests/endurance/monkeyhands.h"

#include <QtWidgets/QDialogButtonBox>

namespace {

constexpr int tooOld = 2000; // actions that a dialog withstands at most
constexpr int nestedEnough = 4;

QAbstractButton *buttonOf(const QWidget *dialog, QDialogButtonBox::ButtonRole role)
{
    const auto *const box = dialog->findChild<QDialogButtonBox *>();
    if (box == nullptr) {
        return nullptr;
    }
    const QList<QAbstractButton *> buttons = box->buttons();
    for (QAbstractButton *button : buttons) {
        if (box->buttonRole(button) == role) {
            return button;
        }
    }
    return nullptr;
}

} // namespace

void Monkey::actOnPopup(QWidget *popup)
{
    const int way = m_dice.below(100);
    if (way < 50) {
        begin("choose in a popup");
        const QList<QWidget *> found = MonkeyHands::reachable(popup);
        MonkeyHands::poke(found.isEmpty() ? popup : m_dice.pick(found), m_dice);
    } else if (way < 80) {
        begin("press a key in a popup");
        MonkeyHands::pressSome(popup, m_dice);
    } else {
        begin("escape a popup");
        MonkeyHands::press(popup, Qt::Key_Escape);
    }
}

/// A dialog is the same one as long as its title is: the wait dialog serves everybody.
void Monkey::meet(QWidget *modal)
{
    if (modal == nullptr) {
        m_dialog = nullptr;
        return;
    }
    ++m_dialogAge;
    if (m_dialog == modal && m_dialogTitle == modal->windowTitle()) {
        if (m_dialogAge > tooOld) {
            MonkeyTrail::fail("a dialog that does not go: " + modal->windowTitle().toUtf8());
        }
        return;
    }
    m_dialog = modal;
    m_dialogTitle = modal->windowTitle();
    m_dialogAge = 0;
    if (qobject_cast<QMessageBox *>(modal)) {
        m_patience = m_dice.percent(70) ? m_dice.below(2) : m_dice.below(12);
    } else if (modal->objectName() == QLatin1String("WaitDialog")) {
        m_patience = m_dice.percent(70) ? 50 : m_dice.below(15);
    } else {
        m_patience = m_dice.below(12);
    }
    if (m_levels.size() > nestedEnough) {
        m_patience = 0;
    }
}

void Monkey::actOnDialog(QWidget *modal)
{
    if (!modal->isActiveWindow()) {
        modal->activateWindow();
    }
    if (auto *const box = qobject_cast<QMessageBox *>(modal)) {
        actOnBox(box);
    } else if (auto *const files = qobject_cast<QFileDialog *>(modal)) {
        actOnFileDialog(files);
    } else if (modal->objectName() == QLatin1String("WaitDialog")) {
        actOnWaitDialog(static_cast<QDialog *>(modal));
    } else {
        actOnExportDialog(static_cast<QDialog *>(modal));
    }
}

/// Escape, or the button in the frame. The frame of a question without a Cancel is dead.
void Monkey::leave(QWidget *modal)
{
    if (m_dice.percent(60)) {
        begin("escape a dialog");
        MonkeyHands::press(modal, Qt::Key_Escape);
    } else {
        begin("close a dialog");
        closeByFrame(modal);
    }
}

void Monkey::actOnBox(QMessageBox *box)
{
    if (m_dialogAge < m_patience) {
        if (m_dice.percent(60)) {
            return rest(10);
        }
        return fumble(box);
    }
    if (m_dice.percent(15)) {
        return leave(box);
    }
    begin("answer a box");
    QAbstractButton *button = box->button(QMessageBox::Yes);
    if (button == nullptr || m_dice.percent(25)) {
        button = m_dice.pick(box->buttons());
    }
    MonkeyHands::click(button);
}

void Monkey::actOnFileDialog(QFileDialog *dialog)
{
    m_files.keepIn(dialog);
    if (m_dialogAge < m_patience) {
        return fumble(dialog);
    }
    constexpr int fedUp = 40;
    if (m_dialogAge > fedUp || m_dice.percent(12)) {
        return leave(dialog);
    }
    answerFileDialog(dialog);
}

void Monkey::answerFileDialog(QFileDialog *dialog)
{
    begin("answer a file dialog");
    const QString path =
        m_dice.percent(75) ? m_files.good(dialog, m_dice) : m_files.bad(dialog, m_dice);
    MonkeyTrail::detail(path);
    if (!m_transmitter.isHungUp() && dialog->windowTitle().contains(text("firmware"))) {
        const bool known = m_dice.percent(60);
        m_transmitter.expectImage(known ? MonkeyFiles::sizeOf(path) : 0);
    }
    auto *const name = dialog->findChild<QLineEdit *>(text("fileNameEdit"));
    // Not typed: the list of completions would take the key that follows.
    name->setText(path);
    MonkeyHands::click(buttonOf(dialog, QDialogButtonBox::AcceptRole));
}

void Monkey::actOnExportDialog(QDialog *dialog)
{
    if (m_dialogAge < m_patience) {
        if (m_dice.percent(60)) {
            begin("move the export's period");
            const bool from = m_dice.percent(70);
            return MonkeyHands::moveDate(
                dialog->findChild<QWidget *>(from ? text("exportDateTimeFrom")
                                                  : text("exportDateTimeTo")),
                m_dice, from ? Qt::Key_Down : Qt::Key_Up);
        }
        return fumble(dialog);
    }
    if (m_dice.percent(15)) {
        return leave(dialog);
    }
    begin("answer the export dialog");
    MonkeyHands::click(buttonOf(
        dialog, m_dice.percent(80) ? QDialogButtonBox::AcceptRole : QDialogButtonBox::RejectRole));
}

void Monkey::actOnWaitDialog(QDialog *dialog)
{
    constexpr int resigned = 6; // actions
    const auto job = queue().currentJob();
    if (job && !job->isRunning()) {
        m_patience = std::min(m_patience, m_dialogAge + resigned);
    }
    if (m_dialogAge < m_patience) {
        const int way = m_dice.below(100);
        if (way < 75) {
            return rest(40);
        }
        if (way < 80) {
            begin("restart device under a wait");
            m_transmitter.restart();
        } else if (way < 86) {
            begin("click behind a dialog");
            MonkeyHands::click(child<QPushButton>("disconnectButton"));
        } else if (way < 90) {
            begin("close behind a dialog");
            closeByFrame(&window());
        } else {
            begin("press a key in a wait dialog");
            MonkeyHands::press(dialog, m_dice.percent(50) ? Qt::Key_A : Qt::Key_Down);
        }
        return;
    }
    if (m_dice.percent(40)) {
        return leave(dialog);
    }
    begin("cancel a wait");
    MonkeyHands::click(dialog->findChild<QPushButton *>());
}
