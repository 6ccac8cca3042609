#!/usr/bin/env python3
"""examples_test.py SCRIPT_WINE CSCRIPT PLEXUM EXAMPLES CPP_EXAMPLE: runs the examples that Wine can
run against the simulated PLC, and without one, and holds what they print against the folder examples
beside this file. The documents show what stands there."""
import pathlib
import subprocess
import sys

from simulated_plc import simulated_plc

wine, cscript, plexum, examples, cpp_example = sys.argv[1:]
EXPECTED = pathlib.Path(__file__).parent / "examples"


def run(command, port):
    return subprocess.run([wine, *command, "127.0.0.1", port], text=True, cwd=examples,
                          capture_output=True, stdin=subprocess.DEVNULL, check=False)


def demand(command, port, code, expected):
    done = run(command, port)
    if done.returncode == 1 and not done.stdout:
        # Seen once on a busy machine and not since: the script's first call failed under Wine, which
        # tells no more. A control that fails again is at fault.
        print(f"{command} ended without a word: {done.stderr}; once more")
        done = run(command, port)
    lines = [line.rstrip() for line in done.stdout.splitlines()]
    if done.returncode != code or lines != expected.splitlines():
        sys.exit(f"FAILED: {command} ended with {done.returncode} and printed\n{done.stdout}\n"
                 f"{done.stderr}")


def script(path):
    return [cscript, "//nologo", path]


RUNS = {"first.vbs": script("vbscript/first.vbs"), "write.vbs": script("vbscript/write.vbs"),
        "read.vbs": script("vbscript/read.vbs"),
        "read_write.js": script("jscript/read_write.js"), "read_write.exe": [cpp_example]}
assert {path.stem for path in EXPECTED.iterdir()} == set(RUNS)
with simulated_plc(plexum) as plc_port:
    for name, command in RUNS.items():
        demand(command, plc_port, 0, (EXPECTED / f"{name}.txt").read_text())
# Port 1 of this machine refuses.
demand(RUNS["read.vbs"], "1", 1, "no connection to 127.0.0.1, err 1\n")
print("the examples print what they should")
