"""The companion's windows as people meet them: by keyboard, by pointer's close button, by what screen readers use.

    windows_test.py CLASS      runs the tests of a class on a virtual display of its own

Each test has a server and a prefix of its own, and leaves no window, process, FIFO or semaphore behind.
"""
import json
import os
import pathlib
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

TESTS = pathlib.Path(__file__).resolve().parent.parent
for folder in ("wire", "support"):
    sys.path.insert(0, str(TESTS / folder))

COMPANION = pathlib.Path(os.environ["ORBU_TEST_SERVER"])
CONTENTS = COMPANION.parent.parent
WITH_DISPLAY = str(CONTENTS / "Resources/with-display")
SKIPPED = 77
SECONDS = 60  # for what is expected to happen
PAUSE = 0.01  # between two looks at the screen
MINIMUM = 0.7  # of the wait dialog

BOX, ERROR, WAIT = "qmx.MessageBox", "orbu.ErrorDialog", "orbu.PleaseWaitDialog"
PLAIN = "<b>A&amp;B</b> %s _c\n\u05d0\u05d1 \u6f22\u5b57 \U0001f600"  # shown as it stands


def skip_or_show():
    """Runs this program again on a display of its own, or leaves where there can be none."""
    for needed, reason in ((CONTENTS / "PlugIns/windows.so", "the companion has no windows: built without gtkmm"),
                           (shutil.which("Xvfb"), "there is no Xvfb on this machine")):
        if not needed or not os.path.exists(needed):
            print(f"skipped: {reason}")
            sys.exit(SKIPPED)
    os.execv(WITH_DISPLAY, [WITH_DISPLAY, "env", "ORBU_TEST_SHOWN=1", sys.executable, *sys.argv])


if "ORBU_TEST_SHOWN" not in os.environ:
    skip_or_show()

import gi  # noqa: E402
gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402
from screen import Screen  # noqa: E402
from wire import NamedLock, server_pid, wait_for  # noqa: E402


def processes_with(variable):
    """The processes that have it in their environment."""
    def has(pid):
        try:
            return variable.encode() in pathlib.Path("/proc", pid, "environ").read_bytes().split(b"\0")
        except OSError:
            return False
    return [pid for pid in os.listdir("/proc") if pid.isdigit() and has(pid)]


class Peer:
    """A client in a process of its own."""

    def __init__(self, prefix):
        self.process = subprocess.Popen([sys.executable, str(TESTS / "windows/peer.py"), prefix], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, bufsize=0)
        self.answers = []
        self.read_until("connected")

    def send(self, *requests):
        self.process.stdin.write(json.dumps(requests).encode() + b"\n")
        self.read_until("sent")

    def open(self, name, **attributes):
        self.send((name, {"caption": name, "locale": "en_US", **attributes}, True))

    def wait(self, *states):
        self.send(*((WAIT, {"waiting": str(state), "locale": "en_US"}, False) for state in states))

    def read_until(self, word=None):
        """Takes in answers until that word comes, or for none until there is one."""
        while word or not self.answers:
            ready = select.select([self.process.stdout], [], [], SECONDS)[0]
            line = self.process.stdout.readline().decode().strip() if ready else ""
            if not line:
                raise TimeoutError(f"nothing from the client, which has {self.process.poll()}")
            if line == word:
                return
            self.answers.append(json.loads(line))

    def answer(self):
        """The button that was pressed, none for an error dialog."""
        self.read_until()
        attributes = self.answers.pop(0)
        assert attributes["RSCD"] == 0, attributes
        return attributes.get("selected_button")

    def kill(self):
        self.process.kill()
        self.process.communicate()


class WindowsTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="orbu-windows-")
        self.addCleanup(shutil.rmtree, self.folder)
        self.prefix = os.path.join(self.folder, f"windows{os.getpid()}x")
        self.addCleanup(lambda: NamedLock(self.prefix).unlink())
        self.screen = Screen()
        self.addCleanup(self.screen.display.close)
        self.peers = []
        self.server = self.start()

    def tearDown(self):
        """An orderly end, whatever stands open, unless the server is gone."""
        if self.server.poll() is None:
            self.server.terminate()
            self.assertEqual(self.server.wait(SECONDS), 0)
        for peer in self.peers:
            peer.kill()
        self.nothing_left()

    def start(self, **environment):
        settings = {key: value for key, value in os.environ.items() if not key.startswith("ORBU_QMX_")}
        server = subprocess.Popen([COMPANION], env={**settings, "PROCESS_ARGUMENTS": self.prefix, **environment})
        self.addCleanup(lambda: server.poll() is None and (server.kill(), server.wait()))
        wait_for(lambda: server_pid(self.prefix) == server.pid, SECONDS, "the server")
        return server

    def peer(self):
        self.peers.append(Peer(self.prefix))
        return self.peers[-1]

    def nothing_left(self):
        wait_for(lambda: not self.screen.windows(), SECONDS, "an empty screen", PAUSE)
        wait_for(lambda: not processes_with(f"PROCESS_ARGUMENTS={self.prefix}"), SECONDS, "the end of all processes",
                 PAUSE)

    def windows(self, *titles):
        """The windows with these titles, once they and no others stand on the screen."""
        found = {}

        def standing():
            found.clear()
            found.update((window.title, window) for window in self.screen.windows())
            return sorted(found) == sorted(titles)
        try:
            wait_for(standing, SECONDS, "", PAUSE)
        except TimeoutError:
            self.fail(f"{sorted(found)} stand there, and not {sorted(titles)}")
        return [found[title] for title in titles]

    def window(self, title):
        return self.windows(title)[0]


class KeyboardTest(WindowsTest):
    """By keyboard and by the close button, one dialog behind the other."""

    def test_message_box(self):
        cases = [  # the button with the focus, the keys or None for the close button, the button in the answer
            (0, "Return", 0), (2, "Return", 2), (1, "space", 1), (3, "Return", 0), (1 << 40, "Return", 0), (-1, "Return", 0),
            (0, "Tab Return", 1), (0, "Tab Tab Tab Return", 0), (0, "Shift_L+Tab Return", 2), (0, "Escape", 2),
            (1, None, 2)]
        peer = self.peer()
        connections = set()
        for focus, keys, button in cases:
            with self.subTest(focus=focus, keys=keys):
                peer.open(BOX, title=PLAIN, button_0="A", button_1="B", button_2="C", focus_button_index=focus)
                window = self.window(BOX)
                self.assertEqual(self.operate(window, keys, peer), button)
                connections.add((window.pid, window.connection))
        # All by one start of the toolkit: one process, one connection to the display.
        self.assertEqual(len(connections), 1)
        self.assertEqual(connections.pop()[0], self.server.pid)

    def test_error_dialog(self):
        peer = self.peer()
        for detail, around in (("", "Tab Return"), ("One\nTwo", "Tab Tab Return")):
            for keys in ("Return", "Escape", around, None):
                with self.subTest(detail=detail, keys=keys):
                    peer.open(ERROR, title=PLAIN, icon=1, enable_description=str(bool(detail)), detail=detail)
                    window, message = self.window(ERROR), f"{PLAIN}\n\n{detail}".strip()
                    window.press("Control_L+c")
                    wait_for(lambda: self.screen.clipboard() == message, SECONDS, "the message in the clipboard", PAUSE)
                    self.assertIsNone(self.operate(window, keys, peer))

    def test_dialogs_do_not_wait_for_one_another(self):
        first, second = self.peer(), self.peer()
        for title, peer in (("a", first), ("b", second), ("c", first)):
            peer.open(BOX, caption=title, button_0=title, button_1="other", focus_button_index=ord(title) % 2)
        second.open(ERROR, caption="d")
        first.wait(True)
        windows = dict(zip("abcd", self.windows("a", "b", "c", "d", "Operation in Progress")))
        for title, peer, answer in (("d", second, None), ("c", first, 1), ("a", first, 1), ("b", second, 0)):
            windows[title].press("Return")
            self.assertEqual(peer.answer(), answer)

    def operate(self, window, keys, peer):
        """Gives the answer, once the window is gone, too."""
        window.drawn()  # only then it is known what comes behind what
        if keys is None:
            window.close()
        else:
            window.press(*keys.split())
        answer = peer.answer()
        self.windows()
        return answer


