// What the faults look like from the other side of the connection.
#include <boost/asio/error.hpp>
#include <boost/beast/http/error.hpp>
#include <chrono>
#include <thread>

#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class FaultsTest : public PlatformTest {
 protected:
  /// The error that a request ends with in place of an answer.
  boost::system::error_code failureOf(const std::string& method, const std::string& target, std::string body = {}) {
    try {
      Client(platform.url()).request(method, target, std::move(body));
    } catch (const boost::system::system_error& error) {
      return error.code();
    }
    return {};
  }
};

TEST_F(FaultsTest, StatusComesInPlaceOfTheAnswer) {
  platform.addFault({.method = "POST", .status = 503});
  expectError(client.post("/registry/managed-objects", "{}"), 503, "serviceUnavailable",
              "the fault plan answers with this status");
  EXPECT_EQ(platform.counts().at("managed objects"), 0);
  EXPECT_EQ(client.post("/registry/managed-objects", "{}").status, 201);
}

TEST_F(FaultsTest, BodyMayBePlainText) {
  platform.addFault({.status = 502, .body = "Bad gateway"});
  const Received answer = client.get("/alarm/alarms");
  EXPECT_EQ(answer.status, 502);
  EXPECT_EQ(answer.contentType, "text/plain");
  EXPECT_EQ(answer.body, "Bad gateway");
}

TEST_F(FaultsTest, StatusWithoutABodyComesAlone) {
  for (const int status : {204, 304}) {
    platform.addFault({.status = status});
    const Received answer = client.get("/alarm/alarms");
    EXPECT_EQ(answer.status, status);
    EXPECT_EQ(answer.contentType, "");
    EXPECT_EQ(answer.body, "");
  }
}

TEST_F(FaultsTest, BodyIsLeftOutWhereItsStatusHasNone) {
  platform.addFault({.status = 204, .body = "busy"});
  EXPECT_EQ(client.get("/alarm/alarms").body, "");
}

TEST_F(FaultsTest, RequestMayTakeEffectAlthoughItsAnswerIsLost) {
  platform.addFault({.status = 504, .takesEffect = true});
  EXPECT_EQ(client.post("/registry/managed-objects", "{}").status, 504);
  EXPECT_EQ(platform.counts().at("managed objects"), 1);
}

TEST_F(FaultsTest, DelayHoldsTheAnswerBack) {
  platform.addFault({.delay = std::chrono::milliseconds(30)});
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(client.get("/alarm/alarms").status, 200);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST_F(FaultsTest, DelayedRequestDoesNotHoldOthersUp) {
  platform.addFault({.path = "/alarm", .delay = std::chrono::hours(1)});
  client.send("GET /alarm/alarms HTTP/1.1\r\nHost: platform\r\n\r\n");
  while (platform.journal().empty()) std::this_thread::yield();
  EXPECT_EQ(Client(platform.url()).get("/event/events").status, 200);
}

TEST_F(FaultsTest, DribbledAnswerIsWhole) {
  platform.addFault({.dribble = std::chrono::milliseconds(0)});
  const Received answer = client.post("/registry/managed-objects", R"({"name":"Pump"})");
  EXPECT_EQ(answer.status, 201);
  EXPECT_EQ(answer.json().at("name"), "Pump");
  EXPECT_EQ(client.get("/alarm/alarms").status, 200);
}

TEST_F(FaultsTest, TruncatedAnswerEndsInItsBody) {
  platform.addFault({.ending = Ending::Truncated});
  EXPECT_EQ(failureOf("POST", "/registry/managed-objects", "{}"), boost::beast::http::error::partial_message);
  EXPECT_EQ(platform.counts().at("managed objects"), 1);
}

TEST_F(FaultsTest, ResetConnectionGivesNoAnswer) {
  platform.addFault({.ending = Ending::Reset});
  EXPECT_EQ(failureOf("POST", "/registry/managed-objects", "{}"), boost::asio::error::connection_reset);
  EXPECT_EQ(platform.counts().at("managed objects"), 0);
  EXPECT_EQ(platform.requestsServed(), 0u);
}

TEST_F(FaultsTest, ResetMayComeAfterTheEffect) {
  platform.addFault({.ending = Ending::Reset, .takesEffect = true});
  EXPECT_EQ(failureOf("POST", "/registry/managed-objects", "{}"), boost::asio::error::connection_reset);
  EXPECT_EQ(platform.counts().at("managed objects"), 1);
}

TEST_F(FaultsTest, ClosedConnectionGivesNoAnswer) {
  platform.addFault({.ending = Ending::Closed});
  EXPECT_EQ(failureOf("GET", "/alarm/alarms"), boost::beast::http::error::end_of_stream);
}

TEST_F(FaultsTest, GarbageIsNoHttp) {
  platform.addFault({.ending = Ending::Garbage});
  EXPECT_EQ(failureOf("GET", "/alarm/alarms"), boost::beast::http::error::bad_version);
}

TEST_F(FaultsTest, JournalMarksHitsAndMissingAnswers) {
  platform.addFault({.ending = Ending::Closed});
  failureOf("GET", "/alarm/alarms");
  client.get("/alarm/alarms");
  const std::vector<JournalEntry> journal = platform.journal();
  ASSERT_EQ(journal.size(), 2u);
  EXPECT_TRUE(journal[0].fault);
  EXPECT_EQ(journal[0].status, 0);
  EXPECT_FALSE(journal[1].fault);
  EXPECT_EQ(journal[1].status, 200);
}

TEST_F(FaultsTest, ClearedPlanHitsNothing) {
  platform.addFault({.times = 0, .status = 503});
  platform.clearFaults();
  EXPECT_EQ(client.get("/alarm/alarms").status, 200);
  EXPECT_TRUE(platform.faults().empty());
}

TEST_F(FaultsTest, AdminRoutesAreNeverHit) {
  platform.addFault({.times = 0, .status = 503});
  EXPECT_EQ(client.get("/admin/faults").status, 200);
  EXPECT_EQ(client.request("DELETE", "/admin/faults").status, 204);
  EXPECT_EQ(client.get("/alarm/alarms").status, 200);
}

TEST_F(FaultsTest, AdminRoutesAreNeverHitHoweverTheyAreWritten) {
  for (const std::string target : {"/%61dmin/faults", "http://platform/admin/faults"}) {
    platform.addFault({.times = 0, .status = 503, .ending = Ending::Truncated});
    EXPECT_EQ(client.request("DELETE", target).status, 204) << target;
    EXPECT_TRUE(platform.faults().empty()) << target;
  }
}

TEST_F(FaultsTest, PathOfARuleIsComparedWithoutSchemeAndHost) {
  platform.addFault({.path = "/alarm", .status = 503});
  EXPECT_EQ(client.get("http://platform/alarm/alarms").status, 503);
}

TEST_F(FaultsTest, TargetThatIsNoUrlIsHitToo) {
  platform.addFault({.path = "/alarm", .status = 503});
  EXPECT_EQ(client.get("/alarm/%zz").status, 503);
  expectError(client.get("/alarm/%zz"), 400, "badRequest", R"(the request target is no URL: "/alarm/%zz")");
}

}  // namespace
}  // namespace simulator
