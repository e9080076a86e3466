"""Instructions of the chain runner per event, by callgrind, which no other work on the machine disturbs."""
import collections
import re

import clients
from scenarios import write_events

LIBRARIES = {"libicu": "ICU", "libcurl": "libcurl"}


def by_library(file):
    """The instructions of a callgrind profile, by "ICU", "libcurl" and "rest"."""
    totals = collections.Counter()
    names, current, is_call = {}, "rest", False
    for line in file.read_text(encoding="utf-8").splitlines():
        if line.startswith("ob="):
            number, name = re.match(r"ob=(\(\d+\)) ?(.*)", line).groups()
            if name:
                names[number] = next((kind for part, kind in LIBRARIES.items() if part in name), "rest")
            current = names[number]
        elif line.startswith("cob="):
            number, name = re.match(r"cob=(\(\d+\)) ?(.*)", line).groups()
            if name:
                names[number] = next((kind for part, kind in LIBRARIES.items() if part in name), "rest")
        elif line.startswith("calls="):
            is_call = True
        elif re.match(r"[\d+*-]", line):
            # The line behind "calls=" is what the callee took.
            if not is_call:
                totals[current] += int(line.split()[-1])
            is_call = False
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
