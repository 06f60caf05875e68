"""What the command lines of run, load and instructions have in common."""

from __future__ import annotations

import argparse
import json
import pathlib
import subprocess
import sys
from collections.abc import Callable
from typing import Any

REPOSITORY = pathlib.Path(__file__).resolve().parents[2]
NOISY_LOAD = 0.5


def say(text: str) -> None:
    print(text, file=sys.stderr, flush=True)


def parser(name: str, description: str, epilog: str, table_for: str) -> argparse.ArgumentParser:
    """With the options on where the figures go; `table_for` is what --markdown prints the table for."""
    made = argparse.ArgumentParser(
        prog=f"bench/{name}",
        description=description,
        epilog=epilog,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    made.add_argument("--markdown", action="store_true", help=f"print the table for {table_for}")
    made.add_argument("--json", type=pathlib.Path, metavar="FILE", help="write all figures")
    return made


def add_build_dir(to: argparse.ArgumentParser) -> None:
    to.add_argument(
        "--build-dir", type=pathlib.Path, metavar="DIR",
        help="use these programs (default: build the preset release first)",
    )  # fmt: skip


def parsed(by: argparse.ArgumentParser) -> argparse.Namespace:
    arguments = by.parse_args()
    if arguments.json is not None and not arguments.json.parent.is_dir():
        by.error(f"--json: there is no folder {arguments.json.parent}")
    return arguments


def write_json(file: pathlib.Path | None, figures: Any) -> None:
    if file is not None:
        text = json.dumps(figures, ensure_ascii=False, indent=1)
        file.write_text(text + "\n", encoding="utf-8")


def build(targets: tuple[str, ...], preset: str = "release") -> pathlib.Path:
    """Returns the build's folder; its output is shown only if it fails."""
    say(f"Building (build/{preset}) ...")
    folder = REPOSITORY / "build" / preset
    for command in (
        ["cmake", "--preset", preset, "-DOPCUASRV_BENCH=ON", "-DOPCUASRV_SIM=ON",
         "-DOPCUASRV_TESTS=ON"],
        ["cmake", "--build", str(folder), "--target", *targets],
    ):  # fmt: skip
        done = subprocess.run(
            command,
            cwd=REPOSITORY,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            check=False,
        )
        if done.returncode != 0:
            say(done.stdout)
            sys.exit(1)
    return folder


def run_inside(module: str, plan: str, writable: str = "") -> Any:
    """The result of a module that runs in a private root; ends the program if it fails.

    `writable` is a folder of this machine that the module may write to.
    """
    command = [
        str(REPOSITORY / "tools/dev/sandbox"), "--private-net",
        *(["--rw", writable] if writable else []), "--",
        sys.executable, "-B", "-m", module, plan,
    ]  # fmt: skip
    done = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=False)
    if done.returncode != 0:
        sys.exit(1)
    return json.loads(done.stdout)


def run_program(main: Callable[[], int]) -> None:
    """Ends the program with its status."""
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
