"""Configurations and what is expected of them, as the files in tests/system/cases hold them."""

from pathlib import Path

_FOLDER = Path(__file__).resolve().parents[2] / "system/cases"


def read(name: str) -> dict[str, tuple[str, list[str]]]:
    """By the name of the case: the configuration, and the lines of what is expected.

    A case is "==== NAME", comments "# ...", the lines expected, an empty line, and what the
    configuration has behind the lines that all of them have.
    """
    cases: dict[str, tuple[str, list[str]]] = {}
    for part in ("\n" + (_FOLDER / name).read_text("utf-8")).split("\n==== ")[1:]:
        head, _, configuration = part.partition("\n\n")
        title, *lines = head.split("\n")
        cases[title] = configuration, [line for line in lines if not line.startswith("# ")]
    return cases


def cells(expected: list[str]) -> list[list[str]]:
    """Of the lines "A | B | C"; "-" stands for nothing."""
    lines = [line.split(" | ") for line in expected if " | " in line]
    return [["" if cell == "-" else cell for cell in line] for line in lines]
