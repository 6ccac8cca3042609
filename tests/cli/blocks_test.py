#!/usr/bin/env python3
"""blocks_test.py PROGRAM [TEST...]: the PLC's blocks as users list, save and load them."""

import hashlib
import json
import os
import pathlib
import signal
import subprocess
import tempfile

from program import PATIENCE, PROGRAM, Simulator, equal, main, one_line, run, run_on_terminal


def blocks(command, *arguments):
    return run("blocks", command, *arguments)


def backed_up(folder, *arguments):
    code, out, error = blocks("backup", str(folder), *arguments)
    equal((code, out.split(": ")[1][:17]), (0, "a complete backup"))
    return json.loads((folder / "manifest.json").read_text())


def test_lists():
    many = [part for number in range(1, 53) for part in ("--db", f"{number}:4")]
    with Simulator(*many) as plc:
        code, out, error = blocks("list", *plc.here)
        equal((code, error), (0, ""))
        assert "OB (1): 1\n" in out and "DB (52, may be incomplete): 1 2" in out, out
        found = json.loads(blocks("list", "fc", "--json", *plc.here)[1])
        equal(found, {"FC": {"numbers": [1, 2], "may_be_incomplete": False}})
        # With a larger PDU, 52 entries may still be all that a PLC with the usual one gave.
        found = json.loads(blocks("list", "DB", "--json", "--pdu", "480", *plc.here)[1])
        equal(found["DB"]["may_be_incomplete"], True)
        code, out, error = blocks("list", "XB", *plc.here)
        equal((code, out), (2, ""))
        one_line(error, '"XB" is no block type')


def test_single_blocks():
    with Simulator() as plc, tempfile.TemporaryDirectory() as name:
        path = os.path.join(name, "fc2.mc7")
        code, out, error = blocks("upload", "FC", "2", path, *plc.here)
        equal((code, error), (0, ""))
        assert out.startswith("FC2: 76 bytes, code of 2026-01-05T08:00:00.000"), out
        image = pathlib.Path(path).read_bytes()
        code, out, error = blocks("delete", "FC", "2", "--yes", *plc.here)
        equal((code, out), (0, "FC2: deleted (verified: the PLC doesn't have it any more)\n"))
        for arguments, said in ((("delete", "FC", "2", "--yes"), "no such block"),
                                (("upload", "FC", "2", path), "no such block"),
                                (("upload", "SFC", "20", path), "part of the CPU")):
            code, out, error = blocks(*arguments, *plc.here)
            equal((arguments, code in (1, 2), out), (arguments, True, ""))
            one_line(error, said)
        equal(pathlib.Path(path).read_bytes(), image)
        code, out, error = blocks("download", path, "--yes", *plc.here)
        equal((code, out), (0, "FC2: downloaded (verified by uploading it again)\n"))
        for damage, said in ((image[:-1], "tells of 76 bytes"), (b"text", "no block image"),
                             (image[:5] + b"\x99" + image[6:], "names no type")):
            pathlib.Path(path).write_bytes(damage)
            code, out, error = blocks("download", path, "--yes", *plc.here)
            equal((said, code, out), (said, 1, ""))
            one_line(error, said)


def test_uploads_in_pieces_are_asked_for_again():
    with Simulator("--fault", "pieces=100:60@2") as plc, tempfile.TemporaryDirectory() as name:
        path = os.path.join(name, "db1.mc7")
        equal(blocks("upload", "DB", "1", path, *plc.here)[0], 0)
        equal(os.path.getsize(path), 36 + 1024 + 36)


def test_refused_services():
    with Simulator() as open_plc, tempfile.TemporaryDirectory() as name:
        path = os.path.join(name, "fc1.mc7")
        equal(blocks("upload", "FC", "1", path, *open_plc.here)[0], 0)
        for arguments, faults, said in (
                (("download", path), (), "protection level"),
                (("delete", "FC", "1"), (), "protection level"),
                # A refusal of full length is a good answer to the control.
                (("delete", "FC", "1"), ("--fault", "length=20@2"), "it has refused"),
                (("backup", name + "/backup"), (), "may lack blocks")):
            yes = () if arguments[0] == "backup" else ("--yes",)
            with Simulator("--protected", *faults) as plc:
                code, out, error = blocks(*arguments, *yes, *plc.here[:-1], "50")
                equal((arguments, code, out), (arguments, 1, ""))
                assert said in error, error
        manifest = json.loads(pathlib.Path(name, "backup", "manifest.json").read_text())
        equal((manifest["complete"], len(manifest["doubts"]), manifest["blocks"]), (False, 19, []))


def test_backup_and_restore():
    with Simulator() as plc, tempfile.TemporaryDirectory() as name:
        first, second = pathlib.Path(name, "first"), pathlib.Path(name, "second")
        second.mkdir()
        manifest = backed_up(first, *plc.here)
        equal((manifest["complete"], manifest["doubts"], len(manifest["blocks"])), (True, [], 19))
        equal([entry["type"] for entry in manifest["left_out"]], ["SFB", "SFC"])
        for entry in manifest["blocks"]:
            image = (first / entry["file"]).read_bytes()
            equal((len(image), hashlib.sha256(image).hexdigest()),
                  (entry["size"], entry["sha256"]))
        equal(run("erase", "--yes", *plc.here)[0], 0)
        code, out, error = blocks("restore", str(first), "--yes", *plc.here)
        equal((code, out), (0, "19 blocks restored (verified by uploading them again)\n"))
        assert error.splitlines()[0] == "restore 1/19 SDB0", error
        equal(backed_up(second, *plc.here)["blocks"], manifest["blocks"])
        code, out, error = blocks("backup", str(first), *plc.here)
        equal((code, out), (2, ""))
        one_line(error, "first exists")
        equal(sorted(os.listdir(name)), ["first", "second"])


