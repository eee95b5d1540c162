"""The program as a process, with a held button: whatever ends the process or its surroundings, the pod stands, what
was edited is kept, and the end is a clean one. Judged by a latched pod.

  ends_process_test.py RUN_TREE CONTROL_PLACES      (started by ctest; each test has a display of its own)
"""
import os
import pathlib
import re
import signal
import subprocess
import sys
import time
import unittest

from latched_pod import PATIENCE_S, StationTest, wait_for

CONTROL_PLACES = pathlib.Path(sys.argv.pop()).resolve()
RUN_TREE = pathlib.Path(sys.argv.pop()).resolve()

# To the left, where the pod has the longest way to its end: every hold here goes on from where the last one ended.
ARROW, ZOOM, SPEED = "pushButton_113", "pushButton_118", "lineEdit_3"


class Display:
    """An X server with a window manager."""

    def __init__(self, folder):
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", "1920x1080x24", "-dpi", "96", "-nolisten", "tcp",
             "-noreset"], pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as told:
            number = told.readline().strip()
        self.environment = dict(os.environ, DISPLAY=f":{number}", QT_QPA_PLATFORM="xcb", XDG_RUNTIME_DIR=str(folder),
                                NO_AT_BRIDGE="1")
        for name in ("WAYLAND_DISPLAY", "SDL_VIDEODRIVER"):
            self.environment.pop(name, None)
        self.manager = subprocess.Popen(["openbox", "--sm-disable"], env=self.environment, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        wait_for(lambda: b"window id" in self.output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), PATIENCE_S,
                 "the window manager")

    def output(self, *command):
        return subprocess.run(list(map(str, command)), env=self.environment, capture_output=True, check=False).stdout

    def hand(self, *arguments):
        self.output("xdotool", *arguments)

    def stop(self):
        for process in (self.manager, self.server):
            if process.poll() is None:
                process.kill()
            process.wait(PATIENCE_S)


class EndsOfTheProcess(StationTest):
    # Five times what a right station needs at most: two periods, a tenth of a second, the pod's slowing down.
    STOP_S = 1.5

    def setUp(self):
        self.prepare(RUN_TREE, CONTROL_PLACES)
        self.display = Display(self.folder)
        self.addCleanup(self.display.stop)
        self.addCleanup(self.end_station)

    def find_places(self):
        """Where the controls stand: the same window on the same display, a moment earlier."""
        told = subprocess.run([self.run_folder / CONTROL_PLACES.name, ARROW, ZOOM, SPEED, "videoWin1"],
                              cwd=self.run_folder, env=self.display.environment, capture_output=True, text=True,
                              timeout=PATIENCE_S, check=True).stdout
        self.places = {name: (x, y) for x, y, name in re.findall(r"^place (\d+) (\d+) (.+)$", told, re.M)}

    def start_station(self, single, output=None):
        self.find_places()
        self.run_station(single, self.display.environment, output=output)
        wait_for(self.active, PATIENCE_S, "the window")

        def linked():
            self.turn_wheel()
            return self.moves(0.2)
        wait_for(linked, PATIENCE_S, "the link")

        def pages_shown():
            self.click("control pane")
            # The pages take a moment to come.
            for _ in range(5):
                self.press(ZOOM)
                moved = self.moves(0.2)
                self.release()
                if moved:
                    return True
            return False
        self.assert_stands("after the wheel")
        wait_for(pages_shown, PATIENCE_S, "the control pages")
        self.assert_stands("after the first command")

    def active(self):
        """The station's window is the active one and fills the screen."""
        found = self.display.output("xdotool", "getactivewindow", "getwindowpid", "getwindowgeometry").decode()
        return re.search(rf"^{self.station.pid}$", found, re.M) and "1920x1080" in found

    def click(self, name):
        self.display.hand("mousemove", *self.places[name], "click", 1)

    def turn_wheel(self):
        self.display.hand("mousemove", *self.places["videoWin1"], "click", 4)

    def press(self, name):
        self.display.hand("mousemove", *self.places[name], "mousedown", 1)

    def release(self):
        self.display.hand("mouseup", 1)

    def moves(self, seconds):
        deadline = time.monotonic() + seconds
        while not self.pod.moves():
            if time.monotonic() > deadline:
                return False
            time.sleep(0.01)
        return True

    def edit_speed(self, text):
        self.click(SPEED)
        self.display.hand("key", "ctrl+a")
        self.display.hand("type", text)

    def assert_stored(self, line):
        stored = (self.run_folder / "appCfg.ini").read_text(encoding="utf-8")
        self.assertIn(f"{line}\n", stored)

    def hold(self, name):
        self.press(name)
        self.assertTrue(self.moves(PATIENCE_S), "the pod never moved")

    def held_until(self, end, single, what, status=True):
        """Holds a button, ends the process by end(), and looks at what is left."""
        self.start_station(single)
        self.edit_speed("37")
        self.hold(ARROW)
        end()
        try:
            self.assert_stands(f"after {what}")
        finally:
            self.release()
        code = self.station.wait(PATIENCE_S)
        if status:
            self.assertEqual(code, 0, what)
        time.sleep(0.2)
        self.assertFalse(self.pod.moves(), "it moves again")
        # What is typed into the window is stored as it closes; without a display the memory alone is.
        self.assert_stored("max_speed=37" if status else f"destination_port={self.pod.port}")
        self.assertEqual(list(self.run_folder.glob("*.dmp")), [])

    def test_signals(self):
        for single in (True, False):
            for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
                what = f"{number.name}, {'single' if single else 'periodic'}"
                with self.subTest(what):
                    try:
                        self.held_until(lambda: self.station.send_signal(number), single, what)
                    finally:
                        self.end_station()
                        self.brake()

    def lose_display(self):
        (self.run_folder / "appCfg.ini").unlink()
        self.display.server.kill()

    def test_the_display_goes(self):
        for single in (True, False):
            what = f"the display's end, {'single' if single else 'periodic'}"
            with self.subTest(what):
                if self.display.server.poll() is not None:
                    self.display.stop()
                    self.display = Display(self.folder)
                    self.addCleanup(self.display.stop)
                try:
                    # A toolkit without its display ends the process itself, with a status of its own.
                    self.held_until(self.lose_display, single, what, status=False)
                finally:
                    self.end_station()
                    self.brake()

    def test_nobody_reads_its_output(self):
        read, write = os.pipe()
        self.start_station(True, output=write)
        os.close(write)
        os.close(read)
        # Each turn of the wheel writes a line.
        for _ in range(5):
            before = self.pod.motion()["movements"]
            self.turn_wheel()
            wait_for(lambda: self.pod.motion()["movements"] > before or self.station.poll() is not None, PATIENCE_S,
                     "the wheel's command")
            self.assertIsNone(self.station.poll(), "it has ended")
            self.assert_stands("after the wheel")
        self.hold(ARROW)
        self.release()
        self.assert_stands("after the release")
        self.assertIsNone(self.station.poll(), "it has ended")

    def brake(self):
        self.pod.brake()
        self.assert_stands("by its own stops")


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
