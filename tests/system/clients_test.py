"""Independent clients, and clients that end badly or do not read. Nobody else waits for them."""

import asyncio
import queue
import random
import socket
from contextlib import ExitStack

import opcua
import pytest
from asyncua import ua
from asyncua.ua.ua_binary import struct_from_binary

from conftest import Site
from opc_client import OpcClient
from programs import PORT
from published_tags import BOTH, item, publishing
from waiting import PATIENCE_S, stays, wait_until

PUBLISHING = publishing(("VA", 14), right=BOTH)


def test_the_usual_calls_of_another_make_of_client(site: Site) -> None:
    site.serve(PUBLISHING, va=2).close()
    client = opcua.Client(f"opc.tcp://127.0.0.1:{PORT}", timeout=PATIENCE_S)
    client.connect()
    try:
        index = client.get_namespace_index("urn:vesk")
        path = [f"{index}:{name}" for name in ("Operative", "1_VA", "VA_2")]
        (node,) = client.get_objects_node().get_child(path).get_children()
        notified: queue.Queue[float] = queue.Queue()

        class Handler:
            def datachange_notification(self, node: object, value: float, data: object) -> None:
                notified.put(value)

        client.create_subscription(500, Handler()).subscribe_data_change(node)
        for value in (1.5, 2.5):
            node.set_value(value, opcua.ua.VariantType.Float)
            assert node.get_value() == value
            while notified.get(timeout=PATIENCE_S) != value:
                pass
    finally:
        client.disconnect()
    assert site.database.field("VA", 2, "VPG") == 2.5


def test_clients_that_vanish_with_their_subscriptions(site: Site) -> None:
    client, node = site.serve(PUBLISHING, va=2), item("VA", 1, 14)
    for _ in range(2):
        vanishing = site.connect()
        vanishing.notifications(node, 100).next()
        vanishing.vanish()
    for value in (1.5, 2.5):
        assert client.write(node, value, ua.VariantType.Float).is_good()
        assert client.read(node).Value.Value == value
    assert site.server.stop() == 0


def test_connections_that_speak_something_else(site: Site) -> None:
    """Noise, half a greeting, nothing at all: each closed or left, and the others are served."""
    client = site.serve(PUBLISHING, va=2)
    noise = random.Random(5)
    openings = [b"", b"HELF" + (200).to_bytes(4, "little"), b"GET / HTTP/1.1\r\n\r\n"]
    openings += [noise.randbytes(noise.randrange(1, 3000)) for _ in range(20)]
    with ExitStack() as left_open:
        for opening in openings:
            address = ("127.0.0.1", PORT)
            connection = left_open.enter_context(socket.create_connection(address, PATIENCE_S))
            connection.sendall(opening)
            assert client.read(item("VA", 2, 14)).StatusCode.is_good()
    assert site.server.is_alive()


# ---- Clients that do not read what they asked for ------------------------------------------------

SERVER_STATUS = ua.NodeId(2256)  # some 200 bytes as a value

# What the kernel keeps for one connection on both sides is less than 12 MB.
ANSWERS, NODES_AN_ANSWER = 24, 5000


def _ask(client: OpcClient, nodes: int, requests: int = 1, read: bool = True) -> list:
    """Sends reads one after the other, without waiting for answers; reads these or does not."""
    parameters = ua.ReadParameters(TimestampsToReturn=ua.TimestampsToReturn.Neither)
    wanted = ua.ReadValueId(NodeId=SERVER_STATUS, AttributeId=ua.AttributeIds.Value)
    parameters.NodesToRead = [wanted] * nodes
    protocol = client.client.uaclient.protocol

    async def send() -> list[asyncio.Future]:
        if not read:
            protocol.transport.pause_reading()
        requested = [ua.ReadRequest(Parameters=parameters) for _ in range(requests)]
        return [protocol._send_request(request) for request in requested]

    return client.run(send())


def _others_are_served(site: Site, client: OpcClient) -> None:
    stays(lambda: client.read(item("VA", 1, 14)).StatusCode.is_good(), "reads are answered", 2.0)
    newcomer = site.connect()
    assert newcomer.read(item("VA", 1, 14)).StatusCode.is_good()


def test_answers_wait_for_a_slow_reader(site: Site) -> None:
    """It gets all of them once it reads, and its connection stays open."""
    honest, slow = site.serve(PUBLISHING, va=1), site.connect()
    answers = _ask(slow, NODES_AN_ANSWER, ANSWERS, read=False)
    _others_are_served(site, honest)
    assert not all(answer.done() for answer in answers)

    async def resume() -> None:
        slow.client.uaclient.protocol.transport.resume_reading()

    slow.run(resume())
    wait_until(lambda: all(answer.done() for answer in answers), "every answer", 100.0)
    for answer in answers:
        results = struct_from_binary(ua.ReadResponse, answer.result()).Results
        assert len(results) == NODES_AN_ANSWER
    assert slow.read(item("VA", 1, 14)).StatusCode.is_good()


def test_the_server_ends_while_answers_wait(site: Site) -> None:
    honest, slow = site.serve(PUBLISHING, va=1), site.connect()
    _ask(slow, NODES_AN_ANSWER, ANSWERS, read=False)
    _others_are_served(site, honest)
    assert site.server.stop() == 0
    slow.vanish()


@pytest.mark.parametrize("limits", [{"max_messagesize": 100_000}, {"max_chunkcount": 2}])
def test_an_answer_larger_than_the_client_takes(site: Site, limits: dict[str, int]) -> None:
    """It is refused, and the connection stays open, however often that happens."""
    site.serve(PUBLISHING, va=1)
    client = site.connect(**limits)
    for _ in range(3):
        too_large, fits = _ask(client, NODES_AN_ANSWER) + _ask(client, 300)
        wait_until(fits.done, "an answer")
        fault = struct_from_binary(ua.ServiceFault, too_large.result())
        assert fault.TypeId == ua.FourByteNodeId(ua.ObjectIds.ServiceFault_Encoding_DefaultBinary)
        assert fault.ResponseHeader.ServiceResult.value == ua.StatusCodes.BadResponseTooLarge
        assert len(struct_from_binary(ua.ReadResponse, fits.result()).Results) == 300
