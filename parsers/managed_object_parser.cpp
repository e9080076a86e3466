#include "parsers/managed_object_parser.h"

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "connectivity/conversion.h"
#include "parsers/Time.h"

namespace com::tallowmere::connectivity::plugins {

namespace {

struct Renaming {
  Renaming(const char* from, const char* to) : from(from), to(to) {}

  hashed_key from;
  hashed_key to;
};

const std::vector<Renaming>& referenceCollections() {
  static const std::vector<Renaming> table = [] {
    std::vector<Renaming> names;
    names.emplace_back("additionParents", "additionParentIds");
    names.emplace_back("assetParents", "assetParentIds");
    names.emplace_back("childAdditions", "childAdditionIds");
    names.emplace_back("childAssets", "childAssetIds");
    names.emplace_back("childDevices", "childDeviceIds");
    names.emplace_back("deviceParents", "deviceParentIds");
    return names;
  }();
  return table;
}

const std::vector<Renaming>& supportedLists() {
  static const std::vector<Renaming> table = [] {
    std::vector<Renaming> names;
    names.emplace_back("q4v_SupportedMeasurements", "supportedMeasurements");
    names.emplace_back("q4v_SupportedOperations", "supportedOperations");
    return names;
  }();
  return table;
}

const Renaming& positionKeys() {
  static const Renaming keys("q4v_Position", "position");
  return keys;
}

void collectIds(map_t& document, const Renaming& collection, const DataConstants& constants) {
  const auto found = document.find(collection.from);
  if (found == document.end()) return;
  data_t references = found->second.get<map_t>().take(constants.references);
  list_t ids;
  for (data_t& reference : references.get<list_t>()) {
    data_t managedObject = reference.get<map_t>().take(constants.managedObject);
    ids.push_back(managedObject.get<map_t>().take(constants.id));
  }
  document.erase(collection.from);
  document.set(collection.to, std::move(ids));
}

bool holdsStringsOnly(const list_t& list) {
  for (const data_t& element : list)
    if (!element.isString()) return false;
  return true;
}

void renameSupportedList(map_t& document, const Renaming& renaming) {
  const auto found = document.find(renaming.from);
  if (found == document.end() || !found->second.is(Tag::list) || !holdsStringsOnly(found->second.get<list_t>())) return;
  document.set(renaming.to, document.take(renaming.from));
}

// Hexadecimal text is not numeric; text of length 0 is.
bool isNumericText(const char* text) {
  char* end = nullptr;
  std::strtod(text, &end);
  return *end == '\0' && std::string_view(text).find_first_of("xX") == std::string_view::npos;
}

bool belongsToPosition(const data_t& value) {
  switch (value.type()) {
    case Tag::number:
    case Tag::integer:
    case Tag::decimal:
      return true;
    case Tag::string:
    case Tag::borrowedString:
      return isNumericText(value.get<const char*>());
    default:
      return false;
  }
}

void reshapePosition(map_t& document) {
  const Renaming& keys = positionKeys();
  const auto found = document.find(keys.from);
  if (found == document.end()) return;
  map_t& positionMap = found->second.get<map_t>();
  map_t moved;
  positionMap.eraseIf([&](const data_t& key, data_t& value) {
    const std::string name = key.get<std::string>();
    if (belongsToPosition(value)) return false;
    moved[data_t(keys.from.get<std::string>() + "." + name)] = std::move(value);
    return true;
  });

  document.set(keys.to, document.take(keys.from));
  for (auto& [key, value] : moved) document[key] = std::move(value);
}

}  // namespace

map_t managedObjectParser(map_t&& document, Time& time, const DataConstants& constants) {
  for (const Renaming& collection : referenceCollections()) collectIds(document, collection, constants);
  for (const Renaming& list : supportedLists()) renameSupportedList(document, list);
  reshapePosition(document);
  time.parseTimes(document);
  return std::move(document);
}

}  // namespace com::tallowmere::connectivity::plugins
