// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/layoutchecks.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLegend>
#include <QtCore/QHash>
#include <QtGui/QAccessible>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>
#include <QtWidgets/QGraphicsTextItem>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QStyleOption>
#include <QtWidgets/QTableWidget>
#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace {

enum class Part { Captions, Contents };

bool isOneOf(const QWidget *widget, const std::initializer_list<const char *> &classes)
{
    return widget != nullptr && std::any_of(classes.begin(), classes.end(), [=](const char *name) {
               return widget->inherits(name);
           });
}

/// The widgets of @p window that are on screen, without those of its drop-down lists.
QList<QWidget *> shownWidgets(const QWidget *window)
{
    QList<QWidget *> shown;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (widget->window() == window && widget->isVisibleTo(window)) {
            shown.append(widget);
        }
    }
    return shown;
}

/// The object name of @p widget. For a part of a spin box, which Qt creates, that of the spin box.
QString nameOf(const QWidget *widget)
{
    const bool isPart = isOneOf(widget->parentWidget(), {"QAbstractSpinBox"});
    return (isPart ? widget->parentWidget() : widget)->objectName();
}

/// The text that @p widget paints itself.
QString shownText(const QWidget *widget)
{
    const auto *const bar = qobject_cast<const QStatusBar *>(widget);
    const auto *const line = qobject_cast<const QLineEdit *>(widget);
    return bar                           ? bar->currentMessage()
        : line                           ? line->displayText()
        : isOneOf(widget, {"QGroupBox"}) ? widget->property("title").toString()
        : isOneOf(widget, {"QComboBox"}) ? widget->property("currentText").toString()
        : isOneOf(widget, {"QLabel", "QAbstractButton"}) ? widget->property("text").toString()
                                                         : QString();
}

int textWidth(const QWidget *widget)
{
    return widget->fontMetrics().horizontalAdvance(shownText(widget));
}

/// Where @p widget paints its text.
QRect textRect(const QWidget *widget)
{
    const QStyle *const style = widget->style();
    if (const auto *const line = qobject_cast<const QLineEdit *>(widget)) {
        QStyleOptionFrame option;
        option.initFrom(line);
        option.lineWidth =
            line->hasFrame() ? style->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, line) : 0;
        // Qt leaves this much free on both sides of a line's text.
        constexpr int margin = 2;
        return style->subElementRect(QStyle::SE_LineEditContents, &option, line)
            .adjusted(margin, 0, -margin, 0);
    }
    if (isOneOf(widget, {"QComboBox"})) {
        QStyleOptionComboBox option;
        option.initFrom(widget);
        return style->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField,
                                     widget);
    }
    if (isOneOf(widget, {"QGroupBox"})) {
        QStyleOptionGroupBox option;
        option.initFrom(widget);
        option.text = shownText(widget);
        option.subControls = QStyle::SC_GroupBoxLabel;
        return style->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel,
                                     widget);
    }
    if (isOneOf(widget, {"QAbstractButton"})) {
        QStyleOptionButton option;
        option.initFrom(widget);
        return style->subElementRect(isOneOf(widget, {"QCheckBox"}) ? QStyle::SE_CheckBoxContents
                                                                    : QStyle::SE_PushButtonContents,
                                     &option, widget);
    }
    return isOneOf(widget, {"QStatusBar"}) ? QRect(6, 0, textWidth(widget), widget->height())
                                           : widget->rect();
}

/// Fields and tables can scroll their content; buttons, labels and group boxes can't.
bool isTooSmall(const QWidget *widget)
{
    const QSize minimum = widget->minimumSizeHint();
    return isOneOf(widget, {"QAbstractButton", "QLabel", "QGroupBox"})
        && (widget->width() < minimum.width() || widget->height() < minimum.height());
}

bool isTextCut(const QWidget *widget, Part part)
{
    if (part == Part::Captions) {
        return isOneOf(widget, {"QStatusBar"}) && textWidth(widget) > widget->width();
    }
    const auto *const list = qobject_cast<const QListWidget *>(widget);
    return list ? list->sizeHintForColumn(0) > list->viewport()->width()
                : isOneOf(widget, {"QLineEdit", "QComboBox"})
            && textWidth(widget) > textRect(widget).width();
}

