"""An OPC UA client that does what no client should: its messages are made by hand.

No message security, plain blocking sockets; of answers only the status is checked.
"""

import socket
import struct
import uuid
from contextlib import suppress
from typing import Any

from asyncua import ua
from asyncua.ua.ua_binary import struct_to_binary

CHUNK = 65_536 - 64
_POLICY = b"http://opcfoundation.org/UA/SecurityPolicy#None"
_TIMEOUT_S = 60.0
_LONGEST_SESSION_MS = 3_600_000.0


def _text(value: bytes) -> bytes:
    return struct.pack("<i", len(value)) + value


class Refused(Exception):
    """The server has closed the connection, or answered with a bad status."""


class RawClient:
    """`receive_buffer`: bytes that the kernel keeps for a client that does not read; 0: the default."""

    def __init__(
        self,
        port: int,
        session: bool = True,
        name: str = "attack",
        session_timeout_ms: float = _LONGEST_SESSION_MS,
        receive_buffer: int = 0,
    ) -> None:
        self.url = f"opc.tcp://127.0.0.1:{port}"
        self.socket = socket.socket()
        if receive_buffer:
            self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        self.socket.connect(("127.0.0.1", port))
        self.socket.settimeout(_TIMEOUT_S)
        self._channel = self._token = self._sequence = 0
        self._authentication = ua.NodeId()
        self._say_hello()
        self._open_channel()
        if session:
            self.create_session(name, session_timeout_ms)
            self.activate_session()

    def close(self) -> None:
        self.socket.close()

    # -- Requests

    def request(self, request: Any) -> bytes:
        """Sends it and waits for its answer, without the headers.

        @raises Refused  with the status
        """
        self.send(request)
        return self.answer()

    def header(self) -> bytes:
        """A request header for requests of this session."""
        return struct_to_binary(ua.RequestHeader(AuthenticationToken=self._authentication))

    def send(self, request: Any) -> None:
        request.RequestHeader.AuthenticationToken = self._authentication
        self.send_body(struct_to_binary(request))

    def send_body(self, body: bytes) -> None:
        """Sends a message with this body, in as many chunks as necessary."""
        pieces = [body[at : at + CHUNK] for at in range(0, len(body), CHUNK)]
        for index, piece in enumerate(pieces):
            self.send_chunk(piece, final=index == len(pieces) - 1)

    def send_chunk(self, piece: bytes, final: bool) -> None:
        self._sequence += 1
        header = struct.pack("<IIII", self._channel, self._token, self._sequence, 1)
        kind = b"MSGF" if final else b"MSGC"
        try:
            self.socket.sendall(kind + struct.pack("<I", 24 + len(piece)) + header + piece)
        except OSError as error:
            raise Refused("connection closed") from error

    def answer(self) -> bytes:
        """The next answer's body after its response header."""
        body, more = b"", True
        while more:
            kind, payload = self._receive()
            if kind[:3] != b"MSG":
                raise Refused(status_name(struct.unpack_from("<I", payload)[0]))
            body += payload[16:]  # behind channel, token, sequence, request
            more = kind[3:] == b"C"
        header_at = 4  # behind the answer's type
        (result,) = struct.unpack_from("<I", body, header_at + 12)
        if result:
            raise Refused(status_name(result))
        return body[header_at + 24 :]

    # -- The connection

    def _say_hello(self) -> None:
        body = struct.pack("<IIIII", 0, 65_536, 65_536, 0, 0) + _text(self.url.encode())
        self.socket.sendall(b"HELF" + struct.pack("<I", 8 + len(body)) + body)
        self._receive()

    def _open_channel(self) -> None:
        request = ua.OpenSecureChannelRequest()
        request.Parameters.RequestedLifetime = 3_600_000
        request.Parameters.SecurityMode = ua.MessageSecurityMode.None_
        self._sequence += 1
        body = struct.pack("<I", 0) + _text(_POLICY) + struct.pack("<ii", -1, -1)
        body += struct.pack("<II", self._sequence, 1) + struct_to_binary(request)
        self.socket.sendall(b"OPNF" + struct.pack("<I", 8 + len(body)) + body)
        _, answer = self._receive()
        # Protocol version, channel, token behind the response header.
        start = 4 + len(_text(_POLICY)) + 8 + 8 + 4 + 24
        self._channel, self._token = struct.unpack_from("<II", answer, start + 4)

    def create_session(
        self, name: str = "attack", timeout_ms: float = _LONGEST_SESSION_MS
    ) -> None:
        create = ua.CreateSessionRequest()
        create.Parameters.EndpointUrl = self.url
        create.Parameters.SessionName = name
        create.Parameters.RequestedSessionTimeout = timeout_ms
        answer = self.request(create)
        at = _node_id_length(answer, 0)
        end = at + _node_id_length(answer, at)
        token = answer[at:end]
        self._authentication = _guid_node_id(token)

    def activate_session(self) -> None:
        self.request(ua.ActivateSessionRequest())  # without a token: anonymous

    def _receive(self) -> tuple[bytes, bytes]:
        header = self._receive_exactly(8)
        (size,) = struct.unpack_from("<I", header, 4)
        return header[:4], self._receive_exactly(size - 8)

    def _receive_exactly(self, count: int) -> bytes:
        data = b""
        while len(data) < count:
            piece = b""
            with suppress(OSError):
                piece = self.socket.recv(count - len(data))
            if not piece:
                raise Refused("connection closed")
            data += piece
        return data


def status_name(code: int) -> str:
    return ua.status_codes.get_name_and_doc(code)[0]


def _node_id_length(data: bytes, at: int) -> int:
    lengths = {0: 2, 1: 4, 2: 7, 4: 19}
    return lengths[data[at]]


def _guid_node_id(data: bytes) -> ua.NodeId:
    (namespace,) = struct.unpack_from("<H", data, 1)
    return ua.NodeId(uuid.UUID(bytes_le=data[3:19]), namespace)
