// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QPointer>
#include <QtTest/QTest>
#include <QtWidgets/QDialog>
#include <functional>

/// Answers modal dialogs, which block the code that opens them.
///
/// Answers are prepared before the dialog opens. Each dialog that opens takes the first answer that
/// matches it; one without an answer is recorded as unexpected and rejected. A wait dialog needs no
/// answer: it closes when its operation ends.
class DialogDriver : public QObject
{
    Q_OBJECT

public:
    /// Uses a dialog and finally closes it.
    using Action = std::function<void(QDialog *)>;

    explicit DialogDriver(QObject *parent = nullptr);

    /// Presses the button with the text @p button in the next message box whose text contains
    /// @p text.
    void answerMessageBox(const QString &text, const QString &button);

    /// Chooses the file @p path in the next file dialog with the caption @p caption and accepts it.
    void answerFileDialog(const QString &caption, const QString &path);

    /// Runs @p action on the next dialog with the title @p title.
    void answerDialog(const QString &title, const Action &action);

    /// Presses Escape in the next dialog with the title @p title.
    void escapeDialog(const QString &title)
    {
        answerDialog(title, [](QDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    }

    /// Whether each prepared answer has been given and no dialog was unexpected.
    bool allExpectationsMet() const { return m_answers.isEmpty() && m_unexpected.isEmpty(); }

    /// A message with the missing and the unexpected dialogs; empty if there are none.
    QString unmetExpectations() const;

    /// Removes the prepared answers and recorded dialogs.
    void reset()
    {
        m_answers.clear();
        m_unexpected.clear();
    }

    /// Called with each dialog before it is answered, for a screenshot.
    std::function<void(QDialog *)> onDialogShown;

private:
    struct Answer
    {
        QString expectation;
        std::function<bool(const QDialog *)> matches;
        Action action;
    };

    void checkActiveDialog();
    void answer(QDialog *dialog);

    QList<Answer> m_answers;
    QStringList m_unexpected;
    QPointer<QDialog> m_current;
};
