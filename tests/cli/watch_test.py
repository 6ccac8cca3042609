#!/usr/bin/env python3
"""watch_test.py PROGRAM [TEST...]: watch, plot and --trace, as their users see them."""

import csv
import os
import pathlib
import pty
import re
import select
import signal
import subprocess
import tempfile

from program import (PATIENCE, PROGRAM, WINDOWS, Simulator, Started, equal, fails, has, main, run)

TIME = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z"
STATISTICS = r"(\d+) polls, (\d+) failed; round trips: min [\d.]+, median [\d.]+, 99 % [\d.]+, .*\n"


def test_a_line_a_change_and_a_row_a_poll():
    with tempfile.TemporaryDirectory() as folder:
        table = folder + "/values.csv"
        code, out, error = run("watch", "--sim", "mw108", "DB1.DBW16", "DB1.DBB38:STRING",
                               "--count", "12", "--interval", "50", "--csv", table)
        with open(table, newline="", encoding="utf-8") as file:
            header, *rows = csv.reader(file)
    equal(code, 0)
    equal(re.fullmatch(STATISTICS, error).groups(), ("12", "0"))
    lines = [re.fullmatch(f"({TIME}) (\\S+) (.*)", line).groups() for line in out.splitlines()]
    equal(header, ["time", "MW108", "DB1.DBW16", "DB1.DBB38:STRING"])
    equal(len(rows), 12)
    assert all(re.fullmatch(TIME, row[0]) for row in rows), rows
    for column, address in enumerate(header[1:], 1):
        values = [(row[0], address, row[column]) for row in rows]
        changes = values[:1] + [new for old, new in zip(values, values[1:]) if old[2] != new[2]]
        equal([line for line in lines if line[1] == address], changes)
        equal(len(changes) > 1, address == "MW108")


def test_a_bad_variable_spoils_no_other():
    with tempfile.TemporaryDirectory() as folder:
        table = folder + "/values.csv"
        code, out, _ = run("watch", "--sim", "DB99.DBW0", "DB1.DBW16", "--count", "3", "--interval",
                           "10", "--csv", table)
        rows = pathlib.Path(table).read_text(encoding="utf-8").splitlines()
    equal((code, out.count("\n"), len(rows)), (0, 2, 4))
    has(out, "DB99.DBW0 ! no such block or area", "DB1.DBW16 4660")
    equal({row.split(",", 1)[1] for row in rows[1:]}, {",4660"})


def test_an_outage_is_told_and_overcome():
    with Simulator("--program") as simulator:
        with Started("watch", *simulator.within("200"), "MW100", "--interval", "20") as watching:
            assert re.fullmatch(TIME + r" MW100 \d+", watching.line())
            simulator.process.send_signal(signal.SIGTERM)
            equal(simulator.end()[0], 0)
            told = next(line for line in watching.process.stderr if "outage: " in line)
            assert re.match(TIME + " outage: (reading MW100|connecting to [0-9.:]+): ", told), told
            with Started("sim", "--port", simulator.port, "--program") as again:
                has(again.line(), simulator.port)
                next(line for line in watching.process.stderr if " connected again after " in line)
                watching.process.send_signal(signal.SIGINT)
                code, _, error = watching.end()
    polls, failed = re.fullmatch(STATISTICS, error).groups()
    assert code == 0 and 0 < int(failed) < int(polls), (code, error)


def test_a_run_that_ends_in_an_outage_has_failed():
    with Simulator("--fault", "close@3-") as simulator:
        code, out, error = run("watch", *simulator.within("100"), "MB0", "--count", "3",
                               "--interval", "1")
    equal((code, out.count("\n")), (1, 1))
    statistics = re.search(STATISTICS + r"plexum: .*closed", error)
    equal(statistics and statistics.groups(), ("3", "1"))


def test_what_cannot_be_watched():
    for arguments, code, part in (
            (["MB0", "--ip", "127.0.0.1", "--port", "1"], 1, "no TCP connection: the host refuses it"),
            (["PQB0", "--sim"], 2, "PQB0"),
            (["MB0", "--sim", "--csv", "/missing/values.csv"], 1, "No such file"),
            (["MB0", "--sim", "--interval", "0"], 2, "--interval")):
        fails(code, ("watch", *arguments), part)


def seen_on_a_terminal(*arguments, **environment):
    """What a run leaves on a terminal of 40 columns and 8 lines."""
    master, slave = pty.openpty()
    subprocess.run(["stty", "cols", "40", "rows", "8"], stdin=slave, check=True)
    process = subprocess.Popen([PROGRAM, *arguments], stdin=slave, stdout=slave,
                               stderr=subprocess.PIPE,
                               env={**os.environ, "TERM": "xterm", "NO_COLOR": "", **environment})
    os.close(slave)
    seen = b""
    while select.select([master], [], [], PATIENCE)[0]:
        try:
            seen += os.read(master, 65536)
        except OSError:  # the end
            break
    os.close(master)
    equal((process.wait(PATIENCE), process.stderr.read().count(b"\n")), (0, 1))
    return seen.decode()


