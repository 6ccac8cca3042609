#!/usr/bin/env python3
"""self_test.py PROGRAM [TEST...]: what the program says of itself."""

import json
import os
import re
import subprocess

from program import PROGRAM, equal, has, main, succeeds


def commands(*path):
    """The commands that the help lists below one, with those below them."""
    listed = succeeds(*path, "--help").split("Positionals:")[0]
    for name in re.findall(r"^  ([a-z][a-z-]*)  ", listed, re.MULTILINE):
        yield (*path, name)
        yield from commands(*path, name)


def test_every_command_has_help_with_examples():
    found = list(commands())
    has(found, ("blocks", "backup"), ("clock", "set"))
    for command in found:
        if command != ("completion", "bash"):
            has(succeeds(*command, "--help"), "Examples:\n  ")


def test_errors_in_words():
    has(succeeds("errors", "2109", "5"), "no such block (PLC error 0xD209)", "address out of range")
    found = json.loads(succeeds("errors", "--json", "1"))
    equal({entry["after"] for entry in found}, {"connecting", "a state list or erase", "writing"})
    assert len(succeeds("errors").splitlines()) > 40


def test_manual_page_has_no_faults():
    page = succeeds("manual")
    done = subprocess.run(["groff", "-man", "-ww", "-z", "-Tutf8"], input=page, text=True,
                          capture_output=True, check=True)
    equal((done.stdout, done.stderr), ("", ""))
    for command in commands():
        has(page, ".SS " + " ".join(command).replace("-", "\\-") + "\n")


def test_bash_completes():
    script = f'''source <("{PROGRAM}" completion bash); COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
                 _plexum; printf '%s\\n' "${{COMPREPLY[@]}}"'''
    for line, expected in (
            ("bl", ["blocks"]), ("blocks b", ["backup"]), ("stop --ye", ["--yes"]),
            ("blocks backup --tsap", ["--tsap-e", "--tsap-f"]), ("--ip x stop --wa", ["--wait"]),
            ("stop --ip ", []), ("ping --pcap program_te", ["program_test.py"]),
            ("blocks download self_te", ["self_test.py"])):
        done = subprocess.run(["bash", "-c", script, "bash", "plexum", *line.split(" ")], text=True,
                              capture_output=True, check=True, cwd=os.path.dirname(__file__))
        equal((line, done.stdout.split(), done.stderr), (line, expected, ""))


main(globals())
