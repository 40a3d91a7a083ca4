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

constexpr double noFactor = 1.0;

const QStringList allTypes{text("W0"), text("W1"), text("W2"), text("A2"), text("A4"), text("LUX")};

} // namespace

/// Graph and export of a store with a day of history, without a device.
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
        beginCase();
        QVERIFY(QFile::copy(m_history.filePath(text("measurements.db")), storePath()));
    }

    void graphOpensWithoutADevice()
    {
        QVERIFY(startTool());
        QVERIFY(openGraph());
        // The period is empty at the first opening.
        QCOMPARE(list()->count(), 0);
        QVERIFY(!list()->isEnabled());
        QCOMPARE(part<QComboBox>(graph(), "deviceComboBox")->count(), 1);
        QVERIFY(part<QComboBox>(graph(), "deviceComboBox")
                    ->currentText()
                    .startsWith(text("KVT-100 - ")));
        QVERIFY(part<QCheckBox>(graph(), "showLatestCheckBox")->isChecked());
        QVERIFY(lines().isEmpty());

        date("fromDateTimeEdit")->setDateTime(m_now.addSecs(-6 * 3600).toLocalTime());
        QCOMPARE(list()->count(), 6);
        QVERIFY(list()->isEnabled());
        QVERIFY(lines().isEmpty());
        // A second press of the button does nothing while it is open.
        QVERIFY(click("buttonShowGraph"));
        QCOMPARE(list()->count(), 6);
    }

    void tickedLinesAreDrawnFromTheStore()
    {
        QVERIFY(startTool());
        QVERIFY(openGraph());
        date("fromDateTimeEdit")->setDateTime(m_now.addSecs(-12 * 3600).toLocalTime());
        toggle(list(), graphNameRole, {text("W2"), text("W1")});
        QCOMPARE(lines().size(), 2);
        QCOMPARE(ticked().size(), 2);

        for (QtCharts::QLineSeries *line : lines()) {
            const QString name = line->name().contains(text("pressure")) ? text("W2") : text("W1");
            const QStringList stored = sqlite(
                text("select m.timestamp, printf('%.3f', v.value) from measurement_metadata m "
                     "join measurement_value v on v.measurement_id = m.id join measurement_type "
                     "t on t.id = v.measurement_type_id where t.name = '%1' and m.timestamp >= "
                     "%2 order by m.id")
                    .arg(name)
                    .arg(date("fromDateTimeEdit")->dateTime().toMSecsSinceEpoch()));
            QStringList drawn;
            const auto points = line->pointsVector();
            for (const QPointF &point : points) {
                drawn.append(text("%1|%2").arg(point.x(), 0, 'f', 0).arg(point.y(), 0, 'f', 3));
            }
            QVERIFY(drawn.size() > 600);
            QCOMPARE(drawn, stored);
        }

        QTest::mouseClick(part<QPushButton>(graph(), "buttonClear"), Qt::LeftButton);
        QVERIFY(lines().isEmpty());
        QVERIFY(ticked().isEmpty());
    }

    void changedUnitRedraws()
    {
        QVERIFY(startTool());
        QVERIFY(openGraph());
        date("fromDateTimeEdit")->setDateTime(m_now.addSecs(-3600).toLocalTime());
        toggle(list(), graphNameRole, {text("W0")});
        QCOMPARE(lines().size(), 1);
        QVERIFY2(lines().first()->name().contains(text("°C")), qPrintable(lines().first()->name()));
        const double celsius = lines().first()->at(0).y();

        QTest::keyClick(child<QComboBox>("unitTemperature"), Qt::Key_Down);
        QCOMPARE(ticked(), QStringList(text("W0")));
        QVERIFY(lines().first()->name().contains(text("°F")));
        QVERIFY(qAbs(lines().first()->at(0).y() - (celsius * 1.8 + 32.0)) < 0.01);
        QVERIFY(list()->findItems(text("°F"), Qt::MatchContains).size() == 1);
    }

    void manualRangeIsUsed()
    {
        const auto axis = [this] {
            return qobject_cast<QtCharts::QValueAxis *>(chart()->axes(Qt::Vertical).first());
        };
        QVERIFY(startTool());
        QVERIFY(openGraph());
        date("fromDateTimeEdit")->setDateTime(m_now.addSecs(-3600).toLocalTime());
        toggle(list(), graphNameRole, {text("W2")});
        QVERIFY(axis()->min() > 900.0);
        QVERIFY(!part<QWidget>(graph(), "graphMinimumSpinBox")->isEnabled());

        check("enableSettingsMinMaxForGraphcheckBox");
        QVERIFY(part<QWidget>(graph(), "graphMinimumSpinBox")->isEnabled());
        part<QDoubleSpinBox>(graph(), "graphMinimumSpinBox")->setValue(10.0);
        part<QDoubleSpinBox>(graph(), "graphMaximumSpinBox")->setValue(20.0);
        QCOMPARE(axis()->min(), 9.9);
        QCOMPARE(axis()->max(), 20.2);
    }

    void periodBoundsThePoints()
    {
        QVERIFY(startTool());
        QVERIFY(openGraph());
        const QDateTime from = m_now.addSecs(-10 * 3600).toLocalTime();
        date("fromDateTimeEdit")->setDateTime(from);
        check("showLatestCheckBox");
        QVERIFY(date("toDateTimeEdit")->isEnabled());
        date("toDateTimeEdit")->setDateTime(from.addSecs(3600));
        toggle(list(), graphNameRole, {text("W2")});
        QCOMPARE(lines().first()->count(), 60);
        // A period that ends before it begins is empty, without an error.
        date("toDateTimeEdit")->setDateTime(from.addSecs(-3600));
        QVERIFY(lines().isEmpty());
        QCOMPARE(list()->count(), 0);
    }

    void reopenedGraphIsAsItWas()
    {
        const QStringList types{text("W0"), text("W1")};
        const QDateTime from = m_now.addSecs(-10 * 3600).toLocalTime();
        QVERIFY(startTool());
        QVERIFY(openGraph());
        date("fromDateTimeEdit")->setDateTime(from);
        check("showLatestCheckBox");
        date("toDateTimeEdit")->setDateTime(from.addSecs(3600));
        toggle(list(), graphNameRole, types);
        check("enableSettingsMinMaxForGraphcheckBox");
        part<QDoubleSpinBox>(graph(), "graphMinimumSpinBox")->setValue(-5.5);
        part<QDoubleSpinBox>(graph(), "graphMaximumSpinBox")->setValue(99.0);
        graph()->close();

        // The same window, and then another run of the program.
        for (int run = 0; run < 2; ++run) {
            QVERIFY(openGraph());
            QStringList names = ticked();
            names.sort();
            QCOMPARE(names, types);
            QCOMPARE(lines().size(), 2);
            QCOMPARE(date("fromDateTimeEdit")->dateTime(), from);
            QCOMPARE(date("toDateTimeEdit")->dateTime(), from.addSecs(3600));
            QVERIFY(!part<QCheckBox>(graph(), "showLatestCheckBox")->isChecked());
            QVERIFY(part<QCheckBox>(graph(), "enableSettingsMinMaxForGraphcheckBox")->isChecked());
            QCOMPARE(part<QDoubleSpinBox>(graph(), "graphMinimumSpinBox")->value(), -5.5);
            QCOMPARE(part<QDoubleSpinBox>(graph(), "graphMaximumSpinBox")->value(), 99.0);
            graph()->close();
            endTool();
            QVERIFY(startTool());
        }
    }

    void closingWithoutRowsClearsTheTicks()
    {
        {
            QSettings settings(text("Orvanta"), text("Kv tool"));
            settings.setValue(text("graph measurement types"), QStringList(text("W0")));
        }
        QVERIFY(startTool());
        QVERIFY(openGraph());
        const QDateTime closing = QDateTime::currentDateTimeUtc();
        graph()->close();
        QCOMPARE(rememberedValue("graph measurement types").toStringList(), QStringList());
        // With the latest shown, the end of the period is the moment of closing.
        const QDateTime to = rememberedValue("graph to").toDateTime();
        QVERIFY(closing.msecsTo(to) >= 0 && closing.secsTo(to) < 20);
    }

    void exportEqualsTheStore_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<double>("factor");
        QTest::addColumn<double>("offset");
        QTest::addColumn<QByteArray>("title");
        QTest::addColumn<QByteArray>("zone");
        QTest::addRow("as stored") << text("W1") << noFactor << 0.0
                                   << QByteArray("Relative humidity") << QByteArray("UTC");
        QTest::addRow("in another unit") << text("W0") << 5.0 / 9.0 << -32.0
                                         << QByteArray("Room temperature") << QByteArray("UTC");
        QTest::addRow("with values that were not available")
            << text("W2") << noFactor << 0.0 << QByteArray("Air pressure") << QByteArray("UTC");
        QTest::addRow("in another time zone")
            << text("LUX") << noFactor << 0.0 << QByteArray("LUX") << QByteArray("Asia/Kathmandu");
    }

    void exportEqualsTheStore()
    {
        QFETCH(QString, type);
        QFETCH(double, factor);
        QFETCH(double, offset);
        QFETCH(QByteArray, title);
        QFETCH(QByteArray, zone);
        const TimeZoneScope scope(zone.constData());
        const QString path = file(text("measurements.csv"));
        // Whole minutes, as the fields have them.
        const QDateTime from =
            QDateTime::fromSecsSinceEpoch((m_now.toSecsSinceEpoch() / 60 - 20 * 60) * 60);
        const QDateTime to = from.addSecs(13 * 3600);
        QVERIFY(startTool());
        QStringList others = allTypes;
        others.removeAll(type);
        prepareExport(others, from, to);
        dialogs().answerFileDialog(text("Select where to save measurements to"), path);
        QVERIFY(click("exportLocalMeasurementsButton"));
        QVERIFY(dialogs().isSatisfied());
        QCOMPARE(contents(path).split('\n').first(), "Timestamp," + title);
        QVERIFY(csvEqualsStore(path, type, from, to, factor, offset));
        QCOMPARE(rememberedValue("measurement export filename").toString(), path);
    }

    void emptyExportIsReported_data()
    {
        QTest::addColumn<QStringList>("untick");
        QTest::addColumn<int>("daysAgo");
        QTest::addRow("empty period") << QStringList() << 2;
        QTest::addRow("no types") << allTypes << 0;
    }

    void emptyExportIsReported()
    {
        QFETCH(QStringList, untick);
        QFETCH(int, daysAgo);
        QVERIFY(startTool());
        const QDateTime to = m_now.addDays(-daysAgo);
        prepareExport(untick, to.addDays(-1), to);
        dialogs().answerBox(text("No measurements found from given time period"), text("OK"));
        QVERIFY(click("exportLocalMeasurementsButton"));
        QVERIFY(dialogs().isSatisfied());
    }

    void cancelledFileDialogWritesNothing()
    {
        QVERIFY(startTool());
        prepareExport({}, m_now.addDays(-1), m_now);
        dialogs().escapeDialog(text("Select where to save measurements to"));
        QVERIFY(click("exportLocalMeasurementsButton"));
        QVERIFY(dialogs().isSatisfied());
        QVERIFY(!rememberedValue("measurement export filename").isValid());
    }

