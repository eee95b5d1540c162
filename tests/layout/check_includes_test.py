"""The check of allowed directions passes on the tree and on a small sound one, and bites on what is planted there."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

from sound_tree import SOUND

ROOT = pathlib.Path(__file__).resolve().parents[2]
CHECK = ROOT / "scripts" / "check_includes"
sys.path.insert(0, str(CHECK.parent))
from include_law import LAW, SUBSYSTEMS

FILES = sum(name.endswith((".h", ".cpp", ".ui")) and not name.startswith(("tests", "build")) for name in SOUND)
CLEAN = f"includes: all in allowed directions (21 targets, {FILES} files)"


def check(root, *arguments):
    return subprocess.run([sys.executable, CHECK, *arguments, root], capture_output=True, text=True, check=False)


class Planted(unittest.TestCase):
    """Each test plants something in the sound tree and names every line that the check has to print, and no other."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name, text in SOUND.items():
            self.write(name, text)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def include(self, name, header):
        """Adds an include as the file's last line; returns FILE:LINE."""
        self.write(name, SOUND[name] + f"#include {header}\n")
        return f"{name}:{SOUND[name].count(chr(10)) + 1}"

    def edit(self, folder, old, new):
        """Changes the declarations of a folder; returns FILE:LINE of the change."""
        name = f"{folder}/CMakeLists.txt"
        text = (self.root / name).read_text(encoding="utf-8")
        self.assertEqual(text.count(old), 1, f"{old} in {name}")
        self.write(name, text.replace(old, new))
        return f"{name}:{text[:text.index(old)].count(chr(10)) + 1}"

    def assert_prints(self, *lines):
        result = check(self.root)
        self.assertEqual(result.stdout.splitlines(), sorted(lines), result.stderr)
        self.assertEqual(result.returncode, 1)

    def assert_clean(self):
        result = check(self.root)
        self.assertEqual((result.stdout, result.returncode), (CLEAN + "\n", 0), result.stderr)


class Law(unittest.TestCase):
    """What no row may grant, whatever is added to the table."""

    def test_cores_stand_on_the_ground_and_on_the_wire(self):
        for name in SUBSYSTEMS:
            granted = {"base", "link_core", "telemetry_core"}
            # What a game controller is known by: records alone, below every system's layer.
            granted |= {"joystick_records"} if name == "input" else set()
            self.assertLessEqual(LAW[f"{name}_core"].own, granted, name)
        self.assertEqual(LAW["link_core"].own, {"base"})
        self.assertEqual(LAW["telemetry_core"].own, {"base", "link_core"})
        for name in [*(f"{name}_core" for name in SUBSYSTEMS), "base"]:
            self.assertEqual(LAW[name].third, set(), name)

    def test_what_stands_below_the_parts(self):
        for name in ("base", "oskel", "tavrik_core", "joystick_records", "globe_core"):
            self.assertEqual(LAW[name].own, set(), name)
        for name in ("joystick_records", "globe_core"):
            self.assertEqual(LAW[name].third, set(), name)
        self.assertEqual(LAW["globe"].own, {"globe_core"})
        self.assertEqual(LAW["platform"].own, {"joystick_records"})
        self.assertEqual(LAW["tavrik"].own, {"tavrik_core"})
        self.assertEqual(LAW["widgets"].own, {"platform"})
        for name in ("events", "config"):
            self.assertEqual((LAW[name].own, LAW[name].third), ({"base"}, {"QtCore"}), name)
        for name in ("oskel", "tavrik_core", "tavrik", "platform", "globe"):
            self.assertFalse({library for library in LAW[name].third if library.startswith("Qt")}, name)

    def test_a_part_knows_no_other_part(self):
        for name in SUBSYSTEMS:
            self.assertFalse(LAW[name].own & {*SUBSYSTEMS, "station"}, name)
            cores = {own for own in LAW[name].own if own.endswith("_core")}
            # The settings show the functions that a controller's buttons and axes can be given; the map stands on the globe.
            more = {"settings": {"input_core"}, "map": {"globe_core"}}
            self.assertEqual(cores - more.get(name, set()), {f"{name}_core"})

    def test_nothing_stands_on_the_station_but_its_program(self):
        self.assertEqual([name for name in LAW if "station" in LAW[name].own], ["sorvane"])

    def test_station_and_simulator_share_nothing(self):
        simulated = {name for name, rule in LAW.items() if rule.folder.split("/")[0] == "simulator"}
        self.assertEqual(simulated, {name for name in LAW if name.startswith("sim_")} | {"podsim"})
        # Programs that only the build runs make data of the landscape; nobody links them, and they link nothing else.
        built = {name for name, rule in LAW.items() if rule.folder == "earth"}
        self.assertEqual({name for name in built if LAW[name].own & simulated}, {"make_demo_area"})
        for name, rule in LAW.items():
            if name in built:
                self.assertFalse(rule.own - simulated - built, name)
            else:
                self.assertFalse(rule.own & built, name)
                self.assertFalse(rule.own & simulated if name not in simulated else rule.own - simulated, name)

    def test_the_law_itself_has_no_circle(self):
        standing = set()
        while len(standing) < len(LAW):
            ready = {name for name in set(LAW) - standing if LAW[name].own <= standing}
            self.assertTrue(ready, sorted(set(LAW) - standing))
            standing |= ready


