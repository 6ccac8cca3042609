"""What stands in the documents' code fences. A comment before each fence tells where its content
comes from:

  <!-- run -->                 lines "$ plexum ..." with their output; after "$ plexum host" the
                               requests among the lines, with their replies. A simulated PLC stands
                               ready, whose port is shown as 10102.
  <!-- run with OPTIONS -->    the same with a simulated PLC of these options
  <!-- session -->             lines "$ plexum ..." with what a terminal shows after them, errors too;
                               lines "$ export NAME=VALUE" hold for those that follow. One simulated
                               PLC stands ready for all, whose port is shown as 10102. Written anew
                               only when more than times and what changes with them has changed.
  <!-- session with OPTIONS --> the same with a simulated PLC of these options
  <!-- output of COMMAND: A ... B -->   of that output the lines from the first that has A to the next
                               that has B
  <!-- standard error of COMMAND: A ... B -->   the same of its standard error, times as 0.000 s
  <!-- from FILE -->           all of a file of the tree
  <!-- from FILE: A ... B -->  its lines from the first that has A to the next that has B
  <!-- not run: REASON -->     as written; REASON tells how it is held, or that it isn't
"""
import os
import pathlib
import re
import shlex
import subprocess
import tempfile

import plc_session

FENCE = re.compile(r"^(?P<comment><!-- (?P<source>.*?) -->\n)?^```(?P<language>\w*)\n"
                   r"(?P<body>.*?)^```$", re.MULTILINE | re.DOTALL)


def excerpt(text, span):
    if not span:
        return text
    first, last = span.split(" ... ")
    lines = text.splitlines()
    begin = next(i for i, line in enumerate(lines) if first in line)
    end = next(i for i in range(begin, len(lines)) if last in lines[i])
    indent = len(lines[begin]) - len(lines[begin].lstrip())
    return "".join(line[min(indent, len(line) - len(line.lstrip())):] + "\n"
                   for line in lines[begin:end + 1])


def version(root):
    return re.search(r"VERSION (\d+\.\d+\.\d+)", (root / "CMakeLists.txt").read_text())[1]


def file_excerpt(root, source):
    path, _, span = source.partition(": ")
    text = (root / path).read_text(encoding="utf-8")
    if path.endswith(".in"):  # as the build makes it
        text = text.replace("@PROJECT_VERSION@", version(root))
        text = text.replace("@PLEXUM_MANIFEST_ARCHITECTURE@", "amd64")
    return excerpt(text, span)


def output_excerpt(program, source, stream="stdout"):
    command, _, span = source.partition(": ")
    done = subprocess.run([program, *shlex.split(command)[1:]], capture_output=True, text=True,
                          encoding="utf-8", check=True)
    # The tour's PLC has a port of its own.
    text = re.sub(r'"127\.0\.0\.1", "\d+"', '"127.0.0.1", "102"', getattr(done, stream))
    return excerpt(re.sub(r"at \d+\.\d+ s$", "at 0.000 s", text, flags=re.MULTILINE), span)


def run_host(program, port, requests):
    host = plc_session.Host(program)
    try:
        lines = []
        for request in requests:
            lines.append(request)
            lines += host.ask(request.replace(plc_session.SHOWN_PORT, port))
        return [line.replace(port, plc_session.SHOWN_PORT) for line in lines]
    finally:
        host.end()


def run_block(program, body, options):
    lines, requests = [], None
    simulator = plc_session.Simulator(program, *options)

    def end_host():
        nonlocal requests
        if requests is not None:
            lines.extend(run_host(program, simulator.port, requests))
        requests = None

    try:
        for line in body.splitlines():
            if line.startswith("$ "):
                end_host()
                lines.append(line)
                command = shlex.split(line[2:])
                assert command[0] == "plexum", line
                if command[1] == "host" and len(command) == 2:
                    requests = []
                elif command[1] == "sim":
                    assert command[2:4] == ["--port", plc_session.SHOWN_PORT], line
                    extra = plc_session.Simulator(program, *command[4:])
                    lines.append(extra.greeting.replace(extra.port, plc_session.SHOWN_PORT))
                    extra.end()
                else:
                    command = [part.replace(plc_session.SHOWN_PORT, simulator.port)
                               for part in command[1:]]
                    done = subprocess.run([program, *command], capture_output=True, text=True,
                                          encoding="utf-8", check=True)
                    lines += done.stdout.replace(str(program), "plexum").splitlines()
            elif requests is not None and re.match(r'\{"(call|get|set)":', line):
                requests.append(line)
        end_host()
    finally:
        simulator.end()
    return "".join(line + "\n" for line in lines)


