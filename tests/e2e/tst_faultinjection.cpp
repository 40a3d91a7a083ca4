// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/e2e/faultinjectiontest.h"
#include "tests/kit/testmain.h"

KV_TEST_MAIN(FaultInjectionTest)
