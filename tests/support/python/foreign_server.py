#!/usr/bin/env python3
"""An OPC UA server of another make that does what a client must not expect. A program, so that tests can stop and kill it.

    foreign_server.py PORT [--items-per-call N] [--without NAME]...

Below Objects:
    Types      a variable for each built-in type, as scalar, array and matrix, and the extremes of each
    Names      no name, markup, control characters; node ids of every kind
    Loop       references that lead back, to Objects and to itself
    Histories  they refuse, break off, never end
    Endless    each folder has folders
    Wide       a list of children without an end: every part of it has a continuation point
    Faults     nodes that make a whole request fail
"""

import argparse
import asyncio
import datetime
import itertools
import logging
import uuid
from typing import Any

from asyncua import Server, ua
from asyncua.server.address_space import AddressSpace, AttributeValue, NodeData
from asyncua.server.internal_session import InternalSession
from asyncua.server.uaprocessor import UaProcessor
from asyncua.ua.ua_binary import struct_from_binary

T = ua.VariantType
Status = ua.StatusCodes
LONG = "Д" * 2_000_000  # characters
FOREVER = 2**63 - 1  # ticks

VALUES: dict[T, Any] = {
    T.Boolean: True,
    T.SByte: -128,
    T.Byte: 255,
    T.Int16: -(2**15),
    T.UInt16: 2**16 - 1,
    T.Int32: -(2**31),
    T.UInt32: 2**32 - 1,
    T.Int64: -(2**63),
    T.UInt64: 2**64 - 1,
    T.Float: 0.1,
    T.Double: 1e300,
    T.String: "<img src=x onerror=alert(1)>",
    T.DateTime: datetime.datetime(2026, 2, 3, 4, 5, 6, 789000),
    T.Guid: uuid.UUID(int=0x0123456789ABCDEF0123456789ABCDEF),
    T.ByteString: b"\0\xff",
    T.XmlElement: ua.XmlElement("<a>&amp;</a>"),
    T.NodeId: ua.NodeId("x", 2),
    T.ExpandedNodeId: ua.ExpandedNodeId("y", 2, NamespaceUri="urn:y", ServerIndex=3),
    T.StatusCode: ua.StatusCode(Status.BadTimeout),
    T.QualifiedName: ua.QualifiedName("q", 2),
    T.LocalizedText: ua.LocalizedText("ключ", "ru"),
    T.ExtensionObject: ua.EUInformation(DisplayName=ua.LocalizedText("°C")),
    T.DataValue: ua.DataValue(ua.Variant(5, T.Int32)),
    T.Variant: ua.Variant(6, T.Int32),
    T.DiagnosticInfo: ua.DiagnosticInfo(),
}

NAMES = {
    "": "no name",
    " ": "a space",
    "<script>alert(1)</script>": "markup",
    "a\nb\x1b[1m\x00c": "control characters",
    "\udcff\udcfe": "not UTF-8",
    "\u202egnp.exe": "right to left",
    "Ж" * 5000: "long",
}

IDS = [
    ua.NodeId(0, 2),
    ua.NodeId(2**32 - 1, 65535),
    ua.NodeId("", 2),
    ua.NodeId("a;b=c&d#?/%41 \"'<b>", 2),
    ua.NodeId("line\nbreak\x1b", 2),
    ua.NodeId("\udcff", 2),
    ua.NodeId("Ж" * 2000, 2),
    ua.NodeId(uuid.UUID(int=7), 2),
    ua.NodeId(b"\0\xff\n", 2),
    ua.NodeId(b"", 2),
]


def matrix(value: Any, kind: T) -> ua.Variant:
    return ua.Variant([[value, value], [value, value]], kind, Dimensions=[2, 2], is_array=True)


