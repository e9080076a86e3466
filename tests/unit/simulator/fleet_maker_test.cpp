#include "simulator/fleet_maker.h"

#include "tests/unit/simulator/PlatformTest.h"

namespace simulator {
namespace {

class FleetMakerTest : public PlatformTest {
 protected:
  /// A document of the fleet without what isn't stored.
  boost::json::object stored(const std::string& target) {
    boost::json::object document = client.get(target).json();
    for (const char* name : {"self", "childDevices", "childAssets", "childAdditions", "deviceParents", "assetParents",
                             "additionParents"}) {
      document.erase(name);
    }
    return document;
  }
};

TEST_F(FleetMakerTest, MakesSoManyOfEach) {
  const Received made = client.post("/admin/fleet", R"({"devices":3,"parts":4,"alarms":5,"events":6,"operations":7,
      "measurements":8})");
  EXPECT_EQ(made.status, 201);
  EXPECT_EQ(made.json(), client.get("/admin/counts").json());
  const std::map<std::string, std::int64_t> counts = platform.counts();
  EXPECT_EQ(counts.at("managed objects"), 7);
  EXPECT_EQ(counts.at("alarms"), 5);
  EXPECT_EQ(counts.at("events"), 6);
  EXPECT_EQ(counts.at("operations"), 7);
  EXPECT_EQ(counts.at("measurements"), 8);
}

TEST_F(FleetMakerTest, DocumentsAreTheSameInEveryEmptyStore) {
  platform.makeFleet({.devices = 2, .parts = 1, .alarms = 3, .events = 1, .operations = 1, .measurements = 2});
  EXPECT_EQ(stored("/registry/managed-objects/2504002"),
            object(R"({"id":"2504002","creationTime":"2024-01-01T00:01:00.000Z",
                "lastUpdated":"2024-01-01T00:01:00.000Z","name":"valve 2","type":"valve","owner":"fleet",
                "device":{"serial":"SN-2","firmware":"1.4.2"}})"));
  EXPECT_EQ(stored("/registry/managed-objects/2504003"),
            object(R"({"id":"2504003","creationTime":"2024-01-01T00:00:00.000Z",
                "lastUpdated":"2024-01-01T00:00:00.000Z","name":"part 1","type":"part","owner":"workshop",
                "part":{"article":"A-1"}})"));
  EXPECT_EQ(stored("/alarm/alarms/2504006"), object(R"({"id":"2504006","creationTime":"2024-01-01T00:02:00.000Z",
                "lastUpdated":"2024-01-01T00:02:00.000Z","source":{"id":"2504001"},"type":"pressure",
                "text":"Pressure out of range","severity":"MINOR","status":"CLEARED","count":1,
                "time":"2024-01-01T00:02:00.000Z","firstOccurrenceTime":"2024-01-01T00:02:00.000Z"})"));
  EXPECT_EQ(stored("/event/events/2504007"), object(R"({"id":"2504007","creationTime":"2024-01-01T00:00:00.000Z",
                "lastUpdated":"2024-01-01T00:00:00.000Z","source":{"id":"2504001"},"type":"door","text":"Door opened",
                "time":"2024-01-01T00:00:00.000Z"})"));
  EXPECT_EQ(stored("/operation/operations/2504008"),
            object(R"({"id":"2504008","creationTime":"2024-01-01T00:00:00.000Z",
                "lastUpdated":"2024-01-01T00:00:00.000Z","deviceId":"2504001","status":"PENDING",
                "description":"Restart"})"));
  EXPECT_EQ(stored("/measurement/measurements/2504010"),
            object(R"({"id":"2504010","creationTime":"2024-01-01T00:01:00.000Z",
                "lastUpdated":"2024-01-01T00:01:00.000Z","source":{"id":"2504002"},"type":"temperature",
                "time":"2024-01-01T00:01:00.000Z","temperature":{"T":{"value":20.125,"unit":"C"}}})"));
}

TEST_F(FleetMakerTest, NoDeviceHasTwoActiveAlarmsOfAType) {
  platform.makeFleet({.devices = 1, .alarms = 7});
  std::string statuses;
  for (int id = 2504002; id <= 2504008; ++id) {
    const boost::json::object alarm = client.get("/alarm/alarms/" + std::to_string(id)).json();
    statuses.append(alarm.at("type").as_string()).append(" ").append(alarm.at("status").as_string()).append("; ");
  }
  EXPECT_EQ(statuses,
            "leak ACTIVE; pressure ACKNOWLEDGED; temperature CLEARED; power ACTIVE; "
            "leak CLEARED; pressure CLEARED; temperature CLEARED; ");
}

TEST_F(FleetMakerTest, SecondFleetComesBehindTheFirst) {
  platform.makeFleet({.devices = 1});
  platform.makeFleet({.devices = 1, .events = 1});
  EXPECT_EQ(stored("/event/events/2504003").at("source"), object(R"({"id":"2504002"})"));
}

TEST_F(FleetMakerTest, DocumentsWithoutADeviceAreRefused) {
  expectError(client.post("/admin/fleet", R"({"events":1})"), 422, "unprocessable",
              "alarms, events, operations and measurements need one device at least");
  EXPECT_THROW(platform.makeFleet({.measurements = 1}), std::runtime_error);
}

TEST_F(FleetMakerTest, BadFieldsAreNamed) {
  expectError(client.post("/admin/fleet", R"({"pumps":1})"), 422, "unprocessable",
              R"("pumps" is no field of a fleet; known are devices, parts, alarms, events, operations, measurements)");
  expectError(client.post("/admin/fleet", R"({"devices":-1})"), 422, "unprocessable",
              R"("devices" must be a whole number from 0 to 1000000, not -1)");
  expectError(client.post("/admin/fleet", R"({"devices":1.5})"), 422, "unprocessable",
              R"("devices" must be a whole number from 0 to 1000000, not 1.5)");
}

}  // namespace
}  // namespace simulator
