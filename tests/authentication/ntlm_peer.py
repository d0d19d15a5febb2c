"""An invoker service on plain sockets that checks NTLM passwords and unseals: what Wine's own server half cannot do.

The primitives (proof, session key, sign, seal) are impacket's; bind, auth3, request, response and their verifiers are written
here from the protocol ([C706] chapter 12, [MS-RPCE] 2.2.2.11, [MS-NLMP] 3.4).
"""
import os
import socketserver
import struct
import threading

from Cryptodome.Cipher import ARC4
from impacket import ntlm

REQUEST, RESPONSE, FAULT, BIND, BIND_ACK, AUTH3 = 0, 2, 3, 11, 12, 16
CONNECT, PRIVACY = 2, 6
NDR_SYNTAX = bytes.fromhex("045d888aeb1cc9119fe808002b10486002000000")
ACCESS_DENIED = 5

FLAGS = (ntlm.NTLMSSP_NEGOTIATE_UNICODE | ntlm.NTLMSSP_REQUEST_TARGET | ntlm.NTLMSSP_NEGOTIATE_SIGN | ntlm.NTLMSSP_NEGOTIATE_SEAL |
         ntlm.NTLMSSP_NEGOTIATE_NTLM | ntlm.NTLMSSP_NEGOTIATE_ALWAYS_SIGN | ntlm.NTLMSSP_TARGET_TYPE_SERVER |
         ntlm.NTLMSSP_NEGOTIATE_EXTENDED_SESSIONSECURITY | ntlm.NTLMSSP_NEGOTIATE_TARGET_INFO | ntlm.NTLMSSP_NEGOTIATE_128 |
         ntlm.NTLMSSP_NEGOTIATE_KEY_EXCH | ntlm.NTLMSSP_NEGOTIATE_56)


class Session:
    """The authentication of one connection: the NTLM exchange, who it was and, once accepted, the keys."""

    def __init__(self, level, negotiate, passwords):
        self.level, self.passwords = level, passwords
        self.domain = self.user = None
        self.accepted = False
        self.challenge = os.urandom(8)
        self.flags = FLAGS & struct.unpack_from("<L", negotiate, 12)[0] | ntlm.NTLMSSP_NEGOTIATE_TARGET_INFO
        self.received = self.sent = 0

    def challenge_message(self):
        name = "LAB".encode("utf-16le")
        pairs = b"".join(struct.pack("<HH", kind, len(name)) + name for kind in (2, 1)) + bytes(4)
        return (b"NTLMSSP\0" + struct.pack("<LHHLL", 2, len(name), len(name), 48, self.flags) + self.challenge + bytes(8) +
                struct.pack("<HHL", len(pairs), len(pairs), 48 + len(name)) + name + pairs)

    def accept(self, message):
        def field(at):
            length, _, offset = struct.unpack_from("<HHL", message, at)
            return message[offset:offset + length]
        nt, domain, user, key = field(20), field(28), field(36), field(52)
        self.flags = struct.unpack_from("<L", message, 60)[0]
        self.domain, self.user = domain.decode("utf-16le"), user.decode("utf-16le")
        password = self.passwords.get(self.user)
        if password is None or len(nt) < 24:
            return
        owf = ntlm.NTOWFv2(self.user, password, self.domain)
        if ntlm.hmac_md5(owf, self.challenge + nt[16:]) != nt[:16]:
            return
        session_key = ntlm.hmac_md5(owf, nt[:16])
        if self.flags & ntlm.NTLMSSP_NEGOTIATE_KEY_EXCH:
            session_key = ARC4.new(session_key).decrypt(key)
        self.sign_in, self.sign_out = (ntlm.SIGNKEY(self.flags, session_key, side) for side in ("Client", "Server"))
        self.seal_in, self.seal_out = (ARC4.new(ntlm.SEALKEY(self.flags, session_key, side)) for side in ("Client", "Server"))
        self.accepted = True

    def unseal(self, pdu, begin, end, signature):
        plain = self.seal_in.decrypt(pdu[begin:end])
        signed = pdu[:begin] + plain + pdu[end:end + 8]
        expected = ntlm.MAC(self.flags, self.seal_in.encrypt, self.sign_in, self.received, signed).getData()
        self.received += 1
        if expected != signature:
            raise ValueError("the client's signature does not hold")
        return plain

    def seal(self, head, stub, trailer):
        sealed = self.seal_out.encrypt(stub)
        signature = ntlm.MAC(self.flags, self.seal_out.encrypt, self.sign_out, self.sent, head + stub + trailer).getData()
        self.sent += 1
        return head + sealed + trailer + signature


def text(stub, at):
    """A conformant wide string at the next multiple of 4; gives it and where it ends."""
    at = (at + 3) & ~3
    count = struct.unpack_from("<L", stub, at + 8)[0]
    end = at + 12 + 2 * count
    return stub[at + 12:end - 2].decode("utf-16le"), end


