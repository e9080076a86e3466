#include "simulator/fleet_maker.h"

#include <array>
#include <string>
#include <vector>

#include "simulator/errors.h"
#include "simulator/json_text.h"
#include "simulator/timestamp.h"

namespace simulator {
namespace json = boost::json;

namespace {

constexpr std::int64_t highestCount = 1'000'000;

constexpr std::array deviceTypes{"pump", "valve", "meter", "gateway"};
constexpr std::array alarmTypes{"leak", "pressure", "temperature", "power"};
constexpr std::array alarmTexts{"Leaking", "Pressure out of range", "Too hot", "Power lost"};
constexpr std::array severities{"CRITICAL", "MAJOR", "MINOR", "WARNING"};
constexpr std::array alarmStatuses{"ACTIVE", "ACKNOWLEDGED", "CLEARED"};
constexpr std::array eventTypes{"door", "restart"};
constexpr std::array eventTexts{"Door opened", "Restarted"};
constexpr std::array operationStatuses{"PENDING", "EXECUTING", "SUCCESSFUL", "FAILED"};

struct Count {
  const char* name;
  std::int64_t Fleet::*field;
};
constexpr std::array counts{Count{"devices", &Fleet::devices},       Count{"parts", &Fleet::parts},
                            Count{"alarms", &Fleet::alarms},         Count{"events", &Fleet::events},
                            Count{"operations", &Fleet::operations}, Count{"measurements", &Fleet::measurements}};

template <std::size_t size>
const char* inTurn(const std::array<const char*, size>& words, std::int64_t index) {
  return words[static_cast<std::size_t>(index) % size];
}

/// One minute after the other from the first of the year on.
std::string timeOf(std::int64_t index) {
  using namespace std::chrono;
  return formatTimestamp(sys_days(2024y / January / 1) + minutes(index));
}

/// Stores documents, each stamped and under an id of its own.
class FleetMaker {
 public:
  FleetMaker(Store& store, const Fleet& fleet) : store(store), fleet(fleet) {}

  void makeDevice(std::int64_t index) {
    const std::string type = inTurn(deviceTypes, index);
    const std::string number = std::to_string(index + 1);
    const std::string id = keep(Kind::ManagedObject, index,
                                {{"name", type + " " + number},
                                 {"type", type},
                                 {"owner", "fleet"},
                                 {"device", {{"serial", "SN-" + number}, {"firmware", "1.4.2"}}}});
    deviceIds.push_back(id);
  }
  void makePart(std::int64_t index) {
    const std::string number = std::to_string(index + 1);
    keep(Kind::ManagedObject, index,
         {{"name", "part " + number}, {"type", "part"}, {"owner", "workshop"}, {"part", {{"article", "A-" + number}}}});
  }
  void makeAlarm(std::int64_t index) {
    // Beyond one alarm of each type on each device, there is an active one of that type already.
    const std::int64_t round = index / fleet.devices;
    const bool first = round < static_cast<std::int64_t>(alarmTypes.size());
    keep(Kind::Alarm, index,
         {{"source", sourceOf(index)},
          {"type", inTurn(alarmTypes, round)},
          {"text", inTurn(alarmTexts, round)},
          {"severity", inTurn(severities, index)},
          {"status", first ? inTurn(alarmStatuses, index) : "CLEARED"},
          {"count", 1},
          {"time", timeOf(index)},
          {"firstOccurrenceTime", timeOf(index)}});
  }
  void makeEvent(std::int64_t index) {
    keep(Kind::Event, index,
         {{"source", sourceOf(index)},
          {"type", inTurn(eventTypes, index)},
          {"text", inTurn(eventTexts, index)},
          {"time", timeOf(index)}});
  }
  void makeOperation(std::int64_t index) {
    keep(Kind::Operation, index,
         {{"deviceId", deviceOf(index)}, {"status", inTurn(operationStatuses, index)}, {"description", "Restart"}});
  }
  void makeMeasurement(std::int64_t index) {
    const double celsius = 20 + static_cast<double>(index % 100) / 8;
    keep(Kind::Measurement, index,
         {{"source", sourceOf(index)},
          {"type", "temperature"},
          {"time", timeOf(index)},
          {"temperature", {{"T", {{"value", celsius}, {"unit", "C"}}}}}});
  }

 private:
  const std::string& deviceOf(std::int64_t index) const {
    return deviceIds[static_cast<std::size_t>(index % fleet.devices)];
  }
  json::object sourceOf(std::int64_t index) const { return {{"id", deviceOf(index)}}; }

  std::string keep(Kind kind, std::int64_t index, const json::object& fields) {
    std::string id = store.nextId();
    json::object document({{"id", id}, {"creationTime", timeOf(index)}, {"lastUpdated", timeOf(index)}});
    document.insert(fields.begin(), fields.end());
    store.insert(kind, id, toJson(document));
    return id;
  }

  Store& store;
  const Fleet& fleet;
  std::vector<std::string> deviceIds;
};

void checkDevices(const Fleet& fleet) {
  if (fleet.devices > 0 || fleet.alarms + fleet.events + fleet.operations + fleet.measurements == 0) return;
  throw RequestError(422, "alarms, events, operations and measurements need one device at least");
}

}  // namespace

Fleet readFleet(const json::object& object) {
  Fleet fleet;
  for (const auto& [name, value] : object) {
    std::string known;
    const Count* found = nullptr;
    for (const Count& count : counts) {
      if (name == count.name) found = &count;
      known.append(known.empty() ? "" : ", ").append(count.name);
    }
    if (found == nullptr) throw RequestError(422, quoted(name) + " is no field of a fleet; known are " + known);
    const std::int64_t* number = value.if_int64();
    if (number == nullptr || *number < 0 || *number > highestCount) {
      throw RequestError(422, quoted(name) + " must be a whole number from 0 to " + std::to_string(highestCount) +
                                  ", not " + toJson(value));
    }
    fleet.*found->field = *number;
  }
  return fleet;
}

void makeFleet(Store& store, const Fleet& fleet) {
  checkDevices(fleet);
  FleetMaker maker(store, fleet);
  for (std::int64_t index = 0; index < fleet.devices; ++index) maker.makeDevice(index);
  for (std::int64_t index = 0; index < fleet.parts; ++index) maker.makePart(index);
  for (std::int64_t index = 0; index < fleet.alarms; ++index) maker.makeAlarm(index);
  for (std::int64_t index = 0; index < fleet.events; ++index) maker.makeEvent(index);
  for (std::int64_t index = 0; index < fleet.operations; ++index) maker.makeOperation(index);
  for (std::int64_t index = 0; index < fleet.measurements; ++index) maker.makeMeasurement(index);
}

}  // namespace simulator
