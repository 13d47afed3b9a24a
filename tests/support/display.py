"""A virtual screen, and a hand at its keyboard and mouse."""
import ctypes
import os
import subprocess

from PIL import ImageGrab

from support.picture import Picture
from support.waiting import wait_until

WINDOW = (0, 0, 800, 600)
MENU = ["Reset layout", "Toggle fullscreen", "Toggle autozoom", "Toggle parallel", "Toggle labels", "Exit"]


class Display:
    """An X server of its own, without a window manager: the window stands at the screen's upper left, and keys go to
    the window under the pointer."""

    def __init__(self, width=1024, height=768):
        self.size = width, height
        # A number that nobody else takes, in whatever network: screens of one number share files in /tmp.
        self.name = f":{1000 + os.getpid()}"
        read_end, write_end = os.pipe()
        self.process = subprocess.Popen(
            ["Xvfb", self.name, "-displayfd", str(write_end), "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp",
             "-noreset"],
            pass_fds=[write_end], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as file:       # written when it is ready
            if not file.readline():
                raise RuntimeError(f"Xvfb {self.name} does not start")

    def stop(self):
        self.process.terminate()
        self.process.wait()

    def screen(self):
        return Picture(ImageGrab.grab(xdisplay=self.name))

    def picture(self):
        """The window as it is now."""
        return self.screen().crop(*WINDOW)

    def do(self, *words):
        """xdotool's WORDS; returns what it prints."""
        return subprocess.run(["xdotool", *map(str, words)], env={**os.environ, "DISPLAY": self.name}, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout

    def key(self, *names):
        self.do("key", *names)

    def click(self, x, y, button=1):
        self.do("mousemove", x, y, "click", button)

    def clicks(self, spot, count):
        """So fast that each but the first makes a double click of it."""
        self.do("mousemove", *spot, "click", "--repeat", count, "--delay", 10, 1)

    def double_click(self, x, y):
        self.clicks((x, y), 2)

    def drag(self, start, end, button=1):
        middle = [(a + b) // 2 for a, b in zip(start, end)]
        self.do("mousemove", *start, "mousedown", button, "mousemove", *middle, "mousemove", *end, "mouseup", button)

    def window_ids(self, name="Tessarel"):
        return self.do("search", "--onlyvisible", "--name", f"^{name}$").split()

    def window_box(self, name="Tessarel"):
        """(left, top, right, bottom) on the screen, or None."""
        told = self.do("search", "--onlyvisible", "--name", f"^{name}$", "getwindowgeometry", "--shell", "%1")
        box = {key: int(value) for key, _, value in (line.partition("=") for line in told.split())}
        return box and (box["X"], box["Y"], box["X"] + box["WIDTH"], box["Y"] + box["HEIGHT"])

    def window_size(self):
        left, top, right, bottom = self.window_box() or (0, 0, 0, 0)
        return right - left, bottom - top

    def open_menu(self, x=60, y=60):
        """Opens the right button's menu and returns its box on the screen."""
        self.click(x, y, 3)
        return wait_until(lambda: self.window_box("freeglut menu"), "the menu to open")

    def choose(self, entry):
        """Chooses a menu entry as a person does: opens the menu, points at the entry, clicks."""
        left, top, right, bottom = self.open_menu()
        self.click((left + right) // 2, int(top + (MENU.index(entry) + 0.5) * (bottom - top) / len(MENU)))

    def close_window(self):
        """What a window manager does when a person closes the window: asks the program to."""
        x11 = ctypes.CDLL("libX11.so.6")
        x11.XOpenDisplay.restype = ctypes.c_void_p
        x11.XInternAtom.restype = ctypes.c_ulong
        display = ctypes.c_void_p(x11.XOpenDisplay(self.name.encode()))
        window = int(self.window_ids()[0])
        protocols, delete = (x11.XInternAtom(display, name, 0) for name in (b"WM_PROTOCOLS", b"WM_DELETE_WINDOW"))
        # An XEvent, all of whose fields take eight bytes: a client message of 32-bit words.
        message = (ctypes.c_long * 24)(33, 0, 0, 0, window, protocols, 32, delete)
        x11.XSendEvent(display, ctypes.c_ulong(window), 0, ctypes.c_long(0), message)
        x11.XCloseDisplay(display)
