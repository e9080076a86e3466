#pragma once

#include "parsers/parser.h"

namespace com::tallowmere::connectivity::plugins {

/// Finds a measurement's fragments by their shape, a map of maps of which one holds a "value", and gathers them under
/// "measurements"; the timestamps become seconds. An entry "measurements" that the document has already stays.
/// [response thread]
map_t measurementParser(map_t&& document, Time& time, const DataConstants& constants);

/// Flattens the first series of the first fragment as well: "valueFragment", "valueSeries", "value", "unit", and
/// "params" for the rest of the series. Fields of the document win. All other fragments and series are dropped;
/// "measurements" stays, empty. Throws std::runtime_error when the fragment's first entry is no map. [response thread]
map_t measurementFragmentParser(map_t&& document, Time& time, const DataConstants& constants);

}  // namespace com::tallowmere::connectivity::plugins
