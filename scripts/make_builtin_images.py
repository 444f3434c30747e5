#!/usr/bin/env python3
"""Draws the program's built-in pictures and writes them as compiled-in image arrays.

    scripts/make_builtin_images.py > graphics/generated/builtin_images.cpp

The pictures are drawn here from nothing but arithmetic and a tiny bitmap font of our own, so
the generated file is reproducible: running the script again gives the same bytes. The array
form is the one IMAGE::load_array reads: a version byte 1, width and height as big-endian 16-bit
values, then each pixel as the bytes blue, green, red, alpha, rows from the top.
"""

import math

# 5 by 7 capitals, one string per row, "#" set.
FONT = {
    "A": [" ### ", "#   #", "#   #", "#####", "#   #", "#   #", "#   #"],
    "C": [" ### ", "#   #", "#    ", "#    ", "#    ", "#   #", " ### "],
    "E": ["#####", "#    ", "#    ", "#### ", "#    ", "#    ", "#####"],
    "G": [" ### ", "#   #", "#    ", "# ###", "#   #", "#   #", " ####"],
    "I": [" ### ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "],
    "L": ["#    ", "#    ", "#    ", "#    ", "#    ", "#    ", "#####"],
    "N": ["#   #", "##  #", "# # #", "#  ##", "#   #", "#   #", "#   #"],
    "P": ["#### ", "#   #", "#   #", "#### ", "#    ", "#    ", "#    "],
    "S": [" ####", "#    ", "#    ", " ### ", "    #", "    #", "#### "],
    "T": ["#####", "  #  ", "  #  ", "  #  ", "  #  ", "  #  ", "  #  "],
    "U": ["#   #", "#   #", "#   #", "#   #", "#   #", "#   #", " ### "],
    "W": ["#   #", "#   #", "#   #", "# # #", "# # #", "## ##", "#   #"],
    " ": ["     "] * 7,
}


class Picture:
    def __init__(self, width, height):
        self.width = width
        self.height = height
        self.pixels = [(0, 0, 0, 0)] * (width * height)

    def put(self, x, y, rgba):
        if 0 <= x < self.width and 0 <= y < self.height:
            self.pixels[y * self.width + x] = rgba

    def get(self, x, y):
        return self.pixels[y * self.width + x]

    def blend(self, x, y, rgb, alpha):
        if not (0 <= x < self.width and 0 <= y < self.height) or alpha <= 0:
            return
        r, g, b, a = self.get(x, y)
        k = min(alpha, 255)
        mix = tuple((d * (255 - k) + s * k) // 255 for d, s in zip((r, g, b), rgb))
        self.put(x, y, mix + (a,))


def lerp(a, b, t):
    return tuple(int(round(p + (q - p) * t)) for p, q in zip(a, b))


def rounded_panel(pic, top, bottom, border, radius):
    """Vertical gradient panel with soft rounded corners and a one-pixel border."""
    w, h = pic.width, pic.height
    for y in range(h):
        row = lerp(top, bottom, y / (h - 1))
        for x in range(w):
            # Distance outside the rounded rectangle, for an anti-aliased edge.
            cx = min(max(x + 0.5, radius), w - radius)
            cy = min(max(y + 0.5, radius), h - radius)
            d = math.hypot(x + 0.5 - cx, y + 0.5 - cy)
            coverage = max(0.0, min(1.0, radius - d + 0.5))
            if coverage <= 0:
                continue
            colour = border if d > radius - 1.5 else row
            pic.put(x, y, colour + (int(round(255 * coverage)),))


def text(pic, x, y, words, scale, rgb, shadow=None):
    for dx, dy, colour in ([(1, 1, shadow)] if shadow else []) + [(0, 0, rgb)]:
        pen = x + dx
        for letter in words:
            rows = FONT[letter]
            for ry, line in enumerate(rows):
                for rx, cell in enumerate(line):
                    if cell != "#":
                        continue
                    for sy in range(scale):
                        for sx in range(scale):
                            pic.blend(pen + rx * scale + sx, y + dy + ry * scale + sy, colour, 255)
            pen += 6 * scale


def text_width(words, scale):
    return len(words) * 6 * scale - scale


def parcel(pic, x, y, size):
    """A closed box seen from the front with a strap, the installer's emblem."""
    body = (214, 160, 82)
    lid = (236, 190, 112)
    strap = (140, 36, 36)
    lid_height = size // 4
    for py in range(size):
        for px in range(size):
            colour = lid if py < lid_height else body
            if abs(px - size // 2) <= size // 12:
                colour = strap
            shade = 1.0 - 0.25 * (py / size)
            colour = tuple(int(c * shade) for c in colour)
            if px in (0, size - 1) or py in (0, size - 1, lid_height):
                colour = (70, 44, 20)
            pic.blend(x + px, y + py, colour, 255)


def dots(pic, cx, y, count, spacing, radius, phase):
    """A row of progress dots, the one at `phase` lit."""
    left = cx - (count - 1) * spacing // 2
    for i in range(count):
        lit = i == phase
        colour = (255, 255, 255) if lit else (150, 160, 200)
        for py in range(-radius - 1, radius + 2):
            for px in range(-radius - 1, radius + 2):
                d = math.hypot(px, py)
                coverage = max(0.0, min(1.0, radius - d + 0.5))
                pic.blend(left + i * spacing + px, y + py, colour, int(255 * coverage))


def splash():
    pic = Picture(257, 97)
    rounded_panel(pic, (0x30, 0x18, 0x78), (0x24, 0x0A, 0x5D), (0x10, 0x04, 0x30), 10)
    parcel(pic, 16, 24, 48)
    label = "PLEASE WAIT"
    left = 72 + (177 - text_width(label, 2)) // 2
    text(pic, left, 36, label, 2, (255, 255, 255), shadow=(16, 4, 48))
    dots(pic, left + text_width(label, 2) // 2, 68, 5, 14, 3, 0)
    return pic


def closing():
    pic = Picture(193, 61)
    rounded_panel(pic, (0x0A, 0x55, 0x9C), (0x00, 0x3A, 0x73), (0x00, 0x1C, 0x3A), 8)
    parcel(pic, 12, 14, 32)
    label = "CLEANING UP"
    text(pic, 54, 20, label, 2, (255, 255, 255), shadow=(0, 28, 58))
    dots(pic, 54 + text_width(label, 2) // 2, 46, 3, 12, 2, 2)
    return pic


def array_text(name, pic):
    data = [1, pic.width >> 8, pic.width & 255, pic.height >> 8, pic.height & 255]
    for r, g, b, a in pic.pixels:
        data += [b, g, r, a]
    lines = ["extern const INT_U8 %s[%d];" % (name, len(data)),
             "const INT_U8 %s[%d] = {" % (name, len(data))]
    for i in range(0, len(data), 16):
        lines.append("    " + ",".join("0x%02X" % v for v in data[i:i + 16]) + ",")
    lines.append("};")
    return "\n".join(lines)


def main():
    print("// Generated by scripts/make_builtin_images.py; edit the script, not this file.")
    print("//")
    print("// The program's own pictures as compiled-in image arrays (IMAGE::load_array).")
    print('#include "graphics/generated/builtin_images.h"')
    print()
    print(array_text("builtin_splash_image", splash()))
    print()
    print(array_text("builtin_closing_image", closing()))


if __name__ == "__main__":
    main()
