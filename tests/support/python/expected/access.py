"""Which attributes may be published, and what a client may do with them."""

READ, WRITE = 1, 2


def _numbers(ranges: str) -> frozenset[int]:
    numbers: set[int] = set()
    for item in ranges.split():
        first, _, last = item.partition("-")
        numbers.update(range(int(first), int(last or first) + 1))
    return frozenset(numbers)


_ADMITTED = {
    "VA": _numbers("1-26 28-35 38-62"),
    "VD": _numbers("1-27 29-41"),
    "DV": _numbers("1-17 19-23 32-48"),
    "AV": _numbers("1-7 20-41 44 45 48 49 52 59-67 69-72 75-93 95 96 107"),
    "RV": _numbers("1-10 12-18"),
}
_BARRED_FOR_LOGICAL_INPUTS = _numbers("5-9 12")

_BOTH = ("OPC_READABLE+OPC_WRITEABLE", "OPC_WRITEABLE+OPC_READABLE")
_LEVEL = {"OPC_READABLE": READ, "OPC_WRITEABLE": WRITE} | dict.fromkeys(_BOTH, READ | WRITE)


def admitted(kind: str, rv_type: int, attribute: int) -> bool:
    if kind == "RV" and rv_type == 2 and attribute in _BARRED_FOR_LOGICAL_INPUTS:
        return False
    return attribute in _ADMITTED[kind]


def level(attribute: int, right: str) -> int:
    """Access level of an admitted attribute for the right that the configuration asks.

    Attribute 1 can only be read; whatever else is asked that does not fit gives all that the
    attribute allows.
    """
    if right == "default" or attribute == 1:
        return READ
    return _LEVEL.get(right, READ | WRITE)
