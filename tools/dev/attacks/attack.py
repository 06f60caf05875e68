"""What one client can do to the others: attacks the server beside it and prints what they cost.

Run by tools/dev/attack. Bounded in count and time; loopback only.
"""

import argparse
import contextlib
import multiprocessing
import os
import resource
import struct
import sys
import time
from collections.abc import Callable, Iterator
from multiprocessing.connection import Connection
from pathlib import Path
from typing import Any

from asyncua import ua
from asyncua.ua.ua_binary import struct_to_binary
from raw_client import CHUNK, RawClient, Refused, status_name

LEVEL = ua.NodeId(2267, 0)
OBJECTS = ua.NodeId(85, 0)
SESSION_DIAGNOSTICS = ua.NodeId(3707, 0)
SERVER, RESEND_DATA = ua.NodeId(2253, 0), ua.NodeId(12873, 0)


class Target:
    """The server's process."""

    def __init__(self, port: int) -> None:
        self.port = port
        self.pid = next(
            int(path.parent.name)
            for path in Path("/proc").glob("[0-9]*/comm")
            if path.read_text().strip() == "opcuasrv"
        )

    def memory_mb(self, what: str) -> float:
        """VmRSS now, or VmHWM, its peak since forget_peak()."""
        for line in Path(f"/proc/{self.pid}/status").read_text().splitlines():
            if line.startswith(what):
                return int(line.split()[1]) / 1024
        raise LookupError(what)

    def forget_peak(self) -> None:
        Path(f"/proc/{self.pid}/clear_refs").write_text("5")

    def cpu_seconds(self) -> float:
        words = Path(f"/proc/{self.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")

    def cpu_share(self, seconds: float) -> float:
        """Of one core, in the next seconds."""
        before = self.cpu_seconds()
        time.sleep(seconds)
        return (self.cpu_seconds() - before) / seconds

    def client(self, **settings: Any) -> RawClient:
        return RawClient(self.port, **settings)


# ---- The well-behaved client --------------------------------------------------------------------


def _reads(count: int) -> ua.ReadRequest:
    request = ua.ReadRequest()
    request.Parameters.NodesToRead = [ua.ReadValueId(LEVEL, ua.AttributeIds.Value)] * count
    return request


def _observe(port: int, report: Connection) -> None:
    """Reads 100 values every 50 ms until it is to stop; reports the waits, in ms."""
    client, waits = RawClient(port, name="observer"), []
    report.send(None)
    while not report.poll(0.05):
        began = time.perf_counter()
        client.request(_reads(100))
        waits.append((time.perf_counter() - began) * 1000)
    report.send(sorted(waits))


@contextlib.contextmanager
def observed(target: Target) -> Iterator[list[float]]:
    """A process of its own reads meanwhile; afterwards the list holds its waits, sorted."""
    ours, theirs = multiprocessing.Pipe()
    process = multiprocessing.Process(target=_observe, args=(target.port, theirs), daemon=True)
    process.start()
    theirs.close()
    ours.recv()
    waits: list[float] = []
    try:
        yield waits
    finally:
        with contextlib.suppress(OSError, EOFError):
            ours.send("stop")
            waits += ours.recv() if ours.poll(60) else []
        process.kill()
        process.join()


# ---- The attacks --------------------------------------------------------------------------------
# Each returns in a few words what came of it.


def refused_with(action: Callable[[], object]) -> str:
    try:
        action()
    except Refused as refusal:
        return str(refusal)
    return "served"


def unfinished_messages(connections: int, size: int) -> Callable[[Target], str]:
    """So many bytes of a Read on each connection, in chunks of which none is the last."""

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
        time.sleep(1)  # what the kernel has taken is read, and the ends of connections arrive
        send_one_each()
        for client in clients:
            client.close()
        return f"{connections - len(open_ones)} of {connections} connections closed"

    return attack


def large_request(type_id: int, element: bytes, size: int = 16 << 20) -> Callable[[Target], str]:
    """One request whose array holds the element over and over."""

    def attack(target: Target) -> str:
        client = target.client()
        header = client.header()
        count = size // len(element)
        body = struct.pack("<BBH", 1, 0, type_id) + header + struct.pack("<i", count)
        result = refused_with(lambda: (client.send_body(body + element * count), client.answer()))
        client.close()
        return result

    return attack


