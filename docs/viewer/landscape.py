#!/usr/bin/env python3
"""Writes a computed landscape as a BMP, for the screenshots: landscape.py OUT.bmp"""
import math
import random
import struct
import sys

WIDTH, HEIGHT = 760, 500
random.seed(7)


def ridge(base, rough):
    """A mountain line: heights by midpoint displacement, WIDTH of them."""
    heights = [base, base]
    while len(heights) < WIDTH:
        between = [(a + b) / 2 + random.uniform(-rough, rough) for a, b in zip(heights, heights[1:])]
        heights = [h for pair in zip(heights, between) for h in pair] + [heights[-1]]
        rough *= 0.52
    return [heights[i * len(heights) // WIDTH] for i in range(WIDTH)]


def mix(a, b, t):
    t = max(0.0, min(1.0, t))
    return tuple(x + (y - x) * t for x, y in zip(a, b))


RIDGES = [(ridge(230, 90), (150, 135, 160)), (ridge(300, 80), (100, 100, 125)), (ridge(370, 60), (50, 72, 70)),
          (ridge(440, 40), (20, 38, 26))]
SUN = (540, 190)


def colour(x, y):
    sky = mix((58, 92, 165), (250, 196, 130), y / 330)
    distance = math.hypot(x - SUN[0], y - SUN[1])
    sky = mix((255, 250, 225), sky, distance / 260 + 0.05 if distance > 32 else 0)
    result = sky
    for heights, tint in RIDGES:
        if y > heights[x]:
            result = mix(tint, (205, 180, 165), (y - heights[x]) / 260 - 0.05)
    return tuple(max(0, min(255, int(c))) for c in result)


row_bytes = (WIDTH * 3 + 3) // 4 * 4
with open(sys.argv[1], "wb") as out:
    out.write(struct.pack("<2sIII", b"BM", 54 + row_bytes * HEIGHT, 0, 54))
    out.write(struct.pack("<IiiHHIIiiII", 40, WIDTH, HEIGHT, 1, 24, 0, row_bytes * HEIGHT, 2835, 2835, 0, 0))
    for y in reversed(range(HEIGHT)):
        row = bytearray()
        for x in range(WIDTH):
            red, green, blue = colour(x, y)
            row += bytes((blue, green, red))
        out.write(row.ljust(row_bytes, b"\0"))
