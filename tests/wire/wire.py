"""The wire format in Python, written from docs/wire-format.md: text forms, packets, and what lies under a prefix."""
import ctypes
import os
import re
import select
import stat
import time

VERSION = 65536
ASYNCHRONOUS, SYNCHRONOUS = 1, 2
SAFE = b"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz-"


# --- text forms ---

def escape(text):
    return "".join(chr(byte) if byte in SAFE else f"!{byte:02x}" for byte in text.encode())


def unescape(text):
    return re.sub(rb"!([0-9a-fA-F]{2})", lambda m: bytes([int(m[1], 16)]), text.encode()).decode()


def to_value(value):
    if isinstance(value, bool):
        return "c" + ("true" if value else "false")
    if isinstance(value, int):
        return f"d{value}"
    if isinstance(value, float):
        return "e" + escape(f"{value:g}")
    if isinstance(value, str):
        return "h" + escape(value)
    if isinstance(value, dict):
        return "i" + escape(",".join(f"{k}={to_value(value[k])}" for k in wire_order(value)))
    if isinstance(value, list):
        return "j" + escape(f"#{len(value)}:" + ",".join(escape(item) for item in value))
    raise TypeError(f"{value!r} has no text form")


def from_list(text):
    match = re.match(r"#(\d+):(.*)\Z", text, re.DOTALL)
    parts = match[2].split(",") if match and match[2] else []
    if parts and parts[-1] == "":
        parts.pop()
    return [unescape(part) for part in parts] if match and len(parts) == int(match[1]) else [text]


def from_value(text):
    tag, rest = text[:1], unescape(text[1:])
    if tag == "c":
        return rest == "true"
    if tag == "d":
        return int(rest)
    if tag == "e":
        return float(rest)
    if tag == "h":
        return rest
    if tag == "i":
        return dict((k, from_value(v)) for k, v in (item.split("=") for item in rest.split(",") if item))
    if tag == "j":
        return from_list(rest)
    return None


# --- the order of attributes ---

def name_hash(name):
    data = name.encode()
    if len(data) > 8:
        return int.from_bytes(data[:8], "little")
    value = 0
    for byte in data:
        value = (value << 8 | (byte | ~0xFF if byte >= 0x80 else byte)) & 0xFFFFFFFFFFFFFFFF
    return value


def wire_order(names):
    return sorted(names, key=lambda name: name_hash(name) % 17)  # sorted() keeps the order within a bucket


# --- packets ---

class Packet:
    def __init__(self, name, to=0, sender=0, synchronicity=SYNCHRONOUS, attributes=None, sequence=0):
        self.name, self.to, self.sender = name, to, sender
        self.sequence, self.synchronicity, self.attributes = sequence, synchronicity, dict(attributes or {})

    def line(self):
        fields = [VERSION, self.name, self.to, self.sender, self.sequence, self.synchronicity]
        items = [f"{name}={to_value(self.attributes[name])}" for name in wire_order(self.attributes)]
        return ";".join([str(field) for field in fields] + items)

    @classmethod
    def parse(cls, line):
        fields = line.split(";")
        if fields[0] != str(VERSION) or len(fields) < 6:
            return None
        pairs = (item.split("=") for item in fields[6:])
        return cls(fields[1], int(fields[2]), int(fields[3]), int(fields[5]),
                   {pair[0]: from_value(pair[1]) for pair in pairs if len(pair) == 2}, int(fields[4]))


# --- what lies under a prefix ---

class NamedLock:
    """The semaphore "/NAME.lock" of a prefix, through the C library: Python has none of its own."""

    def __init__(self, prefix):
        self.name = f"/{os.path.basename(prefix)}.lock".encode()
        self.libc = ctypes.CDLL(None, use_errno=True)
        self.libc.sem_open.restype = ctypes.c_void_p
        for function in (self.libc.sem_trywait, self.libc.sem_post, self.libc.sem_close):
            function.argtypes = [ctypes.c_void_p]
        self.semaphore = self.libc.sem_open(self.name, os.O_CREAT, 0o640, 1)
        if not self.semaphore:
            raise OSError(ctypes.get_errno(), "sem_open", self.name.decode())

    def __enter__(self):
        self.acquire(60)
        return self

    def __exit__(self, *_):
        self.release()
        self.close()

    def acquire(self, seconds):
        wait_for(lambda: self.libc.sem_trywait(self.semaphore) == 0, seconds, f"the lock {self.name.decode()}")

    def release(self):
        self.libc.sem_post(self.semaphore)

    def close(self):
        self.libc.sem_close(self.semaphore)

    def unlink(self):
        self.libc.sem_unlink(self.name)


def wait_for(condition, seconds, what, pause=0.0005):
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(f"{what} did not come within {seconds} s")
        time.sleep(pause)


def server_pid(prefix):
    """The process id of the live server of a prefix, or 0."""
    try:
        with open(os.path.join(prefix, ".serverpid"), encoding="ascii") as file:
            pid = max(int(file.read()), 0)
        if pid:  # 0 is the caller's own process group
            os.kill(pid, 0)
        return pid
    except PermissionError:
        return pid
    except (OSError, ValueError):
        return 0


class Inbox:
    """The reading end of one's own FIFO, taken line by line."""

    def __init__(self, path):
        self.path = path
        os.makedirs(os.path.dirname(path), 0o770, exist_ok=True)
        if not (os.path.exists(path) and stat.S_ISFIFO(os.stat(path).st_mode)):
            os.mkfifo(path, 0o700)
        self.fd = os.open(path, os.O_RDONLY | os.O_NONBLOCK)
        self.keep = os.open(path, os.O_WRONLY)  # so that the end of the last writer is no end of file
        self.lines = []

    def line(self, seconds):
        """The next line, without its end, or None if there is none in that time."""
        end = time.monotonic() + seconds
        while not self.lines:
            if not select.select([self.fd], [], [], max(0, end - time.monotonic()))[0]:
                return None
            text = ""
            while True:
                piece = os.read(self.fd, 65536).decode()
                text += piece
                if text.endswith("\n"):
                    break
                select.select([self.fd], [], [], 1)
            self.lines = text.split("\n")[:-1]
        return self.lines.pop(0)

    def remove(self):
        os.close(self.fd)
        os.close(self.keep)
        os.unlink(self.path)
        try:
            os.rmdir(os.path.dirname(self.path))
        except OSError:
            pass  # somebody else's FIFO is still there
