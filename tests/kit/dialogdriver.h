// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtWidgets/QDialog>
#include <functional>

/// Acts as the person in front of the modal dialogs, which hold up the code that opened them.
///
/// Answers are prepared before the dialog opens. Each dialog that comes up takes the first answer
/// that fits it; one that nothing fits is noted as unexpected and rejected. A wait dialog may stand
/// alone: it ends with its operation.
class DialogDriver : public QObject
{
    Q_OBJECT

public:
    /// What is done with a dialog; it has to close it in the end.
    using Action = std::function<void(QDialog *)>;

    explicit DialogDriver(QObject *parent = nullptr);

    /// Presses the button with the text @p button in the next box that says @p text somewhere.
    void answerBox(const QString &text, const QString &button);

    /// Types @p path into the next file dialog with the caption @p caption and accepts it.
    void answerFileDialog(const QString &caption, const QString &path);

    /// Runs @p action on the next dialog with the title @p title.
    void answerDialog(const QString &title, const Action &action);

    /// True when each prepared answer has been given and no dialog came up that nothing fitted.
    bool isSatisfied() const;

    /// What is missing or was too much, for a person to read; empty when satisfied.
    QString complaint() const;

    /// Forgets what was prepared and noted.
    void reset();

    /// Called with each dialog before it is answered, for taking its picture.
    std::function<void(QDialog *)> onDialogShown;

private:
    struct Answer
    {
        QString expectation;
        std::function<bool(const QDialog *)> fits;
        Action action;
    };

    void schedule();
    void look();
    void meet(QDialog *dialog);

    QList<Answer> m_answers;
    QStringList m_unexpected;
    QPointer<QDialog> m_met;
};
