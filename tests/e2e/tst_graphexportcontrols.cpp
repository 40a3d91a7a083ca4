// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/toolfixture.h"
#include "tests/kit/testmain.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QValueAxis>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QListWidget>

namespace {

const QLatin1String exportTitle("Select measurements to export");
const QLatin1String saveCaption("Select where to save measurements to");

constexpr int readingsEach = 3;

} // namespace

/// Each control of the graph and of the export dialog, by mouse and keys alone, on a store with two
/// devices.
class TestLookingBackByHand : public ToolFixture
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareApplication(); }
    void init() { beginCase(); }
    void cleanup() { endCase(); }

    void everyControlOfTheGraphAnswers();
    void graphGoesByEveryRoad_data();
    void graphGoesByEveryRoad();
    void everyControlOfTheExportAnswers();
    void exportGoesByEveryRoad_data();
    void exportGoesByEveryRoad();
    void exportThatCanNotBeWrittenIsTold();

private:
    bool startWithTwoDevices();
    QWidget *graph() { return topLevel("MeasurementGraph"); }
    template <typename T>
    T *in(QWidget *form, const char *name)
    {
        return form->findChild<T *>(QLatin1String(name));
    }
    static bool chooseModel(QComboBox *devices, const char *model);
    static void stepYear(QDateTimeEdit *edit, Qt::Key key);
    static void typeNumber(QDoubleSpinBox *box, const QString &number);
    static void tickFirst(QListWidget *list);
    static void check(QCheckBox *box);
    static void press(QDialog *dialog, QDialogButtonBox::StandardButton button);
};

/// The store has readings of a KVT-100 and, more of them, of the KVT-300 that is connected.
bool TestLookingBackByHand::startWithTwoDevices()
{
    const auto poll = [this](int readings) {
        tool().controller.setMeasurementInterval(10);
        return connectByClick() && waitFor([=] { return storedReadings() >= readings; })
            && disconnectByClick();
    };
    if (!startDevice() || !startTool() || !poll(readingsEach) || !device().stop()) {
        return false;
    }
    const int first = storedReadings();
    m_device = std::make_unique<SimulatorProcess>();
    if (!startDevice({text("--model"), text("KVT-300")})) {
        return false;
    }
    choosePort(device().port());
    return poll(first + readingsEach + 1);
}

bool TestLookingBackByHand::chooseModel(QComboBox *devices, const char *model)
{
    return choose(devices, devices->findText(text(model), Qt::MatchStartsWith));
}

/// Where the date's first section is another one, a click goes to the year first.
void TestLookingBackByHand::stepYear(QDateTimeEdit *edit, Qt::Key key)
{
    QTest::mouseClick(edit, Qt::LeftButton, Qt::NoModifier, QPoint(5, edit->height() / 2));
    edit->setSelectedSection(QDateTimeEdit::YearSection);
    QTest::keyClick(edit, key);
}

