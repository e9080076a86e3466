"""What the clients play: the scenarios, their events, and their sizes."""
import dataclasses
import json

DEVICES = 1000
FIRST_TIME = 1775001600  # the beginning of April 2026


@dataclasses.dataclass(frozen=True)
class Scenario:
    name: str
    title: str
    size: int  # events in, or elements of the walk
    merged: int = 1  # events in one request
    batch: int = 100  # events in one call of the plug-in
    instructions: tuple = ()  # two sizes, whose difference in instructions is what the events between them cost

    @property
    def is_walk(self):
        return self.name == "walk"

    def scaled(self, factor):
        # Never so small that a merged request isn't full.
        return dataclasses.replace(self, size=max(int(self.size * factor), 2000))

    def sized(self, size):
        return dataclasses.replace(self, size=size)

    @property
    def requests(self):
        return -(-self.size // (1000 if self.is_walk else self.merged))

    @property
    def lines_out(self):
        return self.size + 1 if self.is_walk else self.size if self.merged == 1 else 0


SINGLE = Scenario("single", "single acknowledged writes", 60_000, instructions=(500, 1500))
MERGED_100 = Scenario("merged 100", "merged by 100", 60_000, 100, 100, (2000, 6000))
MERGED_1000 = Scenario("merged 1000", "merged by 1,000", 60_000, 1000, 1000, (2000, 6000))
WALK = Scenario("walk", "a walk in pages of 1,000", 100_000, instructions=(2000, 6000))
ALL = (SINGLE, MERGED_100, MERGED_1000, WALK)


def alarm(number):
    # No two alarms in flight have one device, so none has to wait for another; the platform's stamps follow the number.
    return {"type": "Alarm",
            "payload": {"reqId": number, "requiresResponse": True, "responseChannel": "platform.notifications",
                        "source": {"id": str(2504001 + number % DEVICES), "name": "Cold room 7 sensor A"},
                        "type": "kv_TemperatureAlarm", "time": FIRST_TIME + number * 0.25,
                        "text": f"Temperature above 7.5 C in room 7 #{number:06}", "severity": "MAJOR",
                        "status": "ACTIVE", "count": 3}}


def measurement(number):
    return {"type": "Measurement",
            "payload": {"source": {"id": str(2504001 + number % DEVICES)}, "type": "kv_Climate",
                        "time": FIRST_TIME + number * 0.25,
                        "measurements": {"kv_Climate": {"T": {"value": 4 + number % 90 / 8, "unit": "C"}}}}}


def write_events(scenario, file):
    with open(file, "w", encoding="utf-8") as out:
        if scenario.is_walk:
            query = {"type": "FindMeasurement", "payload": {"reqId": 1, "params": {"pageSize": 1000}}}
            print(json.dumps(query), file=out)
            return
        event = alarm if scenario.merged == 1 else measurement
        for number in range(scenario.size):
            print(json.dumps(event(number)), file=out)
