// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/userfaulttest.h"
#include "tests/kit/testmain.h"

class TestFaultsInEverydayWork : public UserFaultTest
{
    Q_OBJECT

public:
    TestFaultsInEverydayWork()
        : UserFaultTest(ActGroup::EverydayWork, text("faults-in-everyday-work"))
    {
    }
};

KV_TEST_MAIN(TestFaultsInEverydayWork)

#include "tst_faultsineverydaywork.moc"
