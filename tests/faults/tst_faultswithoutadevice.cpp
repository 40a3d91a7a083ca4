// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/userfaulttest.h"
#include "tests/kit/testmain.h"

class TestFaultsWithoutADevice : public UserFaultTest
{
    Q_OBJECT

public:
    TestFaultsWithoutADevice()
        : UserFaultTest(ActGroup::WithoutADevice, text("faults-without-a-device"))
    {
    }
};

KV_TEST_MAIN(TestFaultsWithoutADevice)

#include "tst_faultswithoutadevice.moc"
