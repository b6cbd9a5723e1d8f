"""Runs orbu where and orbu doctor: in the runtime that came with it, in one that was moved, and in broken ones."""
import json
import os
import pathlib
import shutil
import signal
import sys
import unittest

from orbu_test import PYTHON_SERVER, alive, wait_for
from tool import BIN, DONE, NEGATIVE, ORBU, SECONDS, ToolTest

RUNTIME = BIN.parent / "lib" / "orbu"


class LocationsTest(ToolTest):
    def orbu(self, *arguments, code=DONE, program=ORBU, **environment):
        result = self.run_to_end(program, *arguments, code=code, env={**self.environment, **environment})
        self.assertEqual(result.stderr, "")
        return result.stdout

    def where(self, *arguments, **options):
        answer = json.loads(self.orbu("where", "--json", *arguments, **options))
        return answer, {entry["name"]: entry for entry in answer["locations"]}

    def file(self, **keys):
        path = self.folder / "env.xml"
        path.write_text("<ORBUCUSTOMENV><PLATFORM OS='Mac'>" + "".join(
            f"<KEY ID='{key}'><STRING>{value}</STRING></KEY>" for key, value in keys.items()) +
            "</PLATFORM></ORBUCUSTOMENV>", encoding="utf-8")
        return str(path)


