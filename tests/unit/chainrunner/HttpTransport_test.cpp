#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "tests/unit/chainrunner/HttpTransportTest.h"
#include "tests/unit/chainrunner/ScriptedServer.h"

namespace chainrunner {
namespace {

using std::chrono::milliseconds;
using tests::Connection;
using tests::Received;
using tests::ScriptedServer;

TEST_F(HttpTransportTest, SendsARequestAndDeliversTheAnswer) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(201, R"({"done":true})");
    return true;
  });
  connect(server.url());
  send(1, "POST", "/things");
  const Answer answer = answerTo(1);
  EXPECT_EQ(answer.status, "201");
  EXPECT_EQ(answer.payload, R"({"done":true})");
  const Received received = server.received().at(0);
  EXPECT_EQ(received.method, "POST");
  EXPECT_EQ(received.path, "/things");
  EXPECT_EQ(received.body, R"({"id":1})");
  EXPECT_NE(received.head.find("\r\nContent-Type: application/json"), std::string::npos);
  EXPECT_NE(received.head.find("\r\nAccept: application/json"), std::string::npos);
}

TEST_F(HttpTransportTest, UsesAConnectionAgain) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "{}");
    return true;
  });
  options.connections = 1;
  connect(server.url());
  for (int i = 0; i < 20; ++i) send(i, "POST", "/a");
  EXPECT_EQ(answerTo(19).status, "200");
  EXPECT_EQ(server.received().size(), 20U);
  EXPECT_EQ(server.connections(), 1);
}

TEST_F(HttpTransportTest, AnswersForAPlatformThatIsNotThere) {
  const Answer answer = get(tests::unusedUrl(), "POST");
  EXPECT_EQ(answer.status, "502 transport/noConnection");
  EXPECT_EQ(record.counts().retries, 2U);
}

TEST_F(HttpTransportTest, DoesNotRetryAgainWhileThePlatformIsAway) {
  options.connections = 1;
  connect(tests::unusedUrl());
  for (int i = 0; i < 10; ++i) send(i, "GET", "/a");
  EXPECT_EQ(answerTo(9).status, "502 transport/noConnection");
  EXPECT_EQ(record.counts().retries, 2U);
  EXPECT_EQ(record.counts().answers.at("502 transport/noConnection"), 10U);
}

// libcurl takes no text of more than 8,000,000 bytes, so the attempt ends before anything is on the wire.
TEST_F(HttpTransportTest, GoesOnAfterAnAttemptThatEndsAtOnce) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "{}");
    return true;
  });
  options.connections = 1;
  connect(server.url());
  const char* const inOrder = R"({"concurrencyControlKey": "k"})";
  send(1, "GET", "/a", inOrder);
  send(2, "GET", "/" + std::string(8'000'001, 'x'), inOrder);
  send(3, "GET", "/b", R"({"concurrencyControlKey": "k", "concurrencyControlFlush": true})");
  send(4, "GET", "/c", inOrder);
  EXPECT_EQ(answerTo(1).status, "200");
  EXPECT_EQ(answerTo(2).status, "502 transport/failed");
  EXPECT_EQ(answerTo(3).status, "200");
  EXPECT_EQ(answerTo(4).status, "200");
  EXPECT_EQ(server.received().size(), 3U);
}

TEST_F(HttpTransportTest, AnswersForAHostThatHasNoAddress) {
  options.retries = 0;
  EXPECT_EQ(get("http://no-such-host.invalid").status, "502 transport/unknownHost");
}

TEST_F(HttpTransportTest, AnswersWhenThePlatformSaysNothingInTime) {
  std::promise<void> over;
  ScriptedServer server([&](const Received&, const Connection&) {
    over.get_future().wait();
    return false;
  });
  options.timeout = milliseconds(50);
  EXPECT_EQ(get(server.url()).status, "504 transport/timeout");
  over.set_value();
}

TEST_F(HttpTransportTest, AnswersWhenThePlatformDribbles) {
  std::atomic<bool> isOver{false};
  ScriptedServer server([&](const Received&, const Connection& connection) {
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
    while (!isOver) {
      connection.send("x");
      std::this_thread::sleep_for(milliseconds(1));
    }
    return false;
  });
  options.timeout = milliseconds(50);
  EXPECT_EQ(get(server.url()).status, "504 transport/timeout");
  isOver = true;
}

TEST_F(HttpTransportTest, AnswersAfterAReset) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.reset();
    return false;
  });
  EXPECT_EQ(get(server.url(), "POST").status, "502 transport/connectionLost");
  EXPECT_EQ(server.received().size(), 1U);
}