/// The texts of a chart, or of its legend, that are shortened or extend beyond its view.
QStringList cutChartTexts(const QtCharts::QChartView *view, Part part)
{
    QStringList cut;
    for (const QGraphicsItem *item : view->scene()->items()) {
        const auto *const text = dynamic_cast<const QGraphicsTextItem *>(item);
        if (!text || !text->isVisible()
            || view->chart()->legend()->isAncestorOf(text) != (part == Part::Contents)) {
            continue;
        }
        const QString shown = text->toPlainText();
        const QRectF visibleRect = view->sceneRect().adjusted(-1, -1, 1, 1);
        if (shown.contains(QLatin1String("..."))
            || !visibleRect.contains(text->sceneBoundingRect())) {
            cut.append(QStringLiteral("chart: \"%1\" is cut").arg(shown));
        }
    }
    return cut;
}

/// The columns whose headers or cells are cut.
QStringList narrowColumns(const QTableWidget *table, Part part)
{
    QStringList cut;
    const int last = table->columnCount() - 1;
    // Names are shortened where the values would get less than a third of the view, or less than
    // half beside one column of names.
    const int share = table->viewport()->width() / (last > 1 ? 3 : 2);
    if (part == Part::Contents && last > 0 && table->columnWidth(last) <= share + 3) {
        return cut;
    }
    for (int column = 0; column <= last; ++column) {
        // sizeHintForColumn() is public only in the base class.
        const QAbstractItemView *const view = table;
        const int requiredWidth = part == Part::Captions
            ? table->horizontalHeader()->sectionSizeHint(column)
            : view->sizeHintForColumn(column);
        if (table->columnWidth(column) < requiredWidth) {
            cut.append(QStringLiteral("%1: column %2 is %3 wide and needs %4")
                           .arg(table->objectName())
                           .arg(column)
                           .arg(table->columnWidth(column))
                           .arg(requiredWidth));
        }
    }
    return cut;
}

QStringList cutParts(const QWidget *window, Part part)
{
    QStringList cut;
    for (const QWidget *widget : shownWidgets(window)) {
        if (part == Part::Captions && isTooSmall(widget)) {
            cut.append(nameOf(widget) + QLatin1String(": too small"));
        }
        if (isTextCut(widget, part)) {
            cut.append(nameOf(widget) + QLatin1String(": its text is cut"));
        }
        if (const auto *const table = qobject_cast<const QTableWidget *>(widget)) {
            cut.append(narrowColumns(table, part));
        }
        if (const auto *const view = qobject_cast<const QtCharts::QChartView *>(widget)) {
            cut.append(cutChartTexts(view, part));
        }
    }
    return cut;
}

bool isChart(const QWidget *widget) { return widget->objectName() == QLatin1String("chart"); }

bool isInput(const QWidget *widget)
{
    return !isOneOf(widget->parentWidget(), {"QAbstractSpinBox", "QComboBox"})
        && !isOneOf(widget, {"QHeaderView"})
        && (isChart(widget)
            || isOneOf(widget,
                       {"QLineEdit", "QComboBox", "QAbstractSpinBox", "QAbstractItemView",
                        "QProgressBar"}));
}

/// The text that a screen reader reads before the content of @p input. On this platform Qt returns
/// the content of a combo box as its name; its real name is that of the label beside it.
QString accessibleName(QWidget *input)
{
    const QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(input);
    const QString name = interface->text(QAccessible::Name);
    if (!name.isEmpty() && !isOneOf(input, {"QComboBox"})) {
        return name;
    }
    for (const auto &relation : interface->relations(QAccessible::Label)) {
        if (qobject_cast<QLabel *>(relation.first->object())) {
            return relation.first->text(QAccessible::Name);
        }
    }
    return interface->text(QAccessible::Description);
}

double luminance(QRgb color)
{
    const auto linear = [](int channel) {
        const double share = channel / 255.0;
        return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color))
        + 0.0722 * linear(qBlue(color));
}

/// The contrast of the most frequent colour in @p image to the one that differs most, as the Web
/// Content Accessibility Guidelines define it: 1 to 21.
double contrast(const QImage &image)
{
    constexpr double flare = 0.05;
    QHash<QRgb, int> counts;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ++counts[image.pixel(x, y)];
        }
    }
    const QRgb background = std::max_element(counts.cbegin(), counts.cend()).key();
    double greatest = 1;
    for (auto color = counts.cbegin(); color != counts.cend(); ++color) {
        const double ratio = (luminance(color.key()) + flare) / (luminance(background) + flare);
        greatest = std::max({greatest, ratio, 1 / ratio});
    }
    return greatest;
}

struct Text
{
    const QWidget *widget;
    QRect rect; ///< in the widget
    QString what;
};

