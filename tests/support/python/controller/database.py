"""The real-time database in shared memory, read and written in place."""

import struct

from controller import ipc_keys, sysv
from controller.records import FIELDS, RECORD_SIZE

KINDS = ("VA", "AV", "RV", "VD", "DV")  # order of the counts and of the time-quality-flags table

_TQF = struct.Struct("<qqII")  # seconds, microseconds, quality, flags
_DATA_SIZE = {"VA": 4, "RV": 4, "VD": 1, "DV": 1}

Value = float | int | bytes


class Database:
    """Variables are addressed by kind ("VA", "AV", "RV", "VD", "DV") and number from 1."""

    def __init__(self) -> None:
        self._attached: dict[int, sysv.Attached] = {}
        generation = self._bytes_of(ipc_keys.fixed_key(ipc_keys.GENERATION))[0]
        self._generation = generation
        counts = struct.unpack("<13H", bytes(self._table(ipc_keys.COUNTS)[:26]))
        self.counts = dict(zip(KINDS, counts, strict=False))  # other counts follow

    def close(self) -> None:
        for attached in self._attached.values():
            attached.detach()
        self._attached.clear()

    # -- Passports and current data

    def tables(self, kind: str) -> list[memoryview]:
        """The passports, and the current data, to which writes go; an analog output has no array of
        current data.
        """
        passport, data, value = ipc_keys.TABLES[kind]
        return [self._table(index) for index in (passport, data or value) if index]

    def place(self, kind: str, number: int, name: str | None) -> int:
        """Offset in its table of a passport's field, or of the current data."""
        if name is None:
            return (number - 1) * _DATA_SIZE[kind]
        return (number - 1) * RECORD_SIZE[kind] + FIELDS[kind][name].offset

    def field(self, kind: str, number: int, name: str) -> Value:
        """A field of the variable's passport; for a text, all of its bytes."""
        layout, offset = FIELDS[kind][name].format, self.place(kind, number, name)
        return struct.unpack_from(layout, self.tables(kind)[0], offset)[0]

    def set_field(self, kind: str, number: int, name: str, value: Value) -> None:
        layout, offset = FIELDS[kind][name].format, self.place(kind, number, name)
        struct.pack_into(layout, self.tables(kind)[0], offset, value)

    def record(self, kind: str, number: int) -> memoryview:
        """The bytes of the variable's passport, in place."""
        size = RECORD_SIZE[kind]
        return self.tables(kind)[0][(number - 1) * size : number * size]

    # -- Time, quality, flags

    def seconds(self, kind: str, number: int) -> int:
        return _TQF.unpack_from(*self._tqf_place(kind, number))[0]

    def set_quality(self, kind: str, number: int, quality: int) -> None:
        table, offset = self._tqf_place(kind, number)
        struct.pack_into("<I", table, offset + 16, quality)

    def set_time(self, kind: str, number: int, seconds: int, microseconds: int) -> None:
        struct.pack_into("<qq", *self._tqf_place(kind, number), seconds, microseconds)

    # -- Segments as wholes

    def announce_generation(self, later: int) -> None:
        """Directs other processes to segments that are `later` generations after those in use."""
        byte = self._bytes_of(ipc_keys.fixed_key(ipc_keys.GENERATION))
        byte[0] = (self._generation + later) & 0xFF

    def remove_table(self, index: int) -> None:
        """Removes a table's segment, as if the controller had never made it."""
        segment = sysv.find(ipc_keys.table_key(index, self._generation))
        if segment is None:
            raise LookupError(f"no segment of index {index}")
        sysv.remove(segment)

    # -- Places

    def _bytes_of(self, key: int) -> memoryview:
        if key not in self._attached:
            segment = sysv.find(key)
            if segment is None:
                raise LookupError(f"no segment with the key {key:#010x}")
            self._attached[key] = sysv.Attached(segment)
        return self._attached[key].bytes

    def _table(self, index: int) -> memoryview:
        return self._bytes_of(ipc_keys.table_key(index, self._generation))

    def _tqf_place(self, kind: str, number: int) -> tuple[memoryview, int]:
        before = sum(self.counts[k] for k in KINDS[: KINDS.index(kind)])
        return self._table(ipc_keys.TIME_QUALITY), (before + number - 1) * _TQF.size
