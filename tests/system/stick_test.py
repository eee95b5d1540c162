"""The program with a game controller that is pulled in every state of axis and button: the pod stands each time.
Judged by a latched pod; the controller is a virtual one, preloaded.

  stick_test.py RUN_TREE VIRTUAL_STICK      (started by ctest inside scripts/with_display)
"""
import itertools
import os
import pathlib
import random
import signal
import sys
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
from latched_pod import PATIENCE_S, StationTest, wait_for  # noqa: E402
from virtual_stick import VirtualStick, axis, button, stored_map  # noqa: E402

LIBRARY = pathlib.Path(sys.argv.pop()).resolve()
RUN_TREE = pathlib.Path(sys.argv.pop()).resolve()

PRODUCT = 0x2109
# Buttons 0 to 5 and what they are given, by the row of the page.
ZOOM_IN, ZOOM_OUT, SNAPSHOT, TRACK, UNASSIGNED, CENTRE = range(6)
FUNCTIONS = [9, 10, 3, 7, 0, 1] + [0] * 6
ROLES = [1, 2, 0, 0, 0, 0]
AXES = {
    "no axis": (),
    "right": (axis(0, 1),),
    "left": (axis(0, -1),),
    # As far up as the other goes down: many of them never bring the pod to an end, where it would not move.
    "up, half": (axis(1, 0.5),),
    "diagonal": (axis(0, -0.7), axis(1, -0.5)),
    "an axis without a role": (axis(2, 1),),
}
BUTTONS = {
    "no button": (),
    "zoom in": (button(ZOOM_IN, True),),
    "zoom out": (button(ZOOM_OUT, True),),
    "snapshot": (button(SNAPSHOT, True),),
    "track": (button(TRACK, True),),
    "a button without a function": (button(UNASSIGNED, True),),
    "zoom in and centre": (button(ZOOM_IN, True), button(CENTRE, True)),
}
PULLS = int(os.environ.get("SORVANE_PULLS", "100"))


class Stick(StationTest):
    # Far more than a right station needs (two periods, the poll that sees it, the pod slowing down), less than the way to
    # an end, where a pod stands by itself.
    STOP_S = 4

    def setUp(self):
        self.prepare(RUN_TREE)
        self.stick = VirtualStick(LIBRARY, self.folder)
        self.addCleanup(self.stick.close)
        self.random = random.Random(5)

    def start_station(self, single):
        self.stick.forget()
        self.run_station(single, self.stick.environment(os.environ),
                         f"js_enable=true\njs_btn_cmd_map={stored_map({PRODUCT: FUNCTIONS})}\n"
                         f"js_rocker_cmd_map={stored_map({PRODUCT: ROLES})}\n")
        wait_for(lambda: pathlib.Path(self.stick.path).exists(), PATIENCE_S, "the first look at controllers")
        # A stick that is out when the link opens is heard as soon as it does.
        self.stick.plug()
        self.stick.send(axis(0, 1))
        wait_for(self.pod.moves, PATIENCE_S, "the stick's first rate")
        self.stick.pull()
        self.assert_stands("after the first pull")

    def pull_once(self, axes, buttons):
        what = f"{axes}, {buttons}"
        self.stick.plug()
        self.assertFalse(self.pod.moves(), f"it moves before {what}: {self.pod.motion()}")
        steps = [AXES[axes], BUTTONS[buttons]]
        if self.random.random() < 0.5:
            steps.reverse()
        if self.random.random() < 0.5:
            steps = [steps[0] + steps[1]]
        for step in filter(None, steps):
            self.stick.send(*step)
        steers = axes not in ("no axis", "an axis without a role")
        # A pod that tracks leaves that first; a chord ends the lens at once.
        if steers and buttons != "track":
            wait_for(self.pod.moves, PATIENCE_S, f"a movement, {what}")
        elif buttons in ("zoom in", "zoom out"):
            wait_for(self.pod.moves, PATIENCE_S, f"a movement of the lens, {what}")
        begin = time.monotonic()
        self.stick.pull()
        looked = time.monotonic()
        self.assert_stands(f"after the pull with {what}")
        self.times.append((looked - begin, time.monotonic() - looked))

    def pulls(self, single):
        self.times = []
        self.start_station(single)
        states = list(itertools.product(AXES, BUTTONS))
        self.random.shuffle(states)
        count = PULLS // 2
        while len(states) < count:
            states.append(self.random.choice(states))
        for axes, buttons in states[:count]:
            self.pull_once(axes, buttons)
        # Whatever came late would move it now.
        self.stick.plug()
        self.assertFalse(self.pod.moves(), f"it moves again: {self.pod.motion()}")
        slowest = max(after for _, after in self.times)
        print(f"{len(self.times)} pulls, {'single' if single else 'periodic'}: standing at most "
              f"{slowest * 1000:.0f} ms behind the look that found it gone", file=sys.stderr)

    def test_pulled_in_every_state_in_single_mode(self):
        self.pulls(True)

    def test_pulled_in_every_state_in_periodic_mode(self):
        self.pulls(False)

    def test_the_program_ends_with_the_stick_out(self):
        for single in (True, False):
            with self.subTest("single" if single else "periodic"):
                self.start_station(single)
                self.stick.plug()
                self.stick.send(axis(1, -1), button(ZOOM_IN, True))
                wait_for(self.pod.moves, PATIENCE_S, "a movement")
                self.station.send_signal(signal.SIGTERM)
                self.assertEqual(self.station.wait(PATIENCE_S), 0)
                self.assert_stands("after the program's end")


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
