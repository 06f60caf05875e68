"""System V calls that the standard library lacks, and the kernel's list of objects."""

import ctypes
import os
import struct
from dataclasses import dataclass
from pathlib import Path

_IPC_CREAT = 0o1000
_IPC_NOWAIT = 0o4000
_IPC_RMID = 0
_GETVAL = 12
_SEM_UNDO = 0x1000
_TYPE = struct.calcsize("l")  # bytes before a message's text
_LONGEST_TEXT = 4080

_libc = ctypes.CDLL(None, use_errno=True)
_libc.shmat.restype = ctypes.c_void_p
_libc.shmat.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_int]
_libc.shmget.argtypes = [ctypes.c_int, ctypes.c_size_t, ctypes.c_int]
_libc.shmdt.argtypes = [ctypes.c_void_p]
_libc.msgsnd.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int]
_libc.msgrcv.argtypes = [*_libc.msgsnd.argtypes[:3], ctypes.c_long, ctypes.c_int]
_libc.msgrcv.restype = ctypes.c_ssize_t


@dataclass(frozen=True)
class IpcObject:
    """One line of the kernel's list. `kind` is "shm", "sem" or "msg"; `size` is 0 but for "shm"."""

    kind: str
    key: int
    id: int
    size: int = 0


def _checked(result: int, call: str) -> int:
    if result == -1:
        error = ctypes.get_errno()
        raise OSError(error, f"{call}: {os.strerror(error)}")
    return result


def _signed(key: int) -> int:
    return ctypes.c_int32(key).value


def objects() -> list[IpcObject]:
    """Every System V object of this IPC namespace."""
    found = []
    for kind in ("shm", "sem", "msg"):
        for line in Path(f"/proc/sysvipc/{kind}").read_text().splitlines()[1:]:
            column = [int(text) for text in line.split()]
            size = column[3] if kind == "shm" else 0
            found.append(IpcObject(kind, column[0] & 0xFFFFFFFF, column[1], size))
    return found


def find(key: int, kind: str = "shm") -> IpcObject | None:
    return next((o for o in objects() if (o.kind, o.key) == (kind, key)), None)


def create_segment(key: int, size: int) -> IpcObject:
    """Makes a zeroed segment, as another process of the controller would."""
    number = _checked(_libc.shmget(_signed(key), size, _IPC_CREAT | 0o600), "shmget")
    return IpcObject("shm", key, number, size)


def remove(target: IpcObject) -> None:
    number = (0,) if target.kind == "sem" else ()  # of the semaphore
    _checked(_libc[f"{target.kind}ctl"](target.id, *number, _IPC_RMID, None), f"{target.kind}ctl")


def value(semaphore: IpcObject) -> int:
    return _checked(_libc.semctl(semaphore.id, 0, _GETVAL), "semctl")


def lock(semaphore: IpcObject) -> None:
    """Locks it until this process ends."""
    _checked(_libc.semop(semaphore.id, struct.pack("Hhh", 0, -1, _SEM_UNDO), 1), "semop")


def send(queue: IpcObject, addressee: int, text: bytes) -> bool:
    """@return False when the queue has no room for it"""
    message = struct.pack("l", addressee) + text
    return _libc.msgsnd(queue.id, message, len(text), _IPC_NOWAIT) == 0


def receive(queue: IpcObject, addressee: int, wait: bool = True) -> bytes | None:
    """@return the text of the next message to the addressee; None when there is none to wait for"""
    message = ctypes.create_string_buffer(_TYPE + _LONGEST_TEXT)
    flags = 0 if wait else _IPC_NOWAIT
    size = _libc.msgrcv(queue.id, message, _LONGEST_TEXT, addressee, flags)
    return message.raw[_TYPE : _TYPE + size] if size >= 0 else None


class Attached:
    """The bytes of a segment, in place: other processes read what is written here.

    As a context manager it detaches at its end.
    """

    def __init__(self, segment: IpcObject) -> None:
        address = _libc.shmat(segment.id, None, 0)
        if address in (None, ctypes.c_void_p(-1).value):
            raise OSError(ctypes.get_errno(), "shmat")
        self._address = address
        self.bytes = memoryview((ctypes.c_ubyte * segment.size).from_address(address)).cast("B")

    def __enter__(self) -> memoryview:
        return self.bytes

    def __exit__(self, *raised: object) -> None:
        self.detach()

    def detach(self) -> None:
        self.bytes.release()
        _libc.shmdt(self._address)