def values_in_values(size: int) -> Callable[[Target], str]:
    """A write of one array of empty data values, which take 80 times as much memory as bytes."""

    def attack(target: Target) -> str:
        client = target.client()
        body = struct.pack("<BBH", 1, 0, 673) + client.header()
        body += struct.pack("<i", 1) + struct.pack("<BBHIi", 1, 0, 2267, 13, -1)
        body += struct.pack("<BBi", 1, 0x80 | 23, size) + b"\0" * size
        result = refused_with(lambda: (client.send_body(body), client.answer()))
        client.close()
        return result

    return attack


def values_in_header(size: int) -> Callable[[Target], str]:
    """The same in a part of the request's header that the standard leaves to extensions."""

    def attack(target: Target) -> str:
        client = target.client()
        values = struct.pack("<i", size) + b"\0" * size
        extension = struct.pack("<BBHBi", 1, 0, 658, 1, len(values)) + values  # HistoryData
        no_extension = b"\0\0\0"
        body = struct.pack("<BBH", 1, 0, 631) + client.header().removesuffix(no_extension)
        body += extension + struct.pack("<dii", 0, 0, 0)
        result = refused_with(lambda: (client.send_body(body), client.answer()))
        client.close()
        return result

    return attack


def browse_often(target: Target) -> str:
    client, request = target.client(), ua.BrowseRequest()
    one = ua.BrowseDescription(NodeId=OBJECTS, ReferenceTypeId=ua.NodeId(33, 0))
    request.Parameters.NodesToBrowse = [one] * 2000
    result = refused_with(lambda: client.request(request))
    client.close()
    return result


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
    """99 clients that stay connected and say nothing more."""
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
                return "nobody else gets in within 30 s"
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


def _subscribe(
    client: RawClient, interval_ms: float = 1000.0, lifetime: int = 2**32 - 1
) -> int:
    request = ua.CreateSubscriptionRequest()
    request.Parameters = ua.CreateSubscriptionParameters(
        RequestedPublishingInterval=interval_ms,
        RequestedLifetimeCount=lifetime,
        RequestedMaxKeepAliveCount=lifetime // 3,
        PublishingEnabled=True,
    )
    return struct.unpack_from("<I", client.request(request))[0]


def _monitor(subscription: int, count: int, queue: int = 2**32 - 1) -> bytes:
    """The body of a request, without its header and authentication token."""
    wanted = ua.MonitoredItemCreateRequest(
        ItemToMonitor=ua.ReadValueId(ua.NodeId(2258, 0), ua.AttributeIds.Value),  # the time
        MonitoringMode=ua.MonitoringMode.Reporting,
        RequestedParameters=ua.MonitoringParameters(SamplingInterval=0.0, QueueSize=queue),
    )
    return struct.pack("<III", subscription, 2, count) + struct_to_binary(wanted) * count


def _add_items(client: RawClient, subscription: int, count: int) -> int:
    """@return how many it got"""
    body = struct.pack("<BBH", 1, 0, 751) + client.header() + _monitor(subscription, count)
    client.send_body(body)
    answer = client.answer()
    (results,) = struct.unpack_from("<i", answer)
    # A result without a filter has 23 bytes.
    good, at = 0, 4
    for _ in range(results):
        good += struct.unpack_from("<I", answer, at)[0] == 0
        at += 23
    return good


def many_items(target: Target) -> str:
    """A million monitored items, ten sessions, then all of them close at once."""
    got, clients = 0, [target.client() for _ in range(10)]
    for client in clients:
        with contextlib.suppress(Refused):
            for _ in range(10):
                got += _add_items(client, _subscribe(client), 10_000)
    for client in clients:
        client.request(ua.CloseSessionRequest(DeleteSubscriptions=True))
        client.close()
    return f"{got} of 1000000 made"


def _new_items(client: RawClient, subscription: int, **settings: Any) -> None:
    item = ua.MonitoredItemCreateRequest(
        ItemToMonitor=ua.ReadValueId(NodeId=LEVEL, AttributeId=ua.AttributeIds.Value)
    )
    for name, value in settings.items():
        setattr(item.ItemToMonitor, name, value)
    request = ua.CreateMonitoredItemsRequest()
    request.Parameters.SubscriptionId = subscription
    request.Parameters.ItemsToCreate = [item]
    (status,) = struct.unpack_from("<I", client.request(request), 4)
    if status:
        raise Refused(status_name(status))


