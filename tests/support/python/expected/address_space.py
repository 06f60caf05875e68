"""The nodes of the operative tree for a configuration and a database."""

import re
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from typing import NamedTuple

from expected import access, configuration
from expected.configuration import Section

ORGANIZES, HAS_COMPONENT = 35, 47
OBJECTS_FOLDER = "Objects"
OBJECT, VARIABLE = 1, 2
FOLDER_TYPE, BASE_OBJECT_TYPE, BASE_DATA_VARIABLE_TYPE = 61, 58, 63
BASE_DATA_TYPE, ANY_RANK = 24, -2

GROUP_SECTION = "Attributes_Group"

NodeKey = int | str  # identifier in the server's namespace


class Text(NamedTuple):
    locale: str | None
    text: str | None


@dataclass(frozen=True)
class Node:
    """A node with its only hierarchical parent. None: the node's class has no such attribute."""

    node_class: int
    parent: NodeKey
    reference: int
    type_definition: int
    browse_name: str
    display_name: Text
    description: Text = Text(None, None)
    access_level: int | None = None
    data_type: int | None = None
    value_rank: int | None = None
    historizing: bool | None = None


class Publication(NamedTuple):
    folder: int
    name: str
    marker: str


# By kind and sub-kind of the manual inputs, in the order in which the folders are made.
_PUBLICATIONS: dict[tuple[str, int], Publication] = {
    ("AV", 0): Publication(2, "3_AV", "Type3."),
    ("VA", 0): Publication(1, "1_VA", "Type1."),
    ("DV", 0): Publication(5, "4_DV", "Type4."),
    ("VD", 0): Publication(4, "2_VD", "Type2."),
    ("RV", 0): Publication(9, "50_RVV", "Type50."),
    ("RV", 1): Publication(10, "51_RVS", "Type51."),
    ("RV", 2): Publication(11, "52_RVL", "Type52."),
}
_WALK = ("VA", "RV", "AV", "VD", "DV")


class Attribute(NamedTuple):
    key: str
    name: str
    number: int
    right: str


@dataclass(frozen=True)
class Variables:
    """What the database holds: variables per kind, and the sub-kind of each manual input."""

    counts: dict[str, int]
    rv_types: tuple[int, ...] = ()

    def rv_type(self, kind: str, number: int) -> int:
        return self.rv_types[number - 1] if kind == "RV" else 0


@dataclass
class Group:
    """A section of grouped tags; `number` is None where its name does not end in one."""

    folder: int
    number: int | None
    name: str
    lists: dict[str, list[int] | None]


def _is_flat(section_name: str) -> bool:
    return section_name == "Attributes"


def _groups(sections: list[Section]) -> list[Group]:
    groups = []
    for section in sections:
        if GROUP_SECTION not in section.name:
            continue
        match = re.fullmatch(GROUP_SECTION + r"\s*([+-]?\d+)", section.name)
        number = int(match[1]) if match else None
        default_name = f"Group_{-1 if number is None else number}"
        name = dict(section.entries).get("Name", default_name)
        groups.append(Group(12 + len(groups), number, name, _tag_lists([section])))
    return groups


def _tag_lists(sections: list[Section]) -> dict[str, list[int] | None]:
    lists: dict[str, list[int] | None] = {kind: [] for kind in _WALK}
    for section in sections:
        for key, value in section.entries:
            if key in lists:
                lists[key] = configuration.tag_numbers(value)
    return lists


def _attributes(
    sections: list[Section], marker: str, wanted: Callable[[str], bool]
) -> list[Attribute]:
    found = []
    for section in sections:
        if not wanted(section.name):
            continue
        for key, value in section.entries:
            if not key.startswith(marker) or "," not in value:
                continue
            name, number, *rest = (part.strip() for part in value.split(",", 2))
            digits = re.match(r"[+-]?\d+", number)
            right = "".join(rest) or "default"
            found.append(Attribute(key, name, int(digits[0]) if digits else 0, right))
    return found


def _folder(name: str, parent: NodeKey) -> Node:
    text = Text("en-US", name) if name else Text(None, None)
    return Node(OBJECT, parent, ORGANIZES, FOLDER_TYPE, name, text)


def _structure(name: str, folder: NodeKey) -> Node:
    text = Text("ru-RU", name)
    return Node(OBJECT, folder, HAS_COMPONENT, BASE_OBJECT_TYPE, name, text, text)


