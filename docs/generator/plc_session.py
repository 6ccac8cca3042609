"""A simulated PLC with a `plexum host` beside it, and what goes over the wire between the two."""
import json
import pathlib
import struct
import subprocess
import tempfile

SHOWN_PORT = "10102"  # what documents say in place of the port that the system chose
PCAP_HEADER, RECORD_HEADER = 24, 16
ETHERNET, IPV4, TCP = 14, 20, 20
PATIENCE = 20000  # time-out of the jobs, in slices; the simulated PLC answers at once


class Simulator:
    def __init__(self, program, *options):
        self.process = subprocess.Popen([program, "sim", "--port", "0", *options], text=True,
                                        stdout=subprocess.PIPE)
        self.greeting = self.process.stdout.readline().rstrip("\n")
        assert self.greeting.startswith("listening on "), self.greeting
        self.port = self.greeting.rsplit(":", 1)[1]

    def end(self):
        self.process.terminate()
        self.process.communicate()


class Host:
    def __init__(self, program):
        self.folder = tempfile.TemporaryDirectory()
        self.capture = pathlib.Path(self.folder.name) / "telegrams.pcap"
        self.process = subprocess.Popen([program, "host", "--pcap", str(self.capture)], text=True,
                                        encoding="utf-8", stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE)
        self.seen = 0

    def ask(self, *lines):
        """The replies to requests that are sent in one go."""
        print(*lines, sep="\n", file=self.process.stdin, flush=True)
        return [self.process.stdout.readline().rstrip("\n") for _ in lines]

    def connect(self, port):
        for line in (f'{{"set":"Tzeit","value":{PATIENCE}}}',
                     f'{{"call":"ag_ini","args":["127.0.0.1","{port}","1.0","3.2"]}}'):
            reply = json.loads(self.ask(line)[0])
        assert reply["result"], reply
        self.telegrams()

    def telegrams(self):
        """What was sent (True) and taken (False) since the last call."""
        capture = self.capture.read_bytes()
        at = PCAP_HEADER
        frames = []
        while at < len(capture):
            length, = struct.unpack_from("<I", capture, at + 8)
            frames.append(capture[at + RECORD_HEADER:at + RECORD_HEADER + length])
            at += RECORD_HEADER + length
        new, self.seen = frames[self.seen:], len(frames)
        payloads = [(frame[6:12] != frames[0][6:12], frame[ETHERNET + IPV4 + TCP:])
                    for frame in new]
        return [(not taken, payload) for taken, payload in payloads if payload]

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()
        self.folder.cleanup()
