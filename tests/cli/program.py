"""What the tests of the built program share. A test file is run as FILE PROGRAM [TEST...]; the
program for Windows runs under Wine."""

import contextlib
import json
import os
import pathlib
import pty
import re
import subprocess
import sys

PROGRAM = os.path.abspath(sys.argv[1])
WINDOWS = PROGRAM.endswith(".exe")
WINE = pathlib.Path(__file__).resolve().parents[2] / "script/wine"
COMMAND = [WINE, PROGRAM] if WINDOWS else [PROGRAM]
PATIENCE = 60  # seconds, for anything that must come


def run(*arguments, text=None):
    """(exit code, standard output, standard error) of a run that ends by itself."""
    done = subprocess.run([*COMMAND, *arguments], input=text or "", capture_output=True, text=True,
                          encoding="utf-8", timeout=PATIENCE)
    return done.returncode, done.stdout, done.stderr


def run_on_terminal(typed, *arguments):
    """The same, with `typed` entered on a terminal that is its standard input."""
    ours, its = pty.openpty()
    os.write(ours, typed.encode() + b"\n")
    with os.fdopen(ours), os.fdopen(its) as terminal:
        done = subprocess.run([PROGRAM, *arguments], stdin=terminal, capture_output=True,
                              text=True, encoding="utf-8", timeout=PATIENCE)
    return done.returncode, done.stdout, done.stderr


def succeeds(*arguments):
    """The standard output of a run that ends with 0 and has nothing to say on standard error."""
    code, out, error = run(*arguments)
    equal((arguments, code, error), (arguments, 0, ""))
    return out


def fails(expected, arguments, *parts):
    """A run ends with that exit code, prints nothing, and says why in one line with these parts."""
    code, out, error = run(*arguments)
    equal((arguments, code, out), (arguments, expected, ""))
    one_line(error, *parts)


class Started:
    """A run in the background, with pipes; ended when the block is left."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen(
            [*COMMAND, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True, encoding="utf-8")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.terminate()  # is passed on by what stands between
        self.process.communicate()

    def line(self):
        return self.process.stdout.readline().rstrip("\n")

    def end(self):
        """(exit code, the rest of standard output, standard error), at the end of its input."""
        out, error = self.process.communicate(timeout=PATIENCE)
        return self.process.returncode, out, error


class Simulator(Started):
    def __init__(self, *arguments):
        super().__init__("sim", "--port", "0", *arguments)
        greeting = self.line()
        found = re.fullmatch(r"listening on 127\.0\.0\.1:(\d+)", greeting)
        assert found, f"greets with {greeting!r}"
        self.port = found[1]
        self.here = self.within("500")

    def within(self, milliseconds):
        """The options that lead to it, with a limit of that for each wait."""
        return ["--ip", "127.0.0.1", "--port", self.port, "--timeout", milliseconds + "ms"]


class Host(Started):
    def __init__(self, *arguments):
        super().__init__("host", *arguments)

    def ask(self, **request):
        print(json.dumps(request), file=self.process.stdin, flush=True)
        return json.loads(self.line())

    def call(self, name, *arguments):
        return self.ask(call=name, args=list(arguments))

    def connect(self, simulator):
        self.ask(set="Tzeit", value=5000)
        self.ask(set="err", value=0)
        reply = self.call("ag_ini", "127.0.0.1", simulator.port, "1.0", "3.2")
        equal(reply.get("result"), True)


def equal(found, expected):
    assert found == expected, f"{found!r} instead of {expected!r}"


def has(text, *parts):
    for part in parts:
        assert part in text, f"no {part!r} in {text!r}"


def one_line(text, *parts):
    assert re.fullmatch(r"plexum: [^\n]+\n", text), f"no single line: {text!r}"
    has(text, *parts)


def words_of_the_system(words):
    """What an error of the system says here; nothing is asked of Wine's words."""
    return "" if WINDOWS else words


@contextlib.contextmanager
def desktop():
    """Wine makes a desktop, which may take 10 seconds, for the first program that needs one, and
    ends it with the last. It holds that program's output open: of one whose end nobody awaits."""
    with subprocess.Popen([*COMMAND, "host"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          text=True) as keeper:
        print('{"call":"ag_ini","args":["127.0.0.1","1","1.0","3.2"]}', file=keeper.stdin,
              flush=True)
        keeper.stdout.readline()
        yield


def main(tests, not_under_wine=()):
    """Runs the named tests of a file's globals(); without names, all."""
    found = {name: test for name, test in tests.items() if name.startswith("test_") and
             not (WINDOWS and test in not_under_wine)}
    with desktop() if WINDOWS else contextlib.nullcontext():
        for name in sys.argv[2:] or found:
            found[name]()
