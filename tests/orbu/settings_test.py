"""Runs the real orbu settings on real files: what it prints, what it refuses, and what it leaves alone."""
import json
import os
import subprocess
import unittest

from tool import BAD_DATA, DONE, FAILED, NEGATIVE, ORBU, SECONDS, TIME_LIMIT, USAGE, ToolTest
from wire import NamedLock


class SettingsTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.file = self.folder / f"orbu{os.getpid()}.lock"  # its lock is "/UIDorbuPID.lock"

    def orbu(self, *arguments, code=DONE, file=None):
        verb, *rest = arguments
        place = ["--file", file or self.file] if file != "" else []
        result = self.run_to_end(ORBU, "settings", verb, *place, "--", *rest, code=code)
        self.assertEqual(result.stderr == "", code == DONE, result.stderr)
        return result.stdout if code == DONE else result.stderr

    def test_sets_and_reads(self):
        self.assertEqual(self.orbu("list"), "")
        values = [("b", "k", "1"), ("b", "-x", "-5"), ("a a", "é", " two\nlines <&>\"' %1\t"), ("ab", "k", "3")]
        for section, key, value in values:
            self.orbu("set", section, key, "before")
            self.orbu("set", section, key, value)
            self.assertEqual(self.orbu("get", section, key), value + "\n")
        self.assertEqual(self.orbu("sections"), "b\na a\nab\n")
        self.assertEqual(self.orbu("list", "b"), "b/k=1\nb/-x=-5\n")
        self.assertEqual(len(self.orbu("list").splitlines()), len(values))
        found = json.loads(subprocess.check_output([ORBU, "settings", "list", "--json", "--file", self.file]))
        self.assertEqual(found, {"b": {"k": "1", "-x": "-5"}, "a a": {"é": values[2][2]}, "ab": {"k": "3"}})
        size = self.file.stat().st_size
        self.orbu("set", "b", "k", "2")
        self.assertEqual(self.file.stat().st_size, size)
        self.orbu("remove", "b", "k")
        for verb in ("get", "remove"):
            self.assertIn("not set", self.orbu(verb, "b", "k", code=NEGATIVE))

    def test_folder_of_the_user(self):
        self.orbu("set", "a", "k", "v", file="")
        self.assertEqual(self.orbu("get", "a", "k", file=self.folder / "Orbu" / "OrbuUserSettings.xml"), "v\n")

    def test_refuses_what_would_land_elsewhere(self):
        self.orbu("set", "a", "k", "v")
        before = self.file.read_bytes()
        for arguments, code in [(("set", "", "k", "v"), USAGE), (("set", "a", "", "v"), USAGE), (("set", "a", "k", ""), USAGE),
                                (("get", "a", ""), USAGE), (("remove", "", "k"), USAGE), (("set", "a"), USAGE),
                                (("set", "x/a", "k", "v"), USAGE), (("set", "a", "x/k", "v"), USAGE),
                                (("get", "a", "/"), USAGE), (("remove", "x/a", "k"), USAGE), (("mend",), USAGE),
                                (("set", "a", "k", " \n"), BAD_DATA), (("set", "a", "k\r", "v"), BAD_DATA),
                                (("set", "a", "k", b"\xff"), BAD_DATA)]:
            with self.subTest(arguments):
                self.orbu(*arguments, code=code)
        self.orbu("list", code=USAGE, file="a\\b")
        self.assertEqual(self.file.read_bytes(), before)
        self.assertIn("nothing is left", self.orbu("remove", "a", "k", code=FAILED))
        self.assertEqual(self.file.read_bytes(), before)

    def test_leaves_a_damaged_file(self):
        for text, words in [(b"", "empty document"), (b"<OrbuSettings>\n<Section Name='a'>\n", "line 2: "),
                            (b"\n\n<Other/>", "line 3: the root element is not OrbuSettings"),
                            (b"\xff\xfe<\0a\0", "parsing")]:
            self.file.write_bytes(text)
            for arguments in [("get", "a", "k"), ("set", "a", "k", "v"), ("remove", "a", "k"), ("list",), ("sections",)]:
                with self.subTest(text=text[:50], arguments=arguments):
                    self.assertIn(words, self.orbu(*arguments, code=BAD_DATA))
                    self.assertEqual(self.file.read_bytes(), text)
        self.orbu("set", "a", "k", "v", code=BAD_DATA, file=self.folder)

    def test_write_that_fails(self):
        self.assertIn("opened for writing", self.orbu("set", "a", "k", "v", code=FAILED, file="/dev/null/x"))
        self.file.write_text('<OrbuSettings><Section Name="a"><Data Key="k"/></Section></OrbuSettings>', encoding="ascii")
        self.assertIn("hides", self.orbu("set", "a", "k", "v", code=FAILED))

    def test_lock_of_a_dead_process(self):
        lock = NamedLock(f"{os.getuid()}orbu{os.getpid()}")
        self.addCleanup(lock.unlink)
        lock.acquire(SECONDS)
        result = self.run_to_end(ORBU, "settings", "set", "a", "k", "v", "--file", self.file, "--timeout", "50ms",
                                 code=TIME_LIMIT)
        self.assertIn("locked by another process for 50 ms", result.stderr)
        lock.close()
        self.orbu("set", "a", "k", "v")


if __name__ == "__main__":
    unittest.main()
