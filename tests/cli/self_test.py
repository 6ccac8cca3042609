#!/usr/bin/env python3
"""self_test.py PROGRAM [TEST...]: what the program says of itself."""

import json
import os
import re
import subprocess

from program import PROGRAM, equal, main, run


def commands(*path):
    """The commands that the help lists below one, with those below them."""
    for name in re.findall(r"^  ([a-z][a-z-]*)  ", run(*path, "--help")[1].split("Positionals:")[0],
                           re.MULTILINE):
        yield (*path, name)
        yield from commands(*path, name)


def test_every_command_has_help_with_examples():
    found = list(commands())
    assert ("blocks", "backup") in found and ("clock", "set") in found, found
    for command in found:
        code, out, error = run(*command, "--help")
        equal((command, code, error), (command, 0, ""))
        assert "Examples:\n  " in out or command == ("completion", "bash"), (command, out)


def test_errors_in_words():
    code, out, error = run("errors", "2109", "5")
    equal((code, error), (0, ""))
    assert "no such block (PLC error 0xD209)" in out and "address out of range" in out, out
    found = json.loads(run("errors", "--json", "1")[1])
    equal({entry["after"] for entry in found}, {"connecting", "a state list or erase", "writing"})
    assert len(run("errors")[1].splitlines()) > 40


def test_manual_page_has_no_faults():
    page = run("manual")[1]
    done = subprocess.run(["groff", "-man", "-ww", "-z", "-Tutf8"], input=page, text=True,
                          capture_output=True, check=True)
    equal((done.stdout, done.stderr), ("", ""))
    for command in commands():
        assert ".SS " + " ".join(command).replace("-", "\\-") + "\n" in page, command


def completed(*words):
    script = f'''source <("{PROGRAM}" completion bash); COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1))
                 _plexum; printf '%s\\n' "${{COMPREPLY[@]}}"'''
    done = subprocess.run(["bash", "-c", script, "bash", "plexum", *words], text=True,
                          capture_output=True, check=True, cwd=os.path.dirname(__file__))
    equal(done.stderr, "")
    return done.stdout.split()


def test_bash_completes():
    for words, expected in ((("bl",), ["blocks"]), (("blocks", "b"), ["backup"]),
                            (("blocks", "backup", "--tsap"), ["--tsap-e", "--tsap-f"]),
                            (("stop", "--ye"), ["--yes"]), (("--ip", "x", "stop", "--wa"), ["--wait"]),
                            (("stop", "--ip", ""), []),
                            (("ping", "--pcap", "program_te"), ["program_test.py"]),
                            (("blocks", "download", "self_te"), ["self_test.py"])):
        equal((words, completed(*words)), (words, expected))


main(globals())
