#include "parsers/generic_parser.h"

#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

map_t genericParser(map_t&& document, Time& time, const DataConstants&) {
  time.parseTimes(document);
  return std::move(document);
}

}  // namespace com::tallowmere::connectivity::plugins
