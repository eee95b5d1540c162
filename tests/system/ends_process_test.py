"""The program as a process, with a held button: whatever ends the process or its surroundings, the pod stands, what
was edited is kept, and the end is a clean one. Judged by a latched pod.

  ends_process_test.py RUN_TREE CONTROL_PLACES      (started by ctest; each test has a display of its own)
"""
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

CONTROL_PLACES = pathlib.Path(sys.argv.pop()).resolve()
RUN_TREE = pathlib.Path(sys.argv.pop()).resolve()

PATIENCE_S = 20
# Five times what a right station needs at most: two periods, a tenth of a second, the pod's slowing down.
STOP_S = 1.5
# To the left, where the pod has the longest way to its end: every hold here goes on from where the last one ended.
ARROW, ZOOM, SPEED = "pushButton_113", "pushButton_118", "lineEdit_3"


def wait_for(condition, seconds, what):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError(f"{what}: not within {seconds} s")


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


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


class Pod:
    """podsim, asked what moves."""

    def __init__(self, program, folder):
        self.process = subprocess.Popen([program, "--latched", "--udp", "0", "--rtsp-port", "off"],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=open(folder / "podsim.txt", "wb"), text=True, bufsize=1)
        self.port = int(re.search(r"udp=\S*:(\d+)", self.process.stdout.readline()).group(1))

    def motion(self):
        self.process.stdin.write("motion\n")
        line = self.process.stdout.readline()
        return {key: float(value) for key, value in re.findall(r"(\w+)=(\S+)", line)}

    def still(self):
        told = self.motion()
        return not any(told[key] for key in ("az", "el", "zoom0", "focus0", "zoom1", "focus1"))

    def stop(self):
        self.process.kill()
        self.process.wait(PATIENCE_S)
        self.process.stdin.close()
        self.process.stdout.close()


class EndsOfTheProcess(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="sorvane-ends-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.run_folder = self.folder / "run"
        self.run_folder.mkdir()
        for program in (RUN_TREE / "sorvane", RUN_TREE / "podsim", CONTROL_PLACES):
            shutil.copy2(program, self.run_folder / program.name)
        for name in ("res", "fonts", "translations"):
            (self.run_folder / name).symlink_to(RUN_TREE / name)
        self.station = None
        self.display = Display(self.folder)
        self.addCleanup(self.display.stop)
        self.pod = Pod(self.run_folder / "podsim", self.folder)
        self.addCleanup(self.pod.stop)
        self.addCleanup(self.end_station)

    def end_station(self):
        if self.station and self.station.poll() is None:
            self.station.kill()
            self.station.wait(PATIENCE_S)

    def find_places(self):
        """Where the controls stand: the same window on the same display, a moment earlier."""
        told = subprocess.run([self.run_folder / CONTROL_PLACES.name, ARROW, ZOOM, SPEED, "videoWin1"],
                              cwd=self.run_folder, env=self.display.environment, capture_output=True, text=True,
                              timeout=PATIENCE_S, check=True).stdout
        self.places = {name: (x, y) for x, y, name in re.findall(r"^place (\d+) (\d+) (.+)$", told, re.M)}

    def start_station(self, single, output=None):
        self.find_places()
        # Nothing answers for the pictures; the link opens by itself with them.
        (self.run_folder / "appCfg.ini").write_text(
            "[connection]\nvideo1_play_address=rtsp://127.0.0.1:9/none\n"
            f"destination_address=127.0.0.1\ndestination_port={self.pod.port}\nlocal_bind_port={free_port()}\n"
            f"[common]\nplay_video_on_start=true\nsend_single={'true' if single else 'false'}\n", encoding="utf-8")
        self.station = subprocess.Popen(
            [self.run_folder / "sorvane"], cwd=self.run_folder, env=self.display.environment,
            stdout=output if output is not None else open(self.folder / "sorvane.txt", "wb"),
            stderr=subprocess.STDOUT)
        wait_for(self.active, PATIENCE_S, "the window")

        # The link opens by itself, two seconds after the window.
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
        self.assert_still("after the wheel")
        wait_for(pages_shown, PATIENCE_S, "the control pages")
        self.assert_still("after the first command")

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
        while self.pod.still():
            if time.monotonic() > deadline:
                return False
            time.sleep(0.01)
        return True

    def assert_still(self, when):
        try:
            wait_for(self.pod.still, STOP_S, f"the pod stands {when}")
        except AssertionError as error:
            raise AssertionError(f"{error}: {self.pod.motion()}") from None

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
            self.assert_still(f"after {what}")
        finally:
            self.release()
        code = self.station.wait(PATIENCE_S)
        if status:
            self.assertEqual(code, 0, what)
        time.sleep(0.2)
        self.assertTrue(self.pod.still(), "it moves again")
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
            self.assert_still("after the wheel")
        self.hold(ARROW)
        self.release()
        self.assert_still("after the release")
        self.assertIsNone(self.station.poll(), "it has ended")

    def brake(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as stops:
            for frame in ("FB2CAA0670000000000076", "FB2CAA0645000000000043", "FB2CAA0650000000000056"):
                stops.sendto(bytes.fromhex(frame), ("127.0.0.1", self.pod.port))
        self.assert_still("by its own stops")


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
