// SPDX-License-Identifier: GPL-3.0-or-later
#include "graph/graph.h"
#include "tests/kit/fakelocalstorage.h"
#include "tests/kit/fileio.h"
#include "tests/kit/loggedmessages.h"
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
#include "tests/kit/windowdriver.h"
#include "ui/exportmeasurementstocsvdialog.h"
#include "ui/mainwindow.h"

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

/// Runs @p steps on the next modal dialog, inside its event loop, and hides it if it is still open.
template <typename T>
void inNextDialog(const std::function<void(T *)> &steps)
{
    QTimer::singleShot(0, qApp, [steps] {
        auto *dialog = qobject_cast<T *>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        steps(dialog);
        dialog->hide();
    });
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
        m_graph =
            qobject_cast<MeasurementGraph *>(WindowDriver::topLevelWidget("MeasurementGraph"));
        m_store = FakeLocalStorage();
        m_store.devicesResult = {{{{}, {}, text("S1"), {}}, 7, {}, {}},
                                 {{{}, {}, text("S2"), {}}, 9, {}, {}}};
        m_store.measurementTypesResult = {{2, text("A0")}, {4, text("A1")}};
        m_store.measurementsResult.resize(1);
        m_store.measurementsResult[0].timestamp = start;
        m_store.measurementsResult[0].values = {{text("A0"), true, 10.0}, {text("A1"), true, 20.0}};
        m_settings = GraphSettings();
        m_settings.from = start;
        m_settings.to = end;
        m_settings.showLatest = false;
    }

    void messageBoxHasTheGivenIconAndText()
    {
        for (const auto icon :
             {QMessageBox::Information, QMessageBox::Warning, QMessageBox::Critical}) {
            int shown = 0;
            inNextDialog<QMessageBox>([&](QMessageBox *box) {
                ++shown;
                QCOMPARE(box->icon(), icon);
                QCOMPARE(box->windowTitle(), text("Kv tool"));
                QCOMPARE(box->text(), text("Something <b>happened</b>"));
                QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
                QCOMPARE(box->parentWidget(), m_window.data());
                QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
            });
            m_window->showMessageBox(icon, text("Something <b>happened</b>"));
            QCOMPARE(shown, 1);
        }
    }

    void otherIconsShowNothingAndAreLogged()
    {
        const QMap<QMessageBox::Icon, QString> icons{{QMessageBox::NoIcon, text("NoIcon")},
                                                     {QMessageBox::Question, text("Question")}};
        for (auto icon = icons.begin(); icon != icons.end(); ++icon) {
            const QStringList lines =
                messagesLoggedBy([&] { m_window->showMessageBox(icon.key(), text("Not shown")); });
            QVERIFY(QApplication::activeModalWidget() == nullptr);
            QCOMPARE(lines,
                     QStringList(text("virtual void MainWindow::showMessageBox("
                                      "QMessageBox::Icon, const QString&) "
                                      "Icon type QMessageBox::%1 not supported yet")
                                     .arg(*icon)));
        }
    }

    void askQuestionReturnsTrueOnlyForYes()
    {
        for (const auto button : {QMessageBox::Yes, QMessageBox::No, QMessageBox::NoButton}) {
            inNextDialog<QMessageBox>([&](QMessageBox *box) {
                QCOMPARE(box->icon(), QMessageBox::Question);
                QCOMPARE(box->windowTitle(), text("Title"));
                QCOMPARE(box->text(), text("Really?"));
                QCOMPARE(box->standardButtons(), QMessageBox::Yes | QMessageBox::No);
                QVERIFY(box->defaultButton() == nullptr);
                QCOMPARE(box->parentWidget(), m_window.data());
                if (button == QMessageBox::NoButton) {
                    QTest::keyClick(box, Qt::Key_Escape);
                } else {
                    QTest::mouseClick(box->button(button), Qt::LeftButton);
                }
            });
            QCOMPARE(m_window->askQuestion(text("Title"), text("Really?")),
                     button == QMessageBox::Yes);
        }
    }

    void fileDialogsReturnThePathOrAnEmptyString()
    {
        const QString folder = QDir::currentPath();
        const QString filter = text("CSV (*.csv)");
        QVERIFY(FileIo::write(folder + text("/old.csv"), QByteArray()));
        checkFileDialog(QFileDialog::AcceptSave, QFileDialog::AnyFile, text("/new.csv"), [&] {
            return m_window->selectSaveFile(text("Which one?"), folder, filter);
        });
        checkFileDialog(QFileDialog::AcceptOpen, QFileDialog::ExistingFile, text("/old.csv"), [&] {
            return m_window->selectOpenFile(text("Which one?"), folder, filter);
        });
        checkFileDialog(QFileDialog::AcceptOpen, QFileDialog::Directory, QString(),
                        [&] { return m_window->selectDirectory(text("Which one?"), folder); });
    }

    void dialogsAreHiddenWindowsWithoutAParent()
    {
        for (const char *name : {"MeasurementGraph", "WaitDialog"}) {
            const QWidget *dialog = WindowDriver::topLevelWidget(name);
            QVERIFY(dialog->parentWidget() == nullptr);
            QVERIFY(!dialog->isVisible());
        }
    }

    void waitDialogReportsTheReasonLastShown()
    {
        QVector<WaitDialogReason> reasons;
        connect(m_window.data(), &MainWindow::waitDialogCancelled, this,
                [&](WaitDialogReason reason) { reasons << reason; });
        m_window->closeWaitDialog();
        QCOMPARE(reasons, QVector<WaitDialogReason>{WaitDialogReason::NoReason});
        reasons.clear();

        inNextDialog<WaitDialog>([&](WaitDialog *dialog) {
            const auto *bar = dialog->findChild<QProgressBar *>();
            QCOMPARE(dialog->windowTitle(), text("First"));
            QCOMPARE(bar->maximum(), 0);
            QTest::mouseClick(dialog->findChild<QPushButton *>(), Qt::LeftButton);
            m_window->showProgressWaitDialog(WaitDialogReason::ReadingLog, text("Second"));
            QCOMPARE(dialog->windowTitle(), text("Second"));
            QCOMPARE(bar->maximum(), 100);
            m_window->setWaitDialogProgress(42);
            QCOMPARE(bar->value(), 42);
            m_window->closeWaitDialog();
            QVERIFY(!dialog->isVisible());
        });
        m_window->showWaitDialog(WaitDialogReason::UpdatingFirmware, text("First"));
        // The reason is not reset when the dialog closes.
        m_window->closeWaitDialog();
        const QVector<WaitDialogReason> expected{WaitDialogReason::UpdatingFirmware,
                                                 WaitDialogReason::ReadingLog,
                                                 WaitDialogReason::ReadingLog};
        QCOMPARE(reasons, expected);
    }

    void acceptedExportDialogFillsTheSelection()
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
        QVERIFY(WindowDriver::topLevelWidget("ExportMeasurementsToCsvDialog") == nullptr);
    }

    void exportDialogStartsWithAnEmptyPeriodAndTheConnectedDevice()
    {
        inNextDialog<ExportMeasurementsToCsvDialog>([](ExportMeasurementsToCsvDialog *dialog) {
            WindowDriver::press(dialog, QDialogButtonBox::Ok);
        });
        const QDateTime before = QDateTime::currentDateTimeUtc();
        ExportSelection selection;
        QVERIFY(m_window->showExportDialog(m_store.devicesResult[1].details, &m_store, m_items,
                                           &selection));
        QVERIFY(selection.from >= before);
        QVERIFY(selection.from <= QDateTime::currentDateTimeUtc());
        QCOMPARE(selection.to, selection.from);
        QCOMPARE(selection.deviceId, 9U);
        QCOMPARE(selection.measurementTypes, m_store.measurementTypesResult);
        QCOMPARE(m_store.calls, texts("devices|measurementTypes|measurementTypes"));
    }

    void cancelledExportDialogKeepsTheSelection()
    {
        inNextDialog<ExportMeasurementsToCsvDialog>([](ExportMeasurementsToCsvDialog *dialog) {
            WindowDriver::press(dialog, QDialogButtonBox::Cancel);
        });
        ExportSelection selection{start, QDateTime(), 99, {{1, text("X")}}};
        QVERIFY(!m_window->showExportDialog(DeviceDetails(), &m_store, m_items, &selection));
        QCOMPARE(selection.deviceId, 99U);
        QCOMPARE(selection.from, start);
        QVERIFY(!selection.to.isValid());
        QCOMPARE(selection.measurementTypes, (QMap<unsigned, QString>{{1, text("X")}}));
    }

    void graphUsesItsSettingsAndReturnsThem()
    {
        m_settings.measurementTypes = texts("A1|A0");
        m_settings.manualRange = true;
        m_settings.minimum = -1.5;
        m_settings.maximum = 30.25;
        // The dialog is still hidden while its list is filled.
        connect(m_graph->findChild<QListWidget *>(), &QListWidget::itemChanged, this,
                [this] { QVERIFY(!m_graph->isVisible()); });
        showGraph();
        QVERIFY(m_graph->isVisible());
        QVERIFY(!m_graph->isModal());
        QVERIFY(m_graph->findChild<QDoubleSpinBox *>(text("graphMinimumSpinBox"))->isEnabled());

        const GraphSettings settings = graphSettings();
        QCOMPARE(settings.from, start);
        QCOMPARE(settings.to, end);
        // In the order of the list, in which they were checked.
        QCOMPARE(settings.measurementTypes, texts("A0|A1"));
        QCOMPARE(settings.manualRange, true);
        QCOMPARE(settings.showLatest, false);
        QCOMPARE(settings.minimum, -1.5);
        QCOMPARE(settings.maximum, 30.25);
    }

    void showGraphDoesNotChangeAVisibleGraph()
    {
        showGraph();
        const QStringList calls = m_store.calls;
        m_settings.from = start.addDays(-1);
        m_settings.manualRange = true;
        m_settings.measurementTypes = texts("A0");
        showGraph();
        const GraphSettings settings = graphSettings();
        QCOMPARE(m_store.calls, calls);
        QCOMPARE(settings.from, start);
        QCOMPARE(settings.manualRange, false);
        QVERIFY(settings.measurementTypes.isEmpty());
    }

    void reopenedGraphAppliesItsSettingsInOrder()
    {
        showGraph();
        m_graph->close();
        m_store.measurementsCalls.clear();
        m_store.calls.clear();
        FakeLocalStorage other = m_store;
        m_settings.from = start.addDays(-1);
        m_settings.to = end.addDays(1);
        m_settings.showLatest = true;
        const QDateTime before = QDateTime::currentDateTimeUtc();

        m_window->showGraph(DeviceDetails(), &other, m_items, MeasurementDisplayOptions(),
                            m_settings);

        // Setting the units, the start and the end reads the old store each time; everything after
        // that reads the new one.
        QCOMPARE(m_store.measurementsCalls.size(), 3);
        QCOMPARE(m_store.measurementsCalls[0].from, start);
        QCOMPARE(m_store.measurementsCalls[0].to, end);
        QCOMPARE(m_store.measurementsCalls[1].from, start.addDays(-1));
        QCOMPARE(m_store.measurementsCalls[1].to, end);
        QCOMPARE(m_store.measurementsCalls[2].to, end.addDays(1));
        QCOMPARE(other.calls, texts("measurements|devices|measurements"));
        QVERIFY(other.measurementsCalls[0].to >= before);
        // The period ends at the time of the call, not at the time in the field.
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const GraphSettings settings = graphSettings();
        QVERIFY(settings.showLatest);
        QVERIFY(settings.to >= now);
        QVERIFY(settings.to <= QDateTime::currentDateTimeUtc());
        m_window.reset();
    }

    void addMeasurementReloadsTheGraphOnceItHasBeenShown()
    {
        const auto add = [this] {
            m_window->addMeasurement(MeasurementMetadata(), {});
            return m_store.count(text("measurements"));
        };
        QCOMPARE(add(), 0);
        showGraph();
        QCOMPARE(add(), 2);
        m_graph->close();
        QCOMPARE(add(), 3);
    }

    void tableIsUpdatedBeforeTheGraph()
    {
        const auto *table = m_window->findChild<QTableWidget *>(text("measurements"));
        const auto *list = m_graph->findChild<QListWidget *>();
        m_settings.measurementTypes = texts("A0");
        m_window->setMeasurementItems(m_items);
        showGraph();
        QStringList updates;
        const QObject scope;
        connect(table, &QTableWidget::itemChanged, &scope,
                [&](const QTableWidgetItem *item) { updates << item->text(); });
        connect(list->model(), &QAbstractItemModel::modelReset, &scope,
                [&] { updates << text("graph"); });
        m_window->addMeasurement(MeasurementMetadata(), {{text("A0"), true, 10.0}});
        m_window->setDisplayOptions({false, true, true});
        QCOMPARE(updates, texts("|10 °C|graph|50 °F|graph"));
        QCOMPARE(table->item(0, 0)->text(), text("Air"));
        const auto *chart = m_graph->findChild<GraphQt *>()->chart();
        QCOMPARE(chart->series().first()->name(), text("Air (°F)"));
    }

    void closingTheGraphEmitsGraphDialogClosed()
    {
        QSignalSpy closes(m_window.data(), &MainWindow::graphDialogClosed);
        showGraph();
        QTest::keyClick(m_graph, Qt::Key_Escape);
        QVERIFY(!m_graph->isVisible());
        QCOMPARE(closes.size(), 1);
        showGraph();
        m_graph->close();
        QVERIFY(!m_graph->isVisible());
        QCOMPARE(closes.size(), 2);
    }

    void closingTheWindowClosesGraphThenWaitDialog_data()
    {
        QTest::addColumn<bool>("graphOpen");
        QTest::addColumn<bool>("callCloseAll");
        QTest::addColumn<QString>("expected");
        QTest::addRow("close() with the graph open") << true << false << text("graph|wait");
        // Closing the hidden wait dialog counts as a cancellation too.
        QTest::addRow("close() with the graph closed") << false << false << text("wait");
        // closeAll() closes the wait dialog, and the close event of the window closes it once more.
        QTest::addRow("closeAll() with the graph open") << true << true << text("graph|wait|wait");
    }

    void closingTheWindowClosesGraphThenWaitDialog()
    {
        QFETCH(bool, graphOpen);
        QFETCH(bool, callCloseAll);
        QStringList order;
        const auto record = [&](const char *dialog) {
            order << text(dialog);
            QVERIFY(m_window->isVisible());
        };
        connect(m_window.data(), &MainWindow::graphDialogClosed, this, [&] { record("graph"); });
        connect(m_window.data(), &MainWindow::waitDialogCancelled, this, [&] { record("wait"); });
        m_window->show();
        if (graphOpen) {
            showGraph();
        }
        if (callCloseAll) {
            m_window->closeAll();
        } else {
            m_window->close();
        }
        QVERIFY(!m_graph->isVisible());
        QVERIFY(!m_window->isVisible());
        QTEST(order.join(QLatin1Char('|')), "expected");
    }

