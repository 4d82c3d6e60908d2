"""Systems to boot, each made once by a recipe and kept in ${XDG_CACHE_HOME:-/var/cache}/gatehall."""
import contextlib
import fcntl
import hashlib
import os
import subprocess
import sys
import time
from pathlib import Path

CACHE = Path(os.environ.get("XDG_CACHE_HOME") or "/var/cache") / "gatehall"


def made_once(name, recipe, *sources):
    """What the program `recipe` makes of itself and of these files and folders, at the path that it
    is given; made if need be. The caller lets only_one() at it."""
    image = CACHE / f"{name}-{_digest(recipe, *sources)}"
    if image.exists():
        os.utime(image)
        return image
    # The one used last stays, too: going back and forth between two recipes costs nothing.
    for old in sorted(CACHE.glob(f"{name}-*"), key=lambda path: path.stat().st_mtime)[:-1]:
        _remove(old)
    print(f"Making {image} …", flush=True)
    start = time.monotonic()
    making = CACHE / f"{name}-making-{image.name[len(name) + 1:]}"
    _remove(making)  # of a recipe that was killed
    log = CACHE / f"recipe-{name}.log"
    with log.open("w") as out:
        status = subprocess.run([recipe, making], stdin=subprocess.DEVNULL, stdout=out,
                                stderr=subprocess.STDOUT).returncode
    if status != 0:
        sys.stderr.write(log.read_text()[-3000:])
        _remove(making)
        raise SystemExit(f"{recipe} failed; all it said is in {log}")
    making.rename(image)
    print(f"made in {time.monotonic() - start:.0f} s", flush=True)
    return image


def _digest(recipe, *sources):
    files = [file for source in (recipe, *sources) for file in (source, *source.rglob("*"))
             if file.is_file()]
    digest = hashlib.sha256()
    for file in sorted(files):
        name = os.path.relpath(file, recipe.parent)
        digest.update(f"{name}\0{file.stat().st_mode & 0o111}\0".encode())
        digest.update(file.read_bytes())
    return digest.hexdigest()[:12]


def _remove(tree):
    # A recipe that was killed may have left something mounted there.
    subprocess.run(["rm", "--recursive", "--force", "--one-file-system", tree], check=True)


@contextlib.contextmanager
def only_one(lock):
    """In this block no other process is in one with that lock."""
    CACHE.mkdir(parents=True, exist_ok=True)
    with open(CACHE / lock, "w") as file:
        fcntl.flock(file, fcntl.LOCK_EX)
        yield
