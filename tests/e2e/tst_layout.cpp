// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graphqt.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/layoutchecks.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "ui/exportmeasurementstocsvdialog.h"
#include "ui/mainwindow.h"
#include "ui/measurementgraph.h"
#include "ui/waitdialog.h"

#include <QtCharts/QChart>
#include <QtCore/QDir>
#include <QtGui/QAccessible>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QGraphicsTextItem>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStyleFactory>
#include <QtWidgets/QTableWidget>
#include <memory>

using namespace LayoutChecks;

namespace {

/// How much the windows show.
struct Content
{
    int measurements;
    int settings;
    bool longNames;
};

const QMap<QString, Content> contents{
    {QStringLiteral("empty"), {0, 0, false}},
    {QStringLiteral("typical"), {6, 8, false}},
    {QStringLiteral("many"), {12, 40, false}},
    {QStringLiteral("long names"), {12, 40, true}},
};

const char *const forms[] = {"main window", "graph", "export", "wait dialog"};

const QStringList names = texts("W0|W1|W2|A2|A4|W3|A0|A1|A3|A5|P0|P1");

QVector<MeasurementValue> measurementValues(int count)
{
    QVector<MeasurementValue> values;
    for (int i = 0; i < count; ++i) {
        values.append({names.at(i), true, 20.7222 + i});
    }
    return values;
}

/// A window of the tool that is shown, and the fake store with its readings.
class ShownWindow
{
public:
    explicit ShownWindow(const QString &form, const QString &content = text("typical"))
        : m_content(contents.value(content))
    {
        if (m_content.measurements > 0) {
            fillStore();
        }
        if (form == text("main window")) {
            auto *const window = new MainWindow(nullptr);
            show(window);
            fill(*window);
        } else if (form == text("graph")) {
            auto *const graph = new MeasurementGraph(nullptr);
            show(graph);
            fill(*graph);
        } else if (form == text("export")) {
            auto *const dialog = new ExportMeasurementsToCsvDialog(&m_storage, nullptr);
            dialog->setMeasurementItems(measurementItems());
            dialog->loadDevices();
            show(dialog);
        } else {
            auto *const dialog = new WaitDialog(nullptr);
            dialog->setWindowTitle(text("Updating firmware, please wait."));
            show(dialog);
        }
        // Filling the window may change its layout.
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }

    QWidget *operator->() const { return m_window.get(); }
    QWidget *get() const { return m_window.get(); }
    MainWindow &mainWindow() const { return static_cast<MainWindow &>(*m_window); }

    template <typename T>
    T *child(const char *name) const
    {
        return m_window->findChild<T *>(text(name));
    }

    QRect rectOf(const QWidget *widget) const
    {
        return {widget->mapTo(m_window.get(), QPoint()), widget->size()};
    }

private:
    /// Adds one device with hourly readings of two days.
    void fillStore()
    {
        StoredDevice device;
        device.id = 1;
        device.details.modelNumber = text("KVT-100");
        device.details.serialNumber = text("K529636");
        m_storage.devicesResult = {device};
        for (int i = 0; i < m_content.measurements; ++i) {
            m_storage.measurementTypesResult.insert(static_cast<unsigned>(i), names.at(i));
        }
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (int hour = -48; hour <= 0; ++hour) {
            StoredMeasurement row;
            row.timestamp = now.addSecs(hour * 3600);
            row.values = measurementValues(m_content.measurements);
            m_storage.measurementsResult.append(row);
        }
    }

    void fill(MainWindow &window) const
    {
        window.addPort(text("Simulated transmitter"), text("/dev/null"));
        if (m_content.measurements == 0) {
            return;
        }
        window.setSerialNumber(text("K529636"));
        window.setModelNumber(text("KVT-100"));
        window.setHealth(98);
        window.setConfiguration(configuration());
        window.setMeasurementItems(measurementItems());
        window.addMeasurement({}, measurementValues(m_content.measurements));
        window.setConnected(true);
        window.setMeasurementState(MeasurementState::Ready);
    }

