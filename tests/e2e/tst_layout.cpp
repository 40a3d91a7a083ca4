// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graphqt.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/layoutchecks.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
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
#include <functional>
#include <memory>

using namespace LayoutChecks;

namespace {

/// What the windows show.
struct Content
{
    int measurements;
    int settings;
    bool longNames;
};

const QMap<QString, Content> contents{
    {QStringLiteral("empty"), {0, 0, false}},
    {QStringLiteral("usual"), {6, 8, false}},
    {QStringLiteral("large"), {12, 40, false}},
    {QStringLiteral("long names"), {12, 40, true}},
};

constexpr int longNameLetters = 90;
const QStringList names{text("W0"), text("W1"), text("W2"), text("A2"), text("A4"), text("W3"),
                        text("A0"), text("A1"), text("A3"), text("A5"), text("P0"), text("P1")};

QString padded(const QString &name, bool longNames)
{
    return longNames ? name.leftJustified(longNameLetters, QLatin1Char('w')) : name;
}

QVector<MeasurementItem> measurementItems(const Content &content)
{
    const QStringList shown{text("Room temperature"), text("Relative humidity"),
                            text("Air pressure"), text("Carbon monoxide"), text("Formaldehyde")};
    QVector<MeasurementItem> items;
    for (int i = 0; i < content.measurements; ++i) {
        const QString name = shown.value(i, text("Measurement %1").arg(i));
        items.append({names.at(i), padded(name, content.longNames), MeasurementUnit::Ppm,
                      MeasurementType::Pollutant, 1.0});
    }
    return items;
}

QVector<MeasurementValue> measurementValues(const Content &content)
{
    QVector<MeasurementValue> values;
    for (int i = 0; i < content.measurements; ++i) {
        values.append({names.at(i), true, 20.7222 + i});
    }
    return values;
}

DeviceConfiguration configuration(const Content &content)
{
    const QStringList shown{text("Temp. offset (°F)"), text("Log interval (min)")};
    const QStringList aliases{text("temp_offset"), text("alarm_humidity")};
    DeviceConfiguration made;
    for (int i = 0; i < content.settings; ++i) {
        ConfigurationItem item;
        item.name = padded(shown.value(i, text("Setting %1").arg(i)), content.longNames);
        item.alias = padded(aliases.value(i, text("alias_%1").arg(i)), content.longNames);
        made.configurationItems.append(item);
    }
    return made;
}

/// A store with one device, if there are measurements, and two days of them.
void fill(FakeLocalStorage &storage, const Content &content)
{
    if (content.measurements == 0) {
        return;
    }
    StoredDevice device;
    device.id = 1;
    device.details.modelNumber = text("KVT-100");
    device.details.serialNumber = text("K529636");
    storage.devicesResult = {device};
    for (int i = 0; i < content.measurements; ++i) {
        storage.measurementTypesResult.insert(static_cast<unsigned>(i), names.at(i));
    }
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (int hour = -48; hour <= 0; ++hour) {
        StoredMeasurement row;
        row.timestamp = now.addSecs(hour * 3600);
        row.values = measurementValues(content);
        storage.measurementsResult.append(row);
    }
}

void fill(MainWindow &window, const Content &content)
{
    window.addPort(text("Simulated transmitter"), text("/dev/null"));
    if (content.measurements == 0) {
        return;
    }
    window.setSerialNumber(text("K529636"));
    window.setModelNumber(text("KVT-100"));
    window.setHealth(98);
    window.setConfiguration(configuration(content));
    window.setMeasurementItems(measurementItems(content));
    window.addMeasurement({}, measurementValues(content));
    window.setConnected(true);
    window.setMeasurementState(MeasurementState::Ready);
}

void fill(MeasurementGraph &graph, FakeLocalStorage &storage, const Content &content)
{
    graph.setLocalStorage(&storage);
    graph.setMeasurementItems(measurementItems(content));
    graph.setShowLatest(false);
    graph.setFromDate(QDateTime::currentDateTimeUtc().addDays(-2));
    graph.setToDate(QDateTime::currentDateTimeUtc());
    graph.setManualRange(false);
    graph.beginLoading();
    graph.endLoading();
    graph.applySelection(names.mid(0, content.longNames ? names.size() : 2));
}

/// A shown window of the tool, and its store.
class Shown
{
public:
    Shown(const QString &form, const Content &content)
    {
        fill(m_storage, content);
        if (form == text("main window")) {
            auto window = std::make_unique<MainWindow>(nullptr);
            show(window.get());
            fill(*window, content);
            m_window = std::move(window);
        } else if (form == text("graph")) {
            auto graph = std::make_unique<MeasurementGraph>(nullptr);
            show(graph.get());
            fill(*graph, m_storage, content);
            m_window = std::move(graph);
        } else if (form == text("export")) {
            auto dialog = std::make_unique<ExportMeasurementsToCsvDialog>(&m_storage, nullptr);
            dialog->setMeasurementItems(measurementItems(content));
            dialog->loadDevices();
            show(dialog.get());
            m_window = std::move(dialog);
        } else {
            m_window = std::make_unique<WaitDialog>(nullptr);
            m_window->setWindowTitle(text("Updating firmware, please wait."));
            show(m_window.get());
        }
        // The content may need a new layout.
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

private:
    static void show(QWidget *window)
    {
        window->show();
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        // A window smaller than its contents grows; their size is known only after the style's
        // layout.
        QTRY_VERIFY(window->width() >= window->minimumSizeHint().width());
        for (int pass = 0; pass < 3; ++pass) {
            QCoreApplication::processEvents();
        }
    }

    FakeLocalStorage m_storage;
    std::unique_ptr<QWidget> m_window;
};

QRect rectIn(const QWidget *window, const QWidget *widget)
{
    return {widget->mapTo(window, QPoint()), widget->size()};
}

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

/// Saves a picture in the folder that the environment names; without one, does nothing.
void takePicture(QWidget *window, const QString &name)
{
    const QString folder = qEnvironmentVariable("KV_LAYOUT_PICTURES");
    if (!folder.isEmpty()) {
        window->grab().save(QDir(folder).filePath(
            QString(name).replace(QLatin1Char(' '), QLatin1Char('-')) + text(".png")));
    }
}

using Maker = std::function<std::unique_ptr<QWidget>()>;

} // namespace

Q_DECLARE_METATYPE(Maker)

/// Each window in each style of this machine: texts can be read, controls can be reached by keys,
/// and screen readers get names.
/// The environment decides the resolution.
class TestLayout : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        // The usual size on a desktop; the font of the test platform is larger.
        QApplication::setFont(QFont(text("Sans Serif"), 9));
        QApplication::setStyle(text("Fusion"));
        QApplication::setPalette(QApplication::style()->standardPalette());
    }

    void everythingCanBeReadAndReached_data()
    {
        QTest::addColumn<QString>("style");
        QTest::addColumn<bool>("dark");
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("content");
        const QStringList styles = QStyleFactory::keys();
        for (const QString &style : styles) {
            for (const bool dark : {false, true}) {
                for (const char *form : {"main window", "graph", "export", "wait dialog"}) {
                    for (auto content = contents.begin(); content != contents.end(); ++content) {
                        QTest::addRow("%s %s %s %s", qPrintable(style), dark ? "dark" : "light",
                                      form, qPrintable(content.key()))
                            << style << dark << text(form) << content.key();
                    }
                }
            }
        }
    }

    void everythingCanBeReadAndReached()
    {
        QFETCH(QString, style);
        QFETCH(bool, dark);
        QFETCH(QString, form);
        QFETCH(QString, content);
        QApplication::setStyle(style);
        QApplication::setPalette(dark ? darkPalette() : QApplication::style()->standardPalette());
        const Shown window(form, contents.value(content));
        const bool isLong = contents.value(content).longNames;

        takePicture(window.get(), text(QTest::currentDataTag()));
        QCOMPARE(cutTexts(window.get()).join(text("; ")), QString());
        QCOMPARE(isLong ? QString() : cutContents(window.get()).join(text("; ")), QString());
        QCOMPARE(unreachableControls(window.get()).join(text("; ")), QString());
        QCOMPARE(badlyNamedControls(window.get()).join(text("; ")), QString());
        // The desktop determines the colours of a selection, and a style may fade them out.
        QApplication::focusWidget()->clearFocus();
        QTRY_COMPARE(faintTexts(window.get()).join(text("; ")), QString());

        const QSize own = window->size();
        const QSize least = window->minimumSizeHint().expandedTo(window->minimumSize());
        window->resize(least);
        QTRY_COMPARE(window->size(), least);
        takePicture(window.get(), text(QTest::currentDataTag()) + text(" small"));
        QCOMPARE(cutTexts(window.get()).join(text("; ")), QString());
        window->resize(2 * own);
        QTRY_COMPARE(window->size(), 2 * own);
        QCOMPARE(cutTexts(window.get()).join(text("; ")), QString());
    }

    void tabGoesDownAColumnBeforeTheNext_data()
    {
        QTest::addColumn<QString>("form");
        for (const char *form : {"main window", "graph", "export", "wait dialog"}) {
            QTest::addRow("%s", form) << text(form);
        }
    }

    void tabGoesDownAColumnBeforeTheNext()
    {
        QFETCH(QString, form);
        const Shown window(form, contents.value(text("usual")));
        const QList<QWidget *> order = stops(window.get(), Qt::Key_Tab);
        QVERIFY(!order.isEmpty());
        // The first is the widget that had the focus.
        for (int i = 1; i < order.size(); ++i) {
            const QRect before = rectIn(window.get(), order.at(i - 1));
            const QRect after = rectIn(window.get(), order.at(i));
            // Back to the left only where the next row of groups begins below.
            QVERIFY2(after.top() > before.top() || after.left() > before.left(),
                     qPrintable(order.at(i - 1)->objectName() + text(" then ")
                                + order.at(i)->objectName()));
        }
    }

    void buttonsAndBannerAreDescribed_data()
    {
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("description");
        QTest::addRow("eraseLogButton") << text("main window") << text("Clears the device's log");
        QTest::addRow("label_10") << text("main window")
                                  << text("Banner: KV Tool, air-quality transmitters");
        QTest::addRow("buttonClear") << text("graph") << text("Unticks all measurements");
    }

    void buttonsAndBannerAreDescribed()
    {
        QFETCH(QString, form);
        QFETCH(QString, description);
        const Shown window(form, contents.value(text("usual")));
        QWidget *const widget = window.child<QWidget>(QTest::currentDataTag());
        const auto *const accessible = QAccessible::queryAccessibleInterface(widget);
        QCOMPARE(accessible->text(QAccessible::Description), description);
        QVERIFY(!accessible->text(QAccessible::Name).isEmpty());
    }

    void graphIsMostlyChart()
    {
        const Shown graph(text("graph"), contents.value(text("usual")));
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
        // No wider than the widest of a name beside a scroll bar and the other fields.
        const int widest = list->sizeHintForColumn(0)
            + list->verticalScrollBar()->sizeHint().width() + 2 * list->frameWidth();
        const int fields =
            std::max({graph.child<QWidget>("deviceComboBox")->sizeHint().width(),
                      graph.child<QWidget>("fromDateTimeEdit")->sizeHint().width(),
                      graph.child<QWidget>("showLatestCheckBox")->sizeHint().width()});
        QCOMPARE(list->width(), std::max(widest, fields));
    }

    void graphListGrowsFirst()
    {
        const Shown graph(text("graph"), contents.value(text("large")));
        const int list = graph.child<QWidget>("list")->height();
        const int dates = graph.child<QWidget>("groupBox_3")->height();
        graph->resize(graph->size() + QSize(0, 100));
        QTRY_COMPARE(graph.child<QWidget>("list")->height(), list + 100);
        QCOMPARE(graph.child<QWidget>("groupBox_3")->height(), dates);
    }

    void timeLabelsAreWhole()
    {
        const Shown graph(text("graph"), contents.value(text("usual")));
        const auto *const view = graph->findChild<GraphQt *>();
        int whole = 0;
        const QList<QGraphicsItem *> items = view->scene()->items();
        for (const QGraphicsItem *item : items) {
            const auto *const label = dynamic_cast<const QGraphicsTextItem *>(item);
            const bool isTime = label
                && QDateTime::fromString(label->toPlainText(), text("dd.MM.yyyy hh:mm")).isValid();
            whole += isTime && label->isVisible() && label->rotation() == -90.0 ? 1 : 0;
        }
        QCOMPARE(whole, 10);
    }

    void mainWindowShowsSixMeasurements()
    {
        const Shown window(text("main window"), contents.value(text("usual")));
        QCOMPARE(window->size(), QSize(711, 689));
        const auto *const table = window.child<QTableWidget>("measurements");
        const int rowHeight = table->rowHeight(0);
        QVERIFY2(rowHeight >= 22 && rowHeight <= 26, qPrintable(QString::number(rowHeight)));
        QVERIFY(table->viewport()->height() >= 6 * rowHeight);
        const auto *const button = window.child<QPushButton>("exportLocalMeasurementsButton");
        QCOMPARE(button->width(), button->sizeHint().width());
    }

    void captionsAreNearestToTheirControls_data()
    {
        QTest::addColumn<QString>("form");
        QTest::addColumn<QString>("above");
        QTest::addRow("label_7") << text("main window") << text("unit");
        QTest::addRow("label_13") << text("main window") << text("buttonShowGraph");
        QTest::addRow("label_12") << text("main window") << text("eraseLogButton");
        QTest::addRow("label_2") << text("graph") << text("showLatestCheckBox");
        QTest::addRow("label_4") << text("graph") << text("graphMinimumSpinBox");
    }

    void captionsAreNearestToTheirControls()
    {
        QFETCH(QString, form);
        QFETCH(QString, above);
        const Shown window(form, contents.value(text("usual")));
        const auto *const caption = window.child<QLabel>(QTest::currentDataTag());
        const QRect rect = rectIn(window.get(), caption);
        const int textTop = rect.bottom() - caption->fontMetrics().height();
        const int gapAbove =
            textTop - rectIn(window.get(), window->findChild<QWidget *>(above)).bottom();
        const int gapBelow = rectIn(window.get(), caption->buddy()).top() - rect.bottom();
        QVERIFY2(gapAbove > gapBelow, qPrintable(text("%1, %2").arg(gapAbove).arg(gapBelow)));
    }

    void valuesKeepTheirShareOfTheView_data()
    {
        QTest::addColumn<QString>("table");
        QTest::addColumn<double>("share");
        QTest::addColumn<QString>("content");
        for (const char *content : {"usual", "large", "long names"}) {
            QTest::addRow("settings, %s", content)
                << text("configuration") << 1.0 / 3 << text(content);
            QTest::addRow("measurements, %s", content)
                << text("measurements") << 0.5 << text(content);
        }
    }

    void valuesKeepTheirShareOfTheView()
    {
        QFETCH(QString, table);
        QFETCH(double, share);
        QFETCH(QString, content);
        const Shown window(text("main window"), contents.value(content));
        auto *const shown = window->findChild<QTableWidget *>(table);
        const int view = shown->viewport()->width();
        const int names = shown->columnCount() - 1;
        const int value = shown->columnWidth(names);
        QVERIFY2(value >= std::floor(share * view),
                 qPrintable(text("%1 of %2").arg(value).arg(view)));
        QVERIFY(shown->columnWidth(0) <= view / 2);
        for (int column = 0; column < names && content == text("usual"); ++column) {
            const QAbstractItemView *const cells = shown;
            QVERIFY(shown->columnWidth(column) >= cells->sizeHintForColumn(column));
        }
        QVERIFY(shown->horizontalHeader()->stretchLastSection());
    }

    void nameColumnsCanBeDragged()
    {
        const Shown window(text("main window"), contents.value(text("long names")));
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
            window.mainWindow().addMeasurement({},
                                               measurementValues(contents.value(text("large"))));
            window.mainWindow().setConfigurationValue(text("alias_2"), text("5"));
            QCOMPARE(table->columnWidth(0), narrower);
        }
    }

    void tabLeavesTheTables()
    {
        const Shown window(text("main window"), contents.value(text("usual")));
        for (const char *name : {"configuration", "measurements"}) {
            auto *const table = window.child<QTableWidget>(name);
            for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab}) {
                table->setFocus();
                QTest::keyClick(window->windowHandle(), key);
                QVERIFY(QApplication::focusWidget() != table);
            }
        }
    }

    void cutTextIsFound_data()
    {
        QTest::addColumn<Maker>("make");
        const QString longText(40, QLatin1Char('w'));
        const auto row = [](const char *name, const Maker &make) {
            QTest::addRow("%s", name) << make;
        };
        row("line", [longText] { return std::make_unique<QLineEdit>(longText); });
        row("button", [longText] { return std::make_unique<QPushButton>(longText); });
        row("label", [longText] { return std::make_unique<QLabel>(longText); });
        row("combo box", [longText] {
            auto box = std::make_unique<QComboBox>();
            box->addItem(longText);
            return box;
        });
        row("column", [longText] {
            auto table = std::make_unique<QTableWidget>(1, 1);
            table->setItem(0, 0, new QTableWidgetItem(longText));
            return table;
        });
        row("header", [longText] {
            auto table = std::make_unique<QTableWidget>(1, 1);
            table->setHorizontalHeaderLabels({longText});
            return table;
        });
        row("list", [longText] {
            auto list = std::make_unique<QListWidget>();
            list->addItem(longText);
            return list;
        });
        row("spin box", [] {
            auto box = std::make_unique<QDoubleSpinBox>();
            box->setMaximum(1e300);
            box->setValue(1e300);
            return box;
        });
    }

    void cutTextIsFound()
    {
        QFETCH(Maker, make);
        QWidget window;
        QWidget *const widget = make().release(); // the window's
        widget->setParent(&window);
        widget->setObjectName(text("narrow"));
        widget->setGeometry(0, 0, 60, 60);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        const QStringList cut = cutTexts(&window) + cutContents(&window);
        QCOMPARE(cut.size(), 1);
        QVERIFY2(cut.first().startsWith(text("narrow: ")), qPrintable(cut.first()));
        widget->resize(100000, 60);
        if (auto *const table = qobject_cast<QTableWidget *>(widget)) {
            table->resizeColumnsToContents();
        }
        QTRY_COMPARE(cutTexts(&window) + cutContents(&window), QStringList());
    }

    void unreachableControlIsFound()
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

    void missingNameIsFound()
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

    void faintTextIsFound()
    {
        QWidget window;
        QLabel label(text("Hardly to be seen"), &window);
        label.setObjectName(text("faint"));
        label.setStyleSheet(text("background: white; color: #808080"));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(faintTexts(&window).size(), 1);
        label.setStyleSheet(text("background: white; color: #707070"));
        QCOMPARE(faintTexts(&window), QStringList());
    }
};

KV_TEST_MAIN(TestLayout)
#include "tst_layout.moc"
