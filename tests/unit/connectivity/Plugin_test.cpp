// The family below the entry points: Plugin, AbstractCodec and the remote sides.
#include "connectivity/Plugin.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "connectivity/AbstractCodec.h"
#include "connectivity/remote_sides.h"
#include "tests/support/TestHost.h"
#include "tests/unit/connectivity/failure.h"
#include "tests/unit/connectivity/made_values.h"

namespace tests {
namespace {

using product::createPluginParams;
using product::HostSide;
using product::map_t;
using product::Message;
using product::RemoteHostSide;
using product::RemoteTransportSide;
using product::TransportSide;

createPluginParams parameters(map_t config = {}, void* statusReporterHandle = nullptr, void* chainHandle = nullptr) {
  return {"c1", "MarlovanceCodec", std::move(config), statusReporterHandle, chainHandle};
}

/// Shows what a plug-in's own classes see.
class OpenPlugin : public product::Plugin {
 public:
  using Plugin::chainHandle;
  using Plugin::chainId;
  using Plugin::config;
  using Plugin::logger;
  using Plugin::Plugin;
  using Plugin::pluginName;
  using Plugin::statusReporter;
};

TEST(PluginTest, KeepsItsParameters) {
  int chain = 0;
  const createPluginParams params = parameters(mapFromJson(R"({"k": [1]})"), nullptr, &chain);
  const OpenPlugin plugin(params);
  EXPECT_EQ(plugin.pluginName, "MarlovanceCodec");
  EXPECT_EQ(plugin.chainId, "c1");
  EXPECT_EQ(toJson(plugin.config), R"({"k":[1]})");
  EXPECT_EQ(*plugin.chainHandle, &chain);
}

TEST(PluginTest, CopiesTheConfigurationDeeply) {
  createPluginParams params = parameters(mapFromJson(R"({"k": [1]})"));
  const OpenPlugin plugin(params);
  params.config["k"] = "changed";
  EXPECT_EQ(toJson(plugin.config), R"({"k":[1]})");
}

TEST(PluginTest, LogsUnderItsNameAndChain) {
  const OpenPlugin plugin(parameters());
  plugin.logger.warn("line");
  EXPECT_EQ(TestHost::categoriesAsked(), (std::vector<std::string>{"connectivity.MarlovanceCodec.c1"}));
  EXPECT_EQ(TestHost::logs().at(0).category, "connectivity.MarlovanceCodec.c1");
  EXPECT_EQ(TestHost::logs().at(0).text, "<connectivity.MarlovanceCodec.c1> line");
}

TEST(PluginTest, LiesInMemoryInTheOrderOfItsFields) {
  const OpenPlugin plugin(parameters());
  const std::vector<const void*> fields{
      &plugin,        &plugin.pluginName,    &plugin.chainId, &plugin.config, &plugin.chainHandle,
      &plugin.logger, &plugin.statusReporter};
  for (std::size_t index = 1; index < fields.size(); ++index) {
    EXPECT_TRUE(std::less<>()(fields[index - 1], fields[index])) << index;
  }
  static_assert(sizeof plugin.chainHandle == sizeof(void*) && sizeof plugin.statusReporter == sizeof(void*));
}

TEST(PluginTest, DoesNothingAtStartReadyAndShutdown) {
  OpenPlugin plugin(parameters());
  TestHost::forgetCalls();
  plugin.start();
  plugin.hostReady();
  plugin.shutdown();
  for (std::size_t call = 0; call < hostCallCount; ++call) {
    EXPECT_EQ(TestHost::calls(static_cast<HostCall>(call)), 0u) << "host call number " << call;
  }
}

TEST(PluginTest, ReportsStatusThroughTheHandleThatItWasGiven) {
  int handle = 0;
  const OpenPlugin plugin(parameters({}, &handle));
  const auto item = plugin.getStatusReporter()->createStatusItem("key", 1);
  EXPECT_EQ(plugin.getStatusReporter(), plugin.statusReporter.get());
  EXPECT_EQ(TestHost::statusItems(), (std::map<std::string, std::string>{{"key", "1"}}));
}

TEST(PluginTest, RefusesAReporterThatItDoesNotHave) {
  OpenPlugin plugin(parameters());
  plugin.statusReporter.reset();
  EXPECT_EQ(failureOf([&] { return plugin.getStatusReporter(); }),
            "Cannot call getStatusReporter when using the legacy constructor");
}

// ---- remote sides

/// A neighbour that remembers what it was called with.
struct Neighbour {
  Message *begin = nullptr, *end = nullptr;
  int calls = 0;
  int answer = 0;

