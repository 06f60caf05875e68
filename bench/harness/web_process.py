"""What processes take, also those whose threads come and go."""

from __future__ import annotations

import contextlib
import os
import pathlib

from harness.processes import Program


def memory(program: Program) -> dict[str, float]:
    """Megabytes: resident, and the same with shared pages counted in parts."""
    found = {}
    for line in pathlib.Path(f"/proc/{program.pid}/smaps_rollup").read_text().splitlines()[1:]:
        name, value = line.split(":")
        found[name] = int(value.split()[0]) / 1024
    return {"rss": found["Rss"], "pss": found["Pss"]}


def descendants(pid: int) -> list[int]:
    """All processes below one."""
    parents: dict[int, int] = {}
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError, IndexError, ValueError):
            fields = (folder / "stat").read_text().rpartition(")")[2].split()
            parents[int(folder.name)] = int(fields[1])
    found = [pid]
    for parent in found:
        found += [child for child, its_parent in parents.items() if its_parent == parent]
    return found[1:]


def seconds_of(pids: list[int]) -> float:
    """Processor time of these processes, in seconds."""
    ticks = 0
    for pid in pids:
        with contextlib.suppress(OSError, IndexError, ValueError):
            fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
            ticks += int(fields[11]) + int(fields[12])
    return ticks / os.sysconf("SC_CLK_TCK")
