"""docs/reference.md from the member table, with examples and telegrams as a run against the
simulated PLC brings them."""
import json

import members
import plc_session

SET_CLOCK = '{"call":"pg_SetClock","args":["2026","07","08","12","30","45","12"]}'
CLOCK_SET = bytes.fromhex("26 07 08 12 30 45 12 14")  # 121 ms, a Wednesday
LONG_TEXT = 64  # longer byte strings are shown by their beginning
HEAD = """\
<!-- Made by script/docs from docs/members.toml and from a run against the simulated PLC. -->
# Reference of PlexumLink

All members of the control, by subject. The ProgID is `Plexum.PlexumLink`; the type library
`Plexum` has the same texts as help strings, and so has `plexum host --help`.

Arguments are texts (String) unless something else is said, and are passed by reference: a member
changes only those that are told to be left with something. Numbers in them are decimal and read by
the user's locale (`0,5` in German). A **byte string** is a text with one character a byte; how each
language makes one stands in [careful-host.md](careful-host.md#byte-strings). Multi-byte numbers are
big-endian, most significant byte first.

Arrays have the lower bound 1. Failures that the control expects are told by [err](#err);
a **run-time error** leaves the call as an exception does, with the number given here as the host
knows it (`Err.Number`; the low 16 bits of the HRESULT 800A....).

The examples are requests of [`plexum host`](../README.md#the-command-line), run against the simulated
PLC: request, telegrams sent (`>`) and taken (`<`), reply. Of the state the reply shows `err` alone,
and long byte strings only begin here. "..." in a request stands for the block image that the
[pg_ReadBlock](#pg_readblock) of the same block returned.
"""


def shortened(value):
    if isinstance(value, str) and len(value) > LONG_TEXT:
        return value[:LONG_TEXT // 4] + "..."
    if isinstance(value, list):
        return [shortened(element) for element in value]
    return value


def dump(sent, telegram):
    lines = []
    for at in range(0, len(telegram), 16):
        mark = (">" if sent else "<") if at == 0 else " "
        lines.append(f"  {mark} {telegram[at:at + 16].hex(' ').upper()}")
    return lines


def compact(value):
    return json.dumps(value, ensure_ascii=True, separators=(",", ":"))


def shown(reply):
    reply = json.loads(reply)
    brief = {key: reply[key] for key in ("result", "type", "error") if key in reply}
    if reply["args"]:
        brief["args"] = reply["args"]
    brief["err"] = reply["state"]["err"]
    if reply["message_boxes"]:
        brief["message_boxes"] = reply["message_boxes"]
    return compact({key: shortened(value) for key, value in brief.items()})


def at_clock(host, request):
    """The reply and the telegrams of a run in the very millisecond that the clock was set to."""
    for _ in range(500):
        _, reply = host.ask(SET_CLOCK, request)
        telegrams = host.telegrams()[-2:]
        if telegrams[-1][1].endswith(CLOCK_SET):
            return reply, telegrams
    raise AssertionError("the clock is never as it was set")


def example(program, member):
    """The lines of the member's example, from a fresh PLC and host."""
    simulator = plc_session.Simulator(program)
    host = plc_session.Host(program)
    try:
        host.connect(simulator.port)
        before = []
        for line in member.before:
            before.append(json.loads(host.ask(line)[0]).get("result"))
        lines = []
        for request in member.example:
            host.telegrams()
            actual = request.replace("@port", simulator.port)
            if "@0" in request:
                actual = request.replace('"@0"', json.dumps(before[0]))
            if member.at_clock:
                reply, telegrams = at_clock(host, actual)
            else:
                reply, = host.ask(actual)
                telegrams = host.telegrams()
            lines.append(request.replace("@port", "102").replace('"@0"', '"..."'))
            for sent, telegram in telegrams:
                lines += dump(sent, telegram)
            lines.append(shown(reply).replace(simulator.port, "102"))
        return lines
    finally:
        host.end()
        simulator.end()


def section(program, member):
    lines = [f"### {member.name}", "", f"`{member.signature}`", "", member.help, ""]
    if member.default is not None:
        lines += [f"Stored with the host's form. Default: `{member.default}`. Any value is taken "
                  "as it is.", ""]
    if member.arguments:
        lines += ["| argument | meaning |", "|---|---|"]
        for argument in member.arguments:
            kind = " (byte string)" if argument.bytes else ""
            lines.append(f"| `{argument.name}`{kind} | {argument.meaning} |")
        lines.append("")
    if member.result:
        lines += [f"**Result**: {member.result.strip()}", ""]
    for title, entries in (("`err`", member.err), ("Run-time errors", member.errors)):
        if entries:
            lines += [f"**{title}**:", "", *(f"- {entry}" for entry in entries), ""]
    if member.notes:
        lines += [member.notes.strip(), ""]
    return lines + ["```", *example(program, member), "```", ""]


def reference(program):
    every, groups = members.load()
    lines = [HEAD]
    for key, title in groups.items():
        names = [f"[{member.name}](#{member.name.lower()})" for member in every
                 if member.group == key]
        lines.append(f"- {title}: {', '.join(names)}")
    lines.append("")
    for key, title in groups.items():
        lines += [f"## {title}", ""]
        for member in every:
            if member.group == key:
                lines += section(program, member)
    return "\n".join(lines).rstrip("\n") + "\n"