def test_a_terminal_is_painted_over():
    arguments = ["watch", "--sim", *(f"MB{number}" for number in range(8)), "MW108",
                 "DB1.DBB38:STRING", "--count", "5", "--interval", "150"]
    for environment in ({"NO_COLOR": "1"}, {"TERM": "dumb"}):
        seen = seen_on_a_terminal(*arguments, **environment)
        assert "\x1b" not in seen and " MW108 " in seen, seen
    # Too many for eight lines: the first ones, and how many more there are.
    seen = seen_on_a_terminal(*arguments)
    assert seen.startswith("\x1b[?25l") and seen.endswith("\x1b[?25h"), seen
    paintings = seen.split("\x1b[7A\r")
    equal(len(paintings), 5)
    for painting in paintings:
        assert "MB4" not in painting, painting
        has(painting, "MB3 ", "and 6 more")
        lines = re.sub("\x1b\\[[?0-9]*[a-zA-Z]", "", painting).split("\r\n")
        assert len(lines) == 8 and max(map(len, lines)) < 40, lines
    # A value that changes is shown inverted, the first one and one that stays aren't.
    paintings = seen_on_a_terminal("watch", "--sim", "MW108", "DB1.DBW16", "--count", "4",
                                   "--interval", "150").split("\x1b[4A\r")
    assert "\x1b[7m" not in paintings[0], paintings
    for painting in paintings[1:]:
        equal(re.findall(r"(\S+) +\x1b\[7m\d+\x1b\[0m", painting), ["MW108"])


def test_plots():
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        plot = ["plot", "--sim", "MD104:REAL", "M110.0", "DB1.DBW64[2]", "--duration", "0.5",
                "--interval", "50"]
        equal(run(*plot)[0], 0)
        name = "it's | $(a) 'picture'.svg"  # that nobody interprets
        code, out, error = run(*plot, "--output", name, "--csv", "values.csv")
        equal((code, out), (0, ""))
        has(error, "samples, drawn in " + name)
        equal(sorted(os.listdir()), [name, "plot.png", "values.csv"])
        with open("plot.png", "rb") as file:
            equal(file.read(8), b"\x89PNG\r\n\x1a\n")
        has(pathlib.Path(name).read_text(encoding="utf-8"), "<svg", "MD104:REAL", "M110.0",
            "DB1.DBW64[2] [1]", "127.0.0.1")

        # gnuplot missing, and one that fails, before anything is sampled.
        os.environ["PATH"] = folder
        for script, part in (("", "gnuplot isn't there"),
                             ("#!/bin/sh\nexit 3\n", "gnuplot failed with exit code 3")):
            if script:
                pathlib.Path("gnuplot").write_text(script, encoding="utf-8")
                os.chmod("gnuplot", 0o755)
            fails(1, ("plot", "--sim", "MB0", "--output", "new.png"), part)
        for arguments, code, part in ((["MB0", "--output", "x.gif"], 2, ".png and .svg"),
                                      (["DB1.DBB38:STRING"], 2, "can't be plotted"),
                                      (["MB0", "--output", "missing/x.svg"], 1, "no such folder")):
            fails(code, ("plot", "--sim", *arguments), part)
        equal(sorted(os.listdir()), ["gnuplot", name, "plot.png", "values.csv"])
        os.chdir("/")


def test_trace_is_on_standard_error():
    code, out, error = run("ping", "--sim", "--count", "1", "--trace")
    equal((code, out.count("\n")), (0, 1))
    has(error, "> sent 22 bytes", "connection request", "< received 27 bytes",
        "item 1: P#M 0.0 BYTE 2", "  0000  03 00 00 1F")
    # A telegram that arrives in pieces is shown as one.
    with Simulator("--fault", "pieces=10:20@1") as simulator:
        error = run("ping", *simulator.here, "--count", "1", "--trace")[2]
    has(error, "item 1: success, BYTE/WORD/DWORD, 16 bits: 00 00")
    assert "missing" not in error, error


# The others need a terminal, signals, or gnuplot.
UNDER_WINE = (test_a_line_a_change_and_a_row_a_poll, test_a_run_that_ends_in_an_outage_has_failed,
              test_trace_is_on_standard_error)
main({test.__name__: test for test in UNDER_WINE} if WINDOWS else globals())
