"""What ships, from the packages that scripts/package makes."""
from pathlib import Path

PACKAGES = Path(__file__).resolve().parents[2] / "build/packages"
NAMES = ("gatehall", "gatehall-common", "gatehall-names", "gatehalld", "libgatehall1", "libpam-gatehall")


def packages_to_install(folder, *more):
    """The files of these and of more packages, as a booted system sees them, which has PACKAGES in that
    folder."""
    names = (*NAMES, *more)
    files = [file for name in names for file in PACKAGES.glob(f"{name}_*.deb")]
    if len(files) != len(names):
        raise SystemExit(f"{PACKAGES} does not hold the packages: run scripts/package")
    return [f"{folder}/{file.name}" for file in files]
