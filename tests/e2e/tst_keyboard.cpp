// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/toolfixture.h"

#include <QtCharts/QChart>
#include <QtCharts/QChartView>
#include <QtWidgets/QDateTimeEdit>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QListWidget>

namespace {

constexpr int imageBytes = 1000;

} // namespace

/// The tool's main job without a mouse: Tab, arrows, Space, Return, Escape and typed text go to the
/// window that has the focus.
class TestKeyboard : public ToolFixture
{
    Q_OBJECT

private slots:
    void mainJobIsDoneByKeys()
    {
        const QString received = file(text("received.bin"));
        QVERIFY(startDevice({text("--image-size"), QString::number(imageBytes), text("--image"),
                             received, text("--reboot-ms"), text("300"), text("--boot-wait"),
                             text("1000")}));
        QVERIFY(startTool());

        QVERIFY(pressInWindow("connectButton"));
        QTRY_COMPARE(storedReadings(), 1);

        changeSetting("altitude", text("456"));
        QTRY_COMPARE(device().setting("altitude"), QByteArray("456"));
        QVERIFY(waitUntilQuiet());

        const QString log = file(text("log.csv"));
        answerFileDialogByKeys(text("Select where to save log to"), log);
        QVERIFY(pressInWindow("readLogButton"));
        QTRY_VERIFY(QFile::exists(log));

        checkTheGraph();
        exportTheYear(file(text("measurements.csv")));
        QVERIFY(!QTest::currentTestFailed());

        const QString image = file(text("image.bin"));
        const QByteArray bytes(imageBytes, 'k');
        QVERIFY(write(image, bytes));
        updateFirmware(image);
        QTRY_COMPARE(contents(received), bytes);
        QTRY_VERIFY(!queue().serialPort()->isOpen());
    }

private:
    static void key(Qt::Key key) { QTest::keyClick(QGuiApplication::focusWindow(), key); }

    static void type(const QString &typed)
    {
        for (const QChar &letter : typed) {
            QTest::keyClick(QGuiApplication::focusWindow(), letter.toLatin1());
        }
    }

    /// Presses Tab until @p target has the focus.
    static bool goTo(const QWidget *target)
    {
        constexpr int enough = 100;
        for (int press = 0; press < enough && QApplication::focusWidget() != target; ++press) {
            key(Qt::Key_Tab);
        }
        return QApplication::focusWidget() == target;
    }

    bool pressInWindow(const char *buttonName)
    {
        // The platform of the tests has no window manager that gives the focus back after a dialog.
        window().activateWindow();
        if (!QTest::qWaitForWindowActive(&window()) || !goTo(child<QPushButton>(buttonName))) {
            return false;
        }
        key(Qt::Key_Space);
        return true;
    }

    /// Runs @p keys on the next dialog with the title @p title once it has the focus.
    void answerByKeys(const QString &title, const std::function<void(QDialog *)> &keys)
    {
        dialogs().answerDialog(title, [=](QDialog *dialog) {
            QVERIFY(waitFor([=] { return dialog->isAncestorOf(QApplication::focusWidget()); }));
            keys(dialog);
        });
    }

    void answerFileDialogByKeys(const QString &caption, const QString &path)
    {
        answerByKeys(caption, [path](QDialog *dialog) {
            type(path);
            // The first may only close the list of completions.
            const QPointer<QDialog> open = dialog;
            QVERIFY(waitFor([open] {
                if (open && open->isVisible()) {
                    key(Qt::Key_Return);
                }
                return !open || !open->isVisible();
            }));
        });
    }

    static bool beginAYearEarlier(const QDateTimeEdit *from)
    {
        const QDateTime before = from->dateTime();
        if (!goTo(from)) {
            return false;
        }
        while (QApplication::focusWidget() == from
               && from->currentSection() != QDateTimeEdit::YearSection) {
            key(Qt::Key_Tab);
        }
        key(Qt::Key_Down);
        return from->dateTime() < before;
    }

    void changeSetting(const char *alias, const QString &value)
    {
        QVERIFY(goTo(editor()));
        const QTableWidgetItem *const item = setting(alias);
        for (int row = 0; row < editor()->rowCount() && editor()->currentRow() != item->row();
             ++row) {
            key(editor()->currentRow() < item->row() ? Qt::Key_Down : Qt::Key_Up);
        }
        while (editor()->currentColumn() < item->column()) {
            key(Qt::Key_Right);
        }
        type(value);
        key(Qt::Key_Return);
    }

    void checkTheGraph()
    {
        QVERIFY(pressInWindow("buttonShowGraph"));
        QWidget *const graph = topLevel("MeasurementGraph");
        QVERIFY(QTest::qWaitForWindowActive(graph));
        QVERIFY(beginAYearEarlier(graph->findChild<QDateTimeEdit *>(text("fromDateTimeEdit"))));
        auto *const list = graph->findChild<QListWidget *>();
        QVERIFY(goTo(list));
        key(Qt::Key_Down);
        key(Qt::Key_Space);
        QCOMPARE(list->item(1)->checkState(), Qt::Checked);
        QCOMPARE(graph->findChild<QtCharts::QChartView *>()->chart()->series().size(), 1);
        key(Qt::Key_Escape);
        QVERIFY(!graph->isVisible());
    }

    void exportTheYear(const QString &path)
    {
        answerByKeys(text("Select measurements to export"), [](QDialog *dialog) {
            QVERIFY(
                beginAYearEarlier(dialog->findChild<QDateTimeEdit *>(text("exportDateTimeFrom"))));
            QVERIFY(goTo(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok)));
            key(Qt::Key_Return);
        });
        answerFileDialogByKeys(text("Select where to save measurements to"), path);
        QVERIFY(pressInWindow("exportLocalMeasurementsButton"));
        QTRY_VERIFY(QFile::exists(path));
    }

    void updateFirmware(const QString &image)
    {
        // Yes has the focus.
        answerByKeys(text("Are you sure?"), [](QDialog *) { key(Qt::Key_Return); });
        answerFileDialogByKeys(text("Select firmware file"), image);
        answerByKeys(text("Kv tool"), [](QDialog *) { key(Qt::Key_Return); });
        QVERIFY(pressInWindow("updateFirmwareButton"));
        QTRY_VERIFY(dialogs().isSatisfied());
    }
};

KV_TEST_MAIN(TestKeyboard)
#include "tst_keyboard.moc"
