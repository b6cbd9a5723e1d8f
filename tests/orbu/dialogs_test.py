"""Runs orbu error, ask, wait and gallery: against a companion without a display that answers by rules, and at a terminal.

What stands on a real display is tested with the companion's windows.
"""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest

from orbu_test import COMPANION, OrbuTest, alive
from tool import BAD_DATA, DONE, INTERRUPTED, NO_DISPLAY, NO_SERVER, ORBU, SECONDS, UNANSWERED, USAGE
from wire import Packet, wait_for

AB = ("--button", "Yes", "--button", "[No, x]")
ABC = ("--button", "a", "--button", "b", "--button", "c")


class DialogTest(OrbuTest):
    server = COMPANION

    def dialog(self, rules, verb, *arguments, code=DONE, **options):
        """With no terminal; each has a companion of its own, that follows the rules."""
        self.prefix = f"{self.prefix}1"
        environment = {**self.environment, **({"ORBU_QMX_ANSWERS": rules} if rules else {})}
        result = self.run_to_end(*self.command(verb, *arguments), code=code, start_new_session=True, env=environment, **options)
        self.assertEqual(self.fifos(), [])
        self.end_server()
        return result


class AskTest(DialogTest):
    def test_button_and_exit_code(self):
        for rules, arguments, label, code in [
                ("button=0", AB, "Yes", 0), ("button=1", AB, "[No, x]", 1), ("button=2", ABC, "c", 12),
                ("after=0ms", (*ABC, "--focus", "b"), "b", 1), ("button=0", ("--locale", "es_ES"), "Aceptar", 0)]:
            with self.subTest(rules=rules, arguments=arguments):
                self.assertEqual(self.dialog(rules, "ask", "--title", "T", *arguments, code=code).stdout, label + "\n")
        answer = self.dialog("button=1", "ask", "--title", "T", *AB, "--json", code=1).stdout
        self.assertEqual(json.loads(answer), {"button": 1, "label": "[No, x]"})

    def test_no_answer(self):
        for rules, code, words in [("never", UNANSWERED, "within 200 ms"), ("button=2", BAD_DATA, "none of the buttons"),
                                   ("", NO_DISPLAY, "Sure? really")]:
            with self.subTest(rules):
                result = self.dialog(rules, "ask", "--title", "Sure? really", *AB, "--timeout", "200ms", code=code)
                self.assertEqual(result.stdout, "")
                self.assertIn(words, result.stderr)
        self.dialog("never", "error", "--title", "T", "--timeout", "200ms", code=UNANSWERED)
        self.dialog("", "error", "--title", "T", code=NO_DISPLAY)

    def test_refused_at_once(self):
        title = ("--title", "T")
        for code, verb, *arguments in [
                (USAGE, "ask"), (USAGE, "ask", *title, "--focus", "Yes"), (USAGE, "ask", *title, *AB, "--focus", "yes"),
                (USAGE, "ask", *title, "--button", ""), (USAGE, "ask", *title, *["--button", "x"] * 17),
                (USAGE, "ask", *title, "--icon", "nosuch"), (USAGE, "error", *title, "--locale", "xx_YY"),
                (USAGE, "error", "--title", "-", "--detail", "-"), (BAD_DATA, "error", "--title", b"\xff"),
                (USAGE, "wait"), (USAGE, "wait", "--"), (USAGE, "gallery"), (NO_SERVER, "ask", *title)]:
            with self.subTest(arguments):
                result = self.orbu(verb, *arguments, code=code, server="/nosuch") if verb != "gallery" else \
                    self.run_to_end(ORBU, verb, code=code)
                self.assertEqual(result.stdout, "")
                self.assertNotEqual(result.stderr, "")

    def test_request(self):
        """What goes out, for both verbs."""
        def sent(verb, *arguments, **options):
            trace = self.dialog("button=0", verb, "--trace", *arguments, **options).stderr.splitlines()
            lines = [Packet.parse(line[2:]) for line in trace if line.startswith("> ")]
            packet = next(line for line in lines if line.name in ("orbu.ErrorDialog", "qmx.MessageBox"))
            del packet.attributes["CPID"]
            return packet.attributes
        self.assertEqual(sent("error", "--title", "a\\n", "--detail", "-", "--locale", "DE-de", input="ü\n b\n\n"), {
            "selector": "ErrorDialogBase", "locale": "de_DE", "caption": "Fehler", "title": "a\\n", "icon": 1,
            "enable_description": "True", "detail": "ü\n b"})
        self.environment["LANG"] = "fr_FR.UTF-8"
        found = sent("error", "--title", "-", "--icon", "dialog-warning", input="")
        self.assertEqual((found["caption"], found["title"], found["icon"], found["enable_description"], "detail" in found),
                         ("Avertissement", "", 3, "False", False))
        self.assertEqual(sent("ask", "--title", "T", "--caption", "C", "--icon", "77", *AB, "--focus", "[No, x]", code=0), {
            "caption": "C", "title": "T", "locale": "fr_FR", "icon": 77, "button_0": "Yes", "button_1": "[No, x]",
            "focus_button_index": 1})
        # A log may hold any bytes.
        self.assertIn("detail=ha!ef!bf!bdb!20c;", self.dialog("button=0", "error", "--trace", "--title", "T", "--detail", "-",
                                                             input="a\udcffb\0c", errors="surrogateescape").stderr)
        # A text that would not travel in one piece is cut between two characters.
        found = self.dialog("button=0", "error", "--title", "T", "--detail", "-", "--timeout", "0.5min", input="ü" * 99999)
        self.assertIn("the detail is cut", found.stderr)

    def test_interrupted(self):
        self.environment["ORBU_QMX_ANSWERS"] = "never"
        process = self.begin("ask", "--title", "T")
        wait_for(lambda: "MessageBox" in process.stderr.readline(), SECONDS, "the question")
        process.send_signal(signal.SIGINT)
        self.finish(process, INTERRUPTED)


