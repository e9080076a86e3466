"""Whether both clients did the same: the requests that the platform saw, and the events that came out, in any order."""
import collections
import dataclasses
import json
import pathlib
import urllib.parse

import clients
from measuring import Failure
from scenarios import write_events

SHOWN = 400  # characters of a difference


@dataclasses.dataclass
class Body:
    """A request for the limit to repeat."""
    target: str
    content_type: str
    file: pathlib.Path


def canonical(value):
    return json.dumps(value, sort_keys=True)


def parsed(text):
    # 5 and 5.0 are one number.
    return json.loads(text, parse_int=float)


def request(line):
    document = parsed(line)
    path, _, query = document["target"].partition("?")
    headers = {name.lower(): value for name, value in document["headers"].items()}
    body = parsed(document["body"]) if document["body"] else None
    return canonical([document["method"], path, sorted(urllib.parse.parse_qsl(query)), headers, body])


def event(line):
    return canonical(parsed(line))


def lines_of(file):
    return file.read_text(encoding="utf-8").splitlines()


def compare(scenario, what, runner, node):
    """Raises `Failure` with one example of each side unless the texts are the same as often."""
    runner, node = collections.Counter(runner), collections.Counter(node)
    if runner == node:
        return
    sides = []
    for name, more, less in (("marlovance-chain", runner, node), ("Node.js", node, runner)):
        only = more - less
        example = f", such as {min(only)[:SHOWN]}" if only else ""
        sides.append(f"  only {name}: {only.total()}{example}")
    raise Failure(f"{scenario.title}: the clients' {what} differ\n" + "\n".join(sides))


def check(setup, scenario, folder):
    """Plays a part of the scenario through both clients and compares. Gives a request for the limit, and None for a
    walk."""
    small = scenario.sized(2500)
    events = folder / "check.jsonl"
    write_events(small, events)
    requests, results = {}, {}
    for name, command in (("runner", clients.runner_command), ("node", clients.node_command)):
        record, out = folder / f"{name}-requests.jsonl", folder / f"{name}-events.jsonl"
        with clients.platform(setup, small, record) as url:
            clients.run(setup, command(setup, small, events, url), out, folder)
        requests[name], results[name] = lines_of(record), lines_of(out)
    if len(requests["runner"]) != small.requests or len(results["runner"]) != small.lines_out:
        raise Failure(f"{scenario.title}: {len(requests['runner'])} requests and {len(results['runner'])} events, not "
                      f"{small.requests} and {small.lines_out}")
    for what, texts, form in (("requests", requests, request), ("events", results, event)):
        compare(scenario, what, map(form, texts["runner"]), map(form, texts["node"]))
    return None if scenario.is_walk else body_of(scenario, requests["runner"][0], folder)


def body_of(scenario, line, folder):
    document = json.loads(line)
    file = folder / f"{scenario.name}.body"
    file.write_text(document["body"], encoding="utf-8")
    return Body(document["target"], document["headers"]["Content-Type"], file)
