// One side of the codec workloads: something that translates events into requests and answers into events, between two
// stubs that take what they are given and destroy it.
#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "benchmarks/codec/inputs.h"

namespace benchmarks {

/// What the stubs saw.
struct Received {
  std::vector<std::int64_t> requestIds;  ///< of the requests since the last clear
  std::uint64_t events = 0;
  bool isRecording = false;
  std::vector<nlohmann::json> contents;  ///< of requests and events, in order, when recording

  /// Records the content of a message without what the clock gave.
  void record(nlohmann::json metadata, nlohmann::json payload);
};

/// How both sides are configured.
inline constexpr const char* configuredUser = "user";
inline constexpr const char* configuredPassword = "secret";
inline constexpr const char* configuredAuthorization = "Basic dXNlcjpzZWNyZXQ=";
inline constexpr const char* configuredApplicationKey = "key-of-the-application";

/// What stands in for a converted time in the variants without ICU.
inline constexpr const char16_t* stubbedTimeText = u"2020-09-13T12:26:40.250Z";
inline constexpr double stubbedTimeMillis = 1600000000250.0;

class Side {
 public:
  virtual ~Side() = default;

  /// Makes messages ready for the next send; not measured.
  virtual void load(const std::vector<MessageText>& texts) = 0;

  /// Send all that was loaded as one batch.
  virtual void sendTowardsTransport() = 0;
  virtual void sendTowardsHost() = 0;

  /// Destroys what is left of the batch; not measured.
  virtual void unload() = 0;

  Received received;
};

/// The built plug-in, or the one in which ICU's conversions are stubbed.
std::unique_ptr<Side> makePluginSide(bool isTimeStubbed);

/// The same translation by hand.
std::unique_ptr<Side> makeBoostJsonSide(bool isTimeStubbed);
std::unique_ptr<Side> makeNlohmannSide(bool isTimeStubbed);

}  // namespace benchmarks
