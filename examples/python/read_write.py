"""Writes to and reads from data block 10 of a PLC. Needs pywin32 and a Python of the control's
bitness.

  python read_write.py [ADDRESS [PORT [OWN_TSAP PLC_TSAP]]]
"""
import sys

import pythoncom
import pywintypes
import win32com.client

# A byte string has one character for each byte, by the system's ANSI code page. Where that page
# needs more than one byte for a character, take "latin-1".
BYTES = "mbcs"


class Plc:
    """The control by its IDispatch: each call gives the member's result alone, where pywin32 would
    else add the by-reference arguments to it."""

    def __init__(self):
        self.dispatch = win32com.client.Dispatch("Plexum.PlexumLink")._oleobj_

    def call(self, member, *arguments):
        dispid = self.dispatch.GetIDsOfNames(member)
        return self.dispatch.Invoke(dispid, 0, pythoncom.DISPATCH_METHOD, True,
                                    *map(str, arguments))

    def get(self, member):
        dispid = self.dispatch.GetIDsOfNames(member)
        return self.dispatch.Invoke(dispid, 0, pythoncom.DISPATCH_PROPERTYGET, True)

    def set(self, member, value):
        dispid = self.dispatch.GetIDsOfNames(member)
        self.dispatch.Invoke(dispid, 0, pythoncom.DISPATCH_PROPERTYPUT, False, value)


def report(plc, what, done):
    """What a write came to. Most jobs refuse to start while an error stands in err."""
    print(f"{what}: {'written' if done else 'refused, err %d' % plc.get('err')}")
    if not done:
        plc.set("err", 0)


def run(plc, address, port="102", own="1.0", theirs="3.2"):
    plc.set("Tzeit", 1000)  # slices of up to a millisecond each
    if not plc.call("ag_ini", address, port, own, theirs):
        print(f"no connection to {address}, err {plc.get('err')}")
        return 1
    print(f"connected to {address}")
    report(plc, "word 4660 at byte 0", plc.call("ag_WriteW", 10, 0, 4660, "D"))
    data = bytes([0x41, 0x80, 0xFF]).decode(BYTES)
    report(plc, "3 bytes at byte 20", plc.call("ag_WriteMB", 10, 20, data, "D"))

    text = plc.call("ag_ReadB", 10, 3, 20, "C", "D")
    if plc.get("err") == 0:
        print("bytes read:", text.encode(BYTES).hex(" "))
    words = plc.call("ag_Read", 10, 2, 0, "W", "D")  # a tuple of floats
    if plc.get("err") == 0:
        print("word read:", int(words[0]))
    return 0


def main():
    plc = Plc()
    try:
        return run(plc, *(sys.argv[1:] or ["127.0.0.1"]))
    except pywintypes.com_error as error:
        # A number that doesn't fit, a time-out without any answer, a lost connection.
        print("run-time error", error)
        return 2
    finally:
        plc.call("ag_exit")
        print("disconnected")


if __name__ == "__main__":
    sys.exit(main())