def specials() -> dict[str, ua.DataValue]:
    """Values that differ from the usual one of their type."""
    values = {
        "NaN": ua.Variant(float("nan"), T.Double),
        "Infinity": ua.Variant(float("-inf"), T.Float),
        "LongString": ua.Variant(LONG, T.String),
        "LongBytes": ua.Variant(bytes(4_000_000), T.ByteString),
        "NotUtf8": ua.Variant("\udcff\udc80<b>", T.String),
        "LongArray": ua.Variant([1.5] * 500_000, T.Double),
        "LongTexts": ua.Variant([LONG] * 3, T.String),
        "NullString": ua.Variant(None, T.String),
        "EmptyArray": ua.Variant([], T.Int32, is_array=True),
        "Null": ua.Variant(None, T.Null),
        "OldestTime": ua.Variant(-(2**63), T.DateTime),
        "LatestTime": ua.Variant(FOREVER, T.DateTime),
        "NoTime": ua.Variant(0, T.DateTime),
        "Mixed": ua.Variant([ua.Variant(1, T.Int32), ua.Variant("<b>", T.String)], T.Variant),
    }
    found = {name: ua.DataValue(value) for name, value in values.items()}
    one = ua.Variant(1.0, T.Double)
    found["BadWithValue"] = ua.DataValue(one, ua.StatusCode(Status.BadSensorFailure))
    found["BadWithoutValue"] = ua.DataValue(None, ua.StatusCode(Status.BadWaitingForInitialData))
    found["Uncertain"] = ua.DataValue(one, ua.StatusCode(Status.UncertainLastUsableValue))
    found["UnknownStatus"] = ua.DataValue(one, ua.StatusCode(0x8FFF0000))
    found["SourceTimeOldest"] = ua.DataValue(one, SourceTimestamp=-(2**63))  # type: ignore[arg-type]
    found["SourceTimeLatest"] = ua.DataValue(one, SourceTimestamp=FOREVER)  # type: ignore[arg-type]
    found["Nothing"] = ua.DataValue(None, None)
    return found


# ---- Trees without an end ----------------------------------------------------------------------


def generated(node: ua.NodeId, node_class: ua.NodeClass, value: float = 0.0) -> NodeData:
    name = str(node.Identifier).rsplit("/", 1)[-1]
    data = NodeData(node)
    attributes = {
        ua.AttributeIds.NodeId: ua.Variant(node, T.NodeId),
        ua.AttributeIds.BrowseName: ua.Variant(ua.QualifiedName(name, 2), T.QualifiedName),
        ua.AttributeIds.DisplayName: ua.Variant(ua.LocalizedText(name), T.LocalizedText),
        ua.AttributeIds.NodeClass: ua.Variant(node_class, T.Int32),
        ua.AttributeIds.Value: ua.Variant(value, T.Double),
        ua.AttributeIds.AccessLevel: ua.Variant(1, T.Byte),
        ua.AttributeIds.UserAccessLevel: ua.Variant(1, T.Byte),
    }
    for key, variant in attributes.items():
        data.attributes[key] = AttributeValue(ua.DataValue(variant))
    return data


def reference(name: str, node_class: ua.NodeClass) -> ua.ReferenceDescription:
    folder = node_class == ua.NodeClass.Object
    return ua.ReferenceDescription(
        ReferenceTypeId=ua.NodeId(ua.ObjectIds.Organizes),
        IsForward=True,
        NodeId=ua.ExpandedNodeId(name, 2),
        BrowseName=ua.QualifiedName(name.rsplit("/", 1)[-1], 2),
        DisplayName=ua.LocalizedText(name.rsplit("/", 1)[-1]),
        NodeClass=node_class,
        TypeDefinition=ua.NodeId(ua.ObjectIds.FolderType if folder else ua.ObjectIds.BaseDataVariableType),
    )


class EndlessSpace(AddressSpace):
    """Makes the nodes "endless/…" and "wide/…" when they are asked for."""

    def __contains__(self, node: ua.NodeId) -> bool:
        return self.get(node) is not None

    def __getitem__(self, node: ua.NodeId) -> NodeData:
        found = self.get(node)
        if found is None:
            raise KeyError(node)
        return found

    def get(self, node: ua.NodeId) -> NodeData | None:
        name = node.Identifier
        if not isinstance(name, str) or not name.startswith(("endless/", "wide/")):
            return super().get(node)
        if "value" in name:
            return generated(node, ua.NodeClass.Variable, 1.0)
        data = generated(node, ua.NodeClass.Object)
        if name.startswith("endless/"):
            data.references = [reference(f"{name}/{i}", ua.NodeClass.Object) for i in range(4)]
            data.references.append(reference(f"{name}/value", ua.NodeClass.Variable))
        return data


