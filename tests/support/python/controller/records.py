"""The passport records of the exported kinds, and the two files that describe their attributes.

The positions of fields are read from docs/attributes.md, which zrtsim prints from its own table. offatrs.dat:
int16 count of entries; a uint32 position for each; at position + 2 an int16 count of attributes, then
for each: int16 row, int16 bit, int32 offset, uint16 length and the name. atributs.dat: int16 count of
entries, then for each: int16 count and rows of int16 number, uint8 storage. An attribute's storage is
the row that it names, from 1.
"""

import struct
from dataclasses import dataclass
from pathlib import Path

OFFSETS = Path("/zrt/system/offatrs.dat")
STORAGES = Path("/zrt/system/atributs.dat")

RECORD_SIZE = {"VA": 114, "AV": 204, "RV": 48, "VD": 56, "DV": 58}
BIT, BYTE, INT16, FLOAT, TEXT = 0, 1, 2, 3, 6

_TABLE = Path(__file__).resolve().parents[4] / "docs/attributes.md"
_KINDS = {"VA": "VA", "AV": "AV", "HI": "RV", "DI": "VD", "DO": "DV"}  # by the database's names
_ENTRIES = ("VA", "VD", "RV", "", "", "DV", "", "AV")
_FORMATS = {BIT: "<B", BYTE: "<B", INT16: "<H", FLOAT: "<f", TEXT: "<9s"}


@dataclass
class Attribute:
    name: str  # of the field
    offset: int
    storage: int
    bit: int
    row: int  # of the file of storages

    @property
    def format(self) -> str:
        """The format for the struct module."""
        return "<17s" if self.name == "string.TZN" else _FORMATS[self.storage]


def attributes() -> dict[str, list[Attribute]]:
    """By kind, in the order of their numbers from 1. Each has a row of its own."""
    found: dict[str, list[Attribute]] = {}
    for line in _TABLE.read_text("utf-8").splitlines():
        cells = [cell.strip(" `") for cell in line.split("|")]
        if line.startswith("## "):
            described = found[_KINDS[line[3:]]] = []
        elif len(cells) > 1 and cells[1].isdigit():
            number, name, offset, _, storage = cells[1:6]
            bit = name[-1] if storage == "bit (0)" else "0"
            described.append(
                Attribute(name, int(offset), int(storage[-2]), int(bit), int(number))
            )
    return found


FIELDS = {kind: {field.name: field for field in all} for kind, all in attributes().items()}


def write_files(described: dict[str, list[Attribute]]) -> None:
    """Writes both files in place, so that their maker still recognises them by their inodes."""
    count = struct.pack("<h", len(_ENTRIES))
    positions, bodies, storages = count, b"", count
    for kind in _ENTRIES:
        entry = described.get(kind, [])
        positions += struct.pack("<I", 4 * len(_ENTRIES) + len(bodies))
        bodies += struct.pack("<h", len(entry))
        storages += struct.pack("<h", len(entry))
        for number, a in enumerate(entry, 1):
            bodies += struct.pack("<hhiH", a.row, a.bit, a.offset, 0)
            storages += struct.pack("<hB", number, a.storage)
    OFFSETS.write_bytes(positions + bodies)
    STORAGES.write_bytes(storages)


def describe_fewer(**counts: int) -> None:
    """Cuts the descriptions of some kinds to their first attributes."""
    described = attributes()
    for kind, count in counts.items():
        del described[kind][count:]
    write_files(described)
