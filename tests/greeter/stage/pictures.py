"""Pictures of the screen, compared with those that are kept: block by block, so that a line that stands
half a dot elsewhere, or letters that are hinted differently, are the same, and a missing card or another
colour isn't."""
import os
import shutil
import subprocess
import tempfile
import time
from pathlib import Path

KEPT = Path(__file__).resolve().parents[1] / "pictures"
UPDATE = os.environ.get("GATEHALL_UPDATE_PICTURES") == "yes"

BLOCK = 16  # dots in each direction
STILL = 4  # seconds without a change

# Of 255, in any colour: of a block's mean, and of the mean over all blocks.
BLOCK_MAY_DIFFER = 32
ALL_MAY_DIFFER = 1.0


def difference(name, shot):
    """How the picture differs from the kept one; empty: it doesn't."""
    kept = KEPT / f"{name}.png"
    if not kept.exists():
        return f"no {kept} is kept"
    size = _size(kept)
    if size != _size(shot):
        return f"its size is {_size(shot)}, not {size}"
    return _difference(_blocks(kept, size), _blocks(shot, size), size[0] // BLOCK)


def _difference(before, now, columns):
    differences = [abs(a - b) for a, b in zip(now, before)]
    worst = max(range(len(differences)), key=differences.__getitem__)
    if differences[worst] > BLOCK_MAY_DIFFER:
        block = worst // 3
        return (f"around {block % columns * BLOCK},{block // columns * BLOCK} it differs by "
                f"{differences[worst]}")
    mean = sum(differences) / len(differences)
    return f"it differs by {mean:.2f} in the mean" if mean > ALL_MAY_DIFFER else ""


def dots(file, *colours):
    """How many dots of the picture have one of the colours, "#rrggbb"."""
    raw = subprocess.run(["convert", file, "-depth", "8", "rgb:-"], stdout=subprocess.PIPE,
                         check=True).stdout
    wanted = {tuple(bytes.fromhex(colour.removeprefix("#"))) for colour in colours}
    return sum(dot in wanted for dot in zip(raw[::3], raw[1::3], raw[2::3]))


class Stillness:
    """Whether pictures stay the same: what comes a moment later is what a comparison sees, and GTK marks
    where the keys go for three seconds."""

    def __init__(self):
        self._before = None
        self._since = time.monotonic()

    def is_reached(self, shot):
        size = _size(shot)
        now = _blocks(shot, size)
        if not self._before or _difference(self._before, now, size[0] // BLOCK):
            self._before, self._since = now, time.monotonic()
        return time.monotonic() - self._since > STILL


def keep(name, shot):
    KEPT.mkdir(exist_ok=True)
    # In its own colours: with fewer, a background would be off by one all over.
    subprocess.run(["convert", shot, "-strip", "-define", "png:compression-level=9",
                    f"PNG24:{KEPT / name}.png"], check=True)


def keep_for_judgement(shot):
    return shutil.copy(shot, Path(tempfile.gettempdir()) / f"gatehall-{shot.name}")


def _size(file):
    done = subprocess.run(["identify", "-format", "%w %h", file], stdout=subprocess.PIPE, check=True,
                          text=True)
    return tuple(map(int, done.stdout.split()))


def _blocks(file, size):
    """The mean colours of the blocks, line by line."""
    blocks = f"{size[0] // BLOCK}x{size[1] // BLOCK}!"
    return subprocess.run(["convert", file, "-scale", blocks, "-depth", "8", "rgb:-"],
                          stdout=subprocess.PIPE, check=True).stdout
