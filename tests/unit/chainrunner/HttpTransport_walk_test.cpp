// Requests that are sent while an answer is taken: the pages of a walk.
#include "devhost/devhost.h"
#include "tests/unit/chainrunner/HttpTransportTest.h"
#include "tests/unit/chainrunner/ScriptedServer.h"

namespace chainrunner {
namespace {

using tests::Connection;
using tests::Received;
using tests::ScriptedServer;

class HttpTransportWalkTest : public HttpTransportTest {
 protected:
  HttpTransportWalkTest() {
    devhost::setLogSink([this](const devhost::LogLine& line) { logged.push_back(line.text); });
  }
  ~HttpTransportWalkTest() override {
    transport.reset();
    devhost::setLogSink({});
  }

  static bool answerWithAPage(const Received&, const Connection& connection) {
    connection.answer(200, R"({"alarms": [1, 2], "statistics": {}})");
    return true;
  }

  static constexpr const char* walker = R"({"qel.type": "com.kelvo.marlovance.FindAlarm", "reqId": 7})";
  std::vector<std::string> logged;
  ScriptedServer server{answerWithAPage};
};

TEST_F(HttpTransportWalkTest, EndsAfterAsManyPagesAsItMayHave) {
  options.pagesPerWalk = 3;
  atAnswer = [this](std::int64_t page) {
    if (page < 4) send(page + 1, "GET", "/a/" + std::to_string(page + 1), walker);
  };
  connect(server.url());
  send(1, "GET", "/a/1", walker);
  const Answer last = answerTo(4);
  EXPECT_EQ(last.status, "400 transport/tooManyPages");
  EXPECT_EQ(last.payload, R"({"error":"transport/tooManyPages",)"
                          R"("message":"GET /a/4: the walk may not have more than 3 pages; nothing was sent"})");
  EXPECT_EQ(server.received().size(), 3U);
  EXPECT_TRUE(transport->walksInProgress().empty());
}

TEST_F(HttpTransportWalkTest, BoundsEachWalkByItself) {
  options.pagesPerWalk = 2;
  atAnswer = [this](std::int64_t page) {
    if (page % 10 == 1) send(page + 1, "GET", "/a", walker);
  };
  connect(server.url());
  for (const std::int64_t walk : {0, 10, 20}) send(walk + 1, "GET", "/a", walker);
  for (const std::int64_t walk : {0, 10, 20}) EXPECT_EQ(answerTo(walk + 2).status, "200");
}

TEST_F(HttpTransportWalkTest, DoesNotBoundRequestsThatFollowEachOther) {
  options.pagesPerWalk = 1;
  connect(server.url());
  for (std::int64_t id = 1; id <= 3; ++id) {
    send(id, "GET", "/a", walker);
    EXPECT_EQ(answerTo(id).status, "200");
  }
}

TEST_F(HttpTransportWalkTest, WarnsOfAPageThatIsAskedForAgainAndAgain) {
  atAnswer = [this](std::int64_t page) {
    if (page < 5) send(page + 1, "GET", "/a", walker);
  };
  connect(server.url());
  send(1, "GET", "/a", walker);
  EXPECT_EQ(answerTo(5).status, "200");
  EXPECT_EQ(logged, std::vector<std::string>{"FindAlarm 7 asks for the same page for the third time in a row: GET /a"});
}

TEST_F(HttpTransportWalkTest, ShowsPageAndElementsWhileItGoesOn) {
  std::vector<std::string> seen;
  atAnswer = [&](std::int64_t page) {
    if (page < 3) send(page + 1, "GET", "/a/" + std::to_string(page), walker);
    for (const WalkProgress& walk : transport->walksInProgress())
      seen.push_back(walk.name + ", " + std::to_string(walk.page) + ", " + std::to_string(walk.elements));
  };
  connect(server.url());
  send(1, "GET", "/a", walker);
  answerTo(3);
  EXPECT_EQ(seen, (std::vector<std::string>{"FindAlarm 7, 2, 2", "FindAlarm 7, 3, 4", "FindAlarm 7, 3, 4"}));
  EXPECT_TRUE(transport->walksInProgress().empty());
}

}  // namespace
}  // namespace chainrunner
