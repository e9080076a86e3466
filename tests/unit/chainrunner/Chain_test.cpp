// A chain around a plug-in that passes everything on: its events are requests, and answers are its lines.
#include "chainrunner/Chain.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "chainrunner/json_reader.h"
#include "tests/unit/chainrunner/ScriptedServer.h"

namespace chainrunner {
namespace {

using tests::Connection;
using tests::Received;
using tests::ScriptedServer;
using Writes = std::vector<std::string>;

class ChainTest : public testing::Test {
 protected:
  ChainTest() {
    std::setvbuf(out.get(), nullptr, _IONBF, 0);
    file.transport.platform = server.url();
    file.transport.proxies = false;
    file.transport.connections = 1;
  }

  static void send(Chain& chain, int number) {
    const std::string text = std::to_string(number);
    std::vector<Message> batch;
    batch.emplace_back(data_t(), std::move(readJson(R"({"requestId": )" + text +
                                                    R"(, "http": {"method": "GET", "path": "/)" + text + "\"}}")
                                               .get<map_t>()));
    chain.send(batch);
  }

  static std::string line(int number) { return "{\"type\":\"(none)\",\"payload\":" + std::to_string(number) + "}\n"; }

  static ssize_t write(void* self, const char* bytes, std::size_t size) {
    auto& test = *static_cast<ChainTest*>(self);
    test.writes.emplace_back(bytes, size);
    if (test.writes.size() == 1) {
      test.firstIsWritten.set_value();
      while (test.server.received().size() < 4) std::this_thread::yield();
    }
    if (test.writes.size() == 2) test.secondIsWritten.set_value();
    return static_cast<ssize_t>(size);
  }

  Writes writes;  ///< of the delivery thread until the chain is idle
  std::promise<void> firstIsWritten, secondIsWritten;
  // The second answer comes while the first line is being written, and the fourth after the lines behind it.
  ScriptedServer server{[this](const Received& received, const Connection& connection) {
    if (received.path == "/2") firstIsWritten.get_future().wait();
    if (received.path == "/4") secondIsWritten.get_future().wait();
    connection.answer(200, received.path.substr(1));
    return true;
  }};
  ChainFile file = ChainFile::builtIn();
  RunRecord record;
  PluginLibrary library{PLUGIN_PASSING_ON};
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> out{
      fopencookie(this, "w", {nullptr, &ChainTest::write, nullptr, nullptr}), &std::fclose};
};

TEST_F(ChainTest, WritesTheLinesOfAnswersAtHandTogether) {
  Chain chain(library, file, {"user", "secret"}, out.get(), record);
  for (int number = 1; number <= 4; ++number) send(chain, number);
  chain.waitUntilIdle();
  EXPECT_EQ(writes, (Writes{line(1), line(2) + line(3), line(4)}));
}

TEST_F(ChainTest, SendsWhileALineIsBeingWritten) {
  Chain chain(library, file, {"user", "secret"}, out.get(), record);
  send(chain, 1);
  while (record.counts().eventsOut.empty()) std::this_thread::yield();
  // The first line is not written to its end before these are out.
  for (int number = 2; number <= 4; ++number) send(chain, number);
  chain.waitUntilIdle();
  EXPECT_EQ(writes, (Writes{line(1), line(2) + line(3), line(4)}));
}

}  // namespace
}  // namespace chainrunner
