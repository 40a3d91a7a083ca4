// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtWidgets/QDialog>
#include <memory>

namespace Ui {
class WaitDialog;
}

/// The modal dialog of every long operation: a progress bar and a cancel button, with the message
/// in the title. One instance is shown repeatedly, for any reason.
class WaitDialog : public QDialog
{
    Q_OBJECT

public:
    /// Hidden until showDialog().
    explicit WaitDialog(QWidget *parent);
    ~WaitDialog() override;

    /// Shows @p text as the title, and a progress bar or, if @p showProgress is false, a busy
    /// indicator. Returns when the dialog has closed, or immediately if it was already visible.
    void showDialog(const QString &text, bool showProgress);

public slots:
    /// Sets the progress bar to @p progress percent. Does not close the dialog at 100.
    void progress(int progress);

    /// Closes the dialog, and so emits cancelClicked().
    void finished();

signals:
    /// The cancel button was clicked, or the dialog received a close event, whatever caused it.
    void cancelClicked();

protected:
    /// Emits cancelClicked().
    void closeEvent(QCloseEvent *event) override;

private:
    std::unique_ptr<Ui::WaitDialog> m_ui;
};