/// The cells and headers of @p table without the lines between them.
QVector<Text> cellsOf(const QTableWidget *table)
{
    QVector<Text> texts;
    const QHeaderView *const header = table->horizontalHeader();
    const auto inner = [](const QRect &rect) { return rect.adjusted(3, 3, -3, -3); };
    for (int column = 0; column < table->columnCount(); ++column) {
        const QRect section(header->sectionViewportPosition(column), 0, header->sectionSize(column),
                            header->height());
        texts.append(
            {header->viewport(), inner(section), table->objectName() + QLatin1String(" header")});
        for (int row = 0; row < table->rowCount(); ++row) {
            const QTableWidgetItem *const item = table->item(row, column);
            const QRect rect = table->visualItemRect(item);
            if (!item->text().trimmed().isEmpty() && table->viewport()->rect().contains(rect)) {
                texts.append({table->viewport(), inner(rect),
                              table->objectName() + QLatin1String(": ") + item->text()});
            }
        }
    }
    return texts;
}

/// The texts in @p widget, without the entries of a list: they set their own colours, which do not
/// depend on the palette.
QVector<Text> textsOf(const QWidget *widget)
{
    if (const auto *const table = qobject_cast<const QTableWidget *>(widget)) {
        return cellsOf(table);
    }
    return shownText(widget).isEmpty() ? QVector<Text>()
                                       : QVector<Text>{{widget, textRect(widget), nameOf(widget)}};
}

} // namespace

QStringList LayoutChecks::cutTexts(const QWidget *window)
{
    return cutParts(window, Part::Captions);
}

QStringList LayoutChecks::cutContents(const QWidget *window)
{
    return cutParts(window, Part::Contents);
}

QList<QWidget *> LayoutChecks::inputs(const QWidget *window)
{
    QList<QWidget *> found;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (widget->window() == window && isInput(widget)) {
            found.append(widget);
        }
    }
    return found;
}

QList<QWidget *> LayoutChecks::widgetsReachedBy(QWidget *window, Qt::Key key)
{
    constexpr int maxKeyPresses = 200;
    QList<QWidget *> found;
    for (int press = 0; press < maxKeyPresses; ++press) {
        QWidget *const focus = QApplication::focusWidget();
        // A date field has several sections.
        if (focus && (found.isEmpty() || found.last() != focus)) {
            if (!found.isEmpty() && found.first() == focus) {
                break;
            }
            found.append(focus);
        }
        QTest::keyClick(window->windowHandle(), key);
    }
    return found;
}

QStringList LayoutChecks::unreachableControls(QWidget *window)
{
    const QList<QWidget *> reached =
        widgetsReachedBy(window, Qt::Key_Tab) + widgetsReachedBy(window, Qt::Key_Backtab);
    QStringList missed;
    for (QWidget *widget : shownWidgets(window)) {
        const bool isButton = isOneOf(widget, {"QAbstractButton"})
            && !isOneOf(widget->parentWidget(), {"QAbstractItemView"});
        const bool isControl =
            (isInput(widget) || isButton) && !isChart(widget) && !isOneOf(widget, {"QProgressBar"});
        if (isControl && widget->isEnabled() && !reached.contains(widget)) {
            missed.append(widget->objectName() + QLatin1String(": not reached by Tab"));
        }
    }
    return missed;
}

QStringList LayoutChecks::badlyNamedControls(const QWidget *window)
{
    QStringList faulty;
    QStringList names;
    for (QWidget *widget : inputs(window)) {
        const QString name = accessibleName(widget);
        if (name.isEmpty() || names.contains(name)) {
            faulty.append(
                QStringLiteral("%1: accessible name \"%2\"").arg(widget->objectName(), name));
        }
        names.append(name);
    }
    return faulty;
}

QStringList LayoutChecks::lowContrastTexts(QWidget *window)
{
    constexpr double minimum = 4.5;
    QStringList lowContrast;
    const QPixmap screenshot = window->grab();
    const qreal ratio = screenshot.devicePixelRatio();
    for (const QWidget *widget : shownWidgets(window)) {
        for (const Text &text : widget->isEnabled() ? textsOf(widget) : QVector<Text>()) {
            const QPointF corner = text.widget->mapTo(window, text.rect.topLeft());
            const QRectF pixels(corner * ratio, QSizeF(text.rect.size()) * ratio);
            const double found = contrast(screenshot.copy(pixels.toRect()).toImage());
            if (found < minimum) {
                lowContrast.append(QStringLiteral("%1: contrast %2").arg(text.what).arg(found));
            }
        }
    }
    return lowContrast;
}
