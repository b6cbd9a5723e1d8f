#!/usr/bin/env python3
"""Turns the results of orbu_bench into a table and a picture: ours against each peer and against what is aimed at."""
import argparse
import json
import math
import statistics
import sys
from html import escape

TARGET, AIM = "target", "aim"


def comparisons():
    """(label, our benchmark, its figure, the other benchmark and figure or None for a plain limit, limit, kind)"""
    rows = []

    def time(label, name, peer, limit, kind=TARGET):
        rows.append((f"{label}, against {peer}", f"{name}/ours", "cpu_time", (f"{name}/{peer}", "cpu_time"), limit, kind))

    time("packet of 8 attributes", "packet8", "nlohmann", 1.0)
    time("packet of 8 attributes", "packet8", "rapidjson", 1.0, AIM)
    for name in ("marshalString", "unmarshalString"):
        for size, text in (("64", "64 B"), ("64k", "64 KiB")):
            time(f"{name} {text}", f"{name}/{size}", "glib", 1.0)
    for peer, kind in (("iconv", TARGET), ("icu", AIM)):
        for name, text in (("utf8_to_utf16", "UTF-8 to UTF-16LE"), ("utf16_to_utf8", "UTF-16LE to UTF-8")):
            for script in ("ascii", "latin", "cjk"):
                for size, bytes_ in (("64", "64 B"), ("64k", "64 KiB")):
                    time(f"{text}, {script} {bytes_}", f"{name}/{script}/{size}", peer, 1.0, kind)
    time("format with three arg calls", "arg", "glib", 2.0)
    time("key in a dictionary of 16", "dictionary16", "glib", 2.0)

    request, waiting = "request/iterations:1", "waiting/iterations:1"
    for ours, peer, text, limit, kind in (
        ("ours_us", "inexact_us", "request and reply, time against bare FIFOs", 1.1, TARGET),
        ("ours_us", "bare_us", "... that sleep as exactly as ours", 1.1, AIM),
        ("ours_cpu_us", "sdbus_cpu_us", "request and reply, CPU against sd-bus", 1.0, TARGET),
        ("sleeps_cpu_us", "sdbus_cpu_us", "... of two sleeps alone", 1.0, AIM),
    ):
        rows.append((text, request, ours, (request, peer), limit, kind))
    rows.append(("waiting client, CPU against bare sleeps", waiting, "ours_percent", (waiting, "bare_percent"), 1.2,
                 TARGET))
    rows.append(("idle companion, % of a core", "idle/iterations:1", "cpu_percent", None, 0.1, TARGET))
    # Twice the input: 2 is linear, 4 is quadratic. The 17 chains of a dictionary grow with it.
    for name, n, text, limit in (("pending", 10000, "pending lines", 2.6), ("split", 100000, "items split", 2.6),
                                 ("attributes", 1000, "attributes in 17 chains", 3.5)):
        rows.append((f"{2 * n} {text} against {n}", f"{name}/{2 * n}", "cpu_time", (f"{name}/{n}", "cpu_time"), limit,
                     TARGET))
    for name, text in (("seal64M", "sealing 64 MiB with MAC"), ("open64M", "opening 64 MiB with MAC")):
        time(text, name, "by_hand", 1 / 0.9)
    time("entry in the debug log", "log_entry", "bare", 1.5)
    for peer, text, kind in (("tinyxml2-locked", "tinyxml2 and the same locks", TARGET),
                             ("tinyxml2", "tinyxml2 without locks", AIM),
                             ("tinyxml2-once", "... that reads once", AIM)):
        rows.append((f"100 settings, load, set, save, against {text}", "settings100/ours/real_time", "real_time",
                     (f"settings100/{peer}/real_time", "real_time"), 1.3, kind))
    rows.append(("library loaded, ms", "load/ours/iterations:1", "load_ms", None, 2.0, TARGET))
    rows.append(("library loaded, MiB", "load/ours/iterations:1", "load_mib", None, 1.5, TARGET))
    return rows


def read(path):
    """name -> figure -> median over the repetitions; times in nanoseconds"""
    with open(path, encoding="utf-8") as file:
        results = json.load(file)["benchmarks"]
    scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    collected = {}
    for result in results:
        if result.get("run_type") == "aggregate":
            continue
        if result.get("error_occurred"):
            print(f"{result['name']}: {result['error_message']}", file=sys.stderr)
            continue
        name = result["run_name"].replace("/repeats:1", "")
        for figure, value in result.items():
            if isinstance(value, (int, float)):
                value *= scale[result["time_unit"]] if figure.endswith("_time") else 1
                collected.setdefault(name, {}).setdefault(figure, []).append(value)
    return {name: {figure: statistics.median(values) for figure, values in figures.items()}
            for name, figures in collected.items()}


