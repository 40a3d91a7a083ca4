// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/testmain.h"
#include "tests/kit/text.h"
#include "ui/waitdialog.h"
#include "ui/waitdialogreason.h"

#include <QtCore/QTimer>
#include <QtGui/QWindow>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QPushButton>
#include <functional>

class TestWaitDialog : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dialog.reset(new WaitDialog(nullptr));
        m_bar = m_dialog->findChild<QProgressBar *>();
        m_cancels = 0;
        connect(m_dialog.data(), &WaitDialog::cancelClicked, this, [this] { ++m_cancels; });
    }

    void reasonsHaveTheirNumbers()
    {
        using Reason = WaitDialogReason;
        const Reason reasons[] = {Reason::ReadingLog,      Reason::UpdatingFirmware,
                                  Reason::WritingToEeprom, Reason::SettingDeviceClock,
                                  Reason::RestoringEeprom, Reason::BackingUpEeprom,
                                  Reason::NoReason};
        for (int number = 0; number <= 6; ++number) {
            QCOMPARE(int(reasons[number]), number);
        }
    }

    void showsABarFromZeroToAHundredOrARunningBar()
    {
        m_dialog->progress(10);
        QVERIFY(!m_dialog->isVisible());
        // It is the same at each showing, and also where an open dialog changes.
        for (const bool progress : {true, false, true}) {
            showAndDo(progress, [&] {
                QVERIFY(m_dialog->isVisible());
                QCOMPARE(m_dialog->windowTitle(), text("Please wait"));
                QCOMPARE(m_bar->minimum(), 0);
                QCOMPARE(m_bar->maximum(), progress ? 100 : 0);
                QCOMPARE(m_bar->text(), progress ? text("0%") : QString());
                m_dialog->progress(42);
                QCOMPARE(m_bar->text(), progress ? text("42%") : QString());
                m_dialog->progress(100);
                QCoreApplication::processEvents();
                QVERIFY(m_dialog->isVisible());

                m_dialog->showDialog(text("Changed"), !progress);
                QVERIFY(m_dialog->isVisible());
                QCOMPARE(m_dialog->windowTitle(), text("Changed"));
                QCOMPARE(m_bar->maximum(), progress ? 0 : 100);
            });
        }
        QCOMPARE(m_cancels, 0);
    }

    void restartsTheBarOfAnOpenDialogAndKeepsItUntilTheNextShowing()
    {
        showAndDo(true, [&] {
            m_dialog->progress(70);
            m_dialog->showDialog(text("Once more"), true);
            QCOMPARE(m_bar->value(), 0);
            m_dialog->progress(60);
            m_dialog->close();
        });
        QCOMPARE(m_dialog->windowTitle(), text("Once more"));
        QCOMPARE(m_bar->value(), 60);
        QCOMPARE(m_bar->maximum(), 100);
    }

    void blocksAllWindowsAndItsCallerWhileItIsOpen()
    {
        QPushButton other;
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        bool isInside = false;
        showAndDo(true, [&] {
            QCOMPARE(m_dialog->windowModality(), Qt::ApplicationModal);
            QCOMPARE(QApplication::activeModalWidget(), m_dialog.data());
            isInside = true;
        });
        QVERIFY(isInside);
        QVERIFY(!m_dialog->isVisible());
    }

    void staysOpenAfterAClickOnCancel()
    {
        showAndDo(true, [&] {
            QTest::mouseClick(m_dialog->findChild<QPushButton *>(), Qt::LeftButton);
            QCoreApplication::processEvents();
            QVERIFY(m_dialog->isVisible());
        });
        QCOMPARE(m_cancels, 1);
    }

    void emitsOneCancelPerClose()
    {
        const std::function<void()> closes[] = {[this] { m_dialog->close(); },
                                                [this] { m_dialog->finished(); },
                                                [this] { m_dialog->windowHandle()->close(); }};
        for (const auto &close : closes) {
            m_cancels = 0;
            showAndDo(true, [&] {
                close();
                QVERIFY(!m_dialog->isVisible());
            });
            QCOMPARE(m_cancels, 1);
        }
    }

    void emitsACancelForACloseOfTheHiddenDialog()
    {
        m_dialog->close();
        QCOMPARE(m_cancels, 1);
        showAndDo(true, [] {});
        m_dialog->close();
        QCOMPARE(m_cancels, 2);
    }

    void emitsANestedCancelIfASlotClosesTheDialog()
    {
        int depth = 0;
        int deepest = 0;
        connect(m_dialog.data(), &WaitDialog::cancelClicked, this, [&] {
            deepest = qMax(deepest, ++depth);
            m_dialog->close();
            --depth;
        });
        showAndDo(true, [&] {
            QTest::mouseClick(m_dialog->findChild<QPushButton *>(), Qt::LeftButton);
            QVERIFY(!m_dialog->isVisible());
        });
        QCOMPARE(m_cancels, 2);
        QCOMPARE(deepest, 2);
    }

    void closesWithoutASignalOnEscape()
    {
        QSignalSpy rejected(m_dialog.data(), &QDialog::rejected);
        showAndDo(true, [&] {
            QTest::keyClick(m_dialog.data(), Qt::Key_Escape);
            QVERIFY(!m_dialog->isVisible());
        });
        QCOMPARE(rejected.size(), 1);
        QCOMPARE(m_cancels, 0);
    }

private:
    /// Runs @p steps inside the dialog's own event loop, which ends with them.
    void showAndDo(bool showProgress, const std::function<void()> &steps)
    {
        bool isDone = false;
        QTimer::singleShot(0, m_dialog.data(), [&] {
            steps();
            isDone = true;
            m_dialog->hide();
        });
        m_dialog->showDialog(text("Please wait"), showProgress);
        QVERIFY(isDone);
    }

    QScopedPointer<WaitDialog> m_dialog;
    QProgressBar *m_bar = nullptr;
    int m_cancels = 0;
};

KV_TEST_MAIN(TestWaitDialog)
#include "tst_waitdialog.moc"
