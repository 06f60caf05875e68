"""Nodes of the server's namespace, as found by a client and as expected by tests."""

from collections.abc import Iterable
from dataclasses import dataclass, replace

ORGANIZES, HAS_COMPONENT = 35, 47
OBJECTS_FOLDER = "Objects"
OBJECT, VARIABLE = 1, 2
FOLDER_TYPE, BASE_OBJECT_TYPE, BASE_DATA_VARIABLE_TYPE = 61, 58, 63
ANY_TYPE = 24, -2  # data type, value rank

NodeKey = int | str  # identifier in the server's namespace


Text = tuple[str | None, str | None]  # locale, text


@dataclass(frozen=True)
class Node:
    """A node with its only hierarchical parent. None: the node's class has no such attribute."""

    node_class: int
    parent: NodeKey
    reference: int
    type_definition: int
    browse_name: str
    display_name: Text
    description: Text = (None, None)
    access_level: int | None = None
    data_type: int | None = None
    value_rank: int | None = None
    historizing: bool | None = None

    def without_locales(self) -> "Node":
        """As importers of nodesets make it."""
        texts = ("display_name", "description")
        return replace(self, **{text: (None, getattr(self, text)[1]) for text in texts})


def folder(name: str, parent: NodeKey) -> Node:
    text = ("en-US", name) if name else (None, None)
    return Node(OBJECT, parent, ORGANIZES, FOLDER_TYPE, name, text)


def structure(name: str, parent: NodeKey) -> Node:
    text = ("ru-RU", name)
    return Node(OBJECT, parent, HAS_COMPONENT, BASE_OBJECT_TYPE, name, text, text)


def _item(tag: str, name: str, number: str, right: str) -> Node:
    return Node(
        *(VARIABLE, tag, HAS_COMPONENT, BASE_DATA_VARIABLE_TYPE, name),
        ("ru-RU", name),
        ("ru-RU", f"{tag}.A{number}"),
        *({"R": 1, "W": 2, "RW": 3}[right], *ANY_TYPE),
        historizing=False,
    )


def pen(tag: str, plotter: str, description: str, of_type: tuple[int, int]) -> Node:
    """`of_type`: its data type and value rank."""
    return Node(
        *(VARIABLE, plotter, ORGANIZES, BASE_DATA_VARIABLE_TYPE, tag),
        ("ru-RU", tag),
        ("ru-RU", description),
        *(5, *of_type),
        historizing=True,
    )


_KEYS = (1, 2, 4, 5, 9, 10, 11)
_FLAT_FOLDERS = dict(zip("1_VA 3_AV 2_VD 4_DV 50_RVV 51_RVS 52_RVL".split(), _KEYS, strict=True))

# A folder, the tags in it, and the items that each of them has: "NAME NUMBER RIGHT, ...". The folder
# is "1_VA" and the like, a group's number and name, or "GROUP_50_RVV" and the like.
Row = tuple[str | tuple[int, str], str, str]


def operative(rows: Iterable[Row], application: str = "") -> dict[NodeKey, Node]:
    """Every node of an operative tree, by identifier in the server's namespace."""
    found: dict[NodeKey, Node] = {6: folder("Operative", 8 if application else OBJECTS_FOLDER)}
    base = "Operative"
    if application:
        found[8] = folder(application, OBJECTS_FOLDER)
        base = f"{application}.Operative"
    for place, tags, items in rows:
        if isinstance(place, tuple):
            (key, name), parent = place, 6
        elif place in _FLAT_FOLDERS:
            key, name, parent = _FLAT_FOLDERS[place], place, 6
        else:
            group, name = place.split("_", 1)
            key, parent = place, int(group)
        found[key] = folder(name, parent)
        prefix = f"{base}.{name}." if parent == 6 else f"{base}{name}."
        for tag in tags.split():
            found[tag] = structure(tag, key)
            for item in filter(None, items.split(", ")):
                item_name, number, right = item.rsplit(" ", 2)
                found[f"{prefix}{tag}.{item_name}.A{number}"] = _item(tag, item_name, number, right)
    return found
