"""Three simulated controllers and one collector: disturbed, and compared. Called by tools/dev/fleet."""

import argparse
import asyncio
import logging
import math
import os
import re
import signal
import subprocess
import sys
import time
from collections import Counter
from collections.abc import Callable
from datetime import timezone
from pathlib import Path

from asyncua import Client, ua

from collected import Point, PointFile
from controllers import Controller
from waiting import wait_until

_AGENT = """[agent]
  interval = "1s"
  flush_interval = "1s"
  omit_hostname = true
[[outputs.file]]
  files = ["{file}"]
  data_format = "influx"
"""
_WAYS = ("reading", "subscription")
_SEVERITY = 0xC0000000  # of a status: good, uncertain or bad
_QUIET_S = 20  # of undisturbed collection; long enough for the simulator's first sensor faults

# By node and source time.
Shown = dict[tuple[str, int], tuple[int, object]]


def configuration(written: str, way: str) -> str:
    """The generated configuration for one of Telegraf's two plugins."""
    if way == "subscription":
        written = re.sub(r"^( *\[+inputs\.opcua)\b", r"\1_listener", written, flags=re.MULTILINE)
        retry = '\\1  connect_fail_behavior = "retry"\n  subscription_interval = "1s"\n'
        written = re.sub(r"^(  timestamp = .*\n)", retry, written, flags=re.MULTILINE)
    return re.sub(r"^( *controller = .*\n)", f'\\1    via = "{way}"\n', written, flags=re.MULTILINE)


class Collector:
    def __init__(self, telegraf: Path, work: Path) -> None:
        self._command = [str(telegraf), "--config", str(work / "agent.conf")]
        self._command += ["--config-directory", str(work / "plugins"), "--strict-env-handling"]
        self._log = work / "telegraf.log"
        self._values = PointFile(work / "values")
        (work / "agent.conf").write_text(_AGENT.format(file=work / "values"))
        (work / "plugins").mkdir()
        self._plugins = work / "plugins"

    def configure(self, controller: Controller) -> int:
        """@return the number of nodes to be collected"""
        written = controller.telegraf_configuration()
        for way in _WAYS:
            (self._plugins / f"{controller.name}-{way}.conf").write_text(configuration(written, way))
        return written.count("[[inputs.opcua.group.nodes]]")

    def start(self) -> None:
        with self._log.open("ab") as log:
            self._process = subprocess.Popen(self._command, stdout=log, stderr=log)

    def stop(self) -> None:
        self._process.terminate()
        self._process.wait()

    def points(self) -> list[Point]:
        """The values of tags."""
        if self._process.poll() is not None:
            raise AssertionError(f"Telegraf ended:\n{self._log.read_text()[-2000:]}")
        return [point for point in self._values.points() if point.node.startswith("ns=2;")]

    def service_levels(self) -> dict[tuple[str, str], object]:
        """The last one of each controller by each way."""
        levels = (point for point in self._values.points() if point.node == "ns=0;i=2267")
        return {(point.controller, point.via): point.value for point in levels}

    def await_fresh(self, controllers: list[Controller]) -> None:
        """Waits until both ways have collected values of all controllers from now on."""
        since = time.time_ns() // 1000
        wanted = {(controller.name, way) for controller in controllers for way in _WAYS}

        def missing() -> set[tuple[str, str]]:
            time.sleep(0.5)
            return wanted - {(p.controller, p.via) for p in self.points() if p.source_time > since}

        try:
            wait_until(lambda: not missing(), "values arrive", 90)
        except AssertionError:
            raise AssertionError(f"no values arrive: {sorted(missing())}") from None


async def shown_by(controller: Controller, nodes: set[str], seconds: float) -> Shown:
    """What the server shows to another client: values and status by node and source time."""
    found: Shown = {}
    async with Client(controller.url, timeout=30) as client:
        ids = [ua.NodeId(node.partition(";s=")[2], 2) for node in sorted(nodes)]
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            values = await client.uaclient.read_attributes(ids, ua.AttributeIds.Value)
            for node, value in zip(sorted(nodes), values, strict=True):
                at = value.SourceTimestamp.replace(tzinfo=timezone.utc)
                microseconds = round(at.timestamp() * 1e6)
                found[node, microseconds] = (value.StatusCode.value, value.Value.Value)
            await asyncio.sleep(0.02)
    return found


async def shown_by_all(controllers: list[Controller], nodes: dict[str, set[str]]) -> list[Shown]:
    return await asyncio.gather(*(shown_by(c, nodes[c.name], _QUIET_S) for c in controllers))


def same(collected: object, shown: object) -> bool:
    if isinstance(shown, (int, float)) and isinstance(collected, float):
        return math.isclose(collected, shown, rel_tol=1e-6, abs_tol=1e-9)
    return collected == shown


def compare(points: list[Point], shown: Shown) -> tuple[int, int]:
    """How many collected values the server showed too with this source time, and how many of these
    with the same value and status."""
    known = [(p, shown[p.node, p.source_time]) for p in points if (p.node, p.source_time) in shown]
    equal = [1 for p, (status, value) in known if p.status == status and same(p.value, value)]
    return len(known), len(equal)


