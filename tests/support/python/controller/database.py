"""The real-time database in shared memory, read and written in place."""

import struct
from dataclasses import dataclass

from controller import ipc_keys, sysv
from controller.records import FIELDS, RECORD_SIZE, Attribute

KINDS = ("VA", "AV", "RV", "VD", "DV")  # order of the counts and of the time-quality-flags table

_VALUE_FORMAT = {"VA": "<f", "AV": "<f", "RV": "<f", "VD": "<B", "DV": "<B"}
_TQF = struct.Struct("<qqII")  # seconds, microseconds, quality, flags

Value = float | int | bytes


@dataclass(frozen=True)
class TimeQuality:
    seconds: int
    microseconds: int
    quality: int
    flags: int


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

    # -- Current values and current data

    def value(self, kind: str, number: int) -> Value:
        """The current value: what a reader of the variable gets."""
        return self._get(*self._value_place(kind, number, column=2))

    def data(self, kind: str, number: int) -> Value:
        """The current data: where a writer's value arrives."""
        return self._get(*self._value_place(kind, number, column=1))

    def set_data(self, kind: str, number: int, value: Value) -> None:
        self._set(*self._value_place(kind, number, column=1), value)

    # -- Passport

    def field(self, kind: str, number: int, name: str) -> Value:
        """A field of the variable's passport; a text comes as all of its bytes."""
        return self._get(*self._field_place(kind, number, FIELDS[kind][name]))

    def set_field(self, kind: str, number: int, name: str, value: Value) -> None:
        self._set(*self._field_place(kind, number, FIELDS[kind][name]), value)

    def record(self, kind: str, number: int) -> memoryview:
        """The bytes of the variable's passport, in place."""
        size = RECORD_SIZE[kind]
        return self._table(ipc_keys.TABLES[kind][0])[(number - 1) * size : number * size]

    # -- Time, quality, flags

    def time_quality(self, kind: str, number: int) -> TimeQuality:
        return TimeQuality(*_TQF.unpack_from(*self._tqf_place(kind, number)))

    def set_quality(self, kind: str, number: int, quality: int) -> None:
        table, offset = self._tqf_place(kind, number)
        struct.pack_into("<I", table, offset + 16, quality)

    def set_time(self, kind: str, number: int, seconds: int, microseconds: int) -> None:
        struct.pack_into("<qq", *self._tqf_place(kind, number), seconds, microseconds)

    # -- Segments as wholes

    def announce_generation(self, later: int) -> None:
        """Points other processes to segments that many generations later than the ones in use."""
        byte = self._bytes_of(ipc_keys.fixed_key(ipc_keys.GENERATION))
        byte[0] = (self._generation + later) & 0xFF

    def remove_table(self, index: int) -> None:
        """Takes a table's segment away, as a controller that never made it."""
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

    def _value_place(self, kind: str, number: int, column: int) -> tuple[memoryview, int, str]:
        if kind == "AV":  # an analog output keeps its value in the passport
            return self._field_place(kind, number, FIELDS[kind]["IM"])
        indices = ipc_keys.TABLES[kind]
        index = indices[column] if indices[column] is not None else indices[2]
        layout = _VALUE_FORMAT[kind]
        return self._table(index), (number - 1) * struct.calcsize(layout), layout

    def _field_place(self, kind: str, number: int, field: Attribute) -> tuple[memoryview, int, str]:
        table = self._table(ipc_keys.TABLES[kind][0])
        return table, (number - 1) * RECORD_SIZE[kind] + field.offset, field.format

    def _tqf_place(self, kind: str, number: int) -> tuple[memoryview, int]:
        before = sum(self.counts[k] for k in KINDS[: KINDS.index(kind)])
        return self._table(ipc_keys.TIME_QUALITY), (before + number - 1) * _TQF.size

    @staticmethod
    def _get(table: memoryview, offset: int, layout: str) -> Value:
        return struct.unpack_from(layout, table, offset)[0]

    @staticmethod
    def _set(table: memoryview, offset: int, layout: str, value: Value) -> None:
        struct.pack_into(layout, table, offset, value)
