"""The built programs as processes on loopback, under a window manager: what a user sees and does, from outside.

  programs_test.py RUN_TREE SCREEN_FOLDER      (started by ctest inside scripts/with_display --fbdir)
"""
import importlib.machinery
import importlib.util
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import types
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCREEN_FOLDER = pathlib.Path(sys.argv.pop()).resolve()
RUN_TREE = pathlib.Path(sys.argv.pop()).resolve()

loader = importlib.machinery.SourceFileLoader("demo_session", str(ROOT / "scripts" / "demo_session"))
demo = importlib.util.module_from_spec(importlib.util.spec_from_loader("demo_session", loader))
loader.exec_module(demo)
wait_for = demo.wait_for
xdotool = demo.xdotool


class Station(demo.Session):
    """A station and a pod in a folder of their own."""

    def __init__(self, folder):
        super().__init__(types.SimpleNamespace(folder=folder, seconds=0, interactive=False))
        self.run.mkdir()
        for name in ("sorvane", "start-sorvane", "podsim"):
            shutil.copy2(RUN_TREE / name, self.run / name)
        for name in ("res", "fonts", "translations"):
            (self.run / name).symlink_to(RUN_TREE / name)
        self.screen = demo.Screen(SCREEN_FOLDER)
        self.watcher = None
        self.area = None

    def watch(self):
        self.watcher = demo.Watcher(self.screen)
        self.watcher.start()

    def pictures(self, count, seconds, what):
        """Waits until `count` further numbers were seen on the screen."""
        before = len(self.watcher.seen)

        def enough():
            self.area = self.watcher.area = self.picture_area()
            return self.area and len(self.watcher.seen) >= before + count
        wait_for(enough, seconds, what)

    def close_button(self):
        """The station is maximised: its close button stands in the screen's corner."""
        xdotool("mousemove", self.screen.width - 21, 22, "click", 1)

    def stop_pod(self, how):
        self.pod.send_signal(how)
        self.pod.wait(10)

    def console(self):
        return (self.folder / "sorvane.txt").read_text(errors="replace")


