"""opcuaview's commands beside this server, and beside a server of another make."""

import json
import shlex
from collections.abc import Iterator

import pytest
from asyncua import ua
from asyncua.sync import Server

from conftest import Site
from programs import PORT, run_to_end
from published_tags import BOTH, item, publishing

# Exit status and command line; texts of standard output and error in between. "…" is a value's node.
OWN = [
    (0, "tree Operative --filter VA_1", "    VA_1/\n      N  1.5  Good  Float  RW  ns=2;s=…\n"),
    (0, "tree --depth 1", "Objects/\n  Operative/\n"),
    (5, "tree --limit 2", "есть ещё"),
    (1, "tree Operative/1_AB", "такого узла на сервере нет"),
    (0, "read ns=2;s=…", "ns=2;s=…  1.5       Good      Float"),
    (1, "read ns=2;s=nobody", "BadNodeIdUnknown"),
    (2, "write ns=2;s=… 2,5", "--yes"),
    (2, "write --yes ns=2;s=… 2x", '"2x": требуется число'),
    (0, "write --yes ns=2;s=… 2,5", "1.5 → 2.5  Good"),
    (6, "write --yes ns=2;s=Operative.1_VA.VA_1.N.A5 Двенадцать12", "требовалось Двенадцать12"),
    (6, "write --yes ns=2;s=Operative.1_VA.VA_1.N.A17 1", "запись в этот узел не разрешена"),
    (0, "info", "ServiceLevel  255 (исправен)"),
    (0, "info --lang en", "ns=2  urn:vesk"),
    (0, "check --max-bad 3", "OPCUA OK - значений 6, плохих 3, самому новому"),
    (1, "check --max-bad 2", "OPCUA WARNING - плохих значений больше допустимого: 3;"),
    (2, "check --lang en --max-age 0", "OPCUA CRITICAL - the values are old"),
    (2, "check --filter VA_2", "все значения плохие"),
    (2, "check --filter nothing", "сервер не публикует ни одной переменной"),
    (1, "history --list", "перьев с историей на сервере нет"),
]


def outcome(line: str) -> tuple[int, str]:
    done = run_to_end("opcuaview", *shlex.split(line))
    return done.returncode, done.stdout + done.stderr


def test_commands_beside_this_server(site: Site) -> None:
    rights = publishing(("VA", 14), ("VA", 5), right=BOTH) + publishing(("VA", 17)).splitlines()[-1]
    site.start(va=2)
    for number, quality in ((1, 0xC0), (2, 0x00)):
        site.database.set_quality("VA", number, quality)
    site.database.set_field("VA", 1, "VPG", 1.5)
    site.serve(rights)
    for status, line, text in OWN:
        node = item("VA", 1, 14)
        got = outcome(line.replace("…", node))
        assert got[0] == status and text.replace("…", node) in got[1], (line, got)
    assert site.database.field("VA", 1, "VPG") == 2.5


T = ua.VariantType
# Value, and what is shown of it.
VALUES = {
    T.Boolean: (True, "true"),
    T.SByte: (-5, "-5"),
    T.Byte: (200, "200"),
    T.Int16: (-300, "-300"),
    T.UInt16: (60_000, "60000"),
    T.Int32: (-70_000, "-70000"),
    T.UInt32: (2**32 - 1, "4294967295"),
    T.Int64: (-(2**62), "-4611686018427387904"),
    T.UInt64: (2**64 - 1, "18446744073709551615"),
    T.Float: (0.1, "0.1"),
    T.Double: (1e300, "1e+300"),
    T.String: ("Насос\x1b[1m", "Насос?[1m"),
    T.ByteString: (b"\0\xff", "AP8="),
    T.XmlElement: (ua.XmlElement("<a/>"), "<a/>"),
    T.NodeId: (ua.NodeId("x", 2), "ns=2;s=x"),
    T.StatusCode: (ua.StatusCode(ua.StatusCodes.BadTimeout), "BadTimeout"),
    T.QualifiedName: (ua.QualifiedName("q", 2), "2:q"),
    T.LocalizedText: (ua.LocalizedText("ключ", "ru"), "ключ"),
    T.ExtensionObject: (ua.Range(0, 5), "{Low: 0.0, High: 5.0}"),
}


@pytest.fixture
def foreign(site: Site) -> Iterator[Server]:
    with Server() as server:
        server.set_endpoint(f"opc.tcp://127.0.0.1:{PORT}")
        index = server.register_namespace("urn:other")
        outer = server.nodes.objects.add_object(index, "Outer")
        inner = outer.add_object(index, "Inner")
        inner.add_reference(outer, ua.ObjectIds.Organizes)
        nameless = inner.add_variable(ua.NodeId(99, index), ua.QualifiedName("", index), 7)
        empty = ua.Variant(ua.LocalizedText(""), T.LocalizedText)
        nameless.write_attribute(ua.AttributeIds.DisplayName, ua.DataValue(empty))
        for value_type, (value, _) in VALUES.items():
            node = outer.add_variable(index, value_type.name, value, value_type)
            node.set_writable()
        unit = ua.EUInformation(DisplayName=ua.LocalizedText("°C"))
        name = ua.QualifiedName("EngineeringUnits", 0)
        outer.get_child(f"{index}:Float").add_property(ua.NodeId(98, index), name, unit)
        yield server


def test_commands_beside_a_foreign_server(foreign: Server) -> None:
    status, text = outcome("tree --json")
    nodes = {node["path"]: node for node in map(json.loads, text.splitlines())}
    assert status == 0
    assert nodes["Outer/Inner/Outer"]["id"] == nodes["Outer"]["id"], "the cycle ends here"
    assert nodes["Outer/Inner/ns=2;i=99"]["value"] == 7
    assert nodes["Outer/Float"]["unit"] == "°C" and nodes["Outer/Float"]["value"] == 0.1
    for value_type, (_, shown) in VALUES.items():
        status, text = outcome(f"read Outer/{value_type.name}")
        assert status == 0 and f"  {shown} " in text, value_type
    for line in ("SByte -128", "UInt64 18446744073709551615", "Boolean нет", "String да"):
        assert outcome(f"write --yes Outer/{line}")[0] == 0, line
    for line in ("SByte 128", "UInt64 -1", "ByteString x"):
        assert outcome(f"write --yes Outer/{line}")[0] == 2, line
    status, text = outcome("watch --plain --seconds 1 --filter sbyte")
    assert status == 0 and "-128" in text
    assert outcome("check")[0] == 0
