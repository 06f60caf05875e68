"""The name registry: 40 entries of an int32 process id and a name of 36 bytes."""

import struct

from controller import ipc_keys, sysv

_ENTRY = struct.Struct("<i36s")
_ENTRIES = 40


def holders() -> dict[str, int]:
    """Registered names with their process ids."""
    with sysv.Attached(_segment()) as table:
        entries = _ENTRY.iter_unpack(bytes(table[: _ENTRIES * _ENTRY.size]))
    names = {name.split(b"\0")[0].decode("cp866"): pid for pid, name in entries}
    names.pop("", None)
    return names


def add_holder(name: str, pid: int) -> None:
    """Writes a holder to the entry of the name, or to the first free one."""
    entered = name.encode("cp866")
    with sysv.Attached(_segment()) as table:
        for offset in range(0, _ENTRIES * _ENTRY.size, _ENTRY.size):
            if bytes(table[offset + 4 : offset + 40]).split(b"\0")[0] in (b"", entered):
                _ENTRY.pack_into(table, offset, pid, entered)
                return
    raise LookupError("the registry is full")


def replace_by(size: int) -> None:
    """Replaces the registry by a segment of another size, which nobody can attach."""
    sysv.remove(_segment())
    sysv.create_segment(ipc_keys.fixed_key(ipc_keys.REGISTRY), size)


def _segment() -> sysv.IpcObject:
    segment = sysv.find(ipc_keys.fixed_key(ipc_keys.REGISTRY))
    assert segment is not None, "there is no registry"
    return segment
