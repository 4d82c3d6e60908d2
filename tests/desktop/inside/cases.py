"""Running the cases of one file: its functions whose names start with no underscore."""
import importlib.util
import inspect
import sys
import time
import traceback

import journal


def choose(folder, name, patterns):
    """The cases of folder/NAME.py, in its order, those whose names hold one of the patterns if there
    are any: pairs of name and function."""
    spec = importlib.util.spec_from_file_location(name, folder / f"{name}.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    chosen = [(case, function) for case, function in vars(module).items()
              if inspect.isfunction(function) and function.__module__ == name and case[0] != "_"
              and (not patterns or any(pattern in case for pattern in patterns))]
    if not chosen:
        print(f"no case of {name} holds {' or '.join(patterns)}", file=sys.stderr)
    return chosen


def run_all(desktop, chosen, after_each=lambda name: None):
    """Runs them one after the other, each on a desktop with ann's session alone and in front; the exit
    status. What is to be done after each is done before the desktop is cleared."""
    desktop.begin()
    failed = []
    for name, function in chosen:
        start = time.monotonic()
        cursor = journal.cursor()
        try:
            function(desktop)
            print(f"ok     {name} ({time.monotonic() - start:.1f} s)", flush=True)
        except Exception:
            failed.append(name)
            print(f"FAILED {name} ({time.monotonic() - start:.1f} s)")
            traceback.print_exc(file=sys.stdout)
            print(f"There is {desktop.describe()}. Since the case began:")
            print(journal.story(cursor), flush=True)
        after_each(name)
        desktop.clear(is_certain=name not in failed)
    print(f"{len(chosen) - len(failed)} passed, {len(failed)} failed", flush=True)
    return 1 if failed else 0
