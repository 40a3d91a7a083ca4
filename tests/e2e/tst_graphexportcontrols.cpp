// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtCharts/QValueAxis>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QListWidget>

namespace {

const QLatin1String exportTitle("Select measurements to export");
const QLatin1String saveCaption("Select where to save measurements to");

constexpr int readingsEach = 3;

} // namespace

/// Each control of the graph and of the export dialog, by mouse and keys alone, with a store of two
/// devices.
class TestGraphExportControls : public ToolFixture
{
    Q_OBJECT

private slots:
    void everyControlOfTheGraphWorks()
    {
        QVERIFY(startWithTwoDevices());
        QVERIFY(click("buttonShowGraph"));
        QVERIFY(QTest::qWaitForWindowExposed(graph()));
        auto *const list = part<QListWidget>(graph(), "list");
        auto *const devices = part<QComboBox>(graph(), "deviceComboBox");
        auto *const chart = graph()->findChild<QtCharts::QChartView *>();
        QCOMPARE(devices->count(), 2);
        QCOMPARE(list->count(), 0);

        stepYear(part<QDateTimeEdit>(graph(), "fromDateTimeEdit"), Qt::Key_Down);
        QVERIFY(chooseModel(devices, "KVT-100"));
        QCOMPARE(list->count(), 6);
        QVERIFY(chooseModel(devices, "KVT-300"));
        QCOMPARE(list->count(), 12);
        toggle(list, 0);
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

        toggle(part<QCheckBox>(graph(), "enableSettingsMinMaxForGraphcheckBox"));
        typeNumber(part<QDoubleSpinBox>(graph(), "graphMinimumSpinBox"), text("100"));
        typeNumber(part<QDoubleSpinBox>(graph(), "graphMaximumSpinBox"), text("200"));
        const auto *const axis =
            qobject_cast<QtCharts::QValueAxis *>(chart->chart()->axes(Qt::Vertical).first());
        QCOMPARE(axis->min(), 99.0);
        QCOMPARE(axis->max(), 202.0);

        toggle(part<QCheckBox>(graph(), "showLatestCheckBox"));
        auto *const to = part<QDateTimeEdit>(graph(), "toDateTimeEdit");
        stepYear(to, Qt::Key_Down);
        stepYear(to, Qt::Key_Down);
        QCOMPARE(list->count(), 0);
        stepYear(to, Qt::Key_Up);
        stepYear(to, Qt::Key_Up);
        stepYear(to, Qt::Key_Up);
        QCOMPARE(list->count(), 6);
        QTest::mouseClick(part<QPushButton>(graph(), "buttonClear"), Qt::LeftButton);
        QCOMPARE(chart->chart()->series().size(), 0);
    }

    void graphClosesByEachInput_data()
    {
        QTest::addColumn<bool>("byFrame");
        QTest::addRow("frame") << true;
        QTest::addRow("Escape") << false;
    }

    void graphClosesByEachInput()
    {
        QFETCH(bool, byFrame);
        QVERIFY(startConnected());
        QVERIFY(click("buttonShowGraph"));
        QVERIFY(QTest::qWaitForWindowExposed(graph()));
        QVERIFY(!rememberedValue("graph from").isValid());
        if (byFrame) {
            QVERIFY(closeByFrame(graph()));
        } else {
            QTest::keyClick(part<QComboBox>(graph(), "deviceComboBox"), Qt::Key_Escape);
        }
        QVERIFY(!graph()->isVisible());
        QVERIFY(rememberedValue("graph from").isValid());
        QVERIFY(click("buttonShowGraph"));
        QVERIFY(graph()->isVisible());
    }

    void everyControlOfTheExportWorks()
    {
        QVERIFY(startWithTwoDevices());
        const QString path = file(text("measurements.csv"));
        const auto fill = [this](QDialog *dialog, const char *model, int types) {
            auto *const list = part<QListWidget>(dialog, "measurementTypeList");
            QVERIFY(chooseModel(part<QComboBox>(dialog, "deviceComboBox"), model));
            QCOMPARE(list->count(), types);
            stepYear(part<QDateTimeEdit>(dialog, "exportDateTimeFrom"), Qt::Key_Down);
            stepYear(part<QDateTimeEdit>(dialog, "exportDateTimeTo"), Qt::Key_Up);
            toggle(list, 0);
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

    void exportClosesByEachInput_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addRow("Cancel") << QByteArray("cancel");
        QTest::addRow("frame") << QByteArray("frame");
        QTest::addRow("Escape") << QByteArray("escape");
    }

    void exportClosesByEachInput()
    {
        QFETCH(QByteArray, input);
        QVERIFY(startConnected());
        dialogs().answerDialog(exportTitle, [=](QDialog *dialog) {
            if (input == "cancel") {
                press(dialog, QDialogButtonBox::Cancel);
            } else if (input == "frame") {
                QVERIFY(closeByFrame(dialog));
            } else {
                QTest::keyClick(part<QListWidget>(dialog, "measurementTypeList"), Qt::Key_Escape);
            }
        });
        QVERIFY(click("exportLocalMeasurementsButton"));
        QVERIFY(dialogs().isSatisfied());
    }

    void unwritableExportIsReported()
    {
        QVERIFY(startConnected());
        dialogs().answerDialog(exportTitle, [this](QDialog *dialog) {
            stepYear(part<QDateTimeEdit>(dialog, "exportDateTimeFrom"), Qt::Key_Down);
            stepYear(part<QDateTimeEdit>(dialog, "exportDateTimeTo"), Qt::Key_Up);
            press(dialog, QDialogButtonBox::Ok);
        });
        const QString path = chooseFileInRemovedFolder(saveCaption);
        dialogs().answerBox(text("Unable to save measurements to file ") + path, text("OK"));
        QVERIFY(click("exportLocalMeasurementsButton"));
        QVERIFY(dialogs().isSatisfied());
        QCOMPARE(rememberedValue("measurement export filename").toString(), path);
    }

private:
    /// The store has readings of a KVT-100 and, more of them, of the KVT-300 that is connected.
    bool startWithTwoDevices()
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

    QWidget *graph() { return topLevel("MeasurementGraph"); }

    static bool chooseModel(QComboBox *devices, const char *model)
    {
        return choose(devices, devices->findText(text(model), Qt::MatchStartsWith));
    }
};

KV_TEST_MAIN(TestGraphExportControls)
#include "tst_graphexportcontrols.moc"
