"""Each limit of docs/limits.md is exceeded: the client is refused, and the others are served."""

import os
import resource
import socket
import struct
import time
from collections.abc import Callable
from contextlib import ExitStack, closing, suppress
from pathlib import Path
from typing import Any

import pytest
from asyncua import ua
from asyncua.client.ua_client import UaClient
from asyncua.ua.ua_binary import struct_from_binary

from conftest import Site
from opc_client import monitoring, subscribing
from programs import PORT
from published_tags import BOTH, item, publishing
from raw_client import RawClient, Refused
from waiting import PATIENCE_S, stays, wait_until

SERVER = ua.NodeId(ua.ObjectIds.Server)
LEVEL = ua.NodeId(ua.ObjectIds.Server_ServiceLevel)


async def subscribe(services: UaClient, **settings: Any) -> ua.CreateSubscriptionResult:
    return await services.create_subscription(subscribing(**settings), lambda answer: None)


async def monitor(services: UaClient, count: int, index_range: str = "") -> list[Any]:
    subscription = await subscribe(services)
    items = monitoring(subscription.SubscriptionId, LEVEL, count)
    for wanted in items.ItemsToCreate:
        wanted.ItemToMonitor.IndexRange = index_range or None
    return await services.create_monitored_items(items)


def filled(request: Any, operations: str, operation: Any, count: int) -> Any:
    """The request with `count` operations."""
    setattr(request.Parameters, operations, [operation] * count)
    return request


READ = ua.ReadValueId(LEVEL, ua.AttributeIds.Value)
WRITE = ua.WriteValue(LEVEL, ua.AttributeIds.Value, Value=ua.DataValue())
RAW_READ = ua.HistoryReadParameters(ua.ReadRawModifiedDetails(IsReadModified=False))

# Request, its array of operations, one of these, and how many there may be.
OPERATIONS = [
    (ua.ReadRequest(), "NodesToRead", READ, 10_000),
    (ua.WriteRequest(), "NodesToWrite", WRITE, 2_000),
    (ua.BrowseRequest(), "NodesToBrowse", ua.BrowseDescription(NodeId=SERVER), 200),
    (ua.RegisterNodesRequest(), "NodesToRegister", LEVEL, 10_000),
    (ua.TranslateBrowsePathsToNodeIdsRequest(), "BrowsePaths", ua.BrowsePath(SERVER), 1_000),
    (ua.CallRequest(), "MethodsToCall", ua.CallMethodRequest(SERVER), 10),
    (ua.HistoryReadRequest(Parameters=RAW_READ), "NodesToRead", ua.HistoryReadValueId(LEVEL), 64),
]


def test_operations_of_one_request(site: Site) -> None:
    client = site.serve(publishing(("VA", 29)), va=1)
    protocol = client.client.uaclient.protocol
    for *operations, most in OPERATIONS:
        client.run(protocol.send_request(filled(*operations, most)))
        with pytest.raises(ua.UaStatusCodeError) as refusal:
            client.run(protocol.send_request(filled(*operations, most + 1)))
        assert refusal.value.code == ua.StatusCodes.BadTooManyOperations, operations
        assert client.read(item("VA", 1, 29)).Value is not None


def test_what_is_granted_of_what_is_asked(site: Site) -> None:
    client = site.serve(publishing(("VA", 29)), va=1)
    services = client.client.uaclient
    for interval_ms, lifetime, keep_alive in (
        (1_000.0, 300, 100),
        (10_000.0, 60, 20),  # ten minutes
        (3_600_000.0, 3, 1),
    ):
        made = client.run(subscribe(services, RequestedPublishingInterval=interval_ms))
        granted = (made.RevisedLifetimeCount, made.RevisedMaxKeepAliveCount)
        assert granted == (lifetime, keep_alive)
    assert client.run(monitor(services, 1))[0].RevisedQueueSize == 10
    assert client.client.session_timeout == 120_000
    while True:
        try:
            made = client.run(subscribe(services))
        except ua.UaStatusCodeError as refusal:
            assert refusal.code == ua.StatusCodes.BadTooManySubscriptions
            break
    assert made.SubscriptionId == 40


def test_monitored_items_of_one_session(site: Site) -> None:
    """However many subscriptions they are spread over."""
    client = site.serve(publishing(("VA", 29)), va=1)
    services = client.client.uaclient
    with pytest.raises(ua.uaerrors.BadTooManyOperations):
        client.run(monitor(services, 10_001))
    items = client.run(monitor(services, 10_000)) + client.run(monitor(services, 10_000))
    assert all(made.StatusCode.is_good() for made in items)
    assert [made.RevisedQueueSize for made in items] == [10] * 5_000 + [1] * 15_000
    (refused,) = client.run(monitor(services, 1))
    assert refused.StatusCode.value == ua.StatusCodes.BadTooManyMonitoredItems
    other = site.connect()
    (made,) = other.run(monitor(other.client.uaclient, 1))
    assert made.StatusCode.is_good()


def test_what_items_keep(site: Site) -> None:
    """Texts as long as a message, and links to other items."""
    client, other = site.serve(publishing(("VA", 29)), va=1), site.connect()
    made = [client.run(monitor(client.client.uaclient, 1, "0:1," * 400_000)) for _ in range(30)]
    statuses = [results[0].StatusCode.value for results in made]
    assert 15 < statuses.count(0) < 25
    assert set(statuses) == {0, ua.StatusCodes.BadOutOfMemory}

    services = other.client.uaclient
    subscription = other.run(subscribe(services)).SubscriptionId
    wanted = monitoring(subscription, LEVEL, 100)
    items = [item.MonitoredItemId for item in other.run(services.create_monitored_items(wanted))]
    links = ua.SetTriggeringParameters(subscription, items[0], items)
    answer = other.run(services.protocol.send_request(ua.SetTriggeringRequest(Parameters=links)))
    parameters = struct_from_binary(ua.SetTriggeringResponse, answer).Parameters
    statuses = [status.value for status in parameters.AddResults]
    assert statuses == [0] * 64 + [ua.StatusCodes.BadOutOfMemory] * 36


