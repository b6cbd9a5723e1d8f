"""Runs the verbs of orbu that work on logs: explain, log and perf, with a home and an error table of their own."""
import json
import unittest
import xml.dom.minidom

from tool import BAD_DATA, DONE, FAILED, NEGATIVE, ORBU, USAGE, ToolTest

TABLE = """<ERRORTABLES><TABLE VENDORID="1"><NAME>Host</NAME><ERROR CODE="5"><DESCRIPTION>No
connection</DESCRIPTION></ERROR><ERROR CODE="-1"><DESCRIPTION>Lost</DESCRIPTION></ERROR></TABLE></ERRORTABLES>"""


class LogVerbTest(ToolTest):
    def orbu(self, *arguments, code=DONE, talk="", **options):
        result = self.run_to_end(ORBU, *arguments, code=code, errors="replace", **options)
        self.assertIn(talk, result.stderr)
        if code == DONE and not talk:
            self.assertEqual(result.stderr, "")
        return result.stdout


class ExplainTest(LogVerbTest):
    def test_words(self):
        table = self.folder / "table.xml"
        table.write_text(TABLE)
        explain = ["explain", "--table", table]
        self.assertEqual(self.orbu(*explain, "1", "5"), "No\\nconnection\n")
        self.assertEqual(self.orbu(*explain, "OrbuInt", "--", "-1"), "Lost\n")
        self.assertEqual(self.orbu(*explain, "1"), "1  OrbuInt  Host\n5  No\\nconnection\n-1  Lost\n")
        self.assertEqual(json.loads(self.orbu(*explain, "1", "5", "--json")),
                         {"vendor": 1, "component": "OrbuInt", "name": "Host",
                          "errors": [{"code": 5, "description": "No\nconnection"}]})
        self.orbu(*explain, "1", "6", code=NEGATIVE, talk="no words for vendor 1, code 6")
        self.orbu(*explain, "OrbuQMX", code=NEGATIVE, talk="no words for vendor 8")
        self.orbu(*explain, "Nobody", code=USAGE, talk="is no vendor")
        table.write_text("<ERRORTABLES>")
        self.orbu(*explain, "1", code=BAD_DATA, talk="is no XML")
        table.unlink()
        self.orbu(*explain, "1", code=FAILED, talk="cannot be read")
        table.mkdir()
        self.orbu(*explain, "1", code=FAILED, talk="cannot be read")


class EntryTest(LogVerbTest):
    def test_entries(self):
        debug, perf = self.folder / "Orbu/OrbuDebug.log", self.folder / "Orbu/OrbuPerfLog.csv"
        self.orbu("log", "debug", "x", code=NEGATIVE, talk="ORBU_DEBUG_MODE is not set")
        self.orbu("log", "perf", "x", code=NEGATIVE, talk="ORBU_PERF_LOG is not set")
        self.assertFalse(debug.exists() or perf.exists())
        line = self.orbu("log", "debug", "--enable", "--vendor", "8", "a %1 b")
        self.assertRegex(line, r"^\d{4}/\d\d/\d\d \d\d:\d\d:\d\d \d+ \[OrbuQMX\] a %1 b \n$")
        self.assertEqual(debug.read_text(), line)
        self.environment["ORBU_PERF_LOG"] = ""
        first = self.orbu("log", "perf", "--data", "file", "--data", "a,b", "Load.START")
        self.assertRegex(first, r",31\.0\.9\.0,file:a,b,NA:NA,\[OrbuInt\],Load\.START,\n$")
        second = self.orbu("log", "perf", "Load.END")
        self.assertEqual(perf.read_text(), first + second)

        perf.unlink()
        perf.symlink_to("/dev/full")
        self.orbu("log", "perf", "x", code=FAILED, talk="No space left")
        self.environment["HOME"] = "/dev/null"
        self.orbu("log", "perf", "x", code=FAILED, talk="no folder for the log")


