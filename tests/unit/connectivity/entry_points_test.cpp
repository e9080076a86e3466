// The eleven entry points over a codec that does what a test tells it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/ScriptedCodec.h"
#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::Message;
using Lines = std::vector<std::string>;

/// A codec for whose storage there is nothing but null.
class HomelessCodec : public ScriptedCodec {
 public:
  using ScriptedCodec::ScriptedCodec;
  static void* operator new(std::size_t) noexcept { return nullptr; }
  static void operator delete(void*) {}
};

class EntryPointsTest : public testing::Test {
 protected:
  void SetUp() override { script = {}; }
  void TearDown() override { script = {}; }

  void* create(const char* config = "{}") {
    const OwnedValue value(config);
    return qel_create_plugin_with_params_ScriptedCodec("Scripted", "c1", value.get(), nullptr, nullptr);
  }

  Script& script = ScriptedCodec::script;
};

TEST_F(EntryPointsTest, TellTheirVersionsWithoutAnObject) {
  EXPECT_EQ(qel_plugin_api_version_ScriptedCodec(), 4u);
  EXPECT_STREQ(qel_plugin_product_version_ScriptedCodec(), "10.15.4.1");
}

// ---- create and destroy

TEST_F(EntryPointsTest, CreateHandsTheParametersOn) {
  product::createPluginParams given;
  script.given = &given;
  int reporter = 0, chain = 0;
  const OwnedValue config(R"({"k": [1, "two"]})");
  void* object = qel_create_plugin_with_params_ScriptedCodec("Scripted", "c1", config.get(), &reporter, &chain);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(given.pluginName, "Scripted");
  EXPECT_EQ(given.chainId, "c1");
  EXPECT_EQ(toJson(given.config), R"({"k":[1,"two"]})");
  EXPECT_EQ(given.statusReporterHandle, &reporter);
  EXPECT_EQ(given.chainHandle, &chain);
  EXPECT_EQ(qel_destroy_plugin_ScriptedCodec(object), 0);
  EXPECT_EQ(takeLines(), Lines{});
}

TEST_F(EntryPointsTest, CreateLeavesTheConfigurationWithTheHost) {
  const OwnedValue config(R"({"k": {"inner": "x"}})");
  void* object = qel_create_plugin_with_params_ScriptedCodec("Scripted", "c1", config.get(), nullptr, nullptr);
  qel_destroy_plugin_ScriptedCodec(object);
  EXPECT_EQ(toJson(config.get()), R"({"k":{"inner":"x"}})");
}

TEST_F(EntryPointsTest, CreateTakesAMapWithoutABlock) {
  void* object = qel_create_plugin_with_params_ScriptedCodec("Scripted", "c1", withoutBlock(QEL_MAP), nullptr, nullptr);
  EXPECT_NE(object, nullptr);
  qel_destroy_plugin_ScriptedCodec(object);
}

TEST_F(EntryPointsTest, CreateGivesTheAddressOfThePlugin) {
  void* object = create();
  EXPECT_NE(dynamic_cast<ScriptedCodec*>(static_cast<product::Plugin*>(object)), nullptr);
  qel_destroy_plugin_ScriptedCodec(object);
}

TEST_F(EntryPointsTest, CreateReportsAConstructorThatThrows) {
  script.construct = [] { throw std::runtime_error("x"); };
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(takeLines(), (Lines{lineOf(2, "Exception from create: x")}));
  EXPECT_EQ(script.storages, 0);
}

TEST_F(EntryPointsTest, CreateReportsAConstructorThatThrowsAnythingElse) {
  script.construct = [] { throw 5; };
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(takeLines(), (Lines{lineOf(2, "Unknown exception from create")}));
  EXPECT_EQ(script.storages, 0);
}

TEST_F(EntryPointsTest, CreateAsksTheLevelOfTheWouldBePlugin) {
  script.construct = [] { throw std::runtime_error("x"); };
  TestHost::setLogLevel(1);
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(takeLines(), Lines{});
  EXPECT_EQ(TestHost::categoriesAsked(), (Lines{"connectivity.Scripted.c1", "connectivity.Scripted.c1"}));
}

struct WrongConfiguration {
  const char* name;
  const char* json;
  const char* failure;
};

void PrintTo(const WrongConfiguration& each, std::ostream* out) {
  *out << each.name;
}

class WrongConfigurationTest : public testing::TestWithParam<WrongConfiguration> {
 protected:
  void SetUp() override { ScriptedCodec::script = {}; }
};

