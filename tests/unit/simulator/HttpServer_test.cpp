#include "simulator/HttpServer.h"

#include <gtest/gtest.h>

#include <boost/system/system_error.hpp>
#include <memory>
#include <thread>
#include <vector>

#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class HttpServerTest : public PlatformTest {
 protected:
  static std::string getLine(const std::string& target, const std::string& more = "") {
    return "GET " + target + " HTTP/1.1\r\nHost: platform\r\nAuthorization: " + std::string(authorization) + "\r\n" +
           more + "\r\n";
  }
};

TEST_F(HttpServerTest, ListensOnAPortThatTheSystemGives) {
  EXPECT_TRUE(platform.url().starts_with("http://127.0.0.1:"));
  EXPECT_NE(platform.url(), "http://127.0.0.1:0");
}

TEST_F(HttpServerTest, RefusesAnAddressThatIsTaken) {
  const std::string port = platform.url().substr(platform.url().rfind(':') + 1);
  try {
    const Simulator second(Options{.port = static_cast<std::uint16_t>(std::stoi(port))});
    FAIL() << "listens on a port that is taken";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(error.what(), "can't listen on 127.0.0.1:" + port + ": Address already in use");
  }
}

TEST_F(HttpServerTest, RefusesAnAddressThatIsNone) {
  try {
    const Simulator second(Options{.address = "somewhere"});
    FAIL() << "listens on an address that is none";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "can't listen on somewhere:0: Invalid argument");
  }
}

TEST_F(HttpServerTest, AnswersPipelinedRequestsInOrder) {
  client.send(getLine("/first") + getLine("/second") + getLine("/third"));
  EXPECT_NE(client.receive().body.find("/first"), std::string::npos);
  EXPECT_NE(client.receive().body.find("/second"), std::string::npos);
  EXPECT_NE(client.receive().body.find("/third"), std::string::npos);
}

TEST_F(HttpServerTest, ReadsARequestThatComesByteByByte) {
  for (const char byte : getLine("/nowhere")) client.send(std::string(1, byte));
  EXPECT_EQ(client.receive().status, 404);
}

TEST_F(HttpServerTest, ReadsChunkedBodies) {
  client.send(
      "POST /registry/managed-objects HTTP/1.1\r\nHost: platform\r\nAuthorization: " + std::string(authorization) +
      "\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n"
      "8\r\n{\"name\":\r\n7\r\n\"Pump\"}\r\n0\r\n\r\n");
  EXPECT_EQ(client.receive().json().at("name"), "Pump");
}

TEST_F(HttpServerTest, TellsAWaitingClientToContinue) {
  client.send(
      "POST /registry/managed-objects HTTP/1.1\r\nHost: platform\r\nAuthorization: " + std::string(authorization) +
      "\r\nContent-Type: application/json\r\nContent-Length: 2\r\nExpect: 100-continue\r\n\r\n");
  EXPECT_EQ(client.receive().status, 100);
  client.send("{}");
  EXPECT_EQ(client.receive().status, 201);
}

TEST_F(HttpServerTest, ClosesWhenTheClientAsksForIt) {
  client.send(getLine("/nowhere", "Connection: close\r\n"));
  EXPECT_TRUE(client.receiveRest().starts_with("HTTP/1.1 404 Not Found\r\n"));
}

TEST_F(HttpServerTest, AnswersWhatIsNoHttpAndCloses) {
  client.send("this is no request\r\n\r\n");
  expectError(client.receive(), 400, "badRequest", "bad version");
  EXPECT_EQ(client.receiveRest(), "");
}

TEST_F(HttpServerTest, AnswersATargetThatIsNoUrl) {
  expectError(client.get("/a%zz"), 400, "badRequest", R"(the request target is no URL: "/a%zz")");
}

TEST_F(HttpServerTest, AcceptsAWholeUrlAsTarget) {
  EXPECT_EQ(client.get("http://platform/alarm/alarms").json().at("self"),
            boost::json::value(platform.url() + "/alarm/alarms"));
}

TEST_F(HttpServerTest, RefusesLargeHeaders) {
  client.send("GET / HTTP/1.1\r\nX-Large: " + std::string(70'000, 'x'));
  expectError(client.receive(), 431, "headersTooLarge", "header limit exceeded");
}

class SmallBodyTest : public ::testing::Test {
 protected:
  Simulator platform{Options{.bodyLimit = 100}};
  Client client{platform.url()};
};

TEST_F(SmallBodyTest, RefusesABodyAboveTheLimit) {
  const Received answer =
      client.post("/registry/managed-objects", "{\"name\":\"" + std::string(1'000'000, 'x') + "\"}");
  EXPECT_EQ(answer.status, 413);
  EXPECT_EQ(answer.json().at("message"), "body limit exceeded");
  EXPECT_EQ(client.receiveRest(), "");
}

TEST_F(SmallBodyTest, TakesABodyOfTheLimit) {
  EXPECT_EQ(client.post("/registry/managed-objects", "{}" + std::string(98, ' ')).status, 201);
}

TEST_F(HttpServerTest, ServesSeveralClientsAtOnce) {
  const std::string source = device();
  std::vector<std::thread> clients;
  for (int number = 0; number < 8; ++number) {
    clients.emplace_back([&, number] {
      Client own(platform.url());
      for (int count = 0; count < 50; ++count) {
        EXPECT_EQ(own.post("/event/events", eventOf(source)).status, 201);
        EXPECT_EQ(own.post("/alarm/alarms", alarmOf(source, "type " + std::to_string(number))).status, 201);
      }
    });
  }
  while (platform.requestsServed() < 100) std::this_thread::yield();
  for (std::thread& one : clients) one.join();
  EXPECT_EQ(platform.counts().at("events"), 400);
  EXPECT_EQ(platform.counts().at("alarms"), 8);
  EXPECT_EQ(platform.requestsServed(), 801u);
  EXPECT_EQ(platform.journal().size(), 801u);
}

TEST(HttpServerLifeTest, EndClosesConnections) {
  auto platform = std::make_unique<Simulator>(Options{});
  Client idle(platform->url());
  EXPECT_EQ(idle.get("/alarm/alarms").status, 200);
  platform.reset();
  EXPECT_THROW(idle.get("/alarm/alarms"), boost::system::system_error);
}

TEST(HttpServerLifeTest, EndDoesNotWaitForSlowAnswers) {
  auto platform = std::make_unique<Simulator>(Options{});
  platform->addFault({.delay = std::chrono::hours(1)});
  Client waiting(platform->url());
  waiting.send("GET / HTTP/1.1\r\nHost: platform\r\n\r\n");
  while (platform->journal().empty()) std::this_thread::yield();
  platform.reset();
  EXPECT_EQ(waiting.receiveRest(), "");
}

}  // namespace
}  // namespace simulator
