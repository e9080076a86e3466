#pragma once

#include <gtest/gtest.h>

#include "devhost/devhost.h"
#include "tests/unit/devhost/values.h"

/// Demands that a test frees every block that it made, and leaves freed blocks alone. At level `none` that shows
/// nothing; the tests run at the other levels too.
class BalanceTest : public testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(devhost::liveBlocks().total(), 0);
    EXPECT_EQ(values::liveCustomObjects(), 0);
    devhost::checkFreedBlocks();
  }
};
