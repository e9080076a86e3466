"""Instructions of the chain runner per event, by callgrind, which no other work on the machine disturbs."""
import collections
import re

import clients
from scenarios import write_events

LIBRARIES = {"libicu": "ICU", "libcurl": "libcurl"}
OBJECT = re.compile(r"(c?)ob=(\(\d+\)) ?(.*)")


def by_library(file):
    """The instructions of a callgrind profile, by "ICU", "libcurl" and "rest". What a library has others do for it,
    such as malloc, counts as its own."""
    totals = collections.Counter()
    kinds, caller, callee = {}, "rest", None
    is_call = False
    for line in file.read_text(encoding="utf-8").splitlines():
        if found := OBJECT.match(line):
            called, number, name = found.groups()
            if name:
                kinds[number] = next((kind for part, kind in LIBRARIES.items() if part in name), "rest")
            if called:
                callee = kinds[number]
            else:
                caller = kinds[number]
        elif line.startswith("calls="):
            is_call = True
        elif line.startswith("totals:"):
            totals["all"] = int(line.split()[-1])
        elif is_call:
            # The line behind "calls=" is what the callee took; without "cob=" it is in the caller's own object.
            entered = callee or caller
            if entered != caller and entered != "rest":
                totals[entered] += int(line.split()[-1])
            is_call, callee = False, None
    totals["rest"] = totals.pop("all") - totals["ICU"] - totals["libcurl"]
    return totals


def instructions(setup, scenario, folder):
    """Instructions per event, by "ICU", "libcurl" and "rest": the difference of two runs, so that the start counts for
    nothing."""
    totals = []
    for size in scenario.instructions:
        small = scenario.sized(size)
        events, profile = folder / "counted.jsonl", folder / "callgrind.out"
        write_events(small, events)
        with clients.platform(setup, small) as url:
            command = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}",
                       f"--log-file={folder / 'valgrind.log'}", *clients.runner_command(setup, small, events, url)]
            clients.run(setup, command, folder / "counted.out", folder)
        totals.append(by_library(profile))
    small, large = scenario.instructions
    return {kind: (totals[1][kind] - totals[0][kind]) / (large - small) for kind in ("ICU", "libcurl", "rest")}
