// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/userfaulttest.h"
#include "tests/kit/testmain.h"

class TestFaultsInFirmwareUpdates : public UserFaultTest
{
    Q_OBJECT

public:
    TestFaultsInFirmwareUpdates()
        : UserFaultTest(ActGroup::FirmwareUpdates, text("faults-in-firmware-updates"))
    {
    }
};

KV_TEST_MAIN(TestFaultsInFirmwareUpdates)

#include "tst_faultsinfirmwareupdates.moc"
