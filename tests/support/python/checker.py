"""opcuacheck beside the server: its predictions for a configuration are what the server does."""

import asyncio
import json
import tomllib

from asyncua import Server, ua

from nodes import OBJECTS_FOLDER, Node, NodeKey
from opc_client import OpcClient, walk
from programs import CONFIGURATION, run_to_end

_ACCESS = {"R": 1, "W": 2, "RW": 3, "R+H": 5}


def _printed(*arguments: str) -> str:
    run = run_to_end("opcuacheck", str(CONFIGURATION), "--system=/zrt/system", *arguments)
    assert run.stderr == ""
    assert run.returncode in (0, 1, 2)
    return run.stdout


def check(*arguments: str) -> list[dict[str, object]]:
    return json.loads(_printed("--json", *arguments))


def log_lines(*arguments: str) -> list[str]:
    """The predicted lines of the server's log, sorted."""
    return sorted(str(found["log"]) for found in check(*arguments) if found["log"] is not None)


def tree(*arguments: str) -> list[tuple[NodeKey, tuple[NodeKey, str, int | None], str]]:
    """Key of each node; its parent, name and access level; the type of its value."""

    def key_of(node_id: str) -> NodeKey:
        kind, _, text = node_id.partition("=")
        return OBJECTS_FOLDER if node_id == "i=85" else int(text) if kind == "i" else text

    return [
        (
            key_of(node["id"]),
            (key_of(node["parent"]), node["name"], _ACCESS.get(node["access"])),
            node["dataType"],
        )
        for node in check("--tree", *arguments)
    ]


def assert_predicted(client: OpcClient, nodes: dict[NodeKey, Node], *arguments: str) -> None:
    """The tree is the one that a client browses, and values have the types that were predicted."""
    predicted = tree(*arguments)
    assert {key: place for key, place, _ in predicted} == {
        key: (node.parent, node.browse_name, node.access_level) for key, node in nodes.items()
    }
    types = [(key, of_type) for key, (_, _, level), of_type in predicted if (level or 0) & 1]
    values = client.read_many([client.node_id(key) for key, _ in types])
    for (key, of_type), value in zip(types, values, strict=True):
        known = value.Value is not None and value.Value.VariantType != ua.VariantType.Null
        assert of_type == (value.Value.VariantType.name if known else "—"), key


async def _imported(nodeset: str) -> dict[NodeKey, Node]:
    """The nodes that another OPC UA stack makes of a nodeset."""
    server = Server()
    await server.init()
    await server.import_xml(xmlstring=nodeset)
    return await walk(server, await server.get_namespace_index("urn:vesk"))


def assert_exported(nodes: dict[NodeKey, Node], *arguments: str) -> None:
    """The tree's other forms describe the nodes that a client browses."""
    assert asyncio.run(_imported(_printed("--tree", "--nodeset2", *arguments))) == {
        key: node.without_locales() for key, node in nodes.items()
    }
    (plugin,) = tomllib.loads(_printed("--tree", "--telegraf", *arguments))["inputs"]["opcua"]
    collected = [item["identifier"] for group in plugin["group"] for item in group["nodes"]]
    readable = [str(key) for key, node in nodes.items() if (node.access_level or 0) & 1]
    assert sorted(collected) == sorted(readable)
