// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/uicoveragerecorder.h"

#include <QtCore/QFile>
#include <QtGui/QKeyEvent>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QStatusBar>

namespace {

constexpr const char *pathVariable = "KV_UI_COVERAGE";

/// Controls are the widgets that accept the focus, and clickable headers of tables.
bool isControl(const QWidget *widget)
{
    const auto *const header = qobject_cast<const QHeaderView *>(widget);
    const bool isUsable = header ? header->sectionsClickable() && !header->isHidden()
                                 : widget->focusPolicy() != Qt::NoFocus;
    return isUsable && !widget->property("readOnly").toBool()
        && !widget->objectName().startsWith(QLatin1String("qt_"));
}

QString labelOf(const QAbstractButton *button) { return button->text().remove(QLatin1Char('&')); }

/// The control that @p widget is or is a part of, with its window: "MainWindow.unit" for an entry
/// of that combo box's list.
QString controlOf(const QWidget *widget)
{
    QString name;
    QString part;
    const QWidget *current = widget;
    for (; !current->isWindow() || current->windowType() == Qt::Popup;
         current = current->parentWidget()) {
        if (current->parentWidget() == nullptr) {
            break;
        }
        if (name.isEmpty() && qobject_cast<const QHeaderView *>(current)) {
            part = QStringLiteral(".header");
        }
        const QString objectName = current->objectName();
        const auto *const button = qobject_cast<const QAbstractButton *>(current);
        if (name.isEmpty() && !objectName.isEmpty()
            && !objectName.startsWith(QLatin1String("qt_"))) {
            name = objectName;
        } else if (name.isEmpty() && button != nullptr) {
            name = labelOf(button);
        }
    }
    return UiCoverageRecorder::nameOf(current) + QLatin1Char('.') + name + part;
}

} // namespace

UiCoverageRecorder::UiCoverageRecorder(QObject *parent)
    : QObject(parent)
    , m_path(qEnvironmentVariable(pathVariable))
{
    if (!m_path.isEmpty()) {
        qApp->installEventFilter(this);
    }
}

void UiCoverageRecorder::reset()
{
    if (qEnvironmentVariableIsSet(pathVariable)) {
        QFile::remove(qEnvironmentVariable(pathVariable));
    }
}

QString UiCoverageRecorder::scenario()
{
    return qEnvironmentVariable("KV_SCENARIO",
                                QCoreApplication::applicationName() + QLatin1String("::")
                                    + QLatin1String(QTest::currentTestFunction()));
}

QString UiCoverageRecorder::nameOf(const QWidget *window)
{
    return window->objectName().isEmpty() || window->inherits("QFileDialog")
        ? QString::fromLatin1(window->metaObject()->className())
        : window->objectName();
}

bool UiCoverageRecorder::eventFilter(QObject *watched, QEvent *event)
{
    if (watched->isWidgetType()) {
        recordEvent(static_cast<QWidget *>(watched), event);
    }
    return false;
}

void UiCoverageRecorder::recordEvent(QWidget *widget, QEvent *event)
{
    const bool isWindow = widget->isWindow() && widget->windowType() != Qt::Popup
        && widget->windowType() != Qt::ToolTip;
    switch (event->type()) {
    case QEvent::Show:
        if (isWindow) {
            recordWindow(widget);
        }
        break;
    case QEvent::WindowTitleChange:
        if (isWindow && widget->isVisible()) {
            record("text", widget->windowTitle());
        }
        break;
    case QEvent::Close:
        if (isWindow && event->spontaneous()) {
            record("closed", nameOf(widget));
        }
        break;
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape
            && qobject_cast<QDialog *>(widget->window())) {
            record("escaped", nameOf(widget->window()));
        }
        Q_FALLTHROUGH();
    case QEvent::MouseButtonPress:
        if (event->spontaneous() && widget->isVisible() && widget->isEnabled()) {
            record("pressed", controlOf(widget));
        }
        break;
    default:
        break;
    }
}

void UiCoverageRecorder::recordWindow(QWidget *window)
{
    record("shown", nameOf(window));
    record("text", window->windowTitle());
    auto *const box = qobject_cast<QMessageBox *>(window);
    if (box != nullptr) {
        record("text", box->text());
    }
    // A window may be shown several times.
    constexpr const char *recorded = "uiCoverageRecorded";
    if (window->property(recorded).toBool()) {
        return;
    }
    window->setProperty(recorded, true);
    if (auto *const dialog = qobject_cast<QDialog *>(window)) {
        connect(dialog, &QDialog::finished, this, [=](int result) { recordEnd(dialog, result); });
    }
    if (box == nullptr && !window->inherits("QFileDialog")) {
        recordControls(window);
    }
}

void UiCoverageRecorder::recordControls(const QWidget *window)
{
    for (QWidget *child : window->findChildren<QWidget *>()) {
        if (child->window() != window) {
            continue;
        }
        if (isControl(child)) {
            record("offered", controlOf(child));
        }
        if (auto *const button = qobject_cast<QAbstractButton *>(child)) {
            connect(button, &QAbstractButton::clicked, this,
                    [=] { record("clicked", controlOf(button)); });
        } else if (auto *const bar = qobject_cast<QStatusBar *>(child)) {
            connect(bar, &QStatusBar::messageChanged, this,
                    [=](const QString &text) { record("text", text); });
        } else if (auto *const line = qobject_cast<QLineEdit *>(child)) {
            connect(line, &QLineEdit::textChanged, this, [=](const QString &text) {
                record("text", line->isReadOnly() ? text : QString());
            });
        }
    }
}

void UiCoverageRecorder::recordEnd(const QDialog *dialog, int result)
{
    const auto *const box = qobject_cast<const QMessageBox *>(dialog);
    QString end = QLatin1String(result == QDialog::Accepted ? "accepted" : "rejected");
    if (box != nullptr) {
        end = box->clickedButton() ? labelOf(box->clickedButton()) : QString();
    }
    record("ended", (box ? box->text() : dialog->windowTitle()) + QLatin1String(" = ") + end);
}

void UiCoverageRecorder::record(const char *event, const QString &subject)
{
    const QStringList fields{QString::fromLatin1(event), subject.simplified(), scenario()};
    const QString line = fields.join(QLatin1Char('\t'));
    QFile file(m_path);
    if (!subject.isEmpty() && !m_recorded.contains(line) && file.open(QIODevice::Append)) {
        m_recorded.insert(line);
        file.write(line.toUtf8() + '\n');
    }
}