class Sound(Planted):
    def test_the_sound_tree_passes(self):
        self.assert_clean()

    def test_the_real_tree_passes(self):
        result = check(ROOT)
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertRegex(result.stdout, r"^includes: all in allowed directions \([0-9]+ targets, [0-9]+ files\)$")

    def test_the_graph_goes_from_the_ground_up(self):
        result = check(self.root, "--graph")
        self.assertEqual(result.returncode, 0, result.stderr)
        targets, folders = result.stdout.split("\nfolders\n")
        rows = {line.split()[1]: (i, line.split()) for i, line in enumerate(targets.splitlines())}
        self.assertEqual(rows["link"][1], "4 link link/ 2 files link_core Qt5::Core [oskel] [events] [config] [forms] "
                                          "[Qt5::Widgets]".split())
        order = ["base", "link_core", "telemetry_core", "forms", "link", "station", "sorvane"]
        self.assertEqual(sorted(order, key=lambda name: rows[name][0]), order)
        self.assertEqual([rows[name][1][0] for name in order], ["0", "1", "2", "3", "4", "5", "6"])
        self.assertIn(" 3  forms              video (face), widgets\n", folders)
        self.assertIn(" 4  video              forms, tavrik, video (core), video (face)\n", folders)


class WhoseFile(Planted):
    def test_an_undeclared_file(self):
        self.write("link/frames_too.cpp", "")
        self.write("link/lone.h", "")
        self.assert_prints("link/frames_too.cpp:1: no target declares this file",
                           "link/lone.h:1: no target declares this file")

    def test_an_undeclared_form(self):
        self.write("forms/other.ui", "")
        self.assert_prints("forms/other.ui:1: no target declares this file")

    def test_a_folder_without_declarations(self):
        self.write("extra/x.cpp", "")
        self.assert_prints("extra/x.cpp:1: no target declares this file")

    def test_a_comment_declares_nothing(self):
        self.edit("link", "SOURCES link_panel.cpp", "SOURCES # link_panel.cpp")
        self.assert_prints("link/link_panel.cpp:1: no target declares this file",
                           "link/link_panel.h:1: no target declares this file",
                           "link/CMakeLists.txt:3: link has no sources that PRIVATE_LIBS could serve",
                           "app/korvath.h:2: no target declares link/link_panel.h")

    def test_a_file_declared_twice(self):
        place = self.edit("video", "SOURCES channel.cpp", "SOURCES channel.cpp geometry.cpp")
        self.assert_prints(f"{place}: video/geometry.cpp is declared by video_core already",
                           f"{place}: video/geometry.h is declared by video_core already")

    def test_a_header_named_beside_its_source(self):
        place = self.edit("link", "SOURCES frames.cpp", "SOURCES frames.cpp HEADERS frames.h")
        self.assert_prints(f"{place}: link/frames.h is declared by link_core already")

    def test_a_program_file_that_a_library_has(self):
        place = self.edit("app", "add_executable(sorvane main.cpp)", "add_executable(sorvane main.cpp korvath.cpp)")
        self.assert_prints(f"{place}: app/korvath.cpp is declared by station already")

    def test_a_file_that_is_not_there(self):
        place = self.edit("base", "HEADERS bytes.h", "HEADERS bytes.h numbers.h")
        self.assert_prints(f"{place}: base/numbers.h does not exist")

    def test_a_file_of_another_folder(self):
        for name in ("../link/frames.h", "events/my_event.h", "${names}"):
            place = self.edit("app", "SOURCES korvath.cpp", f"SOURCES korvath.cpp {name}")
            self.assert_prints(f"{place}: station: {name} names no file of this folder")
            self.write("app/CMakeLists.txt", SOUND["app/CMakeLists.txt"])

    def test_a_hub_file_in_a_subsystem(self):
        self.edit("link", "SOURCES link_panel.cpp", "SOURCES link_panel.cpp korvath_x.cpp")
        self.write("link/korvath_x.cpp", "")
        self.assert_prints("link/korvath_x.cpp:1: a file named like the hub lies in link/")

    def test_a_name_that_begins_like_the_hubs(self):
        self.edit("telemetry", "SOURCES intake.cpp", "SOURCES intake.cpp HEADERS korvathlink.h")
        self.write("telemetry/korvathlink.h", "")
        self.assert_prints("telemetry/korvathlink.h:1: a file named like the hub lies in telemetry/")


