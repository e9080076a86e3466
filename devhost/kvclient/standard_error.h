#pragma once

#include <string_view>

namespace devhost {

/// Writes `text` to standard error, unbuffered and in one piece as far as the system takes it. A failure is ignored:
/// there is nowhere else to tell. [any thread]
void writeStandardError(std::string_view text) noexcept;

}  // namespace devhost