class WhereTest(LocationsTest):
    def test_own_runtime(self):
        answer, found = self.where("--locale", "DE-de")
        self.assertEqual(answer["load"]["result"], 0)
        self.assertTrue(answer["load"]["own"])
        self.assertEqual(answer["unknownVariables"], [])
        version = f"{RUNTIME}/Orbu.framework/Versions/31a/"
        self.assertEqual(found["common bin"]["value"], f"{RUNTIME}/R31/")
        self.assertEqual(found["localized data"]["value"], version + "Resources/de_DE/")
        self.assertEqual(found["error table"], {
            "name": "error table", "value": version + "Resources/", "source": "file",
            "key": "ORBU_MAC_FRAMEWORK_LOCATION", "exists": True, "writable": os.access(version, os.W_OK)})
        self.assertEqual(found["user settings"]["value"], f"{self.folder}/Orbu/")
        self.assertFalse(found["user settings"]["exists"])
        library = pathlib.Path(found["common lib"]["value"]) / "liborbu.so.31"
        self.assertEqual(library.resolve(), (BIN.parent / "lib" / "liborbu.so.31").resolve())

    def test_whole_moved(self):
        moved = self.folder / "else where"
        for name in ("bin/orbu", "lib/liborbu.so.31"):
            (moved / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(BIN.parent / name, moved / name)
        shutil.copytree(RUNTIME, moved / "lib" / "orbu", symlinks=True)
        _, found = self.where(program=moved / "bin" / "orbu")
        for name in ("common bin", "common lib", "common data", "error table"):
            self.assertTrue(found[name]["value"].startswith(str(moved)), found[name])
            self.assertTrue(found[name]["exists"], found[name])
        # Alone, it falls back to the defaults.
        shutil.rmtree(moved / "lib" / "orbu")
        answer, found = self.where(program=moved / "bin" / "orbu")
        self.assertEqual(answer["load"], {"result": 1, "words": "none"})
        self.assertEqual(found["common bin"]["value"], "/Applications/Vexmoor/Orbu/R31/")
        self.assertEqual((found["user settings"]["source"], found["user settings"]["variable"]), ("default", "HOME"))

    def test_sources(self):
        file = self.file(ORBU_COMMON_BIN_LOCATION="$NOPE/x", ORBU_APPLICATION_ERROR_LOG_FILE="/$NOPE/$NO")
        answer, found = self.where(VEXMOOR_ORBU_THINCLIENT_ENV=file, VEXMOOR_ORBU_CUSTOM_ENV="/nowhere",
                                   TMP=str(self.folder))
        self.assertTrue(answer["load"]["thinClient"])
        self.assertEqual(answer["unknownVariables"], ["NOPE", "NO"])
        self.assertEqual({name: entry["source"] for name, entry in found.items() if entry["source"] != "none"}, {
            "common bin": "thin client", "application error log": "thin client", "temporary": "environment"})
        self.assertEqual(found["temporary"]["variable"], "TMP")
        # The library's lines about unknown variables are no data.
        text = self.orbu("where", VEXMOOR_ORBU_CUSTOM_ENV=file)
        self.assertNotIn("could not be found", text)
        self.assertIn("unknown variable: $NOPE\n", text)
        answer, found = self.where(VEXMOOR_ORBU_CUSTOM_ENV="/nowhere")
        self.assertEqual((answer["load"]["result"], found["log file"]["source"]), (3, "default"))


class DoctorTest(LocationsTest):
    def doctor(self, code=DONE, **options):
        """The verdicts by their subject."""
        lines = self.orbu("doctor", "--timeout", "20s", code=code, **options).splitlines()
        found = {}
        for line in lines:
            verdict, rest = line.split(maxsplit=1)
            self.assertIn(verdict, ("ok", "wrong"))
            subject, words = rest.split(": ", 1)
            if found.get(subject, ("ok",))[0] == "ok":
                found[subject] = (verdict, words)
        return found

    def wrong(self, **options):
        """What is wrong; each line says what to do."""
        found = {subject: words for subject, (verdict, words) in self.doctor(code=NEGATIVE, **options).items()
                 if verdict == "wrong"}
        for words in found.values():
            self.assertIn("; ", words)
        return found

    def moved(self):
        """A copy of the runtime, and the environment in which it is used."""
        library = self.folder / "moved" / "lib"
        shutil.copytree(RUNTIME, library / "orbu", symlinks=True)
        shutil.copy(BIN.parent / "lib" / "liborbu.so.31", library)
        self.resources = library / "orbu/Orbu.framework/Versions/31a/Resources"
        self.companion = library / "orbu/R31/QMX.app/Contents/MacOS/QMX"
        return {"VEXMOOR_ORBU_CUSTOM_ENV": str(library / "orbu/OrbuCustomEnv.xml"), "ORBU_RUNTIME": str(library / "orbu")}

    def test_all_is_well(self):
        found = self.doctor()
        self.assertEqual({verdict for verdict, _ in found.values()}, {"ok"}, found)
        self.assertEqual(list(found), [
            "custom environment", "common bin", "common lib", "common data", "error table", "log file", "user settings",
            "temporary", "settings file", "error table file", "string resources", "folder of FIFO folders",
            "companion", "FIFO folder", "dialogs"])
        self.assertIn("not shown", found["dialogs"][1])
        self.assertIn("rules", self.doctor(ORBU_QMX_ANSWERS="never")["dialogs"][1])
        self.assertEqual(os.listdir(self.folder), [], "it makes nothing")
        # A display that cannot be opened is worth a word.
        self.assertEqual(set(self.wrong(DISPLAY=":nosuch")), {"dialogs"})
        self.wrong(ORBU_QMX_PRESENTER="windows")  # the companion ends over it

    def test_environment(self):
        self.assertIn("custom environment", self.wrong(VEXMOOR_ORBU_CUSTOM_ENV="/nowhere"))
        found = self.wrong(VEXMOOR_ORBU_CUSTOM_ENV=self.file(ORBU_LOG_FILE_LOCATION="$NOPE/x",
                                                             ORBU_COMMON_BIN_LOCATION="R31"))
        self.assertIn('"NOPE"', found["custom environment"])
        self.assertIn("ORBU_LOG_FILE_LOCATION", found["log file"])
        self.assertIn("ORBU_MAC_FRAMEWORK_LOCATION", found["common lib"])
        self.assertIn("ORBU_COMMON_BIN_LOCATION", found["common bin"])
        for name in ("companion", "error table file"):
            self.assertIn("absolute", found[name], "it does not look in the current folder")
        found = self.wrong(HOME="/dev/null")
        self.assertEqual(set(found), {"log file", "user settings"})

    def test_damaged_runtime(self):
        moved = self.moved()
        self.doctor(**moved)
        (self.resources / "OrbuErrorCodes.xml").write_text("<ERRORTABLES><TABLE", encoding="ascii")
        (self.resources / "de_DE" / "OrbuIntRes.xml").write_text("<", encoding="ascii")
        self.companion.unlink()
        self.assertEqual(set(self.wrong(**moved)), {"error table file", "string resources", "companion"})
        shutil.rmtree(self.resources)
        self.assertIn("common data", self.wrong(**moved))

    def test_older_companion(self):
        moved = self.moved()
        self.companion.write_text(f"#!/bin/sh\necho $$ >{self.folder}/pid\nexec {sys.executable} {PYTHON_SERVER}\n", encoding="utf-8")
        found = self.wrong(**moved)
        pid = int((self.folder / "pid").read_text(encoding="ascii"))
        os.kill(pid, signal.SIGTERM)
        wait_for(lambda: not alive(pid), SECONDS, "the server's end")
        self.assertEqual(list(found), ["dialogs"])
        self.assertIn("older", found["dialogs"])

    def test_string_resources(self):
        moved = self.moved()

        def edit(locale, before, after):
            file = self.resources / locale / "OrbuIntRes.xml"
            text = file.read_text(encoding="utf-8")
            self.assertIn(before, text)
            file.write_text(text.replace(before, after), encoding="utf-8")
        edit("cs_CZ", ' ID="retry"', ' ID="rety"')
        edit("fr_FR", "Fermer", "")
        edit("ja_JP", ' ID="yes"', ' ID="no"')
        (self.resources / "zh_TW" / "OrbuIntRes.xml").unlink()
        lines = self.orbu("doctor", code=NEGATIVE, **moved).splitlines()
        found = [line.split("Resources/")[1].replace("/OrbuIntRes.xml", "").split(";")[0] for line in lines
                 if line.startswith("wrong")]
        self.assertEqual(found, [
            "cs_CZ lacks retry", "cs_CZ has what the other locales do not have: rety", "fr_FR has no words for close",
            "ja_JP lacks yes", "ja_JP has more than once: no", "zh_TW cannot be read or parsed"])

    def test_damaged_settings(self):
        folder = self.folder / "Orbu"
        folder.mkdir()
        file = folder / "OrbuUserSettings.xml"
        file.write_text("<OrbuSettings>\n<\n", encoding="ascii")
        found = self.wrong()
        self.assertEqual(list(found), ["settings file"])
        self.assertIn("(line 2)", found["settings file"])
        self.assertEqual(file.read_text(encoding="ascii"), "<OrbuSettings>\n<\n")


if __name__ == "__main__":
    unittest.main()
