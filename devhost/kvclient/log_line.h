#pragma once

#include <chrono>
#include <string>

#include "devhost/devhost.h"

namespace devhost {

/// The line as standard error shows it, with a newline at the end: "2026-01-31T12:00:00.123Z WARN  category text". The
/// time is UTC. Control characters are shown as escapes, so that a line stays one. [any thread]
std::string renderLine(std::chrono::system_clock::time_point time, const LogLine& line);

}  // namespace devhost
