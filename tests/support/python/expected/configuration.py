"""Reads a server configuration the way its users are told that it is read."""

import re
from dataclasses import dataclass, field

_GENERAL = (
    "AplicationName Work_mode ServerPort SamplingInterval OperativeData HistoricalData "
    "CountHistoryTrends"
)
_KINDS = "VA VD DV AV RV"
_KEYS = {
    "General": _GENERAL.split(),
    "Access": "Node_IPn Path_to_keys SecurityMode SecurityPolicy".split(),
    "Attributes": ["AccessUserN", *_KINDS.split()],
    "Attributes_Group": ["Name", "AccessUserN", *_KINDS.split()],
    "Plotter": ["Name", "AccessUserN", "Pens"],
}


@dataclass
class Section:
    name: str
    entries: list[tuple[str, str]] = field(default_factory=list)


def order(name: str) -> bytes:
    """Sort key of section and key names: CP866 bytes, Latin letters without their case."""
    return name.encode("cp866").lower()


def _load(text: str) -> list[Section]:
    """Sections and keys sorted; equal names merged; the last of equal keys wins."""
    loaded: dict[bytes, tuple[str, dict[bytes, tuple[str, str]]]] = {}
    keys: dict[bytes, tuple[str, str]] | None = None
    for line in (raw.strip() for raw in text.splitlines()):
        if not line or line[0] in ";#":
            continue
        if line[0] == "[":
            name = line[1 : line.index("]")].strip()
            keys = loaded.setdefault(order(name), (name, {}))[1]
        elif keys is not None and "=" in line:
            key, value = (part.strip() for part in line.split("=", 1))
            keys[order(key)] = (keys.get(order(key), (key,))[0], value)
    return [
        Section(name, [content[key] for key in sorted(content)])
        for _, (name, content) in sorted(loaded.items())
    ]


def _starts_with_number(text: str) -> bool:
    return re.match(r"\s*[+-]?\d", text) is not None


def section_is_known(name: str) -> bool:
    for prefix in ("Plotter_", "Attributes_Group"):
        if prefix in name:
            return _starts_with_number(name.split(prefix, 1)[1])
    return name in _KEYS


def key_is_known(section: str, key: str) -> bool:
    if "Plotter_" in section:
        return key in _KEYS["Plotter"]
    schema = "Attributes_Group" if "Attributes_Group" in section else section
    return "Type" in key or key in _KEYS[schema]


def read(text: str) -> list[Section]:
    """What is left after the schema check, each value cut where a comment begins."""
    sections = [section for section in _load(text) if section_is_known(section.name)]
    for section in sections:
        section.entries = [
            (key, re.split("[:;]", value)[0])
            for key, value in section.entries
            if key_is_known(section.name, key)
        ]
    return sections


def values(sections: list[Section], key: str) -> list[str]:
    """The values of a key in whatever section it stands."""
    return [value for section in sections for name, value in section.entries if name == key]


def application_name(sections: list[Section]) -> str:
    found = values(sections, "AplicationName")
    return found[-1][:16].replace(" ", "") if found else ""


def switched_on(sections: list[Section], key: str) -> bool:
    return all((value.split() or ["on"])[0] != "off" for value in values(sections, key))


def tag_numbers(text: str) -> list[int] | None:
    """The numbers of a list in ascending order; None stands for all tags."""
    if text.strip() == "all":
        return None
    items = text.strip().split(",")
    if items[-1] == "" and len(items) > 1:
        items.pop()
    numbers: set[int] = set()
    for item in (item.strip() for item in items):
        match = re.fullmatch(r"(\d+)(?:-(\d+))?", item)
        if match is None:
            return []
        first, last = int(match[1]), int(match[2] or match[1])
        numbers.update(range(first, last + 1))
    return sorted(numbers - {0})
