// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtWidgets/QDialog>

/// Records which windows, controls and texts of the tool a test has shown and used, in the file
/// that the environment variable KV_UI_COVERAGE names; without the variable, records nothing.
/// tst_uicoverage checks the records of all end-to-end tests together.
///
/// A line consists of an event, its subject and the test function, separated by tabs:
/// - shown: a window was shown
/// - offered: a window was shown with this control, "Window.control"
/// - pressed: a control received a mouse button or key while it was visible and enabled
/// - clicked: a button emitted clicked(), after an input event or a call
/// - closed: a window was closed with the close button of its frame
/// - escaped: a dialog received the Escape key
/// - text: a window title, the text of a message box, a status message or the content of a
///   read-only field
/// - ended: the text of a message box or the title of a dialog, then " = " and the button or result
class UiCoverageRecorder : public QObject
{
public:
    explicit UiCoverageRecorder(QObject *parent);

    /// Removes the records of an earlier run.
    static void reset();

    /// The running test function; in a process that a test has started, the value of KV_SCENARIO.
    static QString scenario();

    /// The object name of @p window; its class for a file dialog or without a name.
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
