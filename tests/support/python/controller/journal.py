"""The event journal as another program sees it: bytes at offsets in shared memory, and its files."""

import struct
from dataclasses import dataclass

from controller import ipc_keys, sysv
from controller.ipc_keys import ROOT

DATA = ROOT / "sram"
MAIN = (DATA / "dat/rolling2.dat", DATA / "dat/cntroll2.dat", DATA / "check/chk_rol2.dat")
RESERVE = (DATA / "rezerv/rolling2.dat", DATA / "rezerv/cntroll2.dat", DATA / "check/chk_rol2.rez")
FILES = (*MAIN, *RESERVE)

POSITION_FLAG, FIRST_DICTIONARY = 45, 71
SETTINGS, RING, COUNTER, LAST, READERS = 50, 51, 52, 53, 57
_OWN_SEGMENTS = (*range(SETTINGS, 59), 87)

_RECORD = 281
_HEAD = struct.Struct("<iiIHIIbhB")
_NUMBERS = {1: "b", 2: "B", 3: "h", 4: "H", 5: "i", 6: "I", 7: "f", 8: "d", 11: "i", 12: "I"}
_TEXT = 9


@dataclass(frozen=True)
class Message:
    """Texts are the bytes that lie there, without their NUL."""

    stamp: tuple[int, int]
    time_ms: int
    dictionary: int
    code: int
    variable: tuple[int, int]
    arguments: tuple[int | float | bytes, ...]


def parse(data: bytes) -> Message:
    """The message at the beginning of `data`; fails when an argument is not what its type says."""
    seconds, micros, date, milli, dictionary, code, kind, number, count = _HEAD.unpack_from(data)
    at = _HEAD.size
    arguments: list[int | float | bytes] = []
    for _ in range(count):
        code_of_type, length = data[at], data[at + 1]
        value = data[at + 2 : at + 2 + length]
        assert len(value) == length, "the message ends inside an argument"
        at += 2 + length
        if code_of_type == _TEXT:
            assert value.find(b"\0") == length - 1, "a text ends with its only NUL"
            arguments.append(value[:-1])
        else:
            (decoded,) = struct.unpack("<" + _NUMBERS[code_of_type], value)
            arguments.append(decoded)
    assert at <= _RECORD
    stamp = (seconds, micros)
    time_ms = date * 1000 + milli
    return Message(stamp, time_ms, dictionary, code, (kind, number), tuple(arguments))


def _key(index: int, generation: int) -> int:
    if index == POSITION_FLAG:
        return ipc_keys.ftok(ROOT / "vskontr", ord("d"))
    file = "vskontr" if index in range(FIRST_DICTIONARY, FIRST_DICTIONARY + 5) else "proxy"
    return ipc_keys.ftok(ROOT / file, ipc_keys.project_character(index, generation))


def segment(index: int, generation: int = 0) -> bytes | None:
    """A copy of a segment of the journal."""
    found = sysv.find(_key(index, generation))
    if found is None:
        return None
    with sysv.Attached(found) as table:
        return bytes(table)


def ring(generation: int = 0) -> list[Message]:
    """The messages in shared memory, oldest first, as they were while nobody posted."""
    places = (COUNTER, LAST, SETTINGS)
    while True:
        before = [segment(index, generation) for index in places]
        records = segment(RING, generation)
        if before == [segment(index, generation) for index in places]:
            break
    assert records is not None and None not in before, "there is no journal"
    held, newest, capacity = (struct.unpack_from("<H", part or b"")[0] for part in before)
    assert held <= capacity and newest < capacity and len(records) >= capacity * _RECORD
    slots = [(newest - age) % capacity for age in reversed(range(held))]
    messages = [parse(records[slot * _RECORD : (slot + 1) * _RECORD]) for slot in slots]
    stamps = [message.stamp for message in messages]
    assert stamps == sorted(set(stamps)), "stamps rise, and none comes twice"
    return messages


def objects() -> list[sysv.IpcObject]:
    """The journal's own objects that there are, of the first generation or of none."""
    try:
        segments = {_key(index, generation) for index in _OWN_SEGMENTS for generation in (0, 255)}
        semaphore = ipc_keys.ftok(ROOT / "proxy", ord("*"))
    except FileNotFoundError:
        return []
    return [
        o
        for o in sysv.objects()
        if (o.kind == "shm" and o.key in segments) or (o.kind == "sem" and o.key == semaphore)
    ]
