"""The check of include directions passes on the tree and bites on planted violations."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CHECK = ROOT / "scripts" / "check_includes"


def run(root):
    return subprocess.run([sys.executable, CHECK, root], capture_output=True, text=True, check=False)


class CheckIncludes(unittest.TestCase):
    def test_the_tree_is_clean(self):
        result = run(ROOT)
        self.assertEqual(result.returncode, 0, result.stdout)

    def plant(self, path, text, files=()):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, content in [(path, text), *files]:
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text(content, encoding="utf-8")
            return run(root)

    def assert_bites(self, path, text, reason, files=()):
        result = self.plant(path, text, files)
        self.assertEqual(result.returncode, 1, result.stdout)
        self.assertIn(f"{path}:1: {reason}", result.stdout)

    def test_transport_may_not_know_qt(self):
        self.assert_bites("oskel/a.cpp", "#include <QObject>\n", "oskel may not use Qt")

    def test_transport_may_not_know_the_window(self):
        self.assert_bites("oskel/a.cpp", '#include "app/korvath.h"\n', "oskel may not include app/korvath.h")

    def test_streams_may_not_know_transport(self):
        self.assert_bites("tavrik/a.cpp", '#include "oskel/oskel.h"\n', "tavrik may not include oskel/oskel.h")

    def test_link_core_may_not_know_telemetry(self):
        self.assert_bites("link/a.cpp", '#include "telemetry/telemetry_record.h"\n',
                          "link core may not include telemetry/telemetry_record.h")

    def test_a_core_target_may_not_hold_a_shell(self):
        self.assert_bites("link/a.cpp", "#include <QLabel>\n", "source of a core target, but it knows the window",
                          [("link/CMakeLists.txt", "sorvane_library(link_core SOURCES a.cpp)\n")])

    def test_simulator_may_not_use_the_stations_codecs(self):
        self.assert_bites("simulator/a.cpp", '#include "link/frames.h"\n', "simulator may not include link/frames.h")

    def test_widgets_may_not_know_a_pod(self):
        self.assert_bites("widgets/a.cpp", '#include "telemetry/telemetry_record.h"\n',
                          "widgets may not include telemetry/telemetry_record.h")

    def test_one_shell_may_not_reach_into_another(self):
        self.assert_bites("video/a.cpp", '#include "settings/player_settings_dlg.h"\n#include <QLabel>\n',
                          "video may not include settings/player_settings_dlg.h")

    def test_a_clean_shell_passes(self):
        result = self.plant("video/a.cpp", '#include <QLabel>\n#include "app/korvath.h"\n#include "oskel/oskel.h"\n')
        self.assertEqual(result.returncode, 0, result.stdout)


if __name__ == "__main__":
    unittest.main()
