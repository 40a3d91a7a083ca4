// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/history.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"
#include "tests/kit/toolfixture.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QListWidget>

namespace {

constexpr int graphNameRole = Qt::UserRole + 2;
constexpr int exportNameRole = Qt::UserRole + 4;

const QLatin1String exportTitle("Select measurements to export");
const QLatin1String saveCaption("Select where to save measurements to");
const QStringList allTypes = texts("W0|W1|W2|A2|A4|LUX");

} // namespace

/// Graph and export of a database that contains a day of readings of a KVT-100.
class TestGraphExport : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        prepareApplication();
        SimulatorProcess device;
        QVERIFY(device.start());
        LocalStorageSqlite storage;
        QVERIFY(writeHistory(storage, m_history.filePath(text("measurements.db")), device));
        m_now = QDateTime::currentDateTimeUtc();
    }

    void init()
    {
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
        beginTestFunction();
        QVERIFY(QFile::copy(m_history.filePath(text("measurements.db")), storePath()));
    }

    void everyControlOfGraphWorks()
    {
        QVERIFY(startWithTwoDevices());
        QVERIFY(openGraph());
        auto *const devices = childWidget<QComboBox>(graph(), "deviceComboBox");
        auto *const view = graph()->findChild<QtCharts::QChartView *>();
        QCOMPARE(devices->count(), 2);
        QCOMPARE(list()->count(), 0);

        stepYear(dateField("fromDateTimeEdit"), Qt::Key_Down);
        QVERIFY(chooseModel(devices, "KVT-100"));
        QCOMPARE(list()->count(), 6);
        QVERIFY(chooseModel(devices, "KVT-300"));
        QCOMPARE(list()->count(), 12);
        toggle(list(), 0);
        QCOMPARE(lines().size(), 1);
        // The first key only makes an item the current one.
        for (const Qt::Key key : {Qt::Key_Home, Qt::Key_End, Qt::Key_Space}) {
            QTest::keyClick(list(), key);
        }
        QCOMPARE(lines().size(), 2);
        QTest::mouseClick(view->viewport(), Qt::LeftButton);
        QTest::mouseClick(view->viewport(), Qt::RightButton);
        QVERIFY(chooseModel(devices, "KVT-100"));
        QCOMPARE(list()->count(), 6);

        toggleCheckBox("enableSettingsMinMaxForGraphcheckBox");
        typeNumber(spinBox("graphMinimumSpinBox"), text("100"));
        typeNumber(spinBox("graphMaximumSpinBox"), text("200"));
        const auto *const axis =
            qobject_cast<QtCharts::QValueAxis *>(chart()->axes(Qt::Vertical).first());
        QCOMPARE(axis->min(), 99.0);
        QCOMPARE(axis->max(), 202.0);

        // A period that ends before it begins contains nothing; no error appears.
        toggleCheckBox("showLatestCheckBox");
        auto *const to = dateField("toDateTimeEdit");
        stepYear(to, Qt::Key_Down);
        stepYear(to, Qt::Key_Down);
        QCOMPARE(list()->count(), 0);
        QVERIFY(lines().isEmpty());
        for (int year = 0; year < 3; ++year) {
            stepYear(to, Qt::Key_Up);
        }
        QCOMPARE(list()->count(), 6);
        toggle(list(), 0);
        QCOMPARE(lines().size(), 1);
        QTest::mouseClick(childWidget<QPushButton>(graph(), "buttonClear"), Qt::LeftButton);
        QVERIFY(lines().isEmpty());
        QVERIFY(checkedNames().isEmpty());
    }

    void graphShowsStoredReadingsWithoutDevice()
    {
        QVERIFY(startTool() && openGraph());
        // When the graph is opened for the first time, its period is empty.
        QCOMPARE(list()->count(), 0);
        QVERIFY(!list()->isEnabled());
        const auto *const devices = childWidget<QComboBox>(graph(), "deviceComboBox");
        QCOMPARE(devices->count(), 1);
        QVERIFY(devices->currentText().startsWith(text("KVT-100 - ")));
        QVERIFY(childWidget<QCheckBox>(graph(), "showLatestCheckBox")->isChecked());

        dateField("fromDateTimeEdit")->setDateTime(hoursAgo(12));
        QCOMPARE(list()->count(), 6);
        QVERIFY(list()->isEnabled());
        QVERIFY(lines().isEmpty());
        // A second press of the button does nothing while it is open.
        QVERIFY(click("buttonShowGraph"));
        QCOMPARE(list()->count(), 6);

        toggle(list(), graphNameRole, {text("W2"), text("W1")});
        QCOMPARE(lines().size(), 2);
        for (const QtCharts::QLineSeries *line : lines()) {
            const QString name = line->name().contains(text("pressure")) ? text("W2") : text("W1");
            const QStringList stored = sqliteOutput(
                text("select m.timestamp, printf('%.3f', v.value) from measurement_metadata m "
                     "join measurement_value v on v.measurement_id = m.id join measurement_type "
                     "t on t.id = v.measurement_type_id where t.name = '%1' and m.timestamp >= "
                     "%2 order by m.id")
                    .arg(name)
                    .arg(dateField("fromDateTimeEdit")->dateTime().toMSecsSinceEpoch()));
            QStringList drawn;
            for (const QPointF &point : line->pointsVector()) {
                drawn.append(text("%1|%2").arg(point.x(), 0, 'f', 0).arg(point.y(), 0, 'f', 3));
            }
            QVERIFY(drawn.size() > 600);
            QCOMPARE(drawn, stored);
        }
    }

    void graphSettingsAreRestored()
    {
        const QStringList types = texts("W0|W1");
        const QDateTime from = hoursAgo(10);
        QVERIFY(startTool() && openGraph());
        dateField("fromDateTimeEdit")->setDateTime(from);
        toggleCheckBox("showLatestCheckBox");
        dateField("toDateTimeEdit")->setDateTime(from.addSecs(3600));
        toggle(list(), graphNameRole, types);
        toggleCheckBox("enableSettingsMinMaxForGraphcheckBox");
        spinBox("graphMinimumSpinBox")->setValue(-5.5);
        spinBox("graphMaximumSpinBox")->setValue(99.0);
        graph()->close();

        // First in the same window, then after a restart of the program.
        for (int run = 0; run < 2; ++run) {
            QVERIFY(openGraph());
            QStringList names = checkedNames();
            names.sort();
            QCOMPARE(names, types);
            QCOMPARE(lines().size(), 2);
            QCOMPARE(lines().first()->count(), 60);
            QCOMPARE(dateField("fromDateTimeEdit")->dateTime(), from);
            QCOMPARE(dateField("toDateTimeEdit")->dateTime(), from.addSecs(3600));
            QVERIFY(!childWidget<QCheckBox>(graph(), "showLatestCheckBox")->isChecked());
            QVERIFY(childWidget<QCheckBox>(graph(), "enableSettingsMinMaxForGraphcheckBox")
                        ->isChecked());
            QCOMPARE(spinBox("graphMinimumSpinBox")->value(), -5.5);
            QCOMPARE(spinBox("graphMaximumSpinBox")->value(), 99.0);
            graph()->close();
            deleteTool();
            QVERIFY(startTool());
        }
    }

    void graphCanBeClosedByFrameAndEscape()
    {
        QVERIFY(startTool());
        for (const bool byFrame : {true, false}) {
            QSettings(text("Orvanta"), text("Kv tool")).remove(text("graph from"));
            QVERIFY(openGraph());
            if (byFrame) {
                QVERIFY(closeByFrame(graph()));
            } else {
                QTest::keyClick(childWidget<QComboBox>(graph(), "deviceComboBox"), Qt::Key_Escape);
            }
            QVERIFY(!graph()->isVisible());
            QVERIFY(savedPreference("graph from").isValid());
        }
    }

    void everyControlOfExportWorks()
    {
        QVERIFY(startWithTwoDevices());
        const QString path = file(text("measurements.csv"));
        const auto exportModel = [=](const char *model, int types) {
            dialogs().answerDialog(exportTitle, [=](QDialog *dialog) {
                auto *const list = childWidget<QListWidget>(dialog, "measurementTypeList");
                QVERIFY(chooseModel(childWidget<QComboBox>(dialog, "deviceComboBox"), model));
                QCOMPARE(list->count(), types);
                widenPeriod(dialog);
                toggle(list, 0);
                press(dialog, QDialogButtonBox::Ok);
            });
            dialogs().answerFileDialog(saveCaption, path);
            return click("exportLocalMeasurementsButton");
        };
        QVERIFY(exportModel("KVT-300", 12));
        QList<QByteArray> lines = contents(path).split('\n');
        QCOMPARE(lines.first().count(','), 11);
        const int linesOfSecondModel = lines.size();

        dialogs().answerMessageBox(text("already exists"), text("Yes"));
        QVERIFY(exportModel("KVT-100", 6));
        lines = contents(path).split('\n');
        QCOMPARE(lines.first().count(','), 5);
        // Each of the two files has a row of headings and, as the last part, an empty string.
        QCOMPARE(lines.size() + linesOfSecondModel, storedReadings() + 4);
    }

    void exportCanBeClosedByCancelFrameAndEscape()
    {
        const std::function<void(QDialog *)> inputs[] = {
            [](QDialog *dialog) { press(dialog, QDialogButtonBox::Cancel); },
            [](QDialog *dialog) { QVERIFY(closeByFrame(dialog)); },
            [](QDialog *dialog) {
                QTest::keyClick(childWidget<QListWidget>(dialog, "measurementTypeList"),
                                Qt::Key_Escape);
            }};
        QVERIFY(startTool());
        for (const auto &input : inputs) {
            dialogs().answerDialog(exportTitle, input);
            QVERIFY(click("exportLocalMeasurementsButton"));
        }
    }

    void exportMatchesDatabase_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<double>("factor");
        QTest::addColumn<double>("offset");
        QTest::addColumn<QByteArray>("heading");
        QTest::addColumn<QByteArray>("zone");
        const auto row = [](const char *name, const char *type, double factor, double offset,
                            const QByteArray &heading, const QByteArray &zone) {
            QTest::addRow("%s", name) << text(type) << factor << offset << heading << zone;
        };
        row("as stored", "W1", 1.0, 0.0, "Relative humidity", "UTC");
        row("converted to another unit", "W0", 5.0 / 9.0, -32.0, "Room temperature", "UTC");
        row("with unavailable values", "W2", 1.0, 0.0, "Air pressure", "UTC");
        row("in another time zone", "LUX", 1.0, 0.0, "LUX", "Asia/Kathmandu");
    }

    void exportMatchesDatabase()
    {
        QFETCH(QString, type);
        QFETCH(double, factor);
        QFETCH(double, offset);
        QFETCH(QByteArray, heading);
        QFETCH(QByteArray, zone);
        const TimeZoneScope scope(zone.constData());
        const QString path = file(text("measurements.csv"));
        // In whole minutes, like the values of the fields.
        const QDateTime from =
            QDateTime::fromSecsSinceEpoch((m_now.toSecsSinceEpoch() / 60 - 20 * 60) * 60);
        const QDateTime to = from.addSecs(13 * 3600);
        QVERIFY(startTool());
        QStringList others = allTypes;
        others.removeAll(type);
        prepareExport(others, from, to);
        dialogs().answerFileDialog(saveCaption, path);
        QVERIFY(click("exportLocalMeasurementsButton"));
        QCOMPARE(contents(path).split('\n').first(), "Timestamp," + heading);
        QVERIFY(csvMatchesDatabase(path, type, from, to, factor, offset));
        QCOMPARE(savedPreference("measurement export filename").toString(), path);
    }

    void exportWithoutReadingsOrFileWritesNothing()
    {
        QVERIFY(startTool());
        const QDateTime before = m_now.addDays(-2);
        prepareExport({}, before.addDays(-1), before);
        dialogs().answerMessageBox(text("No measurements found from given time period"),
                                   text("OK"));
        QVERIFY(click("exportLocalMeasurementsButton"));

        prepareExport(allTypes, m_now.addDays(-1), m_now);
        dialogs().answerMessageBox(text("No measurements found from given time period"),
                                   text("OK"));
        QVERIFY(click("exportLocalMeasurementsButton"));

        prepareExport({}, m_now.addDays(-1), m_now);
        dialogs().escapeDialog(saveCaption);
        QVERIFY(click("exportLocalMeasurementsButton"));
        QVERIFY(!savedPreference("measurement export filename").isValid());
    }

    void unwritableExportFileIsReported()
    {
        QVERIFY(startTool());
        dialogs().answerDialog(exportTitle, [](QDialog *dialog) {
            widenPeriod(dialog);
            press(dialog, QDialogButtonBox::Ok);
        });
        const QString path = chooseFileInRemovedFolder(saveCaption);
        dialogs().answerMessageBox(text("Unable to save measurements to file ") + path, text("OK"));
        QVERIFY(click("exportLocalMeasurementsButton"));
        QCOMPARE(savedPreference("measurement export filename").toString(), path);
    }

