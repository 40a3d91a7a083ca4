// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/layoutchecks.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLegend>
#include <QtCore/QHash>
#include <QtGui/QAccessible>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QAbstractSpinBox>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QGraphicsTextItem>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QStyleOption>
#include <QtWidgets/QTableWidget>
#include <cmath>

namespace {

/// The widgets of @p window that are on screen, without those of its drop-down lists.
QList<QWidget *> shownWidgets(const QWidget *window)
{
    QList<QWidget *> shown = window->findChildren<QWidget *>();
    const auto isElsewhere = [window](const QWidget *widget) {
        return widget->window() != window || !widget->isVisibleTo(window);
    };
    shown.erase(std::remove_if(shown.begin(), shown.end(), isElsewhere), shown.end());
    return shown;
}

/// Qt names the parts of a field; the name of the field itself is clearer.
QString nameOf(const QWidget *widget)
{
    const bool isPart = qobject_cast<const QAbstractSpinBox *>(widget->parentWidget());
    return (isPart ? widget->parentWidget() : widget)->objectName();
}

int textWidth(const QWidget *widget, const QString &text)
{
    return widget->fontMetrics().horizontalAdvance(text);
}

QRect textRect(const QLineEdit *line)
{
    QStyleOptionFrame option;
    option.initFrom(line);
    option.lineWidth = line->hasFrame()
        ? line->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, line)
        : 0;
    // Qt leaves this much free on both sides of a line's text.
    constexpr int margin = 2;
    return line->style()
        ->subElementRect(QStyle::SE_LineEditContents, &option, line)
        .adjusted(margin, 0, -margin, 0);
}

QRect textRect(const QComboBox *box)
{
    QStyleOptionComboBox option;
    option.initFrom(box);
    return box->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField,
                                        box);
}

QRect textRect(const QGroupBox *box)
{
    QStyleOptionGroupBox option;
    option.initFrom(box);
    option.text = box->title();
    option.subControls = QStyle::SC_GroupBoxLabel;
    return box->style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel,
                                        box);
}

QRect textRect(const QAbstractButton *button)
{
    QStyleOptionButton option;
    option.initFrom(button);
    const bool isBox = button->inherits("QCheckBox");
    return button->style()->subElementRect(
        isBox ? QStyle::SE_CheckBoxContents : QStyle::SE_PushButtonContents, &option, button);
}

QRect sectionRect(const QHeaderView *header, int section)
{
    return {header->sectionViewportPosition(section), 0, header->sectionSize(section),
            header->height()};
}

/// Fields and tables scroll; these don't.
bool isTooSmall(const QWidget *widget)
{
    if (!qobject_cast<const QAbstractButton *>(widget) && !qobject_cast<const QLabel *>(widget)
        && !qobject_cast<const QGroupBox *>(widget)) {
        return false;
    }
    const QSize least = widget->minimumSizeHint();
    return widget->width() < least.width() || widget->height() < least.height();
}

/// The texts that @p chart has shortened or that reach out of its view.
QStringList cutChartTexts(const QtCharts::QChartView *view, bool inLegend)
{
    QStringList cut;
    const QList<QGraphicsItem *> items = view->scene()->items();
    for (const QGraphicsItem *item : items) {
        const auto *const text = dynamic_cast<const QGraphicsTextItem *>(item);
        if (!text || !text->isVisible()
            || view->chart()->legend()->isAncestorOf(text) != inLegend) {
            continue;
        }
        const QString shown = text->toPlainText();
        const QRectF room = view->sceneRect().adjusted(-1, -1, 1, 1);
        if (shown.contains(QLatin1String("...")) || !room.contains(text->sceneBoundingRect())) {
            cut.append(QStringLiteral("chart: \"%1\" is cut").arg(shown));
        }
    }
    return cut;
}

QStringList narrowSections(const QTableWidget *table, bool headers)
{
    QStringList cut;
    const QHeaderView *const header = table->horizontalHeader();
    const int last = table->columnCount() - 1;
    // Names are shortened where the values would get less than a third of the view, or less than
    // half beside one column of names.
    const int share = table->viewport()->width() / (last > 1 ? 3 : 2);
    const bool isShared = last > 0 && table->columnWidth(last) <= share + 3;
    for (int column = 0; column <= (isShared && !headers ? -1 : last); ++column) {
        // Public in the base class alone.
        const QAbstractItemView *const view = table;
        const int need =
            headers ? header->sectionSizeHint(column) : view->sizeHintForColumn(column);
        if (table->columnWidth(column) < need) {
            cut.append(QStringLiteral("%1: column %2 is %3 wide and needs %4")
                           .arg(table->objectName())
                           .arg(column)
                           .arg(table->columnWidth(column))
                           .arg(need));
        }
    }
    return cut;
}

