"""An X display as somebody sits before it: the windows that stand there, keys, pictures. Without a window manager."""
import struct
import time
import zlib

import Xlib.display
import Xlib.error
from Xlib import X, XK
from Xlib.ext import xtest
from Xlib.protocol import event

RESTS, MOVES = 0.15, 0.6  # seconds: a picture that does not change for so long is finished; one that does is alive


class Window:
    """A window that is on the screen, as it was when it was looked at."""

    def __init__(self, screen, handle):
        self.screen, self.handle, self.id = screen, handle, handle.id
        self.title = self.property("_NET_WM_NAME")
        pid = self.property("_NET_WM_PID")
        self.pid = pid[0] if pid else 0
        self.geometry = handle.get_geometry()
        self.connection = handle.id & ~screen.display.display.info.resource_id_mask  # the program's to the display

    def property(self, name):
        found = self.handle.get_full_property(self.screen.atom(name), X.AnyPropertyType)
        value = found.value if found else None
        return value.decode() if isinstance(value, bytes) else value

    def close(self):
        """What the close button of a window manager does: asks the program."""
        data = (32, [self.screen.atom("WM_DELETE_WINDOW"), X.CurrentTime, 0, 0, 0])
        self.handle.send_event(event.ClientMessage(window=self.handle, client_type=self.screen.atom("WM_PROTOCOLS"),
                                                   data=data))
        self.screen.display.sync()

    def press(self, *names):
        """Presses keys such as "Tab", "Return" or "Control_L+c" while the window has the focus."""
        self.handle.set_input_focus(X.RevertToPointerRoot, X.CurrentTime)
        for name in names:
            codes = [self.screen.display.keysym_to_keycode(XK.string_to_keysym(key)) for key in name.split("+")]
            for kind, order in ((X.KeyPress, codes), (X.KeyRelease, codes[::-1])):
                for code in order:
                    xtest.fake_input(self.screen.display, kind, code)
        self.screen.display.sync()

    def pixels(self):
        """Rows of three bytes a pixel, as they are on the screen."""
        shape = self.geometry = self.handle.get_geometry()
        data = self.screen.root.get_image(shape.x, shape.y, shape.width, shape.height, X.ZPixmap, 0xFFFFFFFF).data
        rgb = bytearray(shape.width * shape.height * 3)
        rgb[0::3], rgb[1::3], rgb[2::3] = data[2::4], data[1::4], data[0::4]
        return bytes(rgb)

    def drawn(self, seconds=60):
        """The pixels, once they are more than a plain area."""
        end = time.monotonic() + seconds
        while True:
            pixels = self.pixels()
            if len({pixels[i:i + 3] for i in range(0, len(pixels), 3)}) > 8:
                return pixels
            if time.monotonic() > end:
                raise TimeoutError(f"the window {self.title!r} is not drawn")
            time.sleep(0.01)

    def settled(self):
        """The pixels, once they are drawn and have come to rest, or do not for a while."""
        last = self.drawn()
        start = since = time.monotonic()
        while (now := time.monotonic()) < min(since + RESTS, start + MOVES):
            time.sleep(0.02)
            if (pixels := self.pixels()) != last:
                last, since = pixels, now
        return last

    def save(self, path):
        """A PNG file of it."""
        pixels = self.settled()
        width, height = self.geometry.width, self.geometry.height
        rows = b"".join(b"\0" + pixels[i:i + 3 * width] for i in range(0, len(pixels), 3 * width))
        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n")
            for kind, data in ((b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)),
                               (b"IDAT", zlib.compress(rows, 9)), (b"IEND", b"")):
                file.write(struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data)))


class Screen:
    def __init__(self, name=None):
        self.display = Xlib.display.Display(name)
        self.display.set_error_handler(lambda *_: None)  # a window may go at any time
        self.root = self.display.screen().root

    def atom(self, name):
        return self.display.get_atom(name)

    def windows(self):
        """The windows on the screen that programs have put there."""
        found = []
        for handle in self.root.query_tree().children:
            try:
                attributes = handle.get_attributes()
                if attributes.map_state == X.IsViewable and attributes.win_class == X.InputOutput:
                    found.append(Window(self, handle))
            except (Xlib.error.BadWindow, Xlib.error.BadDrawable):
                pass
        return [window for window in found if window.title is not None]

    def clipboard(self):
        """The text in the clipboard."""
        taker = self.root.create_window(0, 0, 1, 1, 0, X.CopyFromParent)
        taker.convert_selection(self.atom("CLIPBOARD"), self.atom("UTF8_STRING"), self.atom("ORBU_TAKEN"),
                                X.CurrentTime)
        while True:
            taken = self.display.next_event()
            if taken.type == X.SelectionNotify and taken.requestor == taker:
                break
        found = taker.get_full_property(self.atom("ORBU_TAKEN"), X.AnyPropertyType)
        taker.destroy()
        return found.value.decode() if found and isinstance(found.value, bytes) else None
