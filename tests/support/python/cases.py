"""Configurations and their expected results, from the files in tests/system/cases."""

from pathlib import Path

_FOLDER = Path(__file__).resolve().parents[2] / "system/cases"


def read(name: str) -> dict[str, tuple[str, list[str]]]:
    """By the name of the case: the configuration, and the expected lines.

    A case is "==== NAME", comments "# ...", the expected lines, an empty line, and the configuration
    after the lines that all cases have in common.
    """
    cases: dict[str, tuple[str, list[str]]] = {}
    for part in ("\n" + (_FOLDER / name).read_text("utf-8")).split("\n==== ")[1:]:
        head, _, configuration = part.partition("\n\n")
        title, *lines = head.split("\n")
        cases[title] = configuration, [line for line in lines if not line.startswith("# ")]
    return cases


def cells(expected: list[str]) -> list[list[str]]:
    """The cells of lines "A | B | C"; "-" means nothing."""
    lines = [line.split(" | ") for line in expected if " | " in line]
    return [["" if cell == "-" else cell for cell in line] for line in lines]
