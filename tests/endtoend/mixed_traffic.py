"""Mixed reads and writes of a few devices, and the proof of their order from the platform's journal.

  mixed_traffic.py events COUNT DEVICES      events as JSON Lines, the same ones every time
  mixed_traffic.py check EVENTS JOURNAL OUT  complains about what broke the order or got lost

Each event has its place in the stream as its reqId, and bears it onto the wire: a write as the field "place" that it sets
in its device, a read as a query parameter that the platform ignores.
"""

import json
import random
import re
import sys
import urllib.parse

FIRST_ID = 2504001


def make_events(count, devices):
    chance = random.Random(20261121)
    made = 0
    is_write = True
    while made < count:
        for _ in range(min(chance.randint(1, 40), count - made)):
            made += 1
            device = str(FIRST_ID + chance.randrange(devices))
            if is_write:
                yield {"type": "ManagedObject",
                       "payload": {"reqId": made, "requiresResponse": True, "id": device, "place": made}}
            else:
                yield {"type": "FindManagedObject",
                       "payload": {"reqId": made, "params": {"id": device, "place": made}}}
        is_write = not is_write


class Stream:
    """What the events ask for."""

    def __init__(self, lines):
        self.device, self.run, self.expected = {}, {}, {}
        self.writes, self.reads = set(), set()
        last_write, run, was_write = {}, 0, None
        for line in lines:
            event = json.loads(line)
            payload = event["payload"]
            place, is_write = payload["reqId"], event["type"] == "ManagedObject"
            run += is_write != was_write
            was_write = is_write
            self.run[place] = run
            self.device[place] = payload["id"] if is_write else payload["params"]["id"]
            if is_write:
                self.writes.add(place)
                last_write[self.device[place]] = place
            else:
                self.reads.add(place)
                self.expected[place] = last_write.get(self.device[place])


def place_of(request):
    if request["method"] == "PUT":
        return json.loads(request["body"])["place"]
    return int(urllib.parse.parse_qs(urllib.parse.urlsplit(request["target"]).query)["place"][0])


def check_journal(stream, journal):
    last_of_device, last_run, repeated, seen = {}, 0, 0, set()
    for request in journal:
        place = place_of(request)
        device = re.search(r"/registry/managed-objects/(\d+)", request["target"]).group(1)
        if device != stream.device[place]:
            yield f"request {place} went to {device}"
        if stream.run[place] < last_run:
            yield f"request {place} of run {stream.run[place]} came after one of run {last_run}"
        last_run = max(last_run, stream.run[place])
        if place in stream.writes:
            if last_of_device.get(device, 0) > place:
                yield f"write {place} came after write {last_of_device[device]} of the same device"
            last_of_device[device] = max(last_of_device.get(device, 0), place)
        repeated += place in seen
        seen.add(place)
    if seen != set(stream.device):
        yield f"{len(set(stream.device) - seen)} events did not reach the platform"
    if repeated < len(stream.device) / 50:
        yield f"no more than {repeated} requests were repeated"


def check_outcomes(stream, lines, knows_order):
    committed, found, finished = [], {}, []
    for line in lines:
        event = json.loads(line)
        kind, place = event["type"].rsplit(".", 1)[1], event.get("reqId")
        if kind == "ObjectCommitted":
            committed.append(place)
        elif kind == "FindManagedObjectResponse":
            found[place] = event["payload"]["managedObject"].get("place")
        elif kind == "FindManagedObjectResponseAck":
            finished.append(place)
        else:
            yield f"unexpected: {line.strip()}"
    if sorted(committed) != sorted(stream.writes):
        yield f"{len(committed)} of {len(stream.writes)} writes were acknowledged"
    if sorted(finished) != sorted(stream.reads) or set(found) != stream.reads:
        yield f"{len(found)} of {len(stream.reads)} reads were answered, {len(finished)} ended"
    if knows_order:
        for place, seen in sorted(found.items()):
            if seen != stream.expected[place]:
                yield f"read {place} saw write {seen}, not {stream.expected[place]}"


def main():
    if sys.argv[1] == "events":
        for event in make_events(int(sys.argv[2]), int(sys.argv[3])):
            print(json.dumps(event))
        return 0
    with open(sys.argv[2]) as events, open(sys.argv[4]) as out:
        stream, lines = Stream(events), out.readlines()
    complaints = []
    if sys.argv[3] != "none":
        with open(sys.argv[3]) as journal:
            complaints += check_journal(stream, json.load(journal)["requests"])
    complaints += check_outcomes(stream, lines, sys.argv[3] != "none")
    print("\n".join(complaints[:20]))
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
