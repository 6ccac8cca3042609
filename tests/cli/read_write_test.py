#!/usr/bin/env python3
"""read_write_test.py PROGRAM [TEST...]: `plexum read` and `plexum write`. Without names, all."""

import contextlib
import json
import socket

from program import (Simulator, equal, fails, has, main, one_line, run, run_on_terminal, succeeds)


def test_read_in_every_form():
    addresses = ("DB1.DBW16", "DB1.DBW64[3]:INT", "DB1.DBB38:STRING", "T5")
    for form, expected in (
            ((), "DB1.DBW16         4660\nDB1.DBW64[3]:INT  0 100 200\n"
                 "DB1.DBB38:STRING  Hello from the PLC\nT5                S5T#50S\n"),
            (("--value",), "4660\n0 100 200\nHello from the PLC\nS5T#50S\n")):
        equal(succeeds("read", "--sim", *form, *addresses), expected)
    found = json.loads(succeeds("read", "--sim", "--json", *addresses))
    values = [(item["address"], item["type"], item["value"]) for item in found]
    equal(values, list(zip(addresses, ("WORD", "INT", "STRING", "S5TIME"),
                           (4660, [0, 100, 200], "Hello from the PLC", 50000))))
    equal(found[1]["raw"], "0000006400C8")
    equal(succeeds("read", "--sim", "--hex", "DB1.DBB38[18]", "MB9").splitlines(), [
        "DB1.DBB38[18]     38  18 12 48 65 6C 6C 6F 20 66 72 6F 6D 20 74 68 65  ..Hello from the",
        " " * 18 + "54  20 50" + " " * 45 + "P",
        "MB9" + " " * 16 + "9  00" + " " * 47 + "."])


def test_an_array_longer_than_the_pdu():
    for pdu, jobs in (("64", "3"), ("240", "1"), ("240", "8"), ("480", "3"), ("960", "8")):
        with Simulator("--pdu", pdu, "--jobs", jobs, "--db", "2:65534") as simulator:
            numbers = [str(number) for number in range(-500, 500)]
            for place in ("DB2.DBW3000[1000]:INT", "DB2.DBW63534[1000]:INT"):
                for command, extra in (("write", [",".join(numbers)]), ("read", [])):
                    equal(succeeds(command, *simulator.here, place, *extra),
                          f"{place}  {' '.join(numbers)}\n")


def test_what_is_written_is_read():
    # Address, values as arguments of write, value as it is shown.
    pairs = (("DB2.DBW0:INT", ["-5"], "-5"), ("DB2.DBD4:REAL", ["-2.5"], "-2.5"),
             ("M5.1", ["true"], "1"), ("M6.6[4]", ["1,0,1,1"], "1 0 1 1"),
             ("MW20[3]:INT", ["[1,-2,3]"], "1 -2 3"), ("MB30[2]", ["1", "0x1F"], "1 31"),
             ("DB1.DBB38:STRING", ["read"], "read"), ("MB40[4]:CHAR", ["a,\u00fc"], "a,\u00fc "),
             ("DB1.DBB40[2]:CHAR", ["[]"], "[]"))
    with Simulator() as simulator:
        arguments = [text for address, values, _ in pairs for text in (address, *values)]
        equal(succeeds("write", *simulator.here, "--verify", *arguments),
              "".join(f"{address}  {value}  verified\n" for address, _, value in pairs))
        lines = succeeds("read", *simulator.here, "--value", *[pair[0] for pair in pairs[:6]],
                         "MB5", "MB6", "DB1.DBB38").splitlines()
        equal(lines[:6], [pair[2] for pair in pairs[:6]])
        equal(lines[6:], ["2", "64", "24"])  # no bit beside them; the string's room is kept
        for text in ("-x", "--verbose", "-hello", "", "ping"):
            equal(succeeds("write", *simulator.here, "DB1.DBB38:STRING", text),
                  f"DB1.DBB38:STRING  {text}\n")


