// The birth and the death of a plug-in, seen from the host.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

using KeysAndValues = std::vector<std::pair<std::string, std::string>>;

class CreateTest : public BlackboxTest {
 protected:
  static constexpr const char* category = "connectivity.MarlovanceCodec.c1";

  /// Creates a plug-in that must refuse, with one line and no other.
  void expectRefusal(std::string_view configuration, const std::string& line) {
    expectCreateToFail(configuration);
    const std::vector<LogLine> lines = TestHost::drain();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].category, category);
    EXPECT_EQ(lines[0].level, errorLevel);
    EXPECT_EQ(lines[0].text, "<" + std::string(category) + "> " + line);
  }
};

TEST_F(CreateTest, AnswersItsVersionsWithoutAnObject) {
  EXPECT_EQ(session->entryPoints().apiVersion(), 4u);
  EXPECT_STREQ(session->entryPoints().productVersion(), "10.15.4.1");
}

TEST_F(CreateTest, SucceedsWithTheLeastConfiguration) {
  EXPECT_TRUE(session->create(R"({"username": "user", "password": "secret"})"));
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
  EXPECT_EQ(session->destroy(), 0);
}

TEST_F(CreateTest, LeavesTheConfigurationToItsOwner) {
  OwnedValue configuration(R"({"username": "user", "password": "secret"})");
  void* object = session->entryPoints().create("MarlovanceCodec", "c1", configuration.get(), nullptr, nullptr);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(toJson(configuration.get()), R"({"password":"secret","username":"user"})");
  EXPECT_EQ(session->entryPoints().destroy(object), 0);
}

TEST_F(CreateTest, KeepsItsNamesWhenTheHostsTextsChange) {
  std::string name = "Codec", chain = "first";
  OwnedValue configuration(leastConfiguration);
  void* object = session->entryPoints().create(name.c_str(), chain.c_str(), configuration.get(), nullptr, nullptr);
  ASSERT_NE(object, nullptr);
  name = "other";
  chain = "other";
  Batch batch({event("Nothing.Known")});
  auto* begin = reinterpret_cast<qel_message*>(batch.messages.data());
  EXPECT_EQ(session->entryPoints().sendBatchTowardsTransport(object, begin,
                                                             reinterpret_cast<qel_message*>(batch.messages.data() + 1)),
            0);
  ASSERT_EQ(TestHost::logs(errorLevel).size(), 1u);
  EXPECT_EQ(TestHost::logs(errorLevel)[0].category, "connectivity.Codec.first");
  EXPECT_EQ(session->entryPoints().destroy(object), 0);
}

TEST_F(CreateTest, AsksForItsLogLevelOnce) {
  TestHost::setLogLevel(errorLevel);
  createPlugin();
  EXPECT_EQ(TestHost::categoriesAsked(), (Texts{category}));
  TestHost::setLogLevel(debugLevel);
  send(event("Nothing.Known"));
  EXPECT_EQ(takeLogs(debugLevel), Texts{});
  EXPECT_EQ(TestHost::categoriesAsked(), (Texts{category}));
}

TEST_F(CreateTest, MakesItsFiveStatusItemsInOrder) {
  createPlugin();
  EXPECT_EQ(TestHost::createdStatusItems(), (KeysAndValues{{"c1.MarlovanceCodec.maxLatencyInLastHourMillis", "0"},
                                                           {"c1.MarlovanceCodec.maxLatencyInLastHourDetails", ""},
                                                           {"c1.MarlovanceCodec.mostRecentSlowRequestDetails", ""},
                                                           {"c1.MarlovanceCodec.requestLatencyEWMAShortMillis", "0"},
                                                           {"c1.MarlovanceCodec.requestLatencyEWMALongMillis", "0"}}));
}

TEST_F(CreateTest, TakesItsStatusItemsWithIt) {
  createPlugin();
  session->destroy();
  EXPECT_TRUE(TestHost::statusItems().empty());
}