class WaitTest(DialogTest):
    leaves_lock = True  # a command may end at any moment

    def setUp(self):
        super().setUp()
        folder = tempfile.mkdtemp(prefix="orbu-test-")  # of a server that may come up when the command has ended
        self.addCleanup(shutil.rmtree, folder)
        self.log = pathlib.Path(folder, "log")
        self.environment["ORBU_QMX_LOG"] = str(self.log)

    def begin_wait(self, *command, **options):
        """Starts the command under orbu and waits until its server knows of the wait."""
        process = subprocess.Popen(self.command("wait", "--", *command), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   text=True, env=self.environment, **options)
        self.addCleanup(lambda: process.poll() is None and process.kill())
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stdin.close)
        self.shown(1)
        return process

    def shown(self, count):
        def told():
            lines = self.log.read_text(encoding="utf-8").splitlines() if self.log.exists() else []
            waits = [line for line in lines if "waiting: " in line]
            return bool(waits) and waits[-1].endswith(f"waiting: {count}")
        wait_for(told, SECONDS, f"{count} waits")

    def test_exit_code_is_the_commands(self):
        for command, code in [(["sh", "-c", "exit 7"], 7), (["sh", "-c", "kill -9 $$"], 137), (["/nosuch"], 127),
                              (["nosuch-"], 127), (["/tmp"], 126), (["true"], 0)]:
            with self.subTest(command):
                self.assertEqual(self.dialog("", "wait", "--", *command, code=code).stdout, "")
        self.assertEqual(self.dialog("", "wait", "--", "printf", "%s;", "[a,b]", "--", "--help").stdout, "[a,b];--;--help;")
        self.dialog("", "wait", "--", "sh", "-c", "exit 3", code=3, preexec_fn=lambda: signal.signal(signal.SIGCHLD, signal.SIG_IGN))
        # Nothing of orbu's own is in its environment, and no trouble with a server in its way.
        self.environment["ORBU_RUNTIME"] = "as it was"
        found = self.dialog("", "wait", "--", sys.executable, "-c", "import json, os; print(json.dumps(dict(os.environ)))")
        self.assertEqual({**json.loads(found.stdout), "LC_CTYPE": None}, {**self.environment, "LC_CTYPE": None})
        process = subprocess.Popen([ORBU, "wait", "--server", "/nosuch", "--", "cat"], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env=self.environment)
        self.assertIn("the wait dialog is not shown", process.stderr.readline())
        self.assertEqual((process.communicate("all the same", timeout=SECONDS)[0], process.returncode), ("all the same", DONE))

    def test_shown_while_it_runs(self):
        process = self.begin_wait("cat")
        output, _ = process.communicate("there and back", timeout=SECONDS)
        self.assertEqual((output, process.returncode), ("there and back", DONE))
        self.shown(0)
        self.assertEqual(self.fifos(), [])

    def test_gone_when_orbu_is_killed(self):
        process = self.begin_wait("sh", "-c", "echo $$; exec cat")
        command = int(process.stdout.readline())
        process.kill()
        process.wait(SECONDS)
        self.shown(0)
        self.assertTrue(alive(command), "the command is nobody's to end")
        process.stdin.close()
        wait_for(lambda: not alive(command) and not self.fifos(), SECONDS, "the end of both")

    def test_signals_are_handed_on(self):
        script = ("import signal, time\nfor n in (2, 15): signal.signal(n, lambda n, _: exit(n + 40))\n"
                  "print(1, flush=True)\ntime.sleep(60)")
        for number in (signal.SIGINT, signal.SIGTERM):
            process = self.begin_wait(sys.executable, "-c", script)
            process.stdout.readline()
            process.send_signal(number)
            self.assertEqual(process.wait(SECONDS), number + 40)
            self.shown(0)