    void fill(MeasurementGraph &graph)
    {
        graph.setLocalStorage(&m_storage);
        graph.setMeasurementItems(measurementItems());
        graph.setShowLatest(false);
        graph.setFromDate(QDateTime::currentDateTimeUtc().addDays(-2));
        graph.setToDate(QDateTime::currentDateTimeUtc());
        graph.setManualRange(false);
        graph.beginLoading();
        graph.endLoading();
        graph.applySelection(names.mid(0, m_content.longNames ? names.size() : 2));
    }

    QVector<MeasurementItem> measurementItems() const
    {
        const QStringList shown =
            texts("Room temperature|Relative humidity|Air pressure|Carbon monoxide|Formaldehyde");
        QVector<MeasurementItem> items;
        for (int i = 0; i < m_content.measurements; ++i) {
            items.append({names.at(i), name(shown, "Measurement %1", i), MeasurementUnit::Ppm,
                          MeasurementType::Pollutant, 1.0});
        }
        return items;
    }

    DeviceConfiguration configuration() const
    {
        DeviceConfiguration result;
        for (int i = 0; i < m_content.settings; ++i) {
            ConfigurationItem item;
            item.name = name(texts("Temp. offset (°F)|Log interval (min)"), "Setting %1", i);
            item.alias = name(texts("temp_offset|alarm_humidity"), "alias_%1", i);
            result.configurationItems.append(item);
        }
        return result;
    }

    /// Element @p number of @p first; beyond its end, @p others with the number.
    QString name(const QStringList &first, const char *others, int number) const
    {
        constexpr int longNameLetters = 90;
        return first.value(number, text(others).arg(number))
            .leftJustified(m_content.longNames ? longNameLetters : 0, QLatin1Char('w'));
    }

    void show(QWidget *window)
    {
        m_window.reset(window);
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        // A window that is smaller than its contents grows, but only after the style has laid them
        // out.
        QTRY_VERIFY(window->width() >= window->minimumSizeHint().width());
        for (int pass = 0; pass < 3; ++pass) {
            QCoreApplication::processEvents();
        }
    }

    Content m_content;
    FakeLocalStorage m_storage;
    std::unique_ptr<QWidget> m_window;
};

QPalette darkPalette()
{
    const QColor window(49, 54, 59);
    const QColor light(239, 240, 241);
    QPalette palette(window);
    palette.setColor(QPalette::Base, QColor(35, 38, 41));
    palette.setColor(QPalette::AlternateBase, window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, light);
        palette.setColor(QPalette::Disabled, role, light.darker(180));
    }
    return palette;
}

/// Saves a screenshot in the folder that KV_LAYOUT_SCREENSHOTS names; without it, does nothing.
void saveLayoutScreenshot(QWidget *window, const QString &name)
{
    const QString folder = qEnvironmentVariable("KV_LAYOUT_SCREENSHOTS");
    if (!folder.isEmpty()) {
        window->grab().save(QDir(folder).filePath(
            QString(name).replace(QLatin1Char(' '), QLatin1Char('-')) + text(".png")));
    }
}

} // namespace