async def browse(session: InternalSession, params: ua.BrowseParameters) -> list[ua.BrowseResult]:
    if any(str(wanted.NodeId.Identifier).startswith("fault/browse") for wanted in params.NodesToBrowse):
        raise ua.uaerrors.BadInternalError
    results = session.iserver.view_service.browse(params)
    for wanted, result in zip(params.NodesToBrowse, results, strict=True):
        if str(wanted.NodeId.Identifier).startswith("wide/"):
            result.ContinuationPoint = str(wanted.NodeId.Identifier).encode()
    return results


_wide = itertools.count()


def browse_next(params: ua.BrowseNextParameters) -> ua.BrowseNextResponse:
    response = ua.BrowseNextResponse()
    for point in params.ContinuationPoints:
        result = ua.BrowseResult(ContinuationPoint=point)
        size = int(point.split(b"/")[1])
        result.References = [reference(f"{point.decode()}/value{next(_wide)}", ua.NodeClass.Variable) for _ in range(size)]
        response.Parameters.Results.append(result)
    return response


# ---- Histories ---------------------------------------------------------------------------------


async def history_read(_session: InternalSession, params: ua.HistoryReadParameters) -> list[ua.HistoryReadResult]:
    return [history_of(params.HistoryReadDetails, wanted) for wanted in params.NodesToRead]


def history_of(details: Any, wanted: ua.HistoryReadValueId) -> ua.HistoryReadResult:
    name = str(wanted.NodeId.Identifier).removeprefix("history/")
    begin = details.StartTime
    step = datetime.timedelta(milliseconds=0 if name == "same time" else 1)
    times = [begin + i * step for i in range(1000)]
    values = [ua.DataValue(ua.Variant(float(i), T.Double), SourceTimestamp=time) for i, time in enumerate(times)]
    result = ua.HistoryReadResult(ContinuationPoint=b"more", HistoryData=ua.HistoryData(DataValues=values))
    if name == "refused" or (name == "broken" and begin.second >= 5):
        result = ua.HistoryReadResult(StatusCode=ua.StatusCode(Status.BadHistoryOperationUnsupported))
    elif name == "backwards":
        values.reverse()
    elif name == "nothing":
        result.HistoryData = None
    elif name == "fault":
        raise ua.uaerrors.BadInternalError
    return result


HISTORIES = ("endless", "refused", "broken", "same time", "backwards", "nothing", "fault")


# ---- The server --------------------------------------------------------------------------------


