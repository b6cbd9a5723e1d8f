"""Runs the real orbu in real situations: against the companion, and against a server in Python that misbehaves on request.

ORBU_TEST_SERVER is the companion. Each test has a prefix of its own and leaves no process, FIFO, semaphore or file behind,
which is checked after each.
"""
import json
import os
import pathlib
import pty
import shutil
import signal
import subprocess
import time
import unittest

from tool import (BAD_DATA, DONE, FAILED, INTERRUPTED, NEGATIVE, NO_SERVER, ORBU, SECONDS, TIME_LIMIT, USAGE, WIRE, ToolTest,
                  all_shown)
from wire import NamedLock, server_pid, wait_for

COMPANION = os.environ["ORBU_TEST_SERVER"]
PYTHON_SERVER = str(WIRE / "server.py")


def alive(pid):
    try:
        os.kill(pid, 0)
        with open(f"/proc/{pid}/stat", encoding="ascii") as file:
            return file.read().rsplit(")", 1)[1].split()[0] != "Z"
    except (ProcessLookupError, FileNotFoundError):
        return False


def semaphores():
    return {name for name in os.listdir("/dev/shm") if name.startswith("sem.")}


class OrbuTest(ToolTest):
    server = PYTHON_SERVER

    def setUp(self):
        super().setUp()
        self.prefix = os.path.join(self.folder, f"orbu{os.getpid()}x")
        self.addCleanup(self.end_server)

    def end_server(self):
        """Ends what serves the prefix, and sees that nothing of it is left."""
        pid = server_pid(self.prefix)
        if pid and self.signal_server(signal.SIGCONT, signal.SIGTERM):
            wait_for(lambda: not alive(pid), SECONDS, "the server's end")
        if not self.leaves_files:
            lock = f"sem.{os.path.basename(self.prefix)}.lock"
            wait_for(lambda: not os.listdir(self.folder) and (self.leaves_lock or lock not in semaphores()), SECONDS,
                     "an empty folder")
        NamedLock(self.prefix).unlink()

    leaves_files = False  # set by tests that kill the server
    leaves_lock = False  # set by tests that end a client before it has started a server, the only one to remove the name

    def signal_server(self, *numbers):
        """Never signals anybody but a server: the id file may be empty, gone or stale at any time."""
        pid = server_pid(self.prefix)
        try:
            with open(f"/proc/{pid}/environ", "rb") as file:
                known = f"PROCESS_ARGUMENTS={self.prefix}".encode() in file.read().split(b"\0")
            for number in numbers if known else ():
                os.kill(pid, number)
            return known
        except OSError:
            return False

    def fifos(self):
        """The FIFOs of clients."""
        names = os.listdir(self.prefix) if os.path.isdir(self.prefix) else []
        return [name for name in names if name.isdigit() and name != "0"]

    def command(self, *arguments, server=None):
        verb, *rest = arguments
        return [ORBU, verb, "--prefix", self.prefix, "--server", server or self.server, *rest]

    def orbu(self, *arguments, code=DONE, server=None, **options):
        result = self.run_to_end(*self.command(*arguments, server=server), code=code, **options)
        self.assertEqual(self.fifos(), [])
        if code == DONE and "--trace" not in arguments:
            self.assertEqual(result.stderr, "")
        return result

    def begin(self, *arguments, **options):
        """Starts orbu and waits until its request is under way."""
        process = subprocess.Popen(self.command(*arguments, "--trace"), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   text=True, env=self.environment, **options)
        self.addCleanup(lambda: process.poll() is None and process.kill())
        for line in process.stderr:
            if line.startswith("> ") and "cndCnct" not in line:
                return process
        self.fail("no request went out")

    def finish(self, process, code):
        output, talk = process.communicate(timeout=SECONDS)
        self.assertEqual(process.returncode, code, talk)
        self.assertEqual(self.fifos(), [])
        return output, talk