void TestLookingBackByHand::typeNumber(QDoubleSpinBox *box, const QString &number)
{
    QTest::mouseClick(box, Qt::LeftButton, Qt::NoModifier, QPoint(5, box->height() / 2));
    QTest::keyClick(box, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(box, number);
    QTest::keyClick(box, Qt::Key_Tab);
}

void TestLookingBackByHand::tickFirst(QListWidget *list)
{
    const QRect row = list->visualItemRect(list->item(0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(row.left() + 10, row.center().y()));
}

void TestLookingBackByHand::check(QCheckBox *box)
{
    QTest::mouseClick(box, Qt::LeftButton, Qt::NoModifier, QPoint(8, box->height() / 2));
}

void TestLookingBackByHand::press(QDialog *dialog, QDialogButtonBox::StandardButton button)
{
    QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(button), Qt::LeftButton);
}

void TestLookingBackByHand::everyControlOfTheGraphAnswers()
{
    QVERIFY(startWithTwoDevices());
    QVERIFY(click("buttonShowGraph"));
    QVERIFY(QTest::qWaitForWindowExposed(graph()));
    auto *const list = in<QListWidget>(graph(), "list");
    auto *const devices = in<QComboBox>(graph(), "deviceComboBox");
    auto *const chart = graph()->findChild<QtCharts::QChartView *>();
    QCOMPARE(devices->count(), 2);
    QCOMPARE(list->count(), 0);

    stepYear(in<QDateTimeEdit>(graph(), "fromDateTimeEdit"), Qt::Key_Down);
    QVERIFY(chooseModel(devices, "KVT-100"));
    QCOMPARE(list->count(), 6);
    QVERIFY(chooseModel(devices, "KVT-300"));
    QCOMPARE(list->count(), 12);
    tickFirst(list);
    QCOMPARE(chart->chart()->series().size(), 1);
    // The first key enters the list.
    QTest::keyClick(list, Qt::Key_Home);
    QTest::keyClick(list, Qt::Key_End);
    QTest::keyClick(list, Qt::Key_Space);
    QCOMPARE(chart->chart()->series().size(), 2);
    QTest::mouseClick(chart->viewport(), Qt::LeftButton);
    QTest::mouseClick(chart->viewport(), Qt::RightButton);
    QVERIFY(chooseModel(devices, "KVT-100"));
    QCOMPARE(list->count(), 6);

    check(in<QCheckBox>(graph(), "enableSettingsMinMaxForGraphcheckBox"));
    typeNumber(in<QDoubleSpinBox>(graph(), "graphMinimumSpinBox"), text("100"));
    typeNumber(in<QDoubleSpinBox>(graph(), "graphMaximumSpinBox"), text("200"));
    const auto *const axis =
        qobject_cast<QtCharts::QValueAxis *>(chart->chart()->axes(Qt::Vertical).first());
    QCOMPARE(axis->min(), 99.0);
    QCOMPARE(axis->max(), 202.0);

    check(in<QCheckBox>(graph(), "showLatestCheckBox"));
    auto *const to = in<QDateTimeEdit>(graph(), "toDateTimeEdit");
    stepYear(to, Qt::Key_Down);
    stepYear(to, Qt::Key_Down);
    QCOMPARE(list->count(), 0);
    stepYear(to, Qt::Key_Up);
    stepYear(to, Qt::Key_Up);
    stepYear(to, Qt::Key_Up);
    QCOMPARE(list->count(), 6);
    QTest::mouseClick(in<QPushButton>(graph(), "buttonClear"), Qt::LeftButton);
    QCOMPARE(chart->chart()->series().size(), 0);
}

void TestLookingBackByHand::graphGoesByEveryRoad_data()
{
    QTest::addColumn<bool>("byFrame");
    QTest::addRow("frame") << true;
    QTest::addRow("Escape") << false;
}

void TestLookingBackByHand::graphGoesByEveryRoad()
{
    QFETCH(bool, byFrame);
    QVERIFY(startConnected());
    QVERIFY(click("buttonShowGraph"));
    QVERIFY(QTest::qWaitForWindowExposed(graph()));
    QVERIFY(!rememberedValue("graph from").isValid());
    if (byFrame) {
        QVERIFY(closeByFrame(graph()));
    } else {
        QTest::keyClick(in<QComboBox>(graph(), "deviceComboBox"), Qt::Key_Escape);
    }
    QVERIFY(!graph()->isVisible());
    QVERIFY(rememberedValue("graph from").isValid());
    QVERIFY(click("buttonShowGraph"));
    QVERIFY(graph()->isVisible());
}

void TestLookingBackByHand::everyControlOfTheExportAnswers()
{
    QVERIFY(startWithTwoDevices());
    const QString path = file(text("measurements.csv"));
    const auto fill = [this](QDialog *dialog, const char *model, int types) {
        auto *const list = in<QListWidget>(dialog, "measurementTypeList");
        QVERIFY(chooseModel(in<QComboBox>(dialog, "deviceComboBox"), model));
        QCOMPARE(list->count(), types);
        stepYear(in<QDateTimeEdit>(dialog, "exportDateTimeFrom"), Qt::Key_Down);
        stepYear(in<QDateTimeEdit>(dialog, "exportDateTimeTo"), Qt::Key_Up);
        tickFirst(list);
        press(dialog, QDialogButtonBox::Ok);
    };
    dialogs().answerDialog(exportTitle, [=](QDialog *dialog) { fill(dialog, "KVT-300", 12); });
    dialogs().answerFileDialog(saveCaption, path);
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());
    QList<QByteArray> lines = contents(path).split('\n');
    QCOMPARE(lines.first().count(','), 11);
    const int ofSecond = lines.size();

    dialogs().answerDialog(exportTitle, [=](QDialog *dialog) { fill(dialog, "KVT-100", 6); });
    dialogs().answerFileDialog(saveCaption, path);
    dialogs().answerBox(text("already exists"), text("Yes"));
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());
    lines = contents(path).split('\n');
    QCOMPARE(lines.first().count(','), 5);
    // A title and an end for each of the two.
    QCOMPARE(lines.size() + ofSecond, storedReadings() + 4);
}

void TestLookingBackByHand::exportGoesByEveryRoad_data()
{
    QTest::addColumn<QByteArray>("road");
    QTest::addRow("Cancel") << QByteArray("cancel");
    QTest::addRow("frame") << QByteArray("frame");
    QTest::addRow("Escape") << QByteArray("escape");
}

void TestLookingBackByHand::exportGoesByEveryRoad()
{
    QFETCH(QByteArray, road);
    QVERIFY(startConnected());
    dialogs().answerDialog(exportTitle, [=](QDialog *dialog) {
        if (road == "cancel") {
            press(dialog, QDialogButtonBox::Cancel);
        } else if (road == "frame") {
            QVERIFY(closeByFrame(dialog));
        } else {
            QTest::keyClick(in<QListWidget>(dialog, "measurementTypeList"), Qt::Key_Escape);
        }
    });
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());
}

void TestLookingBackByHand::exportThatCanNotBeWrittenIsTold()
{
    QVERIFY(startConnected());
    // The folder goes away between the choice and the writing.
    const QString inside = file(text("no-folder/measurements.csv"));
    dialogs().answerDialog(exportTitle, [this](QDialog *dialog) {
        stepYear(in<QDateTimeEdit>(dialog, "exportDateTimeFrom"), Qt::Key_Down);
        stepYear(in<QDateTimeEdit>(dialog, "exportDateTimeTo"), Qt::Key_Up);
        press(dialog, QDialogButtonBox::Ok);
    });
    dialogs().answerDialog(saveCaption, [=](QDialog *dialog) {
        QVERIFY(QDir().mkdir(file(text("no-folder"))));
        dialog->findChild<QLineEdit *>(text("fileNameEdit"))->setText(inside);
        QVERIFY(QDir().rmdir(file(text("no-folder"))));
        dialog->done(QDialog::Accepted);
    });
    dialogs().answerBox(text("Unable to save measurements to file ") + inside, text("OK"));
    QVERIFY(click("exportLocalMeasurementsButton"));
    QVERIFY(dialogs().isSatisfied());
    QCOMPARE(rememberedValue("measurement export filename").toString(), inside);
}

KV_TEST_MAIN(TestLookingBackByHand)
#include "tst_lookingbackbyhand.moc"