class Programs(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="sorvane-system-"))
        self.s = Station(self.folder)
        self.addCleanup(self.clean)

    def clean(self):
        if self.s.watcher:
            self.s.watcher.running = False
        self.s.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self):
        self.s.start_pod()
        self.s.start_station()
        self.s.watch()
        self.s.pictures(10, 30, "the first pictures")

    def no_problems(self):
        self.assertEqual(self.s.problems, [])

    def test_picture_click_drag_wheel_and_telemetry_rate(self):
        self.start()
        begin = time.monotonic_ns()
        self.s.track()
        self.s.stop_tracking()
        self.s.drag()
        self.s.wheel()
        self.no_problems()
        seen, sent = self.s.seen_of_sent(begin, time.monotonic_ns() - 500_000_000)
        self.assertGreaterEqual(seen, 0.8 * sent, f"{seen} of {sent}")
        warnings = [line for line in self.s.console().splitlines() if re.search(r"warning|QObject::|qt\.", line, re.I)]
        self.assertEqual(warnings, [])

    def test_a_drag_to_the_right_moves_what_is_seen_to_the_left(self):
        """By the pixels of the screen: the shift between pictures while the button is held, summed up."""
        self.start()
        left, top, width, height = self.s.area
        xs = range(left + width * 35 // 100, left + width * 80 // 100)
        lines = [top + height * share // 100 for share in (35, 60, 75)]

        def picture():
            return [[self.s.screen.pixel(x, y)[1] for x in xs] for y in lines]

        def shift(old, new):
            """By how many pixels the content moved to the right, at most 40 either way."""
            def difference(by):
                return sum(abs(a[i] - b[i + by]) for a, b in zip(old, new) for i in range(40, len(a) - 40, 3))
            return min(range(-40, 41), key=difference)

        x, y = self.s.to_screen(demo.PICTURE[0] * 0.45, demo.PICTURE[1] * 0.5)
        xdotool("mousemove", x, y, "mousedown", 1)
        moved = 0
        last = None
        for step in range(1, 26):
            xdotool("mousemove", x + step * 16, y)
            seen = len(self.s.watcher.seen)
            wait_for(lambda: len(self.s.watcher.seen) > seen, 5, "the next picture")
            now = picture()
            moved += shift(last, now) if last else 0
            last = now
        xdotool("mouseup", 1)
        self.assertLess(moved, -30, "pixels to the right")

    def test_the_stream_comes_back_after_the_server_was_killed_and_restarted(self):
        self.start()
        self.s.stop_pod(signal.SIGKILL)
        frozen = len(self.s.watcher.seen)
        # The same ports again; the stall check reopens within two of its periods.
        self.s.pod = None
        restarted = [self.s.run / "podsim", "--udp", str(self.s.udp), "--rtsp-port", str(self.s.rtsp),
                     "--peer", f"{self.s.station_address()}:{self.s.local}", "--number0", "right",
                     "--event-log", self.folder / "pod.log"]
        self.s.watcher.seen.clear()
        self.s.pod = subprocess.Popen(restarted, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                      stderr=subprocess.DEVNULL)
        self.assertGreater(frozen, 0)
        self.s.pictures(10, 40, "the pictures after the restart")
        self.s.track()
        self.s.stop_tracking()
        self.no_problems()

    def test_closing_while_everything_runs(self):
        self.start()
        self.s.close_button()
        begin = time.monotonic()
        self.assertEqual(self.s.station.wait(10), 0)
        self.assertLess(time.monotonic() - begin, 10)
        text = (self.s.run / "appCfg.ini").read_text(encoding="utf-8")
        self.assertIn("destination_port=", text)
        self.assertIn("js_sensitivity=10", text)
        self.assertEqual(list(self.s.run.glob("*.dmp")), [])

    def ends_whole(self, end):
        """What is recorded when the program ends plays to its end."""
        self.start()
        xdotool("key", "F9")
        folder = self.s.run / "record"
        file, = wait_for(lambda: [f for f in folder.glob("*/*.mp4") if f.stat().st_size > 100_000], 30, "a recording")
        self.s.pictures(50, 30, "the pictures while it records")
        end()
        self.assertEqual(self.s.station.wait(10), 0)
        # Its table of key pictures, which only an orderly end writes.
        self.assertEqual(file.read_bytes()[-12:-8], b"mfro")
        probe = subprocess.run(["ffprobe", "-v", "warning", "-count_frames", "-select_streams", "v:0", "-show_entries",
                                "stream=nb_read_frames", "-of", "csv=p=0", file],
                               capture_output=True, text=True, check=True)
        self.assertEqual(probe.stderr, "")
        self.assertGreaterEqual(int(probe.stdout), 50)

    def test_a_signal_while_it_records_leaves_a_whole_file(self):
        self.ends_whole(lambda: self.s.station.send_signal(signal.SIGTERM))

    def test_closing_while_it_records_leaves_a_whole_file(self):
        self.ends_whole(self.s.close_button)

    def test_closing_while_the_server_hangs(self):
        self.start()
        self.s.pod.send_signal(signal.SIGSTOP)
        try:
            time_of_last = max(self.s.watcher.seen.values())
            wait_for(lambda: time.monotonic_ns() - time_of_last > 1_000_000_000, 10, "a frozen picture")
            self.s.close_button()
            self.assertEqual(self.s.station.wait(10), 0)
        finally:
            self.s.pod.send_signal(signal.SIGCONT)

    def test_without_a_pod_the_window_stands_and_closes(self):
        server = demo.socket.create_server(("127.0.0.1", 0))
        self.addCleanup(server.close)
        self.s.udp = demo.free_port(demo.socket.SOCK_DGRAM)
        self.s.rtsp = server.getsockname()[1]
        self.s.local = demo.free_port(demo.socket.SOCK_DGRAM)
        self.s.web = demo.free_port(demo.socket.SOCK_STREAM)
        self.s.start_station()
        wait_for(self.s.picture_area, 20, "the window")
        # The automatic opening comes to a server that hangs up at once.
        server.settimeout(20)
        server.accept()[0].close()
        self.assertIsNone(self.s.station.poll())
        self.s.close_button()
        self.assertEqual(self.s.station.wait(10), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
