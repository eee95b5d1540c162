"""The program as a process beside a latched pod, which tells what moves; for the tests that are judged by it."""
import pathlib
import re
import shutil
import socket
import subprocess
import tempfile
import time
import unittest

PATIENCE_S = 60


def wait_for(condition, seconds, what):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.005)
    raise AssertionError(f"{what}: not within {seconds} s")


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


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

    def moves(self):
        told = self.motion()
        return any(told[key] for key in ("az", "el", "zoom0", "focus0", "zoom1", "focus1"))

    def brake(self):
        """Every stop there is, past the station."""
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as stops:
            for frame in ("FB2CAA0670000000000076", "FB2CAA0645000000000043", "FB2CAA0650000000000056"):
                stops.sendto(bytes.fromhex(frame), ("127.0.0.1", self.port))

    def stop(self):
        self.process.kill()
        self.process.wait(PATIENCE_S)
        self.process.stdin.close()
        self.process.stdout.close()


class StationTest(unittest.TestCase):
    """self.folder, in it self.run_folder with the programs and what they read, and self.pod."""

    STOP_S = None  # within which the pod stands once it has to

    def prepare(self, run_tree, *more_programs):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="sorvane-system-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.run_folder = self.folder / "run"
        self.run_folder.mkdir()
        for program in (run_tree / "sorvane", run_tree / "podsim", *more_programs):
            shutil.copy2(program, self.run_folder / program.name)
        for name in ("res", "fonts", "translations"):
            (self.run_folder / name).symlink_to(run_tree / name)
        self.pod = Pod(self.run_folder / "podsim", self.folder)
        self.addCleanup(self.pod.stop)
        self.station = None
        self.addCleanup(self.end_station)

    def run_station(self, single, environment, more_settings="", output=None):
        """Nothing answers for the pictures; the link opens by itself with them, two seconds after the window."""
        (self.run_folder / "appCfg.ini").write_text(
            "[connection]\nvideo1_play_address=rtsp://127.0.0.1:9/none\n"
            f"destination_address=127.0.0.1\ndestination_port={self.pod.port}\nlocal_bind_port={free_port()}\n"
            f"[common]\nplay_video_on_start=true\nsend_single={'true' if single else 'false'}\n{more_settings}",
            encoding="utf-8")
        self.station = subprocess.Popen(
            [self.run_folder / "sorvane"], cwd=self.run_folder, env=environment,
            stdout=output if output is not None else open(self.folder / "sorvane.txt", "wb"),
            stderr=subprocess.STDOUT)

    def end_station(self):
        if self.station and self.station.poll() is None:
            self.station.kill()
            self.station.wait(PATIENCE_S)

    def assert_stands(self, when):
        try:
            wait_for(lambda: not self.pod.moves(), self.STOP_S, f"the pod stands {when}")
        except AssertionError as error:
            raise AssertionError(f"{error}: {self.pod.motion()}") from None