/// Each window in each installed style, with the scale factor or DPI that the environment sets:
/// texts are readable, controls can be reached with the keyboard, and screen readers get names.
class TestLayout : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        // The default size on a desktop; the offscreen platform's font is larger.
        QApplication::setFont(QFont(text("Sans Serif"), 9));
        QApplication::setStyle(text("Fusion"));
        QApplication::setPalette(QApplication::style()->standardPalette());
    }

    void textsAreReadableAndControlsReachable_data()
    {
        QTest::addColumn<QString>("style");
        QTest::addColumn<bool>("dark");
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("content");
        for (const QString &style : QStyleFactory::keys()) {
            for (const bool dark : {false, true}) {
                for (const char *form : forms) {
                    for (auto content = contents.begin(); content != contents.end(); ++content) {
                        QTest::addRow("%s %s %s %s", qPrintable(style), dark ? "dark" : "light",
                                      form, qPrintable(content.key()))
                            << style << dark << text(form) << content.key();
                    }
                }
            }
        }
    }

    void textsAreReadableAndControlsReachable()
    {
        QFETCH(QString, style);
        QFETCH(bool, dark);
        QFETCH(QString, form);
        QFETCH(QString, content);
        QApplication::setStyle(style);
        QApplication::setPalette(dark ? darkPalette() : QApplication::style()->standardPalette());
        const ShownWindow window(form, content);
        const bool isLong = contents.value(content).longNames;

        saveLayoutScreenshot(window.get(), text(QTest::currentDataTag()));
        QCOMPARE(cutTexts(window.get()).join(text("; ")), QString());
        QCOMPARE(isLong ? QString() : cutContents(window.get()).join(text("; ")), QString());
        QCOMPARE(unreachableControls(window.get()).join(text("; ")), QString());
        QCOMPARE(badlyNamedControls(window.get()).join(text("; ")), QString());
        // The colours of a selection are the desktop's choice, and a style may animate them.
        QApplication::focusWidget()->clearFocus();
        QTRY_COMPARE(lowContrastTexts(window.get()).join(text("; ")), QString());

        const QSize originalSize = window->size();
        const QSize minimumSize = window->minimumSizeHint().expandedTo(window->minimumSize());
        window->resize(minimumSize);
        QTRY_COMPARE(window->size(), minimumSize);
        saveLayoutScreenshot(window.get(), text(QTest::currentDataTag()) + text(" small"));
        QCOMPARE(cutTexts(window.get()).join(text("; ")), QString());
        window->resize(2 * originalSize);
        QTRY_COMPARE(window->size(), 2 * originalSize);
        QCOMPARE(cutTexts(window.get()).join(text("; ")), QString());
    }

    void tabOrderGoesDownEachColumn()
    {
        for (const char *form : forms) {
            const ShownWindow window(text(form));
            const QList<QWidget *> order = widgetsReachedBy(window.get(), Qt::Key_Tab);
            QVERIFY(!order.isEmpty());
            // order.first() is the widget that had the focus initially.
            for (int i = 1; i < order.size(); ++i) {
                const QRect before = window.rectOf(order.at(i - 1));
                const QRect after = window.rectOf(order.at(i));
                // The focus moves to the left only if it also moves down, to the next row of
                // groups.
                QVERIFY2(after.top() > before.top() || after.left() > before.left(),
                         qPrintable(order.at(i - 1)->objectName() + text(" then ")
                                    + order.at(i)->objectName()));
            }
        }
    }

    void buttonsAndBannerHaveAccessibleDescriptions()
    {
        const char *const widgets[][3] = {
            // form, widget, description
            {"main window", "eraseLogButton", "Clears the device's log"},
            {"main window", "label_10", "Banner: KV Tool, air-quality transmitters"},
            {"graph", "buttonClear", "Unticks all measurements"},
        };
        for (const auto &[form, name, description] : widgets) {
            const ShownWindow window(text(form));
            const auto *const accessible =
                QAccessible::queryAccessibleInterface(window.child<QWidget>(name));
            QCOMPARE(accessible->text(QAccessible::Description), text(description));
            QVERIFY2(!accessible->text(QAccessible::Name).isEmpty(), name);
        }
    }

    void chartTakesMostOfGraphWindow()
    {
        const ShownWindow graph(text("graph"));
        QCOMPARE(graph->size(), QSize(775, 606));
        auto *const list = graph.child<QListWidget>("list");
        const int rowHeight = list->visualItemRect(list->item(0)).height();
        QVERIFY2(list->viewport()->height() >= 5 * rowHeight,
                 qPrintable(text("%1 of %2").arg(list->viewport()->height()).arg(rowHeight)));
        auto *const view = graph->findChild<GraphQt *>();
        QVERIFY2(view->width() >= 0.65 * graph->width(),
                 qPrintable(QString::number(view->width())));
        const double plot = view->chart()->plotArea().width();
        QVERIFY2(plot >= 0.55 * graph->width(), qPrintable(QString::number(plot)));
        // As wide as its contents with a scroll bar or as the widest of the other fields.
        const int widest = list->sizeHintForColumn(0)
            + list->verticalScrollBar()->sizeHint().width() + 2 * list->frameWidth();
        const int fields =
            std::max({graph.child<QWidget>("deviceComboBox")->sizeHint().width(),
                      graph.child<QWidget>("fromDateTimeEdit")->sizeHint().width(),
                      graph.child<QWidget>("showLatestCheckBox")->sizeHint().width()});
        QCOMPARE(list->width(), std::max(widest, fields));
    }

    void graphListTakesExtraHeight()
    {
        const ShownWindow graph(text("graph"), text("many"));
        const int list = graph.child<QWidget>("list")->height();
        const int dates = graph.child<QWidget>("groupBox_3")->height();
        graph->resize(graph->size() + QSize(0, 100));
        QTRY_COMPARE(graph.child<QWidget>("list")->height(), list + 100);
        QCOMPARE(graph.child<QWidget>("groupBox_3")->height(), dates);
    }

    void timeLabelsAreNotElided()
    {
        const ShownWindow graph(text("graph"));
        const auto *const view = graph->findChild<GraphQt *>();
        int unelided = 0;
        for (const QGraphicsItem *item : view->scene()->items()) {
            const auto *const label = dynamic_cast<const QGraphicsTextItem *>(item);
            const bool isTime = label
                && QDateTime::fromString(label->toPlainText(), text("dd.MM.yyyy hh:mm")).isValid();
            unelided += isTime && label->isVisible() && label->rotation() == -90.0 ? 1 : 0;
        }
        QCOMPARE(unelided, 10);
    }

    void mainWindowShowsSixMeasurements()
    {
        const ShownWindow window(text("main window"));
        QCOMPARE(window->size(), QSize(711, 689));
        const auto *const table = window.child<QTableWidget>("measurements");
        const int rowHeight = table->rowHeight(0);
        QVERIFY2(rowHeight >= 22 && rowHeight <= 26, qPrintable(QString::number(rowHeight)));
        QVERIFY(table->viewport()->height() >= 6 * rowHeight);
        const auto *const button = window.child<QPushButton>("exportLocalMeasurementsButton");
        QCOMPARE(button->width(), button->sizeHint().width());
    }

    void captionsAreNearestToTheirBuddies()
    {
        const char *const captions[][3] = {
            // form, caption, widget above it
            {"main window", "label_7", "unit"},
            {"main window", "label_13", "buttonShowGraph"},
            {"main window", "label_12", "eraseLogButton"},
            {"graph", "label_2", "showLatestCheckBox"},
            {"graph", "label_4", "graphMinimumSpinBox"},
        };
        for (const auto &[form, name, above] : captions) {
            const ShownWindow window(text(form));
            const auto *const caption = window.child<QLabel>(name);
            const QRect rect = window.rectOf(caption);
            const int textTop = rect.bottom() - caption->fontMetrics().height();
            const int gapAbove = textTop - window.rectOf(window.child<QWidget>(above)).bottom();
            const int gapBelow = window.rectOf(caption->buddy()).top() - rect.bottom();
            QVERIFY2(gapAbove > gapBelow, name);
        }
    }

    void valueColumnsKeepMinimumShareOfWidth()
    {
        for (const char *content : {"typical", "many", "long names"}) {
            const ShownWindow window(text("main window"), text(content));
            for (const char *name : {"configuration", "measurements"}) {
                const auto *const table = window.child<QTableWidget>(name);
                const int view = table->viewport()->width();
                const int lastColumn = table->columnCount() - 1;
                const double share = qstrcmp(name, "measurements") == 0 ? 0.5 : 1.0 / 3;
                QVERIFY2(table->columnWidth(lastColumn) >= std::floor(share * view), content);
                QVERIFY2(table->columnWidth(0) <= view / 2, content);
                for (int column = 0; column < lastColumn && qstrcmp(content, "typical") == 0;
                     ++column) {
                    const QAbstractItemView *const cells = table;
                    QVERIFY(table->columnWidth(column) >= cells->sizeHintForColumn(column));
                }
                QVERIFY(table->horizontalHeader()->stretchLastSection());
            }
        }
    }

    void nameColumnsCanBeResizedByDragging()
    {
        const ShownWindow window(text("main window"), text("long names"));
        for (const char *name : {"configuration", "measurements"}) {
            auto *const table = window.child<QTableWidget>(name);
            QHeaderView *const header = table->horizontalHeader();
            const int edge = header->sectionViewportPosition(1);
            const int narrower = table->columnWidth(0) - 40;
            const QPoint from = header->viewport()->mapTo(window.get(), QPoint(edge, 5));
            const QPoint to = from - QPoint(40, 0);
            QTest::mousePress(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, from);
            QTest::mouseMove(window->windowHandle(), to);
            QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, to);
            QCOMPARE(table->columnWidth(0), narrower);
            window.mainWindow().addMeasurement({}, measurementValues(12));
            window.mainWindow().setConfigurationValue(text("alias_2"), text("5"));
            QCOMPARE(table->columnWidth(0), narrower);
        }
    }

    void tabMovesFocusOutOfTables()
    {
        const ShownWindow window(text("main window"));
        for (const char *name : {"configuration", "measurements"}) {
            auto *const table = window.child<QTableWidget>(name);
            for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab}) {
                table->setFocus();
                QTest::keyClick(window->windowHandle(), key);
                QVERIFY(QApplication::focusWidget() != table);
            }
        }
    }

    void cutTextIsDetected()
    {
        const QString longText(40, QLatin1Char('w'));
        auto *const box = new QComboBox;
        box->addItem(longText);
        auto *const column = new QTableWidget(1, 1);
        column->setItem(0, 0, new QTableWidgetItem(longText));
        auto *const header = new QTableWidget(1, 1);
        header->setHorizontalHeaderLabels({longText});
        auto *const list = new QListWidget;
        list->addItem(longText);
        auto *const number = new QDoubleSpinBox;
        number->setMaximum(1e300);
        number->setValue(1e300);
        const QList<QWidget *> widgets{new QLineEdit(longText),
                                       new QPushButton(longText),
                                       new QLabel(longText),
                                       box,
                                       column,
                                       header,
                                       list,
                                       number};
        for (QWidget *const widget : widgets) {
            QWidget window;
            widget->setParent(&window);
            widget->setObjectName(text("narrow"));
            widget->setGeometry(0, 0, 60, 60);
            window.show();
            QVERIFY(QTest::qWaitForWindowExposed(&window));
            const QStringList cut = cutTexts(&window) + cutContents(&window);
            QVERIFY2(cut.size() == 1, widget->metaObject()->className());
            QVERIFY2(cut.first().startsWith(text("narrow: ")), qPrintable(cut.first()));
            widget->resize(100000, 60);
            if (auto *const table = qobject_cast<QTableWidget *>(widget)) {
                table->resizeColumnsToContents();
            }
            QTRY_COMPARE(cutTexts(&window) + cutContents(&window), QStringList());
        }
    }

    void unreachableControlIsDetected()
    {
        QWidget window;
        QLineEdit first(&window);
        QPushButton second(&window);
        second.setObjectName(text("second"));
        second.setFocusPolicy(Qt::ClickFocus);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCOMPARE(unreachableControls(&window), QStringList(text("second: not reached by Tab")));
        second.setFocusPolicy(Qt::StrongFocus);
        QCOMPARE(unreachableControls(&window), QStringList());
    }

    void missingAccessibleNameIsDetected()
    {
        QWidget window;
        QLineEdit first(&window);
        QLineEdit second(&window);
        first.setAccessibleName(text("First"));
        window.show();
        QCOMPARE(badlyNamedControls(&window).size(), 1);
        second.setAccessibleName(text("First"));
        QCOMPARE(badlyNamedControls(&window).size(), 1);
        second.setAccessibleName(text("Second"));
        QCOMPARE(badlyNamedControls(&window), QStringList());
    }

    void lowContrastTextIsDetected()
    {
        QWidget window;
        QLabel label(text("Low contrast"), &window);
        label.setObjectName(text("low contrast"));
        label.setStyleSheet(text("background: white; color: #808080"));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(lowContrastTexts(&window).size(), 1);
        label.setStyleSheet(text("background: white; color: #707070"));
        QCOMPARE(lowContrastTexts(&window), QStringList());
    }
};

KV_TEST_MAIN(TestLayout)
#include "tst_layout.moc"
