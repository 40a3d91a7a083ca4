// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "ui/waitdialog.h"
#include "ui/waitdialogreason.h"

#include <QtCore/QTimer>
#include <QtGui/QCloseEvent>
#include <QtGui/QWindow>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <functional>

Q_DECLARE_METATYPE(std::function<void(WaitDialog &)>)

namespace {

QProgressBar *bar(const WaitDialog &dialog)
{
    return dialog.findChild<QProgressBar *>(text("progressBar"));
}

QPushButton *cancelButton(const WaitDialog &dialog)
{
    return dialog.findChild<QPushButton *>(text("cancelButton"));
}

// Runs the steps inside the dialog's own event loop. Hiding ends that loop whatever the steps did.
void showAndDo(WaitDialog &dialog, bool showProgress, const std::function<void()> &steps)
{
    QTimer::singleShot(0, &dialog, [&] {
        steps();
        dialog.hide();
    });
    dialog.showDialog(text("Please wait"), showProgress);
}

} // namespace

class TestWaitDialog : public QObject
{
    Q_OBJECT

private slots:
    void reasonsHaveTheirNumbers()
    {
        QCOMPARE(int(WaitDialogReason::ReadingLog), 0);
        QCOMPARE(int(WaitDialogReason::UpdatingFirmware), 1);
        QCOMPARE(int(WaitDialogReason::WritingToEeprom), 2);
        QCOMPARE(int(WaitDialogReason::SettingDeviceClock), 3);
        QCOMPARE(int(WaitDialogReason::RestoringEeprom), 4);
        QCOMPARE(int(WaitDialogReason::BackingUpEeprom), 5);
        QCOMPARE(int(WaitDialogReason::NoReason), 6);
    }

    void hasTheTextsOfItsForm()
    {
        const WaitDialog dialog(nullptr);
        QCOMPARE(dialog.objectName(), text("WaitDialog"));
        QCOMPARE(dialog.size(), QSize(400, 93));
        QCOMPARE(dialog.windowTitle(), text("Dialog"));
        QVERIFY(bar(dialog));
        QVERIFY(cancelButton(dialog));
        QCOMPARE(cancelButton(dialog)->text(), text("Cancel"));
        QVERIFY(!dialog.parentWidget());
    }

    void laysOutTheBarAboveTheButton()
    {
        const WaitDialog dialog(nullptr);
        auto *column = qobject_cast<QVBoxLayout *>(dialog.layout());
        QVERIFY(column);
        QCOMPARE(column->objectName(), text("verticalLayout"));
        QCOMPARE(column->count(), 2);
        QCOMPARE(column->itemAt(0)->widget(), bar(dialog));

        auto *row = qobject_cast<QHBoxLayout *>(column->itemAt(1)->layout());
        QVERIFY(row);
        QCOMPARE(row->objectName(), text("horizontalLayout"));
        QCOMPARE(row->count(), 2);
        QVERIFY(row->itemAt(0)->spacerItem());
        QVERIFY(row->itemAt(0)->expandingDirections() & Qt::Horizontal);
        QCOMPARE(row->itemAt(1)->widget(), cancelButton(dialog));
    }

    void startsHidden()
    {
        WaitDialog dialog(nullptr);
        QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
        QVERIFY(!dialog.isVisible());
        dialog.progress(10);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(cancelled.size(), 0);
    }

    void showsABarFromZeroToAHundredOrARunningBar_data()
    {
        QTest::addColumn<bool>("progress");
        QTest::addRow("bar from 0 to 100") << true;
        QTest::addRow("running bar") << false;
    }

    void showsABarFromZeroToAHundredOrARunningBar()
    {
        QFETCH(bool, progress);
        WaitDialog dialog(nullptr);
        QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
        bool shown = false;
        // It is the same at each showing, and also where an open dialog changes.
        for (int round = 0; round < 2; ++round) {
            showAndDo(dialog, progress, [&] {
                shown = dialog.isVisible();
                QCOMPARE(dialog.windowTitle(), text("Please wait"));
                QCOMPARE(bar(dialog)->minimum(), 0);
                QCOMPARE(bar(dialog)->maximum(), progress ? 100 : 0);
                QCOMPARE(bar(dialog)->text(), progress ? text("0%") : QString());
                dialog.progress(50);
                QCOMPARE(bar(dialog)->text(), progress ? text("50%") : QString());
                dialog.progress(100);
                QCoreApplication::processEvents();
                QVERIFY(dialog.isVisible());

                dialog.showDialog(text("Changed"), !progress);
                QVERIFY(dialog.isVisible());
                QCOMPARE(dialog.windowTitle(), text("Changed"));
                QCOMPARE(bar(dialog)->maximum(), progress ? 0 : 100);
            });
            QVERIFY(shown);
        }
        QCOMPARE(cancelled.size(), 0);
    }

