#pragma once

#include "parsers/parser.h"

namespace com::tallowmere::connectivity::plugins {

/// Finds a measurement's fragments by their shape, a map of maps of which one holds a "value", and gathers them under
/// "measurements"; the timestamps become seconds. An entry "measurements" that the document has already stays.
/// [response thread]
map_t measurementParser(map_t&& document, Time& time, const DataConstants& constants);

/// Flattens the first series of the first fragment as well: "valueFragment", "valueSeries", "value", "unit", and
/// "params" for the rest of the series. Fields of the document win. All other fragments and series are dropped;
/// "measurements" stays, empty. Throws std::runtime_error when "measurements" of the document, its first fragment or
/// that one's first series is no map: "Get from empty" for an empty value, otherwise "Incorrect type in get (you asked
/// for map but it's actually TYPE)". [response thread]
map_t measurementFragmentParser(map_t&& document, Time& time, const DataConstants& constants);

}  // namespace com::tallowmere::connectivity::plugins
