"""The passport records of the exported kinds: where each field lies and what it holds.

A record is a row of fields in memory order, "NAME:kind". Kinds: c a byte, h int16, H uint16,
f float, sN a text of N bytes, *N that many elements. A bare number is the offset of what follows.
"""

import re
import struct
from dataclasses import dataclass


@dataclass(frozen=True)
class Field:
    offset: int
    format: str  # of the struct module, little-endian

    @property
    def size(self) -> int:
        return struct.calcsize(self.format)


_VA = """
    0 NKAN:c NUSO:c NPLT:c N_INPUT:c 4 POZ:s9 13 NAME1:s9 22 NAME2:s9 31 UNIT:c PP:c LIN:c
    34 NSHK:f KSHK:f NPG:f VPG:f 50 NAG:f VAG:f GST:f TSK:f 66 SK_UP:f SK_DOWN:f FLT:f SKD:f
    82 DST:c 83 WorkVAL:f OTS:f NTR:f KTR:f 99 TZV:f 103 TZN:f
    107 ZAPRET:c STATUS1:c STATUS2:c 110 ALARM:c DIAGN:c SELF_SECT:c 113 justify:c 114
"""
_AV = """
    0 NKAN:c NUSO:c NPLT:c NOUT:c 4 POZ:s9 13 NAME1:s9 22 NAME2:s9
    31 POZP.type:c POZP.index:H 34 POZD.type:c POZD.index:H 37 PUW.type:c PUW.index:H
    40 PAU.type:c PAU.index:H 43 WIM.type:c WIM.index:H 46 IMW.type:c IMW.index:H
    49 PP:c 50 ZD:f ZPM:f KP:f T:f 66 KD:f NEC:f KNEC:f TCP:f 82 TCO:f MAX:f MIN:f SMAX:f SMIN:f
    102 TKT:f 106 KL:c 107 TKL:H 109 reserved:H 111 KF:f SIM:f 119 PRM:f PRD:f ZDD:f ZDP:f PZD:f
    139 RSS:f RSSP:f 147 RSSN:f*4 163 IMP:f 167 IM:f IMR:f 175 TRU:c*2 177 TRVS:c*2
    179 DIM:f PIM:f SRSS:f 191 FOR:c TR:c SCT1:c SCT2:c 195 STATUS1:c STATUS2:c STATUS3:c STATUS4:c
    STATUS5:c STATUS6:c 201 ALARM:c SELF_SECT:c justify:c 204
"""
_RV = """
    0 POZ:s9 9 NAME1:s9 18 NAME2:s9 27 var_type:c 28 val_desc:s18 46 ALARM:c SELF_SECT:c 48
"""
_VD = """
    0 NKAN:c NUSO:c NPLT:c N_INPUT:c 4 POZ:s9 13 NAME1:s9 22 NAME2:s9 31 COLOR0:c LOGNAME0:c
    COLOR1:c LOGNAME1:c KOP:c INVERS:c REG1:c REG0:c SGN0:c SGN1:c TYP_SGN:c
    42 ZZP:c _ZZP:c ROZD:c SGN_Z:c TIM1:c TIM0:c 48 STATUS1:c STATUS2:c ALARM:c SELF_SECT:c
    52 typevar:c indvar:h 55 justify:c 56
"""
_DV = """
    0 NKAN:c NUSO:c TUSO:c NPLT:c N_OUTPUT:c 5 POZ:s9 14 NAME1:s9 23 NAME2:s9 32 COLOR0:c LOGNAME0:c
    COLOR1:c LOGNAME1:c KOP:c INVERS:c REG1:c REG0:c RVS:c ZDR:c ZDA:c 43 OUT:c DU:c PLU:c MU:c
    TIME:c 48 STATUS1:c STATUS2:c ALARM:c SELF_SECT:c
    52 typevar1:c indvar1:h 55 typevar2:c indvar2:h 58
"""
# The three layouts of val_desc; the record's var_type tells which one holds.
_RV_NUMBER = "28 UNIT:c 29 MAX:f MIN:f 37 TZN:f TZN2:f 45"
_RV_STRING = "28 TEXT_TZN:s17 45 TEXT_COLOR:c 46"
_RV_BOOLEAN = "28 BOOL_TZN:c LOGNAME0:c COLOR0:c LOGNAME1:c COLOR1:c KOP:c 34"


def _parse(row: str) -> tuple[dict[str, Field], int]:
    fields: dict[str, Field] = {}
    offset = None
    for word in row.split():
        if word.isdigit():
            if offset is not None and int(word) != offset:
                raise ValueError(f"the field before {word} ends at {offset}")
            offset = int(word)
            continue
        name, kind, length, count = re.fullmatch(r"([\w.]+):([chHfs])(\d*)\*?(\d*)", word).groups()
        for element in range(int(count or 1)):
            field = Field(offset, "<" + ("B" if kind == "c" else length + kind))
            fields[f"{name}[{element}]" if count else name] = field
            offset += field.size
    return fields, offset


def _record(row: str, *overlays: str) -> tuple[dict[str, Field], int]:
    fields, size = _parse(row)
    for overlay in overlays:
        fields |= _parse(overlay)[0]
    return fields, size


_RECORDS = {
    "VA": _record(_VA),
    "AV": _record(_AV),
    "RV": _record(_RV, _RV_NUMBER, _RV_STRING, _RV_BOOLEAN),
    "VD": _record(_VD),
    "DV": _record(_DV),
}
FIELDS: dict[str, dict[str, Field]] = {kind: fields for kind, (fields, _) in _RECORDS.items()}
RECORD_SIZE: dict[str, int] = {kind: size for kind, (_, size) in _RECORDS.items()}
