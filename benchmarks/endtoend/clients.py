"""The platform and the clients, each in a process of its own."""
import base64
import contextlib
import json
import os
import pathlib
import shutil
import subprocess

from measuring import Failure, ROOT

HERE = pathlib.Path(__file__).resolve().parent
USER, PASSWORD = "fleet", "fleet-secret"
PATIENCE = 600  # seconds for one run of a client


def environment():
    """That of the clients: no proxies, UTC, the credentials."""
    kept = {name: value for name, value in os.environ.items() if not name.lower().endswith("_proxy")}
    token = base64.b64encode(f"{USER}:{PASSWORD}".encode()).decode()
    return {**kept, "TZ": "UTC", "MARLOVANCE_USERNAME": USER, "MARLOVANCE_PASSWORD": PASSWORD,
            "AUTHORIZATION": f"Basic {token}"}


def checked(command, what, **options):
    finished = subprocess.run(command, check=False, capture_output=True, text=True, **options)
    if finished.returncode != 0:
        raise Failure(f"{what}:\n{(finished.stdout + finished.stderr).strip()}")
    return finished.stdout


class Setup:
    """Everything built and installed: the chain runner, the helpers of this folder, the Node.js client."""

    def __init__(self, build):
        self.build = pathlib.Path(build) if build else ROOT / "build" / "release"
        self.helpers = ROOT / "build" / "endtoend"
        self.runner = self.build / "chainrunner" / "marlovance-chain"
        self.node_version = self.check_node()
        self.build_runner(bool(build))
        checked(["cmake", "-S", HERE, "-B", self.helpers, "-G", "Ninja"], "the helpers can't be configured")
        checked(["cmake", "--build", self.helpers], "the helpers can't be built")
        self.install_client()

    @staticmethod
    def check_node():
        for program in ("node", "npm"):
            if not shutil.which(program):
                raise Failure(f"{program} is missing: this benchmark needs Node.js with npm, version 20.18.1 or later")
        version = checked(["node", "--version"], "node doesn't run").strip()
        if tuple(int(part) for part in version.removeprefix("v").split("-")[0].split(".")) < (20, 18, 1):
            raise Failure(f"Node.js is {version}: this benchmark needs version 20.18.1 or later")
        return version

    def build_runner(self, is_built):
        if not is_built:
            targets = ["--target", "marlovance-chain", "connectivity-marlovance-codec"]
            if subprocess.run([ROOT / "scripts" / "build", "release", *targets], check=False).returncode != 0:
                raise Failure("the chain runner could not be built")
        if not self.runner.exists():
            raise Failure(f"{self.runner}: there is no such program")

    def install_client(self):
        """Puts the client beside its modules, which are installed again when the lock file is another one."""
        folder = self.helpers / "node"
        folder.mkdir(exist_ok=True)
        lock = "package-lock.json"
        is_same = (folder / lock).exists() and (folder / lock).read_bytes() == (HERE / "node" / lock).read_bytes()
        is_fresh = is_same and (folder / "installed").exists()
        for file in (HERE / "node").iterdir():
            if file.is_file():
                shutil.copy(file, folder)
        if is_fresh:
            return
        checked(["npm", "ci", "--no-audit", "--no-fund"], "undici can't be installed", cwd=folder)
        (folder / "installed").touch()


@contextlib.contextmanager
def platform(setup, scenario, record=None):
    """Serves the scenario. Gives the address."""
    command = [setup.helpers / "platform", "--elements", str(scenario.size if scenario.is_walk else 0)]
    if record:
        command += ["--record", record]
    with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as process:
        url = process.stdout.readline().strip()
        if not url:
            raise Failure("the platform doesn't start")
        try:
            yield url
        finally:
            process.stdin.close()
            process.wait()


def runner_command(setup, scenario, events, url):
    return [setup.runner, "run", events, "--platform", url, "--quiet", "--batch", str(scenario.batch)]


def node_command(setup, scenario, events, url):
    return ["node", setup.helpers / "node" / "client.js", events, url, str(scenario.merged)]


def limit_command(setup, scenario, bodies, url):
    """The same number of requests, all of them the first one that the runner sent."""
    command = [setup.helpers / "limit"]
    if scenario.is_walk:
        target = "/measurement/measurements?pageSize=1000&withTotalPages=true"
        return [*command, url + target, str(scenario.requests), "1"]
    body = bodies[scenario.name]
    return [*command, url + body.target, str(scenario.requests), "8", body.file, body.content_type]


def run(setup, command, out, folder, lines=None):
    """Runs a client to its end with standard output into the file `out`. Gives what it cost."""
    report = pathlib.Path(folder) / "cost.json"
    name = pathlib.Path(str(command[0])).name
    with open(out, "wb") as file:
        try:
            finished = subprocess.run([setup.helpers / "stopwatch", report, lines or "-", *command], check=False,
                                      stdin=subprocess.DEVNULL, stdout=file, stderr=subprocess.PIPE, env=environment(),
                                      timeout=PATIENCE)
        except subprocess.TimeoutExpired as expired:
            raise Failure(f"{name} didn't end within {PATIENCE} seconds") from expired
    if finished.returncode != 0:
        reason = finished.stderr.decode(errors="replace").strip()
        raise Failure(f"{name} failed:\n{reason}")
    return json.loads(report.read_text(encoding="utf-8"))
