#!/usr/bin/env python3
"""examples_test.py SCRIPT_WINE CSCRIPT PLEXUM EXAMPLES: runs the VBScript examples against the
simulated PLC, and without one, and holds what they print."""
import subprocess
import sys

from simulated_plc import simulated_plc

wine, cscript, plexum, examples = sys.argv[1:]

WRITTEN = """\
word 4660 at byte 0        : written
double word 70000 at byte 4: written
bit 3 of byte 2            : written
byte in a missing block    : refused, err 10
disconnected
"""
READ = """\
connected to 127.0.0.1
8 bytes raw : 12 34 08 00 00 01 11 70
4 bytes     : 18 52 8 0
2 words     : 4660 2048
16 bits     : 01001000 00101100
disconnected
"""


def demand(script, port, code, expected):
    done = subprocess.run([wine, cscript, "//nologo", script, "127.0.0.1", port], text=True,
                          cwd=examples, capture_output=True, stdin=subprocess.DEVNULL,
                          check=False)
    lines = [line.rstrip() for line in done.stdout.splitlines()]
    if done.returncode != code or lines != expected.splitlines():
        sys.exit(f"FAILED: {script} ended with {done.returncode} and printed\n{done.stdout}")


with simulated_plc(plexum) as plc_port:
    demand("write.vbs", plc_port, 0, WRITTEN)
    demand("read.vbs", plc_port, 0, READ)
# Port 1 of this machine refuses.
demand("read.vbs", "1", 1, "no connection to 127.0.0.1, err 1\n")
print("the examples print what they should")
