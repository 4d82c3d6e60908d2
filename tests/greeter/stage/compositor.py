"""A Wayland compositor on a screen in memory. Its keyboard has no keys that could be pressed: what is done
in its windows is done as by a screen reader."""
import os

CONFIGURATION = """xwayland disable
output * resolution {width}x{height} position 0 0
for_window [app_id=".*"] floating enable
exec echo $WAYLAND_DISPLAY > /dev/fd/{told}
"""

# As whom it refuses to start.
NOT_ROOT = ["unshare", "--user", "--map-user=1000", "--map-group=1000"]

MONTH = 2_000_000_000  # in milliseconds


class Compositor:
    def __init__(self, processes, folder, width, height):
        ready, told = os.pipe()
        configuration = folder / "sway.conf"
        configuration.write_text(CONFIGURATION.format(width=width, height=height, told=told))
        self._environment = {
            "PATH": "/usr/bin:/bin", "HOME": str(folder), "XDG_RUNTIME_DIR": str(folder / "run"),
            "WLR_BACKENDS": "headless", "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman"}
        with open(folder / "sway.log", "w") as log:
            processes.start(*NOT_ROOT, "sway", "--config", configuration, env=self._environment,
                            pass_fds=[told], stdout=log, stderr=log)
        os.close(told)
        with open(ready) as line:
            name = line.readline().strip()
        if not name:
            raise RuntimeError("no compositor comes up: " + (folder / "sway.log").read_text())
        self.width, self.height = width, height
        self.environment = {"WAYLAND_DISPLAY": name}
        # A keyboard, without which no window would have the focus.
        processes.start("wtype", "-s", MONTH, env={**self._environment, **self.environment})

    def set_layouts(self, layouts, keys):
        """No key is pressed."""

    def give_keys_to_window(self):
        """It has them: the compositor gives them to the window that was opened last."""
