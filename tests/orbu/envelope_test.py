"""orbu seal and orbu open, beside an implementation of the envelope of their own kind: hashlib and the openssl command."""
import hashlib
import hmac
import os
import pty
import resource
import signal
import struct
import subprocess
import termios
import time
import unittest

from tool import BAD_DATA, DONE, FAILED, INTERRUPTED, ORBU, SECONDS, USAGE, ToolTest, all_shown

SECRET = "gehe\xefm \u2713".encode()


def sha1(*parts):
    return hashlib.sha1(b"".join(parts)).digest()


def mash(data, length, iterations):
    for _ in range(iterations):
        data = b"".join(sha1(struct.pack(">H", at), data) for at in range(0, length, 20))
    return data[:length]


def aes(data, salt, *options):
    stretched = mash(SECRET + salt, 32, 200)
    command = ["openssl", "enc", "-aes-128-cbc", *options, "-K", stretched[:16].hex(), "-iv", stretched[16:].hex()]
    return subprocess.run(command, input=data, stdout=subprocess.PIPE, check=True, timeout=SECONDS).stdout


def seal(message, salt, mac):
    code = hmac.digest(mash(SECRET, 16, 1), message, "sha1") if mac else b""
    return salt + aes(sha1(SECRET, salt)[:16] + message + code, salt)


def open_sealed(sealed, mac):
    data = aes(sealed[8:], sealed[:8], "-d")
    assert data[:16] == sha1(SECRET, sealed[:8])[:16]
    message = data[16:-20] if mac else data[16:]
    assert not mac or data[-20:] == hmac.digest(mash(SECRET, 16, 1), message, "sha1")
    return message


class EnvelopeTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.secret = self.file("secret", SECRET + b"\nanother line\n")
        self.environment["TMPDIR"] = self.path("spool")
        os.mkdir(self.path("spool"))

    def path(self, name):
        return str(self.folder / name)

    def file(self, name, content):
        (self.folder / name).write_bytes(content)
        return self.path(name)

    def content(self, name):
        return (self.folder / name).read_bytes()

    def orbu(self, *arguments, code=DONE, secret=None, said=b"", **options):
        """What the verb puts out; the folder for temporary files must stay empty."""
        result = self.run_to_end(ORBU, *arguments, "--passphrase-file", secret or self.secret, code=code, text=False, **options)
        self.assertEqual(result.stderr == b"", code == DONE)
        self.assertIn(said, result.stderr)
        self.assertEqual(os.listdir(self.path("spool")), [])
        return result.stdout

    def test_agrees_with_an_implementation_of_its_own(self):
        for message in b"", b"x" * 15, b"x" * 16, os.urandom(100_000):
            for mac, options in (True, []), (False, ["--no-mac"]):
                with self.subTest(length=len(message), mac=mac):
                    ours = self.orbu("seal", *options, input=message)
                    self.assertEqual(open_sealed(ours, mac), message)
                    self.assertEqual(seal(message, ours[:8], mac), ours)
                    theirs = seal(message, b"\0salt\xff\n8", mac)
                    self.assertEqual(self.orbu("open", *options, input=theirs), message)

    def test_files(self):
        plain, sealed, link = self.file("plain", b"some text\n" * 9), self.path("sealed"), self.path("link")
        self.orbu("seal", plain, "-o", sealed)
        os.symlink("opened", link)
        self.file("opened", b"before")
        os.chmod(self.path("opened"), 0o640)
        self.orbu("open", sealed, "-o", link)
        self.assertTrue(os.path.islink(link))
        self.assertEqual(os.stat(link).st_mode & 0o777, 0o640)
        self.assertEqual(self.content("opened"), self.content("plain"))
        self.orbu("seal", plain, "-o", plain)  # in its own place
        self.assertEqual(self.orbu("open", plain), self.content("opened"))

    def test_nothing_comes_of_what_is_bad(self):
        sealed = self.orbu("seal", input=b"text " * 100_000)
        flipped = bytearray(sealed)
        flipped[-1000] ^= 1
        other = self.file("other", b"wrong")
        rows = [("passphrase", sealed, other, b"wrong passphrase"), ("nothing", b"", None, b"wrong passphrase"),
                ("cut", sealed[:-1], None, b"damaged"), ("bit", bytes(flipped), None, b"damaged")]
        before = sorted(os.listdir(self.folder))
        for name, data, secret, said in rows:
            with self.subTest(name):
                for output in "-", self.path("new"), other:
                    self.assertEqual(self.orbu("open", "-o", output, code=BAD_DATA, secret=secret, said=said, input=data), b"")
                self.assertEqual(self.content("other"), b"wrong")
                self.assertEqual(sorted(os.listdir(self.folder)), before)

    def test_failures_of_the_system(self):
        plain = self.file("plain", b"x" * 3_000_000)
        before = sorted(os.listdir(self.folder))
        self.orbu("seal", self.path("none"), code=FAILED)
        self.orbu("seal", self.folder, code=FAILED)
        self.orbu("seal", plain, "-o", self.path("none/sealed"), code=FAILED)
        self.orbu("seal", plain, "-o", "/dev/full", code=FAILED)
        # A disk that is full for the result, and for the temporary file.
        limit = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1_000_000,) * 2)}
        self.orbu("seal", plain, "-o", self.path("sealed"), code=FAILED, **limit)
        self.assertEqual(sorted(os.listdir(self.folder)), before)
        self.orbu("seal", plain, "-o", plain)
        self.assertEqual(self.orbu("open", plain, code=FAILED, **limit), b"")

    def test_passphrases_are_one_line(self):
        for given, kept, code in [(SECRET, SECRET, DONE), (SECRET + b"\n\n", SECRET, DONE), (b"\n", b"", USAGE),
                                  (b"a\0b\r\n", b"a\0b\r", DONE), (b"x" * 4097, b"", USAGE), (b"x" * 4096, b"x" * 4096, DONE)]:
            with self.subTest(given[:10]):
                sealed = self.orbu("seal", code=code, secret=self.file("given", given), input=b"text")
                if code == DONE:
                    self.assertEqual(self.orbu("open", secret=self.file("kept", kept), input=sealed), b"text")
        # From a descriptor no byte more than the line is taken.
        both = self.run_to_end(ORBU, "seal", "--passphrase-fd", "0", input=SECRET + b"\ntext\n", text=False)
        self.assertEqual(self.orbu("open", input=both.stdout), b"text\n")
        # A descriptor that is not open is none of the files that the verb opens.
        self.run_to_end(ORBU, "seal", "--passphrase-fd", "3", self.secret, code=USAGE)

    def test_signals_leave_nothing_behind(self):
        sealed = self.orbu("seal", input=os.urandom(1_000_000))
        self.file("opened", b"before")
        before = sorted(os.listdir(self.folder))
        numbers = [signal.SIGTERM, signal.SIGINT, signal.SIGHUP]
        try:
            os.close(os.open(self.folder, os.O_TMPFILE | os.O_WRONLY))
            numbers.append(signal.SIGKILL)  # here a file needs no name until it is done
        except (OSError, AttributeError):
            pass
        for number in numbers:
            command = [ORBU, "open", "--passphrase-file", self.secret, "-o", self.path("opened")]
            with subprocess.Popen(command, stdin=subprocess.PIPE, stderr=subprocess.DEVNULL) as process:
                process.stdin.write(sealed[:-10])  # more than the pipe holds: it is at work
                process.stdin.flush()
                process.send_signal(number)
                code = process.wait(SECONDS)
            self.assertEqual(code, -number if number == signal.SIGKILL else 128 + number)
            self.assertEqual(sorted(os.listdir(self.folder)), before)
            self.assertEqual(self.content("opened"), b"before")

    def test_progress_of_long_input_on_a_terminal(self):
        master, terminal = pty.openpty()
        self.addCleanup(os.close, master)
        command = [ORBU, "seal", "--passphrase-file", self.secret, "-o", self.path("sealed")]
        with subprocess.Popen(command, stdin=subprocess.PIPE, stderr=terminal, env={**os.environ, "TERM": "xterm"}) as process:
            os.close(terminal)
            for _ in range(2):
                process.stdin.write(b"x" * 500_000)
                process.stdin.flush()
                time.sleep(0.5)  # more than what the bar waits for
            process.stdin.close()
            self.assertEqual(process.wait(SECONDS), DONE)
        self.assertRegex(all_shown(master), rb"(?s)^\rsealing  .* KiB.*\r\x1b\[K$")  # in the end it is taken away


