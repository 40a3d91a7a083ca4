// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/demodevice.h"
#include "demo/history.h"
#include "graph/graph.h"
#include "tests/kit/toolfixture.h"
#include "tests/kit/testmain.h"
#include "tests/kit/timezonescope.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QLineSeries>
#include <QtCharts/QValueAxis>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QListWidget>

namespace {

constexpr int graphNameRole = Qt::UserRole + 2;
constexpr int exportNameRole = Qt::UserRole + 4;

constexpr double noFactor = 1.0;

} // namespace

/// Graph and export on a store with a day of history, with no device in reach.
class TestLookingBack : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { endCase(); }

    void graphOpensWithoutADevice();
    void tickedLinesAreDrawnFromTheStore();
    void changedUnitRedraws();
    void manualRangeIsTaken();
    void periodBoundsThePoints();
    void reopenedGraphIsAsItWas();
    void closingWithoutRowsLosesTheTicks();
    void exportEqualsTheStore_data();
    void exportEqualsTheStore();
    void exportOfAnEmptyPeriodIsTold();
    void exportOfNoTypesIsTold();
    void cancelledExportsWriteNothing();

private:
    bool openGraph();
    QWidget *graph() { return topLevel("MeasurementGraph"); }
    template <typename T>
    T *in(QWidget *form, const char *name)
    {
        return form->findChild<T *>(QLatin1String(name));
    }
    QDateTimeEdit *date(const char *name) { return in<QDateTimeEdit>(graph(), name); }
    QtCharts::QChart *chart() { return graph()->findChild<QtCharts::QChartView *>()->chart(); }
    QList<QtCharts::QLineSeries *> lines();
    void tick(QListWidget *list, int nameRole, const QStringList &names);
    QStringList ticked();
    void check(const char *box);
    void prepareExport(const QStringList &untick, const QDateTime &from, const QDateTime &to);
    bool csvEqualsStore(const QString &csv, const QString &type, double factor, double offset,
                        const QDateTime &from, const QDateTime &to);

    QTemporaryDir m_history;
    QDateTime m_now;
};

void TestLookingBack::initTestCase()
{
    prepareApplication();
    DemoDevice device;
    QVERIFY(device.start());
    LocalStorageSqlite storage;
    QVERIFY(writeHistory(storage, m_history.filePath(text("measurements.db")), device));
    m_now = QDateTime::currentDateTimeUtc();
}

void TestLookingBack::init()
{
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    beginCase();
    QVERIFY(QFile::copy(m_history.filePath(text("measurements.db")), storePath()));
}

bool TestLookingBack::openGraph()
{
    return click("buttonShowGraph") && waitFor([this] { return graph()->isVisible(); });
}

QList<QtCharts::QLineSeries *> TestLookingBack::lines()
{
    QList<QtCharts::QLineSeries *> found;
    const auto all = chart()->series();
    for (QtCharts::QAbstractSeries *series : all) {
        found.append(qobject_cast<QtCharts::QLineSeries *>(series));
    }
    return found;
}

/// Clicks the boxes of @p names; the box stands at the left end of its row.
void TestLookingBack::tick(QListWidget *list, int nameRole, const QStringList &names)
{
    for (int row = 0; row < list->count(); ++row) {
        QListWidgetItem *const item = list->item(row);
        if (names.contains(item->data(nameRole).toString())) {
            list->scrollToItem(item);
            const QRect place = list->visualItemRect(item);
            QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                              QPoint(place.left() + 10, place.center().y()));
            QApplication::processEvents();
        }
    }
}

QStringList TestLookingBack::ticked()
{
    const auto *const list = in<QListWidget>(graph(), "list");
    QStringList names;
    for (int row = 0; row < list->count(); ++row) {
        if (list->item(row)->checkState() == Qt::Checked) {
            names.append(list->item(row)->data(graphNameRole).toString());
        }
    }
    return names;
}

void TestLookingBack::check(const char *box)
{
    auto *const checkBox = in<QCheckBox>(graph(), box);
    QTest::mouseClick(checkBox, Qt::LeftButton, Qt::NoModifier, QPoint(8, checkBox->height() / 2));
}

