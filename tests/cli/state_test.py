#!/usr/bin/env python3
"""state_test.py PROGRAM [TEST...]: the PLC's state, its clock and its services, as users see them."""

import datetime
import json

from program import Simulator, equal, fails, has, main, one_line, run, run_on_terminal, succeeds


def test_state():
    with Simulator() as plc:
        info = json.loads(succeeds("info", "--json", *plc.here))
        equal((info["mode"], info["lamps"]["RUN"], info["problems"]), ("RUN", "on", []))
        equal(info["blocks"]["DB"], {"count": 10})
        equal(info["blocks"]["SFC"], {"count": 71})
        equal(succeeds("mode", *plc.here), "RUN (bits 0 to 7: 00100010)\n")
        lines = succeeds("szl", *plc.here).splitlines()
        equal(lines[:3], ["list 0119, index 0000: 7 records of 4 bytes", "00 01 00 00  ....",
                          "00 04 01 00  ...."])
        has(lines, "RUN     on", "STOP    off")
        # A list in several parts, and one that the PLC doesn't have.
        found = json.loads(succeeds("szl", "0x001C", "--json", *plc.here))
        equal((found["list"], found["count"], len(found["records"])), ("001C", 10, 10))
        fails(1, ("szl", "0x9999", *plc.here), "no such state list")


def test_a_part_that_the_plc_does_not_tell():
    # The answers of info: mode, lamps, clock, lists.
    with Simulator("--fault", "error=D401@2") as plc:
        code, out, error = run("info", *plc.here)
        equal(code, 1)
        one_line(error, "reading the lamps", "no such state list")
        has(out, "Mode     RUN", "Lamps    not to be had", "DB 10")


def test_clock():
    with Simulator() as plc:
        for given, shown in (("2026-11-23T08:05:00.36", "2026-11-23T08:05:"),
                             ("1999-12-31 23:59", "1999-12-31T23:59:")):
            has(succeeds("clock", *plc.here, "set", given), "set to " + shown)
            has(succeeds("clock", *plc.here), shown)
        succeeds("clock", *plc.here, "set", "now", "--utc")
        clock = json.loads(succeeds("clock", "--json", *plc.here))
        shown = datetime.datetime.fromisoformat(clock["clock"])
        behind = datetime.datetime.now(datetime.timezone.utc).replace(tzinfo=None) - shown
        assert abs(behind) < datetime.timedelta(seconds=30), clock
        equal(clock["weekday"], shown.strftime("%A"))
        for wrong in ("2026-02-30T08:05", "2026-11-23T24:00", "2026-11-23", "tomorrow"):
            fails(2, ("clock", *plc.here, "set", wrong), wrong)


def test_services():
    with Simulator() as plc:
        for command, said in (("start", "nothing to do"), ("stop", "stopped (verified"),
                              ("stop", "nothing to do"), ("start", "started (verified"),
                              ("compress", "done"), ("ram-to-rom", "done"), ("erase", "done")):
            has(succeeds(command, "--yes", *plc.here), said)
        succeeds("stop", "--yes", *plc.here)
        has(succeeds("start", "--cold", "--yes", *plc.here), "started (verified")


def test_refused_services():
    # A refusal that is as long as a good answer.
    full_length = ("--fault", "length=20@2")
    for command, faults, said in (
            (("stop", "--yes", "--wait", "0"), (), "protection level"),
            (("stop", "--yes", "--wait", "0"), full_length, "protection level"),
            (("compress", "--yes"), (), "protection level"),
            (("erase", "--yes"), (), "protection level"),
            (("clock", "set", "2020-01-01T00:00"), (), "setting the clock: ")):
        with Simulator("--protected", *faults) as plc:
            fails(1, (command[0], *plc.here, *command[1:]), said)


def test_confirmations():
    with Simulator() as plc:
        for typed, code in (("n", 3), ("", 3), ("nonsense", 3), ("y", 0)):
            found, _, error = run_on_terminal(typed, "stop", *plc.here)
            equal((typed, found), (typed, code))
            has(error, f"Really stop the CPU of 127.0.0.1:{plc.port}? [y/N]")
            has(succeeds("mode", *plc.here), "STOP" if typed == "y" else "RUN")
        for command in ("start", "erase", "compress", "ram-to-rom"):
            fails(3, (command, *plc.here), "not done", "--yes")


# Wine's terminals are not this system's.
main(globals(), not_under_wine=[test_confirmations])
