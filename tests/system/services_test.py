"""Services beside reading and writing: node management and subscriptions."""

import queue
from collections.abc import Callable

import pytest
from asyncua import ua

from conftest import Clients, Controller, ServerUnderTest
from opc_client import OBJECTS_FOLDER_ID, OpcClient
from programs import SERVING
from published_tags import item, publishing


def add_node(client: OpcClient, parent: ua.NodeId) -> list[ua.StatusCode]:
    attributes = ua.ObjectAttributes(
        SpecifiedAttributes=ua.NodeAttributesMask.DisplayName,
        DisplayName=ua.LocalizedText("foreign"),
    )
    wanted = ua.AddNodesItem(
        ParentNodeId=parent,
        ReferenceTypeId=ua.NodeId(ua.ObjectIds.Organizes),
        RequestedNewNodeId=client.node_id("foreign"),
        BrowseName=ua.QualifiedName("foreign", client.namespace),
        NodeClass=ua.NodeClass.Object,
        NodeAttributes=attributes,
        TypeDefinition=ua.NodeId(ua.ObjectIds.FolderType),
    )
    return [result.StatusCode for result in client.run(client.client.uaclient.add_nodes([wanted]))]


def delete_node(client: OpcClient, node: ua.NodeId) -> list[ua.StatusCode]:
    wanted = ua.DeleteNodesItem(NodeId=node, DeleteTargetReferences=True)
    parameters = ua.DeleteNodesParameters(NodesToDelete=[wanted])
    return client.run(client.client.uaclient.delete_nodes(parameters))


def add_reference(client: OpcClient, node: ua.NodeId) -> list[ua.StatusCode]:
    wanted = ua.AddReferencesItem(
        SourceNodeId=OBJECTS_FOLDER_ID,
        ReferenceTypeId=ua.NodeId(ua.ObjectIds.Organizes),
        IsForward=True,
        TargetNodeId=node,
        TargetNodeClass=ua.NodeClass.Variable,
    )
    return client.run(client.client.uaclient.add_references([wanted]))


def delete_reference(client: OpcClient, node: ua.NodeId) -> list[ua.StatusCode]:
    wanted = ua.DeleteReferencesItem(
        SourceNodeId=client.node_id("VA_1"),
        ReferenceTypeId=ua.NodeId(ua.ObjectIds.HasComponent),
        IsForward=True,
        TargetNodeId=node,
        DeleteBidirectional=True,
    )
    return client.run(client.client.uaclient.delete_references([wanted]))


def refused(
    service: Callable[[OpcClient, ua.NodeId], list[ua.StatusCode]],
    client: OpcClient,
    node: ua.NodeId,
) -> bool:
    """Refused as a service or for each item, whatever the library was built with."""
    try:
        return all(status.is_bad() for status in service(client, node))
    except ua.UaStatusCodeError:
        return True


def test_no_client_changes_the_address_space(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=2)
    server.start(publishing(("VA", 29), right="OPC_READABLE+OPC_WRITEABLE"))
    client = clients.connect()
    before = client.address_space()
    value_node = client.node_id(item("VA", 1, 29))
    for parent in (OBJECTS_FOLDER_ID, client.node_id(6), client.node_id("VA_1")):
        assert refused(add_node, client, parent)
    for node in (value_node, client.node_id("VA_1"), client.node_id(6), ua.NodeId(2253)):
        assert refused(delete_node, client, node)
    assert refused(add_reference, client, value_node)
    assert refused(delete_reference, client, value_node)
    assert client.address_space() == before
    assert client.read(item("VA", 1, 29)).StatusCode.is_good()


class Notifications:
    """Collects what a subscription delivers."""

    def __init__(self) -> None:
        self._arrived: queue.Queue[ua.DataValue] = queue.Queue()

    def datachange_notification(self, node: object, value: object, data: object) -> None:
        self._arrived.put(data.monitored_item.Value)

    def next(self) -> ua.DataValue:
        return self._arrived.get(timeout=10)

    def is_silent(self) -> bool:
        return self._arrived.empty()