  static int send(void* self, Message* begin, Message* end) {
    auto& neighbour = *static_cast<Neighbour*>(self);
    neighbour.begin = begin;
    neighbour.end = end;
    ++neighbour.calls;
    return neighbour.answer;
  }
};

TEST(RemoteSideTest, HandsTheBatchOnAsItIs) {
  Message batch[3];
  Neighbour host, transport;
  RemoteHostSide(&host, Neighbour::send).sendBatchTowardsHost(batch, batch + 3);
  RemoteTransportSide(&transport, Neighbour::send).sendBatchTowardsTransport(batch + 1, batch + 2);
  EXPECT_EQ(host.begin, batch);
  EXPECT_EQ(host.end, batch + 3);
  EXPECT_EQ(transport.begin, batch + 1);
  EXPECT_EQ(transport.end, batch + 2);
}

TEST(RemoteSideTest, HandsNullAndEmptyBatchesOn) {
  Message message;
  Neighbour host, transport;
  RemoteHostSide(&host, Neighbour::send).sendBatchTowardsHost(nullptr, nullptr);
  RemoteTransportSide(&transport, Neighbour::send).sendBatchTowardsTransport(&message, &message);
  EXPECT_EQ(host.calls, 1);
  EXPECT_EQ(host.begin, nullptr);
  EXPECT_EQ(transport.calls, 1);
  EXPECT_EQ(transport.begin, &message);
}

TEST(RemoteSideTest, PaysNoHeedToTheAnswer) {
  Message message;
  for (const int answer : {0, 1, -1}) {
    Neighbour host, transport;
    host.answer = transport.answer = answer;
    EXPECT_NO_THROW(RemoteHostSide(&host, Neighbour::send).sendBatchTowardsHost(&message, &message + 1));
    EXPECT_NO_THROW(RemoteTransportSide(&transport, Neighbour::send).sendBatchTowardsTransport(&message, &message + 1));
  }
  EXPECT_TRUE(TestHost::logs().empty());
}

TEST(RemoteSideTest, CallsNobodyWhenItGoes) {
  Neighbour host;
  { const RemoteHostSide side(&host, Neighbour::send); }
  EXPECT_EQ(host.calls, 0);
}

// ---- AbstractCodec

class PlainCodec : public product::AbstractCodec {
 public:
  using AbstractCodec::AbstractCodec;
  using AbstractCodec::hostSide;
  using AbstractCodec::transportSide;
  void sendBatchTowardsHost(Message*, Message*) override {}
  void sendBatchTowardsTransport(Message*, Message*) override {}
};

template <class Side>
class CountedSide : public Side {
 public:
  explicit CountedSide(int& alive) : alive(alive) { ++alive; }
  ~CountedSide() override { --alive; }

 protected:
  int& alive;
};
class CountedHostSide final : public CountedSide<HostSide> {
  using CountedSide::CountedSide;
  void sendBatchTowardsHost(Message*, Message*) override {}
};
class CountedTransportSide final : public CountedSide<TransportSide> {
  using CountedSide::CountedSide;
  void sendBatchTowardsTransport(Message*, Message*) override {}
};

class AbstractCodecTest : public testing::Test {
 protected:
  std::unique_ptr<HostSide> hostSide() { return std::unique_ptr<HostSide>(new CountedHostSide(hostSides)); }
  std::unique_ptr<TransportSide> transportSide() {
    return std::unique_ptr<TransportSide>(new CountedTransportSide(transportSides));
  }

