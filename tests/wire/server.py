#!/usr/bin/env python3
"""A server in Python, started as the library starts one: it takes its prefix from PROCESS_ARGUMENTS.

Besides what "system" answers it has the facility "demo", whose codes are the methods below. Environment: DEMO_HANDSHAKE=refuse
never answers "cndCnct"; DEMO_HANDSHAKE=quit ends before a server stands. It ends on SIGTERM, and when nobody has asked
for 20 seconds.
"""
import os
import signal
import sys
import time

from wire import ASYNCHRONOUS, Inbox, NamedLock, Packet, server_pid, wait_for, wire_order

IDLE_SECONDS = 20
LOCALES = ["de_DE", "en_US"]


class Ended(Exception):
    pass


class Session:
    def __init__(self, number):
        self.number, self.partner, self.pid, self.writer = number, 0, 0, None


class Server:
    def __init__(self, prefix):
        self.prefix = prefix
        self.lock = NamedLock(prefix)
        self.sessions = {}
        self.next_session = 10
        self.facilities = {"system": self.system_methods(), "demo": self.demo_methods()}

    # --- taking and leaving the role ---

    def register(self):
        wait_for(lambda: not server_pid(self.prefix), 1, "the end of another server")
        self.lock.acquire(10)
        self.inbox = Inbox(os.path.join(self.prefix, "0"))
        self.id_file = os.path.join(self.prefix, ".serverpid")
        with open(os.open(self.id_file, os.O_WRONLY | os.O_CREAT, 0o660), "w", encoding="ascii") as file:
            file.write(str(os.getpid()))
        self.lock.release()

    def leave(self):
        end = time.monotonic() + 2
        while time.monotonic() < end:
            try:
                self.lock.acquire(0)
                break
            except TimeoutError:
                self.take(self.inbox.line(0.01))
        os.unlink(self.id_file)
        self.lock.unlink()
        self.inbox.remove()
        self.lock.release()

    # --- packets ---

    def run(self):
        last = time.monotonic()
        while time.monotonic() - last < IDLE_SECONDS:
            line = self.inbox.line(0.2)
            if line:
                last = time.monotonic()
            self.take(line)
            self.forget_the_dead()

    def take(self, line):
        request = Packet.parse(line) if line else None
        if request is None:
            return
        session = self.sessions.get(request.to)
        if session is None:
            session = self.sessions[self.next_session] = Session(self.next_session)
            self.next_session += 1
        session.partner = request.sender
        facility, _, code = request.name.partition(".")
        methods = self.facilities.get(facility, self.facilities["system"])
        method = methods.get(code or "index")
        answer = method(session, request.attributes) if method else None
        if answer is not None:
            self.answer(session, facility, {**answer, "RCOD": code})
        if method == self.end_session:
            self.forget(session)

    def answer(self, session, facility, attributes):
        packet = Packet(f"{facility}.RESP", session.partner, session.number, ASYNCHRONOUS,
                        {**attributes, "CPID": os.getpid()})
        self.write(session, packet.line())

    def write(self, session, line):
        for one in [session] if session.writer is not None else self.sessions.values():
            if one.writer is not None:
                os.write(one.writer, line.encode() + b"\n")

    def forget(self, session):
        if session.writer is not None:
            os.close(session.writer)
        del self.sessions[session.number]

    def forget_the_dead(self):
        for session in list(self.sessions.values()):
            try:
                if session.pid:
                    os.kill(session.pid, 0)
            except ProcessLookupError:
                self.forget(session)

    # --- methods: session and attributes in, attributes of the answer out, or None for no answer ---

    def with_index(self, methods):
        methods["index"] = lambda session, given: {"MLST": wire_order(m for m in methods if m != "index"), "RSCD": 0}
        return methods

    def system_methods(self):
        return self.with_index({
            "cndCnct": self.connect, "cndTerm": self.end_session, "ssnTerm": self.end_session,
            "listFacilities": lambda session, given: {"FLST": ["demo"], "RSCD": 0},
            "listLocales": lambda session, given: {"LCLT": LOCALES, "RSCD": 0}})

    def connect(self, session, given):
        if session.writer is not None or "CPID" not in given or os.environ.get("DEMO_HANDSHAKE") == "refuse":
            return None
        session.pid = given["CPID"]
        session.writer = os.open(os.path.join(self.prefix, str(session.pid)), os.O_WRONLY)
        return {"SSID": session.number, "RSCD": 0}

    def end_session(self, session, given):
        return {}

    def demo_methods(self):
        return self.with_index({
            "echo": lambda session, given: {**given, "RSCD": 0},
            "no": lambda session, given: {"RSCD": 1},
            "never": lambda session, given: None,
            "types": lambda session, given: {
                "text": "a\tb \\ ü", "number": -7, "double": 1.5, "yes": True, "empty": "", "RSCD": 0,
                "list": ["a b", "c"], "dictionary": {"k": "v w", "n": 1}},
            "die": lambda session, given: os._exit(1),
            "end": self.end_server,
            "other": lambda session, given: self.raw(session, f"demo.Question;{session.partner};{session.number};0;2"),
            "broken": lambda session, given: self.raw(
                session, f"demo.RESP;{session.partner};{session.number};0;1;k=zoops;RCOD=hbroken;RSCD=d0")})

    def raw(self, session, rest):
        self.write(session, "65536;" + rest)

    def end_server(self, session, given):
        raise Ended


def main():
    if os.environ.get("DEMO_HANDSHAKE") == "quit":
        return 0
    def end(signum, frame):
        raise Ended
    signal.signal(signal.SIGTERM, end)
    signal.signal(signal.SIGPIPE, signal.SIG_IGN)
    server = Server(os.environ["PROCESS_ARGUMENTS"])
    server.register()
    try:
        server.run()
    except Ended:
        pass
    server.leave()
    return 0


if __name__ == "__main__":
    sys.exit(main())