TEST_F(CreateTest, LivesBesideAnotherOfTheSameLibrary) {
  createPlugin();
  OwnedValue configuration(leastConfiguration);
  void* second = session->entryPoints().create("MarlovanceCodec", "c2", configuration.get(), nullptr, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(TestHost::statusItems().size(), 10u);
  EXPECT_EQ(session->entryPoints().destroy(second), 0);
  EXPECT_EQ(TestHost::statusItems().size(), 5u);
}

TEST_F(CreateTest, LogsTheConfigurationInForce) {
  TestHost::setLogLevel(infoLevel);
  createPlugin();
  EXPECT_EQ(takeLogs(infoLevel),
            (Texts{"Marlovance transport is batching measurements with a maximum batch size of 9223372036854775807",
                   "Using full concurrency"}));
}

TEST_F(CreateTest, FailsWithoutACredential) {
  expectRefusal("{}", "Exception from create: MarlovanceCodec missing required configuration element password");
  expectRefusal(R"({"password": "secret"})",
                "Exception from create: MarlovanceCodec missing required configuration element username");
}

TEST_F(CreateTest, FailsOnAKeyThatItDoesNotKnow) {
  expectRefusal(R"({"username": "user", "password": "secret", "user": "x"})",
                "Exception from create: Unknown configuration element user in MarlovanceCodec");
}

TEST_F(CreateTest, FailsOnAKeyThatIsABorrowedString) {
  expectRefusal(R"({"$entries": [["username", "user"], [{"$borrowed": "password"}, "secret"]]})",
                "Exception from create: MarlovanceCodec missing required configuration element password");
}

TEST_F(CreateTest, KnowsABorrowedKeyOnceTheHostHasMadeItOwned) {
  TestHost::copyBorrowedStringsAsOwned(true);
  EXPECT_TRUE(
      session->create(R"({"$entries": [["username", "user"], [{"$borrowed": "password"}, {"$borrowed": "secret"}]]})"));
}

TEST_F(CreateTest, FailsOnAValueOfAnotherType) {
  expectRefusal(R"({"username": "user", "password": 1})",
                "Exception from create: MarlovanceCodec configuration password must be a string");
  expectRefusal(R"({"username": "user", "password": "secret", "maxBatchSize": "5x"})",
                "Exception from create: MarlovanceCodec configuration maxBatchSize must be an integer");
  expectRefusal(R"({"username": "user", "password": "secret", "isMultitenantIsolation": "yes"})",
                "Exception from create: MarlovanceCodec configuration isMultitenantIsolation must be a boolean");
  expectRefusal(R"({"username": "user", "password": "secret", "concurrencyMode": "never"})",
                "Exception from create: MarlovanceCodec configuration concurrencyMode must be always or auto");
}

TEST_F(CreateTest, FailsOnAConfigurationThatIsNoMap) {
  expectRefusal(R"("text")",
                "Exception from create: Incorrect type in get (you asked for map but it's actually string)");
  expectRefusal("[]", "Exception from create: Incorrect type in get (you asked for map but it's actually list)");
  expectRefusal("null", "Exception from create: Get from empty");
}

TEST_F(CreateTest, FailsWhenTheHostRefusesAStatusItem) {
  TestHost::refuseStatusItem("c1.MarlovanceCodec.mostRecentSlowRequestDetails");
  expectRefusal(leastConfiguration,
                "Exception from create: Failed to create status item "
                "'c1.MarlovanceCodec.mostRecentSlowRequestDetails' (ensure the key is unique and that this plug-in has "
                "not been shutdown already)");
  EXPECT_TRUE(TestHost::statusItems().empty());
}

TEST_F(CreateTest, FailsWhenItsStatusItemsExistAlready) {
  createPlugin();
  OwnedValue configuration(leastConfiguration);
  EXPECT_EQ(session->entryPoints().create("MarlovanceCodec", "c1", configuration.get(), nullptr, nullptr), nullptr);
  EXPECT_EQ(takeLogs(errorLevel),
            (Texts{"Exception from create: Failed to create status item "
                   "'c1.MarlovanceCodec.maxLatencyInLastHourMillis' (ensure the key is unique and that this plug-in "
                   "has not been shutdown already)"}));
}

TEST_F(CreateTest, LogsWhatItsConstructorThrows) {
  TestHost::throwFrom(HostCall::qel_create_user_status_item, [] { throw std::runtime_error("x"); });
  expectRefusal(leastConfiguration, "Exception from create: x");
  TestHost::throwFrom(HostCall::qel_create_user_status_item, [] { throw std::bad_alloc(); });
  expectRefusal(leastConfiguration, "Exception from create: std::bad_alloc");
  TestHost::throwFrom(HostCall::qel_create_user_status_item, [] { throw 42; });
  expectRefusal(leastConfiguration, "Unknown exception from create");
}

TEST_F(CreateTest, LetsNothingOutWhenEvenTheLogFails) {
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw std::runtime_error("the log is full"); });
  expectCreateToFail("{}");
  TestHost::throwFrom(HostCall::qel_log_at, [] { throw 42; });
  expectCreateToFail("{}");
}

TEST_F(CreateTest, LetsNothingOutWhenTheLogLevelFails) {
  TestHost::throwFrom(HostCall::qel_get_log_level, [] { throw std::runtime_error("no log"); });
  expectCreateToFail(leastConfiguration);
}

TEST_F(CreateTest, SucceedsAfterAFailure) {
  expectCreateToFail("{}");
  EXPECT_TRUE(session->create(leastConfiguration));
}

TEST_F(CreateTest, DestroysNothingWhenGivenNothing) {
  EXPECT_EQ(session->entryPoints().destroy(nullptr), 0);
}

TEST_F(CreateTest, IsDestroyedThoughTheHostFailsAtEachCall) {
  send(event("com.kelvo.marlovance.Alarm").path("/alarm/alarms").payload(R"({"text": "hot"})"));
  for (const HostCall call : {HostCall::qel_set_user_status_item, HostCall::qel_delete_user_status_item,
                              HostCall::qel_log_at, HostCall::relativeHighResTimeFloat}) {
    TestHost::throwFrom(call, [] { throw 42; });
  }
  EXPECT_EQ(session->destroy(), 0);
  EXPECT_EQ(TestHost::dropStatusItems().size(), 5u);
}

}  // namespace
}  // namespace tests
