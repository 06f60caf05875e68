"""The passport records of the exported kinds: where fields lie, and their attributes' numbers."""

import struct
from typing import NamedTuple

RECORD_SIZE = {"VA": 114, "AV": 204, "RV": 48, "VD": 56, "DV": 58}


class Field(NamedTuple):
    number: int  # of the attribute
    offset: int
    format: str  # of the struct module: B a byte, h and H 16 bits, f a float, 9s a text

    @property
    def size(self) -> int:
        return struct.calcsize("<" + self.format)


# Number, name, offset, format. What lies behind byte 28 of a manual input depends on its var_type.
_ROWS = {
    "VA": """
        1 NKAN 0 B,  5 POZ 4 9s,  8 UNIT 31 B,  14 VPG 46 f,  24 WorkVAL 83 f,  29 TZN 103 f,
        35 SELF_SECT 112 B
    """,
    "AV": """
        5 POZ 4 9s,  8 POZP.type 31 B,  9 POZP.index 32 H,  19 IMW.index 47 H,  20 PP 49 B,
        21 ZD 50 f,  36 TKL 107 H,  39 PRM 119 f,  40 PRD 123 f,  41 ZDD 127 f,
        46 RSSN[0] 147 f,  48 RSSN[2] 155 f,  49 RSSN[3] 159 f,  51 IM 167 f,  54 TRU[1] 176 B
    """,
    "RV": """
        1 POZ 0 9s,  4 var_type 27 B,  6 MAX 29 f,  8 TZN 37 f,  10 ALARM 46 B,
        11 SELF_SECT 47 B,  12 TEXT_TZN 28 17s,  13 TEXT_COLOR 45 B,  14 BOOL_TZN 28 B,
        18 COLOR1 32 B
    """,
    "VD": """
        5 POZ 4 9s,  25 STATUS1 48 B,  26 STATUS2 49 B,  28 ALARM 50 B,  31 indvar 53 h
    """,
    "DV": """
        6 POZ 5 9s,  20 OUT 43 B,  21 DU 44 B,  30 indvar1 53 h
    """,
}


def _field(row: str) -> tuple[str, Field]:
    number, name, offset, layout = row.split()
    return name, Field(int(number), int(offset), layout)


FIELDS = {kind: dict(map(_field, rows.split(","))) for kind, rows in _ROWS.items()}
