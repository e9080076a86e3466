#include "parsers/measurement_parser.h"

#include "connectivity/conversion.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

bool isFragment(const data_t& value, const DataConstants& constants) {
  if (!value.is(Tag::map)) return false;
  for (const auto& [name, series] : value.get<map_t>())
    if (series.is(Tag::map) && series.get<map_t>().contains(constants.value)) return true;
  return false;
}

/// Moves the entry into the document, where an entry of that key wins.
void moveEntry(map_t& from, const hashed_key& key, map_t& document) {
  if (from.contains(key)) document.insert(key, from.take(key));
}

}  // namespace

map_t measurementParser(map_t&& document, Time& time, const DataConstants& constants) {
  time.parseTimes(document);
  map_t fragments;
  document.eraseIf([&](const data_t& name, data_t& value) {
    if (!isFragment(value, constants)) return false;
    fragments[name] = std::move(value);
    return true;
  });
  document.insert(constants.measurements, std::move(fragments));
  return std::move(document);
}

map_t measurementFragmentParser(map_t&& document, Time& time, const DataConstants& constants) {
  document = measurementParser(std::move(document), time, constants);
  map_t fragments = std::move(document.at(constants.measurements).get<map_t>());
  if (fragments.empty()) return std::move(document);
  const auto fragment = fragments.begin();
  map_t& allSeries = fragment->second.get<map_t>();
  if (allSeries.empty()) return std::move(document);
  const auto first = allSeries.begin();
  map_t& series = first->second.get<map_t>();
  moveEntry(series, constants.unit, document);
  moveEntry(series, constants.value, document);
  document.insert(constants.params, std::move(series));
  document.insert(constants.valueFragment, fragment->first.copy());
  document.insert(constants.valueSeries, first->first.copy());
  return std::move(document);
}

}  // namespace com::tallowmere::connectivity::plugins