def long_texts(target: Target) -> str:
    """Items with an index range as long as a message may be, which goes with the item."""
    got, outcome, clients = 0, "all made", [target.client() for _ in range(10)]
    for client in clients:
        subscription = _subscribe(client)
        try:
            for _ in range(100):
                _new_items(client, subscription, IndexRange="0:1," * 450_000 + "0:1")
                got += 1
        except Refused as refused:
            outcome = str(refused)
    for client in clients:
        client.close()
    return f"{got} of 1000 made; {outcome}"


def many_links(target: Target) -> str:
    """As many items as a session may have, each of which is to trigger 10 000 others."""
    client = target.client()
    subscription = _subscribe(client)
    for _ in range(2):
        _add_items(client, subscription, 10_000)
    request = ua.SetTriggeringRequest()
    request.Parameters.SubscriptionId = subscription
    request.Parameters.LinksToAdd = list(range(1, 10_001))
    made = 0
    for item in range(1, 101):
        request.Parameters.TriggeringItemId = item
        answer = client.request(request)
        made += struct.unpack_from("<10000I", answer, 4).count(0)
    client.close()
    return f"{made} of 1000000 links"


def many_subscriptions(target: Target) -> str:
    got, clients = 0, [target.client() for _ in range(50)]
    for client in clients:
        with contextlib.suppress(Refused):
            for _ in range(400):
                _subscribe(client)
                got += 1
    for client in clients:
        client.request(ua.CloseSessionRequest(DeleteSubscriptions=True))
        client.close()
    return f"{got} of 20000 made"


def transfer_many(target: Target) -> str:
    """Numbers of subscriptions that do not exist, while there are a thousand."""
    clients = [target.client() for _ in range(26)]
    for client in clients[1:]:
        with contextlib.suppress(Refused):
            for _ in range(40):
                _subscribe(client)
    count = 400_000
    body = struct.pack("<BBH", 1, 0, 841) + clients[0].header() + struct.pack("<i", count)
    body += struct.pack("<I", 2**32 - 1) * count + b"\0"
    result = refused_with(lambda: (clients[0].send_body(body), clients[0].answer()))
    for client in clients:
        client.close()
    return result


def resend_data(target: Target) -> str:
    client = target.client()
    subscription = _subscribe(client)
    for _ in range(5):
        _add_items(client, subscription, 10_000)
    argument = ua.Variant(subscription, ua.VariantType.UInt32)
    call = ua.CallMethodRequest(SERVER, RESEND_DATA, [argument])
    request = ua.CallRequest()
    request.Parameters.MethodsToCall = [call] * 1000
    thousand = refused_with(lambda: client.request(request))
    request.Parameters.MethodsToCall = [call] * 10
    began = time.perf_counter()
    ten = refused_with(lambda: client.request(request))
    took = (time.perf_counter() - began) * 1000
    client.close()
    return f"1000 calls: {thousand}; 10: {ten}, {took:.0f} ms"


def silent_subscriber(target: Target) -> str:
    """50 000 items with the longest queues, and not one publish request for 30 s."""
    client = target.client()
    subscription = _subscribe(client)
    got = sum(_add_items(client, subscription, 10_000) for _ in range(5))
    time.sleep(30)
    client.close()
    return f"{got} items"


def vanished_client(target: Target) -> str:
    """As many items as a session may have, of a client that says nothing more.

    While they live, the server samples them. It asks for 2 s of session and 3 intervals of lifetime.
    """
    client = target.client(session_timeout_ms=2_000)
    subscription = _subscribe(client, lifetime=3)
    got = sum(_add_items(client, subscription, 10_000) for _ in range(2))
    shares, began = [target.cpu_share(1)], time.monotonic()
    while shares[-1] > max(shares) / 4 and time.monotonic() - began < 150:
        shares.append(target.cpu_share(1))
    gone = time.monotonic() - began
    client.close()
    return f"{got} items, {max(shares):.0%} of a core; {shares[-1]:.0%} after {gone:.0f} s"


