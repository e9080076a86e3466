#include "chainrunner/Wire.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "chainrunner/http_request.h"
#include "connectivity/plugin_abi.h"
#include "tests/unit/chainrunner/ScriptedServer.h"

namespace chainrunner {
namespace {

using tests::Connection;
using tests::Received;
using tests::ScriptedServer;

class WireTest : public testing::Test {
 protected:
  WireTest() {
    options.connections = 1;
    options.proxies = false;
  }

  /// Sends one request and waits for what comes of it.
  Attempt exchange(const HttpRequest& request) {
    Attempt result;
    bool isDone = false;
    const std::string description = request.method;
    wire.start(1, request, description);
    while (!isDone)
      wire.poll(std::chrono::milliseconds(100), [&](Wire::Id, Attempt attempt) {
        result = std::move(attempt);
        isDone = true;
      });
    return result;
  }

  HttpRequest request(const char* method, const char* path, std::vector<std::string> headers, const char* body) {
    return {method, server.url() + path, std::move(headers), body};
  }

  /// The status, or the transport's word for a failure.
  static std::string outcomeOf(const Attempt& attempt) {
    if (const auto* answer = std::get_if<HttpAnswer>(&attempt.outcome)) return std::to_string(answer->status);
    return std::get<TransportFailure>(attempt.outcome).error;
  }

  /// The head of a request with `line` and `fields`, which begins alike for all.
  std::string headOf(const std::string& line, const std::string& fields) const {
    return line + " HTTP/1.1\r\nHost: " + server.url().substr(7) + "\r\nAccept: */*\r\n" + fields;
  }

