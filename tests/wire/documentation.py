"""Checks the worked examples of docs/wire-format.md: what stands there is what the Python peers write and read."""
import re
import sys

from wire import Packet, from_value, name_hash, to_value

text = open(sys.argv[1], encoding="utf-8").read()
faults = []


def check(what, got, wanted):
    if got != wanted:
        faults.append(f"{what}: {got} and not {wanted}")


lines = re.findall(r"^ +(?:[<>] )?(65536;[^\s.]+\.[^\s]*=[^\s]*?)(?:⏎|\s|$)", text, re.MULTILINE)
for line in lines:
    check(line, Packet.parse(line).line(), line)
check("whole lines in the page", len(lines) >= 11, True)

hashes = re.findall(r"\| ((?:`\w+`(?:, )?)+) \| ((?:0x[0-9a-f]+(?:, )?)+) \| (\d+) ", text)
for names, values, bucket in hashes:
    for name, value in zip(re.findall(r"`(\w+)`", names), values.split(", ")):
        check(name, (hex(name_hash(name)), name_hash(name) % 17), (value, int(bucket)))
check("rows of hashes in the page", len(hashes), 10)

values = re.findall(r"`([cdehij](?:[A-Za-z0-9_!-]+))`", text.split("## 3")[0])
for value in values:
    if not value.isalpha() or value == "ctrue":
        check(value, to_value(from_value(value)), value)

print("\n".join(faults))
sys.exit(1 if faults else 0)
