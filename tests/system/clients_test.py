"""Several clients at once, and clients that end badly."""

import queue
import random
import socket
import subprocess
import sys

import opcua
from asyncua import ua

from conftest import Site
from programs import PORT
from published_tags import BOTH, item, publishing
from waiting import PATIENCE_S

PUBLISHING = publishing(("VA", 14), right=BOTH)


def test_the_usual_calls_of_another_make_of_client(site: Site) -> None:
    site.start(va=2)
    site.serve(PUBLISHING).close()
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


_SUBSCRIBER = """
import asyncio, sys
from asyncua import Client

class Handler:
    def datachange_notification(self, node, value, data):
        print("notified", flush=True)

async def main(node):
    client = Client("opc.tcp://127.0.0.1:4840", timeout=60, watchdog_intervall=60)
    await client.connect()
    subscription = await client.create_subscription(100, Handler())
    await subscription.subscribe_data_change(client.get_node(node))
    await asyncio.sleep(60)

asyncio.run(main(sys.argv[1]))
"""


def test_clients_killed_with_their_subscriptions(site: Site) -> None:
    site.start(va=2)
    client, node = site.serve(PUBLISHING), item("VA", 1, 14)
    command = [sys.executable, "-c", _SUBSCRIBER, client.node_id(node).to_string()]
    for _ in range(2):
        with subprocess.Popen(command, stdout=subprocess.PIPE) as subscriber:
            assert subscriber.stdout.readline() == b"notified\n"
            subscriber.kill()
    for value in (1.5, 2.5):
        assert client.write(node, value, ua.VariantType.Float).is_good()
        assert client.read(node).Value.Value == value
    assert site.server.stop() == 0


def test_connections_that_speak_something_else(site: Site) -> None:
    """Noise, half a greeting, nothing at all: each closed or left, and the others are served."""
    site.start(va=2)
    client = site.serve(PUBLISHING)
    noise = random.Random(5)
    greeting = b"HELF" + (200).to_bytes(4, "little")
    openings = [b"", greeting, b"GET / HTTP/1.1\r\n\r\n", b"HELF\xff\xff\xff\xff" + bytes(64)]
    openings += [noise.randbytes(noise.randrange(1, 3000)) for _ in range(20)]
    left_open = []
    for opening in openings:
        connection = socket.create_connection(("127.0.0.1", PORT), timeout=PATIENCE_S)
        connection.sendall(opening)
        left_open.append(connection)
        assert client.read(item("VA", 2, 14)).StatusCode.is_good()
    for connection in left_open:
        connection.close()
    assert site.server.is_alive()