class TerminalTest(DialogTest):
    def at_terminal(self, typed, *arguments):
        """Types each text when the prompt stands there. Gives what was shown and the exit code."""
        self.begin_at_terminal(*self.command(*arguments))
        for text in typed:
            self.await_prompt(b"]: ")
            os.write(self.master, text)
        code = self.end_at_terminal()
        return self.shown.decode().replace("\r\n", "\n"), code

    def test_question(self):
        for typed, label, code in [
                ([b"2\n"], "No", 1), ([b"yes\n"], "Yes", 0), ([b" N\n"], "No", 1), ([b"\n"], "No", 1),
                ([b"3\n", b"0\n", b"nay\n", b"1\n"], "Yes", 0), ([b"\x04"], "No", 1), ([b"\x03"], None, INTERRUPTED),
                ([], None, UNANSWERED)]:
            with self.subTest(typed):
                shown, found = self.at_terminal(typed, "ask", "--title", "Sure?\x1b[2J\nReally?", "--button", "Yes", "--button",
                                                "No", "--focus", "No", "--timeout", "60s" if typed else "300ms")
                self.assertEqual(found, code, shown)
                self.assertTrue(shown.startswith("Question\nSure?\\x1b[2J\nReally?\n  1  Yes\n  2  No\n[2]: "), shown)
                self.assertEqual(shown.endswith(f"\n{label}\n"), label is not None, shown)
                self.assertEqual(shown.count("none of these"), max(len(typed) - 1, 0), shown)

    def test_error(self):
        shown, code = self.at_terminal([], "error", "--title", "T", "--detail", "a\nb", "--locale", "ja_JP")
        self.assertEqual((shown, code), ("エラー\nT\na\nb\n", DONE))


class GalleryTest(DialogTest):
    def test_pictures(self):
        maker = pathlib.Path(COMPANION).parent / "qmxgallery"
        possible = maker.exists() and shutil.which("Xvfb")
        out = self.folder / "pictures" / "new"
        self.environment["HOME"] = str(out.parent)  # where the toolkit may leave something
        self.run_to_end(ORBU, "gallery", "--out", out, "--locale", "de_DE", code=DONE if possible else NO_DISPLAY)
        pictures = list(out.glob("*de_DE*.png")) if out.exists() else []
        self.assertEqual(bool(pictures), bool(possible))
        shutil.rmtree(out.parent, ignore_errors=True)


if __name__ == "__main__":
    unittest.main()