  /// The number of the request, from 1, that is read and gets no answer but the end of its connection: what happens to
  /// a client that takes an idle connection in the moment in which the server gives it up.
  std::size_t lost = 0;
  bool closesAfterAnswers = false;
  ScriptedServer server{[this](const Received&, const Connection& connection) {
    if (server.received().size() == lost) return false;
    connection.answer(200, "{}");
    return !closesAfterAnswers;
  }};
  TransportOptions options;
  Wire wire{options};
};

TEST_F(WireTest, KeepsNothingOfARequestForTheNext) {
  exchange(request("POST", "/1", {"X-First: 1", "Content-Type: a/b"}, "first"));
  exchange(request("GET", "/2", {"X-Second: 2"}, ""));
  exchange(request("PUT", "/3?x=1", {"Content-Type: c/d"}, "third, and longer"));
  exchange(request("DELETE", "/4", {}, ""));
  exchange(request("POST", "/5", {"Content-Type: a/b"}, "5"));
  exchange(request("GET", "/5", {}, ""));

  const auto received = server.received();
  ASSERT_EQ(received.size(), 6U);
  EXPECT_EQ(server.connections(), 1);
  const std::string agent = "User-Agent: marlovance-chain/" QEL_PLUGIN_PRODUCT_VERSION;
  EXPECT_EQ(received[0].head, headOf("POST /1", agent + "\r\nX-First: 1\r\nContent-Type: a/b\r\nContent-Length: 5"));
  EXPECT_EQ(received[0].body, "first");
  EXPECT_EQ(received[1].head, headOf("GET /2", agent + "\r\nX-Second: 2"));
  EXPECT_EQ(received[2].head, headOf("PUT /3?x=1", agent + "\r\nContent-Type: c/d\r\nContent-Length: 17"));
  EXPECT_EQ(received[2].body, "third, and longer");
  EXPECT_EQ(received[3].head, headOf("DELETE /4", agent));
  EXPECT_EQ(received[4].head, headOf("POST /5", agent + "\r\nContent-Type: a/b\r\nContent-Length: 1"));
  EXPECT_EQ(received[4].body, "5");
  EXPECT_EQ(received[5].head, headOf("GET /5", agent));
}

TEST_F(WireTest, KeepsNothingOfAnAnswerForTheNext) {
  lost = 2;
  exchange(request("GET", "/a", {}, ""));
  EXPECT_EQ(outcomeOf(exchange(request("POST", "/b", {}, "2"))), "transport/connectionLost");
  const Attempt attempt = exchange(request("POST", "/c", {}, "3"));
  const auto& answer = std::get<HttpAnswer>(attempt.outcome);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.reason, "Scripted");
  EXPECT_EQ(answer.contentType, "application/json");
  EXPECT_EQ(answer.location, "");
  EXPECT_EQ(answer.body, "{}");
}

TEST_F(WireTest, SendsAPostOnceWhenAKeptConnectionDies) {
  lost = 2;
  exchange(request("POST", "/a", {}, "1"));
  const Attempt attempt = exchange(request("POST", "/b", {}, "2"));
  EXPECT_EQ(outcomeOf(attempt), "transport/connectionLost");
  EXPECT_EQ(std::get<TransportFailure>(attempt.outcome).message,
            "POST: The connection was lost, and a POST is not sent a second time");
  EXPECT_FALSE(attempt.mayRepeat);
  EXPECT_FALSE(attempt.nothingSent);
  EXPECT_EQ(server.received().size(), 2U);
}

TEST_F(WireTest, SendsTheNextPostAfterOneThatWasLost) {
  lost = 2;
  for (const char* path : {"/a", "/b"}) exchange(request("POST", path, {}, "1"));
  EXPECT_EQ(outcomeOf(exchange(request("POST", "/c", {}, "3"))), "200");
  EXPECT_EQ(server.received().at(2).path, "/c");
  EXPECT_EQ(server.received().at(2).body, "3");
}

TEST_F(WireTest, RepeatsAPutAsItWasWhenAKeptConnectionDies) {
  lost = 2;
  exchange(request("POST", "/a", {}, "1"));
  EXPECT_EQ(outcomeOf(exchange(request("PUT", "/b?x=1", {}, "2"))), "200");
  const auto received = server.received();
  ASSERT_EQ(received.size(), 3U);
  EXPECT_EQ(received[2].head, received[1].head);
  EXPECT_EQ(received[2].path, "/b?x=1");
  EXPECT_EQ(received[2].body, "2");
}

TEST_F(WireTest, SendsAPostOverANewConnectionWhenTheServerHasClosedTheIdleOne) {
  closesAfterAnswers = true;
  exchange(request("POST", "/a", {}, "1"));
  while (server.closedConnections() < 1) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  EXPECT_EQ(outcomeOf(exchange(request("POST", "/b", {}, "2"))), "200");
  EXPECT_EQ(server.connections(), 2);
  EXPECT_EQ(server.received().size(), 2U);
}

TEST_F(WireTest, SendsALongBodyWholeAndUnannounced) {
  const std::string body(3'000'000, 'x');
  EXPECT_EQ(outcomeOf(exchange(request("POST", "/a", {}, body.c_str()))), "200");
  const Received received = server.received().at(0);
  EXPECT_EQ(received.body, body);
  EXPECT_EQ(received.head.find("Expect"), std::string::npos);
}

TEST_F(WireTest, SendsBodiesOfAllLengthsAlike) {
  const std::string agent = "User-Agent: marlovance-chain/" QEL_PLUGIN_PRODUCT_VERSION;
  const std::size_t lengths[] = {5, 65536, 5, 65535, 65536, 0, 1'048'577, 5};
  for (const char* method : {"POST", "PUT"})
    for (const std::size_t length : lengths)
      EXPECT_EQ(outcomeOf(exchange(
                    request(method, "/a", {"X-Kept: 1", "Content-Type: a/b"}, std::string(length, 'x').c_str()))),
                "200");

  const auto received = server.received();
  ASSERT_EQ(received.size(), 2 * std::size(lengths));
  EXPECT_EQ(server.connections(), 1);
  for (std::size_t i = 0; i < received.size(); ++i) {
    const std::string length = std::to_string(lengths[i % std::size(lengths)]);
    const std::string line = i < std::size(lengths) ? "POST /a" : "PUT /a";
    EXPECT_EQ(received[i].head,
              headOf(line, agent + "\r\nX-Kept: 1\r\nContent-Type: a/b\r\nContent-Length: " + length));
    EXPECT_EQ(received[i].body, std::string(lengths[i % std::size(lengths)], 'x'));
    EXPECT_EQ(received[i].head.find("Expect"), std::string::npos);
  }
}

TEST_F(WireTest, TellsOfItselfUnlessTheRequestDoes) {
  exchange(request("GET", "/a", {"user-agent: mine"}, ""));
  exchange(request("GET", "/a", {}, ""));
  const auto received = server.received();
  EXPECT_EQ(received.at(0).head, headOf("GET /a", "user-agent: mine"));
  EXPECT_EQ(received.at(1).head, headOf("GET /a", "User-Agent: marlovance-chain/" QEL_PLUGIN_PRODUCT_VERSION));
}

}  // namespace
}  // namespace chainrunner