class WaitTest(WindowsTest):
    TITLE = "Operation in Progress"

    def test_waits_of_several_clients(self):
        first, second = self.peer(), self.peer()
        first.wait(True, True)
        second.wait(True)
        window = self.window(self.TITLE)
        shown = time.monotonic()
        for end in (lambda: first.wait(False), lambda: first.wait(False, False), lambda: second.wait(True, False)):
            end()
            # Behind a dialog, and behind its minimum time, the window still stands there, the same one.
            wait_for(lambda: time.monotonic() > shown + MINIMUM, SECONDS, "the minimum time")
            for peer in (first, second):
                peer.open(ERROR)
                self.windows(ERROR, self.TITLE)[0].press("Return")
                peer.answer()
                self.window(self.TITLE)
            self.assertEqual(self.window(self.TITLE).id, window.id)
        second.wait(False)
        self.windows()


class KillTest(WindowsTest):
    """The end of either side in each state."""
    OPEN, WAITING, LOADING = "a dialog stands open", "a wait dialog stands there", "the toolkit is being loaded"

    def begin(self, state):
        peer = self.peer()
        peer.wait(True) if state == self.WAITING else peer.open(ERROR, title="x", enable_description="True", detail="y")
        if state != self.LOADING:
            self.window(ERROR if state == self.OPEN else WaitTest.TITLE)
        return peer

    def test_client(self):
        for state in (self.LOADING, self.OPEN, self.WAITING):
            with self.subTest(state):
                victim, other = self.begin(state), self.peer()
                victim.kill()
                other.open(BOX, caption="the other's", button_0="A")
                self.window("the other's").press("Return")
                self.assertEqual(other.answer(), 0)

    def kill_server(self):
        self.server.kill()
        self.server.wait(SECONDS)
        self.nothing_left()

    def test_server(self):
        for end in (self.kill_server, self.tearDown):  # by a signal that kills, and in an orderly way
            for state in (self.LOADING, self.OPEN, self.WAITING):
                with self.subTest(state, end=end.__name__):
                    self.begin(state)
                    end()
                    self.server = self.start()


class DisplayTest(WindowsTest):
    """The display itself goes away."""

    def start_on_display(self):
        """A display, a screen on it, and another server that is there."""
        self.server.terminate()
        self.server.wait(SECONDS)
        ours, theirs = os.pipe()
        display = subprocess.Popen(["Xvfb", "-displayfd", str(theirs), "-nolisten", "tcp", "-noreset"],
                                   pass_fds=[theirs], stderr=subprocess.DEVNULL)
        self.addCleanup(lambda: (display.kill(), display.wait()))
        os.close(theirs)
        with os.fdopen(ours) as pipe:
            name = f":{pipe.readline().strip()}"
        return display, Screen(name), self.start(DISPLAY=name)

    def test_display_lost(self):
        for state in (ERROR, WAIT):
            with self.subTest(state):
                display, screen, server = self.start_on_display()
                peer = self.peer()
                peer.open(ERROR) if state == ERROR else peer.wait(True)
                wait_for(screen.windows, SECONDS, "the window", PAUSE)
                display.kill()
                self.assertEqual(server.wait(SECONDS), 4)
                # Its clients see a server that has left.
                self.assertFalse(os.path.exists(os.path.join(self.prefix, ".serverpid")))
                peer.kill()

    def test_display_hangs(self):
        """It is not waited for when the server is to end."""
        display, screen, server = self.start_on_display()
        self.peer().open(ERROR)
        wait_for(screen.windows, SECONDS, "the window", PAUSE)
        display.send_signal(signal.SIGSTOP)
        server.terminate()
        self.assertEqual(server.wait(SECONDS), 0)


