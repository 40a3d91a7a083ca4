// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graph.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "ui/exportmeasurementstocsvdialog.h"
#include "ui/mainwindow.h"

#include <QtCharts/QChart>
#include <QtCharts/QDateTimeAxis>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTableWidget>
#include <functional>

namespace {

const QDateTime start(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);
const QDateTime end(QDate(2024, 3, 2), QTime(12, 0), Qt::UTC);

/// Runs @p steps in the event loop of the next dialog, on that dialog; closes one that they leave.
template <typename T>
void inNextDialog(const std::function<void(T *)> &steps)
{
    QTimer::singleShot(0, qApp, [steps] {
        auto *dialog = qobject_cast<T *>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        steps(dialog);
        if (dialog->isVisible()) {
            dialog->hide();
        }
    });
}

/// A store that calls back each time the measurements are read.
class ObservedStore : public FakeLocalStorage
{
public:
    QVector<StoredMeasurement> measurements(const QDateTime &from, const QDateTime &to,
                                            unsigned deviceId) override
    {
        onRead();
        return FakeLocalStorage::measurements(from, to, deviceId);
    }
    std::function<void()> onRead;
};

/// Collects the log lines during its lifetime instead of printing them.
class LineRecorder
{
public:
    LineRecorder()
        : m_previous(qInstallMessageHandler(record))
    {
        lines().clear();
    }
    ~LineRecorder() { qInstallMessageHandler(m_previous); }
    Q_DISABLE_COPY(LineRecorder)

    static QStringList &lines()
    {
        static QStringList recorded;
        return recorded;
    }

private:
    static void record(QtMsgType, const QMessageLogContext &, const QString &line)
    {
        lines() << line;
    }

    QtMessageHandler m_previous;
};

template <typename T>
T *topLevel()
{
    const auto widgets = QApplication::topLevelWidgets();
    for (QWidget *widget : widgets) {
        if (auto *found = qobject_cast<T *>(widget)) {
            return found;
        }
    }
    return nullptr;
}

} // namespace

