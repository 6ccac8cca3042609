#!/usr/bin/env python3
"""blocks_test.py PROGRAM [TEST...]: the PLC's blocks as users list, save and load them."""

import hashlib
import json
import os
import pathlib
import signal
from tempfile import TemporaryDirectory

from program import (Simulator, Started, equal, fails, has, main, one_line, run, run_on_terminal,
                     succeeds)


def data_blocks(count):
    """The simulator's options for that many data blocks."""
    return [part for number in range(1, count + 1) for part in ("--db", f"{number}:4")]


def backed_up(folder, *arguments):
    """The manifest of a complete backup."""
    code, out, _ = run("blocks", "backup", str(folder), *arguments)
    equal((code, out.split(": ")[1][:17]), (0, "a complete backup"))
    return json.loads((folder / "manifest.json").read_text())


def test_lists():
    every = " ".join(str(number) for number in range(1, 151))
    # In one part or in several.
    for pdu, jobs in (("240", "1"), ("240", "8"), ("480", "3"), ("960", "8")):
        with Simulator("--pdu", pdu, "--jobs", jobs, *data_blocks(150)) as plc:
            has(succeeds("blocks", "list", *plc.here), "OB (1): 1\n", f"DB (150): {every}\n",
                "SFC (71): ")
    with Simulator() as plc:
        found = json.loads(succeeds("blocks", "list", "fc", "--json", *plc.here))
        equal(found, {"FC": {"numbers": [1, 2]}})
        fails(2, ("blocks", "list", "XB", *plc.here), '"XB" is no block type')


def test_single_blocks():
    with Simulator() as plc, TemporaryDirectory() as name:
        path = pathlib.Path(name, "fc2.mc7")
        upload = ("blocks", "upload", "FC", "2", str(path), *plc.here)
        delete = ("blocks", "delete", "FC", "2", "--yes", *plc.here)
        download = ("blocks", "download", str(path), "--yes", *plc.here)
        has(succeeds(*upload), "FC2: 76 bytes, code of 2026-01-05T08:00:00.000")
        image = path.read_bytes()
        equal(succeeds(*delete), "FC2: deleted\n")
        fails(1, delete, "no such block")
        fails(1, upload, "no such block")
        fails(2, ("blocks", "upload", "SFC", "20", str(path), *plc.here), "part of the CPU")
        equal(path.read_bytes(), image)
        equal(succeeds(*download), "FC2: downloaded (verified by uploading it again)\n")
        for damaged, said in ((image[:-1], "tells of 76 bytes"), (b"text", "no block image"),
                              (image[:5] + b"\x99" + image[6:], "names no type")):
            path.write_bytes(damaged)
            fails(1, download, said)


def test_uploads_in_pieces():
    with Simulator("--fault", "pieces=100:60@2") as plc, TemporaryDirectory() as name:
        path = os.path.join(name, "db1.mc7")
        succeeds("blocks", "upload", "DB", "1", path, *plc.here)
        equal(os.path.getsize(path), 36 + 1024 + 36)


def test_refused_services():
    with Simulator() as open_plc, TemporaryDirectory() as name:
        path, folder = os.path.join(name, "fc1.mc7"), os.path.join(name, "backup")
        succeeds("blocks", "upload", "FC", "1", path, *open_plc.here)
        for arguments, faults, said in (
                (("download", path, "--yes"), (), "protection level"),
                (("delete", "FC", "1", "--yes"), (), "protection level"),
                # A refusal that is as long as a good answer.
                (("delete", "FC", "1", "--yes"), ("--fault", "length=20@2"), "protection level"),
                (("backup", folder), (), "lacks blocks")):
            with Simulator("--protected", *faults) as plc:
                code, out, error = run("blocks", *arguments, *plc.within("50"))
                equal((arguments, code, out), (arguments, 1, ""))
                has(error, said)
        manifest = json.loads(pathlib.Path(folder, "manifest.json").read_text())
        equal((manifest["complete"], len(manifest["doubts"]), manifest["blocks"]), (False, 19, []))


def test_backup_and_restore():
    with Simulator() as plc, TemporaryDirectory() as name:
        first, second = pathlib.Path(name, "first"), pathlib.Path(name, "second")
        second.mkdir()
        manifest = backed_up(first, *plc.here)
        equal((manifest["complete"], manifest["doubts"], len(manifest["blocks"])), (True, [], 19))
        equal([entry["type"] for entry in manifest["left_out"]], ["SFB", "SFC"])
        for entry in manifest["blocks"]:
            image = (first / entry["file"]).read_bytes()
            equal((len(image), hashlib.sha256(image).hexdigest()),
                  (entry["size"], entry["sha256"]))
        succeeds("erase", "--yes", *plc.here)
        code, out, error = run("blocks", "restore", str(first), "--yes", *plc.here)
        equal((code, out), (0, "19 blocks restored (verified by uploading them again)\n"))
        equal(error.splitlines()[0], "restore 1/19 SDB0")
        equal(backed_up(second, *plc.here)["blocks"], manifest["blocks"])
        fails(2, ("blocks", "backup", str(first), *plc.here), "first exists")
        equal(sorted(os.listdir(name)), ["first", "second"])