class WithDisplayTest(unittest.TestCase):
    """The program that makes the displays."""

    def test_exit_codes(self):
        cases = [(["true"], 0), (["--size", "320x200", "sh", "-c", "exit 7"], 7), ([], 2), (["--what", "true"], 2),
                 (["--size", "0x0", "true"], 2), (["no-such-command"], 127), (["--", "sh", "-c", "kill -9 $$"], 137)]
        for arguments, code in cases:
            with self.subTest(arguments):
                run = subprocess.run([WITH_DISPLAY, *arguments], capture_output=True, check=False)
                self.assertEqual(run.returncode, code)
        bash = shutil.which("bash")
        nothing = subprocess.run([bash, WITH_DISPLAY, "true"], env={"PATH": "/none"}, capture_output=True, check=False)
        self.assertEqual(nothing.returncode, 8)

    def test_leaves_nothing(self):
        """Whether the command ends or a signal comes; a child of the command and the accessibility bus end, too."""
        child = "import gi; gi.require_version('Atspi', '2.0'); from gi.repository import Atspi; Atspi.get_desktop(0)"
        script = f"{sys.executable} -c \"$1\"; sleep 1000 & echo $DISPLAY $XDG_RUNTIME_DIR; read line"
        command = [WITH_DISPLAY, "sh", "-c", script, "sh", child]
        signals = (None, signal.SIGTERM, signal.SIGINT, signal.SIGHUP)
        running = [subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) for _ in signals]
        for process in running:
            self.addCleanup(process.terminate)
        places = [process.stdout.readline().split() for process in running]
        self.assertEqual(len({display for display, _ in places}), len(signals))
        for process, number, (display, folder) in zip(running, signals, places):
            self.assertGreater(len(processes_with(f"XDG_RUNTIME_DIR={folder}")), 5)
            if number:
                process.send_signal(number)
                process.wait(SECONDS)
            process.communicate("line\n", timeout=SECONDS)
            self.assertEqual(process.returncode, 128 + number if number else 0)
            self.assertEqual(processes_with(f"XDG_RUNTIME_DIR={folder}"), [])
            self.assertFalse(os.path.exists(folder))
            self.assertFalse(os.path.exists(f"/tmp/.X11-unix/X{display[1:]}"))


class AccessibilityTest(WindowsTest):
    """By what screen readers and other helpers of people use."""

    def find(self, role, name):
        """The one with that role and name, once it is there, whatever the window."""
        found = []

        def look():
            while GLib.MainContext.default().iteration(False):
                pass
            desktop = Atspi.get_desktop(0)
            desktop.clear_cache()
            found[:] = [node for node in self.below(desktop)
                        if node.get_role_name() == role and node.get_name() == name]
            return found
        wait_for(look, SECONDS, f"the {role} {name!r}", PAUSE)
        self.assertEqual(len(found), 1)
        return found[0]

    def below(self, node):
        try:
            for index in range(node.get_child_count()):
                child = node.get_child_at_index(index)
                if child is not None:
                    yield child
                    yield from self.below(child)
        except GLib.Error:
            pass  # it has gone meanwhile

    def act(self, role, name):
        self.assertTrue(self.find(role, name).do_action(0))

    def test_message_box(self):
        peer = self.peer()
        for button, label in enumerate(("Yes", "_No & <i>more</i>", "Cancel")):
            peer.open(BOX, title=PLAIN, icon=2, button_0="Yes", button_1="_No & <i>more</i>", button_2="Cancel")
            dialog = self.find("dialog", BOX)
            self.assertEqual(dialog.get_description(), PLAIN)
            self.find("label", PLAIN)
            self.find("image", "Question")
            self.act("push button", label)
            self.assertEqual(peer.answer(), button)
            self.windows()

    def test_error_dialog(self):
        peer = self.peer()
        detail = PLAIN + "\n" + "\n".join(f"line {number} of many" for number in range(2000))
        peer.open(ERROR, title="short", icon=3, enable_description="True", detail=detail)
        self.find("dialog", ERROR)
        self.find("image", "Warning")
        self.act("push button", "Details")
        text = self.find("text", "Details")
        self.assertEqual(Atspi.Text.get_text(text, 0, -1), detail)
        # Nothing without a name of its own is read out by the name of its type.
        names = [node.get_name() for node in self.below(self.find("dialog", ERROR))]
        self.assertEqual([name for name in names if name.startswith("gtkmm")], [])
        self.act("push button", "Copy All")
        wait_for(lambda: self.screen.clipboard() == detail, SECONDS, "the detail in the clipboard", PAUSE)
        self.act("push button", "Close")
        self.assertIsNone(peer.answer())

    def test_words_of_a_locale(self):
        peer = self.peer()
        for locale, word in (("fr_FR", "Fermer"), ("ja_JP", "閉じる"), ("en_CA", "Close"), ("nonsense", "Close")):
            peer.open(ERROR, locale=locale)
            self.act("push button", word)
            self.assertIsNone(peer.answer())
            self.windows()

    def test_wait_dialog(self):
        self.peer().wait(True)
        self.assertEqual(self.find("dialog", WaitTest.TITLE).get_description(), "Please wait…")


if __name__ == "__main__":
    unittest.main()
