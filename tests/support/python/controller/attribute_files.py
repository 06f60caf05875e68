"""The two files that say where each numbered attribute lies inside a record.

offatrs.dat: int16 count of entries; a uint32 position for each; at position + 2 an int16 count of
attributes, then for each: int16 kind, int16 bit, int32 offset, uint16 length and the name.
atributs.dat: int16 count of entries, then for each: int16 count and rows of int16 number, uint8
storage. An attribute's storage is the row that its kind names, from 1.
"""

import struct
from dataclasses import dataclass, field
from pathlib import Path

OFFSETS = Path("/zrt/system/offatrs.dat")
STORAGES = Path("/zrt/system/atributs.dat")

# The place of each kind's entry in both files.
ENTRY = {"VA": 0, "VD": 1, "RV": 2, "DV": 5, "AV": 7}

BIT, BYTE, INT16, FLOAT, TEXT = 0, 1, 2, 3, 6


@dataclass
class Attribute:
    kind: int
    bit: int
    offset: int
    name: bytes = b""


@dataclass
class Entry:
    attributes: list[Attribute] = field(default_factory=list)
    storages: list[tuple[int, int]] = field(default_factory=list)  # number, storage

    def storage(self, number: int) -> int:
        return self.storages[self.attributes[number - 1].kind - 1][1]

    def set_storage(self, number: int, storage: int) -> None:
        """Gives one attribute a storage through a row that no attribute has named so far."""
        used = {attribute.kind for attribute in self.attributes}
        row = next(kind for kind in range(1, len(self.storages) + 1) if kind not in used)
        self.storages[row - 1] = (row, storage)
        self.attributes[number - 1].kind = row


def _read_attributes(data: bytes, position: int) -> list[Attribute]:
    (count,) = struct.unpack_from("<h", data, position)
    position += 2
    attributes = []
    for _ in range(count):
        kind, bit, offset, length = struct.unpack_from("<hhiH", data, position)
        position += 10
        attributes.append(Attribute(kind, bit, offset, data[position : position + length]))
        position += length
    return attributes


def read_files() -> list[Entry]:
    offsets, storages = OFFSETS.read_bytes(), STORAGES.read_bytes()
    (count,) = struct.unpack_from("<h", offsets)
    if struct.unpack_from("<h", storages) != (count,):
        raise ValueError("the attribute files differ in their number of entries")
    entries = []
    row = 2
    for index in range(count):
        (position,) = struct.unpack_from("<I", offsets, 2 + 4 * index)
        entry = Entry(_read_attributes(offsets, position + 2))
        (rows,) = struct.unpack_from("<h", storages, row)
        entry.storages = [
            struct.unpack_from("<hB", storages, row + 2 + 3 * number) for number in range(rows)
        ]
        row += 2 + 3 * rows
        entries.append(entry)
    return entries


def write_files(entries: list[Entry]) -> None:
    """Writes both files in place, so that whoever made them still knows them by inode."""
    table = struct.pack("<h", len(entries))
    body = b""
    first = 2 + 4 * len(entries)
    storages = table
    for entry in entries:
        table += struct.pack("<I", first + len(body) - 2)
        body += struct.pack("<h", len(entry.attributes))
        for a in entry.attributes:
            body += struct.pack("<hhiH", a.kind, a.bit, a.offset, len(a.name)) + a.name
        storages += struct.pack("<h", len(entry.storages))
        storages += b"".join(struct.pack("<hB", *row) for row in entry.storages)
    OFFSETS.write_bytes(table + body)
    STORAGES.write_bytes(storages)


def describe_fewer(**counts: int) -> None:
    """Cuts the descriptions of some kinds to their first attributes."""
    entries = read_files()
    for kind, count in counts.items():
        entry = entries[ENTRY[kind]]
        del entry.attributes[count:]
        del entry.storages[count:]
    write_files(entries)
