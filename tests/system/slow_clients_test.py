"""Clients that do not read what they asked for. Nobody else waits for them."""

import asyncio

import pytest
from asyncua import ua
from asyncua.ua.ua_binary import struct_from_binary

from conftest import Site
from opc_client import OpcClient
from published_tags import item, publishing
from waiting import PATIENCE_S, stays, wait_until

PUBLISHING = publishing(("VA", 14))
SERVER_STATUS = ua.NodeId(2256)  # some 200 bytes as a value

# What the kernel keeps for one connection on both sides is less than 12 MB.
ANSWERS, NODES_AN_ANSWER = 24, 5000
# It would end the connection because its own question whether the server lives is answered late.
PATIENT = {"_watchdog_intervall": 100.0}


def _ask(client: OpcClient, nodes: int, requests: int = 1) -> list[asyncio.Future]:
    """Sends reads one after the other, without waiting for answers."""
    parameters = ua.ReadParameters(TimestampsToReturn=ua.TimestampsToReturn.Neither)
    wanted = ua.ReadValueId(NodeId=SERVER_STATUS, AttributeId=ua.AttributeIds.Value)
    parameters.NodesToRead = [wanted] * nodes
    protocol = client.client.uaclient.protocol

    async def send() -> list[asyncio.Future]:
        return [protocol._send_request(ua.ReadRequest(Parameters=parameters)) for _ in range(requests)]

    return client.run(send())


def _stop_reading(client: OpcClient) -> None:
    client.client.uaclient.protocol.transport.pause_reading()


def _others_are_served(site: Site, client: OpcClient) -> None:
    stays(lambda: client.read(item("VA", 1, 14)).StatusCode.is_good(), "reads are answered", 2.0)
    newcomer = site.connect()
    assert newcomer.read(item("VA", 1, 14)).StatusCode.is_good()


def test_answers_wait_for_a_slow_reader(site: Site) -> None:
    """It gets all of them once it reads, in order, and its connection lives."""
    site.start(va=1)
    honest, slow = site.serve(PUBLISHING), site.connect(**PATIENT)
    _stop_reading(slow)
    answers = _ask(slow, NODES_AN_ANSWER, ANSWERS)
    _others_are_served(site, honest)
    assert not all(answer.done() for answer in answers)
    slow._loop.call_soon_threadsafe(slow.client.uaclient.protocol.transport.resume_reading)
    wait_until(lambda: all(answer.done() for answer in answers), "every answer", 30.0)
    assert len({len(answer.result()) for answer in answers}) == 1
    assert slow.read(item("VA", 1, 14)).StatusCode.is_good()


def test_the_server_ends_while_answers_wait(site: Site) -> None:
    site.start(va=1)
    honest, slow = site.serve(PUBLISHING), site.connect(**PATIENT)
    _stop_reading(slow)
    _ask(slow, NODES_AN_ANSWER, ANSWERS)
    _others_are_served(site, honest)
    assert site.server.stop() == 0


@pytest.mark.parametrize("limits", [{"max_messagesize": 100_000}, {"max_chunkcount": 2}])
def test_an_answer_larger_than_the_client_takes(site: Site, limits: dict[str, int]) -> None:
    """It is refused, and the connection goes on, however often that happens."""
    site.start(va=1)
    site.serve(PUBLISHING)
    client = site.connect(**limits)
    for _ in range(3):
        too_large, fits = _ask(client, NODES_AN_ANSWER) + _ask(client, 300)
        wait_until(fits.done, "an answer")
        fault = struct_from_binary(ua.ServiceFault, too_large.result())
        assert fault.TypeId == ua.FourByteNodeId(ua.ObjectIds.ServiceFault_Encoding_DefaultBinary)
        assert fault.ResponseHeader.ServiceResult.value == ua.StatusCodes.BadResponseTooLarge
        assert len(struct_from_binary(ua.ReadResponse, fits.result()).Results) == 300
