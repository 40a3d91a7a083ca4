// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/measurementstate.h"
#include "tests/kit/testmain.h"

class TestMeasurementState : public QObject
{
    Q_OBJECT

private slots:
    void statesHaveTheNumbersThatTheDeviceSends()
    {
        const MeasurementState states[] = {MeasurementState::WarmingUp, MeasurementState::Ready,
                                           MeasurementState::TemperatureOverRange,
                                           MeasurementState::NotStabilized,
                                           MeasurementState::HardwareError};
        unsigned number = 0;
        for (const MeasurementState state : states) {
            QCOMPARE(static_cast<unsigned>(state), number);
            QCOMPARE(static_cast<unsigned>(measurementStateFromInt(number)), number);
            ++number;
        }
    }

    void treatsUnknownNumbersAsWarmingUp()
    {
        // As int, the last three are INT_MAX, -2 and -1.
        for (const unsigned number : {5U, 0x80000001U, 0x7FFFFFFFU, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
            QCOMPARE(measurementStateFromInt(number), MeasurementState::WarmingUp);
        }
    }
};

KV_TEST_CORE_MAIN(TestMeasurementState)
#include "tst_measurementstate.moc"
