#!/usr/bin/env python3
"""program_test.py PROGRAM [TEST...]: runs the built program as its users do. Without names, all."""

import json
import re
import signal
import socket
import struct
import tempfile

from program import (WINDOWS, Host, Simulator, equal, fails, has, main, run, succeeds,
                     words_of_the_system)


def test_simulator_ends_cleanly_on_signals():
    for number in [signal.SIGINT] if WINDOWS else [signal.SIGINT, signal.SIGTERM]:
        with Simulator() as simulator, Host() as host:
            host.connect(simulator)  # and stays connected
            simulator.process.send_signal(number)
            equal(simulator.end(), (0, "", ""))


def test_addresses_that_cannot_be_listened_on():
    with socket.create_server(("127.0.0.1", 0)) as taken:
        for address, port, said in (("127.0.0.1", str(taken.getsockname()[1]), "in use"),
                                    ("203.0.113.1", "0", "Cannot assign requested address"),
                                    ("name.invalid", "0", "not known")):
            fails(1, ("sim", "--listen", address, "--port", port), address,
                  words_of_the_system(said))


def test_usage_errors():
    for arguments in ([], ["nothing"], ["sim", "--port", "70000"], ["sim", "--port", "x"],
                      ["sim", "--db", "1"], ["sim", "--db", "0:5"], ["sim", "--db"],
                      ["sim", "--fault", "late:50"], ["sim", "--pdu", "63"],
                      ["demo", "more"], ["host", "--pcap"], ["--nothing"]):
        code, out, error = run(*arguments)
        equal((arguments, code, out), (arguments, 2, ""))
        assert error.strip(), arguments
    for arguments in (["--help"], ["--version"], ["sim", "--help"], ["host", "--help"]):
        assert succeeds(*arguments).strip(), arguments


def test_help_shows_faults_that_work():
    shown = re.search(r"for example (\S+) or (\S+)", re.sub(r"\s+", " ", succeeds("sim", "--help")))
    with Simulator("--fault", shown[1], "--fault", shown[2]):
        pass


def test_captures_that_cannot_be_written():
    with tempfile.TemporaryDirectory() as folder:
        for path, said in ((folder + "/missing/capture.pcap", "No such file"),
                           (folder, words_of_the_system("Is a directory"))):
            for command in ("demo", "host"):
                fails(1, (command, "--pcap", path), path, said)


def test_demo_shows_the_telegrams():
    with tempfile.TemporaryDirectory() as folder:
        path = folder + "/capture.pcap"
        out = succeeds("demo", "--pcap", path)
        with open(path, "rb") as file:
            capture = file.read()
    equal(capture[:4], b"\xd4\xc3\xb2\xa1")
    joined = re.sub(r"\n {7}(?=[0-9A-F]{2}\b)", " ", out)
    shown = [bytes.fromhex(digits) for digits in
             re.findall(r"^    [<>]  ([0-9A-F ]+)$", joined, re.MULTILINE)]
    # Connection request and confirm, setup, and the jobs: each a whole telegram, in the capture.
    assert len(shown) > 10, out
    for telegram in shown:
        equal(struct.unpack(">BxH", telegram[:4]), (3, len(telegram)))
        assert telegram in capture
    has(out, "ag_Read(", "ag_ReadB(", "ag_exit()", "3.14")


