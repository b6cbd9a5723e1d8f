"""Plays the user of examples/host for scripts/demo: takes a picture of each dialog and answers it by real key presses.

    user.py FOLDER COMMAND...      runs the command and leaves the pictures in the folder
"""
import os
import pathlib
import subprocess
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "wire"))
from screen import Screen  # noqa: E402
from wire import wait_for  # noqa: E402

# For each window in turn: the name of a picture, and the keys that are pressed then.
DIALOGS = [
    [("wait", [])],
    [("error", ["Tab", "space"]), ("error-details", ["Escape"])],
    [("question", ["Shift_L+Tab", "Return"])],
]
SECONDS = 20


def main(folder, command):
    screen = Screen()
    host = subprocess.Popen(command)
    try:
        seen = set()
        for dialog in DIALOGS:
            new = []
            wait_for(lambda: new.extend(window for window in screen.windows() if window.id not in seen)
                     or new or host.poll() is not None, SECONDS, "the next window", pause=0.01)
            if not new:
                break  # which the host's exit code tells
            seen.add(new[0].id)
            for name, keys in dialog:
                new[0].save(os.path.join(folder, f"{name}.png"))
                pressed = f", pressed {' '.join(keys)}" if keys else ""
                print(f"    {name}.png: \"{new[0].title}\"{pressed}", flush=True)
                new[0].press(*keys)
        return host.wait(SECONDS)
    finally:
        if host.poll() is None:
            host.kill()


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2:]))
