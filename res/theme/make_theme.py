#!/usr/bin/env python3
"""Writes the style sheets and the style of the icons from the one table of colours.

  make_theme.py TOKENS TEMPLATE_DIR OUT_DIR

Fails when a pair of colours that the table lists has too little contrast.
"""
import json
import string
import sys
from pathlib import Path

# Dynamic property `glyph` of a button -> the picture it shows instead of a text.
GLYPHS = ("up", "down", "left", "right", "start", "stop")


def channels(colour):
    return [int(colour[i:i + 2], 16) for i in (1, 3, 5)]


def mix(under, over, part):
    return "#" + "".join(f"{round(a + (b - a) * part):02x}" for a, b in zip(channels(under), channels(over)))


def luminance(colour):
    """Relative luminance after WCAG 2.1."""
    linear = [c / 255 / 12.92 if c / 255 <= 0.04045 else ((c / 255 + 0.055) / 1.055) ** 2.4 for c in channels(colour)]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(a, b):
    high, low = sorted((luminance(a), luminance(b)), reverse=True)
    return (high + 0.05) / (low + 0.05)


def colours(tokens, theme):
    table = dict(tokens["themes"][theme])
    for name, (under, over, part) in tokens["mixed"].items():
        table[name] = mix(table[under], table[over], part)
    return table


def weak_pairs(tokens, theme):
    table = colours(tokens, theme)
    for front, ground in tokens["contrast"]["pairs"]:
        value = contrast(table[front], table[ground])
        if value < tokens["contrast"]["least"]:
            yield f"{theme}: {front} on {ground} has a contrast of {value:.2f}"


def glyph_rules(suffix):
    rule = ('QPushButton[glyph="{0}"]{{ image: url(./res/{0}{1}.png); }}\n'
            'QPushButton[glyph="{0}"]:pressed {{ image: url(./res/{0}_on{1}.png); }}\n'
            'QPushButton[glyph="{0}"]:disabled {{ image: url(./res/{0}_off{1}.png); }}')
    return "\n".join(rule.format(name, suffix) for name in GLYPHS)


def main():
    tokens = json.loads(Path(sys.argv[1]).read_text(encoding="utf-8"))
    templates, out = Path(sys.argv[2]), Path(sys.argv[3])
    weak = [line for theme in tokens["themes"] for line in weak_pairs(tokens, theme)]
    if weak:
        sys.exit("\n".join(weak))
    out.mkdir(parents=True, exist_ok=True)
    for theme, sheet in tokens["sheets"].items():
        table = colours(tokens, theme)
        red, green, blue = channels(table["surface"])
        table["surface_85"] = f"rgba({red}, {green}, {blue}, 217)"
        table["surface_95"] = f"rgba({red}, {green}, {blue}, 242)"
        table["suffix"] = sheet["suffix"]
        table["glyph_rules"] = glyph_rules(sheet["suffix"])
        for template, name in sheet["files"].items():
            text = string.Template((templates / template).read_text(encoding="utf-8")).substitute(table)
            (out / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
