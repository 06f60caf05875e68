"""The event journal as another program sees it: bytes at offsets, in shared memory and in files."""

import struct
from dataclasses import dataclass
from pathlib import Path

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
_FILE_HEAD = struct.Struct("<10sHH")
_NUMBERS = {1: "b", 2: "B", 3: "h", 4: "H", 5: "i", 6: "I", 7: "f", 8: "d", 11: "i", 12: "I"}
_TEXT = 9


class NotWhole(ValueError):
    """A file that is damaged, or that its writer has not finished."""


@dataclass(frozen=True)
class Message:
    """Texts are the bytes that lie there, without their NUL."""

    stamp: tuple[int, int]
    time_ms: int
    dictionary: int
    code: int
    variable: tuple[int, int]
    arguments: tuple[int | float | bytes, ...]
    size: int  # in a file


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
    return Message(stamp, time_ms, dictionary, code, (kind, number), tuple(arguments), at)


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
    _assert_stamps_rise(messages)
    return messages


def messages_file(path: Path) -> list[Message]:
    """The messages of a file, oldest first. Raises NotWhole."""
    try:
        messages = _messages_of(path.read_bytes())
    except (AssertionError, IndexError, struct.error) as error:
        raise NotWhole(f"{path}: {error}") from error
    _assert_stamps_rise(messages)
    return messages


def _messages_of(data: bytes) -> list[Message]:
    tag, count, last = _FILE_HEAD.unpack_from(data)
    assert (tag, last) == (b"veskrol2.1", count - 1), "the header contradicts itself"
    data = data[_FILE_HEAD.size :]
    messages = []
    for _ in range(count):
        messages.append(parse(data))
        data = data[messages[-1].size :]
    assert data == b"", "something follows the last message"
    return messages


def save_number(path: Path) -> int | None:
    """The number of the save in a CRC file; None when the file is missing or not whole."""
    if not path.exists():
        return None
    data = path.read_bytes()
    if len(data) != 14 or data[:8] != b"VSX__CRC":
        return None
    check = _crc16_modbus(data[8:12])
    return struct.unpack("<I", data[8:12])[0] if data[12:] == check.to_bytes(2, "big") else None


def _crc16_modbus(data: bytes) -> int:
    crc = 0xFFFF
    for byte in data:
        crc ^= byte
        for _ in range(8):
            crc = crc >> 1 ^ (0xA001 if crc & 1 else 0)
    return crc


def _assert_stamps_rise(messages: list[Message]) -> None:
    stamps = [message.stamp for message in messages]
    assert stamps == sorted(set(stamps)), "stamps rise, and none comes twice"


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
