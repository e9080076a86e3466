#pragma once

#include <string>

#include "connectivity/host_abi.h"

namespace devhost {

/// The value as one line of text for readers: "{a:1,b:[true,x]}"; neither quoted nor escaped. Any depth of nesting.
/// [any thread]
std::string render(const qel_value& value);

}  // namespace devhost
