// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
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
    return dialog.findChild<QProgressBar *>(QStringLiteral("progressBar"));
}

QPushButton *cancelButton(const WaitDialog &dialog)
{
    return dialog.findChild<QPushButton *>(QStringLiteral("cancelButton"));
}

// Runs the steps inside the dialog's own event loop. Hiding ends that loop whatever the steps did.
void showAndDo(WaitDialog &dialog, bool showProgress, const std::function<void()> &steps)
{
    QTimer::singleShot(0, &dialog, [&] {
        steps();
        dialog.hide();
    });
    dialog.showDialog(QStringLiteral("Please wait"), showProgress);
}

} // namespace

class TestWaitDialog : public QObject
{
    Q_OBJECT

private slots:
    void reasonsHaveTheirNumbers();
    void looksAsItsFormSays();
    void laysOutTheBarAboveTheButton();
    void declaresItsSlotsAndSignal();
    void startsHiddenAndSilent();
    void showsABarFromZeroToAHundred();
    void showsARunningBar();
    void returnsOnlyWhenTheDialogHasClosed();
    void blocksAllWindowsWhileItIsUp();
    void turnsAVisibleDialogIntoOneWithABarAtOnce();
    void turnsAVisibleDialogIntoOneWithARunningBarAtOnce();
    void movesTheBar();
    void staysUpAtAHundredPercent();
    void showsNoProgressOnARunningBar();
    void staysUpOnAClickOnCancelWithoutAListener();
    void reportsACloseOnce_data();
    void reportsACloseOnce();
    void leavesTheCloseEventAccepted();
    void reportsACloseOfTheHiddenDialog();
    void reportsTwiceAndNestedWhenAListenerClosesOnCancel();
    void closesInSilenceOnEscape();
    void keepsTitleAndBarUntilItIsShownAgain();
    void canBeShownAgainAndAgain();
};

void TestWaitDialog::reasonsHaveTheirNumbers()
{
    QCOMPARE(int(WaitDialogReason::ReadingLog), 0);
    QCOMPARE(int(WaitDialogReason::UpdatingFirmware), 1);
    QCOMPARE(int(WaitDialogReason::WritingToEeprom), 2);
    QCOMPARE(int(WaitDialogReason::SettingDeviceClock), 3);
    QCOMPARE(int(WaitDialogReason::RestoringEeprom), 4);
    QCOMPARE(int(WaitDialogReason::BackingUpEeprom), 5);
    QCOMPARE(int(WaitDialogReason::NoReason), 6);
}

void TestWaitDialog::looksAsItsFormSays()
{
    const WaitDialog dialog(nullptr);
    QCOMPARE(dialog.objectName(), QStringLiteral("WaitDialog"));
    QCOMPARE(dialog.size(), QSize(400, 93));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Dialog"));
    QVERIFY(bar(dialog));
    QCOMPARE(bar(dialog)->value(), 24);
    QVERIFY(cancelButton(dialog));
    QCOMPARE(cancelButton(dialog)->text(), QStringLiteral("Cancel"));
    QVERIFY(!dialog.parentWidget());
}

void TestWaitDialog::laysOutTheBarAboveTheButton()
{
    const WaitDialog dialog(nullptr);
    auto *column = qobject_cast<QVBoxLayout *>(dialog.layout());
    QVERIFY(column);
    QCOMPARE(column->objectName(), QStringLiteral("verticalLayout"));
    QCOMPARE(column->count(), 2);
    QCOMPARE(column->itemAt(0)->widget(), bar(dialog));

    auto *row = qobject_cast<QHBoxLayout *>(column->itemAt(1)->layout());
    QVERIFY(row);
    QCOMPARE(row->objectName(), QStringLiteral("horizontalLayout"));
    QCOMPARE(row->count(), 2);
    QVERIFY(row->itemAt(0)->spacerItem());
    QVERIFY(row->itemAt(0)->expandingDirections() & Qt::Horizontal);
    QCOMPARE(row->itemAt(1)->widget(), cancelButton(dialog));
}

void TestWaitDialog::declaresItsSlotsAndSignal()
{
    const QMetaObject &meta = WaitDialog::staticMetaObject;
    for (const char *slot : {"progress(int)", "finished()"}) {
        const int index = meta.indexOfSlot(slot);
        QVERIFY2(index >= meta.methodOffset(), slot);
        QCOMPARE(meta.method(index).access(), QMetaMethod::Public);
    }
    QVERIFY(meta.indexOfSignal("cancelClicked()") >= 0);
}

void TestWaitDialog::startsHiddenAndSilent()
{
    WaitDialog dialog(nullptr);
    QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
    QVERIFY(!dialog.isVisible());
    dialog.progress(10);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(cancelled.size(), 0);
}

void TestWaitDialog::showsABarFromZeroToAHundred()
{
    WaitDialog dialog(nullptr);
    bool shown = false;
    showAndDo(dialog, true, [&] {
        shown = dialog.isVisible();
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Please wait"));
        QCOMPARE(bar(dialog)->minimum(), 0);
        QCOMPARE(bar(dialog)->maximum(), 100);
        QCOMPARE(bar(dialog)->value(), 0);
    });
    QVERIFY(shown);
}

void TestWaitDialog::showsARunningBar()
{
    WaitDialog dialog(nullptr);
    bool shown = false;
    showAndDo(dialog, false, [&] {
        shown = dialog.isVisible();
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Please wait"));
        QCOMPARE(bar(dialog)->minimum(), 0);
        QCOMPARE(bar(dialog)->maximum(), 0);
        QVERIFY(bar(dialog)->text().isEmpty());
    });
    QVERIFY(shown);
}