def _item(structure: str, attribute: Attribute) -> Node:
    return Node(
        VARIABLE,
        structure,
        HAS_COMPONENT,
        BASE_DATA_VARIABLE_TYPE,
        attribute.name,
        Text("ru-RU", attribute.name),
        Text("ru-RU", f"{structure}.A{attribute.number}"),
        access.level(attribute.number, attribute.right),
        BASE_DATA_TYPE,
        ANY_RANK,
        False,
    )


class _Tree:
    def __init__(self, sections: list[Section], variables: Variables) -> None:
        self.nodes: dict[NodeKey, Node] = {}
        self._variables = variables
        self._used_rv_types: set[int] = set()
        self._sections = sections
        self._lists = _tag_lists([section for section in sections if _is_flat(section.name)])
        self._prefix = self._add_folders(configuration.application_name(sections))
        for kind in _WALK:
            for number in self._listed(kind, self._lists):
                self._add_flat_tag(kind, number)
        self._prune()
        self._add_groups(_groups(sections))

    def _add_folders(self, application: str) -> str:
        root: NodeKey = OBJECTS_FOLDER
        if application:
            self.nodes[8] = _folder(application, OBJECTS_FOLDER)
            root = 8
        self.nodes[6] = _folder("Operative", root)
        for publication in _PUBLICATIONS.values():
            self.nodes[publication.folder] = _folder(publication.name, 6)
        return f"{application}.Operative" if application else "Operative"

    def _listed(self, kind: str, lists: dict[str, list[int] | None]) -> Iterator[int]:
        listed = lists[kind]
        for number in range(1, self._variables.counts[kind] + 1):
            if listed is None or number in listed:
                yield number

    def _add_flat_tag(self, kind: str, number: int) -> None:
        publication = _PUBLICATIONS[kind, self._variables.rv_type(kind, number)]
        prefix = f"{self._prefix}.{publication.name}."
        self._add_tag(kind, number, publication.folder, prefix, _is_flat)

    def _add_groups(self, groups: list[Group]) -> None:
        for group in groups:
            self.nodes[group.folder] = _folder(group.name, 6)
        for kind in _WALK:  # a tag in two groups is in the first
            for group in groups:
                for number in self._listed(kind, group.lists):
                    self._add_grouped_tag(kind, number, group)

    def _add_grouped_tag(self, kind: str, number: int, group: Group) -> None:
        def in_group(section_name: str) -> bool:
            return f"{GROUP_SECTION}{group.number}" in section_name

        parent: NodeKey = group.folder
        prefix = f"{self._prefix}.{group.name}."
        if kind == "RV":
            folder_name = _PUBLICATIONS[kind, self._variables.rv_type(kind, number)].name
            prefix = f"{self._prefix}{folder_name}."
            parent = f"{group.folder}_{folder_name}"
            self.nodes[parent] = _folder(folder_name, group.folder)
        self._add_tag(kind, number, parent, prefix, in_group)

    def _add_tag(
        self,
        kind: str,
        number: int,
        parent: NodeKey,
        prefix: str,
        section_wanted: Callable[[str], bool],
    ) -> None:
        structure = f"{kind}_{number}"
        if structure in self.nodes:
            return
        rv_type = self._variables.rv_type(kind, number)
        marker = _PUBLICATIONS[kind, rv_type].marker
        items: dict[NodeKey, Node] = {}
        last_add_failed = False
        for attribute in _attributes(self._sections, marker, section_wanted):
            if not access.admitted(kind, rv_type, attribute.number):
                continue
            name = f"{structure}.{attribute.name}.A{attribute.number}"
            last_add_failed = prefix + name in items
            items.setdefault(prefix + name, _item(structure, attribute))
            if kind == "RV":
                self._used_rv_types.add(rv_type)
        if not last_add_failed:  # else the whole tag is taken back
            self.nodes[structure] = _structure(structure, parent)
            self.nodes |= items

    def _prune(self) -> None:
        for (kind, rv_type), publication in _PUBLICATIONS.items():
            if kind == "RV":
                unused = rv_type not in self._used_rv_types
            else:
                unused = self._lists[kind] == [] and self._variables.counts[kind] > 0
            if unused:
                self._remove(publication.folder)

    def _remove(self, key: NodeKey) -> None:
        del self.nodes[key]
        for child in [key_ for key_, node in self.nodes.items() if node.parent == key]:
            self._remove(child)


def nodes(text: str, variables: Variables) -> dict[NodeKey, Node]:
    """Every node that the server adds, by identifier in its namespace."""
    sections = configuration.read(text)
    if not configuration.switched_on(sections, "OperativeData"):
        return {}
    return _Tree(sections, variables).nodes
