#!/usr/bin/env python3
"""Renders the icons: every SVG in the sizes, colours and names under which the program loads it.

  make_icons.py RSVG_CONVERT TOKENS SVG_DIR OUT_DIR

An icon of the tool bar NAME gives NAME.png by day and NAME_night.png by night, each also as @2x for fine screens;
its disabled look ends in "_off". The pictures that style sheets load have no @2x: there the toolkit takes the pixels
for the size.
"""
import json
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.dont_write_bytecode = True  # nothing is written into the sources
sys.path.insert(0, str(Path(__file__).parent / "theme"))
import make_theme  # noqa: E402

TOOL_BAR_PX = 22
TOOL_BAR = ("icon_settings_connect", "icon_settings", "icon_singleSnap", "icon_record", "map", "icon_openAvi2",
            "icon_chart", "icon_telemetry_info", "icon_sei", "show_video")
WINDOW = ("minimise", "maximise", "restore", "close")
# Marks in buttons: plain, "_on" over the accent, "_off" when disabled.
GLYPH_PX = 20
GLYPHS = ("up", "down", "left", "right", "start", "stop")
# Over the picture, whatever the theme.
WHITE = {"icon_player_play": 25, "icon_player_pause": 25, "icon_player_stop": 22, "icon_tip_recording": 25,
         "icon_tip_snapping": 25}
APP_PX = 256


def jobs(tokens):
    """(svg, file name, pixels, colour, danger colour)"""
    for theme, sheet in tokens["sheets"].items():
        colours, suffix = make_theme.colours(tokens, theme), sheet["suffix"]
        text, on, danger, faded = (colours[k] for k in ("text", "accent_text", "danger", "faded"))
        for name in TOOL_BAR + WINDOW:
            yield name, name + suffix, TOOL_BAR_PX, text, danger
        for name in TOOL_BAR:
            yield name, f"{name}{suffix}_off", TOOL_BAR_PX, faded, faded
        for name in GLYPHS:
            yield name, name + suffix, GLYPH_PX, text, danger
            yield name, f"{name}_on{suffix}", GLYPH_PX, on, danger
            yield name, f"{name}_off{suffix}", GLYPH_PX, faded, danger
        yield "down", "down_small" + suffix, 14, colours["muted"], danger
        yield "down", "down_small_off" + suffix, 14, colours["line"], danger
        yield "check", "check" + suffix, 16, text, danger
        yield "check", "check_on" + suffix, 16, on, danger
        yield "minimise", "minimise_on" + suffix, TOOL_BAR_PX, on, danger
        yield "close", "close_on_danger" + suffix, TOOL_BAR_PX, colours["surface"], danger
        yield "info", "info" + suffix, 30, colours["accent"], danger
    night = tokens["themes"]["night"]
    for name, pixels in WHITE.items():
        yield name, name, pixels, "#ffffff", night["danger"]
    yield "icon_app", "icon_app", APP_PX, "#ffffff", night["danger"]


def render(converter, svg, target, pixels, colour, danger):
    with tempfile.NamedTemporaryFile("w", suffix=".css") as style:
        style.write(f"svg {{ color: {colour}; }} .danger {{ stroke: {danger}; fill: {danger}; }}")
        style.flush()
        subprocess.run([converter, "-s", style.name, "-w", str(pixels), "-h", str(pixels), "-o", str(target), str(svg)],
                       check=True)


def main():
    converter, tokens = sys.argv[1], json.loads(Path(sys.argv[2]).read_text(encoding="utf-8"))
    svg, out = Path(sys.argv[3]), Path(sys.argv[4])
    out.mkdir(parents=True, exist_ok=True)
    with ThreadPoolExecutor() as pool:
        runs = []
        for source, name, pixels, colour, danger in jobs(tokens):
            for scale, mark in ((1, ""), (2, "@2x")) if source in TOOL_BAR else ((1, ""),):
                runs.append(pool.submit(render, converter, svg / f"{source}.svg", out / f"{name}{mark}.png",
                                        pixels * scale, colour, danger))
        for run in runs:
            run.result()


if __name__ == "__main__":
    main()
