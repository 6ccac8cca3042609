"""Software of others that the shipped files have compiled or linked in. Versions are those of the
build machine."""
import dataclasses
import pathlib
import subprocess


@dataclasses.dataclass(frozen=True)
class Component:
    name: str
    package: str  # Debian's, which has its version and its copyright file
    licence: str  # an SPDX expression

    @property
    def version(self):
        return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", self.package], check=True,
                              capture_output=True, text=True).stdout

    @property
    def source(self):
        return subprocess.run(["dpkg-query", "-W", "-f", "${source:Package}", self.package],
                              check=True, capture_output=True, text=True).stdout

    @property
    def copyright_file(self):
        return pathlib.Path("/usr/share/doc") / self.package / "copyright"


GCC_LICENCE = "GPL-3.0-or-later WITH GCC-exception-3.1"

OF_COMMAND = [
    Component("CLI11", "libcli11-dev", "BSD-3-Clause"),
    Component("nlohmann-json", "nlohmann-json3-dev", "MIT"),
]

OF_WINDOWS = OF_COMMAND + [
    # The compilers of plexum.exe (POSIX threads) and of the control.
    Component("libstdc++", "g++-mingw-w64-x86-64-posix", GCC_LICENCE),
    Component("libgcc", "gcc-mingw-w64-x86-64-posix", GCC_LICENCE),
    Component("libstdc++ of the control", "g++-mingw-w64-x86-64-win32", GCC_LICENCE),
    Component("libgcc of the control", "gcc-mingw-w64-x86-64-win32", GCC_LICENCE),
    Component("mingw-w64 run time", "mingw-w64-x86-64-dev", "ZPL-2.1"),
    Component("winpthreads", "mingw-w64-x86-64-dev", "MIT AND BSD-3-Clause"),
]
