"""The demo's map: the inertial unit is connected in the station's dialog, the globe shown and pressed, all by X events, and
judged by the screen and by what the simulated pod received."""
import math
import re
import subprocess
import time

# Places in the windows, pixels: the tool bar counts from the main window's upper right corner, the dialog from its own upper left.
TOOL_CONNECT, TOOL_MAP, TOOL_Y = 560, 385, 22
DIALOG = "连接"
INS_PORT, INS_OPEN, DIALOG_CLOSE = (220, 490), (417, 533), (971, 18)
LOCATE_TARGET = (24, 24)  # in a map
PRESS_ASIDE = (70, 45)    # of a map's middle
MARK = (0xff, 0x6b, 0x62)
RUNNING = (0x4c, 0xc4, 0x6a)
METRES_PER_DEGREE = 111319.49


def metres_between(a, b):
    north = (a[0] - b[0]) * METRES_PER_DEGREE
    return math.hypot(north, (a[1] - b[1]) * METRES_PER_DEGREE * math.cos(math.radians(a[0])))


class MapSession:
    def __init__(self, session, xdotool, wait_for):
        self.session, self.xdotool, self.wait_for = session, xdotool, wait_for
        self.folder, self.log = session.folder, session.log

    def windows(self, *query):
        found = self.xdotool("search", "--onlyvisible", "--all", "--pid", self.session.station.pid, *query)
        return [window for window in found if window.isdigit()]

    def geometry(self, window):
        """x, y, width, height on the screen."""
        text = subprocess.run(["xwininfo", "-id", window], capture_output=True, text=True, check=False).stdout
        values = [re.search(rf"{key}: +(-?\d+)", text) for key in
                  ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]
        return tuple(int(v.group(1)) for v in values) if all(values) else None

    def main_window(self):
        areas = [g for g in map(self.geometry, self.windows("--name", ".")) if g]
        return max(areas, key=lambda g: g[2] * g[3], default=None)

    def click(self, origin, place, button=1):
        self.xdotool("mousemove", origin[0] + place[0], origin[1] + place[1], "click", button)

    def click_tool(self, from_right):
        x, y, width, _ = self.main_window()
        self.click((x + width, y), (-from_right, TOOL_Y))

    # --- the inertial unit ---

    def green_dots(self):
        """Pixels of the health strip's green in the window's bottom bar."""
        x, y, width, height = self.main_window()
        pixel = self.session.screen.pixel
        return sum(all(abs(a - b) < 24 for a, b in zip(reversed(pixel(i, j)), RUNNING))
                   for j in range(y + height - 26, y + height) for i in range(x + width // 2, x + width, 1))

    def open_inertial_unit(self):
        self.click_tool(TOOL_CONNECT)
        dialog = self.geometry(self.wait_for(lambda: self.windows("--name", f"^{DIALOG}$"), 5, "the dialog")[0])
        self.click(dialog, INS_PORT)
        self.xdotool("key", "ctrl+a")
        self.xdotool("type", "--delay", 15, self.folder / "ins")
        self.click(dialog, INS_OPEN)
        return dialog

    def connect_inertial_unit(self):
        try:
            before = self.green_dots()
            dialog = self.open_inertial_unit()
            self.wait_for(lambda: self.green_dots() > before + 20, 10, "its dot in the health strip")
            self.session.screen.save(self.folder / "5-inertial.png")
            self.click(dialog, DIALOG_CLOSE)
            self.session.check(True, "inertial unit: its frames come in")
        except (TimeoutError, TypeError, IndexError) as error:
            self.session.check(False, f"inertial unit: {error}")

    def try_to_connect(self):
        """On a person's display: as soon as the window is there; without a word where it cannot be done."""
        try:
            self.wait_for(self.main_window, 20, "the window")
            time.sleep(3)  # until it stands where it will stay
            self.click(self.open_inertial_unit(), DIALOG_CLOSE)
        except (TimeoutError, TypeError, OSError):
            pass

    # --- the globe ---

    def native_areas(self):
        """Every native window inside the main window, by its place on the screen."""
        areas = set()
        for window in self.windows("--name", "."):
            tree = subprocess.run(["xwininfo", "-id", window, "-tree", "-int"], capture_output=True, text=True,
                                  check=False).stdout
            for match in re.finditer(r"^ +\d+ .*?(\d+)x(\d+)\+-?\d+\+-?\d+ +\+(-?\d+)\+(-?\d+)", tree, re.M):
                width, height, x, y = map(int, match.groups())
                areas.add((x, y, width, height))
        return areas

    def colours(self, area, step=8):
        x, y, width, height = area
        pixel = self.session.screen.pixel
        return [bytes(pixel(i, j)) for j in range(y + 4, y + height - 4, step) for i in range(x + 4, x + width - 4, step)]

    def globe_beside(self, before):
        """Of the two maps the one at the right, whose corner no pane covers; none until its button is drawn."""
        area = max((a for a in self.native_areas() - before if a[2] > 200 and a[3] > 600), default=None)
        if area is None:
            return None
        button = (area[0] + LOCATE_TARGET[0], area[1] + LOCATE_TARGET[1])
        return area if len(self.mark_pixels(*button, 14)) >= 3 else None

    def settled(self, area, seconds):
        """Waits until what the map shows has moved no more for two seconds, but for the aircraft: then the ground is there
        as fine as it gets."""
        before, still_since = None, None

        def still():
            nonlocal before, still_since
            now, last = self.colours(area), before
            before = now
            if not last or sum(a != b for a, b in zip(now, last)) > len(now) * 0.03:
                still_since = time.monotonic()
            time.sleep(0.3)
            return time.monotonic() - still_since > 2
        self.wait_for(still, seconds, "a globe that stands still")

    def place_looked_at(self):
        """Where the pod's line of sight meets the ground, latitude and longitude, by the pod's own word."""
        told = self.folder / "podsim.txt"
        size = told.stat().st_size
        self.session.pod.stdin.write(b"status\n")
        self.session.pod.stdin.flush()
        line = self.wait_for(lambda: re.search(r"look=(-?[\d.]+),(-?[\d.]+)", told.read_text()[size:]), 5, "the status")
        return float(line.group(1)), float(line.group(2))

    def mark_pixels(self, x, y, reach):
        """The pixels around a place that have the mark's colour."""
        pixel = self.session.screen.pixel
        return [(i, j) for j in range(y - reach, y + reach + 1) for i in range(x - reach, x + reach + 1)
                if all(abs(a - b) < 24 for a, b in zip(reversed(pixel(i, j)), MARK))]

    def tip_from(self, x, y):
        """How far the mark's lower tip lies from a place, pixels; none where there is no mark."""
        found = self.mark_pixels(x, y, 40)
        lowest = max((j for _, j in found), default=None)
        if len(found) < 20:
            return None
        tip = [i for i, j in found if j >= lowest - 1]
        return math.hypot(sum(tip) / len(tip) - x, lowest - y)

    def show_and_press(self):
        session = self.session
        try:
            before = self.native_areas()
            self.click_tool(TOOL_MAP)
            area = self.wait_for(lambda: self.globe_beside(before), 40, "the earth on the screen")
            session.screen.save(self.folder / "6-map.png")
            session.check(True, "map: the globe is on the screen")
            self.click(area, LOCATE_TARGET)
            time.sleep(5)  # the flight to the target lasts so long
            self.settled(area, 20)
            session.screen.save(self.folder / "7-map-target.png")
            self.press(area)
        except (TimeoutError, ValueError, TypeError, OSError) as error:
            session.screen.save(self.folder / "8-map-failed.png")
            session.check(False, f"map: {error}")

    def press(self, area):
        session = self.session
        x = area[0] + area[2] // 2 + PRESS_ASIDE[0]
        y = area[1] + area[3] // 2 + PRESS_ASIDE[1]
        start = time.monotonic_ns()
        self.xdotool("mousemove", x - 20, y, "mousemove", x, y)
        time.sleep(0.5)  # the point under the cursor is that of the last movement drawn
        self.xdotool("click", 1)
        track = self.wait_for(lambda: [e for e in self.log.events("pod", start) if e[2].get("name") == "geo-track"], 5,
                              "the command to look there")[-1]
        values = re.findall(r"(lat|lon|alt)=(-?[\d.]+)", track[2]["detail"])
        pressed = {key: float(value) for key, value in values}
        place = (pressed["lat"], pressed["lon"])
        session.check(abs(pressed["alt"] - 25) <= 2, f"map: the ground pressed is {pressed['alt']:.1f} m high (25 m)")
        looks = lambda: metres_between(self.place_looked_at(), place)
        try:
            self.wait_for(lambda: looks() < 1, 15, "the pod's line of sight")
        except TimeoutError:
            pass
        session.check(looks() < 1, f"map: the pod looks at the spot pressed, {looks():.1f} m beside it")
        self.xdotool("mousemove", area[0] + area[2] // 2, area[1] + area[3] - 30)
        near = lambda: (self.tip_from(x, y) or 1e9) < 6
        try:
            self.wait_for(near, 10, "the target's mark")
        except TimeoutError:
            pass
        distance = self.tip_from(x, y)
        session.screen.save(self.folder / "8-map-pressed.png")
        session.check(near(), "map: the target's mark lies on the spot pressed" +
                      (f", {distance:.1f} pixels beside it" if distance is not None else " (there is none)"))
