"""Services beside reading and writing: subscriptions, and the server's description of itself."""

import os
import socket
from datetime import datetime, timedelta, timezone
from pathlib import Path

import pytest
from asyncua import Node, ua

import checker
import zrtjournal
from conftest import Site
from opc_client import monitoring, subscribing
from programs import RUNNING, SERVING, library_path
from published_tags import item, publishing


def test_a_subscription_delivers_changes(site: Site) -> None:
    site.start(va=2)
    database = site.database
    database.set_field("VA", 1, "TZN", 1.0)
    database.set_quality("VA", 1, 0xC0)
    client = site.serve(publishing(("VA", 29)).replace("[Att", "SamplingInterval = 100\n[Att"))
    received = client.notifications(item("VA", 1, 29), 100)
    assert received.next() == (1.0, True)
    database.set_field("VA", 2, "TZN", 9.0)  # a neighbour's change is not this item's
    database.set_field("VA", 1, "TZN", 2.0)
    assert received.next() == (2.0, True)
    database.set_quality("VA", 1, 0x00)
    assert received.next() == (2.0, False)
    database.set_quality("VA", 1, 0xC0)
    assert received.next() == (2.0, True)
    assert received.is_empty()


YEAR_S = 31_556_952


@pytest.mark.parametrize("shift_s", [3600, -3600, 20 * YEAR_S, 400 * YEAR_S, -400 * YEAR_S])
def test_the_clock_is_set(shift_s: int, site: Site) -> None:
    """Everything continues, including what is started afterwards."""
    clock = Path("/zrt/clock")
    clock.write_text("0")
    moved = {"LD_PRELOAD": str(library_path("libset_clock.so")), "SET_CLOCK": str(clock)}
    client = site.serve(publishing(("VA", 29)), moved, va=1)
    received = client.notifications(item("VA", 1, 29), 500)
    received.next()
    clock.write_text(str(shift_s))
    now = datetime.now(timezone.utc) + timedelta(seconds=shift_s)
    shown = client.read_standard("ServerStatus", "CurrentTime")
    assert abs(shown.replace(tzinfo=timezone.utc) - now) < timedelta(minutes=10)
    site.database.set_field("VA", 1, "TZN", 2.0)
    assert received.next()[0] == 2.0
    assert site.connect().read(item("VA", 1, 29)).Value.Value == 2.0
    assert site.server.stop() == 0
    client = site.serve(None, moved)
    assert client.read(item("VA", 1, 29)).Value.Value == 2.0
    assert site.server.log_lines() == [RUNNING]
    assert zrtjournal.codes()[-4:] == [18091, 18092] * 2


HOUR_MS, DAY_MS = 3_600_000.0, 86_400_000.0


# setting, cycle time, interval, whether an error is reported
@pytest.mark.parametrize(
    "setting, cycle_ms, interval_ms, is_error",
    [
        ("", 100, 500, False),
        ("SamplingInterval = 1.5e2 ms", 100, 150, False),
        ("SamplingInterval = 30", 30, 30, False),
        ("SamplingInterval = 29.9", 100, 100, True),  # too short: the controller's cycle
        ("SamplingInterval = 99.9", 100, 500, True),  # shorter than the cycle: ignored
        ("SamplingInterval = 10001", 20_000, 10_000, True),
        ("SamplingInterval = often", 100, 500, False),
    ],
)
def test_intervals_are_limited(
    setting: str, cycle_ms: int, interval_ms: float, is_error: bool, site: Site
) -> None:
    configuration = publishing(("VA", 29)).replace("[Att", f"{setting}\n[Att")
    client = site.serve(configuration, va=1, cycle_time_ms=cycle_ms)
    error = "ЦП 7: OPC UA Сервер: Ошибка конфигурации: 2 4"
    assert (error in site.server.log_lines()) == (error in checker.log_lines()) == is_error
    services, node = client.client.uaclient, client.node_id(item("VA", 1, 29))
    for asked_ms, publishing_ms, sampling_ms in (
        (1.0, interval_ms, interval_ms),
        (interval_ms + 1000, interval_ms + 1000, interval_ms + 1000),
        (1e9, HOUR_MS, DAY_MS),
    ):
        asked = subscribing(RequestedPublishingInterval=asked_ms)
        made = client.run(services.create_subscription(asked, lambda answer: None))
        assert made.RevisedPublishingInterval == publishing_ms
        items = monitoring(made.SubscriptionId, node, interval_ms=asked_ms)
        (result,) = client.run(services.create_monitored_items(items))
        assert (result.StatusCode.is_good(), result.RevisedSamplingInterval) == (True, sampling_ms)


@pytest.mark.parametrize(
    "name, shown",
    [("", None), ("AplicationName = Котельная 5", "Котельная5"), ("AplicationName =   ;", None)],
)
def test_endpoint_description(name: str, shown: str | None, site: Site) -> None:
    client = site.serve(f"{SERVING}{name}\n", va=1)
    (found,) = client.run(client.client.uaclient.find_servers(ua.FindServersParameters()))
    namespaces, servers = (client.read_standard(n) for n in ("NamespaceArray", "ServerArray"))
    (endpoint,) = client.run(client.client.connect_and_get_server_endpoints())
    assert endpoint.SecurityMode == ua.MessageSecurityMode.None_
    assert len(endpoint.UserIdentityTokens) == 1, "offered once, however often they were set up"
    uri = f"urn:{socket.gethostname()}:vesk:opcuasrv"
    assert [namespaces[1:], servers] == [[uri, "urn:vesk"], [uri]]
    for application in (endpoint.Server, found):
        assert application.ApplicationUri == uri
        assert application.ProductUri == "urn:vesk:opcuasrv"
        if shown:
            assert application.ApplicationName.Text == shown
        assert (application.ApplicationName.Locale == "ru-RU") == (shown is not None)


def test_says_which_build_it_is_and_what_it_knows(site: Site) -> None:
    client = site.serve(SERVING, {"TZ": "AAA-3:30BBB,0/0,J365/25"}, va=1)  # summer all the year
    build = client.read_standard("ServerStatus", "BuildInfo")
    assert (build.ProductUri, build.ProductName) == ("urn:vesk:opcuasrv", "opcuasrv")
    project = (Path(__file__).parents[2] / "CMakeLists.txt").read_text()
    assert f"VERSION {build.SoftwareVersion} " in project
    program = Path(os.environ["OPCUASRV_BIN_DIR"]) / "opcuasrv"
    assert build.BuildNumber and build.BuildDate.timestamp() <= program.stat().st_mtime
    assert client.read_standard("ServerCapabilities", "LocaleIdArray") == ["ru-RU", "en"]
    assert client.read_standard("LocalTime") == ua.TimeZoneDataType(270, True)
    assert client.read_standard("EstimatedReturnTime") == datetime(1601, 1, 1, tzinfo=timezone.utc)

    with pytest.raises(ua.UaStatusCodeError):
        client.run(client.client.get_node(client.node_id(6)).delete())
    assert 6 in client.address_space(), "no client changes it"

    async def without_value(node: Node) -> list[Node]:
        found = []
        for child in await node.get_children():
            if await child.read_node_class() == ua.NodeClass.Variable:
                value = await child.read_data_value(raise_on_bad_status=False)
                found += [] if value.StatusCode.is_good() else [child]
            if child.nodeid.Identifier != ua.ObjectIds.Server_ServerDiagnostics:
                found += await without_value(child)
        return found

    assert client.run(without_value(client.client.nodes.server)) == []