# What differs from one run of a session to the next: moments, durations, ports, and of lines that
# begin with a moment the values, and how often they come.
MOMENT = r"\d{4}-\d\d-\d\d[T ][\d:.]+Z?(, \w+day)?"
VARYING = ((MOMENT, "MOMENT"), (r"\d+\.\d+(?= (?:ms|s)\b|, (?:median|99 %|max))", "0"),
           (r"(?<=99 % )\d+\.\d+", "0"), (r"127\.0\.0\.1:\d+", "PLC"))


def lasting(text):
    lines = []
    for line in text.splitlines():
        for pattern, name in VARYING:
            line = re.sub(pattern, name, line)
        if line.startswith("MOMENT"):
            line = re.sub(r" -?[\d.]+$", " VALUE", line)
            if line in lines:
                continue
        lines.append(line)
    return lines


def run_session(program, body, options):
    lines = []
    simulator = plc_session.Simulator(program, *options)
    environment = dict(os.environ, NO_COLOR="1")
    folder = tempfile.TemporaryDirectory()  # for what the commands write
    try:
        for line in (line for line in body.splitlines() if line.startswith("$ ")):
            lines.append(line)
            command = shlex.split(line[2:].replace(plc_session.SHOWN_PORT, simulator.port))
            if command[0] == "export":
                environment.update(part.split("=", 1) for part in command[1:])
                continue
            assert command[0] == "plexum", line
            done = subprocess.run([program, *command[1:]], stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                  encoding="utf-8", env=environment, cwd=folder.name)
            assert done.returncode != 2, done.stdout  # what the program doesn't have
            lines += done.stdout.replace(simulator.port, plc_session.SHOWN_PORT).splitlines()
    finally:
        simulator.end()
        folder.cleanup()
    made = "".join(line + "\n" for line in lines)
    return body if lasting(made) == lasting(body) else made


# Tables of errors come from the words that the command has for them.
ERROR_TABLE = re.compile(r"(?P<comment><!-- (?P<path>\S+): (?P<table>\w+) -->\n)"
                         r"(?P<head>\|.*\n\|.*\n)(?:\|.*\n)*")
KNOWN_ERROR = re.compile(r'\{(?:0x(..)|0), 0x(..), "([^"]+)", ')


def error_table(root, match):
    source = (root / match["path"]).read_text(encoding="utf-8")
    source = source[source.index(f"{match['table']}[]"):]
    rows = ""
    for error_class, code, words in KNOWN_ERROR.findall(source[:source.index("};")]):
        if not error_class:
            rows += f"| {int(code, 16)} | {code} | {words} |\n"
        else:
            number = f"{int(error_class, 16)}{int(code, 16)}"
            rows += f"| {number} | {error_class} {code} | {words} |\n"
    assert rows, f"no errors in {match['path']}"
    return match["comment"] + match["head"] + rows


def renewed(root, program, path):
    """The document's text with its fences made anew."""
    def fence(match):
        source = match["source"] or ""
        body = match["body"]
        if source.startswith("from "):
            body = file_excerpt(root, source[5:])
        elif source.startswith("output of "):
            body = output_excerpt(program, source[10:])
        elif source.startswith("standard error of "):
            body = output_excerpt(program, source[18:], "stderr")
        elif source == "run" or source.startswith("run with "):
            body = run_block(program, body, shlex.split(source)[2:])
        elif source == "session" or source.startswith("session with "):
            body = run_session(program, body, shlex.split(source)[2:])
        elif not source.startswith("not run: "):
            raise ValueError(f"{path}: a fence without its source: {body[:60]!r}")
        return f"{match['comment']}```{match['language']}\n{body}```"

    text = pathlib.Path(path).read_text(encoding="utf-8")
    # Fences in pairs, or the pattern takes text for code.
    assert text.count("\n```") == 2 * len(FENCE.findall(text)), f"{path}: a fence isn't closed"
    text = ERROR_TABLE.sub(lambda match: error_table(root, match), text)
    return FENCE.sub(fence, text)
