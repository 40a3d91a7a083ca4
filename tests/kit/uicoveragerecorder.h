// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtWidgets/QDialog>

/// Records which windows, controls and texts of the tool a test has shown and used, in the file
/// that the environment variable KV_UI_COVERAGE names; without it, nothing. tst_uicoverage checks
/// the records of all end-to-end tests together.
///
/// A line consists of an event, its subject and the test function, separated by tabs:
/// - shown: a window was shown
/// - offered: a control of such a window, "Window.control"
/// - pressed: a control got a mouse button or key while it was visible and enabled
/// - clicked: a button was clicked, by an input event or by a call
/// - closed, escaped: a window was closed by its frame, a dialog got the Escape key
/// - text: a title, a box's text, a status or the content of a read-only field
/// - ended: a box's text or a dialog's title, then " = " and the button or the result
class UiCoverageRecorder : public QObject
{
public:
    explicit UiCoverageRecorder(QObject *parent);

    /// Removes the records of an earlier run.
    static void reset();

    /// The running test function, or the value of KV_SCENARIO in a process that a test has started.
    static QString scenario();

    /// The object name of @p window, or its class where that is clearer.
    static QString nameOf(const QWidget *window);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void recordEvent(QWidget *widget, QEvent *event);
    void recordWindow(QWidget *window);
    void recordControls(const QWidget *window);
    void recordEnd(const QDialog *dialog, int result);
    void record(const char *event, const QString &subject);

    QString m_path;
    QSet<QString> m_recorded;
};
