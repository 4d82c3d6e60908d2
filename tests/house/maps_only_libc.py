#!/usr/bin/env python3
"""Checks that a program maps nothing but the C library when it starts.

usage: maps_only_libc.py PROGRAM
"""

import re
import subprocess
import sys

dynamic = subprocess.run(
    ["readelf", "--dynamic", "--wide", sys.argv[1]], capture_output=True, text=True, check=True
).stdout
needed = re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic)
print(f"{sys.argv[1]} needs {' '.join(needed)}")
# The loader maps itself, whether it is named or not.
others = [name for name in needed if not re.match(r"(libc|ld-linux[\w-]*)\.so\.", name)]
sys.exit(bool(others))