def entry(time, event, process=7, component="[OrbuInt]", date="2024/03/09", system="Some System, 12"):
    return f"{date},{time},{process},{system},host,31.0.9.0,a:b,c:d,{component},{event},\n"


class PerfTest(LogVerbTest):
    def test_progress_of_long_input_on_a_terminal(self):
        part = self.folder / "part"
        part.write_text(entry("01:00:00:0", "A.END") * 1000, encoding="ascii")
        self.environment["TERM"] = "xterm"
        # The pauses are longer than what the bar waits for.
        self.begin_at_terminal("/bin/sh", "-c", f"for i in 1 2 3; do cat {part}; sleep 0.5; done | {ORBU} perf - >/dev/null")
        self.assertEqual(self.end_at_terminal(), DONE)
        self.assertRegex(self.shown, rb"(?s)^\rreading  .* lines\x1b\[K\r\x1b\[K\S*orbu:")  # taken away before there is talk

    def perf(self, text, *arguments, **options):
        log = self.folder / "log.csv"
        log.write_bytes(text if isinstance(text, bytes) else text.encode())
        return self.orbu("perf", log, *arguments, **options)

    def events(self, text, **options):
        told = json.loads(self.perf(text, "--json", **options))
        return told, {(event["component"], event["event"]): event for event in told["events"]}

    def test_pairs(self):
        # Nested in themselves, in two processes and two components, over midnight.
        late = {"date": "2024/03/10"}
        told, events = self.events(
            entry("23:59:59:900", "A.START") + entry("23:59:59:950", "A.START") +
            entry("23:59:59:960", "A.START", process=8) + entry("0:00:00:0", "A.START", component="[OrbuRT]", **late) +
            entry("00:00:00:10", "A.END", **late) + entry("00:00:00:100", "A.END", **late) +
            entry("00:00:00:60", "A.END", process=8, **late) +
            entry("00:00:01", "A.END", component="[OrbuRT]", **late) +
            entry("00:00:02:", "note", **late) + entry("00:00:03:5", "a, comma.START", system="S", **late) +
            entry("00:00:03:7", "a, comma.END", component="NA", **late) +
            entry("00:00:04:0", "back.START", **late) + entry("00:00:03:9", "back.END", **late))
        self.assertEqual((told["lines"], told["spans"], told["without_end"], told["without_start"], told["backward"],
                          told["other"], told["damaged"]), (13, 4, 1, 1, 1, 1, 0))
        event = events["OrbuInt", "A"]  # 60, 200 and 100 milliseconds
        self.assertEqual((event["count"], event["median_ms"], event["p95_ms"], event["worst_ms"], event["total_ms"]),
                         (3, 100, 200, 200, 360))
        self.assertEqual(events["OrbuRT", "A"]["median_ms"], 1000)
        self.assertEqual((told["first"], told["last"]), ("2024/03/09 23:59:59.900", "2024/03/10 00:00:04.000"))

    def test_many_durations(self):
        # Beyond what is kept one by one the figures are within 1 %.
        lines = []
        for i in range(1, 5001):
            lines.append(entry("01:00:00:0", "E.START"))
            lines.append(entry(f"01:{i // 60000:02}:{i // 1000 % 60:02}:{i % 1000}", "E.END"))
        event = self.events("".join(lines))[1]["OrbuInt", "E"]
        self.assertEqual((event["count"], event["worst_ms"]), (5000, 5000))
        self.assertAlmostEqual(event["median_ms"], 2500.5, delta=25)
        self.assertAlmostEqual(event["p95_ms"], 4750, delta=48)

    def test_damaged_lines(self):
        good = entry("01:00:00:0", "A.START") + entry("01:00:00:7", "A.END")
        start = entry("01:00:00:0", "A.START")
        damaged = [b"", b"x", b",,,,,,,,,,", b"y" * 500000, b"\0" * 50 + start.encode(), start[:-2].encode(),
                   start[:-1].encode() + start.encode()]
        damaged += [text.encode() for text in (
            entry("25:00:00:0", "A.START"), entry("01:00:00:0", "A.START", date="2024/02/30"),
            entry("01:00:00:0", "A.START", process="x"), entry("01:00:00:0", "A.START", component="OrbuInt"))]
        text = b"\n".join(line.rstrip(b"\n") for line in damaged) + b"\n"
        told, events = self.events(text + good.encode().replace(b"\n", b"\r\n") + text)
        self.assertEqual((told["damaged"], told["lines"], told["spans"]), (2 * len(damaged), 2 * len(damaged) + 2, 1))
        self.assertEqual(events["OrbuInt", "A"]["worst_ms"], 7)
        self.perf(good + "torn", talk="1 damaged line was passed over")
        self.perf(text, code=BAD_DATA, talk="is no performance log")
        self.assertIn("0 lines, 0 spans", self.perf(""))
        self.orbu("perf", self.folder, code=FAILED, talk="cannot read")
        self.orbu("perf", self.folder / "none", code=FAILED, talk="cannot read")

    def test_timeline(self):
        picture = self.folder / "out.svg"
        name = "<b>&\"\x1b[31m\xff"
        text = (entry("01:00:00:0", "Outer.START") + entry("01:00:00:1", name + ".START") +
                entry("01:00:00:900", name + ".END") + entry("01:00:01:0", "Outer.END") +
                entry("01:00:02:0", "Lost.START", process=8)).encode("latin-1")
        output = self.perf(text, "--svg", picture, talk="began and did not end")
        self.assertNotIn("\x1b", output)
        document = xml.dom.minidom.parse(str(picture))
        titles = [node.firstChild.data for node in document.getElementsByTagName("title")]
        self.assertIn("Outer: 1.00 s, from 01:00:00.000", titles)
        self.assertIn("begun and not ended", titles)
        self.assertTrue(any("<b>&\"" in title and ": 899 ms" in title for title in titles))
        texts = [node.firstChild.data for node in document.getElementsByTagName("text")]
        self.assertTrue({"7 · OrbuInt", "8 · OrbuInt", "01:00:01.000", "Outer (OrbuInt) × 1"} <= set(texts), texts)
        self.perf("", "--svg", picture)
        xml.dom.minidom.parse(str(picture))
        self.perf(text, "--svg", self.folder / "log.csv", code=USAGE, talk="is the log itself")
        self.perf(text, "--svg", "/dev/full", code=FAILED, talk="No space left")

    def test_bounded(self):
        # Many processes, kinds and open events, each seen once: told within bounds, and the picture stays small.
        picture = self.folder / "out.svg"
        def time(i):
            return f"{i // 3600:02}:{i // 60 % 60:02}:{i % 60:02}:0"

        lines = [entry(time(i), f"E{i}.START", process=i) for i in range(60000)]
        lines += [entry("23:59:59:0", f"E{i}.END", process=i) for i in range(58000, 60000)]
        told, events = self.events("".join(lines))
        self.assertEqual((told["without_end"], told["spans"]), (58000, 2000))
        self.assertLessEqual(len(events), 1001)
        self.perf("".join(lines), "--svg", picture, talk="did not end")
        self.assertLess(picture.stat().st_size, 1 << 20)

    def test_standard_input(self):
        text = entry("01:00:00:0", "A.START") + entry("01:00:00:7", "A.END")
        text += entry("01:00:01:0", "Öffnen.START") + entry("01:00:01:5", "Öffnen.END")
        output = self.orbu("perf", "-", input=text)
        self.assertIn("A       OrbuInt        1    7 ms  7 ms   7 ms   7 ms\n", output)
        self.assertIn("Öffnen  OrbuInt        1    5 ms  5 ms   5 ms   5 ms\n", output)


if __name__ == "__main__":
    unittest.main()