def test_a_subscription_delivers_changes(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=2)
    database = controller.database
    database.set_field("VA", 1, "TZN", 1.0)
    database.set_quality("VA", 1, 0xC0)
    server.start(publishing(("VA", 29)).replace("[Att", "SamplingInterval = 100\n[Att"))
    client, received = clients.connect(), Notifications()
    subscription = client.run(client.client.create_subscription(100, received))
    node = client.client.get_node(client.node_id(item("VA", 1, 29)))
    client.run(subscription.subscribe_data_change(node, sampling_interval=100))
    assert received.next().Value.Value == 1.0

    database.set_field("VA", 2, "TZN", 9.0)  # a neighbour's change is not this item's
    database.set_field("VA", 1, "TZN", 2.0)
    assert received.next().Value.Value == 2.0
    database.set_quality("VA", 1, 0x00)
    broken = received.next()
    assert broken.StatusCode.is_bad() and broken.Value.Value == 2.0
    database.set_quality("VA", 1, 0xC0)
    assert received.next().StatusCode.is_good()
    assert received.is_silent()


HOUR_MS, DAY_MS = 3_600_000.0, 86_400_000.0


@pytest.mark.parametrize(
    "setting, cycle_time_ms, interval_ms, reported",
    [
        ("", 100, 500, False),
        ("SamplingInterval = 150", 100, 150, False),
        ("SamplingInterval = 100", 100, 100, False),
        ("SamplingInterval = 99.5", 99, 99.5, False),
        ("SamplingInterval = 20", 100, 100, True),  # too short: the controller's cycle
        ("SamplingInterval = 50", 100, 500, True),  # shorter than the cycle: not taken
        ("SamplingInterval = 20000", 100, 10_000, True),
        ("SamplingInterval = often", 100, 500, False),
    ],
)
def test_intervals_are_limited(
    setting: str,
    cycle_time_ms: int,
    interval_ms: float,
    reported: bool,
    controller: Controller,
    server: ServerUnderTest,
    clients: Clients,
) -> None:
    controller.start(va=1, cycle_time_ms=cycle_time_ms)
    server.start(publishing(("VA", 29)).replace("[Att", f"{setting}\n[Att"))
    error = "ЦП 7: OPC UA Сервер: Ошибка конфигурации: 2 "
    assert [line for line in server.log_lines() if line.startswith(error)] == (
        [error + "4"] if reported else []
    )

    client = clients.connect()
    node = client.node_id(item("VA", 1, 29))
    for asked_ms, publishing_ms, sampling_ms in (
        (1.0, interval_ms, interval_ms),
        (interval_ms + 1000, interval_ms + 1000, interval_ms + 1000),
        (1e9, HOUR_MS, DAY_MS),
    ):
        subscription = create_subscription(client, asked_ms)
        assert subscription.RevisedPublishingInterval == publishing_ms
        assert revised_sampling(client, subscription.SubscriptionId, node, asked_ms) == sampling_ms


def create_subscription(client: OpcClient, asked_ms: float) -> ua.CreateSubscriptionResult:
    parameters = ua.CreateSubscriptionParameters(
        RequestedPublishingInterval=asked_ms,
        RequestedLifetimeCount=3000,
        RequestedMaxKeepAliveCount=1000,
    )
    return client.run(client.client.uaclient.create_subscription(parameters, lambda answer: None))


def revised_sampling(
    client: OpcClient, subscription_id: int, node: ua.NodeId, asked_ms: float
) -> float:
    wanted = ua.MonitoredItemCreateRequest(
        ItemToMonitor=ua.ReadValueId(NodeId=node, AttributeId=ua.AttributeIds.Value),
        MonitoringMode=ua.MonitoringMode.Reporting,
        RequestedParameters=ua.MonitoringParameters(
            ClientHandle=1, SamplingInterval=asked_ms, QueueSize=1, DiscardOldest=True
        ),
    )
    parameters = ua.CreateMonitoredItemsParameters(
        SubscriptionId=subscription_id, ItemsToCreate=[wanted]
    )
    (result,) = client.run(client.client.uaclient.create_monitored_items(parameters))
    result.StatusCode.check()
    return result.RevisedSamplingInterval


@pytest.mark.parametrize(
    "name, shown",
    [("", None), ("AplicationName = Котельная 5", "Котельная5"), ("AplicationName =   ;", None)],
)
def test_endpoint_description(
    name: str,
    shown: str | None,
    controller: Controller,
    server: ServerUnderTest,
    clients: Clients,
) -> None:
    controller.start(va=1)
    server.start(f"{SERVING}{name}\n")
    client = clients.connect()
    (endpoint,) = client.run(client.client.connect_and_get_server_endpoints())
    assert endpoint.SecurityMode == ua.MessageSecurityMode.None_
    application = endpoint.Server.ApplicationName
    if shown is not None:
        assert (application.Locale, application.Text) == ("ru-RU", shown)
    else:
        assert application.Locale != "ru-RU" and application.Text
