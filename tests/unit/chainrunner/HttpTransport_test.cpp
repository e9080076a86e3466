#include "chainrunner/HttpTransport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <map>
#include <mutex>
#include <set>

#include "chainrunner/json_reader.h"
#include "chainrunner/json_writer.h"
#include "tests/unit/chainrunner/ScriptedServer.h"

namespace chainrunner {
namespace {

using std::chrono::milliseconds;
using tests::Connection;
using tests::Received;
using tests::ScriptedServer;

/// An answer that came back: its status with the transport's word for a failure, and its payload as JSON.
struct Answer {
  std::string status, payload;
};

class HttpTransportTest : public testing::Test {
 protected:
  HttpTransportTest() {
    options.timeout = milliseconds(10'000);
    options.retryDelay = milliseconds(1);
    options.proxies = false;
  }

  void connect(const std::string& platform) {
    options.platform = platform;
    transport = std::make_unique<HttpTransport>(
        options, [this](Message& answer) { take(answer); }, record);
  }

  void send(std::int64_t id, const char* method, const std::string& path, const char* hints = "{}") {
    map_t metadata = std::move(readJson(hints).get<map_t>());
    metadata[data_t("requestId")] = id;
    map_t http;
    http[data_t("method")] = method;
    http[data_t("path")] = path;
    metadata[data_t("http")] = std::move(http);
    map_t body;
    body[data_t("id")] = id;
    Message message(data_t(std::move(body)), std::move(metadata));
    EXPECT_EQ(HttpTransport::sendBatch(transport.get(), &message, &message + 1), 0);
    EXPECT_TRUE(message.getPayload().empty() && message.getMetadataMap().empty()) << "the contents were not taken";
  }

  /// The answers to request `id`, after all is done.
  std::vector<Answer> answersTo(std::int64_t id) {
    transport->waitUntilIdle();
    const std::lock_guard lock(mutex);
    return answers[id];
  }

  /// The one answer to request `id`.
  Answer answerTo(std::int64_t id) {
    const auto all = answersTo(id);
    EXPECT_EQ(all.size(), 1U);
    return all.empty() ? Answer{} : all.front();
  }

  /// Sends one GET and gives its answer.
  Answer get(const std::string& platform, const char* method = "GET") {
    connect(platform);
    send(1, method, "/a");
    return answerTo(1);
  }

  std::function<void(std::int64_t)> atAnswer = [](std::int64_t) {};
  TransportOptions options;
  RunRecord record;
  std::unique_ptr<HttpTransport> transport;

 private:
  void take(Message& message) {
    const std::int64_t id = message.getMetadataMap().at(data_t("requestId")).get<std::int64_t>();
    const Message taken(std::move(message));
    {
      const std::lock_guard lock(mutex);
      answers[id].push_back({answerStatus(taken), toJson(taken.getPayload())});
    }
    atAnswer(id);
  }

  std::mutex mutex;
  std::map<std::int64_t, std::vector<Answer>> answers;
};

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

// ------------------------------------------------------------------------------------------- one answer, always --

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

// --------------------------------------------------------------------------------------------------------- retries --

TEST_F(HttpTransportTest, RepeatsAGetAfterALostConnection) {
  std::atomic<int> count{0};
  ScriptedServer server([&](const Received&, const Connection& connection) {
    if (count++ < 2) return false;
    connection.answer(200, "{}");
    return true;
  });
  EXPECT_EQ(get(server.url()).status, "200");
  EXPECT_EQ(server.received().size(), 3U);
}

TEST_F(HttpTransportTest, GivesUpAfterTheLastRetry) {
  ScriptedServer server([](const Received&, const Connection&) { return false; });
  EXPECT_EQ(get(server.url(), "PUT").status, "502 transport/connectionLost");
  EXPECT_EQ(server.received().size(), 3U);
}

TEST_F(HttpTransportTest, SendsAPostOnceWhenAKeptConnectionDies) {
  // The second request on each connection is read and never answered: libcurl alone would send it again.
  std::atomic<int> count{0};
  ScriptedServer server([&](const Received&, const Connection& connection) {
    if (count++ == 1) return false;
    connection.answer(200, "{}");
    return true;
  });
  options.connections = 1;
  connect(server.url());
  send(1, "POST", "/a");
  EXPECT_EQ(answerTo(1).status, "200");
  send(2, "POST", "/b");
  EXPECT_EQ(answerTo(2).status, "502 transport/connectionLost");
  EXPECT_EQ(server.received().size(), 2U);
}

// -------------------------------------------------------------------------------------------------------- ordering --

TEST_F(HttpTransportTest, KeepsTheRequestsOfAKeyInOrderThroughRetries) {
  std::atomic<int> count{0};
  ScriptedServer server([&](const Received&, const Connection& connection) {
    if (count++ % 3 == 0) return false;
    connection.answer(200, "{}");
    return true;
  });
  options.retries = 50;
  connect(server.url());
  constexpr int keys = 5, perKey = 20;
  for (int i = 0; i < keys * perKey; ++i) {
    const std::string hints = R"({"concurrencyControlKey": "k)" + std::to_string(i % keys) + "\"}";
    send(i, "PUT", "/" + std::to_string(i % keys) + "/" + std::to_string(i), hints.c_str());
  }
  transport->waitUntilIdle();

