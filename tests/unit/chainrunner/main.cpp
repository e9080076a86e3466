// Every test runs on a host that watches its blocks and must leave none behind.
#include <gtest/gtest.h>

#include "devhost/devhost.h"

namespace {

class BlockCheck : public testing::EmptyTestEventListener {
  void OnTestEnd(const testing::TestInfo&) override {
    EXPECT_EQ(devhost::liveBlocks().total(), 0) << "blocks were not freed";
  }
};

}  // namespace

int main(int argc, char** argv) {
  devhost::setLedgerLevel(devhost::LedgerLevel::strict);
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new BlockCheck);
  return RUN_ALL_TESTS();
}