def amount(value, figure):
    if not figure.endswith("_time"):
        return f"{value:.3g}"
    for unit, size in (("ns", 1), ("us", 1e3), ("ms", 1e6)):
        if value < 1000 * size:
            return f"{value / size:.3g} {unit}"
    return f"{value / 1e9:.3g} s"


def evaluate(results):
    rows = []
    for label, ours, figure, peer, limit, kind in comparisons():
        value = results.get(ours, {}).get(figure)
        other = results.get(peer[0], {}).get(peer[1]) if peer else None
        if value is None or (peer and other is None):
            continue  # not run, or a peer whose package is missing
        ratio = value / other if peer else value
        rows.append({"label": label, "ours": amount(value, figure), "peer": amount(other, peer[1]) if peer else "",
                     "ratio": ratio, "limit": limit, "kind": kind, "met": ratio <= limit})
    return rows


def verdict(row):
    return "met" if row["met"] else ("not met" if row["kind"] == TARGET else "aim not reached")


def table(rows):
    width = max(len(row["label"]) for row in rows)
    lines = [f"{'':{width}}  {'ours':>9}  {'peer':>9}  {'ratio':>6}  {'at most':>7}"]
    for row in rows:
        lines.append(f"{row['label']:{width}}  {row['ours']:>9}  {row['peer']:>9}  {row['ratio']:6.2f}  "
                     f"{row['limit']:7.2f}  {verdict(row)}")
    missed = sum(not row["met"] for row in rows if row["kind"] == TARGET)
    lines.append(f"{len(rows)} comparisons, {missed} targets not met")
    return "\n".join(lines) + "\n"


def picture(rows):
    """Bars of ratio / limit on a logarithmic scale; what ends left of the line is within its limit."""
    line, left, right, top = 20, 430, 470, 40
    low, high = 0.01, 10.0
    height = top + line * len(rows) + 30

    def x(share):
        share = min(max(share, low), high)
        return left + right * math.log(share / low) / math.log(high / low)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + right + 70}" height="{height}" '
             'font-family="sans-serif" font-size="12">',
             f'<rect width="100%" height="100%" fill="white"/>',
             f'<text x="{left}" y="18" font-weight="bold">ours as a share of what is allowed '
             '(1 = the limit, less is better)</text>']
    for tick in (0.01, 0.1, 1, 10):
        color = "#333" if tick == 1 else "#ccc"
        parts.append(f'<line x1="{x(tick):.1f}" y1="{top - 8}" x2="{x(tick):.1f}" y2="{height - 24}" '
                     f'stroke="{color}"/><text x="{x(tick):.1f}" y="{height - 8}" text-anchor="middle">{tick}</text>')
    colors = {"met": "#3a923a", "not met": "#c03d3e", "aim not reached": "#d9a441"}
    for index, row in enumerate(rows):
        y = top + line * index
        share = row["ratio"] / row["limit"]
        parts.append(f'<text x="{left - 8}" y="{y + 11}" text-anchor="end">{escape(row["label"])}</text>'
                     f'<rect x="{left}" y="{y}" width="{x(share) - left:.1f}" height="14" '
                     f'fill="{colors[verdict(row)]}"/>'
                     f'<text x="{x(share) + 5:.1f}" y="{y + 11}">{share:.2f}</text>')
    parts.append("</svg>")
    return "\n".join(parts) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", help="what orbu_bench wrote with --benchmark_out")
    parser.add_argument("--table", help="also write the table to this file")
    parser.add_argument("--picture", help="write the picture (SVG) to this file")
    parser.add_argument("--strict", action="store_true", help="fail when a target is not met")
    options = parser.parse_args()
    rows = evaluate(read(options.results))
    if not rows:
        sys.exit("nothing to compare")
    text = table(rows)
    sys.stdout.write(text)
    if options.table:
        with open(options.table, "w", encoding="utf-8") as file:
            file.write(text)
    if options.picture:
        with open(options.picture, "w", encoding="utf-8") as file:
            file.write(picture(rows))
    if options.strict and not all(row["met"] for row in rows if row["kind"] == TARGET):
        sys.exit(1)


if __name__ == "__main__":
    main()
