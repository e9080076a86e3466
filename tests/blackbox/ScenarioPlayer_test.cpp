// The player must see every difference. It plays against a plug-in that passes everything on as it is, so that what a
// scenario sends is what it has to expect.
#include "tests/blackbox/ScenarioPlayer.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tests/blackbox/BlackboxTest.h"

namespace tests {
namespace {

Texts play(std::string_view steps) {
  return ScenarioPlayer(R"({"why": "a test", "configuration": {}, "steps": )" + std::string(steps) + "}",
                        PLUGIN_PASSING_ON)
      .play();
}

TEST(ScenarioPlayerTest, FindsNothingWhereAllIsAsExpected) {
  EXPECT_EQ(play(R"([
      {"event": {"type": "T", "path": "/p", "http": {"method": "GET"}, "metadata": {"requestId": 7}, "payload": {"a": 1}}},
      {"expectRequest": {"metadata": {"qel.type": "T", "requestId": 7, "http": {"path": "/p", "method": "GET"}},
                         "payload": {"a": 1}}},
      {"advanceClock": 2.5},
      {"response": {"status": 404, "reason": "Not Found", "contentType": "text/plain", "payload": "no"}},
      {"expectEvents": [{"metadata": {"requestId": 7, "requestSentTime": 1002.5, "contentType": "text/plain",
                                      "http": {"statusCode": 404, "statusReason": "Not Found"}}, "payload": "no"}]}])"),
            Texts{});
}

TEST(ScenarioPlayerTest, ShowsARequestThatIsAnother) {
  EXPECT_EQ(play(R"([{"event": {"type": "T"}}, {"expectRequest": {"metadata": {"qel.type": "U"}}}])"),
            (Texts{"step 2, expectRequest: expected the request\n"
                   "    {\"metadata\":{\"qel.type\":\"U\"},\"payload\":null}\n"
                   "  but it was\n"
                   "    {\"metadata\":{\"qel.type\":\"T\"},\"payload\":null}"}));
}

TEST(ScenarioPlayerTest, ShowsARequestThatIsMissing) {
  EXPECT_EQ(play(R"([{"expectRequest": {}}])"), (Texts{"step 1, expectRequest: no request reached the transport"}));
}

TEST(ScenarioPlayerTest, TellsIntegersFromDoubles) {
  EXPECT_EQ(play(R"([{"event": {"payload": 1}}, {"expectRequest": {"payload": 1.0}}])").size(), 1u);
}

TEST(ScenarioPlayerTest, ShowsEventsThatAreOthersOrTooManyOrTooFew) {
  EXPECT_EQ(play(R"([{"response": {"payload": 1}}, {"expectEvents": []}])").size(), 1u);
  EXPECT_EQ(play(R"([{"expectEvents": [{}]}])").size(), 1u);
  EXPECT_EQ(play(R"([{"response": {"payload": 1, "without": ["requestId", "requestSentTime", "http"]}},
                     {"expectEvents": [{"payload": 2}]}])"),
            (Texts{"step 2, expectEvents: expected the events\n"
                   "    {\"metadata\":{},\"payload\":2}\n"
                   "  but they were\n"
                   "    {\"metadata\":{},\"payload\":1}"}));
}

TEST(ScenarioPlayerTest, ShowsWhatNobodyExpected) {
  EXPECT_EQ(play(R"([{"event": {"payload": 1}}])"),
            (Texts{"the end: requests that nobody expected:\n    {\"metadata\":{},\"payload\":1}"}));
  EXPECT_EQ(play(R"([{"response": {"without": ["requestId", "requestSentTime", "http"]}}])"),
            (Texts{"the end: events that nobody expected:\n    {\"metadata\":{},\"payload\":null}"}));
}

TEST(ScenarioPlayerTest, ShowsLinesThatAreMissing) {
  EXPECT_EQ(play(R"([{"expectLog": {"level": "warn", "lines": ["a * line"]}}])"),
            (Texts{"step 1, expectLog: expected the lines\n    a * line\n  but they were\n    (nothing)"}));
}

TEST(ScenarioPlayerTest, ShowsLinesThatNobodyExpected) {
  qel_log_at("category", warnLevel, "<%s> x", "category");
  EXPECT_EQ(play("[]"), (Texts{"the end: lines of level warn that nobody expected:\n    x"}));
}

TEST(ScenarioPlayerTest, ShowsAStatusThatIsMissingOrAnother) {
  int reporter = 0;
  void* item = qel_create_user_status_item(&reporter, "key", "1");
  EXPECT_EQ(play(R"([{"expectStatus": {"key": "1", "other": "1"}}, {"expectStatus": {"key": "2*"}}])"),
            (Texts{"step 1, expectStatus: there is no status item other",
                   "step 2, expectStatus: expected the status key to be \"2*\" but it was \"1\""}));
  qel_delete_user_status_item(&reporter, item);
}

TEST(ScenarioPlayerTest, MatchesTextsByPattern) {
  EXPECT_EQ(play(R"([{"event": {"payload": ["some text"]}}, {"expectRequest": {"payload": [{"$like": "some *"}]}}])"),
            Texts{});
  EXPECT_EQ(
      play(R"([{"event": {"payload": ["some text"]}}, {"expectRequest": {"payload": [{"$like": "any *"}]}}])").size(),
      1u);
}

TEST(ScenarioPlayerTest, RefusesADescriptionThatItDoesNotUnderstand) {
  EXPECT_THROW(play(R"([{"expectMiracle": {}}])"), std::runtime_error);
  EXPECT_THROW(play(R"([{"event": {"payloads": 1}}])"), std::runtime_error);
  EXPECT_THROW(play(R"([{"response": {"code": 200}}])"), std::runtime_error);
  EXPECT_THROW(ScenarioPlayer(R"({"why": "", "configuration": {}, "step": []})", PLUGIN_PASSING_ON).play(),
               std::runtime_error);
}

TEST(ScenarioPlayerTest, KnowsWhatAPatternMatches) {
  EXPECT_TRUE(matches("", ""));
  EXPECT_TRUE(matches("*", ""));
  EXPECT_TRUE(matches("a*c", "abbc"));
  EXPECT_TRUE(matches("*b*", "abc"));
  EXPECT_FALSE(matches("a*c", "abcd"));
  EXPECT_FALSE(matches("a", ""));
}

}  // namespace
}  // namespace tests
