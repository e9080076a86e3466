#include "connectivity/StatusReporter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::map_t;
using product::StatusReporter;
using Maps = std::vector<std::map<std::string, std::string>>;

static_assert(sizeof(StatusReporter) == 2 * sizeof(void*));

TEST(StatusReporterTest, HasNoMapAtFirst) {
  StatusReporter reporter(nullptr);
  EXPECT_EQ(reporter.getStatusMap().header(), nullptr);
}

TEST(StatusReporterTest, PublishesNothingWithoutAMap) {
  { const StatusReporter reporter(nullptr); }
  EXPECT_EQ(TestHost::calls(HostCall::qel_set_user_status_map), 0u);
}

TEST(StatusReporterTest, PublishesItsMapWhenItGoesAndFreesIt) {
  {
    StatusReporter reporter(nullptr);
    reporter.getStatusMap()["a"] = "1";
    reporter.getStatusMap()["b"] = "2";
    TestHost::forgetCalls();
  }
  EXPECT_EQ(TestHost::publishedStatusMaps(), (Maps{{{"a", "1"}, {"b", "2"}}}));
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_map), 1u);
}

TEST(StatusReporterTest, FreesAMapWithoutEntriesAndPublishesNothing) {
  {
    StatusReporter reporter(nullptr);
    reporter.getStatusMap() = map_t(8, "name");
    TestHost::forgetCalls();
  }
  EXPECT_EQ(TestHost::calls(HostCall::qel_set_user_status_map), 0u);
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_map), 1u);
}

TEST(StatusReporterTest, SwallowsAFailureOfThePublicationAndFreesItsMap) {
  {
    StatusReporter reporter(nullptr);
    reporter.getStatusMap()["a"] = "1";
    TestHost::throwFrom(HostCall::qel_set_user_status_map, [] { throw std::runtime_error("no page"); });
    TestHost::forgetCalls();
  }
  EXPECT_EQ(TestHost::calls(HostCall::qel_set_user_status_map), 1u);
  EXPECT_EQ(TestHost::calls(HostCall::qel_free_map), 1u);
}

TEST(StatusReporterTest, SwallowsAFailureOfFreeingItsMap) {
  // In a process of its own, which ends when the failure isn't swallowed.
  const auto freeFailing = [] {
    {
      StatusReporter reporter(nullptr);
      reporter.getStatusMap()["a"] = "1";
      TestHost::throwFrom(HostCall::qel_free_map, [] { throw std::runtime_error("no free"); });
    }
    std::_Exit(static_cast<int>(TestHost::publishedStatusMaps().size()));
  };
  EXPECT_EXIT(freeFailing(), testing::ExitedWithCode(1), "");
}

}  // namespace
}  // namespace tests