  int hostSides = 0, transportSides = 0;
};

TEST_F(AbstractCodecTest, HasNoNeighboursAtFirst) {
  const PlainCodec codec(parameters());
  EXPECT_EQ(codec.hostSide, nullptr);
  EXPECT_EQ(codec.transportSide, nullptr);
}

TEST_F(AbstractCodecTest, HasItsBasesInOrder) {
  const PlainCodec codec(parameters());
  const void* plugin = static_cast<const product::Plugin*>(&codec);
  const void* host = static_cast<const HostSide*>(&codec);
  const void* transport = static_cast<const TransportSide*>(&codec);
  EXPECT_EQ(plugin, &codec);
  EXPECT_TRUE(std::less<>()(plugin, host));
  EXPECT_TRUE(std::less<>()(host, transport));
}

TEST_F(AbstractCodecTest, TakesItsNeighboursOver) {
  PlainCodec codec(parameters());
  auto host = hostSide();
  auto transport = transportSide();
  const HostSide* const hostAddress = host.get();
  const TransportSide* const transportAddress = transport.get();
  codec.setNextTowardsHost(std::move(host));
  codec.setNextTowardsTransport(std::move(transport));
  EXPECT_EQ(codec.hostSide.get(), hostAddress);
  EXPECT_EQ(codec.transportSide.get(), transportAddress);
  EXPECT_EQ(host, nullptr);
  EXPECT_EQ(transport, nullptr);
}

TEST_F(AbstractCodecTest, DestroysAnEarlierNeighbour) {
  PlainCodec codec(parameters());
  codec.setNextTowardsHost(hostSide());
  codec.setNextTowardsHost(hostSide());
  codec.setNextTowardsTransport(transportSide());
  codec.setNextTowardsTransport(transportSide());
  EXPECT_EQ(hostSides, 1);
  EXPECT_EQ(transportSides, 1);
}

TEST_F(AbstractCodecTest, KeepsANeighbourThatIsAssignedToItself) {
  PlainCodec codec(parameters());
  codec.setNextTowardsHost(hostSide());
  codec.setNextTowardsTransport(transportSide());
  codec.setNextTowardsHost(std::move(codec.hostSide));
  codec.setNextTowardsTransport(std::move(codec.transportSide));
  EXPECT_NE(codec.hostSide, nullptr);
  EXPECT_NE(codec.transportSide, nullptr);
  EXPECT_EQ(hostSides + transportSides, 2);
}

TEST_F(AbstractCodecTest, TakesNullForANeighbour) {
  PlainCodec codec(parameters());
  codec.setNextTowardsHost(hostSide());
  codec.setNextTowardsHost(nullptr);
  EXPECT_EQ(hostSides, 0);
}

TEST_F(AbstractCodecTest, DestroysItsNeighboursWithItself) {
  {
    PlainCodec codec(parameters());
    codec.setNextTowardsHost(hostSide());
    codec.setNextTowardsTransport(transportSide());
  }
  EXPECT_EQ(hostSides + transportSides, 0);
}

TEST_F(AbstractCodecTest, IsDestroyedThroughAnyOfItsBases) {
  std::unique_ptr<product::Plugin> asPlugin(new PlainCodec(parameters(mapFromJson(R"({"k": 1})"))));
  std::unique_ptr<HostSide> asHostSide(new PlainCodec(parameters(mapFromJson(R"({"k": 1})"))));
  std::unique_ptr<TransportSide> asTransportSide(new PlainCodec(parameters(mapFromJson(R"({"k": 1})"))));
  const std::int64_t maps = TestHost::liveBlocks().maps;
  asPlugin.reset();
  asHostSide.reset();
  asTransportSide.reset();
  EXPECT_EQ(maps - TestHost::liveBlocks().maps, 3);
}

}  // namespace
}  // namespace tests