bool hasCutContents(const QWidget *widget)
{
    if (const auto *const line = qobject_cast<const QLineEdit *>(widget)) {
        return textWidth(line, line->displayText()) > textRect(line).width();
    }
    if (const auto *const box = qobject_cast<const QComboBox *>(widget)) {
        return textWidth(box, box->currentText()) > textRect(box).width();
    }
    if (const auto *const list = qobject_cast<const QListWidget *>(widget)) {
        return list->sizeHintForColumn(0) > list->viewport()->width();
    }
    return false;
}

bool isChart(const QWidget *widget)
{
    return widget->objectName() == QLatin1String("chart");
}

bool isInput(const QWidget *widget)
{
    const bool isPart = qobject_cast<const QAbstractSpinBox *>(widget->parentWidget())
        || qobject_cast<const QComboBox *>(widget->parentWidget());
    return !isPart && !qobject_cast<const QHeaderView *>(widget)
        && (qobject_cast<const QLineEdit *>(widget) || qobject_cast<const QComboBox *>(widget)
            || qobject_cast<const QAbstractSpinBox *>(widget)
            || qobject_cast<const QAbstractItemView *>(widget)
            || qobject_cast<const QProgressBar *>(widget) || isChart(widget));
}

/// The text that a screen reader reads before the content of @p input. On this platform Qt gives a
/// combo box its content as a name, and leaves the name to the label that leads to it.
QString accessibleName(QWidget *input)
{
    const QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(input);
    const QString name = interface->text(QAccessible::Name);
    if (!name.isEmpty() && !qobject_cast<QComboBox *>(input)) {
        return name;
    }
    const auto relations = interface->relations(QAccessible::Label);
    for (const auto &relation : relations) {
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

/// The contrast of the most frequent colour in @p picture to the one that differs most, as the Web
/// Content Accessibility Guidelines define it: 1 to 21.
double contrast(const QImage &picture)
{
    QHash<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            ++counts[picture.pixel(x, y)];
        }
    }
    QRgb background = 0;
    for (auto color = counts.cbegin(); color != counts.cend(); ++color) {
        if (color.value() > counts.value(background)) {
            background = color.key();
        }
    }
    constexpr double flare = 0.05;
    double greatest = 1;
    for (auto color = counts.cbegin(); color != counts.cend(); ++color) {
        const double one = luminance(color.key()) + flare;
        const double other = luminance(background) + flare;
        greatest = std::max({greatest, one / other, other / one});
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
    for (int column = 0; column < table->columnCount(); ++column) {
        const auto inner = [](const QRect &rect) { return rect.adjusted(3, 3, -3, -3); };
        texts.append({header->viewport(), inner(sectionRect(header, column)),
                      table->objectName() + QLatin1String(" header")});
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

/// The texts that @p widget paints itself. The entries of a list with colours of their own do
/// not depend on the palette.
QVector<Text> textsOf(const QWidget *widget)
{
    const QString name = nameOf(widget);
    if (const auto *const label = qobject_cast<const QLabel *>(widget)) {
        return label->text().isEmpty() ? QVector<Text>()
                                       : QVector<Text>{{label, label->rect(), name}};
    }
    if (const auto *const button = qobject_cast<const QAbstractButton *>(widget)) {
        return button->text().isEmpty() ? QVector<Text>()
                                        : QVector<Text>{{button, textRect(button), name}};
    }
    if (const auto *const box = qobject_cast<const QGroupBox *>(widget)) {
        return {{box, textRect(box), name}};
    }
    if (const auto *const line = qobject_cast<const QLineEdit *>(widget)) {
        return line->displayText().isEmpty() ? QVector<Text>()
                                             : QVector<Text>{{line, textRect(line), name}};
    }
    if (const auto *const box = qobject_cast<const QComboBox *>(widget)) {
        return box->currentText().isEmpty() ? QVector<Text>()
                                            : QVector<Text>{{box, textRect(box), name}};
    }
    if (const auto *const table = qobject_cast<const QTableWidget *>(widget)) {
        return cellsOf(table);
    }
    if (const auto *const bar = qobject_cast<const QStatusBar *>(widget)) {
        return bar->currentMessage().isEmpty()
            ? QVector<Text>()
            : QVector<Text>{
                {bar, {6, 0, textWidth(bar, bar->currentMessage()), bar->height()}, name}};
    }
    return {};
}

} // namespace

QStringList LayoutChecks::cutTexts(const QWidget *window)
{
    QStringList cut;
    const QList<QWidget *> widgets = shownWidgets(window);
    for (const QWidget *widget : widgets) {
        if (isTooSmall(widget)) {
            cut.append(nameOf(widget) + QLatin1String(": too small"));
        }
        const auto *const bar = qobject_cast<const QStatusBar *>(widget);
        if (bar && textWidth(bar, bar->currentMessage()) > bar->width()) {
            cut.append(nameOf(widget) + QLatin1String(": its text is cut"));
        }
        if (const auto *const table = qobject_cast<const QTableWidget *>(widget)) {
            cut.append(narrowSections(table, true));
        }
        if (const auto *const view = qobject_cast<const QtCharts::QChartView *>(widget)) {
            cut.append(cutChartTexts(view, false));
        }
    }
    return cut;
}

QStringList LayoutChecks::cutContents(const QWidget *window)
{
    QStringList cut;
    const QList<QWidget *> widgets = shownWidgets(window);
    for (const QWidget *widget : widgets) {
        if (hasCutContents(widget)) {
            cut.append(nameOf(widget) + QLatin1String(": its text is cut"));
        }
        if (const auto *const table = qobject_cast<const QTableWidget *>(widget)) {
            cut.append(narrowSections(table, false));
        }
        if (const auto *const view = qobject_cast<const QtCharts::QChartView *>(widget)) {
            cut.append(cutChartTexts(view, true));
        }
    }
    return cut;
}

QList<QWidget *> LayoutChecks::inputs(const QWidget *window)
{
    QList<QWidget *> found;
    const QList<QWidget *> widgets = window->findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        if (widget->window() == window && isInput(widget)) {
            found.append(widget);
        }
    }
    return found;
}

QList<QWidget *> LayoutChecks::stops(QWidget *window, Qt::Key key)
{
    constexpr int enough = 200;
    QList<QWidget *> found;
    for (int press = 0; press < enough; ++press) {
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
    const QList<QWidget *> reached = stops(window, Qt::Key_Tab) + stops(window, Qt::Key_Backtab);
    QStringList missed;
    const QList<QWidget *> widgets = shownWidgets(window);
    for (QWidget *widget : widgets) {
        const bool isButton = qobject_cast<QAbstractButton *>(widget)
            && !qobject_cast<QAbstractItemView *>(widget->parentWidget());
        const bool isControl = (isInput(widget) || isButton) && !isChart(widget)
            && !qobject_cast<QProgressBar *>(widget);
        if (isControl && widget->isEnabled() && !reached.contains(widget)) {
            missed.append(widget->objectName() + QLatin1String(": not reached by Tab"));
        }
    }
    return missed;
}

QStringList LayoutChecks::badlyNamedControls(const QWidget *window)
{
    QStringList bad;
    QStringList names;
    const QList<QWidget *> widgets = inputs(window);
    for (QWidget *widget : widgets) {
        const QString name = accessibleName(widget);
        if (name.isEmpty() || names.contains(name)) {
            bad.append(
                QStringLiteral("%1: accessible name \"%2\"").arg(widget->objectName(), name));
        }
        names.append(name);
    }
    return bad;
}

QStringList LayoutChecks::faintTexts(QWidget *window)
{
    constexpr double least = 4.5;
    QStringList faint;
    const QList<QWidget *> widgets = shownWidgets(window);
    const QPixmap picture = window->grab();
    for (const QWidget *widget : widgets) {
        const QVector<Text> texts = widget->isEnabled() ? textsOf(widget) : QVector<Text>();
        for (const Text &text : texts) {
            const QRect rect(text.widget->mapTo(window, text.rect.topLeft()), text.rect.size());
            const qreal ratio = picture.devicePixelRatio();
            const QRectF pixels(QPointF(rect.topLeft()) * ratio, QSizeF(rect.size()) * ratio);
            const double found = contrast(picture.copy(pixels.toRect()).toImage());
            if (found < least) {
                faint.append(QStringLiteral("%1: contrast %2").arg(text.what).arg(found));
            }
        }
    }
    return faint;
}
