#!/usr/bin/env python3
"""xwd_to_png.py WIDTH HEIGHT: makes a PNG (to standard output) of the top left corner of a screen
that xwd has dumped (from standard input), with 24 or 32 bits a pixel."""
import struct
import sys
import zlib


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))


def main():
    width, height = (int(argument) for argument in sys.argv[1:3])
    dump = sys.stdin.buffer.read()
    header = struct.unpack(">25I", dump[:100])
    size, colors, line = header[0], header[19], header[12]
    step = header[11] // 8
    if step not in (3, 4) or header[7] != 0:
        sys.exit("only dumps of 24 or 32 bits a pixel, least significant byte first, can be read")
    pixels = dump[size + 12 * colors:]
    rows = b""
    for y in range(min(height, header[5])):
        row = pixels[y * line:y * line + step * min(width, header[4])]
        rgb = bytearray(3 * (len(row) // step))
        rgb[0::3], rgb[1::3], rgb[2::3] = row[2::step], row[1::step], row[0::step]
        rows += b"\0" + rgb
    image = struct.pack(">IIBBBBB", min(width, header[4]), min(height, header[5]), 8, 2, 0, 0, 0)
    sys.stdout.buffer.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", image) +
                            chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b""))


main()
