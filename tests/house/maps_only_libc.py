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
sys.exit(any(name != "libc.so.6" and not name.startswith("ld-linux") for name in needed))
