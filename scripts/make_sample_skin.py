#!/usr/bin/env python3
"""Draws the sample installer's skin, background and splash.

Writes samples/skin/ (every style file, the 24 icons, the button and bar pictures and
dialog_effects.cfg), samples/background.png and samples/splash.png. Everything is drawn here from
simple shapes; run the script again after changing it and commit what it writes. The output is the
same on every run.
"""

import os
import struct
import sys
import zlib

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "samples")


# --- Pictures ------------------------------------------------------------------------------------

class Picture:
    def __init__(self, width, height, colour=(0, 0, 0, 0)):
        self.width = width
        self.height = height
        self.pixels = [list(colour) for _ in range(width * height)]

    def put(self, x, y, colour):
        if 0 <= x < self.width and 0 <= y < self.height:
            alpha = colour[3] / 255.0
            pixel = self.pixels[y * self.width + x]
            for i in range(3):
                pixel[i] = int(round(colour[i] * alpha + pixel[i] * (1 - alpha)))
            pixel[3] = max(pixel[3], colour[3])

    def box(self, x1, y1, x2, y2, colour):
        for y in range(y1, y2 + 1):
            for x in range(x1, x2 + 1):
                self.put(x, y, colour)

    def gradient(self, top, bottom):
        for y in range(self.height):
            t = y / max(1, self.height - 1)
            colour = tuple(int(top[i] + (bottom[i] - top[i]) * t) for i in range(4))
            for x in range(self.width):
                self.pixels[y * self.width + x] = list(colour)

    def outline(self, x1, y1, x2, y2, colour):
        self.box(x1, y1, x2, y1, colour)
        self.box(x1, y2, x2, y2, colour)
        self.box(x1, y1, x1, y2, colour)
        self.box(x2, y1, x2, y2, colour)

    def disc(self, cx, cy, r, colour):
        for y in range(cy - r, cy + r + 1):
            for x in range(cx - r, cx + r + 1):
                if (x - cx) ** 2 + (y - cy) ** 2 <= r * r:
                    self.put(x, y, colour)

    def polygon(self, points, colour):
        ys = [p[1] for p in points]
        for y in range(min(ys), max(ys) + 1):
            crossings = []
            for i in range(len(points)):
                (x1, y1), (x2, y2) = points[i], points[(i + 1) % len(points)]
                if (y1 <= y < y2) or (y2 <= y < y1):
                    crossings.append(x1 + (y - y1) * (x2 - x1) / (y2 - y1))
            crossings.sort()
            for a, b in zip(crossings[0::2], crossings[1::2]):
                for x in range(int(round(a)), int(round(b)) + 1):
                    self.put(x, y, colour)

    def line(self, x1, y1, x2, y2, colour, width=2):
        steps = max(abs(x2 - x1), abs(y2 - y1), 1)
        for i in range(steps + 1):
            x = x1 + (x2 - x1) * i / steps
            y = y1 + (y2 - y1) * i / steps
            self.box(int(x) - width // 2, int(y) - width // 2, int(x) + (width - 1) // 2, int(y) + (width - 1) // 2,
                     colour)

    def save(self, path):
        rows = b""
        for y in range(self.height):
            row = bytearray([0])
            for x in range(self.width):
                row.extend(self.pixels[y * self.width + x])
            rows += bytes(row)

        def chunk(kind, data):
            body = kind + data
            return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 6, 0, 0, 0)
        data = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) \
            + chunk(b"IEND", b"")
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as out:
            out.write(data)


WHITE = (255, 255, 255, 255)
INK = (40, 44, 60, 255)
BLUE = (52, 101, 164, 255)
GREEN = (78, 154, 6, 255)
RED = (204, 0, 0, 255)
AMBER = (237, 170, 30, 255)
GREY = (136, 138, 133, 255)
PAPER = (238, 238, 236, 255)


def icon(draw):
    picture = Picture(32, 32)
    draw(picture)
    return picture


def arrow(right, colour):
    def draw(p):
        if right:
            p.polygon([(4, 12), (18, 12), (18, 4), (29, 16), (18, 28), (18, 20), (4, 20)], colour)
        else:
            p.polygon([(28, 12), (14, 12), (14, 4), (3, 16), (14, 28), (14, 20), (28, 20)], colour)
    return draw


def tick(colour):
    def draw(p):
        p.line(5, 17, 12, 25, colour, 4)
        p.line(12, 25, 27, 7, colour, 4)
    return draw


def cross(colour):
    def draw(p):
        p.line(7, 7, 25, 25, colour, 4)
        p.line(25, 7, 7, 25, colour, 4)
    return draw


def door(p):
    p.box(8, 4, 22, 28, GREY)
    p.box(10, 6, 20, 28, INK)
    p.polygon([(16, 10), (27, 16), (16, 22)], RED)


def about(p):
    p.disc(16, 16, 13, BLUE)
    p.box(14, 13, 18, 25, WHITE)
    p.disc(16, 8, 2, WHITE)


