"""Running commands."""
import subprocess


def run(*words, **more):
    """What the command prints; it has to end well."""
    done = subprocess.run(
        [str(word) for word in words], capture_output=True, text=True, check=False, **more
    )
    if done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout
