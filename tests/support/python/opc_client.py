"""An independent client, with its calls as plain functions.

The session runs in an event loop in its own thread, so that its keep-alives and notifications continue
while a test does something else.
"""

import asyncio
import queue
from collections.abc import Coroutine
from contextlib import suppress
from datetime import datetime
from itertools import chain
from typing import Any

from asyncua import Client, Server, ua
from asyncua.common.ua_utils import value_to_datavalue
from asyncua.sync import ThreadLoop

from nodes import OBJECTS_FOLDER, Node, NodeKey
from programs import PORT
from waiting import PATIENCE_S

_TIMEOUT_S = 60.0

OBJECTS_FOLDER_ID = ua.NodeId(85, 0)

# Of every node, then of variables.
_ATTRIBUTES = [
    *map(ua.AttributeIds.__getitem__, ("NodeClass", "BrowseName", "DisplayName", "Description")),
    *map(ua.AttributeIds.__getitem__, ("AccessLevel", "UserAccessLevel", "DataType", "ValueRank")),
    ua.AttributeIds.Historizing,
]


def subscribing(**settings: Any) -> ua.CreateSubscriptionParameters:
    """A request for a subscription that lasts as long as the server lets it."""
    asked = {"RequestedPublishingInterval": 1000.0, "RequestedLifetimeCount": 2**32 - 1}
    return ua.CreateSubscriptionParameters(
        **asked | {"RequestedMaxKeepAliveCount": 2**32 - 1} | settings
    )


def monitoring(
    subscription: int, node: ua.NodeId, count: int = 1, interval_ms: float = 1e6
) -> ua.CreateMonitoredItemsParameters:
    """A request for `count` items of one value, with queues as long as the server permits."""
    wanted = ua.MonitoredItemCreateRequest(
        ItemToMonitor=ua.ReadValueId(node, ua.AttributeIds.Value),
        MonitoringMode=ua.MonitoringMode.Reporting,
        RequestedParameters=ua.MonitoringParameters(
            SamplingInterval=interval_ms, QueueSize=2**32 - 1
        ),
    )
    return ua.CreateMonitoredItemsParameters(subscription, ItemsToCreate=[wanted] * count)


class Notifications:
    """Collects what a subscription delivers."""

    def __init__(self) -> None:
        self._arrived: queue.Queue[ua.DataValue] = queue.Queue()

    def datachange_notification(self, node: object, value: object, data: Any) -> None:
        self._arrived.put(data.monitored_item.Value)

    def next(self) -> tuple[object, bool]:
        """Value and whether it is good."""
        delivered = self._arrived.get(timeout=PATIENCE_S)
        return delivered.Value.Value, delivered.StatusCode.is_good()

    def is_empty(self) -> bool:
        return self._arrived.empty()


