#!/usr/bin/env python3
"""parity_test.py SCRIPT_WINE PARITY_HOST PLEXUM: runs one table of calls through the ActiveX
control and through `plexum host`, each against a simulated PLC of its own, and demands the same
results, types, write-backs, state and error numbers."""
import json
import subprocess
import sys

from simulated_plc import simulated_plc

wine, parity_host, plexum = sys.argv[1:]

PORT = object()  # stands for the port of the simulated PLC
LONG_TIME = ("set", "Tzeit", "3000")
SHORT_TIME = ("set", "Tzeit", "100")  # for what the PLC won't answer
INI = ("call", "ag_ini", "127.0.0.1", PORT, "1.0", "3.2")

CONVERSIONS = [("call", member, value)
               for member in ("wordtobeyt", "dwordtobeyt", "wordtobeytadd", "flottobeyt")
               for value in ("0", "1", "258", "300.6", "32767", "40000", "65535", "65536", "70000",
                             "131071.6", "16909060", "4294967295", "-1", "-2", "0.1", "3.14", "1E3",
                             "", "x", "1 2")]

TABLE = [
    *CONVERSIONS,
    ("call", "beyttoword", "\x00", "\x05"), ("call", "beyttoword", "\x80", "\x9f"),
    ("call", "beyttoword", "", "\x01"),
    ("call", "xor_str", "\x01\x02\x83"), ("call", "xor_str", ""),
    ("get", "CP_IP"), ("get", "TsapE"), ("get", "TsapF"), ("get", "Tzeit"),
    LONG_TIME, ("get", "Tzeit"), ("set", "CP_IP", "127.0.0.1"),
    INI,
    ("call", "ag_WriteW", "10", "0", "4660", "D"), ("call", "ag_WriteD", "10", "2", "70000", "D"),
    ("call", "ag_WriteF", "10", "6", "-3.14", "D"), ("call", "ag_WriteX", "10", "10", "1", "D", "7"),
    ("call", "ag_WriteB", "10", "11", "\x9f", "D"),
    ("call", "ag_WriteMB", "10", "12", "".join(map(chr, range(256))), "D"),
    SHORT_TIME, ("call", "ag_WriteMB", "10", "0", "\x00\x80", "x"), ("set", "err", "0"), LONG_TIME,
    ("call", "ag_WriteB", "99", "0", "\x01", "D"), ("get", "err"), ("set", "err", "0"),
    INI,
    *[("call", "ag_Read", "10", "12", "0", form, "D") for form in "BWIDFXCb"],
    *[("call", "ag_ReadB", "10", "12", "0", form, "D") for form in "BXCx"],
    ("call", "ag_ReadB", "10", "4", "0", "W", "D"), ("call", "ag_ReadB", "10", "4", "10", "W", "D"),
    INI,
    ("call", "ag_ReadB", "10", "200", "12", "C", "D"),
    ("call", "ag_Read", "10", "4", "4096", "B", "D"),
    INI,
    ("call", "ag_Read", "x", "4", "0", "B", "D"),
    INI,
    ("call", "pg_plcRunMode"), ("call", "pg_plcstop"), ("call", "pg_plcRunMode"),
    ("call", "pg_plcstart"), ("call", "pg_plccompress"), ("call", "pg_Ramtorom"),
    ("call", "pg_ListBlock", "DB"), ("call", "pg_ListBlock", "OB"), 
    SHORT_TIME, ("call", "pg_ListBlock", "db"), LONG_TIME, ("set", "err", "0"), INI,
    ("call", "pg_ReadBlock", "OB", "00001"),
    ("call", "pg_DelBlock", "DB", "00010"), ("call", "pg_ListBlock", "DB"),
    ("call", "pg_SetClock", "2026", "11", "22", "12", "30", "00", "000"),
    ("call", "ag_exit"),
    ("call", "ag_Read", "10", "4", "0", "B", "D"),  # fails once with err 4
    ("get", "err"), ("set", "inuse", "True"), ("get", "inuse"), ("set", "auftrag_Fehler", "-5"),
    ("get", "auftrag_Fehler"), ("set", "err", "-1"), ("set", "Tzeit", "x"),
]