class Declarations(Planted):
    def test_an_unknown_library(self):
        for name in ("boost_system", "Qt5::Nothing", "PkgConfig::PICTURE", "${nowhere}"):
            place = self.edit("link", "LIBS link_core Qt5::Core", f"LIBS link_core Qt5::Core {name}")
            self.assert_prints(f"{place}: link: no library is called {name}")
            self.write("link/CMakeLists.txt", SOUND["link/CMakeLists.txt"])

    def test_a_module_that_no_table_knows(self):
        self.edit("video", "sdl2>=2.20 libavutil", "sdl2>=2.20 libavutil opencv4")
        self.assert_prints("video/CMakeLists.txt:5: video: no library is called PkgConfig::PICTURE",
                           "video/channel.cpp:2: video does not link SDL (SDL.h)")

    def test_a_target_that_the_law_does_not_know(self):
        self.edit("link", "if(NOT", "sorvane_target(link_helpers HEADERS helpers.h)\nif(NOT")
        self.write("link/helpers.h", "")
        self.assert_prints("link/CMakeLists.txt:2: the law has no row for link_helpers")

    def test_a_target_away_from_its_folder(self):
        self.edit("video", "sorvane_target(video_core",
                  "sorvane_target(map_core HEADERS map.h)\nsorvane_target(video_core")
        self.write("video/map.h", "")
        self.assert_prints("video/CMakeLists.txt:1: map_core belongs in map/")

    def test_a_target_declared_twice(self):
        self.edit("base", "bytes.h)", "bytes.h)\nsorvane_target(base HEADERS bytes.h)")
        self.assert_prints("base/CMakeLists.txt:3: target base is declared already")

    def test_a_library_named_twice(self):
        place = self.edit("link", "PRIVATE_LIBS oskel", "PRIVATE_LIBS link_core oskel")
        self.assert_prints(f"{place}: link names link_core twice")

    def test_private_libraries_of_headers_alone(self):
        place = self.edit("telemetry", "HEADERS record.h LIBS base link_core",
                          "HEADERS record.h LIBS link_core PRIVATE_LIBS base")
        self.assert_prints(f"{place}: telemetry_core has no sources that PRIVATE_LIBS could serve")

    def test_a_forbidden_declaration_even_if_the_closure_has_the_include(self):
        place = self.edit("link", "PRIVATE_LIBS oskel", "PRIVATE_LIBS video oskel")
        included = self.include("link/link_panel.cpp", '"video/channel.h"')
        self.assert_prints(f"{place}: link may not use video",
                           f"{included}: link may not use video (video/channel.h)")

    def test_a_forbidden_name_behind_a_variable_of_one_system(self):
        self.edit("platform", "set(desktop user32)", "set(desktop user32 base)")
        self.edit("platform", "endif()", "endif()\nlist(APPEND desktop Qt5::Core)")
        self.assert_prints("platform/CMakeLists.txt:2: platform may not use base",
                           "platform/CMakeLists.txt:6: platform may not use QtCore (Qt5::Core)")

    def test_nothing_but_the_station_and_its_program_may_use_the_station(self):
        place = self.edit("video", "LIBS video_core video_face tavrik", "LIBS station video_core video_face tavrik")
        self.assert_prints(f"{place}: video may not use station",
                           "app/CMakeLists.txt:1: circle of targets: station -> video -> station",
                           "app/CMakeLists.txt:1: circle of folders: app -> video -> app")

    def test_a_face_may_not_use_forms(self):
        place = self.edit("video", "LIBS video_core Qt5::Widgets", "LIBS video_core forms Qt5::Widgets")
        self.assert_prints(f"{place}: video_face may not use forms",
                           "forms/CMakeLists.txt:2: circle of targets: forms -> video_face -> forms",
                           "forms/CMakeLists.txt:2: circle of folders: forms -> video (face) -> forms")

    def test_libraries_outside_their_trade(self):
        self.edit("link", "SOURCES frames.cpp LIBS base", "SOURCES frames.cpp LIBS base Qt5::Core")
        self.edit("oskel", "add_library", "pkg_check_modules(AV REQUIRED IMPORTED_TARGET libavcodec)\nadd_library")
        self.edit("oskel", "PRIVATE_LIBS oskel_asio", "PRIVATE_LIBS oskel_asio PkgConfig::AV")
        self.edit("app/events", "LIBS Qt5::Core", "LIBS Qt5::Widgets")
        self.edit("video", "sdl2>=2.20 libavutil", "sdl2>=2.20 libavutil libavformat")
        self.assert_prints("link/CMakeLists.txt:1: link_core may not use QtCore (Qt5::Core)",
                           "oskel/CMakeLists.txt:8: oskel may not use libavcodec (PkgConfig::AV)",
                           "app/events/CMakeLists.txt:1: events may not use QtWidgets (Qt5::Widgets)",
                           "video/CMakeLists.txt:5: video may not use libavformat (PkgConfig::PICTURE)")

    def test_the_simulator_may_not_use_the_stations_targets(self):
        place = self.edit("simulator/wire", "wire.cpp", "wire.cpp LIBS base")
        self.assert_prints(f"{place}: sim_wire may not use base")

    def test_the_station_may_not_use_the_simulators(self):
        place = self.edit("app", "LIBS link telemetry", "LIBS sim_wire link telemetry")
        self.assert_prints(f"{place}: station may not use sim_wire")

    def test_calls_that_reach_past_the_declarations(self):
        self.write("base/CMakeLists.txt", SOUND["base/CMakeLists.txt"]
                   + "target_link_libraries(base INTERFACE Qt5::Core)\ntarget_sources(base INTERFACE x.cpp)\n"
                     "target_include_directories(base INTERFACE ${CMAKE_SOURCE_DIR})\ninclude_directories(..)\n"
                     "link_libraries(Qt5::Core)\nadd_library(aside STATIC x.cpp)\n")
        of_base = "what base consists of stands in sorvane_target"
        self.assert_prints(f"base/CMakeLists.txt:3: target_link_libraries: {of_base}",
                           f"base/CMakeLists.txt:4: target_sources: {of_base}",
                           "base/CMakeLists.txt:5: base may only add the folder of what is generated for it",
                           "base/CMakeLists.txt:6: include_directories reaches past the targets",
                           "base/CMakeLists.txt:7: link_libraries reaches past the targets",
                           "base/CMakeLists.txt:8: aside is to be declared by sorvane_target")


