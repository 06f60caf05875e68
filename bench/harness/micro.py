"""The part of bench/micro/run that runs in the private root."""

from __future__ import annotations

import subprocess
import sys

from harness import plan as plans
from harness.processes import MeasurementError, progress
from harness.servers import controller


def main() -> int:
    bin_dir, *arguments = sys.argv[1:]
    try:
        with controller(bin_dir, plans.LOAD_TAGS):
            done = subprocess.run([f"{bin_dir}/bench_micro", *arguments], check=False)
    except MeasurementError as error:
        progress(f"bench: {error}")
        return 1
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
