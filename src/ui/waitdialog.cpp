// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/waitdialog.h"

#include "ui_waitdialog.h"

WaitDialog::WaitDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::WaitDialog>())
{
    m_ui->setupUi(this);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &WaitDialog::cancelClicked);
}

WaitDialog::~WaitDialog() = default;

void WaitDialog::showDialog(const QString &text, bool showProgress)
{
    if (showProgress) {
        m_ui->progressBar->setRange(0, 100);
        m_ui->progressBar->setValue(0);
    } else {
        m_ui->progressBar->setRange(0, 0);
    }
    setWindowTitle(text);
    if (!isVisible()) {
        exec();
    }
}

void WaitDialog::progress(int progress) { m_ui->progressBar->setValue(progress); }

void WaitDialog::finished() { close(); }

void WaitDialog::closeEvent(QCloseEvent *)
{
    // Quirk: every close counts as a cancellation, also at the normal end of an operation. The base
    // class is not called; the event stays accepted, so the dialog closes. Quirk: the Escape key
    // rejects the dialog without a close event, so the operation continues.
    emit cancelClicked();
}