def flag(p):
    p.box(7, 4, 9, 29, INK)
    p.polygon([(10, 5), (27, 10), (10, 16)], GREEN)


def install(p):
    p.box(6, 20, 26, 28, GREY)
    p.box(14, 3, 18, 14, BLUE)
    p.polygon([(8, 13), (24, 13), (16, 22)], BLUE)


def new_folder(p):
    folder(p)
    p.box(22, 2, 24, 12, GREEN)
    p.box(18, 6, 28, 8, GREEN)


def folder(p):
    p.box(3, 8, 13, 11, AMBER)
    p.box(3, 11, 28, 27, AMBER)
    p.outline(3, 11, 28, 27, (160, 110, 10, 255))


def parent_folder(p):
    folder(p)
    p.polygon([(16, 13), (23, 20), (19, 20), (19, 25), (13, 25), (13, 20), (9, 20)], INK)


def file_icon(p):
    p.polygon([(7, 3), (20, 3), (26, 9), (26, 29), (7, 29)], PAPER)
    p.outline(7, 3, 26, 29, GREY)
    for y in (12, 16, 20, 24):
        p.box(10, y, 23, y, GREY)


def disk(colour, mark=None):
    def draw(p):
        p.box(3, 9, 28, 24, colour)
        p.outline(3, 9, 28, 24, INK)
        p.box(22, 19, 25, 21, GREEN)
        if mark:
            mark(p)
    return draw


def cdrom(p):
    p.disc(16, 16, 13, (200, 200, 210, 255))
    p.disc(16, 16, 4, WHITE)
    p.disc(16, 16, 2, GREY)


def floppy(p):
    p.box(5, 4, 27, 28, BLUE)
    p.box(10, 4, 22, 12, GREY)
    p.box(9, 17, 23, 28, PAPER)


def network(p):
    disk(GREY)(p)
    p.box(15, 24, 17, 30, INK)
    p.box(6, 29, 26, 30, INK)


ICONS = [
    ("forw_icon", arrow(True, GREEN)),
    ("prev_icon", arrow(False, GREEN)),
    ("yes_icon", tick(GREEN)),
    ("no_icon", cross(RED)),
    ("quit_icon", door),
    ("about_icon", about),
    ("finish_icon", flag),
    ("agree_icon", tick(BLUE)),
    ("disagree_icon", cross(AMBER)),
    ("install_icon", install),
    ("new_folder_icon", new_folder),
    ("disk", disk(GREY)),
    ("disk-cdrom", cdrom),
    ("disk-floppy", floppy),
    ("disk-network", network),
    ("disk-linux", disk(GREY, lambda p: p.disc(10, 16, 4, AMBER))),
    ("disk-unix", disk(GREY, lambda p: p.box(7, 13, 12, 19, INK))),
    ("disk-mac", disk(PAPER, lambda p: p.disc(10, 16, 4, GREY))),
    ("disk-os2", disk(BLUE, lambda p: p.disc(10, 16, 4, WHITE))),
    ("disk-dos", disk(INK, lambda p: p.box(7, 15, 13, 17, WHITE))),
    ("disk-windows", disk(BLUE, lambda p: p.box(7, 12, 13, 20, AMBER))),
    ("parent_folder", parent_folder),
    ("file", file_icon),
    ("folder", folder),
]


def button(state):
    top, bottom = {
        "": ((250, 250, 252, 255), (200, 206, 220, 255)),
        "_down": ((180, 188, 205, 255), (225, 228, 236, 255)),
        "_over": ((255, 255, 255, 255), (214, 226, 245, 255)),
        "_disabled": ((230, 230, 230, 255), (210, 210, 210, 255)),
    }[state]
    p = Picture(24, 24)
    p.gradient(top, bottom)
    p.outline(0, 0, 23, 23, (100, 110, 130, 255))
    return p


# --- Style files -----------------------------------------------------------------------------------

COLOURS = ["fg_colour", "bg_colour", "fading_colour", "highlight_colour", "highlight_text_colour",
           "active_colour", "active_text_colour", "shading_base_colour", "mouse_over_colour",
           "mouse_over_text_colour", "flashing_colour", "flashing_text_colour", "disabled_colour",
           "disabled_text_colour", "underline_colour"]
MEASURES = ["border_left_gap", "border_right_gap", "border_top_gap", "border_bottom_gap", "cell_left_gap",
            "cell_right_gap", "cell_top_gap", "cell_bottom_gap", "x_spacing", "y_spacing",
            "scrollbar_button_width", "scrollbar_slider_width", "grid_scrollbar_width", "grid_two_tone_value"]