def test_what_can_not_be_done_writes_nothing():
    for arguments, code, *parts in (  # parts of what is said
            (("read", "MW"), 2, "DB10.DBW4"), (("read", "PQB0"), 2, "only be written"),
            (("read", "DB1.DBB65500[37]"), 2, "out of range"),
            (("read", "--json", "--hex", "MW0"), 2, "excludes"),
            (("write", "--yess", "MW0", "1"), 2, "no address"), (("write",), 2, "MW20 5"),
            (("write", "MW0"), 2, "value is missing"), (("write", "MW0", "70000"), 2, "0 to 65535"),
            (("write", "MW0", "1", "2"), 2, '"2" is no address'),
            (("write", "MW0[3]", "1", "2"), 2, "needs 3 values, not 2"),
            (("write", "MW0[3]", "[1,2"), 2, "JSON"),
            (("write", "T5", "1"), 2, "can only be read"), (("write", "PIW0", "1"), 2, "PQ"),
            (("write", "--yes", "--verify", "PQW0", "1"), 2, "only be written"),
            (("write", "M0.0", "1", "AW2", "1"), 3, "AW2", "--yes"),
            (("write", "DB1.DBB38:STRING", "x" * 25), 2, "STRING[24]")):
        fails(code, (*arguments, "--sim"), *parts)
    with Simulator() as simulator:  # all strings are looked at before the first write
        equal(run("write", *simulator.here, "MW0", "7", "MB10:STRING", "x")[0], 2)
        equal(succeeds("read", *simulator.here, "--value", "MW0"), "0\n")


def test_outputs_ask_on_a_terminal():
    for answer, code, value in (("n", 3, "0"), ("y", 0, "5")):
        with Simulator() as simulator:
            found, _, error = run_on_terminal(answer, "write", *simulator.here, "QB0", "5")
            equal(found, code)
            has(error, "QB0 of 127.0.0.1")
            equal(succeeds("read", *simulator.here, "--value", "AB0"), value + "\n")


def test_a_failing_address_hides_no_other():
    code, out, error = run("read", "--sim", "--json", "DB1.DBW16", "DB1.DBW2000", "DB99.DBW0", "C3")
    equal(code, 1)
    found = json.loads(out)
    equal([item.get("value") for item in found], [4660, None, None, 33])
    lines = error.splitlines()
    equal(lines, ["plexum: " + found[1]["error"], "plexum: " + found[2]["error"],
                  "plexum: 2 of 4 addresses could not be read"])
    has(lines[0], "address out of range")
    has(lines[1], "no such block")


def test_a_plc_that_refuses_or_is_gone():
    with Simulator("--protected") as simulator:
        fails(1, ("write", *simulator.here, "MW0", "1", "MW2", "2"),
              "writing MW0: access denied", "PUT/GET", "the 1 behind it: not written")
    with Simulator("--fault", "close@1") as simulator:
        fails(1, ("read", *simulator.here, "--json", "MW0", "MW2"), "reading 2 variables",
              "connection was closed")
    with Simulator("--db", "2:1024", "--fault", "close@2") as simulator:
        fails(1, ("write", *simulator.here, "DB2.DBB0[1000]", ",".join(["7"] * 1000)),
              "connection was closed", "; written: bytes 0 to ", " of 1000")


def test_why_there_is_no_connection():
    with socket.create_server(("127.0.0.1", 0), backlog=0) as busy, contextlib.ExitStack() as stack:
        port = busy.getsockname()[1]
        for _ in range(4):  # nobody accepts them, so the next request stays without an answer
            waiting = stack.enter_context(socket.socket())
            waiting.setblocking(False)
            waiting.connect_ex(("127.0.0.1", port))
        for ip, at, time_out, why, advice in (
                ("127.0.0.1", 1, "20s", "the host refuses it", "port 102"),
                ("255.255.255.255", 1, "20s", "the host is out of reach", "the network"),
                ("127.0.0.1", port, "200ms", "no answer in time", "--timeout"),
                ("no-host.invalid", 1, "20s", "no host has this name", "check the name")):
            fails(1, ("read", "--ip", ip, "--port", str(at), "--timeout", time_out, "MW0"),
                  f"connecting to {ip}:{at}: no TCP connection: {why}; ", advice)


# Wine's terminals are not this system's.
main(globals(), not_under_wine=[test_outputs_ask_on_a_terminal])
