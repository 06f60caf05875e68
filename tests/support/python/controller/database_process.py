"""A database process with answers chosen by a test, in place of zrtsim's.

A request is the requesting process and 20 bytes; an answer has a uint32 count at 16 and a uint32 type
at 32 of its 40 bytes.
"""

import multiprocessing
import os
import signal
import struct
import threading
import time
from collections.abc import Iterable

from controller import ipc_keys, registry, sysv

QUESTIONS = 11


def queues() -> tuple[sysv.IpcObject, sysv.IpcObject]:
    """The queues of requests and of replies."""
    key = ipc_keys.fixed_key(ipc_keys.REGISTRY)
    requests, replies = sysv.find(key, "msg"), sysv.find(key + 1, "msg")
    assert requests and replies, "the controller has no queues"
    return requests, replies


def answer(type_code: int, count: int) -> bytes:
    return struct.pack("<16xI12xI4x", count, type_code)


def reply(asking: int, text: bytes) -> None:
    assert sysv.send(queues()[1], asking, struct.pack("<i", os.getpid()) + text)


class DatabaseProcess:
    """Lives until the test ends and reports no more types, or `dies` after its answers."""

    def __init__(self, answers: Iterable[bytes], dies: bool, delay_s: float = 0.0) -> None:
        context = multiprocessing.get_context("fork")
        given = list(answers)
        if not dies:
            given += [answer(QUESTIONS + 1, 0)] * (QUESTIONS - len(given))
        arguments = (given, dies, delay_s)
        self._process = context.Process(target=_serve, args=arguments, daemon=True)
        self._process.start()
        # Until its parent reaps it, an ended process would still be found by others.
        threading.Thread(target=self._process.join, daemon=True).start()

    def register(self) -> None:
        assert self._process.pid
        registry.add_holder("VsBASE", self._process.pid)


def _serve(answers: list[bytes], dies: bool, delay_s: float) -> None:
    requests, _ = queues()

    def asking() -> int:
        request = sysv.receive(requests, os.getpid())
        assert request is not None
        return struct.unpack_from("<i", request)[0]

    for text in answers:
        client = asking()
        time.sleep(delay_s)
        reply(client, text)
    if not dies:
        signal.pause()
    if len(answers) < QUESTIONS:
        asking()