class CompanionTest(OrbuTest):
    """Against the real companion."""
    server = COMPANION

    def test_starts_the_companion_once(self):
        locales = self.orbu("locales").stdout.split()
        self.assertEqual(len(locales), 16)
        self.assertEqual(locales[0], "ru_RU")
        first = server_pid(self.prefix)
        self.assertEqual(self.orbu("list").stdout, "qmx\norbu\n")
        self.assertEqual(json.loads(self.orbu("list", "--json").stdout), ["qmx", "orbu"])
        self.assertEqual(self.orbu("introspect", "qmx").stdout, "Presenter\nMessageBox\n")
        self.assertIn("cndCnct\n", self.orbu("introspect", "system").stdout)
        self.assertEqual(self.orbu("introspect", "nosuch", code=NEGATIVE).stdout, "")
        self.assertEqual(self.orbu("call", "system.index", "--json").stdout.splitlines()[1], '  "RCOD": "index",')
        self.assertEqual(server_pid(self.prefix), first)

    def test_own_prefix(self):
        # Server and prefix by default: the server goes when its host is gone.
        process = subprocess.Popen([ORBU, "call", "system.listFacilities"], stdout=subprocess.PIPE, text=True)
        self.assertIn('FLST=["qmx","orbu"]\n', process.communicate(timeout=SECONDS)[0])
        self.assertEqual(process.returncode, DONE)
        left = f"/var/tmp/QMX{process.pid}"
        wait_for(lambda: not os.path.exists(left) and f"sem.QMX{process.pid}.lock" not in semaphores(), SECONDS,
                 "the companion's end")

    def test_companion_that_is_stopped_and_killed(self):
        self.leaves_files = True
        self.orbu("list")
        self.assertTrue(self.signal_server(signal.SIGSTOP))
        self.orbu("list", "--timeout", "300ms", code=TIME_LIMIT)
        self.assertTrue(self.signal_server(signal.SIGCONT))
        self.orbu("list")
        self.assertTrue(self.signal_server(signal.SIGKILL))
        wait_for(lambda: not server_pid(self.prefix), SECONDS, "its end")
        self.orbu("list")  # another one stands there, in spite of what the dead one left


class AnswerTest(OrbuTest):
    """What goes out and what is printed."""

    def test_typed_attributes_there_and_back(self):
        given = ["text=a b=c", "empty=", "number:=-7", "double:=1.5", "yes:=true", 'list:=["a b","ü",""," "]',
                 'inner:={"k":"v w","n":1,"none":[]}', "quoted:=\"x\""]
        answer = json.loads(self.orbu("call", "demo.echo", *given, "--json").stdout)
        pid = answer.pop("CPID")
        self.assertEqual(pid, server_pid(self.prefix))
        self.assertEqual(answer, {
            "text": "a b=c", "empty": "", "number": -7, "double": 1.5, "yes": True, "list": ["a b", "ü", "", " "],
            "inner": {"k": "v w", "n": 1, "none": []}, "quoted": "x", "RCOD": "echo", "RSCD": 0})

    def test_plain_text_in_wire_order(self):
        self.orbu("list")
        self.assertEqual(self.orbu("call", "demo.types").stdout, "\n".join([
            'list=["a b","c"]', "number=-7", "double=1.5", "RCOD=types", 'dictionary={"k":"v w","n":1}',
            "text=a\\tb \\\\ ü", "RSCD=0", "yes=true", "empty=", f"CPID={server_pid(self.prefix)}", ""]))

    def test_what_is_lost_is_told(self):
        result = self.run_to_end(*self.command("call", "demo.echo", "pi:=3.14159265", 'list:=["a",""]'))
        self.assertIn("pi=3.14159\n", result.stdout)
        self.assertIn("six significant digits", result.stderr)
        self.assertIn("empty item", result.stderr)

    def test_answers_that_are_none_or_no(self):
        for code, wanted in [("no", NEGATIVE), ("broken", BAD_DATA), ("other", FAILED)]:
            with self.subTest(code):
                self.orbu("call", f"demo.{code}", code=wanted)

    def test_ending_the_session_by_hand(self):
        self.orbu("call", "system.cndTerm")
        self.orbu("list")

    def test_trace_and_replay(self):
        record = self.folder / "record"
        self.orbu("list")
        first = self.orbu("call", "demo.echo", "--trace", "text=a b", 'list:=["x"]')
        record.write_text("# a comment\n" + first.stderr, encoding="utf-8")
        lines = first.stderr.splitlines()
        self.assertEqual([line[:2] for line in lines], ["> ", "< "] * 3)
        self.assertRegex(lines[2], r"^> 65536;demo\.echo;\d+;10;0;2;list=j!231!3ax;text=ha!20b;CPID=d\d+$")
        again = self.orbu("replay", record, "--trace")
        self.assertEqual(again.stdout, first.stdout)
        sent, repeated = (text.stderr.splitlines()[2].split(";") for text in (first, again))
        self.assertNotEqual(sent.pop(), repeated.pop(), "the recorded process id is sent again")
        self.assertEqual(sent[4:], repeated[4:])
        record.unlink()

    def test_records_that_cannot_be_replayed(self):
        for record in ["", "< 65536;system.listLocales;0;0;0;2\n", "> 65537;system.listLocales;0;0;0;2\n",
                       "> 65536;system.listLocales;0;0;0;2;k=zoops\n", "> 65536;system.listLocales;0;0;0;2;junk\n",
                       "> 65536;system.cndTerm;0;0;0;2\n"]:
            with self.subTest(record):
                self.orbu("replay", "-", input=record, code=BAD_DATA)
        self.orbu("replay", self.folder / "nosuch", code=BAD_DATA)


