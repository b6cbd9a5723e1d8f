"""What the tests of orbu share: the program, its exit codes, its runs, and a terminal to run it at.

ORBU_TEST_BIN is the folder of the programs under test. Each test has a folder of its own, which is its HOME, too, and an
environment in which nothing is set that orbu and the library look at.
"""
import os
import pathlib
import pty
import shutil
import subprocess
import sys
import tempfile
import unittest

WIRE = pathlib.Path(__file__).resolve().parent.parent / "wire"
sys.path.insert(0, str(WIRE))

BIN = pathlib.Path(os.environ["ORBU_TEST_BIN"])
ORBU = str(BIN / "orbu")
SECONDS = 60  # for what is expected to happen
DONE, NEGATIVE, USAGE, NO_SERVER, TIME_LIMIT, UNANSWERED, FAILED, BAD_DATA, NO_DISPLAY, INTERRUPTED = *range(9), 130
UNSET = ("DISPLAY", "WAYLAND_DISPLAY", "LC_ALL", "LC_MESSAGES", "LANG", "TMPDIR", "TMP", "TEMP", "TEMPDIR")


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="orbu-test-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.environment = {name: value for name, value in os.environ.items() if name not in UNSET
                            and not name.startswith(("VEXMOOR_", "ORBU_QMX_", "ORBU_DEBUG", "ORBU_PERF"))}
        self.environment["HOME"] = str(self.folder)

    def run_to_end(self, *command, code=DONE, **options):
        result = subprocess.run(command, check=False, **{"capture_output": True, "text": True, "timeout": SECONDS,
                                                         "env": self.environment, **options})
        self.assertEqual(result.returncode, code, f"{command}\n--- out\n{result.stdout}\n--- err\n{result.stderr}")
        return result

    # --- at a terminal of its own, as a person would sit there ---

    def begin_at_terminal(self, *command):
        self.pid, self.master = pty.fork()
        if self.pid == 0:
            os.execve(command[0], command, self.environment)
        self.addCleanup(os.close, self.master)
        self.shown = b""

    def await_prompt(self, prompt):
        self.shown += os.read(self.master, 4096)
        while not self.shown.endswith(prompt):
            self.shown += os.read(self.master, 4096)

    def end_at_terminal(self):
        """The exit code, once all is shown."""
        self.shown += all_shown(self.master)
        return os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])


def all_shown(terminal):
    shown = b""
    try:
        while data := os.read(terminal, 4096):
            shown += data
    except OSError:
        pass  # the other end is closed
    return shown