private:
    bool openGraph()
    {
        return click("buttonShowGraph") && waitFor([this] { return graph()->isVisible(); });
    }

    QWidget *graph() { return topLevel("MeasurementGraph"); }
    QDateTimeEdit *date(const char *name) { return part<QDateTimeEdit>(graph(), name); }
    QtCharts::QChart *chart() { return graph()->findChild<QtCharts::QChartView *>()->chart(); }

    QList<QtCharts::QLineSeries *> lines()
    {
        QList<QtCharts::QLineSeries *> found;
        const auto all = chart()->series();
        for (QtCharts::QAbstractSeries *series : all) {
            found.append(qobject_cast<QtCharts::QLineSeries *>(series));
        }
        return found;
    }

    QListWidget *list() { return part<QListWidget>(graph(), "list"); }
    QStringList ticked() { return checked(list(), graphNameRole); }
    void check(const char *box) { toggle(part<QCheckBox>(graph(), box)); }

    void prepareExport(const QStringList &untick, const QDateTime &from, const QDateTime &to)
    {
        dialogs().answerDialog(text("Select measurements to export"), [=](QDialog *dialog) {
            part<QDateTimeEdit>(dialog, "exportDateTimeFrom")->setDateTime(from);
            part<QDateTimeEdit>(dialog, "exportDateTimeTo")->setDateTime(to);
            toggle(part<QListWidget>(dialog, "measurementTypeList"), exportNameRole, untick);
            press(dialog, QDialogButtonBox::Ok);
        });
    }

    QTemporaryDir m_history;
    QDateTime m_now;
};

KV_TEST_MAIN(TestGraphExport)
#include "tst_graphexport.moc"
