"""The nodes of the historical tree for a configuration and a trend system."""

import re

from expected import configuration
from expected.address_space import (
    ANY_RANK,
    BASE_DATA_TYPE,
    BASE_DATA_VARIABLE_TYPE,
    BASE_OBJECT_TYPE,
    FOLDER_TYPE,
    HAS_COMPONENT,
    OBJECT,
    OBJECTS_FOLDER,
    ORGANIZES,
    VARIABLE,
    Node,
    NodeKey,
    Text,
)
from expected.configuration import Section
from trends import BOOLEAN, FLOAT, Pen, Trends

_SCALAR = -1
_DATA_TYPES = {FLOAT: (10, _SCALAR), BOOLEAN: (1, _SCALAR)}
_READ_AND_HISTORY_READ = 5
_KINDS = ("VA", "AV", "RV", "VD", "DV")


def _russian(text: str) -> Text:
    return Text("ru-RU", text)


def _pen_node(parent: str, key: str, tag: str, description: str, pen: Pen) -> Node:
    return Node(
        *(VARIABLE, parent, ORGANIZES, BASE_DATA_VARIABLE_TYPE, tag),
        *(_russian(tag), _russian(description), _READ_AND_HISTORY_READ),
        *_DATA_TYPES.get(pen.type_code, (BASE_DATA_TYPE, ANY_RANK)),
        historizing=True,
    )


def _selection(sections: list[Section], last: int) -> dict[int, tuple[str, list[int] | None]]:
    """Name and pens of each plotter; of two sections with a number each first one holds."""
    names: dict[int, str] = {}
    pens: dict[int, list[int] | None] = {}
    for section in sections:
        match = re.fullmatch(r"Plotter_\s*\+?(\d+)", section.name)
        if match is None or not 1 <= int(match[1]) <= last:
            continue
        entries = dict(section.entries)
        number = int(match[1])
        names.setdefault(number, entries.get("Name", section.name))
        listed = configuration.tag_numbers(entries["Pens"]) if "Pens" in entries else None
        pens.setdefault(number, listed)
    return {number: (names[number], pens[number]) for number in sorted(names)}


def nodes(text: str, trends: Trends) -> dict[NodeKey, Node]:
    """Every node of the tree, by identifier in the server's namespace."""
    sections = configuration.read(text)
    if not configuration.switched_on(sections, "HistoricalData"):
        return {}
    found: dict[NodeKey, Node] = {}
    root: NodeKey = OBJECTS_FOLDER
    application = configuration.application_name(sections)
    if application:
        text_of_root = Text("en-US", application)
        found[8] = Node(OBJECT, root, ORGANIZES, FOLDER_TYPE, application, text_of_root)
        root = 8
    found[7] = Node(
        *(OBJECT, root, ORGANIZES, FOLDER_TYPE, "Historical", Text("en-US", "Historical"))
    )
    base = f"{application}.Historical" if application else "Historical"
    for number, (name, listed) in _selection(sections, trends.plotters or 0).items():
        folder = name or f"Plotter_{number}"
        if folder in found:
            break  # the second of a name, and all plotters behind it
        text_of_folder = _russian(folder)
        found[folder] = Node(
            *(OBJECT, 7, HAS_COMPONENT, BASE_OBJECT_TYPE, folder, text_of_folder, text_of_folder)
        )
        for pen_number in listed or range(1, trends.pens_of.get(number, 0) + 1):
            pen = trends.pens.get((number, pen_number))
            if pen is None or number not in trends.pens_of:
                continue
            kind = _KINDS[pen.kind] if 0 <= pen.kind < len(_KINDS) else ""
            tag = f"R{number}_P{pen_number}.{kind}_{pen.number}"
            key = f"{base}.{folder}.{tag}" if listed else tag
            description = key if listed else f"{tag}.A"
            found[key] = _pen_node(folder, key, tag, description, pen)
    return found
