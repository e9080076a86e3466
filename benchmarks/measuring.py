"""Runs the benchmark binaries: wall times by Google Benchmark, instructions by callgrind, blocks by the preloaded counter.

Each count is taken in a process of its own, since counts through malloc depend on the heap's history.
"""
import concurrent.futures
import csv
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent


class Failure(Exception):
    """What went wrong, in words for the user."""


def read_goals():
    """The rows of goals.csv, numbers as numbers."""
    with open(HERE / "goals.csv", newline="", encoding="utf-8") as file:
        rows = list(csv.DictReader(file))
    for row in rows:
        for column in ("goal_time", "goal_instructions", "floor"):
            row[column] = float(row[column])
        row["rounds"] = int(row["rounds"])
    return rows


TARGETS = ("values_benchmark", "json_benchmark", "codec_benchmark", "time_benchmark", "allocation_counter", "plain_host")


def build(targets=TARGETS):
    """Builds benchmarks in the release preset and gives the folder of the binaries. The environment variable
    BENCHMARK_BINARIES names another folder, of binaries that are built already."""
    built = os.environ.get("BENCHMARK_BINARIES")
    if built:
        return pathlib.Path(built)
    if subprocess.run([ROOT / "scripts" / "build", "release", "--target", *targets], check=False).returncode != 0:
        raise Failure("the benchmarks could not be built")
    return ROOT / "build" / "release" / "benchmarks"


def has_valgrind():
    return shutil.which("valgrind") is not None


def run(command, environment=None):
    finished = subprocess.run(command, capture_output=True, text=True, check=False,
                              env={**os.environ, **(environment or {})})
    if finished.returncode != 0:
        words = " ".join(str(word) for word in command[-2:])
        raise Failure(f"{words}: {finished.stderr.strip() or 'failed'}")
    return finished


class Binaries:
    """The benchmark binaries of one folder, over the development host with its own heap or with plain malloc."""

    def __init__(self, folder, is_plain=False):
        self.folder = pathlib.Path(folder)
        self.environment = {"LD_LIBRARY_PATH": str(self.folder / "plain_host")} if is_plain else {}

    def path(self, binary):
        return self.folder / f"{binary}_benchmark"

    def times(self, binary, pattern, repetitions=5, seconds=0.05):
        """Nanoseconds per operation of each case that matches, after the contents were compared. Of the repetitions,
        which are interleaved, the median counts."""
        out = run([self.path(binary), f"--benchmark_filter={pattern}", f"--benchmark_repetitions={repetitions}",
                   "--benchmark_enable_random_interleaving=true", f"--benchmark_min_time={seconds}",
                   "--benchmark_format=json"], self.environment).stdout
        found = {}
        for entry in json.loads(out)["benchmarks"]:
            if entry.get("run_type") == "iteration":
                found.setdefault(entry["run_name"].removesuffix("/manual_time"), []).append(entry["ns_per_operation"])
        return {name: sorted(values)[len(values) // 2] for name, values in found.items()}

    def instructions(self, binary, case, rounds):
        """Instructions per operation."""
        with tempfile.TemporaryDirectory() as folder:
            log = pathlib.Path(folder) / "log"
            out = run(["valgrind", "--tool=callgrind", "--collect-atstart=no", f"--log-file={log}",
                       f"--callgrind-out-file={folder}/out", self.path(binary), f"--case={case}",
                       f"--rounds={rounds}"], self.environment).stdout
            collected = re.search(r"Collected : (\d+)", log.read_text(encoding="utf-8"))
        return int(collected[1]) / float(re.search(r"operations (\d+)", out)[1])

    def allocations(self, binary, case, rounds):
        """Blocks asked of malloc, per operation."""
        out = run([self.path(binary), f"--case={case}", f"--rounds={rounds}"],
                  {**self.environment, "LD_PRELOAD": str(self.folder / "allocation_counter.so")}).stdout
        return float(re.search(r"allocations ([\d.]+)", out)[1])


def in_parallel(function, jobs):
    """The results of function(*job) by job, two at a time: neither instructions nor blocks depend on the clock."""
    with concurrent.futures.ThreadPoolExecutor(max_workers=2) as pool:
        futures = {job: pool.submit(function, *job) for job in jobs}
        return {job: future.result() for job, future in futures.items()}


def main(body):
    """Runs the body of a command; a failure is one line and exit code 1."""
    try:
        sys.exit(body())
    except Failure as failure:
        print(f"{pathlib.Path(sys.argv[0]).name}: {failure}", file=sys.stderr)
        sys.exit(1)
