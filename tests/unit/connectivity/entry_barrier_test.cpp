// What each entry point does with an exception: the answer, the line, its level and its label.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/ScriptedCodec.h"
#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::Message;
using Lines = std::vector<std::string>;

struct Entry {
  const char* name;
  int level;
  std::function<void()> Script::*hook;
  std::function<int(void*)> call;
};

void PrintTo(const Entry& each, std::ostream* out) {
  *out << each.name;
}

int ignore(void*, Message*, Message*) {
  return 0;
}

const Entry entries[] = {
    {"start", 2, &Script::start, qel_plugin_start_ScriptedCodec},
    {"hostReady", 3, &Script::hostReady, qel_plugin_hostReady_ScriptedCodec},
    {"shutdown", 3, &Script::shutdown, qel_plugin_shutdown_ScriptedCodec},
    {"setNextTowardsHost", 2, &Script::setNext,
     [](void* object) { return qel_plugin_setNextTowardsHost_ScriptedCodec(object, nullptr, ignore); }},
    {"setNextTowardsTransport", 2, &Script::setNext,
     [](void* object) { return qel_plugin_setNextTowardsTransport_ScriptedCodec(object, nullptr, ignore); }},
    {"sendBatchTowardsHost", 3, &Script::towardsHost,
     [](void* object) { return qel_plugin_sendBatchTowardsHost_ScriptedCodec(object, nullptr, nullptr); }},
    {"sendBatchTowardsTransport", 3, &Script::towardsTransport,
     [](void* object) { return qel_plugin_sendBatchTowardsTransport_ScriptedCodec(object, nullptr, nullptr); }},
};

class BarrierOfEntryTest : public testing::TestWithParam<Entry> {
 protected:
  void SetUp() override {
    script = {};
    TestHost::setLogLevel(5);
    const OwnedValue config("{}");
    object = qel_create_plugin_with_params_ScriptedCodec("Scripted", "c1", config.get(), nullptr, nullptr);
    ASSERT_NE(object, nullptr);
  }
  void TearDown() override {
    qel_destroy_plugin_ScriptedCodec(object);
    script = {};
  }

  void run(std::function<void()> hook) { script.*GetParam().hook = std::move(hook); }
  int call() { return GetParam().call(object); }
  std::string line(const std::string& head, const std::string& tail = "") {
    return lineOf(GetParam().level, head + GetParam().name + tail);
  }

  Script& script = ScriptedCodec::script;
  void* object = nullptr;
};

TEST_P(BarrierOfEntryTest, LetsASuccessThrough) {
  int ran = 0;
  run([&] { ++ran; });
  EXPECT_EQ(call(), 0);
  EXPECT_EQ(ran, 1);
  EXPECT_EQ(takeLines(), Lines{});
}

TEST_P(BarrierOfEntryTest, ReportsARuntimeError) {
  run([] { throw std::runtime_error("x"); });
  EXPECT_EQ(call(), 1);
  EXPECT_EQ(takeLines(), (Lines{line("Exception from ", ": x")}));
}

TEST_P(BarrierOfEntryTest, ReportsABadAllocation) {
  run([] { throw std::bad_alloc(); });
  EXPECT_EQ(call(), 1);
  EXPECT_EQ(takeLines(), (Lines{line("Exception from ", ": std::bad_alloc")}));
}

TEST_P(BarrierOfEntryTest, ReportsWhatIsNoException) {
  run([] { throw 5; });
  EXPECT_EQ(call(), 1);
  EXPECT_EQ(takeLines(), (Lines{line("Unknown exception from ")}));
}

TEST_P(BarrierOfEntryTest, WorksAgainAfterAFailure) {
  run([] { throw std::runtime_error("x"); });
  EXPECT_EQ(call(), 1);
  int ran = 0;
  run([&] { ++ran; });
  EXPECT_EQ(call(), 0);
  EXPECT_EQ(ran, 1);
}

TEST_P(BarrierOfEntryTest, LetsNoFailureOfTheLogOut) {
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw std::runtime_error("disk full"); });
  run([] { throw std::runtime_error("x"); });
  EXPECT_EQ(call(), 1);
}

TEST_P(BarrierOfEntryTest, AnswersOneToANullObject) {
  EXPECT_EQ(GetParam().call(nullptr), 1);
}

INSTANTIATE_TEST_SUITE_P(Entries, BarrierOfEntryTest, testing::ValuesIn(entries), NameOfCase());

}  // namespace
}  // namespace tests