  std::map<char, int> last;
  for (const Received& received : server.received()) {
    const int number = std::stoi(received.path.substr(3));
    EXPECT_GE(number, last[received.path[1]]) << received.path;
    last[received.path[1]] = number;
  }
  EXPECT_EQ(record.counts().answers.at("200"), static_cast<std::uint64_t>(keys * perKey));
}

TEST_F(HttpTransportTest, RunsRequestsOfDifferentKeysSideBySide) {
  // Each of the two waits until the other has arrived.
  std::promise<void> first, second;
  ScriptedServer server([&](const Received& received, const Connection& connection) {
    const bool isFirst = received.path == "/1";
    (isFirst ? first : second).set_value();
    (isFirst ? second : first).get_future().wait();
    connection.answer(200, "{}");
    return true;
  });
  connect(server.url());
  send(1, "PUT", "/1", R"({"concurrencyControlKey": "a"})");
  send(2, "PUT", "/2", R"({"concurrencyControlKey": "b"})");
  EXPECT_EQ(answerTo(1).status, "200");
  EXPECT_EQ(answerTo(2).status, "200");
}

TEST_F(HttpTransportTest, StartsNothingBehindABarrierBeforeAllBeforeItIsAnswered) {
  std::atomic<int> running{0};
  std::atomic<bool> wasAlone{true};
  ScriptedServer server([&](const Received& received, const Connection& connection) {
    const int others = running++;
    if (received.path == "/barrier" && others > 0) wasAlone = false;
    std::this_thread::sleep_for(milliseconds(2));
    if (received.path == "/barrier" && running > 1) wasAlone = false;
    --running;
    connection.answer(200, "{}");
    return true;
  });
  connect(server.url());
  for (int i = 0; i < 60; ++i) {
    const bool isBarrier = i % 7 == 3;
    send(i, "GET", isBarrier ? "/barrier" : "/" + std::to_string(i),
         isBarrier ? R"({"concurrencyControlFlush": true})" : "{}");
  }
  transport->waitUntilIdle();
  EXPECT_TRUE(wasAlone);
  bool isBehind = false;
  for (const Received& received : server.received()) {
    if (received.path == "/barrier") isBehind = true;
    if (received.path == "/2") {
      EXPECT_FALSE(isBehind);
    }
    if (received.path == "/4") {
      EXPECT_TRUE(isBehind);
    }
  }
}

// ------------------------------------------------------------------------------------------------------ the threads --

TEST_F(HttpTransportTest, HoldsTheSenderWhileTooMuchIsInFlight) {
  std::atomic<bool> mayAnswer{false};
  ScriptedServer server([&](const Received&, const Connection& connection) {
    while (!mayAnswer) std::this_thread::sleep_for(milliseconds(1));
    connection.answer(200, "{}");
    return true;
  });
  options.inFlight = 3;
  connect(server.url());
  std::atomic<int> sent{0};
  std::thread sender([&] {
    for (int i = 0; i < 10; ++i) {
      send(i, "GET", "/a");
      ++sent;
    }
  });
  while (sent < 3) std::this_thread::sleep_for(milliseconds(1));
  std::this_thread::sleep_for(milliseconds(20));
  EXPECT_EQ(sent, 3);
  EXPECT_EQ(transport->inFlight(), 3U);
  mayAnswer = true;
  sender.join();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(answerTo(i).status, "200");
}

TEST_F(HttpTransportTest, NeverHoldsTheDeliveryThread) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "{}");
    return true;
  });
  options.inFlight = 1;
  // Every answer to a low id sends two further requests, as a walk over pages does.
  atAnswer = [this](std::int64_t id) {
    if (id >= 8) return;
    send(2 * id, "GET", "/page");
    send(2 * id + 1, "GET", "/page");
  };
  connect(server.url());
  send(1, "GET", "/page");
  for (int id = 1; id < 16; ++id) EXPECT_EQ(answersTo(id).size(), 1U) << id;
}

TEST_F(HttpTransportTest, DeliversOnNoThreadThatSends) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "{}");
    return true;
  });
  std::mutex mutex;
  std::set<std::thread::id> deliverers;
  atAnswer = [&](std::int64_t) {
    const std::lock_guard lock(mutex);
    deliverers.insert(std::this_thread::get_id());
  };
  connect(server.url());
  for (int i = 0; i < 50; ++i) send(i, "GET", i % 2 ? "/a" : "//refused");
  transport->waitUntilIdle();
  EXPECT_EQ(deliverers.size(), 1U);
  EXPECT_EQ(deliverers.count(std::this_thread::get_id()), 0U);
}

TEST_F(HttpTransportTest, CancelAnswersAllAndFreesTheSender) {
  std::promise<void> over;
  const std::shared_future<void> isOver = over.get_future().share();
  ScriptedServer server([&](const Received&, const Connection&) {
    isOver.wait();
    return false;
  });
  options.inFlight = 4;
  connect(server.url());
  std::thread sender([&] {
    for (int i = 0; i < 10; ++i) send(i, "GET", "/a");
  });
  while (server.received().empty()) std::this_thread::sleep_for(milliseconds(1));
  transport->cancel();
  sender.join();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(answerTo(i).status, "503 transport/cancelled") << i;
  over.set_value();
}

}  // namespace
}  // namespace chainrunner