private:
    /// Runs @p select twice: accepts and then cancels its file dialog, in which @p file is
    /// selected, or the folder if @p file is empty.
    void checkFileDialog(QFileDialog::AcceptMode acceptMode, QFileDialog::FileMode fileMode,
                         const QString &file, const std::function<QString()> &select)
    {
        const QString path = QDir::currentPath() + file;
        for (const bool isAccepted : {true, false}) {
            inNextDialog<QFileDialog>([&](QFileDialog *dialog) {
                QCOMPARE(dialog->windowTitle(), text("Which one?"));
                QCOMPARE(dialog->acceptMode(), acceptMode);
                QCOMPARE(dialog->fileMode(), fileMode);
                QCOMPARE(dialog->directory().absolutePath(), QDir::currentPath());
                QCOMPARE(dialog->parentWidget(), m_window.data());
                QVERIFY(!dialog->testOption(QFileDialog::DontConfirmOverwrite));
                // Unlike in Qt's default options for selecting a folder.
                QVERIFY(!dialog->testOption(QFileDialog::ShowDirsOnly));
                if (file.isEmpty()) {
                    QVERIFY(dialog->testOption(QFileDialog::DontUseNativeDialog));
                } else {
                    QCOMPARE(dialog->nameFilters(), texts("CSV (*.csv)"));
                }
                dialog->selectFile(path);
                if (isAccepted) {
                    static_cast<QDialog *>(dialog)->accept();
                } else {
                    dialog->reject();
                }
            });
            QCOMPARE(select(), isAccepted ? path : QString());
        }
    }

    void showGraph()
    {
        m_window->showGraph(DeviceDetails(), &m_store, m_items, MeasurementDisplayOptions(),
                            m_settings);
    }

    GraphSettings graphSettings()
    {
        GraphSettings settings;
        m_window->graphSettings(settings);
        return settings;
    }

    const QVector<MeasurementItem> m_items{
        {text("A0"), text("Air"), MeasurementUnit::Celsius, MeasurementType::AirTemperature, 1.0}};
    FakeLocalStorage m_store;
    GraphSettings m_settings;
    QScopedPointer<MainWindow> m_window;
    MeasurementGraph *m_graph = nullptr;
};

KV_TEST_MAIN(TestMainWindowDialogs)
#include "tst_mainwindowdialogs.moc"
