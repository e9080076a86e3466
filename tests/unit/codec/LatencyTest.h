#pragma once

#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "codec/RequestMetrics.h"
#include "tests/unit/codec/CodecParts.h"

namespace tests {

/// A request in batch 1 as tracking knows it when its response has come, all times in seconds.
class Tracked {
 public:
  explicit Tracked(std::int64_t requestNo) {
    builder.method("GET").path("/p");
    stamp["batchNo"] = 1;
    stamp["requestNo"] = requestNo;
    stamp["batchStartTime"] = 1000.0;
    stamp["individualStartTime"] = 1000.0;
    sent(1000.0);
  }
  Tracked& startedAt(double seconds) { return put("batchStartTime", seconds); }
  Tracked& pageStartedAt(double seconds) { return put("individualStartTime", seconds); }
  Tracked& sent(double seconds) { return metadata("requestSentTime", textOfDouble(seconds)); }
  Tracked& metadata(std::string_view key, std::string_view json) {
    builder.metadata(key, json);
    return *this;
  }
  Tracked& http(std::string_view key, std::string_view json) {
    builder.http(key, json);
    return *this;
  }
  Tracked& without(std::string_view key) {
    builder.without(key);
    return *this;
  }
  Tracked& withoutStamp(const char* key) {
    stamp.erase(key);
    return *this;
  }
  Message message() const { return messageFrom(MessageBuilder(builder).metadata("metrics", textOf(stamp))); }

 private:
  Tracked& put(const char* key, double seconds) {
    stamp[key] = seconds;
    return *this;
  }

  MessageBuilder builder;
  boost::json::object stamp;
};

class LatencyTest : public testing::Test {
 protected:
  void configure(std::string_view options) {
    codec.reset();
    codec.emplace(options);
    openBatch();
  }
  void SetUp() override { configure("{}"); }

  /// A response at that time of the clock.
  void respond(double at, const Tracked& request) {
    TestHost::setClock(at);
    codec->metrics.requestResponded(request.message());
  }
  std::string complaintAboutResponse(double at, const Tracked& request) {
    return thrownBy([&] { respond(at, request); });
  }

  /// The end of a request at that time of the clock, while its batch is open.
  void finish(double at, const Tracked& request) {
    TestHost::setClock(at);
    codec->metrics.requestFinished(request.message());
  }

  std::string status(const char* key) { return TestHost::statusItems().at(key); }

  /// What was published for the key since the beginning of the test.
  Texts published(const char* key) {
    Texts texts;
    for (const auto& [name, text] : TestHost::statusHistory())
      if (name == key) texts.push_back(text);
    return texts;
  }

  std::optional<CodecParts> codec;

 private:
  void openBatch() {
    TestHost::setClock(1000.0);
    codec->metrics.openBatch();
    Message counted;
    codec->metrics.startRequest(counted);
  }
};

}  // namespace tests
