// Timestamps of the platform's documents: ISO 8601 text with an offset or Z.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

using Moment = std::chrono::sys_time<std::chrono::milliseconds>;

/// Reads "2024-05-01T12:00:00.250+02:00": date, "T", time of day with any number of decimals or none, and "Z",
/// "+hh:mm", "+hhmm" or "+hh". Digits beyond milliseconds are cut. Nothing when the text is anything else, or a day
/// that no calendar has. [any thread]
std::optional<Moment> parseTimestamp(std::string_view text);

/// Writes "2024-05-01T10:00:00.250Z". [any thread]
std::string formatTimestamp(Moment moment);

}  // namespace simulator
