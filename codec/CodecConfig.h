#pragma once

#include <cstdint>
#include <string>

#include "connectivity/Logger.h"
#include "connectivity/hashed_key.h"

namespace com::tallowmere::connectivity::plugins {

using namespace com::tallowmere::connectivity10_15_4;

/// The codec's configuration: read once, immutable afterwards, shared by all threads.
struct CodecConfig {
  /// Reads the configuration map and the environment variables Q4V_BASEURL and Q4V_MICROSERVICE_ISOLATION. Throws
  /// std::runtime_error with the texts of `extractConfiguration`, label "MarlovanceCodec".
  CodecConfig(const map_t& configuration, const Logger& logger);

  /// The channel value with the configured prefix in front. Without a prefix the value passes unchanged, whatever its
  /// type; otherwise it must be a string: std::runtime_error "Incorrect type in get (...)".
  data_t prefixNotificationChannel(data_t channel) const;
  data_t prefixQueryChannel(data_t channel) const;

  /// The address as it is if it holds a ":", otherwise with the scheme and ":" in front.
  std::string normaliseAddress(const std::string& text) const;

  std::string smsAddressScheme = "tel";
  hashed_key genericResponseBodyMap{""};
  std::int64_t maxBatchSize = 0;               ///< -1 for no limit
  std::int64_t latencySecsSlowThreshold = 0;   ///< seconds; 0 is off
  std::int64_t latencySecsLogThreshold = 0;    ///< seconds; 0 is off
  std::int64_t batchLatencySecsThreshold = 0;  ///< seconds; 0 is off
  data_t authorization{""};                    ///< the finished header value
  data_t appKey{""};
  std::string smsSenderName;
  data_t smsSenderAddress{""};
  std::string tenantId;
  std::string notificationsChannelPrefix;
  std::string queryResponsesChannelPrefix;
  bool isMultitenantIsolation = false;
  bool automaticConcurrency = false;
};

/// "Basic " and the base64 form of `username`:`password`.
std::string basicAuthorization(const std::string& username, const std::string& password);

}  // namespace com::tallowmere::connectivity::plugins
