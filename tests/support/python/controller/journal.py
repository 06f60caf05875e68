"""The event journal as seen by another program: segments, a semaphore and files."""

from controller import ipc_keys, sysv
from controller.ipc_keys import ROOT

DATA = ROOT / "sram"
MAIN = (DATA / "dat/rolling2.dat", DATA / "dat/cntroll2.dat", DATA / "check/chk_rol2.dat")
RESERVE = (DATA / "rezerv/rolling2.dat", DATA / "rezerv/cntroll2.dat", DATA / "check/chk_rol2.rez")
FILES = (*MAIN, *RESERVE)

POSITION_FLAG, FIRST_DICTIONARY = 45, 71
RING, READERS = 51, 57
_OWN_SEGMENTS = (*range(50, 59), 87)

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


def objects() -> list[sysv.IpcObject]:
    """The journal's own existing objects, of the first generation or of none."""
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