def style(image="", font=10, size=16, gaps=4, flags=(), colours=None, **extra):
    values = {"fg_colour": "#FF282C3C", "bg_colour": "#FFEEEEEC"}
    values.update(colours or {})
    lines = [("image_filename", image), ("image_path", "$HERE" if image else ""), ("shading_type", 1)]
    lines += [(key, values.get(key, "#00000000")) for key in COLOURS]
    lines += [("visible", 1), ("shading_flags", 255), ("font_id", font), ("font_x_sz", size),
              ("font_y_sz", size)]
    measures = {key: gaps for key in MEASURES[:8]}
    measures.update({"x_spacing": 1, "y_spacing": 1, "scrollbar_button_width": 15, "scrollbar_slider_width": 10,
                     "grid_scrollbar_width": 15, "grid_two_tone_value": 20})
    measures.update(extra)
    lines += [(key, measures[key]) for key in MEASURES]
    lines += [(key, 1) for key in ("ssf_draw_border",) + tuple(flags)]
    return "".join("%s\n\t%s\n" % (key, value) for key, value in lines)


STYLES = {
    "button/button.ss": style("button", flags=("ssf_outstanding_border", "ssf_icon_left"),
                              colours={"mouse_over_text_colour": "#FF3465A4", "disabled_text_colour": "#FF888A85"}),
    "button/button_hints.ss": style(size=12, gaps=3, colours={"bg_colour": "#FFFFF5C0"}),
    "button/menu_button.ss": style("button", flags=("ssf_outstanding_border", "ssef_down_arrow")),
    "menu/menu_dropdown.ss": style(gaps=2, colours={"bg_colour": "#FFFFFFFF"}),
    "menu/menu_item.ss": style(gaps=2, colours={"highlight_colour": "#FF3465A4", "highlight_text_colour": "#FFFFFFFF"}),
    "menu/menu_alt_item.ss": style(gaps=2, colours={"bg_colour": "#FFE4E8F0"}),
    "check_box/check_box.ss": style(flags=("ssf_left_justify_text",), colours={"active_colour": "#FF4E9A06"}),
    "progress_bar/progress_bar.ss": style("bar", size=12, gaps=2, flags=("ssf_indent_border",),
                                          colours={"active_colour": "#FF3465A4"}),
    "progress_bar/progress_bar_script.ss": style(size=12, gaps=2, flags=("ssf_left_justify_text",)),
    "dialog/background.ss": style(gaps=8, flags=("ssf_outstanding_border", "ssf_vfading"),
                                  colours={"fading_colour": "#FFD3D7CF"}),
    "dialog/text.ss": style(flags=("ssf_left_justify_text", "ssf_wrap_text")),
    "dialog/title.ss": style(font=8, size=20, colours={"fg_colour": "#FFFFFFFF", "bg_colour": "#FF3465A4"}),
    "options/options.ss": style(flags=("ssf_left_justify_text",)),
    "text_win/scrollbar.ss": style(gaps=1, flags=("ssef_sb_with_buttons",)),
    "text_win/text_title.ss": style(font=8, size=16, flags=("ssf_left_justify_text",)),
    "text_win/text.ss": style(size=14, flags=("ssf_left_justify_text", "ssf_wrap_text"),
                              colours={"bg_colour": "#FFFFFFFF"}),
    "title/title.ss": style(font=8, size=28, flags=("ssf_shadow_text",), colours={"fg_colour": "#FFFFFFFF"}),
}

DIALOG_EFFECTS = """# How dialogs open, and how the progress bar's picture moves.
flags
\t0x47C
open_delay
\t250
display_delay
\t900
dragging_alpha
\t0xC0
progress_bar_animation_x_rate
\t2
progress_bar_animation_y_rate
\t0
progress_bar_animation_update_rate
\t40
"""


def main():
    skin = os.path.join(TOP, "skin")
    for name, text in STYLES.items():
        path = os.path.join(skin, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as out:
            out.write(text)
    with open(os.path.join(skin, "dialog_effects.cfg"), "w") as out:
        out.write(DIALOG_EFFECTS)
    for name, draw in ICONS:
        icon(draw).save(os.path.join(skin, "icons", name + ".png"))
    for folder in ("button",):
        for state in ("", "_down", "_over", "_disabled"):
            button(state).save(os.path.join(skin, folder, "button%s.png" % state))
    bar = Picture(16, 12)
    bar.gradient((255, 255, 255, 255), (205, 210, 220, 255))
    bar.save(os.path.join(skin, "progress_bar", "bar.png"))
    full = Picture(16, 12)
    full.gradient((114, 159, 207, 255), (32, 74, 135, 255))
    full.save(os.path.join(skin, "progress_bar", "bar_bar.png"))

    background = Picture(320, 200)
    background.gradient((32, 74, 135, 255), (10, 20, 40, 255))
    for i in range(9):
        background.disc(30 + i * 34, 150 - (i % 3) * 30, 10 + (i % 4) * 3, (255, 255, 255, 40))
    background.save(os.path.join(TOP, "background.png"))

    splash = Picture(440, 160)
    splash.gradient((52, 101, 164, 255), (20, 40, 80, 255))
    splash.box(20, 20, 419, 23, (255, 255, 255, 180))
    install(splash)
    splash.outline(0, 0, 439, 159, (255, 255, 255, 255))
    splash.save(os.path.join(TOP, "splash.png"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