private:
    /// Starts the tool with readings of a KVT-300 in the database too, which is then disconnected.
    bool startWithTwoDevices()
    {
        constexpr int readings = 4;
        const int before = storedReadings();
        return startPolling({text("--model"), text("KVT-300")}, 10)
            && waitFor([=] { return storedReadings() >= before + readings; })
            && disconnectByClick();
    }

    bool openGraph() { return click("buttonShowGraph") && QTest::qWaitForWindowExposed(graph()); }

    QDateTime hoursAgo(int hours) const { return m_now.addSecs(-hours * 3600).toLocalTime(); }

    QWidget *graph() { return topLevelWidget("MeasurementGraph"); }
    QDateTimeEdit *dateField(const char *name) { return childWidget<QDateTimeEdit>(graph(), name); }
    QDoubleSpinBox *spinBox(const char *name) { return childWidget<QDoubleSpinBox>(graph(), name); }
    QtCharts::QChart *chart() { return graph()->findChild<QtCharts::QChartView *>()->chart(); }

    QList<QtCharts::QLineSeries *> lines()
    {
        QList<QtCharts::QLineSeries *> found;
        for (QtCharts::QAbstractSeries *series : chart()->series()) {
            found.append(qobject_cast<QtCharts::QLineSeries *>(series));
        }
        return found;
    }

    QListWidget *list() { return childWidget<QListWidget>(graph(), "list"); }
    QStringList checkedNames() { return checked(list(), graphNameRole); }
    void toggleCheckBox(const char *box) { toggle(childWidget<QCheckBox>(graph(), box)); }

    static bool chooseModel(QComboBox *devices, const char *model)
    {
        return choose(devices, devices->findText(text(model), Qt::MatchStartsWith));
    }

    /// Extends the period of the export by a year in both directions.
    static void widenPeriod(const QDialog *dialog)
    {
        stepYear(childWidget<QDateTimeEdit>(dialog, "exportDateTimeFrom"), Qt::Key_Down);
        stepYear(childWidget<QDateTimeEdit>(dialog, "exportDateTimeTo"), Qt::Key_Up);
    }

    void prepareExport(const QStringList &namesToUncheck, const QDateTime &from,
                       const QDateTime &to)
    {
        dialogs().answerDialog(exportTitle, [=](QDialog *dialog) {
            childWidget<QDateTimeEdit>(dialog, "exportDateTimeFrom")->setDateTime(from);
            childWidget<QDateTimeEdit>(dialog, "exportDateTimeTo")->setDateTime(to);
            toggle(childWidget<QListWidget>(dialog, "measurementTypeList"), exportNameRole,
                   namesToUncheck);
            press(dialog, QDialogButtonBox::Ok);
        });
    }

    QTemporaryDir m_history;
    QDateTime m_now;
};

KV_TEST_MAIN(TestGraphExport)
#include "tst_graphexport.moc"