class OpcClient:
    """`settings` are attributes of asyncua's client, set before it connects."""

    def __init__(self, port: int = PORT, **settings: Any) -> None:
        self._loop = ThreadLoop(_TIMEOUT_S)
        self._loop.daemon = True
        self._loop.start()
        # The library regularly checks whether the server is alive, and ends the connection if the answer
        # is late, as it may be on a busy machine.
        self.client = Client(
            f"opc.tcp://127.0.0.1:{port}", timeout=_TIMEOUT_S, watchdog_intervall=_TIMEOUT_S
        )
        for name, value in settings.items():
            setattr(self.client, name, value)
        self.run(self.client.connect())
        self.namespace: int = self.run(self.client.get_namespace_index("urn:vesk"))

    def run(self, call: Coroutine[Any, Any, Any]) -> Any:
        return self._loop.post(call)

    def close(self) -> None:
        """Ends the session; a second call does nothing."""
        if not self._loop.is_alive():
            return
        with suppress(Exception):  # the server may be gone already
            self.run(self.client.disconnect())
        self._loop.stop()

    def vanish(self) -> None:
        """Ends the connection as the end of its process would."""

        async def abort() -> None:
            self.client.uaclient.protocol.transport.abort()
            await asyncio.sleep(0)

        self.run(abort())
        self._loop.stop()

    def node_id(self, key: NodeKey) -> ua.NodeId:
        return ua.NodeId(key, self.namespace)

    # -- Values

    def read(
        self, key: NodeKey, attribute: ua.AttributeIds = ua.AttributeIds.Value
    ) -> ua.DataValue:
        return self.read_many([self.node_id(key)], attribute)[0]

    def read_many(
        self, nodes: list[ua.NodeId], attribute: ua.AttributeIds = ua.AttributeIds.Value
    ) -> list[ua.DataValue]:
        if not nodes:  # which the server would refuse
            return []
        return self.run(self.client.uaclient.read_attributes(nodes, attribute))

    def read_standard(self, *path: str) -> Any:
        """Value of a variable below the Server object, by its browse names."""
        node = self.run(self.client.nodes.server.get_child([f"0:{name}" for name in path]))
        return self.run(node.read_value())

    def write(self, key: NodeKey, value: Any, of_type: ua.VariantType) -> ua.StatusCode:
        """Writes as the client's own call does: with the current time as source time."""
        return self.write_data_value(key, value_to_datavalue(value, of_type))

    def write_data_value(
        self,
        key: NodeKey,
        value: ua.DataValue,
        attribute: ua.AttributeIds = ua.AttributeIds.Value,
    ) -> ua.StatusCode:
        wanted = ua.WriteValue(NodeId=self.node_id(key), AttributeId=attribute, Value=value)
        parameters = ua.WriteParameters(NodesToWrite=[wanted])
        return self.run(self.client.uaclient.write(parameters))[0]

    def notifications(self, key: NodeKey, interval_ms: float) -> Notifications:
        """Notifications of a subscription to the node's value."""
        received = Notifications()
        subscription = self.run(self.client.create_subscription(interval_ms, received))
        node = self.client.get_node(self.node_id(key))
        self.run(subscription.subscribe_data_change(node, sampling_interval=interval_ms))
        return received

    # -- History

    def read_history(
        self,
        key: NodeKey,
        start: datetime,
        end: datetime,
        timestamps: ua.TimestampsToReturn = ua.TimestampsToReturn.Source,
        values: int = 0,
        bounds: bool = False,
    ) -> tuple[ua.StatusCode, list[ua.DataValue]]:
        """Raw values of one node, as in one answer."""
        details = ua.ReadRawModifiedDetails(False, start, end, values, bounds)
        wanted = [ua.HistoryReadValueId(NodeId=self.node_id(key))]
        parameters = ua.HistoryReadParameters(details, timestamps, NodesToRead=wanted)
        (result,) = self.run(self.client.uaclient.history_read(parameters))
        assert not result.ContinuationPoint
        return result.StatusCode, result.HistoryData.DataValues or []

    # -- The address space

    def address_space(self) -> dict[NodeKey, Node]:
        """Every node of the server's namespace below the Objects folder."""
        return self.run(walk(self.client, self.namespace))


async def walk(space: Client | Server, namespace: int) -> dict[NodeKey, Node]:
    """Every node of the namespace below the Objects folder."""
    found: dict[NodeKey, Node] = {}
    level = [OBJECTS_FOLDER_ID]
    while level:
        nodes = [space.get_node(node) for node in level]
        references = await asyncio.gather(*(node.get_references() for node in nodes))
        values = await asyncio.gather(*(node.read_attributes(_ATTRIBUTES) for node in nodes))
        for node, *described in zip(level, references, values, strict=True):
            assert node.Identifier not in found, f"{node} hangs in two places"
            if node != OBJECTS_FOLDER_ID:
                found[node.Identifier] = _node(namespace, *described)
        level = [
            reference.NodeId
            for reference in chain(*references)
            if reference.IsForward and reference.NodeId.NamespaceIndex == namespace
        ]
    return found


def _node(
    namespace: int, references: list[ua.ReferenceDescription], attributes: list[ua.DataValue]
) -> Node:
    (parent,) = (r for r in references if not r.IsForward)
    (type_definition,) = (
        r for r in references if r.ReferenceTypeId.Identifier == ua.ObjectIds.HasTypeDefinition
    )
    at_objects = parent.NodeId == OBJECTS_FOLDER_ID
    node_class, browse_name, display_name, description = (d.Value.Value for d in attributes[:4])
    assert browse_name.NamespaceIndex == namespace
    place = (
        int(node_class),
        OBJECTS_FOLDER if at_objects else parent.NodeId.Identifier,
        parent.ReferenceTypeId.Identifier,
        type_definition.NodeId.Identifier,
        browse_name.Name,
        (display_name.Locale, display_name.Text),
        (description.Locale, description.Text),
    )
    if node_class != ua.NodeClass.Variable:
        return Node(*place)
    level, user_level, data_type, rank, historizing = (d.Value.Value for d in attributes[4:])
    assert level == user_level
    return Node(*place, level, data_type.Identifier, rank, historizing)
