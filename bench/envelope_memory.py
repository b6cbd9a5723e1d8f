#!/usr/bin/env python3
"""Shows that orbu seal and orbu open need no more memory for 4 GiB than for 1 MiB.

usage: envelope_memory.py [--orbu PROGRAM] [MIB...]     (needs room for the largest size in TMPDIR or /var/tmp)
"""
import argparse
import os
import subprocess
import sys
import tempfile
import time

PIECE = os.urandom(1 << 20)


def peak(process):
    """KiB so far; 0 when it has ended. (What wait4 tells counts in the memory of the process that started it.)"""
    with open(f"/proc/{process.pid}/status", encoding="ascii") as file:
        return next((int(line.split()[1]) for line in file if line.startswith("VmHWM:")), 0)


def run(orbu, mebibytes):
    """Peak memory in KiB of `orbu seal` and of `orbu open` at both ends of a pipe, and the seconds they took."""
    with tempfile.NamedTemporaryFile() as secret:
        secret.write(b"secret\n")
        secret.flush()
        source = ["--passphrase-file", secret.name]
        begun = time.monotonic()
        sealer = subprocess.Popen([orbu, "seal", *source], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        opener = subprocess.Popen([orbu, "open", *source], stdin=sealer.stdout, stdout=subprocess.PIPE)
        sealer.stdout.close()
        counter = subprocess.Popen(["wc", "-c"], stdin=opener.stdout, stdout=subprocess.PIPE)
        opener.stdout.close()
        for _ in range(mebibytes):
            sealer.stdin.write(PIECE)
        peaks = [peak(sealer), 0]
        sealer.stdin.close()
        while now := peak(opener):
            peaks[1] = now
            time.sleep(0.001)
        if sealer.wait() != 0 or opener.wait() != 0 or int(counter.communicate()[0]) != mebibytes << 20:
            sys.exit("not everything came out")
        return peaks, time.monotonic() - begun


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--orbu", default="build/release/bin/orbu")
    parser.add_argument("mib", nargs="*", type=int, default=[1, 64, 1024, 4096])
    options = parser.parse_args()
    print(f"{'MiB':>6} {'seal KiB':>10} {'open KiB':>10} {'seconds':>8}")
    for mebibytes in options.mib:
        (seal, open_), seconds = run(options.orbu, mebibytes)
        print(f"{mebibytes:6} {seal:10} {open_:10} {seconds:8.1f}")


if __name__ == "__main__":
    main()
