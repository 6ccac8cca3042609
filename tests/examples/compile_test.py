#!/usr/bin/env python3
"""compile_test.py EXAMPLES: compiles the examples for whose languages this system has a compiler,
but no host of the control: C#, Delphi (in Free Pascal's Delphi mode, with stand-ins for the units of
Windows), Python."""
import pathlib
import subprocess
import sys
import tempfile

examples = pathlib.Path(sys.argv[1])
stand_ins = pathlib.Path(__file__).parent

with tempfile.TemporaryDirectory() as folder:
    csharp = ["mcs", "-nologo", "-warnaserror", f"-out:{folder}/example.exe"]
    for command in (
            [*csharp, "-r:Microsoft.CSharp", examples / "csharp/LateBound.cs"],
            [*csharp, examples / "csharp/EarlyBound.cs", examples / "csharp/Plexum.cs"],
            ["fpc", "-Mdelphi", "-Cn", "-v0we", f"-Fu{stand_ins}", f"-FE{folder}",
             examples / "delphi/ReadWrite.dpr"]):
        if subprocess.run(command, check=False).returncode != 0:
            sys.exit(f"FAILED: {command}")
source = examples / "python/read_write.py"
compile(source.read_text(encoding="utf-8"), source, "exec")
print("the examples compile")
