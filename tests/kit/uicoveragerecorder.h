// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore/QFile>
#include <QtCore/QSet>
#include <QtGui/QKeyEvent>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QStatusBar>

/// Notes what hands reach and eyes see of the tool's windows, a line for each, in the file that the
/// environment's KV_SEEN names; without it, nothing. tst_everybutton judges the notes of all
/// scenarios together.
///
/// A line holds, between tabs, one of these words, its subject, and the scenario:
/// - shown: a window was on screen
/// - offered: a control of such a window, "Window.control"
/// - pressed: a control was touched by mouse or key while it was visible and enabled
/// - clicked: a button was pressed by hand or by code
/// - closed, escaped: a window was closed by its frame, a dialog got the Escape key
/// - text: a title, a box's text, a status or the content of a field that can't be edited
/// - ended: a box's text or a dialog's title, and after " = " the button or what became of it
class Eyewitness : public QObject
{
public:
    explicit Eyewitness(QObject *parent)
        : QObject(parent)
        , m_path(QString::fromLocal8Bit(qgetenv("KV_SEEN")))
    {
        if (!m_path.isEmpty()) {
            qApp->installEventFilter(this);
        }
    }

    /// Begins anew, at the start of a program whose notes count.
    static void forget()
    {
        if (qEnvironmentVariableIsSet("KV_SEEN")) {
            QFile::remove(QString::fromLocal8Bit(qgetenv("KV_SEEN")));
        }
    }

    /// The test function that runs, or what the environment's KV_SCENARIO says in a process that a
    /// test has started.
    static QString scenario()
    {
        if (qEnvironmentVariableIsSet("KV_SCENARIO")) {
            return QString::fromLocal8Bit(qgetenv("KV_SCENARIO"));
        }
        return QCoreApplication::applicationName() + QLatin1String("::")
            + QLatin1String(QTest::currentTestFunction());
    }

    static QString nameOf(const QWidget *window)
    {
        return window->objectName().isEmpty() || window->inherits("QFileDialog")
            ? QString::fromLatin1(window->metaObject()->className())
            : window->objectName();
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched->isWidgetType()) {
            look(static_cast<QWidget *>(watched), event);
        }
        return false;
    }

private:
    void look(QWidget *widget, QEvent *event)
    {
        const bool window = widget->isWindow() && widget->windowType() != Qt::Popup
            && widget->windowType() != Qt::ToolTip;
        switch (event->type()) {
        case QEvent::Show:
            if (window) {
                meet(widget);
            }
            break;
        case QEvent::WindowTitleChange:
            if (window && widget->isVisible()) {
                note("text", widget->windowTitle());
            }
            break;
        case QEvent::Close:
            if (window && event->spontaneous()) {
                note("closed", nameOf(widget));
            }
            break;
        case QEvent::KeyPress:
            if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape
                && qobject_cast<QDialog *>(widget->window())) {
                note("escaped", nameOf(widget->window()));
            }
            Q_FALLTHROUGH();
        case QEvent::MouseButtonPress:
            if (event->spontaneous() && widget->isVisible() && widget->isEnabled()) {
                note("pressed", controlOf(widget));
            }
            break;
        default:
            break;
        }
    }

    void meet(QWidget *window)
    {
        note("shown", nameOf(window));
        note("text", window->windowTitle());
        auto *const box = qobject_cast<QMessageBox *>(window);
        if (box != nullptr) {
            note("text", box->text());
        }
        // The same window comes again and again.
        if (window->property("met").toBool()) {
            return;
        }
        window->setProperty("met", true);
        if (auto *const dialog = qobject_cast<QDialog *>(window)) {
            connect(dialog, &QDialog::finished, this, [=](int result) { end(dialog, result); });
        }
        if (box == nullptr && !window->inherits("QFileDialog")) {
            meetControls(window);
        }
    }

    void meetControls(const QWidget *window)
    {
        const auto children = window->findChildren<QWidget *>();
        for (QWidget *child : children) {
            if (child->window() != window) {
                continue;
            }
            if (isControl(child)) {
                note("offered", controlOf(child));
            }
            if (auto *const button = qobject_cast<QAbstractButton *>(child)) {
                connect(button, &QAbstractButton::clicked, this,
                        [=] { note("clicked", controlOf(button)); });
            } else if (auto *const bar = qobject_cast<QStatusBar *>(child)) {
                connect(bar, &QStatusBar::messageChanged, this,
                        [=](const QString &text) { note("text", text); });
            } else if (auto *const line = qobject_cast<QLineEdit *>(child)) {
                connect(line, &QLineEdit::textChanged, this, [=](const QString &text) {
                    if (line->isReadOnly()) {
                        note("text", text);
                    }
                });
            }
        }
    }

    void end(QDialog *dialog, int result)
    {
        const auto *const box = qobject_cast<QMessageBox *>(dialog);
        if (box != nullptr) {
            const QAbstractButton *const button = box->clickedButton();
            note("ended",
                 box->text() + QLatin1String(" = ") + (button ? labelOf(button) : QString()));
        } else {
            note("ended",
                 dialog->windowTitle()
                     + QLatin1String(result == QDialog::Accepted ? " = accepted" : " = rejected"));
        }
    }

    /// What a person can act on takes the focus, but for a table's header.
    static bool isControl(const QWidget *widget)
    {
        const auto *const header = qobject_cast<const QHeaderView *>(widget);
        const bool acts = header ? header->sectionsClickable() && !header->isHidden()
                                 : widget->focusPolicy() != Qt::NoFocus;
        return acts && !widget->property("readOnly").toBool()
            && !widget->objectName().startsWith(QLatin1String("qt_"));
    }

    static QString labelOf(const QAbstractButton *button)
    {
        return button->text().remove(QLatin1Char('&'));
    }

    /// The control that @p widget is or is a part of, with its window: "MainWindow.unit" for an
    /// entry of that combo box's list.
    static QString controlOf(const QWidget *widget)
    {
        QString name;
        QString part;
        const QWidget *at = widget;
        for (; !at->isWindow() || at->windowType() == Qt::Popup; at = at->parentWidget()) {
            if (at->parentWidget() == nullptr) {
                break;
            }
            if (name.isEmpty() && qobject_cast<const QHeaderView *>(at)) {
                part = QStringLiteral(".header");
            }
            const QString own = at->objectName();
            const auto *const button = qobject_cast<const QAbstractButton *>(at);
            if (name.isEmpty() && !own.isEmpty() && !own.startsWith(QLatin1String("qt_"))) {
                name = own;
            } else if (name.isEmpty() && button != nullptr) {
                name = labelOf(button);
            }
        }
        return nameOf(at) + QLatin1Char('.') + name + part;
    }

    void note(const char *word, const QString &subject)
    {
        const QString line =
            QStringList{QString::fromLatin1(word), subject.simplified(), scenario()}.join(
                QLatin1Char('\t'));
        if (subject.isEmpty() || m_noted.contains(line)) {
            return;
        }
        m_noted.insert(line);
        QFile file(m_path);
        if (file.open(QIODevice::Append)) {
            file.write(line.toUtf8() + '\n');
        }
    }

    QString m_path;
    QSet<QString> m_noted;
};
