"""Authentication against a service that checks passwords: check.py EMULATOR PROBE. Prints each case; exit code 1 if one fails."""
import os
import subprocess
import sys
import threading

from ntlm_peer import CONNECT, PRIVACY, Peer

PASSWORD = "S3cret-marker-password"
MARKERS = ["marker-command".encode("utf-16le"), "<marker/>".encode("utf-16le"), "<MARKER/>".encode("utf-16le"),
           "marker-version".encode("utf-16le"), b"\x5a" * 64]
failures = 0


def probe(peer, mode, password=PASSWORD, calls=1):
    run = subprocess.Popen([*sys.argv[1:], str(peer.port), "LAB", "operator", mode, str(calls)], stdin=subprocess.DEVNULL,
                           stdout=subprocess.PIPE, encoding="utf-8", env=dict(os.environ, KORVA_PASSWORD=password))
    watchdog = threading.Timer(120, run.kill)
    watchdog.start()
    lines = []
    for line in run.stdout:
        lines.append(line.rstrip())
        if lines[-1] == binding(CONNECT) and peer.vanishing:  # only now the console has found nobody there
            peer.listen()
    check(f"{mode}: how the probe ends", run.wait(), 0)
    watchdog.cancel()
    check(f"{mode}: messages as they are to be", peer.problems, [])
    return lines


def check(what, actual, expected):
    global failures
    if actual != expected:
        failures += 1
        print(f"FAILED {what}\n  expected {expected!r}\n  actual   {actual!r}")


def steps(result, calls=1):
    return ["Connect: good"] + [f"{name}: {result}" for name in ("TestConnection", "DoRpc", "DoRpcWithBinary")] * calls


def binding(level):
    return f"binding: KorvaRpcInvoker/127.0.0.1 level {level} service 10"


def case_good(level, mode, calls):
    peer = Peer({"operator": PASSWORD})
    lines = probe(peer, mode, calls=calls)
    check(f"{mode}: every method works", lines, [binding(level)] + steps("good", calls))
    check(f"{mode}: what ran", peer.executed, [(2, level), (0, level), (1, level)] * calls)
    check(f"{mode}: who it was", [(a.domain, a.user, a.level, a.accepted) for a in peer.attempts],
          [("LAB", "operator", level, True)])
    seen = [marker in peer.raw for marker in MARKERS]
    check(f"{mode}: plain texts on the wire", seen, [level == CONNECT] * len(MARKERS))
    check(f"{mode}: the password on the wire", any(PASSWORD.encode(code) in peer.raw for code in ("utf-8", "utf-16le")), False)


def case_wrong_password(level, mode):
    peer = Peer({"operator": "another"})
    lines = probe(peer, mode)
    check(f"{mode}, wrong password: nothing runs", peer.executed, [])
    check(f"{mode}, wrong password: one binding, no wait, each call fails", lines, [binding(level), "Connect: good"] + [
        f"{step}: RPC function call failed. Function name: [{name}]. Target machine: [127.0.0.1].|Access denied."
        for step, name in [("TestConnection", "InvokerTestConnection"), ("DoRpc", "DoRpc"), ("DoRpcWithBinary", "DoRpcWithBinary")]])
    # Wine drops a connection that was refused, so each of the three calls authenticates anew, once.
    check(f"{mode}, wrong password: one attempt a call", [a.accepted for a in peer.attempts], [False] * 3)


def case_dropped():
    peer = Peer({"operator": PASSWORD}, drop_after=1)
    lines = probe(peer, "secure")
    check("connection dropped: repeated on the same binding after a wait", lines,
          [binding(PRIVACY)] + steps("good")[:2] + ["wait"] + steps("good")[2:])
    check("connection dropped: authenticated again, at the same level", [(a.level, a.accepted) for a in peer.attempts],
          [(PRIVACY, True)] * 2)
    check("connection dropped: what ran", peer.executed, [(2, PRIVACY), (0, PRIVACY), (1, PRIVACY)])


def case_port_closed_for_a_while():
    peer = Peer({"operator": PASSWORD}, drop_after=1, vanishing=True)
    lines = [line for line in probe(peer, "secure") if line != "wait"]
    check("port closed for a while: reconnects without privacy", lines,
          [binding(PRIVACY)] + steps("good")[:2] + [binding(CONNECT)] + steps("good")[2:])
    check("port closed for a while: what ran", peer.executed, [(2, PRIVACY), (0, CONNECT), (1, CONNECT)])
    check("port closed for a while: no privacy any more", "<marker/>".encode("utf-16le") in peer.raw, True)


cases = [lambda: case_good(CONNECT, "connect", 3), lambda: case_good(PRIVACY, "secure", 10),
         lambda: case_wrong_password(CONNECT, "connect"), lambda: case_wrong_password(PRIVACY, "secure"), case_dropped,
         case_port_closed_for_a_while]
for case in cases:
    case()
print(f"{len(cases)} authentication cases, {failures} failures")
sys.exit(1 if failures else 0)
