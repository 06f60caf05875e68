"""Compares an imported nodeset with what a client browses. Called by tools/dev/nodeset."""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

from nodes import Node, NodeKey
from opc_client import OpcClient
from programs import CONFIGURATION, run_to_end
from simulated import DATABASE

_HISTORICAL = 7  # below it are the nodes that the nodeset leaves out


def imported() -> dict[NodeKey, Node]:
    written = run_to_end("opcuacheck", str(CONFIGURATION), *DATABASE, "--tree", "--nodeset2")
    with tempfile.NamedTemporaryFile("w", suffix=".xml", encoding="utf-8") as file:
        file.write(written.stdout)
        file.flush()
        script = Path(__file__).with_name("nodes.js")
        run = subprocess.run(["node", script, file.name], stdout=subprocess.PIPE, check=True)
    nodes = {}
    for described in json.loads(run.stdout):
        key = described.pop("key")
        texts = {name: tuple(described[name]) for name in ("display_name", "description")}
        nodes[key] = Node(**described | texts)
    return nodes


def main() -> int:
    client = OpcClient()
    shown = client.address_space()
    client.close()
    plotters = {key for key, node in shown.items() if node.parent == _HISTORICAL}
    left_out = plotters | {key for key, node in shown.items() if node.parent in plotters}
    wanted = {key: node.without_locales() for key, node in shown.items() if key not in left_out}
    found = imported()
    different = [key for key in wanted | found if wanted.get(key) != found.get(key)]
    for key in different[:10]:
        print(f"{key}:\n  server   {wanted.get(key)}\n  imported {found.get(key)}")
    outcome = "different" if different else "equal"
    print(f"{len(found)} nodes imported, {len(wanted)} expected, {outcome}")
    print(f"{len(left_out)} nodes of the history are left out")
    return 0 if wanted and not different else 1


if __name__ == "__main__":
    sys.exit(main())
