// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtWidgets/QComboBox>

/// A combo box for strings of any length and content, such as those from a device or the store.
///
/// Draws the current text elided. The tool tips of the box and of each item show the text
/// literally and wrapped, up to 2,000 characters of it.
class ElidedComboBox : public QComboBox
{
public:
    /// An empty combo box.
    explicit ElidedComboBox(QWidget *parent = nullptr);

protected:
    /// Draws the box in its style, with the current text elided at its end.
    void paintEvent(QPaintEvent *event) override;

private:
    void setItemToolTips(int first, int last);
};