class CommandLineTest(OrbuTest):
    """What is refused before anything is started."""

    def test_wrong_usage_and_bad_data(self):
        call = ("call", "system.listLocales")
        for code, *arguments in [
                (USAGE, "call"), (USAGE, "call", "noname"), (USAGE, "call", ".x"), (USAGE, "call", "x."),
                (USAGE, "call", "a;b.c"), (USAGE, "nosuch"), (USAGE, *call, "key"), (USAGE, *call, "=value"),
                (USAGE, *call, "a.b=c"), (USAGE, *call, "a,b=c"), (USAGE, *call, "--nosuch"),
                (USAGE, *call, "--timeout", "5"), (USAGE, *call, "--timeout", "0s"), (USAGE, *call, "--timeout", "-1s"),
                (USAGE, *call, "--timeout", "1 s"), (USAGE, *call, "--timeout", "1e3s"), (USAGE, *call, "--timeout", ""),
                (BAD_DATA, *call, "k:=tru"), (BAD_DATA, *call, "k:="), (BAD_DATA, *call, "k:=null"),
                (BAD_DATA, *call, "k:=[1]"), (BAD_DATA, *call, "k:=9223372036854775808"),
                (BAD_DATA, *call, "k:=99999999999999999999"), (BAD_DATA, *call, "k:=1e999"),
                (BAD_DATA, *call, b"k=\xff"), (BAD_DATA, *call, 'k:="a\\u0000b"'),
                (NO_SERVER, *call)]:
            with self.subTest(arguments):
                result = self.orbu(*arguments, code=code, server="/nosuch")
                self.assertEqual(result.stdout, "")
                self.assertNotEqual(result.stderr, "")
                self.assertNotIn("\033", result.stderr)
        self.assertFalse(os.path.exists(self.prefix))

    def test_help_and_version(self):
        for verb in [[], ["call"], ["list"], ["introspect"], ["locales"], ["replay"]]:
            with self.subTest(verb):
                self.assertIn("Examples:\n  orbu ", self.run_to_end(ORBU, *verb, "--help").stdout)
        self.assertRegex(self.run_to_end(ORBU, "--version").stdout, r"^orbu \d+\.\d+\.\d+\n$")

    def test_colour_on_a_terminal_only(self):
        for extra, wanted in [({}, True), ({"NO_COLOR": "1"}, False), ({"TERM": "dumb"}, False)]:
            master, terminal = pty.openpty()
            self.run_to_end(*self.command("call", "noname"), code=USAGE, capture_output=False, stderr=terminal,
                            env={**self.environment, "TERM": "xterm", **extra})
            os.close(terminal)
            self.assertEqual(b"\033[" in all_shown(master), wanted, extra)
            os.close(master)

    def test_output_that_nobody_takes(self):
        reading, writing = os.pipe()
        os.close(reading)
        for descriptor, code in [(writing, DONE), (os.open("/dev/full", os.O_WRONLY), FAILED)]:
            result = self.run_to_end(*self.command("list"), code=code, capture_output=False, stdout=descriptor,
                                     stderr=subprocess.PIPE)
            os.close(descriptor)
            self.assertEqual(result.stderr == "", code == DONE)
        self.run_to_end("sh", "-c", 'exec "$@" >&-', "sh", *self.command("list"), code=FAILED)
        self.assertEqual(self.fifos(), [])


