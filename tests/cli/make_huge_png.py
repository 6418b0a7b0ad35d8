"""Writes a palette PNG of SIZE x SIZE pixels (readers expand it to RGB) that compresses to a few
hundred kilobytes. Usage: make_huge_png.py FILE SIZE"""
import struct
import sys
import zlib


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


size = int(sys.argv[2])
row = b"\0" + bytes(i % 256 for i in range(size))
packer = zlib.compressobj(9)
pixels = b"".join(packer.compress(row) for _ in range(size)) + packer.flush()
palette = b"".join(bytes((i, 255 - i, (i * 7) % 256)) for i in range(256))
with open(sys.argv[1], "wb") as out:
    out.write(b"\x89PNG\r\n\x1a\n")
    out.write(chunk(b"IHDR", struct.pack(">IIBBBBB", size, size, 8, 3, 0, 0, 0)))
    out.write(chunk(b"PLTE", palette) + chunk(b"IDAT", pixels) + chunk(b"IEND", b""))
