// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementstate.h"
#include "tests/kit/testmain.h"

#include <limits>

class TestMeasurementState : public QObject
{
    Q_OBJECT

private slots:
    void numbersAreThoseOfTheDevice_data()
    {
        QTest::addColumn<unsigned>("number");
        QTest::addColumn<int>("state");
        QTest::addRow("0") << 0U << static_cast<int>(MeasurementState::WarmingUp);
        QTest::addRow("1") << 1U << static_cast<int>(MeasurementState::Ready);
        QTest::addRow("2") << 2U << static_cast<int>(MeasurementState::TemperatureOverRange);
        QTest::addRow("3") << 3U << static_cast<int>(MeasurementState::NotStabilized);
        QTest::addRow("4") << 4U << static_cast<int>(MeasurementState::HardwareError);
    }

    void numbersAreThoseOfTheDevice()
    {
        QFETCH(unsigned, number);
        QFETCH(int, state);
        QCOMPARE(static_cast<unsigned>(state), number);
        QCOMPARE(static_cast<int>(measurementStateFromInt(number)), state);
    }

    void treatsAnyOtherNumberAsWarmingUp_data()
    {
        QTest::addColumn<unsigned>("number");
        QTest::addRow("5") << 5U;
        QTest::addRow("1 with a high bit") << 0x80000001U;
        QTest::addRow("largest int") << static_cast<unsigned>(std::numeric_limits<int>::max());
        QTest::addRow("-1 seen as unsigned") << static_cast<unsigned>(-1);
        QTest::addRow("-2 seen as unsigned") << static_cast<unsigned>(-2);
    }

    void treatsAnyOtherNumberAsWarmingUp()
    {
        QFETCH(unsigned, number);
        QCOMPARE(measurementStateFromInt(number), MeasurementState::WarmingUp);
    }
};

KV_TEST_CORE_MAIN(TestMeasurementState)
#include "tst_measurementstate.moc"
