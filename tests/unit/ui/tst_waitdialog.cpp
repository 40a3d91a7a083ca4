// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kit/stringliterals.h"
#include "tests/kit/testmain.h"
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
        m_cancelCount = 0;
        connect(m_dialog.data(), &WaitDialog::cancelClicked, this, [this] { ++m_cancelCount; });
    }

    void reasonsHaveFixedNumbers()
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

    void showsProgressInPercentOrABusyIndicator()
    {
        m_dialog->progress(10);
        QVERIFY(!m_dialog->isVisible());
        // This applies each time the dialog is shown, and also to a change of the open dialog.
        for (const bool showProgress : {true, false, true}) {
            showAndDo(showProgress, [&] {
                QVERIFY(m_dialog->isVisible());
                QCOMPARE(m_dialog->windowTitle(), text("Please wait"));
                QCOMPARE(m_bar->minimum(), 0);
                QCOMPARE(m_bar->maximum(), showProgress ? 100 : 0);
                QCOMPARE(m_bar->text(), showProgress ? text("0%") : QString());
                m_dialog->progress(42);
                QCOMPARE(m_bar->text(), showProgress ? text("42%") : QString());
                m_dialog->progress(100);
                QCoreApplication::processEvents();
                QVERIFY(m_dialog->isVisible());

                m_dialog->showDialog(text("Changed"), !showProgress);
                QVERIFY(m_dialog->isVisible());
                QCOMPARE(m_dialog->windowTitle(), text("Changed"));
                QCOMPARE(m_bar->maximum(), showProgress ? 0 : 100);
            });
        }
        QCOMPARE(m_cancelCount, 0);
    }

    void resetsTheProgressWhenShownAgainAndKeepsItWhenClosed()
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

    void isApplicationModalAndBlocksItsCaller()
    {
        QPushButton other;
        other.show();
        QVERIFY(QTest::qWaitForWindowExposed(&other));
        bool hasRun = false;
        showAndDo(true, [&] {
            QCOMPARE(m_dialog->windowModality(), Qt::ApplicationModal);
            QCOMPARE(QApplication::activeModalWidget(), m_dialog.data());
            hasRun = true;
        });
        QVERIFY(hasRun);
        QVERIFY(!m_dialog->isVisible());
    }

    void staysOpenAfterAClickOnCancel()
    {
        showAndDo(true, [&] {
            QTest::mouseClick(m_dialog->findChild<QPushButton *>(), Qt::LeftButton);
            QCoreApplication::processEvents();
            QVERIFY(m_dialog->isVisible());
        });
        QCOMPARE(m_cancelCount, 1);
    }

    void emitsCancelClickedOncePerClose()
    {
        const std::function<void()> closeActions[] = {
            [this] { m_dialog->close(); }, [this] { m_dialog->finished(); },
            [this] { m_dialog->windowHandle()->close(); }};
        for (const auto &close : closeActions) {
            m_cancelCount = 0;
            showAndDo(true, [&] {
                close();
                QVERIFY(!m_dialog->isVisible());
            });
            QCOMPARE(m_cancelCount, 1);
        }
    }

    void emitsCancelClickedIfClosedWhileHidden()
    {
        m_dialog->close();
        QCOMPARE(m_cancelCount, 1);
        showAndDo(true, [] {});
        m_dialog->close();
        QCOMPARE(m_cancelCount, 2);
    }

    void emitsNestedCancelClickedIfASlotClosesTheDialog()
    {
        int depth = 0;
        int maxDepth = 0;
        connect(m_dialog.data(), &WaitDialog::cancelClicked, this, [&] {
            maxDepth = qMax(maxDepth, ++depth);
            m_dialog->close();
            --depth;
        });
        showAndDo(true, [&] {
            QTest::mouseClick(m_dialog->findChild<QPushButton *>(), Qt::LeftButton);
            QVERIFY(!m_dialog->isVisible());
        });
        QCOMPARE(m_cancelCount, 2);
        QCOMPARE(maxDepth, 2);
    }

    void closesWithoutCancelClickedOnEscape()
    {
        QSignalSpy rejected(m_dialog.data(), &QDialog::rejected);
        showAndDo(true, [&] {
            QTest::keyClick(m_dialog.data(), Qt::Key_Escape);
            QVERIFY(!m_dialog->isVisible());
        });
        QCOMPARE(rejected.size(), 1);
        QCOMPARE(m_cancelCount, 0);
    }

private:
    /// Shows the dialog, runs @p steps in its event loop and hides it.
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
    int m_cancelCount = 0;
};

KV_TEST_MAIN(TestWaitDialog)
#include "tst_waitdialog.moc"