@pytest.mark.parametrize(
    "request_of",
    [
        # each of the numbers would be looked up among all subscriptions
        lambda: ua.TransferSubscriptionsRequest(
            Parameters=ua.TransferSubscriptionsParameters(SubscriptionIds=[1] * 5_000)
        ),
        lambda: filled(ua.WriteRequest(), "NodesToWrite", WRITE, 200_000),
    ],
    ids=["only makes work", "too long"],
)
def test_a_message_that_is_refused_whole(request_of: Callable[[], Any], site: Site) -> None:
    """The connection ends before the message does."""
    client = site.serve(publishing(("VA", 29)), va=1)
    with closing(RawClient(PORT)) as greedy, pytest.raises(Refused):
        greedy.request(request_of())
    assert client.read(item("VA", 1, 29)).Value is not None


def test_sessions_that_nobody_uses_keep_nobody_out(site: Site) -> None:
    client = site.serve(publishing(("VA", 29)), va=1)
    for _ in range(150):  # of 60
        RawClient(PORT).close()
    entering = RawClient(PORT, session=False)
    entering.create_session()
    RawClient(PORT).close()
    entering.activate_session()  # its session was not the one that made room
    entering.close()
    began = time.monotonic()
    with ExitStack() as left:  # connected, and silent
        for _ in range(59):
            left.enter_context(closing(RawClient(PORT)))

        def gets_in() -> bool:
            assert client.read(item("VA", 1, 29)).Value is not None, "who asks for something stays"
            try:
                RawClient(PORT).close()
            except Refused:
                return False
            return True

        # On a busy machine the first one may have been silent for long enough by now.
        assert not gets_in() or time.monotonic() - began > 3
        wait_until(gets_in, "one of the silent ones is closed")
    assert client.read(item("VA", 1, 29)).Value is not None


def test_a_session_with_a_too_long_description(site: Site) -> None:
    site.serve(publishing(("VA", 29)), va=1)
    with pytest.raises(ua.UaStatusCodeError):
        site.connect(name="n" * 5_000)
    site.connect(name="n" * 1_000)


@pytest.mark.parametrize("spare_mb", [4, 16])
def test_memory_runs_out(spare_mb: int, site: Site) -> None:
    """A client whose request does not fit is refused; once it has gone, others are served."""
    first = site.serve(publishing(("VA", 5), right=BOTH), va=1)
    pid, text = site.server.pid, ua.DataValue(ua.Variant("x" * 500_000))
    pages = int(Path(f"/proc/{pid}/statm").read_text().split()[0])
    most = pages * resource.getpagesize() + (spare_mb << 20)
    if most > 2**40:
        pytest.skip("sanitizers reserve address space without end")
    resource.prlimit(pid, resource.RLIMIT_AS, (most, resource.RLIM_INFINITY))
    value = ua.WriteValue(first.node_id(item("VA", 1, 5)), ua.AttributeIds.Value, Value=text)
    write = filled(ua.WriteRequest(), "NodesToWrite", value, 1)
    read = filled(ua.ReadRequest(), "NodesToRead", READ, 10_000)
    greedy: list[RawClient] = []
    with pytest.raises(Refused):
        while len(greedy) < 10:
            greedy.append(RawClient(PORT))
            subscription = struct.unpack_from(
                "<I", greedy[-1].request(ua.CreateSubscriptionRequest(Parameters=subscribing()))
            )
            items = monitoring(subscription[0], LEVEL, 10_000)
            for request in (write, read):
                greedy[-1].request(request)
            made = greedy[-1].request(ua.CreateMonitoredItemsRequest(Parameters=items))
            if struct.unpack_from("<iI", made)[1]:  # the first item's status
                raise Refused("no items")
    for client in greedy:
        with suppress(Refused):
            client.request(ua.CloseSessionRequest(DeleteSubscriptions=True))
        client.close()

    def newcomer_is_served() -> bool:
        with suppress(Refused, OSError):
            newcomer = RawClient(PORT)
            newcomer.request(write)
            newcomer.close()
            return True
        return False

    wait_until(newcomer_is_served, "a newcomer is served")
    assert site.server.is_alive()


def test_descriptors_run_out(site: Site) -> None:
    """The server opens what it needs at its start. When none is left, it turns connections away
    without spinning, and recovers.
    """
    site.start(va=1)
    before = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (64, before[1]))
    try:
        client = site.serve(publishing(("VA", 29)))
    finally:
        resource.setrlimit(resource.RLIMIT_NOFILE, before)
    pid = site.server.pid
    assert resource.prlimit(pid, resource.RLIMIT_NOFILE)[0] == 96
    resource.prlimit(pid, resource.RLIMIT_NOFILE, (24, before[1]))

    def held() -> list[str]:
        return os.listdir(f"/proc/{pid}/fd")

    at_first = len(held())
    with ExitStack() as idle:
        for _ in range(40):
            last = idle.enter_context(socket.create_connection(("127.0.0.1", PORT)))
        last.settimeout(PATIENCE_S)
        assert last.recv(1) == b"", "turned away"
        used = site.server.cpu_seconds()
        stays(lambda: site.server.cpu_seconds() - used < 0.2, "it does not spin", period_s=0.5)
        assert client.read(item("VA", 1, 29)).Value is not None
    wait_until(lambda: len(held()) <= at_first, "descriptors freed by the closed connections")
    site.connect()
