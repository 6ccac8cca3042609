#!/usr/bin/env python3
"""at_dpi.py SCRIPT_WINE PREFIX DPI CONTROL COMMAND...: runs a command in a Wine prefix of its own, in
which the screen has that many pixels to an inch and the control is registered."""
import os
import subprocess
import sys

wine, prefix, dpi, control, *command = sys.argv[1:]
os.environ |= {"PLEXUM_WINEPREFIX": prefix, "PLEXUM_TEST_DPI": dpi}
try:
    for setup in (["reg", "add", r"HKCU\Control Panel\Desktop", "/v", "LogPixels", "/t", "REG_DWORD",
                   "/d", dpi, "/f"],
                  [r"C:\windows\system32\regsvr32.exe", "/s", control]):
        subprocess.run([wine, *setup], check=True, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL)
    subprocess.run([wine, "--stop"], check=True)  # the next session reads the resolution
    done = subprocess.run(command, stdin=subprocess.DEVNULL, check=False)
finally:
    subprocess.run([wine, "--stop"], check=False)
sys.exit(done.returncode)
