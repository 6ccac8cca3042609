"""The simulated PLC as a process beside the one that a test drives."""
import contextlib
import os
import subprocess
import sys


@contextlib.contextmanager
def simulated_plc(program, *options):
    """Runs until the block ends; gives the port."""
    if not os.path.exists(program):
        sys.exit(f"FAILED: {program} isn't built; script/build builds it")
    with subprocess.Popen([program, "sim", "--port", "0", *options], stdout=subprocess.PIPE,
                          text=True) as process:
        try:
            line = process.stdout.readline()
            if not line.startswith("listening on "):
                sys.exit(f"FAILED: the simulated PLC said {line!r}")
            yield line.strip().rsplit(":", 1)[1]
        finally:
            process.terminate()