def test_backups_that_lack_blocks():
    with (Simulator(*data_blocks(70), "--fault", "error=D241@40") as plc,
          TemporaryDirectory() as name):
        folder = pathlib.Path(name, "cut")
        code, out, error = run("blocks", "backup", str(folder), *plc.here)
        equal((code, out), (1, ""))
        has(error.splitlines()[-1], "lacks blocks", "uploading DB", "protection level")
        manifest = json.loads((folder / "manifest.json").read_text())
        equal((manifest["complete"], len(manifest["doubts"]), len(manifest["blocks"])),
              (False, 1, 78))
        code, _, error = run_on_terminal("n", "blocks", "restore", str(folder), *plc.here)
        equal(code, 3)
        has(error, "which lacks blocks")


def interrupted_by(number, plc, folder):
    """What a backup that a signal ends in its midst has left to say."""
    with Started("blocks", "backup", str(folder), *plc.here) as backup:
        next(line for line in backup.process.stderr if " 3/" in line)
        backup.process.send_signal(number)
        code, out, error = backup.end()
    equal((code != 0, out), (True, ""))
    return error


def test_interrupted_backups():
    with TemporaryDirectory() as name:
        folder = pathlib.Path(name, "backup")
        with Simulator("--fault", "late=30") as plc:
            interrupted_by(signal.SIGKILL, plc, folder)
            error = interrupted_by(signal.SIGINT, plc, folder)
            one_line(error.splitlines(keepends=True)[-1], "interrupted", "backup.partial2")
        with Simulator("--fault", "reset@20-") as plc:
            code, out, error = run("blocks", "backup", str(folder), *plc.here)
            equal((code, out), (1, ""))
            one_line(error.splitlines(keepends=True)[-1], "uploading", "backup.partial3")
        with Simulator("--fault", "silence") as plc:
            equal(run("blocks", "backup", str(folder), *plc.within("20"))[0], 1)
        partial = [f"backup.partial{number}" for number in (1, 2, 3)]
        equal(sorted(os.listdir(name)), partial)
        with Simulator() as plc:
            for left in partial:
                fails(1, ("blocks", "restore", f"{name}/{left}", "--yes", *plc.here),
                      "is no whole backup", "manifest.json")
            backed_up(folder, *plc.here)


def test_tampered_backups():
    with Simulator() as plc, TemporaryDirectory() as name:
        folder = pathlib.Path(name, "backup")
        backed_up(folder, *plc.here)
        kept = {path.name: path.read_bytes() for path in folder.iterdir()}
        fc1, manifest = kept["FC1.mc7"], kept["manifest.json"]
        for path, content, said in (  # None: the file is missing
                ("FC1.mc7", None, "FC1.mc7: No such file"),
                ("FC1.mc7", fc1[:-1] + b"x", "FC1.mc7 has changed"),
                ("FC1.mc7", fc1[:-1], "FC1.mc7 has changed"),
                ("notes.txt", b"", "doesn't know notes.txt"),
                ("manifest.json", None, "No such file"),
                ("manifest.json", manifest[:-20], "damaged"),
                ("manifest.json", b"{}", "damaged"),
                ("manifest.json", manifest.replace(b'"number": 1,', b'"number": 2,'),
                 "is not in the file"),
                ("manifest.json", manifest.replace(b'"FC1.mc7"', b'"../FC1.mc7"'),
                 "is not in the file")):
            for file in folder.iterdir():
                file.unlink()
            for file, whole in {**kept, path: content}.items():
                if whole is not None:
                    (folder / file).write_bytes(whole)
            # Nothing is sent: there is nobody to send it to.
            fails(1, ("blocks", "restore", str(folder), "--yes", "--ip", "127.0.0.1", "--port", "1"),
                  "is no whole backup", said)


def test_confirmations():
    with Simulator() as plc, TemporaryDirectory() as name:
        path, folder = os.path.join(name, "fc1.mc7"), os.path.join(name, "backup")
        succeeds("blocks", "upload", "FC", "1", path, *plc.here)
        backed_up(pathlib.Path(folder), *plc.here)
        for command in (("delete", "FC", "1"), ("download", path), ("restore", folder)):
            arguments = ("blocks", *command, *plc.here)
            fails(3, arguments, "--yes")
            for answer, code in (("n", 3), ("y", 0)):
                equal((command, run_on_terminal(answer, *arguments)[0]), (command, code))


# Wine's terminals are not this system's, nor are its signals.
main(globals(), not_under_wine=[test_backups_that_lack_blocks, test_interrupted_backups,
                                test_confirmations])