def gap_s(points: list[Point], controller: str, way: str, begin: int) -> float:
    """The longest time without a value of the node that changes most often, by source time."""
    own = [p for p in points if (p.controller, p.via) == (controller, way)]
    ((busiest, _),) = Counter(p.node for p in own).most_common(1)
    times = sorted({p.source_time for p in own if p.node == busiest and p.source_time >= begin})
    return max((b - a for a, b in zip(times, times[1:], strict=False)), default=0) / 1e6


def cpu_seconds(pid: int) -> float:
    words = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")


class Fleet:
    def __init__(self, options: argparse.Namespace) -> None:
        self.controllers = [Controller(n, options.bin, options.work) for n in (1, 2, 3)]
        self.collector = Collector(options.telegraf, options.work)
        self.failures: list[str] = []

    def check(self, right: bool, text: str) -> None:
        print(f"   {'ok' if right else 'WRONG'}: {text}", flush=True)
        if not right:
            self.failures.append(text)

    def start(self) -> None:
        print("== Two controllers and the collector start; the third controller starts later", flush=True)
        # Only a running controller has written the files from which opcuacheck takes the types.
        for controller in self.controllers:
            controller.start()
            controller.server()
        self.wanted = [self.collector.configure(controller) for controller in self.controllers]
        late = self.controllers[2]
        late.set_connected(False)
        self.collector.start()
        self.collector.await_fresh(self.controllers[:2])
        late.set_connected(True)
        self.collector.await_fresh(self.controllers)

    def compare_undisturbed(self) -> None:
        print(f"== {_QUIET_S} s undisturbed, with another client beside the collector", flush=True)
        points = self.collector.points()
        nodes = {c.name: {p.node for p in points if p.controller == c.name} for c in self.controllers}
        servers = [controller.server() for controller in self.controllers]
        before = [cpu_seconds(server) for server in servers]
        shown = asyncio.run(shown_by_all(self.controllers, nodes))
        used = [cpu_seconds(server) - cpu for server, cpu in zip(servers, before, strict=True)]
        time.sleep(3)  # the collector writes once a second
        points = self.collector.points()
        for place, controller in enumerate(self.controllers):
            for way in _WAYS:
                own = [p for p in points if (p.controller, p.via) == (controller.name, way)]
                self.compare_one(f"{controller.name} by {way}", own, self.wanted[place], shown[place])
        levels = self.collector.service_levels()
        wanted = {(controller.name, way): 255.0 for controller in self.controllers for way in _WAYS}
        self.check(levels == wanted, "the service levels are collected")
        print(f"   all clients together took {max(used) / _QUIET_S:.1%} of a core at most of a server")

    def compare_one(self, what: str, points: list[Point], wanted: int, shown: Shown) -> None:
        nodes = len({p.node for p in points})
        qualities = Counter(p.status & _SEVERITY for p in points)
        text = ", ".join(f"{status:#x} {count}" for status, count in sorted(qualities.items()))
        self.check(nodes == wanted, f"{what}: {nodes} of {wanted} nodes, {len(points)} values: {text}")
        self.check(set(qualities) == {0, 0x40000000, 0x80000000}, "with every quality")
        known, equal = compare(points, shown)
        # A value that changes between the server's reads of value and time may differ once.
        self.check(
            known >= 100 and equal >= 0.99 * known,
            f"{known} were shown to the other client with the same source time, {equal} of them with"
            " the same value and quality",
        )

    def disturb(
        self,
        what: str,
        controllers: list[Controller],
        stop: Callable[[], None],
        again: Callable[[], None],
    ) -> None:
        print(f"== {what}", flush=True)
        begin = time.time_ns() // 1000
        stop()
        time.sleep(10)
        again()
        self.collector.await_fresh(self.controllers)
        time.sleep(2)
        points = self.collector.points()
        for controller in self.controllers:
            gaps = [gap_s(points, controller.name, way, begin - 2_000_000) for way in _WAYS]
            touched = "disturbed" if controller in controllers else "others"
            print(f"   {controller.name} ({touched}): longest time without a value of a tag by"
                  f" reading {gaps[0]:.1f} s, by subscription {gaps[1]:.1f} s", flush=True)
        self.check(True, "all three are collected again")

    def run(self) -> bool:
        self.start()
        self.compare_undisturbed()
        first, second, _ = self.controllers
        self.disturb(
            "The first server ends and starts again",
            [first],
            lambda: os.kill(first.server(), signal.SIGTERM),
            lambda: None,
        )
        self.disturb(
            "The second controller is off the network for 10 s",
            [second],
            lambda: second.set_connected(False),
            lambda: second.set_connected(True),
        )
        self.disturb(
            "The collector ends and starts again after 10 s",
            self.controllers,
            self.collector.stop,
            self.collector.start,
        )
        return not self.failures


def main() -> int:
    parser = argparse.ArgumentParser()
    for name in ("--bin", "--telegraf", "--work"):
        parser.add_argument(name, type=Path, required=True)
    fleet = Fleet(parser.parse_args())
    # It reports at each connect that the server grants a shorter time-out than it asked for.
    logging.getLogger("asyncua").setLevel(logging.ERROR)
    try:
        complete = fleet.run()
    except AssertionError as failure:
        print(f"fleet: {failure}", file=sys.stderr)
        return 1
    print("== Everything arrived" if complete else f"== {len(fleet.failures)} checks failed")
    return 0 if complete else 1


if __name__ == "__main__":
    sys.exit(main())
