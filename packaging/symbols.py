"""The symbols of a release: what debuggers need beside the stripped files that users have."""
import shutil
import subprocess

OF_WINDOWS = {"win64/PlexumLink.ocx": "x64", "win32/PlexumLink.ocx": "x86", "win32/plexum.exe": "."}


def make(builds, target):
    for path, folder in OF_WINDOWS.items():
        (target / folder).mkdir(parents=True, exist_ok=True)
        shutil.copy(builds / f"{path}.debug", target / folder)
    (target / "linux").mkdir()
    subprocess.run(["objcopy", "--only-keep-debug", builds / "native/plexum",
                    target / "linux/plexum.debug"], check=True)
