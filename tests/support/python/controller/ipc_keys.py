"""From an IPC index to a System V key.

An index names a row: a key file below the installation root and a project character. In most rows
the character is not fixed: it is looked up by index plus the generation byte, so that a new
generation of segments gets new keys.
"""

import os
from pathlib import Path

ROOT = Path("/zrt")

REGISTRY = 0
GENERATION = 48
COUNTS = 59
TIME_QUALITY = 85

# Passport, current data, current value of each exported kind; None where it has no such array.
TABLES: dict[str, tuple[int, int | None, int | None]] = {
    "VA": (10, 11, 12),
    "AV": (13, None, None),
    "RV": (14, None, 15),
    "VD": (16, 17, 18),
    "DV": (19, 20, 21),
}

_FIXED = {REGISTRY: ("proxy", "a"), GENERATION: ("proxy", "j")}

# Published table of project characters, sixteen a row.
_CHARACTERS = bytes.fromhex(
    """
    00 01 02 03 04 05 06 07 08 09 0A 0B 0C 1A 1B 1C
    1D 1E 1F 20 21 22 23 24 25 26 41 42 43 44 45 46
    47 48 49 4A 4B 4C 4D 34 35 36 37 38 39 3A 3B 3C
    3D 3E 3F 40 5B 5C 5D 5E 5F 60 D3 D4 D5 D6 D7 D8
    D9 DA DB DC B6 B7 B8 6E 6F 70 71 72 73 74 27 28
    29 2A 2B 2C 2D 2E 2F 30 31 32 33 75 76 77 78 79
    7A 7B 7C 7D 7E 7F 80 81 82 83 84 85 86 87 88 89
    8A 8B 8C 8D 8E DD DE DF E0 E1 E2 E3 E4 E5 E6 E7
    E8 E9 8F 90 91 92 93 94 95 96 97 98 99 9A 9B A9
    AA AB AC AD AE AF B0 B1 B2 B3 B4 B5 9C 9D 9E 9F
    A0 A1 A2 A3 A4 A5 A6 A7 A8 C3 C4 C5 C6 C7 C8 C9
    CA CB CC CD CE CF D0 D1 D2 D3 D4 D5 D6 D7 D8 D9
    DA DB DC B6 B7 B8 B9 BA BB BC BD BE BF C0 C1 C2
    EA EB EC ED EE EF F0 F1 F2 F3 F4 F5 F6 0D 0E 0F
    10 11 12 13 14 15 16 17 18 19 4E 4F 50 51 52 53
    54 55 56 57 58 59 5A F7 F8 F9 FA FB FC FD FE FF
    """
)


def ftok(path: Path, character: int) -> int:
    """The C library's key of a file: low bits of inode and device under the project character."""
    status = os.stat(path)
    return (character & 0xFF) << 24 | (status.st_dev & 0xFF) << 16 | (status.st_ino & 0xFFFF)


def fixed_key(index: int) -> int:
    file, character = _FIXED[index]
    return ftok(ROOT / file, ord(character))


def project_character(index: int, generation: int) -> int:
    """The character of an index that follows the generation byte."""
    return _CHARACTERS[(index + generation) & 0xFF]


def table_key(index: int, generation: int) -> int:
    """Key of a database segment whose character follows the generation byte; they lie on vskontr."""
    return ftok(ROOT / "vskontr", project_character(index, generation))
