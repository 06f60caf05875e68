"""A made-up plant behind the stand-in: tags that change, a month of history, a journal, a configuration."""

import math
import time
from dataclasses import dataclass, field
from typing import Any

GOOD, UNCERTAIN, BAD = 0, 1, 2
OLD_AFTER_S = 60
CSV_STEP_MS = 1000
_START = time.time() * 1000 - 5_400_000
_KINDS = (  # folder, tags, kind, unit, item, access
    ("1_VA", 5000, "VA", ("°C", "кПа", "м³/ч", "%", "МПа"), "Значение", "R"),
    ("2_VD", 3000, "VD", ("",), "Состояние", "R"),
    ("3_AV", 600, "AV", ("%",), "Выход", "R"),
    ("4_DV", 1200, "DV", ("",), "Команда", "RW"),
    ("50_RVV", 200, "RV", ("°C", "%"), "Задание", "RW"),
)
_WHAT = ("Температура подачи", "Давление газа", "Расход воды", "Положение клапана", "Давление пара",
         "Насос подпитки", "Уровень в барабане", "Дымосос", "Температура обратной воды", "Разрежение в топке")
NASTY = ('<img src=x onerror="window.pwned=1">', "<script>window.pwned=1</script>", "&lt;b&gt; & \"'`</td></div>",
         "\u202eтсерверот\u202c \u0000\u0007", "Очень" + " длинное" * 40 + " имя", "😀" * 30, "")
CONFIGURATION = """\
; Котельная № 1: что публикует сервер OPC UA
[General]
ServerPort = 4850
AplicationName = Котельная1
OperativeData = on
HistoricalData = on
SamplingInterval = 500
CountHistoryTrends = 1000

[Attributes]
VA = all
VD = 1-40, 57
AV = all
RV = all
Type1.Val  = Значение, 29, OPC_READABLE
Type1.Name = Имя, 1
Type2.Val  = Состояние, 27, OPC_READABLE
Typ3.Val   = Выход, 20, OPC_READABLE
Type50.Val = Задание, 8, OPC_READABLE+OPC_WRITEABLE

[Attributes_Group1]
Name = Насосы
VA = 60-65
Type1.01 = Значение, 29, OPC_READABLE

[Plotter_1]
Name = Котлы
Pens = 1-4
"""
_KNOWN_KEYS = ("ServerPort", "AplicationName", "OperativeData", "HistoricalData", "SamplingInterval",
               "CountHistoryTrends", "Name", "Pens", "VA", "VD", "AV", "DV", "RV")


