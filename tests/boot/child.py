"""Programs that end with the one that started them."""
import ctypes
import signal
import subprocess


def die_with_parent():
    """To be run in the child before the program: its parent's death terminates it."""
    pr_set_pdeathsig = 1
    ctypes.CDLL(None).prctl(pr_set_pdeathsig, signal.SIGTERM)


def stop(child, seconds):
    """Has it end in order, and by force when that takes longer."""
    child.terminate()
    try:
        child.wait(seconds)
    except subprocess.TimeoutExpired:
        child.kill()
        child.wait()
