"""Converts an IPC index to a System V key.

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

# Beginning of the published table of project characters, sixteen a row.
_CHARACTERS = bytes.fromhex(
    """
    00 01 02 03 04 05 06 07 08 09 0A 0B 0C 1A 1B 1C
    1D 1E 1F 20 21 22 23 24 25 26 41 42 43 44 45 46
    47 48 49 4A 4B 4C 4D 34 35 36 37 38 39 3A 3B 3C
    3D 3E 3F 40 5B 5C 5D 5E 5F 60 D3 D4 D5 D6 D7 D8
    D9 DA DB DC B6 B7 B8 6E 6F 70 71 72 73 74 27 28
    29 2A 2B 2C 2D 2E 2F 30 31 32 33 75 76 77 78 79
    7A 7B 7C 7D 7E 7F 80 81 82 83 84 85 86 87 88 89
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
    """Key of a database segment whose character follows the generation byte; the key file is vskontr."""
    return ftok(ROOT / "vskontr", project_character(index, generation))
