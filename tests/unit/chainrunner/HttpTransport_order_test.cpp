// Retries, order and threads of the transport.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "tests/unit/chainrunner/HttpTransportTest.h"
#include "tests/unit/chainrunner/ScriptedServer.h"

namespace chainrunner {
namespace {

using std::chrono::milliseconds;
using tests::Connection;
using tests::Received;
using tests::ScriptedServer;

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

TEST_F(HttpTransportTest, CancelFreesAllSendersThatWait) {
  std::promise<void> over;
  const std::shared_future<void> isOver = over.get_future().share();
  ScriptedServer server([&](const Received&, const Connection&) {
    isOver.wait();
    return false;
  });
  options.inFlight = 2;
  connect(server.url());
  std::vector<std::thread> senders;
  for (int sender = 0; sender < 5; ++sender)
    senders.emplace_back([this, sender] {
      for (int i = 0; i < 4; ++i) send(sender * 4 + i, "GET", "/a");
    });
  while (server.received().size() < 2) std::this_thread::sleep_for(milliseconds(1));
  transport->cancel();
  for (std::thread& sender : senders) sender.join();
  for (int id = 0; id < 20; ++id) EXPECT_EQ(answerTo(id).status, "503 transport/cancelled") << id;
  over.set_value();
}

TEST_F(HttpTransportTest, AnswersAllOfManySendersInLittleRoom) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "{}");
    return true;
  });
  options.inFlight = 3;
  options.connections = 2;
  connect(server.url());
  constexpr int perSender = 100;
  std::vector<std::thread> senders;
  for (int sender = 0; sender < 6; ++sender)
    senders.emplace_back([this, sender] {
      for (int i = 0; i < perSender; ++i) send(sender * perSender + i, "POST", i % 10 ? "/a" : "//refused");
    });
  for (std::thread& sender : senders) sender.join();
  for (int id = 0; id < 6 * perSender; ++id)
    EXPECT_EQ(answerTo(id).status, id % 10 ? "200" : "400 transport/refused") << id;
}

TEST_F(HttpTransportTest, LetsSendersGoOnWhileWalksTakeMostOfTheRoom) {
  ScriptedServer server([](const Received&, const Connection& connection) {
    connection.answer(200, "{}");
    return true;
  });
  options.inFlight = 4;
  options.connections = 1;
  // Three walks that go on until the last of the sender's requests is answered.
  constexpr std::int64_t last = 10;
  std::atomic<bool> isOver{false};
  std::atomic<std::int64_t> page{1000};
  atAnswer = [&](std::int64_t id) {
    if (id == last) isOver = true;
    if (id >= 1000 && !isOver) send(++page, "GET", "/page/" + std::to_string(page));
  };
  connect(server.url());
  for (int walk = 0; walk < 3; ++walk) send(++page, "GET", "/walk");
  for (std::int64_t id = 1; id <= last; ++id) send(id, "GET", "/a");
  for (std::int64_t id = 1; id <= last; ++id) EXPECT_EQ(answerTo(id).status, "200") << id;
}

}  // namespace
}  // namespace chainrunner
