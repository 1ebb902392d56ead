#!/usr/bin/env python3
"""Draws the 96 by 96 pictures of the example surfaces.

The generic codec shows a PNG beside a definition file as the model's picture,
and insists on exactly 96 by 96 pixels. This script paints simple drawings of
the three example surfaces with the standard library only and writes them next
to their definition files:

    tools/make-example-pictures.py [examples/.../MIDI Codecs]
"""

import math
import pathlib
import struct
import sys
import zlib

SIZE = 96
DEFAULT_FOLDER = (pathlib.Path(__file__).resolve().parent.parent / "examples" /
                  "Thistlemarrow Software" / "Kinvar" / "Codecs" / "MIDI Codecs")


class Canvas:
    def __init__(self, background=(0, 0, 0, 0)):
        self.pixels = [[background for _ in range(SIZE)] for _ in range(SIZE)]

    def put(self, x, y, colour):
        if 0 <= x < SIZE and 0 <= y < SIZE:
            self.pixels[y][x] = colour

    def rect(self, x0, y0, x1, y1, colour):
        for y in range(y0, y1):
            for x in range(x0, x1):
                self.put(x, y, colour)

    def rounded(self, x0, y0, x1, y1, radius, colour):
        for y in range(y0, y1):
            for x in range(x0, x1):
                dx = max(x0 + radius - x - 0.5, 0, x - (x1 - radius) + 0.5)
                dy = max(y0 + radius - y - 0.5, 0, y - (y1 - radius) + 0.5)
                if dx * dx + dy * dy <= radius * radius:
                    self.put(x, y, colour)

    def disc(self, cx, cy, radius, colour):
        for y in range(int(cy - radius) - 1, int(cy + radius) + 2):
            for x in range(int(cx - radius) - 1, int(cx + radius) + 2):
                if (x + 0.5 - cx) ** 2 + (y + 0.5 - cy) ** 2 <= radius * radius:
                    self.put(x, y, colour)

    def line(self, x0, y0, x1, y1, colour):
        steps = int(max(abs(x1 - x0), abs(y1 - y0)) * 2) + 1
        for i in range(steps + 1):
            t = i / steps
            self.put(int(round(x0 + (x1 - x0) * t)), int(round(y0 + (y1 - y0) * t)), colour)

    def png(self):
        raw = b"".join(b"\x00" + b"".join(struct.pack("4B", *p) for p in row) for row in self.pixels)

        def chunk(kind, data):
            body = kind + data
            return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

        header = struct.pack(">IIBBBBB", SIZE, SIZE, 8, 6, 0, 0, 0)
        return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


BODY = (52, 56, 62, 255)
EDGE = (30, 32, 36, 255)
SLOT = (18, 18, 20, 255)
LIGHT = (210, 214, 220, 255)


def chassis(canvas, top=10, bottom=86):
    canvas.rounded(4, top, 92, bottom, 6, EDGE)
    canvas.rounded(6, top + 2, 90, bottom - 2, 5, BODY)


def fader_box():
    canvas = Canvas()
    chassis(canvas)
    positions = [0.2, 0.45, 0.7, 0.35, 0.9, 0.55, 0.3, 0.65]
    for n, position in enumerate(positions):
        x = 13 + n * 8
        canvas.rect(x, 22, x + 2, 76, SLOT)
        cap = int(70 - position * 44)
        canvas.rect(x - 2, cap, x + 4, cap + 6, LIGHT)
        canvas.rect(x - 2, cap + 2, x + 4, cap + 3, EDGE)
        canvas.disc(x + 1, 17, 1.6, (90, 220, 120, 255) if n % 3 == 0 else (40, 80, 50, 255))
    canvas.rect(79, 22, 81, 76, SLOT)
    canvas.rect(76, 30, 84, 37, (220, 70, 60, 255))
    canvas.rect(76, 33, 84, 34, EDGE)
    return canvas


def pad_controller():
    canvas = Canvas()
    chassis(canvas, 8, 90)
    colours = [(230, 90, 70, 255), (240, 170, 60, 255), (90, 190, 230, 255), (150, 110, 230, 255)]
    for row in range(4):
        for column in range(4):
            x = 12 + column * 15
            y = 13 + row * 15
            lit = (row + column) % 3 == 0
            colour = colours[row] if lit else tuple(c // 3 for c in colours[row][:3]) + (255,)
            canvas.rounded(x, y, x + 13, y + 13, 2, colour)
    canvas.rect(74, 14, 78, 70, SLOT)
    canvas.rect(72, 38, 80, 44, LIGHT)
    canvas.rect(82, 14, 86, 70, SLOT)
    canvas.rect(80, 24, 88, 30, LIGHT)
    canvas.rect(10, 74, 86, 87, (240, 240, 236, 255))
    for key in range(11):
        canvas.rect(10 + key * 7, 74, 11 + key * 7, 87, EDGE)
    for key in (0, 1, 3, 4, 5, 7, 8, 10):
        canvas.rect(15 + key * 7, 74, 19 + key * 7, 81, EDGE)
    return canvas


def encoder_box():
    canvas = Canvas()
    chassis(canvas, 16, 80)
    angles = [-120, -60, 0, 45, 90, 135, -30, 60]
    for n, angle in enumerate(angles):
        cx = 18 + (n % 4) * 20
        cy = 35 + (n // 4) * 24
        for step in range(-135, 136, 27):
            t = math.radians(step - 90)
            on = step <= angle
            canvas.put(int(cx + math.cos(t) * 10), int(cy + math.sin(t) * 10),
                       (255, 176, 60, 255) if on else (70, 60, 50, 255))
        canvas.disc(cx, cy, 7.5, EDGE)
        canvas.disc(cx, cy, 6.5, (120, 124, 132, 255))
        t = math.radians(angle - 90)
        canvas.line(cx, cy, cx + math.cos(t) * 6, cy + math.sin(t) * 6, LIGHT)
    canvas.rounded(10, 71, 24, 77, 2, (200, 60, 60, 255))
    return canvas


PICTURES = {
    "Quillfeather QF-8.png": fader_box,
    "Loambridge Tessera 16.png": pad_controller,
    "Harrowgate Wheelhouse 8.png": encoder_box,
}


def main():
    folder = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else DEFAULT_FOLDER
    for name, draw in PICTURES.items():
        (folder / name).write_bytes(draw().png())
        print(folder / name)


if __name__ == "__main__":
    main()