TEST_P(WrongConfigurationTest, IsReportedByCreate) {
  const OwnedValue config(GetParam().json);
  testing::internal::CaptureStderr();
  EXPECT_EQ(qel_create_plugin_with_params_ScriptedCodec("Scripted", "c1", config.get(), nullptr, nullptr), nullptr);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(takeLines(), (Lines{lineOf(2, std::string("Exception from create: ") + GetParam().failure)}));
  EXPECT_EQ(ScriptedCodec::script.storages, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Values, WrongConfigurationTest,
    testing::Values(
        WrongConfiguration{"Empty", "null", "Get from empty"},
        WrongConfiguration{"String", R"("x")", "Incorrect type in get (you asked for map but it's actually string)"},
        WrongConfiguration{"List", "[]", "Incorrect type in get (you asked for map but it's actually list)"},
        WrongConfiguration{"Custom", R"({"$custom": 1})",
                           "Incorrect type in get (you asked for map but it's actually custom)"}),
    NameOfCase());

TEST_F(EntryPointsTest, CreateReportsAnAllocationThatThrowsBeforeItReadsTheConfiguration) {
  script.allocationThrows = true;
  EXPECT_EQ(create("null"), nullptr);
  EXPECT_EQ(takeLines(), (Lines{lineOf(2, "Exception from create: std::bad_alloc")}));
}

TEST_F(EntryPointsTest, CreateSaysNothingOfAnAllocationThatGivesNull) {
  const OwnedValue config("{}");
  EXPECT_EQ(product::EntryPoints<HomelessCodec>::create("Scripted", "c1", config.get(), nullptr, nullptr), nullptr);
  EXPECT_EQ(takeLines(), Lines{});
}

TEST_F(EntryPointsTest, CreateGivesNullThoughTheReportFailsToo) {
  script.construct = [] { throw std::runtime_error("x"); };
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw std::runtime_error("disk full"); });
  EXPECT_EQ(create(), nullptr);
}

TEST_F(EntryPointsTest, DestroyRunsTheDestructorAndFreesTheStorage) {
  bool ran = false;
  script.destroy = [&] { ran = true; };
  void* object = create();
  EXPECT_EQ(script.storages, 1);
  EXPECT_EQ(qel_destroy_plugin_ScriptedCodec(object), 0);
  EXPECT_TRUE(ran);
  EXPECT_EQ(script.storages, 0);
}

TEST_F(EntryPointsTest, DestroyDoesNothingWithNull) {
  EXPECT_EQ(qel_destroy_plugin_ScriptedCodec(nullptr), 0);
  EXPECT_EQ(takeLines(), Lines{});
}

TEST_F(EntryPointsTest, DestroySwallowsWhatLeavesTheDestructorAndAnswersOne) {
  // In a process of its own, which an exception that isn't swallowed ends.
  const auto destroyInAnotherProcess = [&] {
    script.destroy = [] { throw std::runtime_error("x"); };
    const int answer = qel_destroy_plugin_ScriptedCodec(create());
    std::_Exit(TestHost::logs().empty() ? 10 + answer : 20 + answer);
  };
  EXPECT_EXIT(destroyInAnotherProcess(), testing::ExitedWithCode(11), "");
}

// ---- neighbours and sends

/// A neighbour that remembers what it was called with.
struct Neighbour {
  Message *begin = nullptr, *end = nullptr;
  int calls = 0;

  static int send(void* self, Message* begin, Message* end) {
    auto& neighbour = *static_cast<Neighbour*>(self);
    neighbour.begin = begin;
    neighbour.end = end;
    ++neighbour.calls;
    return 1;
  }
};

class NeighboursTest : public EntryPointsTest {
 protected:
  void SetUp() override {
    EntryPointsTest::SetUp();
    object = create();
  }
  void TearDown() override {
    qel_destroy_plugin_ScriptedCodec(object);
    EntryPointsTest::TearDown();
  }

  void* object = nullptr;
  Neighbour host, transport;
  Message batch[2];
};

TEST_F(NeighboursTest, GetWhatIsSentTowardsThem) {
  EXPECT_EQ(qel_plugin_setNextTowardsHost_ScriptedCodec(object, &host, Neighbour::send), 0);
  EXPECT_EQ(qel_plugin_setNextTowardsTransport_ScriptedCodec(object, &transport, Neighbour::send), 0);
  EXPECT_EQ(qel_plugin_sendBatchTowardsHost_ScriptedCodec(object, batch, batch + 2), 0);
  EXPECT_EQ(qel_plugin_sendBatchTowardsTransport_ScriptedCodec(object, batch + 1, batch + 2), 0);
  EXPECT_EQ(host.calls, 1);
  EXPECT_EQ(host.begin, batch);
  EXPECT_EQ(host.end, batch + 2);
  EXPECT_EQ(transport.calls, 1);
  EXPECT_EQ(transport.begin, batch + 1);
  EXPECT_EQ(transport.end, batch + 2);
}

TEST_F(NeighboursTest, AreReplacedWhenSetAgain) {
  Neighbour second;
  qel_plugin_setNextTowardsHost_ScriptedCodec(object, &host, Neighbour::send);
  qel_plugin_setNextTowardsHost_ScriptedCodec(object, &second, Neighbour::send);
  qel_plugin_sendBatchTowardsHost_ScriptedCodec(object, batch, batch + 2);
  EXPECT_EQ(host.calls, 0);
  EXPECT_EQ(second.calls, 1);
}

TEST_F(NeighboursTest, AreDroppedWhenTheCodecRefusesThem) {
  script.setNext = [] { throw std::runtime_error("x"); };
  EXPECT_EQ(qel_plugin_setNextTowardsHost_ScriptedCodec(object, &host, Neighbour::send), 1);
  EXPECT_EQ(qel_plugin_sendBatchTowardsHost_ScriptedCodec(object, batch, batch + 2), 0);
  EXPECT_EQ(host.calls, 0);
}

}  // namespace
}  // namespace tests
