#pragma once

#include "parsers/parser.h"

namespace com::tallowmere::connectivity::plugins {

/// For resources that need no reshaping: only the timestamps become seconds. [response thread]
map_t genericParser(map_t&& document, Time& time, const DataConstants& constants);

}  // namespace com::tallowmere::connectivity::plugins
