// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/userfaulttest.h"
#include "tests/kit/testmain.h"

class TestFaultsInLongJobs : public UserFaultTest
{
    Q_OBJECT

public:
    TestFaultsInLongJobs()
        : UserFaultTest(ActGroup::LongJobs, text("faults-in-long-jobs"))
    {
    }
};

KV_TEST_MAIN(TestFaultsInLongJobs)

#include "tst_faultsinlongjobs.moc"