class PromptTest(ToolTest):
    """Passphrases that are asked for."""

    def setUp(self):
        super().setUp()
        self.plain, self.sealed = (str(self.folder / name) for name in ("plain", "sealed"))
        (self.folder / "plain").write_bytes(b"text")

    def echoes(self):
        return bool(termios.tcgetattr(self.master)[3] & termios.ECHO)

    def answer(self, prompt, text):
        self.await_prompt(prompt)
        self.assertFalse(self.echoes())
        os.write(self.master, text)

    def test_asks_without_echo(self):
        self.begin_at_terminal(ORBU, "seal", self.plain, "-o", self.sealed)
        self.answer(b"Passphrase: ", b"secret\n")
        self.answer(b"Once more: ", b"secret\n")
        self.assertEqual(self.end_at_terminal(), DONE)
        self.begin_at_terminal(ORBU, "open", self.sealed)
        self.answer(b"Passphrase: ", b"secret\n")
        self.assertEqual(self.end_at_terminal(), DONE)
        self.assertEqual(self.shown, b"Passphrase: \r\ntext")
        for first, second in (b"secret\n", b"Secret\n"), (b"\x04", None), (b"\n", None):
            self.begin_at_terminal(ORBU, "seal", self.plain, "-o", self.plain)
            self.answer(b"Passphrase: ", first)
            if second:
                self.answer(b"Once more: ", second)
            self.assertEqual(self.end_at_terminal(), USAGE)
        for arguments in [], ["-o", self.sealed, "--passphrase-fd", "0"]:  # an envelope shown, a passphrase shown
            self.begin_at_terminal(ORBU, "seal", self.plain, *arguments)
            self.assertEqual(self.end_at_terminal(), USAGE)
        self.assertEqual(sorted(os.listdir(self.folder)), ["plain", "sealed"])

    def test_gives_the_terminal_back(self):
        self.begin_at_terminal(ORBU, "open", self.plain)
        self.answer(b"Passphrase: ", b"\x1a")
        self.assertTrue(os.WIFSTOPPED(os.waitpid(self.pid, os.WUNTRACED)[1]))
        self.assertTrue(self.echoes())
        os.kill(self.pid, signal.SIGCONT)
        self.answer(b"Passphrase: ", b"\x03")
        self.assertEqual(self.end_at_terminal(), INTERRUPTED)
        self.assertTrue(self.echoes())


if __name__ == "__main__":
    for ignored in signal.SIGINT, signal.SIGHUP:  # as behind nohup: orbu would leave them ignored
        signal.signal(ignored, signal.SIG_DFL)
    unittest.main(verbosity=2)