def unread_notifications(target: Target) -> str:
    """Publish requests, ten a second, and not one answer read."""
    client, publish = target.client(receive_buffer=4096), ua.PublishRequest()
    subscription = _subscribe(client, interval_ms=100.0)
    got = sum(_add_items(client, subscription, 10_000) for _ in range(2))
    began = time.monotonic()
    try:
        while time.monotonic() - began < 120:
            client.send(publish)
            time.sleep(0.1)
    except Refused:
        return f"{got} items; connection closed after {time.monotonic() - began:.0f} s"
    client.close()
    return f"{got} items; connection open after 120 s"


def history_of_many(target: Target) -> str:
    client, request = target.client(), ua.HistoryReadRequest()
    request.Parameters.HistoryReadDetails = ua.ReadRawModifiedDetails(IsReadModified=False)
    request.Parameters.NodesToRead = [ua.HistoryReadValueId(NodeId=LEVEL)] * 4000
    result = refused_with(lambda: client.request(request))
    client.close()
    return result


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
    """Not an attack: whether what was before it has left the server able to serve."""
    began = time.monotonic()
    while True:
        try:
            client = target.client()
            client.request(_reads(100))
            client.close()
        except (Refused, OSError):
            if time.monotonic() - began > 30:
                return "nobody gets in within 30 s"
            time.sleep(0.1)
        else:
            return f"a new client was served after {time.monotonic() - began:.1f} s"


ATTACKS: dict[str, Callable[[Target], str]] = {
    "512 MB on 4 connections, never finished": unfinished_messages(4, 512 << 20),
    "1.9 MB on 50 connections, never finished": unfinished_messages(50, 1_900_000),
    "one Write of 16 MB": large_request(673, b"\0" * 16),
    "one Read of 16 MB": large_request(631, b"\0\0" + b"\0" * 14),
    "one RegisterNodes of 16 MB": large_request(560, b"\0\0"),
    "one array of 16 M data values": values_in_values(16 << 20),
    "one array of 1.9 M data values": values_in_values(1_900_000),
    "one array of 0.5 M data values": values_in_values(500_000),
    "1.9 M data values in a request's header": values_in_header(1_900_000),
    "Browse of one folder 2000 times": browse_often,
    "60 session names of 100 kB": long_session_names,
    "session diagnostics read 10 000 times": diagnostics_array,
    "99 sessions opened and left": sessions_left,
    "10 000 reconnects without closing": reconnects,
    "400 000 subscriptions to transfer": transfer_many,
    "1 000 000 monitored items, closed": many_items,
    "1000 items with texts of 1.8 MB": long_texts,
    "100 items that trigger 10 000 each": many_links,
    "20 000 subscriptions, closed": many_subscriptions,
    "ResendData over 50 000 items": resend_data,
    "50 000 items, no publish for 30 s": silent_subscriber,
    "20 000 items of a client that vanished": vanished_client,
    "notifications never read": unread_notifications,
    "one history request of 4000 pens": history_of_many,
    "no descriptors left": no_descriptors,
    "afterwards": new_client,
}


def main() -> int:
    parser = argparse.ArgumentParser(prog="attack", description=__doc__)
    parser.add_argument("--port", type=int, default=4840)
    parser.add_argument("--only", metavar="TEXT", default="", help="attacks whose name holds it")
    options = parser.parse_args()
    chosen = {name: attack for name, attack in ATTACKS.items() if options.only in name}
    if not chosen:
        parser.error(f"no attack has a name with {options.only!r}")
    target = Target(options.port)
    print("| attack | MB before → peak | others: p99, longest ms | outcome |")
    print("|---|---|---|---|")
    for name, attack in chosen.items():
        print(f"{name} ...", end="\r", file=sys.stderr)
        with observed(target) as waits:
            before = target.memory_mb("VmRSS")
            target.forget_peak()
            try:
                outcome = attack(target)
            except (Refused, OSError) as error:
                outcome = f"ended: {error}"
            time.sleep(0.5)  # for what it leaves behind
        peak = target.memory_mb("VmHWM")
        ninety_nine = waits[len(waits) * 99 // 100] if waits else float("nan")
        longest = waits[-1] if waits else float("nan")
        print(
            f"| {name} | {before:.0f} → {peak:.0f} | {ninety_nine:.1f}, {longest:.1f} | {outcome} |",
            flush=True,
        )
    return 0


if __name__ == "__main__":
    sys.exit(main())