void TestWaitDialog::returnsOnlyWhenTheDialogHasClosed()
{
    WaitDialog dialog(nullptr);
    QStringList order;
    showAndDo(dialog, true, [&] { order.append(QStringLiteral("inside")); });
    order.append(QStringLiteral("behind"));
    QCOMPARE(order, QStringList({QStringLiteral("inside"), QStringLiteral("behind")}));
    QVERIFY(!dialog.isVisible());
}

void TestWaitDialog::blocksAllWindowsWhileItIsUp()
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

void TestWaitDialog::turnsAVisibleDialogIntoOneWithABarAtOnce()
{
    WaitDialog dialog(nullptr);
    QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
    bool returned = false;
    showAndDo(dialog, false, [&] {
        dialog.showDialog(QStringLiteral("Updating"), true);
        returned = true;
        QVERIFY(dialog.isVisible());
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Updating"));
        QCOMPARE(bar(dialog)->maximum(), 100);
        QCOMPARE(bar(dialog)->value(), 0);

        dialog.progress(70);
        dialog.showDialog(QStringLiteral("Once more"), true);
        QCOMPARE(bar(dialog)->value(), 0);
    });
    QVERIFY(returned);
    QCOMPARE(cancelled.size(), 0);
}

void TestWaitDialog::turnsAVisibleDialogIntoOneWithARunningBarAtOnce()
{
    WaitDialog dialog(nullptr);
    bool returned = false;
    showAndDo(dialog, true, [&] {
        dialog.showDialog(QStringLiteral("Restart the device"), false);
        returned = true;
        QVERIFY(dialog.isVisible());
        QCOMPARE(dialog.windowTitle(), QStringLiteral("Restart the device"));
        QCOMPARE(bar(dialog)->maximum(), 0);
    });
    QVERIFY(returned);
}

void TestWaitDialog::movesTheBar()
{
    WaitDialog dialog(nullptr);
    showAndDo(dialog, true, [&] {
        dialog.progress(42);
        QCOMPARE(bar(dialog)->value(), 42);
        QCOMPARE(bar(dialog)->text(), QStringLiteral("42%"));
    });
    QCOMPARE(bar(dialog)->value(), 42);
}

void TestWaitDialog::staysUpAtAHundredPercent()
{
    WaitDialog dialog(nullptr);
    QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
    bool visible = false;
    showAndDo(dialog, true, [&] {
        dialog.progress(100);
        QCoreApplication::processEvents();
        visible = dialog.isVisible();
    });
    QVERIFY(visible);
    QCOMPARE(bar(dialog)->value(), 100);
    QCOMPARE(cancelled.size(), 0);
}

void TestWaitDialog::showsNoProgressOnARunningBar()
{
    WaitDialog dialog(nullptr);
    bool visible = false;
    showAndDo(dialog, false, [&] {
        dialog.progress(50);
        visible = dialog.isVisible();
        QCOMPARE(bar(dialog)->minimum(), 0);
        QCOMPARE(bar(dialog)->maximum(), 0);
        QVERIFY(bar(dialog)->text().isEmpty());
    });
    QVERIFY(visible);
}

void TestWaitDialog::staysUpOnAClickOnCancelWithoutAListener()
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

void TestWaitDialog::reportsACloseOnce_data()
{
    using Close = std::function<void(WaitDialog &)>;
    QTest::addColumn<Close>("close");
    QTest::addRow("close") << Close([](WaitDialog &dialog) { dialog.close(); });
    QTest::addRow("finished") << Close([](WaitDialog &dialog) { dialog.finished(); });
    QTest::addRow("the frame's button")
        << Close([](WaitDialog &dialog) { dialog.windowHandle()->close(); });
}

void TestWaitDialog::reportsACloseOnce()
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

void TestWaitDialog::leavesTheCloseEventAccepted()
{
    WaitDialog dialog(nullptr);
    QCloseEvent event;
    QCoreApplication::sendEvent(&dialog, &event);
    QVERIFY(event.isAccepted());
}

void TestWaitDialog::reportsACloseOfTheHiddenDialog()
{
    WaitDialog dialog(nullptr);
    QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
    dialog.close();
    QCOMPARE(cancelled.size(), 1);

    showAndDo(dialog, true, [] {});
    dialog.close();
    QCOMPARE(cancelled.size(), 2);
}

void TestWaitDialog::reportsTwiceAndNestedWhenAListenerClosesOnCancel()
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

void TestWaitDialog::closesInSilenceOnEscape()
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

void TestWaitDialog::keepsTitleAndBarUntilItIsShownAgain()
{
    WaitDialog dialog(nullptr);
    showAndDo(dialog, true, [&] {
        dialog.progress(60);
        dialog.close();
    });
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Please wait"));
    QCOMPARE(bar(dialog)->value(), 60);
    QCOMPARE(bar(dialog)->maximum(), 100);
}

void TestWaitDialog::canBeShownAgainAndAgain()
{
    WaitDialog dialog(nullptr);
    QSignalSpy cancelled(&dialog, &WaitDialog::cancelClicked);
    int shown = 0;
    for (int round = 0; round < 3; ++round) {
        showAndDo(dialog, round % 2 == 0, [&] {
            shown += dialog.isVisible() ? 1 : 0;
            dialog.close();
        });
    }
    QCOMPARE(shown, 3);
    QCOMPARE(cancelled.size(), 3);
}

KV_TEST_MAIN(TestWaitDialog)

#include "tst_waitdialog.moc"
