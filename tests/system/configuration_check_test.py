"""opcuacheck against the server: what it foretells of a configuration is what the server does."""

import json
import subprocess
from fnmatch import fnmatchcase

import pytest
from asyncua import ua

import address_space_test
import configuration_log_test
import historical_tree_test
from conftest import Site
from nodes import OBJECTS_FOLDER, NodeKey
from programs import CONFIGURATION, SERVING, program_path

# The controller of these tests, and how the checker is told of it.
COUNTS = {"va": 4, "av": 3, "rv": 6, "vd": 3, "dv": 4}
RV_TYPES = (0, 1, 2, 2, 1, 0)
DATABASE = ("--counts=va=4,av=3,rv=6,vd=3,dv=4", "--rvs=2,5", "--rvl=3,4")
ACCESS = {"R": 1, "W": 2, "RW": 3, "R+H": 5}


def check(*arguments: str) -> list[dict[str, object]]:
    command = [program_path("opcuacheck"), CONFIGURATION, "--json", "--system=/zrt/system"]
    run = subprocess.run([*command, *arguments], capture_output=True, timeout=30, check=False)
    assert run.stderr == b""
    assert run.returncode in (0, 1, 2)
    return json.loads(run.stdout)


def key_of(node_id: str) -> NodeKey:
    kind, _, text = node_id.partition("=")
    if node_id == "i=85":
        return OBJECTS_FOLDER
    return int(text) if kind == "i" else text


@pytest.mark.parametrize("case", address_space_test.CASES)
def test_tree_is_the_one_that_a_client_browses(case: str, site: Site) -> None:
    site.start(**COUNTS)
    site.set_rv_types(*RV_TYPES)
    client = site.serve(address_space_test.CASES[case][0])
    foretold = check("--tree", *DATABASE)
    assert {
        key_of(node["id"]): (key_of(node["parent"]), node["name"], ACCESS.get(node["access"]))
        for node in foretold
    } == {
        key: (node.parent, node.browse_name, node.access_level)
        for key, node in client.address_space().items()
    }

    readable = [node for node in foretold if "R" in (node["access"] or "")]
    values = client.read_many(
        (client.node_id(key_of(node["id"])), ua.AttributeIds.Value) for node in readable
    )
    for node, value in zip(readable, values, strict=True):
        if value.Value is not None and value.Value.VariantType != ua.VariantType.Null:
            assert value.Value.VariantType.name == node["dataType"], node["id"]
        else:
            assert node["dataType"] == "—", node["id"]


def test_historical_nodes_are_among_those_foretold(site: Site) -> None:
    """Which pens there are is told by the trend system alone: a "*" stands for what it adds."""
    site.start(va=1)
    system = historical_tree_test.SYSTEM
    system.tell()
    for name, (more, _) in historical_tree_test.CASES.items():
        client = site.serve(historical_tree_test.HISTORY_ONLY + more, system.environment)
        browsed = client.address_space()
        client.close()
        site.server.stop()
        foretold = [
            (str(key_of(node["id"])), key_of(node["parent"]), ACCESS.get(node["access"]))
            for node in check("--tree")
        ]
        for key, node in browsed.items():
            assert any(
                fnmatchcase(str(key), pattern)
                and (parent, access) == (node.parent, node.access_level)
                for pattern, parent, access in foretold
            ), f"{name}: {key}"


BROKEN = {name: SERVING + text for name, (text, _) in configuration_log_test.CASES.items()} | {
    "sampling below the cycle": SERVING + "SamplingInterval = 99\n",
    "sampling too short": SERVING + "SamplingInterval = 29.5\n",
    "sampling too long": SERVING + "SamplingInterval = 20000 ms\n",
    "no database has such attributes": SERVING
    + "[Attributes]\nAV=all\nType3.a=A, 107\nType3.b=B, 94\n"
    + "[Attributes_Group1]\nVD=2\nType2.x=X, 28\n",
}
FATAL = {
    "no port": "[General]\nServrPort = 4840\nSamplingInterval = 20\n",
    "outside": "[General]\nWrong = 1\nServerPort = 4850\nSamplingInterval = 20\n",
}


def test_errors_are_those_of_the_servers_log(site: Site) -> None:
    site.start(**COUNTS)
    site.set_rv_types(*RV_TYPES)
    for name, text in BROKEN.items():
        site.serve(text).close()
        logged = [line for line in site.server.log_lines() if "Запущен" not in line]
        site.server.stop()
        foretold = [finding["log"] for finding in check(*DATABASE) if finding["log"] is not None]
        assert sorted(foretold) == sorted(logged), name


@pytest.mark.parametrize("text", FATAL.values(), ids=FATAL.keys())
def test_fatal_errors_are_the_last_that_the_server_tells(text: str, site: Site) -> None:
    site.start(va=1, av=1, rv=1, vd=1, dv=1)
    process = site.launch(text)
    process.wait_for_log("ЦП 7: OPC UA Сервер: Ошибка конфигурации: 3 ")
    logs = [finding["log"] for finding in check() if finding["severity"] == "error"]
    assert sorted(log for log in logs if log is not None) == sorted(process.log_lines())
    assert logs.count(None) == text.count("SamplingInterval"), "told, though the server sleeps"


def test_the_sample_is_clean(site: Site) -> None:
    site.start_simulator("--frozen")
    assert check() == []