def test_backups_that_may_lack_blocks():
    many = [part for number in range(1, 54) for part in ("--db", f"{number}:4")]
    with Simulator(*many) as plc, tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name, "cut")
        code, out, error = blocks("backup", str(folder), *plc.here)
        equal((code, out), (1, ""))
        one_line(error.splitlines(keepends=True)[-1], "may lack blocks", "list of DBs", "52 entries")
        equal(json.loads((folder / "manifest.json").read_text())["complete"], False)
        code, out, error = run_on_terminal("n", "blocks", "restore", str(folder), *plc.here)
        equal(code, 3)
        assert "which may lack blocks" in error, error


def interrupted_by(number, plc, folder):
    """The folders left by a backup that a signal ends."""
    backup = subprocess.Popen([PROGRAM, "blocks", "backup", str(folder), *plc.here],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    for line in backup.stderr:
        if " 3/" in line:
            break
    backup.send_signal(number)
    out, error = backup.communicate(timeout=PATIENCE)
    equal((backup.returncode != 0, out), (True, ""))
    return error


def test_interrupted_backups():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name, "backup")
        with Simulator("--fault", "late=30") as plc:
            interrupted_by(signal.SIGKILL, plc, folder)
            error = interrupted_by(signal.SIGINT, plc, folder)
            one_line(error.splitlines(keepends=True)[-1], "interrupted", "backup.partial2")
        with Simulator("--fault", "reset@20-") as plc:
            code, out, error = blocks("backup", str(folder), *plc.here)
            equal((code, out), (1, ""))
            one_line(error.splitlines(keepends=True)[-1], "uploading", "backup.partial3")
        with Simulator("--fault", "silence") as plc:
            equal(blocks("backup", str(folder), *plc.here[:-1], "20")[0], 1)
        partial = [f"backup.partial{number}" for number in (1, 2, 3)]
        equal(sorted(os.listdir(name)), partial)
        with Simulator() as plc:
            for left in partial:
                code, out, error = blocks("restore", f"{name}/{left}", "--yes", *plc.here)
                equal((code, out), (1, ""))
                one_line(error, "is no whole backup", "manifest.json")
            backed_up(folder, *plc.here)


def test_tampered_backups():
    with Simulator() as plc, tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name, "backup")
        backed_up(folder, *plc.here)
        manifest = folder / "manifest.json"
        kept = {path: path.read_bytes() for path in folder.iterdir()}
        fc1 = kept[folder / "FC1.mc7"]
        for path, content, said in (
                ("FC1.mc7", None, "FC1.mc7: No such file"),
                ("FC1.mc7", fc1[:-1] + b"x", "FC1.mc7 has changed"),
                ("FC1.mc7", fc1[:-1], "FC1.mc7 has changed"),
                ("notes.txt", b"", "doesn't know notes.txt"),
                ("manifest.json", None, "No such file"),
                ("manifest.json", kept[manifest][:-20], "damaged"),
                ("manifest.json", b"{}", "damaged"),
                ("manifest.json", kept[manifest].replace(b'"number": 1,', b'"number": 2,'),
                 "is not in the file"),
                ("manifest.json", kept[manifest].replace(b'"FC1.mc7"', b'"../FC1.mc7"'),
                 "is not in the file")):
            if content is None:
                (folder / path).unlink()
            else:
                (folder / path).write_bytes(content)
            # Nothing is sent: there is nobody to send it to.
            code, out, error = blocks("restore", str(folder), "--yes", "--ip", "127.0.0.1",
                                      "--port", "1")
            equal((said, code, out), (said, 1, ""))
            one_line(error, "is no whole backup", said)
            (folder / "notes.txt").unlink(missing_ok=True)
            for path, content in kept.items():
                path.write_bytes(content)


def test_confirmations():
    with Simulator() as plc, tempfile.TemporaryDirectory() as name:
        path = os.path.join(name, "fc1.mc7")
        folder = pathlib.Path(name, "backup")
        equal(blocks("upload", "FC", "1", path, *plc.here)[0], 0)
        backed_up(folder, *plc.here)
        for arguments in (("delete", "FC", "1"), ("download", path), ("restore", str(folder))):
            code, out, error = blocks(*arguments, *plc.here)
            equal((arguments, code, out), (arguments, 3, ""))
            one_line(error, "--yes")
            equal(run_on_terminal("n", "blocks", *arguments, *plc.here)[0], 3)
            equal(run_on_terminal("y", "blocks", *arguments, *plc.here)[0], 0)


# Wine's terminals are not this system's, nor are its signals.
main(globals(), not_under_wine=[test_backups_that_may_lack_blocks, test_interrupted_backups,
                                test_confirmations])
