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

constexpr int lookIntervalMs = 20;

void pressButton(const QDialog *dialog, const QString &text)
{
    const QList<QAbstractButton *> buttons = dialog->findChildren<QAbstractButton *>();
    for (QAbstractButton *button : buttons) {
        if (button->isVisible() && button->text().remove(QLatin1Char('&')) == text) {
            QTest::mouseClick(button, Qt::LeftButton);
            return;
        }
    }
}

void acceptFile(const QDialog *dialog)
{
    const auto *const box = dialog->findChild<QDialogButtonBox *>();
    const QList<QAbstractButton *> buttons = box->buttons();
    for (QAbstractButton *button : buttons) {
        if (box->buttonRole(button) == QDialogButtonBox::AcceptRole) {
            QTest::mouseClick(button, Qt::LeftButton);
            return;
        }
    }
}

} // namespace

DialogDriver::DialogDriver(QObject *parent)
    : QObject(parent)
{
    schedule();
}

void DialogDriver::answerBox(const QString &text, const QString &button)
{
    m_answers.append({text,
                      [text](const QDialog *dialog) {
                          const auto *const box = qobject_cast<const QMessageBox *>(dialog);
                          return box && box->text().contains(text);
                      },
                      [button](QDialog *dialog) { pressButton(dialog, button); }});
}

void DialogDriver::answerFileDialog(const QString &caption, const QString &path)
{
    m_answers.append(
        {caption,
         [caption](const QDialog *dialog) {
             return qobject_cast<const QFileDialog *>(dialog) && dialog->windowTitle() == caption;
         },
         [path](QDialog *dialog) {
             auto *const name = dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
             // Not typed: the list of completions would take the Return key.
             name->setText(path);
             acceptFile(dialog);
         }});
}

void DialogDriver::answerDialog(const QString &title, const Action &action)
{
    m_answers.append(
        {title, [title](const QDialog *dialog) { return dialog->windowTitle() == title; }, action});
}

void DialogDriver::escapeDialog(const QString &title)
{
    answerDialog(title, [](QDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
}

bool DialogDriver::isSatisfied() const
{
    return m_answers.isEmpty() && m_unexpected.isEmpty();
}

QString DialogDriver::complaint() const
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

void DialogDriver::reset()
{
    m_answers.clear();
    m_unexpected.clear();
}

void DialogDriver::schedule()
{
    // A new single shot each time: an action that opens another dialog nests an event loop, in
    // which the timer of the running slot doesn't fire.
    QTimer::singleShot(lookIntervalMs, this, &DialogDriver::look);
}

void DialogDriver::look()
{
    schedule();
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
    // Chosen before the screenshot, which takes time in which the title may change.
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