void TestLookingBack::graphOpensWithoutADevice()
{
    QVERIFY(startTool());
    QVERIFY(openGraph());
    // A period of no length at the first opening.
    auto *const list = in<QListWidget>(graph(), "list");
    QCOMPARE(list->count(), 0);
    QVERIFY(!list->isEnabled());
    QCOMPARE(in<QComboBox>(graph(), "deviceComboBox")->count(), 1);
    QVERIFY(in<QComboBox>(graph(), "deviceComboBox")->currentText().startsWith(text("KVT-100 - ")));
    QVERIFY(in<QCheckBox>(graph(), "showLatestCheckBox")->isChecked());
    QVERIFY(lines().isEmpty());

    date("fromDateTimeEdit")->setDateTime(m_now.addSecs(-6 * 3600).toLocalTime());
    QCOMPARE(list->count(), 6);
    QVERIFY(list->isEnabled());
    QVERIFY(lines().isEmpty());
    // A second press of the button does nothing while it is open.
    QVERIFY(click("buttonShowGraph"));
    QCOMPARE(list->count(), 6);
}

void TestLookingBack::tickedLinesAreDrawnFromTheStore()
{
    QVERIFY(startTool());
    QVERIFY(openGraph());
    date("fromDateTimeEdit")->setDateTime(m_now.addSecs(-12 * 3600).toLocalTime());
    tick(in<QListWidget>(graph(), "list"), graphNameRole, {text("W2"), text("W1")});
    QCOMPARE(lines().size(), 2);
    QCOMPARE(ticked().size(), 2);

    for (QtCharts::QLineSeries *line : lines()) {
        const QString name = line->name().contains(text("pressure")) ? text("W2") : text("W1");
        const QStringList stored =
            sqlite(text("select m.timestamp, printf('%.3f', v.value) from measurement_metadata m "
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

    QTest::mouseClick(in<QPushButton>(graph(), "buttonClear"), Qt::LeftButton);
    QVERIFY(lines().isEmpty());
    QVERIFY(ticked().isEmpty());
}

void TestLookingBack::changedUnitRedraws()
{
    QVERIFY(startTool());
    QVERIFY(openGraph());
    date("fromDateTimeEdit")->setDateTime(m_now.addSecs(-3600).toLocalTime());
    tick(in<QListWidget>(graph(), "list"), graphNameRole, {text("W0")});
    QCOMPARE(lines().size(), 1);
    QVERIFY2(lines().first()->name().contains(text("°C")), qPrintable(lines().first()->name()));
    const double celsius = lines().first()->at(0).y();

    QTest::keyClick(child<QComboBox>("unitTemperature"), Qt::Key_Down);
    QCOMPARE(ticked(), QStringList(text("W0")));
    QVERIFY(lines().first()->name().contains(text("°F")));
    QVERIFY(qAbs(lines().first()->at(0).y() - (celsius * 1.8 + 32.0)) < 0.01);
    QVERIFY(in<QListWidget>(graph(), "list")->findItems(text("°F"), Qt::MatchContains).size() == 1);
}

void TestLookingBack::manualRangeIsTaken()
{
    const auto axis = [this] {
        return qobject_cast<QtCharts::QValueAxis *>(chart()->axes(Qt::Vertical).first());
    };
    QVERIFY(startTool());
    QVERIFY(openGraph());
    date("fromDateTimeEdit")->setDateTime(m_now.addSecs(-3600).toLocalTime());
    tick(in<QListWidget>(graph(), "list"), graphNameRole, {text("W2")});
    QVERIFY(axis()->min() > 900.0);
    QVERIFY(!in<QWidget>(graph(), "graphMinimumSpinBox")->isEnabled());

    check("enableSettingsMinMaxForGraphcheckBox");
    QVERIFY(in<QWidget>(graph(), "graphMinimumSpinBox")->isEnabled());
    in<QDoubleSpinBox>(graph(), "graphMinimumSpinBox")->setValue(10.0);
    in<QDoubleSpinBox>(graph(), "graphMaximumSpinBox")->setValue(20.0);
    QCOMPARE(axis()->min(), 9.9);
    QCOMPARE(axis()->max(), 20.2);
}

void TestLookingBack::periodBoundsThePoints()
{
    QVERIFY(startTool());
    QVERIFY(openGraph());
    const QDateTime from = m_now.addSecs(-10 * 3600).toLocalTime();
    date("fromDateTimeEdit")->setDateTime(from);
    check("showLatestCheckBox");
    QVERIFY(date("toDateTimeEdit")->isEnabled());
    date("toDateTimeEdit")->setDateTime(from.addSecs(3600));
    tick(in<QListWidget>(graph(), "list"), graphNameRole, {text("W2")});
    QCOMPARE(lines().first()->count(), 60);
    // The other way round there is nothing, and nothing to say about it.
    date("toDateTimeEdit")->setDateTime(from.addSecs(-3600));
    QVERIFY(lines().isEmpty());
    QCOMPARE(in<QListWidget>(graph(), "list")->count(), 0);
}

void TestLookingBack::reopenedGraphIsAsItWas()
{
    const QStringList types{text("W0"), text("W1")};
    const QDateTime from = m_now.addSecs(-10 * 3600).toLocalTime();
    QVERIFY(startTool());
    QVERIFY(openGraph());
    date("fromDateTimeEdit")->setDateTime(from);
    check("showLatestCheckBox");
    date("toDateTimeEdit")->setDateTime(from.addSecs(3600));
    tick(in<QListWidget>(graph(), "list"), graphNameRole, types);
    check("enableSettingsMinMaxForGraphcheckBox");
    in<QDoubleSpinBox>(graph(), "graphMinimumSpinBox")->setValue(-5.5);
    in<QDoubleSpinBox>(graph(), "graphMaximumSpinBox")->setValue(99.0);
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
        QVERIFY(!in<QCheckBox>(graph(), "showLatestCheckBox")->isChecked());
        QVERIFY(in<QCheckBox>(graph(), "enableSettingsMinMaxForGraphcheckBox")->isChecked());
        QCOMPARE(in<QDoubleSpinBox>(graph(), "graphMinimumSpinBox")->value(), -5.5);
        QCOMPARE(in<QDoubleSpinBox>(graph(), "graphMaximumSpinBox")->value(), 99.0);
        graph()->close();
        m_tool.reset();
        QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
        QVERIFY(startTool());
    }
}

void TestLookingBack::closingWithoutRowsLosesTheTicks()
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

void TestLookingBack::prepareExport(const QStringList &untick, const QDateTime &from,
                                    const QDateTime &to)
{
    dialogs().answerDialog(text("Select measurements to export"), [=](QDialog *dialog) {
        in<QDateTimeEdit>(dialog, "exportDateTimeFrom")->setDateTime(from);
        in<QDateTimeEdit>(dialog, "exportDateTimeTo")->setDateTime(to);
        tick(in<QListWidget>(dialog, "measurementTypeList"), exportNameRole, untick);
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
    });
}

/// Another language's CSV reader and its own way to the database are the witnesses.
bool TestLookingBack::csvEqualsStore(const QString &csv, const QString &type, double factor,
                                     double offset, const QDateTime &from, const QDateTime &to)
{
    const QString script =
        text("import csv, datetime, sqlite3, sys\n"
             "path, store, name, factor, offset, begin, end = sys.argv[1:]\n"
             "got = list(csv.reader(open(path, newline='')))[1:]\n"
             "db = sqlite3.connect('file:' + store + '?mode=ro', uri=True)\n"
             "rows = db.execute('select m.timestamp, (select v.value from measurement_value v '\n"
             "  'join measurement_type t on t.id = v.measurement_type_id where '\n"
             "  'v.measurement_id = m.id and t.name = ?) from measurement_metadata m where '\n"
             "  'm.timestamp between ? and ? order by m.id', (name, int(begin), int(end)))\n"
             "need = []\n"
             "for stamp, value in rows:\n"
             "    when = datetime.datetime.fromtimestamp(stamp // 1000).isoformat()\n"
             "    number = '' if value is None else "
             "'%.6g' % ((value + float(offset)) * float(factor))\n"
             "    need.append([when, number])\n"
             "wrong = [p for p in zip(got, need) if p[0] != p[1]]\n"
             "print(len(got), len(need), wrong[:3])\n"
             "sys.exit(0 if got == need and len(got) > 100 else 1)\n");
    QProcess python;
    python.start(text("python3"),
                 {text("-c"), script, csv, storePath(), type, QString::number(factor, 'g', 17),
                  QString::number(offset), QString::number(from.toMSecsSinceEpoch()),
                  QString::number(to.toMSecsSinceEpoch())});
    const bool same = python.waitForFinished(waitMs) && python.exitCode() == 0;
    if (!same) {
        qWarning() << python.readAllStandardOutput() << python.readAllStandardError();
    }
    return same;
}

void TestLookingBack::exportEqualsTheStore_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<double>("factor");
    QTest::addColumn<double>("offset");
    QTest::addColumn<QByteArray>("title");
    QTest::addColumn<QByteArray>("zone");
    QTest::addRow("as stored") << text("W1") << noFactor << 0.0 << QByteArray("Relative humidity")
                               << QByteArray("UTC");
    QTest::addRow("in another unit")
        << text("W0") << 5.0 / 9.0 << -32.0 << QByteArray("Room temperature") << QByteArray("UTC");
    QTest::addRow("with values that were not available")
        << text("W2") << noFactor << 0.0 << QByteArray("Air pressure") << QByteArray("UTC");
    QTest::addRow("in another time zone")
        << text("LUX") << noFactor << 0.0 << QByteArray("LUX") << QByteArray("Asia/Kathmandu");
}

void TestLookingBack::exportEqualsTheStore()
{
    QFETCH(QString, type);
    QFETCH(double, factor);
    QFETCH(double, offset);
    QFETCH(QByteArray, title);
    QFETCH(QByteArray, zone);
    const TimeZoneScope scope(zone.constData());
    const QString path = file(text("measurements.csv"));
    // The whole minutes of the fields, and so those of the question to the store.
    const QDateTime from =
        QDateTime::fromSecsSinceEpoch((m_now.toSecsSinceEpoch() / 60 - 20 * 60) * 60);
    const QDateTime to = from.addSecs(13 * 3600);
    QVERIFY(startTool());
    QStringList others{text("W0"), text("W1"), text("W2"), text("A2"), text("A4"), text("LUX")};
    others.removeAll(type);
    prepareExport(others, from, to);
    dialogs().answerFileDialog(text("Select where to save measurements to"), path);
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());
    QCOMPARE(contents(path).split('\n').first(), "Timestamp," + title);
    QVERIFY(csvEqualsStore(path, type, factor, offset, from, to));
    QCOMPARE(rememberedValue("measurement export filename").toString(), path);
}

void TestLookingBack::exportOfAnEmptyPeriodIsTold()
{
    QVERIFY(startTool());
    prepareExport({}, m_now.addDays(-3), m_now.addDays(-2));
    dialogs().answerBox(text("No measurements found from given time period"), text("OK"));
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());
}

void TestLookingBack::exportOfNoTypesIsTold()
{
    QVERIFY(startTool());
    prepareExport({text("W0"), text("W1"), text("W2"), text("A2"), text("A4"), text("LUX")},
                  m_now.addDays(-1), m_now);
    dialogs().answerBox(text("No measurements found from given time period"), text("OK"));
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());
}

void TestLookingBack::cancelledExportsWriteNothing()
{
    QVERIFY(startTool());
    dialogs().answerDialog(text("Select measurements to export"),
                           [](QDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());

    prepareExport({}, m_now.addDays(-1), m_now);
    dialogs().answerDialog(text("Select where to save measurements to"),
                           [](QDialog *dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());
    QVERIFY(!rememberedValue("measurement export filename").isValid());
}

KV_TEST_MAIN(TestLookingBack)
#include "tst_lookingback.moc"