NUMBERS = {"Tzeit": "Long", "err": "Long", "auftrag_Fehler": "Integer"}


def hex_of(text):
    return "x" + "".join(f"{ord(character):02x}" for character in text)


def run(command, lines, name):
    done = subprocess.run(command, input="".join(line + "\n" for line in lines), text=True,
                          capture_output=True, timeout=100, check=False)
    answers = done.stdout.replace("\r", "").rstrip("\n").split("\n")
    if done.returncode != 0 or len(answers) != len(lines):
        sys.exit(f"FAILED: {name} gave {len(answers)} answers to {len(lines)} lines and ended with "
                 f"{done.returncode}: {done.stderr}")
    return answers


def answers_of_control(rows):
    lines = [" ".join([row[0], row[1], *map(hex_of, row[2:])]) for row in rows]
    return run([wine, parity_host], lines, "the control")


def request(row):
    kind, member, *arguments = row
    if kind == "call":
        return {"call": member, "args": arguments}
    if kind == "get":
        return {"get": member}
    value = arguments[0]
    if value == "True":
        value = True
    elif member in NUMBERS and value.lstrip("-").isdigit():
        value = int(value)
    return {"set": member, "value": value}


def shown(value, kind):
    if kind == "Empty":
        return "Empty"
    if kind == "Boolean":
        return f"Boolean:{int(value)}"
    if kind in ("Integer", "Long"):
        return f"{kind}:{value}"
    if kind == "Double":
        return f"Double:{float(value):.17g}"
    if kind == "String":
        return "String:" + hex_of(value)
    elements = value["elements"]
    if kind == "Double()":
        parts = [f"{float(element):.17g}" for element in elements]
    else:
        parts = [shown(*pair) for pair in zip(elements, value["types"])]
    return f"{kind}{value['lower']}[" + "".join(part + " " for part in parts) + "]"


def canonical(reply):
    """An answer of `plexum host` as parity_host words the control's."""
    if "state" not in reply:  # a value that the member can't take: DISP_E_TYPEMISMATCH over there
        return None
    if "error" in reply:
        result = f"error:{reply['error']['number']}"
    else:
        result = shown(reply["result"], reply["type"])
    state = reply["state"]
    arguments = "".join(" String:" + hex_of(argument) for argument in reply["args"])
    return (f"{result} |{arguments} | Long:{state['err']} Boolean:{int(state['inuse'])}"
            f" Boolean:{int(state['s7init'])} Integer:{state['auftrag_Fehler']}")


def with_port(rows, port):
    return [tuple(port if item is PORT else item for item in row) for row in rows]


def main():
    with simulated_plc(plexum) as port:
        rows = with_port(TABLE, port)
        control = [answer.replace(hex_of(port), "PORT") for answer in answers_of_control(rows)]
    with simulated_plc(plexum) as port:
        rows = with_port(TABLE, port)
        replies = run([plexum, "host"], [json.dumps(request(row)) for row in rows], "plexum host")
    faults = 0
    for row, ours, reply in zip(TABLE, control, map(json.loads, replies)):
        theirs = canonical(reply)
        if theirs is None:
            theirs = ours if ours.startswith("status:") else str(reply)
        theirs = theirs.replace(hex_of(port), "PORT")
        if ours != theirs:
            faults += 1
            print(f"FAILED {row[:2]} {[a if a is not PORT else 'PORT' for a in row[2:]]}\n"
                  f"  control: {ours[:600]}\n  host:    {theirs[:600]}")
    if faults:
        sys.exit(f"{faults} of {len(TABLE)} calls differ")
    print(f"{len(TABLE)} calls alike")


main()
