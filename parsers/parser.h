#pragma once

#include "codec/DataConstants.h"
#include "connectivity/map_t.h"

namespace com::tallowmere::connectivity::plugins {

class Time;

/// Turns a document of the platform into an event payload, in place. Throws std::runtime_error for a field of a wrong
/// type; the document is then half reshaped. [response thread]
using Parser = map_t (*)(map_t&& document, Time& time, const DataConstants& constants);

}  // namespace com::tallowmere::connectivity::plugins