class LimitTest(OrbuTest):
    """Every state in which an answer may fail to come ends in time, and with nothing left."""

    def limited(self, *arguments, limit=0.4, code=TIME_LIMIT, **options):
        before = time.monotonic()
        result = self.orbu(*arguments, "--timeout", f"{int(limit * 1000)}ms", code=code, **options)
        self.assertGreaterEqual(time.monotonic() - before, limit * 0.9)
        return result

    def test_no_answer(self):
        self.orbu("list")
        self.limited("call", "demo.never")
        self.limited("call", "demo.nosuch")
        # More than the FIFO takes at once: it arrives in pieces, which are lines of their own.
        self.assertIn("may not arrive whole", self.limited("call", "demo.never", "big=" + "x" * 100000).stderr)
        self.orbu("list")

    def test_stopped_server_with_a_full_fifo(self):
        self.orbu("list")
        self.assertTrue(self.signal_server(signal.SIGSTOP))
        filler = os.open(os.path.join(self.prefix, "0"), os.O_WRONLY | os.O_NONBLOCK)
        with self.assertRaises(BlockingIOError):
            while True:
                os.write(filler, b"\n" * 4096)
        os.close(filler)
        self.limited("list")

    def test_refused_handshake(self):
        server = subprocess.Popen([PYTHON_SERVER], env={**self.environment, "DEMO_HANDSHAKE": "refuse",
                                                        "PROCESS_ARGUMENTS": self.prefix})
        self.addCleanup(server.wait, SECONDS)
        self.addCleanup(self.end_server)
        wait_for(lambda: server_pid(self.prefix), SECONDS, "the server")
        self.limited("list")

    def test_lock_that_is_never_given_back(self):
        self.orbu("list")
        with NamedLock(self.prefix):
            self.assertIn("lock", self.limited("list").stderr)

    def test_lock_taken_while_a_server_comes_up(self):
        # The library then waits for the lock without a limit and without a round.
        slow, started = self.folder / "slow", self.folder / "started"
        slow.write_text(f"#!/bin/sh\necho $$ >{started}.new\nmv {started}.new {started}\nexec sleep 60\n", encoding="ascii")
        slow.chmod(0o755)
        process = subprocess.Popen(self.command("list", "--timeout", "60s", server=slow), stderr=subprocess.PIPE, text=True)
        wait_for(started.exists, SECONDS, "the program's start")
        with NamedLock(self.prefix) as lock:
            process.send_signal(signal.SIGINT)
            self.finish(process, INTERRUPTED)
            with self.assertRaises(TimeoutError):
                lock.acquire(0)  # nobody has given back what is ours
        os.kill(int(started.read_text(encoding="ascii")), signal.SIGKILL)
        slow.unlink()
        started.unlink()
        lock.unlink()

    def test_server_that_does_not_come_up(self):
        self.leaves_files = True  # the lock's name
        for options in [{"server": "/bin/true"}, {"env": {**self.environment, "DEMO_HANDSHAKE": "quit"}}]:
            self.assertIn("ended before", self.orbu("list", code=NO_SERVER, **options).stderr)
        # A prefix of our own is left clean even so.
        process = subprocess.Popen([ORBU, "list", "--server", "/bin/true"], stderr=subprocess.DEVNULL)
        self.assertEqual(process.wait(SECONDS), NO_SERVER)
        self.assertNotIn(f"sem.QMX{process.pid}.lock", semaphores())

    def test_server_that_dies(self):
        self.leaves_files = True
        self.orbu("call", "demo.die", code=FAILED)
        process = self.begin("call", "demo.never")
        self.assertTrue(self.signal_server(signal.SIGKILL))
        self.finish(process, FAILED)
        self.orbu("list")  # in spite of what the dead one left

    def test_server_that_ends(self):
        self.orbu("call", "demo.end", code=FAILED)

    def test_id_file_of_a_stranger(self):
        stranger = subprocess.Popen(["sleep", "60"])
        self.addCleanup(stranger.wait)
        self.addCleanup(stranger.kill)
        os.mkdir(self.prefix)
        os.mkfifo(os.path.join(self.prefix, "0"))
        pathlib.Path(self.prefix, ".serverpid").write_text(str(stranger.pid), encoding="ascii")
        self.orbu("list", code=NO_SERVER)
        shutil.rmtree(self.prefix)
        self.leaves_files = True

    def test_interrupted(self):
        self.orbu("list")
        for number in (signal.SIGINT, signal.SIGTERM):
            process = self.begin("call", "demo.never")
            process.send_signal(number)
            output, _ = self.finish(process, 128 + number)
            self.assertEqual(output, "")


if __name__ == "__main__":
    unittest.main()
