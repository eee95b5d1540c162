"""The launcher of the run tree: from any directory, by any way of naming it, the program finds what it reads.

  launcher_test.py RUN_TREE      (started by ctest inside scripts/with_display)
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

RUN_TREE = pathlib.Path(sys.argv.pop()).resolve()
PATIENCE_S = 30


class Launcher(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="sorvane launcher-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.run_folder = self.folder / "run tree"
        self.run_folder.mkdir()
        shutil.copy2(RUN_TREE / "start-sorvane", self.run_folder)

    def told_program(self):
        """In the program's place: tells where it runs and with what."""
        program = self.run_folder / "sorvane"
        program.write_text('#!/bin/sh\npwd\nprintf "[%s]\\n" "$@"\nexit 7\n', encoding="utf-8")
        program.chmod(0o755)

    def call(self, name, *arguments, cwd="/"):
        done = subprocess.run([name, *arguments], cwd=cwd, capture_output=True, text=True, timeout=PATIENCE_S,
                              check=False)
        return done.returncode, done.stdout.splitlines()

    def test_it_runs_the_program_in_its_own_directory_with_the_arguments(self):
        self.told_program()
        expected = (7, [str(self.run_folder), "[a b]", "[]", "[-c]"])
        self.assertEqual(self.call(self.run_folder / "start-sorvane", "a b", "", "-c"), expected)
        self.assertEqual(self.call("./start-sorvane", "a b", "", "-c", cwd=self.run_folder), expected)

    def test_it_may_be_a_link_to_a_link(self):
        self.told_program()
        programs = self.folder / "bin"
        programs.mkdir()
        (programs / "first").symlink_to("../run tree/start-sorvane")
        (self.folder / "second").symlink_to(programs / "first")
        self.assertEqual(self.call(self.folder / "second", "x"), (7, [str(self.run_folder), "[x]"]))
        found = subprocess.run(["first", "y"], cwd="/", capture_output=True, text=True, timeout=PATIENCE_S, check=False,
                               env=dict(os.environ, PATH=f"{programs}:{os.environ['PATH']}"))
        self.assertEqual(found.stdout.splitlines(), [str(self.run_folder), "[y]"])

    def start_station(self, program, cwd):
        """What it says up to its first window."""
        for name in ("res", "fonts", "translations", "earth"):
            (self.run_folder / name).symlink_to(RUN_TREE / name)
        shutil.copy2(RUN_TREE / "sorvane", self.run_folder)
        (self.run_folder / "appCfg.ini").write_text("[common]\nplay_video_on_start=false\n", encoding="utf-8")
        console = self.folder / "console.txt"
        with open(console, "wb") as out:
            station = subprocess.Popen([program], cwd=cwd, stdout=out, stderr=subprocess.STDOUT)
        try:
            deadline = time.monotonic() + PATIENCE_S
            while not subprocess.run(["xdotool", "search", "--onlyvisible", "--pid", str(station.pid)],
                                     capture_output=True, check=False).stdout:
                self.assertIsNone(station.poll(), console.read_text(errors="replace"))
                self.assertLess(time.monotonic(), deadline, "no window")
                time.sleep(0.05)
        finally:
            station.terminate()
            station.wait(PATIENCE_S)
        return [line for line in console.read_text(errors="replace").splitlines() if line.startswith("not found in")]

    def test_the_station_misses_nothing_from_another_directory(self):
        self.assertEqual(self.start_station(self.run_folder / "start-sorvane", "/"), [])

    def test_without_it_one_line_names_what_is_missing(self):
        lines = self.start_station(self.run_folder / "sorvane", "/")
        self.assertEqual(len(lines), 1, lines)
        for part in ("not found in /:", "./res/common.qss", "./res/icon_app.png", "./translations/Translation_en.qm"):
            self.assertIn(part, lines[0])
        self.assertNotIn("msyh.ttc", lines[0], "that one stands beside the program")


if __name__ == "__main__":
    unittest.main()
