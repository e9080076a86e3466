// A test that leaks and does nothing else wrong: run to see that the host's check fails it.
#include <gtest/gtest.h>

#include "connectivity/host_abi.h"

TEST(LeakingTest, ForgetsAString) {
  ASSERT_NE(qel_copy_string("lost"), nullptr);
}
