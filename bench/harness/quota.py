"""A control group with a share of one core, like the one that systemd makes for CPUQuota=."""

from __future__ import annotations

import contextlib
import os
import pathlib
import time

from harness.load_plan import QUOTA_PERIOD_US

ROOT = pathlib.Path("/sys/fs/cgroup")


class QuotaError(Exception):
    """The machine offers no control group; the text states the reason."""


def _files(percent: int) -> tuple[pathlib.Path, dict[str, str]]:
    """The folder in which groups are made, and the files that set the quota there."""
    micros = QUOTA_PERIOD_US * percent // 100
    version1 = ROOT / "cpu"
    if (version1 / "cgroup.procs").exists():
        return version1, {
            "cpu.cfs_period_us": str(QUOTA_PERIOD_US),
            "cpu.cfs_quota_us": str(micros),
        }
    controllers = ROOT / "cgroup.subtree_control"
    if controllers.exists() and "cpu" in controllers.read_text().split():
        return ROOT, {"cpu.max": f"{micros} {QUOTA_PERIOD_US}"}
    raise QuotaError("there are no control groups with the controller cpu")


class Quota:
    """The group `folder`; remove() it when its processes have ended."""

    def __init__(self, percent: int) -> None:
        root, files = _files(percent)
        path = root / f"opcuasrv-bench-{os.getpid()}"
        self.folder = str(path)
        try:
            path.mkdir()
            for name, text in files.items():
                (path / name).write_text(text)
        except OSError as error:
            with contextlib.suppress(OSError):
                path.rmdir()
            raise QuotaError(f"{error.filename}: {error.strerror}") from error

    def remove(self) -> None:
        deadline = time.monotonic() + 5
        while time.monotonic() < deadline:
            try:
                pathlib.Path(self.folder).rmdir()
            except OSError:  # the last process is still on its way out
                time.sleep(0.05)
            else:
                return