    void returnsOnlyWhenTheDialogHasClosed()
    {
        WaitDialog dialog(nullptr);
        QStringList order;
        showAndDo(dialog, true, [&] { order.append(text("inside")); });
        order.append(text("after"));
        QCOMPARE(order, texts("inside|after"));
        QVERIFY(!dialog.isVisible());
    }

    void blocksAllWindowsWhileItIsOpen()
    {
        WaitDialog dialog(nullptr);
        QPushButton other;
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        Qt::WindowModality modality = Qt::NonModal;
        QWidget *modalWidget = nullptr;
        showAndDo(dialog, true, [&] {
            modality = dialog.windowModality();
            modalWidget = QApplication::activeModalWidget();
        });
        QCOMPARE(modality, Qt::ApplicationModal);
        QCOMPARE(modalWidget, &dialog);
    }

    void restartsTheBarOfAnOpenDialog()
    {
        WaitDialog dialog(nullptr);
        bool returned = false;
        showAndDo(dialog, true, [&] {
            dialog.progress(70);
            dialog.showDialog(text("Once more"), true);
            returned = true;
            QCOMPARE(bar(dialog)->value(), 0);
        });
        QVERIFY(returned);
    }

    void movesTheBar()
    {
        WaitDialog dialog(nullptr);
        showAndDo(dialog, true, [&] {
            dialog.progress(42);
            QCOMPARE(bar(dialog)->value(), 42);
            QCOMPARE(bar(dialog)->text(), text("42%"));
        });
        QCOMPARE(bar(dialog)->value(), 42);
    }

    void staysOpenAfterAClickOnCancel()
    {
        WaitDialog dialog(nullptr);
        QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
        bool visible = false;
        showAndDo(dialog, true, [&] {
            QTest::mouseClick(cancelButton(dialog), Qt::LeftButton);
            QCoreApplication::processEvents();
            visible = dialog.isVisible();
        });
        QVERIFY(visible);
        QCOMPARE(cancelled.size(), 1);
    }

    void emitsOneCancelPerClose_data()
    {
        using Close = std::function<void(WaitDialog &)>;
        QTest::addColumn<Close>("close");
        QTest::addRow("close") << Close([](WaitDialog &dialog) { dialog.close(); });
        QTest::addRow("finished") << Close([](WaitDialog &dialog) { dialog.finished(); });
        QTest::addRow("the frame's button")
            << Close([](WaitDialog &dialog) { dialog.windowHandle()->close(); });
    }

    void emitsOneCancelPerClose()
    {
        QFETCH(std::function<void(WaitDialog &)>, close);
        WaitDialog dialog(nullptr);
        QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
        bool visible = true;
        showAndDo(dialog, true, [&] {
            close(dialog);
            visible = dialog.isVisible();
        });
        QVERIFY(!visible);
        QCOMPARE(cancelled.size(), 1);
    }

    void emitsACancelForACloseOfTheHiddenDialog()
    {
        WaitDialog dialog(nullptr);
        QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
        dialog.close();
        QCOMPARE(cancelled.size(), 1);

        showAndDo(dialog, true, [] {});
        dialog.close();
        QCOMPARE(cancelled.size(), 2);
    }

    void emitsANestedCancelIfASlotClosesTheDialog()
    {
        WaitDialog dialog(nullptr);
        QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
        int depth = 0;
        int deepest = 0;
        connect(&dialog, &WaitDialog::cancelClicked, &dialog, [&] {
            deepest = qMax(deepest, ++depth);
            dialog.close();
            --depth;
        });
        bool visible = true;
        showAndDo(dialog, true, [&] {
            QTest::mouseClick(cancelButton(dialog), Qt::LeftButton);
            visible = dialog.isVisible();
        });
        QVERIFY(!visible);
        QCOMPARE(cancelled.size(), 2);
        QCOMPARE(deepest, 2);
    }

    void closesWithoutASignalOnEscape()
    {
        WaitDialog dialog(nullptr);
        QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
        QSignalSpy rejected(&dialog, &QDialog::rejected);
        bool visible = true;
        showAndDo(dialog, true, [&] {
            QTest::keyClick(&dialog, Qt::Key_Escape);
            visible = dialog.isVisible();
        });
        QVERIFY(!visible);
        QCOMPARE(rejected.size(), 1);
        QCOMPARE(cancelled.size(), 0);
    }

    void keepsTitleAndBarUntilItIsShownAgain()
    {
        WaitDialog dialog(nullptr);
        showAndDo(dialog, true, [&] {
            dialog.progress(60);
            dialog.close();
        });
        QCOMPARE(dialog.windowTitle(), text("Please wait"));
        QCOMPARE(bar(dialog)->value(), 60);
        QCOMPARE(bar(dialog)->maximum(), 100);
    }
};

KV_TEST_MAIN(TestWaitDialog)

#include "tst_waitdialog.moc"