# A request a member, its result and the boxes it shows. Times and the answer of pg_SZL are looked
# at by their length alone.
DOUBLES = {"lower": 1, "elements": [0, 1, 2]}
EVERY_MEMBER = (
    (("ag_Read", "1", "3", "0", "B", "D"), DOUBLES, []),
    (("ag_ReadB", "1", "5", "40", "C", "D"), "Hello", []),
    (("ag_WriteX", "0", "10", "1", "M", "3"), True, []),
    (("ag_WriteB", "0", "11", "\u00ff", "M"), True, []),
    (("ag_WriteMB", "0", "12", "a\0\u0080", "M"), True, []),
    (("ag_WriteW", "0", "16", "65535", "M"), True, []),
    (("ag_WriteD", "0", "20", "70000", "M"), True, []),
    (("ag_WriteF", "0", "24", "-2", "M"), True, []),
    (("ag_ReadB", "0", "18", "10", "C", "M"),
     "\x08\u00ffa\0\u0080\0\u00ff\u00ff\0\0\0\x01\x11\x70\u00c0\0\0\0", []),
    (("pg_plcstop",), True, []),
    (("pg_plcRunMode",), {"lower": 1, "elements": list("00100000"), "types": ["String"] * 8}, []),
    (("pg_plcstart",), True, []),
    (("pg_plcRunMode",), {"lower": 1, "elements": list("00100010"), "types": ["String"] * 8}, []),
    (("pg_SZL",), 40, ["69"]),
    (("pg_plccompress",), True, []),
    (("pg_Ramtorom",), True, []),
    (("pg_ListBlock", "FC"), {"lower": 1, "elements": [1, 2], "types": ["Double"] * 2}, []),
    (("pg_DelBlock", "FC", "00002"), True, []),
    (("pg_ListBlock", "FC"), {"lower": 1, "elements": [1], "types": ["Double"]}, []),
    (("pg_SetClock", "2026", "11", "22", "23", "59", "00", "00"), None, []),
    (("pg_ReadClock",), 7, []),
    (("wordtobeyt", "258"), "\x01\x02", []),
    (("dwordtobeyt", "16909060"), "\x01\x02\x03\x04", []),
    (("wordtobeytadd", "800"), "\0\x03\x20", []),
    (("flottobeyt", "1E+39"), None, ["Zahl ist gr\u00f6\u00dfer als 8 Bit"]),
    (("beyttoword", "\x01", "\x02"), "2256", []),
    (("xor_str", "\x01\x02\x04"), 7, []),
    (("MsgWait", 1), None, []),
    (("pg_plcErase",), True, []),
    (("ag_exit",), True, []),
)


def test_host_calls_every_member():
    with Simulator() as simulator, Host() as host:
        host.connect(simulator)
        image = host.call("pg_ReadBlock", "FC", "00002")["result"]
        assert image.startswith("pp"), image
        for (name, *arguments), result, boxes in EVERY_MEMBER:
            reply = host.call(name, *arguments)
            assert "error" not in reply, (name, reply)
            found = reply["result"]
            if isinstance(result, int) and isinstance(found, dict):
                found = len(found["elements"])
            if name != "flottobeyt":  # 4 bytes of no meaning
                equal((name, found), (name, result))
            equal((name, reply["message_boxes"]), (name, boxes))
            equal((name, reply["state"]["err"]), (name, 0))
            if name == "pg_DelBlock":
                equal(host.call("pg_WriteBlock", image)["state"]["err"], 0)
                equal(host.call("pg_ReadBlock", "FC", "00002")["result"], image)
                equal(host.call(name, *arguments)["result"], True)
        host.ask(set="CP_IP", value="plc.example")
        equal(host.ask(get="CP_IP")["result"], "plc.example")
        for name in ("TsapE", "TsapF", "Tzeit", "err", "inuse", "s7init", "auftrag_Fehler"):
            assert "result" in host.ask(get=name), name
        equal(host.end(), (0, "", ""))


def test_host_goes_on_after_lines_that_are_no_requests():
    with Host() as host:
        for line in ("", "x", "[1]", '{"call":"nothing"}', '{"call":"ag_exit","args":["x"]}'):
            print(line, file=host.process.stdin, flush=True)
            equal((line, json.loads(host.line())["error"]["number"]), (line, 0))
        equal(host.call("wordtobeyt", "x")["error"], {"number": 13, "text": "Type mismatch"})
        equal(host.call("ag_exit")["result"], True)
        equal(host.end(), (0, "", ""))


main(globals())
