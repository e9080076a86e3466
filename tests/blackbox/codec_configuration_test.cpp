// The configuration in what it does to a chain.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/blackbox/BlackboxTest.h"
#include "tests/blackbox/codec_events.h"

namespace tests {
namespace {

class CodecConfigurationTest : public BlackboxTest {};

TEST_F(CodecConfigurationTest, StopsTheChainWithOneLineWhenItIsRefused) {
  const std::pair<const char*, const char*> refusals[] = {
      {"{}", "MarlovanceCodec missing required configuration element password"},
      {R"({"password": "p"})", "MarlovanceCodec missing required configuration element username"},
      {R"({"username": "u", "password": "p", "baseUrl": "x"})",
       "Unknown configuration element baseUrl in MarlovanceCodec"},
      {R"({"username": "u", "password": "p", "concurrencyMode": "both"})",
       "MarlovanceCodec configuration concurrencyMode must be always or auto"},
      {R"({"username": "u", "password": "p", "maxBatchSize": "many"})",
       "MarlovanceCodec configuration maxBatchSize must be an integer"},
      {R"({"username": "u", "password": "p", "isMultitenantIsolation": 1})",
       "MarlovanceCodec configuration isMultitenantIsolation must be a boolean"},
      {R"({"username": "u", "password": true})", "MarlovanceCodec configuration password must be a string"},
  };
  for (const auto& [configuration, reason] : refusals) {
    expectCreateToFail(configuration);
    EXPECT_EQ(takeLogs(errorLevel), Texts{std::string("Exception from create: ") + reason});
  }
  EXPECT_TRUE(TestHost::statusItems().empty());
}

TEST_F(CodecConfigurationTest, IsWrittenIntoTheLogWhileThePluginIsCreated) {
  TestHost::setLogLevel(debugLevel);
  createPlugin(R"({"username": "user", "password": "secret", "latencySecsLogThreshold": 0, "maxBatchSize": -5,
                   "concurrencyMode": "AUTO"})");
  EXPECT_EQ(takeLogs(infoLevel),
            (Texts{"Marlovance transport is batching measurements with a maximum batch size of 1024",
                   "Using automatic concurrency"}));
  const Texts debugLines = takeLogs(debugLevel);
  ASSERT_GE(debugLines.size(), 2u);
  EXPECT_TRUE(debugLines[0].starts_with("config: {")) << debugLines[0];
  EXPECT_NE(debugLines[0].find("password:secret"), std::string::npos) << debugLines[0];
  EXPECT_EQ(debugLines[1], "Latency Slow Threshold: 1, Latency Log Threshold: 0, Latency Batch Threshold: 50");
}

TEST_F(CodecConfigurationTest, GivesRequestsTheirCredentials) {
  createPlugin(R"({"username": "ab", "password": "c", "appKey": "app"})");
  send(alarm());
  EXPECT_EQ(takeRequest().http("headers"),
            R"({"X-Marlovance-Application-Key":"app","authorization":"Basic YWI6Yw=="})");
}

TEST_F(CodecConfigurationTest, LeavesAnEmptyApplicationKeyOut) {
  createPlugin(R"({"username": "ab", "password": "c", "appKey": ""})");
  send(alarm());
  EXPECT_EQ(takeRequest().http("headers"), R"({"authorization":"Basic YWI6Yw=="})");
}

TEST_F(CodecConfigurationTest, PutsPrefixAndTenantOnAcknowledgements) {
  createPlugin(R"({"username": "u", "password": "p", "notificationsChannelPrefix": "n.", "tenantId": "t7",
                   "queryResponsesChannelPrefix": "q."})");
  send(awaitedAlarm(1).responseChannel("answers"));
  respond(created(0));
  const Received acknowledgement = takeHostEvents().at(0);
  EXPECT_EQ(acknowledgement.metadata("qel.channel"), R"("n.answers")");
  EXPECT_EQ(acknowledgement.document.at("payload").at("$map"), parseJson(R"({"id": "1", "tenantId": "t7"})"));
}

TEST_F(CodecConfigurationTest, SilencesTheLineOnARefusalByThePlatformAmongManyTenants) {
  for (const bool isolated : {false, true}) {
    createPlugin(std::string(R"({"username": "u", "password": "p", "isMultitenantIsolation": )") +
                 (isolated ? "true}" : "false}"));
    send(alarm());
    respond(created(0).status(422).payload(R"({"message": "no"})"));
    EXPECT_EQ(types(takeHostEvents()), Texts{"com.kelvo.marlovance.Error"});
    EXPECT_EQ(takeLogs(errorLevel).size(), isolated ? 0u : 1u);
    session->destroy();
  }
}

TEST_F(CodecConfigurationTest, DoesNotFollowAChangeOfTheEnvironment) {
  createPlugin(R"({"username": "u", "password": "p", "isMultitenantIsolation": true})");
  environment.set("Q4V_BASEURL", "http://platform");
  send(alarmWithoutBody());
  EXPECT_EQ(takeLogs(errorLevel), Texts{});
}

}  // namespace
}  // namespace tests
