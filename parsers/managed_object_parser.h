#pragma once

#include "parsers/parser.h"

namespace com::tallowmere::connectivity::plugins {

/// Reshapes a managed object: reference collections become lists of ids (`childDevices` to `childDeviceIds`), supported
/// lists and the position lose the platform's prefix, what is no number leaves the position for the top level, and the
/// timestamps become seconds. Everything else stays as it came. Throws std::runtime_error for a collection or a
/// position of a wrong shape. [response thread]
map_t managedObjectParser(map_t&& document, Time& time, const DataConstants& constants);

}  // namespace com::tallowmere::connectivity::plugins
