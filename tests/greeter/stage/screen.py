"""A screen in memory, with what people do in front of it."""
import ctypes
import os
import re
import subprocess


class Screen:
    def __init__(self, processes, folder, width, height, dots_per_inch=96):
        ready, told = os.pipe()
        with open(folder / "xvfb.log", "w") as log:
            processes.start("Xvfb", "-displayfd", told, "-screen", 0, f"{width}x{height}x24", "-dpi",
                            dots_per_inch, "-nolisten", "tcp", "-noreset", pass_fds=[told],
                            stdout=log, stderr=log)
        os.close(told)
        with open(ready) as line:
            number = line.readline().strip()
        if not number:
            raise RuntimeError("no screen comes up: " + (folder / "xvfb.log").read_text())
        self.width, self.height = width, height
        self.display = f":{number}"
        self.environment = {"DISPLAY": self.display}
        self._environment = {**os.environ, **self.environment}
        # Out of the way: nothing is under the pointer.
        self._do("mousemove", width - 1, height - 1)

    def resize(self, width, height, left=0, top=0):
        """Another monitor, of a size that is smaller than the first, at a place in that."""
        for words in (["--setmonitor", "another", f"{width}/200x{height}/150+{left}+{top}", "screen"],
                      ["--output", "screen", "--primary"]):  # of which programs are told
            subprocess.run(["xrandr", *words], env=self._environment, check=True, timeout=60,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.width, self.height = width, height

    def windows(self):
        """Left, top, width and height of each that is seen."""
        done = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", ".", "getwindowgeometry",
                               "--shell", "%@"], env=self._environment, stdout=subprocess.PIPE,
                              check=False, text=True, timeout=60)
        return [tuple(map(int, place)) for place in
                re.findall(r"X=(-?\d+)\nY=(-?\d+)\nWIDTH=(\d+)\nHEIGHT=(\d+)", done.stdout)]

    def set_layouts(self, layouts, keys):
        """Those of the keyboard, and the option by which keys lead from one to the next."""
        subprocess.run(["setxkbmap", "-layout", layouts, "-option", keys], env=self._environment,
                       check=True, timeout=60)

    def type(self, text):
        self._do("type", "--delay", 1, "--", text)

    def press(self, *keys):
        """Keys as xdotool names them: press("shift+Tab", "Return")."""
        self._do("key", "--delay", 1, *keys)

    def strike(self, key):
        """The key of that number of X's, whatever the layout makes of it; xdotool would go back to
        the first one."""
        x = ctypes.CDLL("libX11.so.6")
        x.XOpenDisplay.restype = ctypes.c_void_p
        display = ctypes.c_void_p(x.XOpenDisplay(self.display.encode()))
        for is_down in (1, 0):
            ctypes.CDLL("libXtst.so.6").XTestFakeKeyEvent(display, key, is_down, 0)
        x.XCloseDisplay(display)

    def click(self, x, y):
        self._do("mousemove", x, y, "click", 1, "mousemove", self.width - 1, self.height - 1)

    def give_keys_to_window(self):
        """As a window manager does."""
        self._do("search", "--sync", "--onlyvisible", "--name", ".", "windowfocus", "--sync")

    def take_keys_from_window(self):
        """As when somebody clicks beside it."""
        self._do("search", "--maxdepth", 0, ".*", "windowfocus")

    def picture(self, file):
        subprocess.run(["import", "-window", "root", "-depth", "8", file], env=self._environment,
                       check=True, timeout=60)

    def _do(self, *words):
        subprocess.run(["xdotool", *map(str, words)], env=self._environment, check=True, timeout=60)