def out_text(value):
    units = (value + "\0").encode("utf-16le")
    stub = struct.pack("<LLLL", 0x20000, len(units) // 2, 0, len(units) // 2) + units
    return stub + bytes(-len(stub) % 4)


def answer(operation, stub):
    """The invoker's three procedures: XML comes back in upper case, a block comes back twice."""
    done = struct.pack("<BxxxL", 1, 0)
    if operation == 2:
        return done
    _, end = text(stub, 0)
    xml, end = text(stub, end)
    if operation == 0:
        return out_text(xml.upper()) + done
    at = (end + 3) & ~3
    size = struct.unpack_from("<L", stub, at)[0]
    block = stub[at + 8:at + 8 + size] * 2
    reply = out_text(xml.upper()) + struct.pack("<LLL", len(block), 0x20004, len(block)) + block
    return reply + bytes(-len(reply) % 4) + done


class Peer:
    """Serves until the program ends; `passwords` maps users to passwords. Records attempts, executed operations and all raw bytes.

    `drop_after`: behind so many operations the next one's connection is closed without an answer, once; with `vanishing` the
    port before it, until `listen` opens it again.
    """

    def __init__(self, passwords, drop_after=None, vanishing=False):
        self.passwords, self.drop_after, self.vanishing = passwords, drop_after, vanishing
        self.attempts, self.executed, self.raw, self.problems = [], [], bytearray(), []
        peer = self

        class Handler(socketserver.StreamRequestHandler):
            def handle(self):
                try:
                    peer.serve(self)
                except ConnectionError:
                    pass
                except Exception as error:  # the test reports it
                    peer.problems.append(repr(error))

        class Server(socketserver.ThreadingTCPServer):
            daemon_threads = allow_reuse_address = True

        self.port = 0
        self.make_server = lambda: Server(("127.0.0.1", self.port), Handler)
        self.listen()

    def listen(self):
        self.server = self.make_server()
        self.port = self.server.server_address[1]
        threading.Thread(target=self.server.serve_forever, args=(0.01,), daemon=True).start()

    def receive(self, connection, count):
        data = connection.rfile.read(count)
        if len(data) < count:
            raise ConnectionError
        self.raw += data
        return data

    def send(self, connection, data):
        self.raw += data
        connection.wfile.write(data)

    def serve(self, connection):
        session = None
        while True:
            head = self.receive(connection, 16)
            kind, length, auth_length, call = head[2], *struct.unpack_from("<HHL", head, 8)
            pdu = head + self.receive(connection, length - 16)
            trailer = length - auth_length - 8
            verifier = pdu[trailer + 8:] if auth_length else b""
            if kind == BIND:
                session = Session(pdu[trailer + 1], verifier, self.passwords)
                self.attempts.append(session)
                body = struct.pack("<HHLHHLHH", 5840, 5840, 0x53f0, 1, 0, 1, 0, 0) + NDR_SYNTAX
                challenge = session.challenge_message()
                self.send(connection, self.header(BIND_ACK, call, len(body) + 8 + len(challenge), len(challenge)) + body +
                          bytes([10, session.level, 0, 0, 0, 0, 0, 0]) + challenge)
            elif kind == AUTH3:
                session.accept(verifier)
            elif kind == REQUEST:
                sealed = session.accepted and session.level == PRIVACY
                stub = session.unseal(pdu, 24, trailer, verifier) if sealed else pdu[24:]
                self.reply(connection, session, call, struct.unpack_from("<H", pdu, 22)[0], stub)

    def reply(self, connection, session, call, operation, stub):
        if len(self.executed) == self.drop_after:
            self.drop_after = None
            if self.vanishing:
                self.server.shutdown()
                self.server.server_close()
            raise ConnectionError
        if not session.accepted:
            self.send(connection, self.header(FAULT, call, 16) + struct.pack("<LLLL", 0, 0, ACCESS_DENIED, 0))
            return
        self.executed.append((operation, session.level))
        result = answer(operation, stub)
        body = struct.pack("<LL", len(result), 0)
        if session.level != PRIVACY:
            self.send(connection, self.header(RESPONSE, call, len(body) + len(result)) + body + result)
            return
        padding = -len(result) % 16
        head = self.header(RESPONSE, call, len(body) + len(result) + padding + 8 + 16, 16) + body
        self.send(connection, session.seal(head, result + bytes(padding), bytes([10, PRIVACY, padding, 0, 0, 0, 0, 0])))

    @staticmethod
    def header(kind, call, length, auth_length=0):
        first_and_last = 3
        return struct.pack("<BBBBLHHL", 5, 0, kind, first_and_last, 0x10, 16 + length, auth_length, call)