class TestMainWindowDialogs : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void init()
    {
        m_window.reset();
        m_window.reset(new MainWindow(nullptr));
        m_store = FakeLocalStorage();
        m_store.devicesResult.resize(2);
        m_store.devicesResult[0].id = 7;
        m_store.devicesResult[0].details.serialNumber = text("S1");
        m_store.devicesResult[1].id = 9;
        m_store.devicesResult[1].details.serialNumber = text("S2");
        m_store.measurementTypesResult = {{2, text("A0")}, {4, text("A1")}};
        StoredMeasurement measurement;
        measurement.timestamp = start;
        measurement.values = {{text("A0"), true, 10.0}, {text("A1"), true, 20.0}};
        m_store.measurementsResult = {measurement};
        m_items = {{text("A0"), text("Air"), MeasurementUnit::Celsius,
                    MeasurementType::AirTemperature, 1.0}};
        m_settings = GraphSettings();
        m_settings.from = start;
        m_settings.to = end;
        m_settings.showLatest = false;
    }

    void messageBoxes_data()
    {
        QTest::addColumn<int>("icon");
        QTest::addRow("information") << 1;
        QTest::addRow("warning") << 2;
        QTest::addRow("critical") << 3;
    }

    void messageBoxes()
    {
        QFETCH(int, icon);
        int shown = 0;
        inNextDialog<QMessageBox>([&](QMessageBox *box) {
            ++shown;
            QCOMPARE(int(box->icon()), icon);
            QCOMPARE(box->windowTitle(), text("Kv tool"));
            QCOMPARE(box->text(), text("Something <b>happened</b>"));
            QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
            QCOMPARE(box->parentWidget(), m_window.data());
            QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
        });
        m_window->showMessageBox(static_cast<QMessageBox::Icon>(icon),
                                 text("Something <b>happened</b>"));
        QCOMPARE(shown, 1);
    }

    void otherIconsShowNothingAndWriteOneLine_data()
    {
        QTest::addColumn<int>("icon");
        QTest::addRow("NoIcon") << 0;
        QTest::addRow("Question") << 4;
    }

    void otherIconsShowNothingAndWriteOneLine()
    {
        QFETCH(int, icon);
        const LineRecorder recorder;
        m_window->showMessageBox(static_cast<QMessageBox::Icon>(icon), text("Not shown"));
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QCOMPARE(
            LineRecorder::lines(),
            QStringList(text("virtual void MainWindow::showMessageBox(QMessageBox::Icon, const "
                             "QString&) Icon type QMessageBox::%1 not supported yet")
                            .arg(text(QTest::currentDataTag()))));
    }

    void questions_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<bool>("answer");
        QTest::addRow("yes") << int(QMessageBox::Yes) << true;
        QTest::addRow("no") << int(QMessageBox::No) << false;
        QTest::addRow("escape") << 0 << false;
    }

    void questions()
    {
        QFETCH(int, button);
        QFETCH(bool, answer);
        inNextDialog<QMessageBox>([&](QMessageBox *box) {
            QCOMPARE(box->icon(), QMessageBox::Question);
            QCOMPARE(box->windowTitle(), text("Title"));
            QCOMPARE(box->text(), text("Really?"));
            QCOMPARE(box->standardButtons(), QMessageBox::Yes | QMessageBox::No);
            QVERIFY(box->defaultButton() == nullptr);
            QCOMPARE(box->parentWidget(), m_window.data());
            if (button == 0) {
                QTest::keyClick(box, Qt::Key_Escape);
            } else {
                QTest::mouseClick(box->button(static_cast<QMessageBox::StandardButton>(button)),
                                  Qt::LeftButton);
            }
        });
        QCOMPARE(m_window->askQuestion(text("Title"), text("Really?")), answer);
    }

    void saveFile()
    {
        const QString folder = QDir::currentPath();
        inNextDialog<QFileDialog>([&](QFileDialog *dialog) {
            QCOMPARE(dialog->windowTitle(), text("Save here"));
            QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
            QCOMPARE(dialog->directory().absolutePath(), folder);
            QCOMPARE(dialog->nameFilters(), texts("CSV (*.csv)"));
            QCOMPARE(dialog->parentWidget(), m_window.data());
            QVERIFY(!dialog->testOption(QFileDialog::DontConfirmOverwrite));
            dialog->selectFile(text("log.csv"));
            static_cast<QDialog *>(dialog)->accept();
        });
        QCOMPARE(m_window->selectSaveFile(text("Save here"), folder, text("CSV (*.csv)")),
                 folder + text("/log.csv"));
    }

    void openFile()
    {
        const QString folder = QDir::currentPath();
        QFile file(folder + text("/image.bin"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        inNextDialog<QFileDialog>([&](QFileDialog *dialog) {
            QCOMPARE(dialog->windowTitle(), text("Open this"));
            QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptOpen);
            QCOMPARE(dialog->fileMode(), QFileDialog::ExistingFile);
            QCOMPARE(dialog->directory().absolutePath(), folder);
            QCOMPARE(dialog->nameFilters(), texts("Firmware (*.bin)"));
            QCOMPARE(dialog->parentWidget(), m_window.data());
            dialog->selectFile(text("image.bin"));
            static_cast<QDialog *>(dialog)->accept();
        });
        QCOMPARE(m_window->selectOpenFile(text("Open this"), folder, text("Firmware (*.bin)")),
                 folder + text("/image.bin"));
    }

    void directory()
    {
        const QString folder = QDir::currentPath();
        inNextDialog<QFileDialog>([&](QFileDialog *dialog) {
            QCOMPARE(dialog->windowTitle(), text("Store where?"));
            QCOMPARE(dialog->fileMode(), QFileDialog::Directory);
            QCOMPARE(dialog->directory().absolutePath(), folder);
            QVERIFY(dialog->testOption(QFileDialog::DontUseNativeDialog));
            // Not among the options here, unlike in Qt's own default.
            QVERIFY(!dialog->testOption(QFileDialog::ShowDirsOnly));
            QCOMPARE(dialog->parentWidget(), m_window.data());
            dialog->selectFile(folder);
            static_cast<QDialog *>(dialog)->accept();
        });
        QCOMPARE(m_window->selectDirectory(text("Store where?"), folder), folder);
    }

    void cancelledFileDialogsReturnAnEmptyPath()
    {
        const std::function<void(QFileDialog *)> cancel = [](QFileDialog *dialog) {
            dialog->reject();
        };
        const QString folder = QDir::currentPath();
        inNextDialog<QFileDialog>(cancel);
        QCOMPARE(m_window->selectSaveFile(QString(), folder, QString()), QString());
        inNextDialog<QFileDialog>(cancel);
        QCOMPARE(m_window->selectOpenFile(QString(), folder, QString()), QString());
        inNextDialog<QFileDialog>(cancel);
        QCOMPARE(m_window->selectDirectory(QString(), folder), QString());
    }

    void dialogsAreWindowsWithoutAParent()
    {
        QVERIFY(graph()->parentWidget() == nullptr);
        QVERIFY(waitDialog()->parentWidget() == nullptr);
        QVERIFY(!graph()->isVisible());
        QVERIFY(!waitDialog()->isVisible());
    }

    void waitDialogHasNoReasonAtFirst()
    {
        QSignalSpy cancels(m_window.data(), &MainWindow::waitDialogCancelled);
        m_window->closeWaitDialog();
        QCOMPARE(cancels.size(), 1);
        QCOMPARE(cancels[0][0].value<WaitDialogReason>(), WaitDialogReason::NoReason);
    }

    void waitDialogReportsTheReasonLastShown_data()
    {
        QTest::addColumn<bool>("progress");
        QTest::addColumn<int>("maximum");
        QTest::addRow("with a bar from 0 to 100") << true << 100;
        QTest::addRow("with a running bar") << false << 0;
    }

    void waitDialogReportsTheReasonLastShown()
    {
        QFETCH(bool, progress);
        QFETCH(int, maximum);
        QSignalSpy cancels(m_window.data(), &MainWindow::waitDialogCancelled);
        inNextDialog<WaitDialog>([&](WaitDialog *dialog) {
            QCOMPARE(dialog->windowTitle(), text("Please wait"));
            auto *bar = dialog->findChild<QProgressBar *>();
            QCOMPARE(bar->minimum(), 0);
            QCOMPARE(bar->maximum(), maximum);
            m_window->setWaitDialogProgress(42);
            QCOMPARE(bar->value(), 42);
            QTest::mouseClick(dialog->findChild<QPushButton *>(), Qt::LeftButton);
            QCOMPARE(cancels.size(), 1);
            QVERIFY(dialog->isVisible());
            m_window->closeWaitDialog();
            QVERIFY(!dialog->isVisible());
        });
        if (progress) {
            m_window->showProgressWaitDialog(WaitDialogReason::RestoringEeprom,
                                             text("Please wait"));
        } else {
            m_window->showWaitDialog(WaitDialogReason::RestoringEeprom, text("Please wait"));
        }
        QCOMPARE(cancels.size(), 2);
        QCOMPARE(cancels[0][0].value<WaitDialogReason>(), WaitDialogReason::RestoringEeprom);
        QCOMPARE(cancels[1][0].value<WaitDialogReason>(), WaitDialogReason::RestoringEeprom);
        // The reason is not reset when the dialog closes.
        m_window->closeWaitDialog();
        QCOMPARE(cancels.value(2).value(0).value<WaitDialogReason>(),
                 WaitDialogReason::RestoringEeprom);
    }

    void waitDialogChangesReasonWhileOpen()
    {
        QSignalSpy cancels(m_window.data(), &MainWindow::waitDialogCancelled);
        inNextDialog<WaitDialog>([&](WaitDialog *dialog) {
            m_window->showProgressWaitDialog(WaitDialogReason::ReadingLog, text("Second"));
            QCOMPARE(dialog->windowTitle(), text("Second"));
            QCOMPARE(dialog->findChild<QProgressBar *>()->maximum(), 100);
            m_window->closeWaitDialog();
        });
        m_window->showWaitDialog(WaitDialogReason::UpdatingFirmware, text("First"));
        QCOMPARE(cancels.size(), 1);
        QCOMPARE(cancels[0][0].value<WaitDialogReason>(), WaitDialogReason::ReadingLog);
    }

    void acceptedExportFillsTheSelection()
    {
        inNextDialog<ExportMeasurementsToCsvDialog>([&](ExportMeasurementsToCsvDialog *dialog) {
            QCOMPARE(dialog->parentWidget(), m_window.data());
            dialog->findChild<QDateTimeEdit *>(text("exportDateTimeFrom"))
                ->setDateTime(end.toLocalTime());
            dialog->findChild<QDateTimeEdit *>(text("exportDateTimeTo"))
                ->setDateTime(start.toLocalTime());
            auto *types = dialog->findChild<QListWidget *>();
            QCOMPARE(types->item(0)->text(), text("Air"));
            QCOMPARE(types->item(1)->text(), text("A1"));
            types->item(0)->setCheckState(Qt::Unchecked);
            dialog->accept();
        });
        ExportSelection selection;
        QVERIFY(m_window->showExportDialog(DeviceDetails(), &m_store, m_items, &selection));
        QCOMPARE(selection.deviceId, 7U);
        QCOMPARE(selection.measurementTypes, (QMap<unsigned, QString>{{4, text("A1")}}));
        QCOMPARE(selection.from, end);
        QCOMPARE(selection.from.timeSpec(), Qt::UTC);
        QCOMPARE(selection.to, start);
        QCOMPARE(selection.to.timeSpec(), Qt::UTC);
        QVERIFY(topLevel<ExportMeasurementsToCsvDialog>() == nullptr);
    }

    void exportAcceptedAtOnceCoversAnEmptyPeriod()
    {
        inNextDialog<ExportMeasurementsToCsvDialog>([](ExportMeasurementsToCsvDialog *dialog) {
            auto *buttons = dialog->findChild<QDialogButtonBox *>();
            QTest::mouseClick(buttons->button(QDialogButtonBox::Ok), Qt::LeftButton);
        });
        const QDateTime before = QDateTime::currentDateTimeUtc();
        ExportSelection selection;
        QVERIFY(m_window->showExportDialog(DeviceDetails(), &m_store, m_items, &selection));
        QVERIFY(selection.from >= before);
        QVERIFY(selection.from <= QDateTime::currentDateTimeUtc());
        QCOMPARE(selection.to, selection.from);
        QCOMPARE(selection.deviceId, 7U);
        QCOMPARE(selection.measurementTypes, m_store.measurementTypesResult);
    }

    void cancelledExportChangesNothing()
    {
        inNextDialog<ExportMeasurementsToCsvDialog>(
            [](ExportMeasurementsToCsvDialog *dialog) { dialog->reject(); });
        ExportSelection selection;
        selection.deviceId = 99;
        selection.from = start;
        selection.measurementTypes = {{1, text("X")}};
        QVERIFY(!m_window->showExportDialog(DeviceDetails(), &m_store, m_items, &selection));
        QCOMPARE(selection.deviceId, 99U);
        QCOMPARE(selection.from, start);
        QVERIFY(!selection.to.isValid());
        QCOMPARE(selection.measurementTypes, (QMap<unsigned, QString>{{1, text("X")}}));
    }

    void exportSelectsTheConnectedDevice()
    {
        inNextDialog<ExportMeasurementsToCsvDialog>(
            [](ExportMeasurementsToCsvDialog *dialog) { dialog->accept(); });
        ExportSelection selection;
        QVERIFY(m_window->showExportDialog(m_store.devicesResult[1].details, &m_store, m_items,
                                           &selection));
        QCOMPARE(selection.deviceId, 9U);
        QCOMPARE(selection.measurementTypes.size(), 2);
        QCOMPARE(m_store.calls, texts("devices|measurementTypes|measurementTypes"));
    }

    void graphGetsItsSettingsAndReturnsThem()
    {
        m_settings.measurementTypes = texts("A1|A0");
        m_settings.manualRange = true;
        m_settings.minimum = -1.5;
        m_settings.maximum = 30.25;
        // Shown only once it is complete.
        connect(graph()->findChild<QListWidget *>(text("list")), &QListWidget::itemChanged, this,
                [this] { QVERIFY(!graph()->isVisible()); });
        showGraph();
        QVERIFY(graph()->findChild<QDoubleSpinBox *>(text("graphMinimumSpinBox"))->isEnabled());

        GraphSettings settings;
        m_window->graphSettings(settings);
        QCOMPARE(settings.from, start);
        QCOMPARE(settings.to, end);
        // In the order of the boxes, in which they were ticked.
        QCOMPARE(settings.measurementTypes, texts("A0|A1"));
        QCOMPARE(settings.manualRange, true);
        QCOMPARE(settings.showLatest, false);
        QCOMPARE(settings.minimum, -1.5);
        QCOMPARE(settings.maximum, 30.25);
    }

    void graphShowsTheLatest()
    {
        m_settings.showLatest = true;
        showGraph();
        const QDateTime before = QDateTime::currentDateTimeUtc();
        GraphSettings settings;
        m_window->graphSettings(settings);
        QVERIFY(settings.showLatest);
        // The period ends at the moment of the call, not at the time in the field.
        QVERIFY(settings.to >= before);
        QVERIFY(settings.to <= QDateTime::currentDateTimeUtc());
    }

    void visibleGraphIsNotChanged()
    {
        showGraph();
        const QStringList calls = m_store.calls;
        m_settings.from = start.addDays(-1);
        m_settings.manualRange = true;
        m_settings.measurementTypes = texts("A0");
        showGraph();
        GraphSettings settings;
        m_window->graphSettings(settings);
        QCOMPARE(m_store.calls, calls);
        QCOMPARE(settings.from, start);
        QCOMPARE(settings.manualRange, false);
        QVERIFY(settings.measurementTypes.isEmpty());
    }

    void reopenedGraphTakesItsSettingsInOrder()
    {
        showGraph();
        graph()->close();
        m_store.measurementsAsks.clear();
        m_store.calls.clear();
        FakeLocalStorage other = m_store;
        m_settings.from = start.addDays(-1);
        m_settings.to = end.addDays(1);
        m_settings.showLatest = true;
        const QDateTime before = QDateTime::currentDateTimeUtc();

        m_window->showGraph(DeviceDetails(), &other, m_items, MeasurementDisplayOptions(),
                            m_settings);

        // Units, start and end are each read from the old store; the latest from the new one.
        QCOMPARE(m_store.measurementsAsks.size(), 3);
        QCOMPARE(m_store.measurementsAsks[0].from, start);
        QCOMPARE(m_store.measurementsAsks[0].to, end);
        QCOMPARE(m_store.measurementsAsks[1].from, start.addDays(-1));
        QCOMPARE(m_store.measurementsAsks[1].to, end);
        QCOMPARE(m_store.measurementsAsks[2].to, end.addDays(1));
        QCOMPARE(other.calls, texts("measurements|devices|measurements"));
        QVERIFY(other.measurementsAsks[0].to >= before);
    }

    void reopenedGraphCorrectsItsTicks()
    {
        m_settings.measurementTypes = texts("A0");
        showGraph();
        graph()->close();
        m_settings.measurementTypes = texts("A1");
        showGraph();
        auto *list = graph()->findChild<QListWidget *>();
        QCOMPARE(list->item(0)->checkState(), Qt::Unchecked);
        QCOMPARE(list->item(1)->checkState(), Qt::Checked);
        GraphSettings settings;
        m_window->graphSettings(settings);
        QCOMPARE(settings.measurementTypes, texts("A1"));
    }

    void everyMeasurementReadsTheStoreForTheGraph()
    {
        m_window->setMeasurementItems(m_items);
        m_window->addMeasurement(MeasurementMetadata(), {{text("A0"), true, 10.0}});
        QCOMPARE(m_store.count(text("measurements")), 0);
        showGraph();
        m_window->addMeasurement(MeasurementMetadata(), {{text("A0"), true, 11.0}});
        QCOMPARE(m_store.count(text("measurements")), 2);
        graph()->close();
        m_window->addMeasurement(MeasurementMetadata(), {{text("A0"), true, 12.0}});
        QCOMPARE(m_store.count(text("measurements")), 3);
    }

    void everyMeasurementMovesTheRightEdgeOfTheLatest()
    {
        m_settings.showLatest = true;
        showGraph();
        QVERIFY(graph()->isVisible());
        QVERIFY(!graph()->isModal());
        const auto edge = [this] {
            const auto *chart = graph()->findChild<GraphQt *>()->chart();
            return qobject_cast<QtCharts::QDateTimeAxis *>(chart->axes(Qt::Horizontal).first())
                ->max();
        };
        const QDateTime before = edge();
        QTRY_VERIFY(QDateTime::currentDateTimeUtc() > before);
        QCOMPARE(edge(), before);
        m_window->addMeasurement(MeasurementMetadata(), {});
        QVERIFY(edge() > before);
        QVERIFY(edge() <= QDateTime::currentDateTimeUtc());
    }

    void unitsReachTheGraph()
    {
        m_settings.measurementTypes = texts("A0");
        showGraph();
        MeasurementDisplayOptions options;
        options.temperatureInCelsius = false;
        m_window->setDisplayOptions(options);
        const auto *chart = graph()->findChild<GraphQt *>()->chart();
        QCOMPARE(chart->series().first()->name(), text("Air (°F)"));
        QCOMPARE(graph()->findChild<QListWidget *>()->item(0)->text(), text("Air (°F)"));
    }

    void tableIsUpdatedBeforeTheGraphReads()
    {
        ObservedStore store;
        QStringList shown;
        store.onRead = [&] {
            const auto *table = m_window->findChild<QTableWidget *>(text("measurements"));
            shown << table->item(0, 1)->text();
        };
        m_window->setMeasurementItems(m_items);
        m_window->showGraph(DeviceDetails(), &store, m_items, MeasurementDisplayOptions(),
                            m_settings);
        m_window->addMeasurement(MeasurementMetadata(), {{text("A0"), true, 10.0}});
        MeasurementDisplayOptions options;
        options.temperatureInCelsius = false;
        m_window->setDisplayOptions(options);
        QCOMPARE(shown, texts("|10 °C|50 °F"));
        m_window.reset();
    }

    void closingTheGraphEmitsASignal_data()
    {
        QTest::addColumn<bool>("escape");
        QTest::addRow("close button") << false;
        QTest::addRow("escape") << true;
    }

    void closingTheGraphEmitsASignal()
    {
        QFETCH(bool, escape);
        QSignalSpy closes(m_window.data(), &MainWindow::graphDialogClosed);
        showGraph();
        if (escape) {
            QTest::keyClick(graph(), Qt::Key_Escape);
        } else {
            graph()->close();
        }
        QVERIFY(!graph()->isVisible());
        QCOMPARE(closes.size(), 1);
    }

    void closingTheWindowClosesGraphThenWaitDialog_data()
    {
        QTest::addColumn<bool>("graphOpen");
        QTest::addColumn<QStringList>("expected");
        QTest::addRow("with the graph") << true << texts("graph|wait");
        // The hidden wait dialog counts as cancelled too.
        QTest::addRow("alone") << false << texts("wait");
    }

    void closingTheWindowClosesGraphThenWaitDialog()
    {
        QFETCH(bool, graphOpen);
        QStringList order;
        connect(m_window.data(), &MainWindow::graphDialogClosed, this,
                [&] { order << text("graph"); });
        connect(m_window.data(), &MainWindow::waitDialogCancelled, this,
                [&] { order << text("wait"); });
        m_window->show();
        if (graphOpen) {
            showGraph();
        }
        m_window->close();
        QVERIFY(!graph()->isVisible());
        QVERIFY(!m_window->isVisible());
        QTEST(order, "expected");
    }

    void closingAllClosesTheWindowLast()
    {
        QStringList order;
        const auto note = [&](const char *what) {
            order << text(what) + (m_window->isVisible() ? text(" before") : text(" after"));
        };
        connect(m_window.data(), &MainWindow::graphDialogClosed, this, [&] { note("graph"); });
        connect(m_window.data(), &MainWindow::waitDialogCancelled, this, [&] { note("wait"); });
        m_window->show();
        showGraph();
        m_window->closeAll();
        QVERIFY(!graph()->isVisible());
        QVERIFY(!m_window->isVisible());
        // The window's own closing closes the wait dialog once more.
        QCOMPARE(order, texts("graph before|wait before|wait before"));
    }

private:
    MeasurementGraph *graph() { return topLevel<MeasurementGraph>(); }
    WaitDialog *waitDialog() { return topLevel<WaitDialog>(); }
    void showGraph()
    {
        m_window->showGraph(DeviceDetails(), &m_store, m_items, MeasurementDisplayOptions(),
                            m_settings);
    }

    FakeLocalStorage m_store;
    QVector<MeasurementItem> m_items;
    GraphSettings m_settings;
    QScopedPointer<MainWindow> m_window;
};

KV_TEST_MAIN(TestMainWindowDialogs)
#include "tst_mainwindowdialogs.moc"
