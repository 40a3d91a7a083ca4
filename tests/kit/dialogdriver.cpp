// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/dialogdriver.h"

#include <QtCore/QTimer>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <algorithm>

namespace {

void clickFirst(const QDialog *dialog, const std::function<bool(QAbstractButton *)> &isWanted)
{
    const QList<QAbstractButton *> buttons = dialog->findChildren<QAbstractButton *>();
    const auto button = std::find_if(buttons.begin(), buttons.end(), isWanted);
    if (button != buttons.end()) {
        QTest::mouseClick(*button, Qt::LeftButton);
    }
}

} // namespace

DialogDriver::DialogDriver(QObject *parent)
    : QObject(parent)
{
    checkActiveDialog();
}

void DialogDriver::answerMessageBox(const QString &text, const QString &button)
{
    m_answers.append({text,
                      [text](const QDialog *dialog) {
                          const auto *const box = qobject_cast<const QMessageBox *>(dialog);
                          return box && box->text().contains(text);
                      },
                      [button](const QDialog *dialog) {
                          clickFirst(dialog, [&](const QAbstractButton *candidate) {
                              return candidate->isVisible()
                                  && candidate->text().remove(QLatin1Char('&')) == button;
                          });
                      }});
}

void DialogDriver::answerFileDialog(const QString &caption, const QString &path)
{
    m_answers.append(
        {caption,
         [caption](const QDialog *dialog) {
             return qobject_cast<const QFileDialog *>(dialog) && dialog->windowTitle() == caption;
         },
         [path](const QDialog *dialog) {
             // Not typed, because the list of completions would receive the Return key.
             dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
             const auto *const box = dialog->findChild<QDialogButtonBox *>();
             clickFirst(dialog, [box](QAbstractButton *button) {
                 return box->buttonRole(button) == QDialogButtonBox::AcceptRole;
             });
         }});
}

void DialogDriver::answerDialog(const QString &title, const Action &action)
{
    m_answers.append(
        {title, [title](const QDialog *dialog) { return dialog->windowTitle() == title; }, action});
}

QString DialogDriver::unmetExpectations() const
{
    QStringList parts;
    for (const Answer &answer : m_answers) {
        parts.append(QStringLiteral("no dialog \"%1\"").arg(answer.expectation));
    }
    for (const QString &text : m_unexpected) {
        parts.append(QStringLiteral("unexpected dialog \"%1\"").arg(text));
    }
    return parts.join(QStringLiteral("; "));
}

void DialogDriver::checkActiveDialog()
{
    constexpr int intervalMs = 20;
    // A new single-shot timer each time: an action that opens another dialog runs a nested event
    // loop, in which a repeating timer would not time out while its slot runs.
    QTimer::singleShot(intervalMs, this, &DialogDriver::checkActiveDialog);
    auto *const dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (dialog != m_current) {
        m_current = dialog;
        if (dialog) {
            answer(dialog);
        }
    }
}

void DialogDriver::answer(QDialog *dialog)
{
    // Chosen before the screenshot is taken, because the title may change meanwhile.
    const auto match = std::find_if(m_answers.begin(), m_answers.end(),
                                    [&](const Answer &answer) { return answer.matches(dialog); });
    Action action;
    if (match != m_answers.end()) {
        action = match->action;
        m_answers.erase(match);
    }
    const QPointer<QDialog> shown = dialog;
    if (onDialogShown) {
        onDialogShown(dialog);
    }
    if (action && shown) {
        action(dialog);
    }
    if (action || !shown || dialog->objectName() == QLatin1String("WaitDialog")) {
        return;
    }
    const auto *const box = qobject_cast<QMessageBox *>(dialog);
    m_unexpected.append(box ? box->text() : dialog->windowTitle());
    dialog->reject();
}