@dataclass
class Plant:
    """All times are milliseconds since 1970. `forced` replaces what a node's course gives, until it is removed."""

    nasty: bool = False
    rows: dict[str, dict[str, Any]] = field(default_factory=dict)
    folders: dict[str, list[dict[str, Any]]] = field(default_factory=dict)
    forced: dict[str, tuple[Any, int, str]] = field(default_factory=dict)
    messages: list[dict[str, Any]] = field(default_factory=list)

    def __post_init__(self) -> None:
        names = [kind[0] for kind in _KINDS]
        self.folders = {
            "i=85": [_folder("ns=2;i=8", "Котельная1")], "ns=2;i=8": [_folder("ns=2;i=6", "Operative"), _folder("ns=2;i=7", "Historical")],
            "ns=2;i=6": [_folder(f"ns=2;s={name}", name) for name in names],
            "ns=2;i=7": [_folder("ns=2;s=Котлы", "Котлы"), _folder("ns=2;s=Сеть", "Сеть")],
        }
        for folder, count, kind, units, item, access in _KINDS:
            for n in range(1, count + 1):
                self._add(f"{kind}_{n}", f"{_WHAT[n % len(_WHAT)]} {n}", item, units[n % len(units)], access, folder)
        if self.nasty:
            self.folders["ns=2;i=6"] += [_folder(f"ns=2;s=nasty{i}", name) for i, name in enumerate(NASTY)]
            for i, name in enumerate(NASTY):
                self._add(f"{name}", name, name, name[:6], "RW", "1_VA", node=f"ns=2;s={i}{name}")
        for i, (code, text) in enumerate(((18091, "старт, версия 1.0.0"), (18092, "работа, теги OA+HA"), (17901, "имитатор: 10000 тегов"))):
            self.post(code, text, at=_START + 1000 * i)
        for i in range(60):
            self.post(17911 + i % 2, ("неисправность датчика", "датчик восстановлен")[i % 2], f"VA {7 + i // 2}", at=_START + 80_000 * (i + 1))

    def _add(self, tag: str, name: str, item: str, unit: str, access: str, folder: str, node: str = "") -> None:
        node = node or f"ns=2;s=Котельная1.Operative.{folder}.{tag}.{item}.A29"
        self.rows[node] = {"id": node, "tag": tag, "name": name, "item": item, "unit": unit,
                           "type": "String" if not access else "Float" if unit else "Int16", "access": access,
                           "history": tag in ("VA_7", "VA_8"), "folder": folder, "n": len(self.rows)}

    # -- Values

    def value(self, node: str, at: float) -> list[Any]:
        """What /api/events sends for a node."""
        if node in self.forced:
            value, quality, status = self.forced[node]
            return [node, value, quality, int(at)] + ([status] if status else [])
        row = self.rows.get(node)
        if row is None:
            return [node, None, BAD, None, "BadNodeIdUnknown"]
        n = row["n"]
        seen = at - at % 500 if n % 3 else at - at % 5000
        value = round(course(n, seen), 2 - n % 2) if row["unit"] else int(seen / 1000 + n * 7) // 17 % 2
        if n % 241 == 3:
            return [node, value, BAD, int(seen), "BadSensorFailure"]
        if n % 167 == 5:
            return [node, value, UNCERTAIN, int(seen), "UncertainLastUsableValue"]
        return [node, value, GOOD, int(_START if n % 353 == 8 else seen)]

    def below(self, node: str) -> list[dict[str, Any]]:
        if node in ("i=85", "ns=2;i=8", "ns=2;i=6"):
            return list(self.rows.values())
        name = node.removeprefix("ns=2;s=")
        pens = [pen for plotter in self.plotters() if plotter["id"] == node for pen in plotter["pens"]]
        if pens:
            return [{"id": pen["id"], "tag": pen["name"], "name": "", "item": pen["name"], "unit": pen["unit"], "type": "Float",
                     "access": "R", "history": True, "folder": name} for pen in pens]
        return [row for row in self.rows.values() if row["folder"] == name]

    def conditions(self, at: float) -> dict[str, list[str]]:
        found: dict[str, list[str]] = {"good": [], "uncertain": [], "bad": [], "old": []}
        for node in self.rows:
            value = self.value(node, at)
            is_old = value[3] is not None and at - value[3] > OLD_AFTER_S * 1000
            found["bad" if value[2] == BAD else "old" if is_old else ("good", "uncertain")[value[2]]].append(node)
        return found

    def search(self, text: str) -> list[dict[str, Any]]:
        word = text.casefold()
        return [row for row in self.rows.values() if any(word in str(row[key]).casefold() for key in ("tag", "name", "item", "id"))]

    def post(self, code: int, text: str, variable: str = "", at: float = 0) -> dict[str, Any]:
        message = {"time": int(at or time.time() * 1000), "dictionary": 301, "code": code, "variable": variable,
                   "text": {"ru": f"Контроллер 1: {text}", "en": f"Controller 1: {text}"}}
        self.messages.append(message)
        return message

    # -- History

    def plotters(self) -> list[dict[str, Any]]:
        boilers = [("VA_7", "°C"), ("VA_8", "°C"), ("VA_12", "кПа"), ("AV_3", "%")]
        network = [("VA_21", "м³/ч"), ("VA_22", "МПа"), ("VA_23", "°C"), ("VD_4", "")]
        return [{"id": f"ns=2;s={name}", "name": name, "pens": [
            {"id": f"ns=2;s=R{r}_P{p}.{tag}", "name": f"R{r}_P{p}.{tag}", "unit": unit} for p, (tag, unit) in enumerate(pens, 1)]}
            for r, (name, pens) in enumerate((("Котлы", boilers), ("Сеть", network)), 1)]

    def columns(self, node: str, start: int, end: int, width: int) -> tuple[list[list[Any]], int]:
        """At most `width` columns of one-second values, and how many values they stand for."""
        end = min(end, int(time.time() * 1000))
        first = -(-start // 1000)
        seconds = max(0, end // 1000 - first + 1)
        per_column = max(1, math.ceil(seconds / max(1, width)))
        made = []
        for second in range(first, first + seconds, per_column):
            stop = min(second + per_column, first + seconds)
            probes = range(second, stop, max(1, (stop - second) // 7))
            values = [archived(node, s * 1000) for s in probes]
            known = [value for value in values if value is not None]
            made.append([second * 1000, min(known), max(known), known[-1], 0] if known else [second * 1000, None, None, None, 1])
        return made, seconds


def course(n: int, at: float) -> float:
    """A smooth course with a little noise, different for each n."""
    t = at / 1000
    noise = math.sin(t * 1.7 + n) * math.sin(t * 0.73 + n * 2.1)
    return 50 + 30 * math.sin(t / (700 + n % 977) + n) + 6 * math.sin(t / 41 + n * 3) + 1.5 * noise


def archived(node: str, at: float) -> float | None:
    """The archive's value, None where the sensor was broken: four minutes of each hour for every other pen."""
    n = sum(node.encode()) % 89
    if n % 2 and at % 3_600_000 > 3_300_000 - n * 9000 and at % 3_600_000 < 3_540_000 - n * 9000:
        return None
    spike = 25 if at % 40_000_000 < 3000 else 0
    return round(course(n, at) + 12 * math.sin(at / 21_600_000) + spike, 3)


def check(text: str) -> dict[str, Any]:
    """A checker with two rules, which suffice to see where findings appear."""
    lines = text.split("\n")
    findings = []
    for line, content in enumerate(lines, 1):
        key, equals, value = (part.strip() for part in content.partition("="))
        if key == "ServerPort" and value not in [str(port) for port in range(4840, 4850)]:
            findings.append(_finding(line, "error", "port-range", f"порт {value} вне диапазона 4840–4849, сервер не запустится",
                                     f"port {value} is outside 4840 to 4849, so the server will not start",
                                     "укажите порт от 4840 до 4849", "use a port from 4840 to 4849"))
        elif equals and not key.startswith((";", "Type")) and key not in _KNOWN_KEYS:
            findings.append(_finding(line, "warning", "unknown-key", f"ключ «{key}» неизвестен и не учитывается",
                                     f"the key “{key}” is unknown and ignored", "проверьте написание ключа", "check how the key is spelled"))
    nodes = [_node("i=6", "i=85", "Operative", "Object", "", "")]
    for folder in ("1_VA", "2_VD"):
        nodes.append(_node(f"i={folder[0]}", "i=6", folder, "Object", "", ""))
        for n in range(1, 41):
            tag = f"{folder[2:]}_{n}"
            nodes += [_node(f"s={tag}", f"i={folder[0]}", tag, "Object", "", ""),
                      _node(f"s=Operative.{folder}.{tag}.Значение.A29", f"s={tag}", "Значение", "Variable", "Float", "R")]
    return {"file": "/zrt/settings/opcuasrv.ini", "lines": lines, "findings": findings, "tree": nodes}


def _folder(node: str, name: str) -> dict[str, Any]:
    return {"id": node, "name": name, "kind": "folder", "children": True}


def _node(node: str, parent: str, name: str, kind: str, data_type: str, access: str) -> dict[str, Any]:
    return {"id": node, "parent": parent, "name": name, "class": kind, "dataType": data_type, "access": access, "uncertain": False}


def _finding(line: int, severity: str, code: str, ru: str, en: str, do_ru: str, do_en: str) -> dict[str, Any]:
    return {"line": line, "severity": severity, "code": code, "message": {"ru": ru, "en": en}, "advice": {"ru": do_ru, "en": do_en}}
