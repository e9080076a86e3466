"""The rows of the table: what was measured, against which goal and which floor."""
import dataclasses


@dataclasses.dataclass(frozen=True)
class Bound:
    """At most so much, or at least."""
    figure: float
    is_most: bool = True

    def holds(self, value):
        return value <= self.figure if self.is_most else value >= self.figure

    def __str__(self):
        return f"{'<=' if self.is_most else '>='} {number(self.figure)}"


def most(figure):
    return Bound(figure)


def least(figure):
    return Bound(figure, False)


@dataclasses.dataclass
class Row:
    scenario: str
    measure: str
    ours: float
    node: float = None
    limit: float = None
    compared: float = None  # what the goal is about; the ratio to Node.js, if nothing else is told
    what: str = "ours / Node.js"
    goal: Bound = None
    floor: Bound = None

    def __post_init__(self):
        if self.compared is None and self.node:
            self.compared = self.ours / self.node

    def verdict(self):
        if not self.goal:
            return ""
        if self.floor and not self.floor.holds(self.compared):
            return "**below the floor**"
        return "excellent" if self.goal.holds(self.compared) else "above the floor" if self.floor else "**missed**"

    def cells(self):
        values = [number(value) for value in (self.ours, self.node, self.limit)]
        compared = f"{number(self.compared)} {self.what}" if self.compared is not None else ""
        return [self.scenario, self.measure, *values, compared, str(self.goal or ""), str(self.floor or ""),
                self.verdict()]


HEAD = ["Scenario", "Measure", "marlovance-chain", "Node.js", "libcurl", "Compared", "Goal", "Floor", "Verdict"]


def number(value):
    if value is None:
        return ""
    return f"{value:,.0f}" if abs(value) >= 100 else f"{value:.1f}" if abs(value) >= 10 else f"{value:.2f}"


GOALS_OF_REST = {"single": most(65_000), "merged 100": most(28_000)}


def instruction_rows(name, counted, most_of_all, what, rest):
    """Two rows: all instructions, and those of the libraries left out."""
    if name not in counted:
        return []
    parts = counted[name]
    total = sum(parts.values())
    goal = most(most_of_all) if most_of_all else None
    without = rest(parts)
    return [Row(name, "instructions/event", total, compared=total, what="", goal=goal),
            Row(name, f"the same without {what}", without, compared=without, what="", goal=GOALS_OF_REST.get(name))]


def rows(costs, latency, start, counted):
    """`costs` has the medians of each scenario by client: µs of the processor per event, events per second, MiB;
    `latency` has p50 and p99 in ms by client, `start` the processor's ms without any event; `counted` has the
    instructions of the scenarios that were counted."""
    def row(name, measure, **other):
        values = {client: cost[measure] for client, cost in costs[name].items()}
        return Row(name, measure, values["runner"], values["node"], values["limit"], **other)

    cpu, rate, memory = "CPU µs/event", "events/s", "peak MiB"
    single, hundred, thousand = (costs[name]["runner"] for name in ("single", "merged 100", "merged 1000"))
    to_limit = single[rate] / costs["single"]["limit"][rate]
    above_limit = single[cpu] - costs["single"]["limit"][cpu]
    return [
        row("single", cpu, goal=most(0.75), floor=most(0.9)),
        row("single", rate, goal=least(1.2), floor=least(1.0)),
        row("single", rate, compared=to_limit, what="ours / libcurl", goal=least(0.5)),
        row("single", cpu, compared=above_limit, what="ours - libcurl", goal=most(20)),
        *instruction_rows("single", counted, 240_000, "ICU and libcurl", lambda parts: parts["rest"]),
        row("single", memory),
        Row("single, one at a time", "p50 ms", latency["runner"]["p50"], latency["node"]["p50"]),
        Row("single, one at a time", "p99 ms", latency["runner"]["p99"], latency["node"]["p99"], goal=most(1 / 3)),
        row("merged 100", cpu, goal=most(0.5), floor=most(0.65)),
        row("merged 100", cpu, compared=hundred[cpu], what="", goal=most(7)),
        row("merged 100", rate),
        *instruction_rows("merged 100", counted, 56_000, "ICU", lambda parts: parts["rest"] + parts["libcurl"]),
        row("merged 100", memory),
        row("merged 1000", cpu, goal=most(0.75), floor=most(1.0)),
        row("merged 1000", cpu, compared=thousand[cpu], what="", goal=most(8)),
        row("merged 1000", cpu, compared=thousand[cpu] / hundred[cpu], what="ours / merged 100", goal=most(1.15)),
        row("merged 1000", rate, goal=least(1.0)),
        *instruction_rows("merged 1000", counted, None, "ICU", lambda parts: parts["rest"] + parts["libcurl"]),
        row("merged 1000", memory, compared=thousand[memory], what="", goal=most(45)),
        row("walk", cpu),
        row("walk", rate),
        *instruction_rows("walk", counted, None, "ICU", lambda parts: parts["rest"] + parts["libcurl"]),
        row("walk", memory),
        Row("no events", "CPU ms", start["runner"], start["node"]),
    ]


def table(lines):
    cells = [HEAD, *(line.cells() for line in lines)]
    widths = [max(len(row[i]) for row in cells) for i in range(len(HEAD))]
    cells.insert(1, ["-" * width for width in widths])
    return "\n".join("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |" for row in cells)