async def fill(server: Server) -> None:
    objects = server.nodes.objects
    folders = {}
    for name in ("Types", "Names", "Loop", "Histories", "Faults"):
        folders[name] = await objects.add_folder(ua.NodeId(name, 2), ua.QualifiedName(name, 2))
    types = folders["Types"]
    for kind, value in VALUES.items():
        for suffix, variant in (
            ("", ua.Variant(value, kind)),
            ("[]", ua.Variant([value, value], kind)),
            ("[][]", matrix(value, kind)),
        ):
            node = await types.add_variable(ua.NodeId(kind.name + suffix, 2), ua.QualifiedName(kind.name + suffix, 2), 0)
            put(server, node.nodeid, ua.DataValue(variant, SourceTimestamp=datetime.datetime.now(datetime.timezone.utc)))
            await node.set_writable()
    for name, data in specials().items():
        node = await types.add_variable(ua.NodeId(name, 2), ua.QualifiedName(name, 2), 0)
        put(server, node.nodeid, data)
    for i, name in enumerate(NAMES):
        node = await folders["Names"].add_object(ua.NodeId(1000 + i, 2), ua.QualifiedName(name, 2))
        await node.add_variable(ua.NodeId(2000 + i, 2), ua.QualifiedName(name, 2), i)
    for i, node_id in enumerate(IDS):
        await folders["Names"].add_variable(node_id, ua.QualifiedName(f"id {i}", 2), i)
    inner = await folders["Loop"].add_object(ua.NodeId("inner", 2), ua.QualifiedName("inner", 2))
    back = server.iserver.aspace[inner.nodeid].references
    back += [reference(name, ua.NodeClass.Object) for name in ("Loop", "inner")]
    back.append(server.iserver.aspace[ua.NodeId(ua.ObjectIds.RootFolder)].references[0])
    for name in HISTORIES:
        node = await folders["Histories"].add_variable(ua.NodeId(f"history/{name}", 2), ua.QualifiedName(name, 2), 1.0)
        for attribute in (ua.AttributeIds.AccessLevel, ua.AttributeIds.UserAccessLevel):
            put(server, node.nodeid, ua.DataValue(ua.Variant(5, T.Byte)), attribute)
    await folders["Faults"].add_object(ua.NodeId("fault/browse", 2), ua.QualifiedName("fault/browse", 2))
    faulty = await folders["Faults"].add_variable(ua.NodeId("fault/value", 2), ua.QualifiedName("fault/value", 2), 0)
    # What the server cannot encode makes the whole request fail.
    put(server, faulty.nodeid, ua.DataValue(ua.Variant(object(), T.Int32)))
    server.iserver.aspace.__class__ = EndlessSpace
    references = server.iserver.aspace[objects.nodeid].references
    references.extend(reference(name, ua.NodeClass.Object) for name in ("endless/Endless", "wide/1000", "wide/1", "wide/0"))


def put(server: Server, node: ua.NodeId, data: ua.DataValue, attribute: Any = ua.AttributeIds.Value) -> None:
    server.iserver.aspace[node].attributes[attribute] = AttributeValue(data)


def bend(items_per_call: int) -> None:
    """Replaces what the library does properly."""
    to_ticks = ua.datetime_to_win_epoch
    ua.datetime_to_win_epoch = lambda time: time if isinstance(time, int) else to_ticks(time)
    InternalSession.browse, InternalSession.history_read = browse, history_read
    process = UaProcessor._process_message

    async def process_message(self: UaProcessor, kind: ua.NodeId, header: Any, sequence: Any, body: Any) -> Any:
        if kind != ua.NodeId(ua.ObjectIds.BrowseNextRequest_Encoding_DefaultBinary):
            return await process(self, kind, header, sequence, body)
        self.send_response(header.RequestHandle, sequence, browse_next(struct_from_binary(ua.BrowseNextParameters, body)))
        return True

    UaProcessor._process_message = process_message
    create = InternalSession.create_monitored_items

    async def create_some(session: InternalSession, params: ua.CreateMonitoredItemsParameters) -> Any:
        if len(params.ItemsToCreate) > items_per_call:
            raise ua.uaerrors.BadTooManyOperations
        return await create(session, params)

    InternalSession.create_monitored_items = create_some


async def run(port: int, without: list[str]) -> None:
    server = Server()
    await server.init()
    server.set_endpoint(f"opc.tcp://127.0.0.1:{port}")
    server.set_server_name("<b>Foreign</b>")
    await server.register_namespace("urn:other")
    await fill(server)
    top = server.iserver.aspace[server.nodes.objects.nodeid].references
    top[:] = [found for found in top if found.BrowseName.Name not in without]
    async with server:
        print("ready", flush=True)
        while True:
            await asyncio.sleep(3600)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("port", type=int)
    parser.add_argument("--items-per-call", type=int, default=10_000)
    parser.add_argument("--without", action="append", default=[], metavar="NAME", help="leave out what is there")
    options = parser.parse_args()
    logging.disable()
    bend(options.items_per_call)
    asyncio.run(run(options.port, options.without))


if __name__ == "__main__":
    main()
