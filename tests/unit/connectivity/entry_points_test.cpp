// The eleven entry points over a codec that does what a test tells it.
#include "connectivity/entry_points.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/cases.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {

/// What a test wants to happen at each operation of the codec.
struct Script {
  std::function<void()> construct, start, hostReady, shutdown, setNext, towardsHost, towardsTransport, destroy;
  product::createPluginParams* given = nullptr;  // becomes what the constructor was given
  int storages = 0;                              // of codecs that were allocated and not freed
  bool allocationThrows = false;
};

class ScriptedCodec : public product::AbstractCodec {
 public:
  static inline Script script;

  explicit ScriptedCodec(const product::createPluginParams& params) : AbstractCodec(params) {
    if (script.given) {
      *script.given = {params.chainId, params.pluginName, params.config.copy(), params.statusReporterHandle,
                       params.chainHandle};
    }
    run(script.construct);
  }
  ~ScriptedCodec() override { run(script.destroy); }

  void start() override { run(script.start); }
  void hostReady() override { run(script.hostReady); }
  void shutdown() override { run(script.shutdown); }
  void setNextTowardsHost(std::unique_ptr<product::HostSide>&& next) override {
    run(script.setNext);
    AbstractCodec::setNextTowardsHost(std::move(next));
  }
  void setNextTowardsTransport(std::unique_ptr<product::TransportSide>&& next) override {
    run(script.setNext);
    AbstractCodec::setNextTowardsTransport(std::move(next));
  }
  void sendBatchTowardsHost(product::Message* begin, product::Message* end) override {
    run(script.towardsHost);
    if (hostSide) hostSide->sendBatchTowardsHost(begin, end);
  }
  void sendBatchTowardsTransport(product::Message* begin, product::Message* end) override {
    run(script.towardsTransport);
    if (transportSide) transportSide->sendBatchTowardsTransport(begin, end);
  }

  static void* operator new(std::size_t size) noexcept(false) {
    if (script.allocationThrows) throw std::bad_alloc();
    ++script.storages;
    return ::operator new(size);
  }
  static void operator delete(void* storage) {
    --script.storages;
    ::operator delete(storage);
  }

 private:
  static void run(const std::function<void()>& hook) {
    if (hook) hook();
  }
};

/// A codec for whose storage there is nothing but null.
class HomelessCodec : public ScriptedCodec {
 public:
  using ScriptedCodec::ScriptedCodec;
  static void* operator new(std::size_t) noexcept { return nullptr; }
  static void operator delete(void*) {}
};

}  // namespace tests

QEL_EXPORT_PLUGIN(ScriptedCodec, com::tallowmere::connectivity10_15_4::EntryPoints<tests::ScriptedCodec>)

namespace tests {
namespace {

using product::Message;
using Lines = std::vector<std::string>;

/// Level, category and text of each line that was logged.
Lines logged() {
  Lines lines;
  for (const LogLine& line : TestHost::drain()) {
    lines.push_back(std::to_string(line.level) + " " + line.category + " " + line.text);
  }
  return lines;
}

std::string lineOf(int level, const std::string& text) {
  return std::to_string(level) + " connectivity.Scripted.c1 <connectivity.Scripted.c1> " + text;
}

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

// ---- versions

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
  EXPECT_EQ(logged(), Lines{});
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
  const product::Plugin* constructed = nullptr;
  void* object = create();
  constructed = dynamic_cast<ScriptedCodec*>(static_cast<product::Plugin*>(object));
  EXPECT_EQ(constructed, object);
  qel_destroy_plugin_ScriptedCodec(object);
}

TEST_F(EntryPointsTest, CreateReportsAConstructorThatThrows) {
  script.construct = [] { throw std::runtime_error("x"); };
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(logged(), (Lines{lineOf(2, "Exception from create: x")}));
  EXPECT_EQ(script.storages, 0);
}

TEST_F(EntryPointsTest, CreateReportsAConstructorThatThrowsAnythingElse) {
  script.construct = [] { throw 5; };
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(logged(), (Lines{lineOf(2, "Unknown exception from create")}));
  EXPECT_EQ(script.storages, 0);
}

TEST_F(EntryPointsTest, CreateAsksTheLevelOfTheWouldBePlugin) {
  script.construct = [] { throw std::runtime_error("x"); };
  TestHost::setLogLevel(1);
  EXPECT_EQ(create(), nullptr);
  EXPECT_EQ(logged(), Lines{});
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
  EXPECT_EQ(logged(), (Lines{lineOf(2, std::string("Exception from create: ") + GetParam().failure)}));
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
  EXPECT_EQ(logged(), (Lines{lineOf(2, "Exception from create: std::bad_alloc")}));
}

TEST_F(EntryPointsTest, CreateSaysNothingOfAnAllocationThatGivesNull) {
  const OwnedValue config("{}");
  EXPECT_EQ(product::EntryPoints<HomelessCodec>::create("Scripted", "c1", config.get(), nullptr, nullptr), nullptr);
  EXPECT_EQ(logged(), Lines{});
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
  EXPECT_EQ(logged(), Lines{});
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

// ---- the barrier of each entry point

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
  EXPECT_EQ(logged(), Lines{});
}

TEST_P(BarrierOfEntryTest, ReportsARuntimeError) {
  run([] { throw std::runtime_error("x"); });
  EXPECT_EQ(call(), 1);
  EXPECT_EQ(logged(), (Lines{line("Exception from ", ": x")}));
}

TEST_P(BarrierOfEntryTest, ReportsABadAllocation) {
  run([] { throw std::bad_alloc(); });
  EXPECT_EQ(call(), 1);
  EXPECT_EQ(logged(), (Lines{line("Exception from ", ": std::bad_alloc")}));
}

TEST_P(BarrierOfEntryTest, ReportsWhatIsNoException) {
  run([] { throw 5; });
  EXPECT_EQ(call(), 1);
  EXPECT_EQ(logged(), (Lines{line("Unknown exception from ")}));
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
