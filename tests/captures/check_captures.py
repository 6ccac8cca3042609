#!/usr/bin/env python3
"""check_captures.py CAPTURE...: lets tshark decode captures, and demands that it finds TPKT, COTP
and S7 in every telegram and no malformed one, except those that malformed_on_purpose.txt names.

A folder stands for all captures below it, those of whole test runs: what expected.txt lists must
be among them. Ends with 1 when anything fails."""

import concurrent.futures
import fnmatch
import os
import pathlib
import struct
import subprocess
import sys

EXCEPTIONS = pathlib.Path(__file__).with_name("malformed_on_purpose.txt")
EXPECTED = pathlib.Path(__file__).with_name("expected.txt")
COTP_DATA = 0xF0


def exceptions():
    """(pattern of the file's name, beginning of the telegram) of each line; None stands for all."""
    rules = []
    for line in EXCEPTIONS.read_text().splitlines():
        if not line.strip() or line.startswith("#"):
            continue
        pattern, telegram, reason = (part.strip() for part in line.split("|"))
        if not reason:
            sys.exit(f"{EXCEPTIONS.name}: no reason given: {line}")
        rules.append((pattern, None if telegram == "*" else bytes.fromhex(telegram)))
    return rules


def segments(data):
    """Yields (frame number, flags, stream, server port where known, TCP payload) of a capture."""
    at, number = 24, 0
    while at + 16 <= len(data):
        length = struct.unpack_from("<I", data, at + 8)[0]
        frame = data[at + 16:at + 16 + length]
        at, number = at + 16 + length, number + 1
        ipv4 = frame[12:14] == b"\x08\x00"
        tcp = frame[14 + (20 if ipv4 else 40):]
        addresses = frame[26:34] if ipv4 else frame[22:54]
        half = len(addresses) // 2
        ports = struct.unpack_from(">HH", tcp)
        stream = (addresses[:half], ports[0], addresses[half:], ports[1])
        yield number, tcp[13], stream, tcp[(tcp[12] >> 4) * 4:]


def telegrams(data):
    """The server ports of a capture, and frame number -> the telegrams that end in that frame.

    Bytes that never become a telegram are one that ends in their last frame."""
    ports, rest, ending, last_frame = set(), {}, {}, {}
    for number, flags, stream, payload in segments(data):
        if flags == 0x02:
            ports.add(stream[3])
        if not payload:
            continue
        waiting = rest.get(stream, b"") + payload
        last_frame[stream] = number
        while len(waiting) >= 4 and 4 <= (length := waiting[2] << 8 | waiting[3]) <= len(waiting):
            ending.setdefault(number, []).append(waiting[:length])
            waiting = waiting[length:]
        rest[stream] = waiting
    for stream, waiting in rest.items():
        if waiting:
            ending.setdefault(last_frame[stream], []).append(waiting)
    return ports, ending


def expected_layers(telegram):
    """What tshark is to find in a telegram: the numbers of TPKT, COTP and S7 layers."""
    return (1, 1, 1 if len(telegram) > 7 and telegram[5] == COTP_DATA else 0)


def tshark(path, ports, *options):
    """The lines that tshark prints about a capture."""
    command = ["tshark", "-n", "-r", str(path)]
    for port in sorted(ports):
        command += ["-d", f"tcp.port=={port},tpkt"]
    result = subprocess.run(command + list(options), capture_output=True, text=True,
                            stdin=subprocess.DEVNULL, env=dict(os.environ, LC_ALL="C"))
    if result.returncode != 0:
        sys.exit(f"tshark failed on {path}: {result.stderr.strip()}")
    return result.stdout.splitlines()


def decode(path, ports):
    """Frame number -> (numbers of TPKT, COTP and S7 layers, whether it is malformed)."""
    options = ["-T", "fields", "-E", "aggregator=,"]
    for field in ("frame.number", "tpkt.length", "cotp.type", "s7comm.header.rosctr",
                  "_ws.malformed", "tcp.analysis.flags"):
        options += ["-e", field]
    # Headers that are made up must be right, too.
    options += ["-o", "tcp.check_checksum:TRUE", "-o", "ip.check_checksum:TRUE"]
    options += ["-e", "tcp.checksum.status", "-e", "ip.checksum.status"]
    frames = {}
    for line in tshark(path, ports, *options):
        fields = line.split("\t")
        layers = tuple(len(field.split(",")) if field else 0 for field in fields[1:4])
        bad_header = fields[6] != "1" or fields[7] not in ("1", "")
        frames[int(fields[0])] = (layers, bool(fields[4]), bool(fields[5]) or bad_header)
    return frames


def check(path, rules):
    """The faults of one capture, its number of telegrams, and how many of them were excepted."""
    faults, excepted, count = [], 0, 0
    rules = [telegram for pattern, telegram in rules if fnmatch.fnmatch(path.name, pattern)]
    ports, ending = telegrams(path.read_bytes())
    for number, (layers, malformed, bad_header) in decode(path, ports).items():
        here = ending.get(number, [])
        count += len(here)
        if bad_header:
            faults.append(f"{path}: frame {number}: a header is wrong")
        wanted = tuple(map(sum, zip(*map(expected_layers, here)))) or (0, 0, 0)
        if layers == wanted and not malformed:
            continue
        if None in rules or here and all(any(telegram.startswith(rule) for rule in rules)
                                         for telegram in here):
            excepted += len(here)
            continue
        what = "malformed" if malformed else f"TPKT, COTP, S7 {layers} instead of {wanted}"
        faults.append(f"{path}: frame {number}: {what}: " + "; ".join(t.hex(" ") for t in here))
    return faults, count, excepted


def expectations():
    """Capture's file name -> the texts that must be in its decode."""
    texts = {}
    for line in EXPECTED.read_text().splitlines():
        if line.strip() and not line.startswith("#"):
            name, text = (part.strip() for part in line.split("|"))
            texts.setdefault(f"{name}.pcap", []).append(text)
    return texts


def missing(path, texts):
    """The faults of one capture that must have `texts`."""
    lines = tshark(path, telegrams(path.read_bytes())[0], "-V",
                   "-o", "tcp.desegment_tcp_streams:FALSE")
    return [f"{path}: tshark finds no \"{text}\"" for text in texts
            if not any(text in line for line in lines)]


def main():
    captures, expected, faults = [], [], []
    for argument in map(pathlib.Path, sys.argv[1:]):
        below = sorted(argument.rglob("*.pcap")) if argument.is_dir() else [argument]
        captures += below
        if not argument.is_dir():
            continue
        for name, texts in expectations().items():
            written = [(path, texts) for path in below if path.name == name]
            expected += written
            faults += [] if written else [f"{argument}: no test wrote {name}"]
    if not captures:
        sys.exit("no captures to check")
    rules = exceptions()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(lambda path: check(path, rules), captures))
        gaps = list(pool.map(lambda entry: missing(*entry), expected))
    faults += sum([result[0] for result in results] + gaps, [])
    for fault in faults:
        print(fault)
    print(f"{len(captures)} captures, {sum(result[1] for result in results)} telegrams, "
          f"{sum(result[2] for result in results)} malformed on purpose, {len(faults)} faults")
    sys.exit(1 if faults else 0)


main()
