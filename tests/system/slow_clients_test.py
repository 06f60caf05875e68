"""Clients that do not read what they asked for. Nobody else waits for them."""

import asyncio

import pytest
from asyncua import ua
from asyncua.ua.ua_binary import struct_from_binary

from conftest import Site
from opc_client import OpcClient
from published_tags import item, publishing
from waiting import stays, wait_until

PUBLISHING = publishing(("VA", 14))
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
    """It gets all of them once it reads, and its connection lives."""
    site.start(va=1)
    honest, slow = site.serve(PUBLISHING), site.connect()
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
    site.start(va=1)
    honest, slow = site.serve(PUBLISHING), site.connect()
    _ask(slow, NODES_AN_ANSWER, ANSWERS, read=False)
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