class Includes(Planted):
    def test_a_core_header_may_not_include_a_part(self):
        place = self.include("link/frames.h", '"link/link_panel.h"')
        self.assert_prints(f"{place}: link_core may not use link (link/link_panel.h)")

    def test_a_core_may_not_use_qt(self):
        place = self.include("link/frames.cpp", "<QLabel>")
        other = self.include("video/geometry.h", "<QtCore/QString>")
        self.assert_prints(f"{place}: link_core may not use QtWidgets (QLabel)",
                           f"{other}: video_core may not use QtCore (QtCore/QString)")

    def test_a_core_may_not_look_upward(self):
        place = self.include("link/frames.cpp", '"telemetry/record.h"')
        self.assert_prints(f"{place}: link_core may not use telemetry_core (telemetry/record.h)")

    def test_a_core_opens_nothing(self):
        place = self.include("link/frames.cpp", "<sys/socket.h>")
        other = self.include("telemetry/record.h", "<windows.h>")
        self.assert_prints(f"{place}: link_core may not use system (sys/socket.h)",
                           f"{other}: telemetry_core may not use system (windows.h)")

    def test_a_part_may_not_include_another_part(self):
        place = self.include("telemetry/intake.cpp", '"link/link_panel.h"')
        self.assert_prints(f"{place}: telemetry may not use link (link/link_panel.h)")

    def test_a_part_may_not_include_what_a_face_brings_along(self):
        place = self.include("link/link_panel.cpp", '"video/geometry.h"')
        self.assert_prints(f"{place}: link may not use video_core (video/geometry.h)")

    def test_a_part_may_not_include_the_hub(self):
        place = self.include("telemetry/intake.cpp", '"app/korvath.h"')
        other = self.include("video/channel.cpp", "<app/korvath.h>")
        self.assert_prints(f"{place}: telemetry may not use station (app/korvath.h)",
                           f"{other}: video may not use station (app/korvath.h)")

    def test_no_more_of_app_than_its_ground_floors(self):
        self.edit("app", "SOURCES korvath.cpp", "SOURCES korvath.cpp HEADERS theme.h korvath_extra.h")
        self.write("app/theme.h", "")
        self.write("app/korvath_extra.h", "")
        place = self.include("link/link_panel.cpp", '"app/theme.h"')
        other = self.include("telemetry/intake.cpp", '"app/korvath_extra.h"')
        self.assert_prints(f"{place}: link may not use station (app/theme.h)",
                           f"{other}: telemetry may not use station (app/korvath_extra.h)")

    def test_an_allowed_target_has_to_be_linked(self):
        place = self.include("telemetry/intake.cpp", '"widgets/kit/title_bar.h"')
        other = self.include("telemetry/intake.h", "<QLabel>")
        self.assert_prints(f"{place}: telemetry does not link widgets (widgets/kit/title_bar.h)",
                           f"{other}: telemetry does not link QtWidgets (QLabel)")

    def test_private_libraries_of_another_target_do_not_count(self):
        self.edit("telemetry", "LIBS telemetry_core events", "LIBS telemetry_core events oskel")
        self.assertEqual(check(self.root).returncode, 0)
        self.edit("video", "tavrik forms\n  PRIVATE_LIBS", "tavrik\n  PRIVATE_LIBS forms")
        self.edit("app", "LIBS link", "LIBS oskel link")
        place = self.include("app/korvath.cpp", '"forms/main_form.h"')
        self.assert_prints(f"{place}: station does not link forms (forms/main_form.h)")

    def test_a_header_may_not_need_private_libraries(self):
        place = self.include("link/link_panel.h", '"oskel/oskel.h"')
        other = self.include("oskel/oskel.h", "<asio.hpp>")
        self.assert_prints(
            f"{place}: a header of link needs oskel in LIBS, not in PRIVATE_LIBS (oskel/oskel.h)",
            f"{other}: a header of oskel needs Asio in LIBS, not in PRIVATE_LIBS (asio.hpp)")

    def test_a_module_of_qt_that_is_not_linked(self):
        place = self.include("app/events/my_event.h", "<QMouseEvent>")
        other = self.include("link/link_panel.cpp", "<QSerialPortInfo>")
        third = self.include("video/channel.cpp", "<qaudiooutput.h>")
        self.assert_prints(f"{place}: events may not use QtGui (QMouseEvent)",
                           f"{other}: link does not link QtSerialPort (QSerialPortInfo)",
                           f"{third}: video does not link QtMultimedia (qaudiooutput.h)")

    def test_third_party_outside_its_trade(self):
        planted = [("link/link_panel.cpp", "SDL.h", "link", "SDL"),
                   ("oskel/oskel.cpp", "libavutil/frame.h", "oskel", "libavutil"),
                   ("link/link_panel.h", "asio/post.hpp", "link", "Asio"),
                   ("tavrik/nal.cpp", "asio.hpp", "tavrik_core", "Asio"),
                   ("video/channel.cpp", "libavcodec/avcodec.h", "video", "libavcodec"),
                   ("app/korvath.cpp", "osg/Node", "station", "OpenSceneGraph"),
                   ("telemetry/intake.cpp", "gdal_priv.h", "telemetry", "GDAL"),
                   ("simulator/wire/wire.cpp", "gst/gst.h", "sim_wire", "GStreamer"),
                   ("simulator/stream/ts_mux.cpp", "x264.h", "sim_mux", "encoders"),
                   ("widgets/kit/title_bar.cpp", "X11/Xlib.h", "widgets", "X11"),
                   ("app/main.cpp", "QChartView", "sorvane", "QtCharts"),
                   ("forms/main_form.h", "QtWebEngineWidgets/QWebEngineView", "forms", "QtWebEngine")]
        self.assert_prints(*[f"{self.include(name, f'<{header}>')}: {target} may not use {library} ({header})"
                             for name, header, target, library in planted])

    def test_the_files_of_both_systems(self):
        place = self.include("oskel/system_linux.cpp", '"base/bytes.h"')
        other = self.include("oskel/system_windows.cpp", "<QString>")
        self.assert_prints(f"{place}: oskel may not use base (base/bytes.h)",
                           f"{other}: oskel may not use QtCore (QString)")

    def test_the_simulator_may_not_include_the_stations_codec(self):
        place = self.include("simulator/wire/wire.cpp", '"link/frames.h"')
        other = self.include("simulator/stream/channel.cpp", '"base/bytes.h"')
        self.assert_prints(f"{place}: sim_wire may not use link_core (link/frames.h)",
                           f"{other}: sim_stream may not use base (base/bytes.h)")

    def test_the_widgets_of_a_form(self):
        self.write("forms/main.ui", SOUND["forms/main.ui"] + " <header>video/channel.h</header>\n"
                                                             " <header>video/nothing.h</header>\n")
        self.assert_prints("forms/main.ui:5: forms may not use video (video/channel.h)",
                           "forms/main.ui:6: no target declares video/nothing.h")

    def test_a_form_by_the_name_of_its_generated_header(self):
        place = self.include("telemetry/intake.cpp", '"ui_main.h"')
        other = self.include("widgets/kit/title_bar.cpp", '"ui_main.h"')
        self.assert_prints(f"{place}: telemetry does not link forms (ui_main.h)",
                           f"{other}: widgets may not use forms (ui_main.h)")

    def test_a_header_that_nobody_declares(self):
        place = self.include("link/link_panel.cpp", '"link/nothing.h"')
        other = self.include("app/main.cpp", '"tests/link/x_test.cpp"')
        self.assert_prints(f"{place}: no target declares link/nothing.h",
                           f"{other}: no target declares tests/link/x_test.cpp")

    def test_an_include_without_its_folder(self):
        self.write("link/poll.h", "")
        self.edit("link", "SOURCES frames.cpp", "SOURCES frames.cpp HEADERS poll.h")
        place = self.include("link/frames.cpp", '"frames.h"')
        other = self.include("video/channel.cpp", '"../link/link_panel.h"')
        third = self.include("link/frames.h", '"poll.h"')
        self.assert_prints(f"{place}: an include of ours names its folder (frames.h)",
                           f"{other}: an include of ours names its folder (../link/link_panel.h)",
                           f"{third}: an include of ours names its folder (poll.h)")

    def test_a_library_that_no_table_knows(self):
        place = self.include("link/frames.cpp", "<boost/crc.hpp>")
        other = self.include("video/channel.cpp", "<vlc.h>")
        self.assert_prints(f"{place}: no library of the tables has boost/crc.hpp",
                           f"{other}: no library of the tables has vlc.h")

    def test_an_include_is_found_however_it_is_written(self):
        self.write("link/frames.cpp", '#include "link/frames.h"\n  #  include<QLabel> // label\n')
        self.assert_prints("link/frames.cpp:2: link_core may not use QtWidgets (QLabel)")


class Circles(Planted):
    def test_a_circle_of_targets(self):
        place = self.edit("base", "HEADERS bytes.h", "HEADERS bytes.h LIBS telemetry_core")
        self.assert_prints(f"{place}: base may not use telemetry_core",
                           f"{place}: circle of targets: base -> telemetry_core -> base",
                           f"{place}: circle of folders: base -> telemetry (core) -> base",
                           f"{place}: circle of targets: base -> telemetry_core -> link_core -> base",
                           f"{place}: circle of folders: base -> telemetry (core) -> link (core) -> base")

    def test_a_circle_of_folders_without_one_of_targets(self):
        place = self.edit("simulator/wire", "wire.cpp", "wire.cpp LIBS sim_mux")
        back = "simulator/stream/CMakeLists.txt:2: circle of folders: " \
               "simulator/stream -> simulator/wire -> simulator/stream"
        self.assert_prints(f"{place}: sim_wire may not use sim_mux", back)


if __name__ == "__main__":
    unittest.main()