TEST_F(HttpTransportTest, AnswersAfterACloseWithoutAnAnswer) {
  ScriptedServer server([](const Received&, const Connection&) { return false; });
  EXPECT_EQ(get(server.url(), "POST").status, "502 transport/connectionLost");
}

TEST_F(HttpTransportTest, AnswersForAnAnswerThatIsNoHttp) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.send("220 mail.example ESMTP\r\n");
    return false;
  });
  EXPECT_EQ(get(server.url()).status, "502 transport/noHttp");
}

TEST_F(HttpTransportTest, AnswersForATruncatedBody) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.send("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 50\r\n\r\n{\"a\":1");
    return false;
  });
  EXPECT_EQ(get(server.url(), "POST").status, "502 transport/truncated");
}

TEST_F(HttpTransportTest, AnswersForABodyThatIsNoJson) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "<html>");
    return true;
  });
  EXPECT_EQ(get(server.url()).status, "502 transport/badBody");
}

TEST_F(HttpTransportTest, AnswersForABodyThatIsTooLong) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "\"" + std::string(5000, 'x') + "\"");
    return true;
  });
  options.maxAnswerBytes = 1000;
  const Answer answer = get(server.url());
  EXPECT_EQ(answer.status, "502 transport/tooLarge");
  EXPECT_EQ(answer.payload,
            R"({"error":"transport/tooLarge","message":"GET /a: the answer is longer than 1000 bytes"})");
}

TEST_F(HttpTransportTest, FollowsNoRedirect) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.send("HTTP/1.1 302 Found\r\nLocation: /b\r\nContent-Length: 0\r\n\r\n");
    return true;
  });
  EXPECT_EQ(get(server.url()).status, "502 transport/redirect");
  EXPECT_EQ(server.received().size(), 1U);
}

TEST_F(HttpTransportTest, TakesTheLastOfSeveralHeads) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.send("HTTP/1.1 103 Early Hints\r\nContent-Type: text/x\r\n\r\n");
    connection.answer(200, "{}");
    return true;
  });
  const Answer answer = get(server.url());
  EXPECT_EQ(answer.status, "200");
  EXPECT_EQ(answer.payload, "{}");
}

TEST_F(HttpTransportTest, PutsNothingOfARefusedRequestOnTheWire) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "{}");
    return true;
  });
  connect(server.url());
  send(1, "GET", "//other/x");
  const Answer answer = answerTo(1);
  EXPECT_EQ(answer.status, "400 transport/refused");
  EXPECT_EQ(answer.payload,
            R"({"error":"transport/refused","message":"The path \"//other/x\" names a host; nothing was sent"})");
  EXPECT_EQ(server.connections(), 0);
}

TEST_F(HttpTransportTest, PutsNoPathOnTheWireThatLeavesThePlatform) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "{}");
    return true;
  });
  connect(server.url() + "/tenant");
  std::int64_t id = 0;
  for (const std::string path :
       {"//other", "http://other/", "https:other", "other", "@other/", ":80/", "/\\other", "/..", "/a/../../b",
        "/%2e%2E/b", "/a%2f..%2Fb", "/a\\..\\b", "/a/..;x", "/a\r\nHost: other", "/a\tb", "/a\x7f", ""}) {
    send(++id, "GET", path);
    EXPECT_EQ(answerTo(id).status, "400 transport/refused") << path;
  }
  EXPECT_EQ(server.connections(), 0);
}

TEST_F(HttpTransportTest, LetsAMessageWithoutAnIdEndHere) {
  connect(tests::unusedUrl());
  map_t metadata;
  metadata[data_t("qel.controlObject")] = true;
  Message control(data_t(), std::move(metadata));
  EXPECT_EQ(HttpTransport::sendBatch(transport.get(), &control, &control + 1), 0);
  transport->waitUntilIdle();
  EXPECT_EQ(record.counts().requests, 0U);
}

TEST_F(HttpTransportTest, GivesExactlyOneAnswerPerRequestAmongFailures) {
  std::atomic<int> count{0};
  ScriptedServer server([&](const Received&, const Connection& connection) {
    switch (count++ % 5) {
      case 0:
        connection.reset();
        return false;
      case 1:
        return false;
      case 2:
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc");
        return false;
      default:
        connection.answer(200, "{}");
        return true;
    }
  });
  options.inFlight = 20;
  connect(server.url());
  for (int i = 0; i < 300; ++i) send(i, i % 2 ? "POST" : "GET", "/a");
  for (int i = 0; i < 300; ++i) EXPECT_EQ(answersTo(i).size(), 1U) << i;
}

}  // namespace
}  // namespace chainrunner
