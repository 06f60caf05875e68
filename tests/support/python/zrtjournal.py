"""The event journal in memory and in its files, as zrtjournal shows it."""

import json
from typing import Any

from programs import run_to_end


def shown(*arguments: str, status: int = 0) -> list[str]:
    """Its lines, followed by what it reports."""
    done = run_to_end("zrtjournal", *arguments)
    assert done.returncode == status, done.stderr
    return (done.stdout + done.stderr).splitlines()


def messages(*arguments: str, status: int = 0) -> list[dict[str, Any]]:
    """The messages of the ring, oldest first, or those that the arguments select."""
    return [json.loads(line) for line in shown("--json", *arguments, status=status)]


def codes(*arguments: str) -> list[int]:
    return [message["code"] for message in messages(*arguments)]


def saved() -> tuple[list[int | None], list[int]]:
    """Number of the save in main copy and reserve; codes of the copy that a start would load now.

    A save may be writing the other copy.
    """
    lines = run_to_end("zrtjournal", "--files", "--json").stdout.splitlines()
    main, reserve, *found = map(json.loads, lines)
    return [main["save"], reserve["save"]], [message["code"] for message in found]
