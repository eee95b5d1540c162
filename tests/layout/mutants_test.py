"""What scripts/mutants breaks, and that it tells killed mutants from survivors without touching the sources."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "scripts" / "mutants"
sys.dont_write_bytecode = True
sys.path.insert(0, str(SCRIPT.parent))
from mutant_sites import applied, masked, mutants

MACRO = """#pragma once
//   name, number, kind
#define SORVANE_ROWS(X)           \\
    X(FIRST, 1000, Plain)         \\
    X(SECOND, 1001, Sent) /* X(no) */ \\
    X(THIRD, 1002, Sent)

enum Names : int {
#define ROW(name, number, kind) name = number,
    SORVANE_ROWS(ROW)
#undef ROW
};
"""
ARRAY = """constexpr Bit kBits[] = {
    {0, "a", false},  // {7, "comment", true}
    {1, "b", true},
};
const char* const kWords[] = {QT_TRANSLATE_NOOP("Window", "on, off"), "two"};
constexpr double kOne = {1.5};
void f() { int i = 3; }
"""
CONDITIONS = """#if A < 1 && B
#endif
// a < b
static_assert(sizeof(int) == 4);
template <typename T>
bool judge(const std::vector<T>& v, int n) {
    if (v.size() < 3) {
        return false;
    }
    const char* text = "a < b && c";
    return n == 5 && (!v.empty() || text != nullptr);
}
"""


def of(text, name="link/x.cpp", target="link_core", kind=None):
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, name)
        path.parent.mkdir(parents=True)
        path.write_text(text, encoding="utf-8")
        return [m for m in mutants(folder, {name: target}) if kind in (None, m.kind)]


def told(found):
    return [f"{m.line}: {m.what}" for m in found]


class Sites(unittest.TestCase):
    def test_comments_and_texts_are_blanked_at_their_length(self):
        text = 'int a; // "x"\nchar c = \'"\'; /* b\n */ f("a // \\" b", 1\'000);\n'
        self.assertEqual(masked(text),
                         'int a;       \nchar c = \'_\';     \n    f("_________", 1\'000);\n')

    def test_the_rows_of_a_macro(self):
        found = of(MACRO, "app/x.h", "events")
        self.assertEqual(told(found), [
            "4: SORVANE_ROWS: row dropped: X(FIRST, 1000, Plain)",
            "4: SORVANE_ROWS: exchanged with the next row's: FIRST and SECOND",
            "4: SORVANE_ROWS: 1000 becomes 1001",
            "4: SORVANE_ROWS: exchanged with the next row's: 1000 and 1001",
            "4: SORVANE_ROWS: exchanged with the next row's: Plain and Sent",
            "5: SORVANE_ROWS: row dropped: X(SECOND, 1001, Sent)",
            "5: SORVANE_ROWS: exchanged with the next row's: SECOND and THIRD",
            "5: SORVANE_ROWS: 1001 becomes 1002",
            "5: SORVANE_ROWS: exchanged with the next row's: 1001 and 1002",
            "6: SORVANE_ROWS: row dropped: X(THIRD, 1002, Sent)",
            "6: SORVANE_ROWS: 1002 becomes 1003"])
        self.assertIn("    X(SECOND, 1000, Plain)         \\\n    X(FIRST, 1001, Sent) /*", applied(MACRO, found[1]))
        self.assertIn("(X)           \\\n             \\\n    X(SECOND", applied(MACRO, found[0]))

    def test_the_rows_of_an_array(self):
        found = of(ARRAY, "video/x.cpp", "video")
        self.assertEqual(told(found), [
            '2: kBits: row dropped: {0, "a", false}',
            "2: kBits: 0 becomes 1",
            "2: kBits: exchanged with the next row's: 0 and 1",
            '2: kBits: "a" becomes "ax"',
            "2: kBits: exchanged with the next row's: \"a\" and \"b\"",
            "2: kBits: false becomes true",
            "2: kBits: exchanged with the next row's: false and true",
            '3: kBits: row dropped: {1, "b", true}',
            "3: kBits: 1 becomes 2",
            '3: kBits: "b" becomes "bx"',
            "3: kBits: true becomes false",
            "5: kWords: exchanged with the next row's: QT_TRANSLATE_NOOP(\"Window\", \"on, off\") and \"two\"",
            '5: kWords: row dropped: QT_TRANSLATE_NOOP("Window", "on, off")',
            '5: kWords: "on, off" becomes "on, offx"',
            '5: kWords: row dropped: "two"',
            '5: kWords: "two" becomes "twox"'])
        self.assertEqual(applied(ARRAY, found[7]).count("{1,"), 0)
        self.assertIn('kWords[] = {"two", QT_TRANSLATE_NOOP("Window", "on, off")};', applied(ARRAY, found[11]))

    def test_the_conditions_of_a_core(self):
        found = of(CONDITIONS)
        size, last = "in: if (v.size() < 3) {", "in: return n == 5 && (!v.empty() || text != nullptr);"
        self.assertEqual(sorted(told(found)), sorted(
            [f"7: {what} {size}" for what in ("always", "never", "< becomes <=", "< becomes >", "3 becomes 4")]
            + [f"11: {what} {last}" for what in (
                "== becomes !=", "5 becomes 6", "&& becomes ||", "left side of && dropped", "right side of && dropped",
                "! dropped", "|| becomes &&", "left side of || dropped", "right side of || dropped",
                "!= becomes ==")]))
        texts = {m.what.split(" in:")[0]: applied(CONDITIONS, m).splitlines()[m.line - 1].strip() for m in found}
        self.assertEqual(texts["always"], "if ((v.size() < 3) || true) {")
        self.assertEqual(texts["&& becomes ||"], "return ((n == 5) || ((!v.empty() || text != nullptr)));")
        self.assertEqual(texts["left side of && dropped"],
                         "return ((n == 5) || true) && (!v.empty() || text != nullptr);")
        self.assertEqual(texts["right side of && dropped"],
                         "return n == 5 && (((!v.empty() || text != nullptr)) || true);")
        self.assertEqual(texts["right side of || dropped"],
                         "return n == 5 && (!v.empty() || ((text != nullptr) && false));")

    def test_conditions_elsewhere_and_the_simulated_pod_are_left_alone(self):
        self.assertEqual(of(CONDITIONS, "link/x.cpp", "link"), [])
        self.assertEqual(of(CONDITIONS + ARRAY, "simulator/x.cpp", "sim_pod"), [])

    def test_rows_change_places_where_the_order_is_seen(self):
        whole = "2: kBits: exchanged with the next row's: {0, \"a\", false} and {1, \"b\", true}"
        self.assertIn(whole, told(of(ARRAY, "telemetry/panel_rows.cpp", "telemetry_core")))

    def test_the_tables_of_the_tree(self):
        listed = run("--list", "--count", "100000", "--kinds", "table", "--root", ROOT)
        for table in ("app/config/config_keys.h SORVANE_CONFIG_KEYS", "app/events/event_table.h SORVANE_EVENTS",
                      "app/korvath_events.cpp kRows", "link/command_catalogue.cpp kCatalogue",
                      "telemetry/panel_rows.cpp kRows", "telemetry/telemetry_record.cpp kServoStates",
                      "link/osd_words.h kOsdBits"):
            path, name = table.split()
            self.assertRegex(listed, rf"\] {path}:\d+:\d+: {name}: row dropped")


SMALL = {
    "CMakeLists.txt": """cmake_minimum_required(VERSION 3.22)
project(small LANGUAGES CXX)
enable_testing()
function(sorvane_target name)
  cmake_parse_arguments(A "" "" "SOURCES;HEADERS;LIBS" ${ARGN})
  add_library(${name} STATIC ${A_SOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
  target_compile_options(${name} PRIVATE -Wall -Wextra -Werror)
endfunction()
add_subdirectory(link)
add_subdirectory(tests)
""",
    "link/CMakeLists.txt": "sorvane_target(link_core SOURCES limit.cpp)\n",
    "link/limit.h": "#pragma once\nbool within(int v);\nunsigned steps(volatile unsigned long long v);\n",
    "link/limit.cpp": '#include "link/limit.h"\nbool within(int v) { return v > 0 && v < 9; }\n'
                      "unsigned steps(volatile unsigned long long v) {\n    unsigned n = 0;\n    while (v != 0) {\n"
                      "        v = v - 1;\n        ++n;\n    }\n    return n;\n}\n",
    "tests/CMakeLists.txt": """add_executable(limit_test limit_test.cpp)
target_link_libraries(limit_test PRIVATE link_core)
add_test(NAME limit_test COMMAND limit_test WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
set_tests_properties(limit_test PROPERTIES LABELS unit)
""",
    "tests/limit_test.cpp": '#include "link/limit.h"\nint main() {\n'
                            "    if (steps(0) != 0 || steps(3) != 3) {\n        return 1;\n    }\n"
                            "    return within(1) && !within(0) && !within(50) ? 0 : 1;\n}\n",
}


def run(*arguments):
    done = subprocess.run([sys.executable, SCRIPT, *map(str, arguments)], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(done.stdout + done.stderr)
    return done.stdout


class Runs(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name, "small")
        for name, text in SMALL.items():
            self.write(name, text)

    def write(self, name, text):
        (self.root / name).parent.mkdir(parents=True, exist_ok=True)
        (self.root / name).write_text(text, encoding="utf-8")

    def mutate(self, *arguments):
        return run("--root", self.root, "--count", 100, "--labels", "unit", "--jobs", 1, "--shortest", 2,
                   *arguments)

    def test_the_order_is_the_seeds(self):
        one = self.mutate("--list")
        self.assertEqual(one, self.mutate("--list"))
        other = self.mutate("--list", "--seed", 2)
        self.assertNotEqual(one, other)
        bare = [sorted(line.split("] ")[1] for line in lines.splitlines()) for lines in (one, other)]
        self.assertEqual(bare[0], bare[1])
        self.assertEqual(self.mutate("--list", "--from", 3, "--count", 2), "".join(one.splitlines(True)[3:5]))
        self.assertEqual(self.mutate("--list", "--kinds", "table"), "")
        self.assertEqual(self.mutate("--list", "--under", "tests,link/limit.h"), "")

    def test_killed_survived_and_again(self):
        waiting = self.mutate("--report")
        self.assertIn("0 killed, 0 survived, 0 did not compile, 11 waiting", waiting)
        first = self.mutate("--count", 4)
        self.assertEqual(first.count("\n["), 4)
        output = self.mutate()
        self.assertEqual(output.count("\n["), 7, "what has a verdict is not run again")
        line = "in: bool within(int v) { return v > 0 && v < 9; }"
        report = self.mutate("--report")
        survivors = {text.split(" [")[0] for text in report.splitlines()[:-1]}
        self.assertEqual(survivors, {
            f"link/limit.cpp:2:40: survived: < becomes <= {line}",
            f"link/limit.cpp:2:40: survived: 9 becomes 10 {line}"})
        self.assertIn("9 killed, 2 survived, 0 did not compile, 0 waiting, 81.8 % of 11 killed", report)
        results = (self.root / "build-mutants" / "results.txt").read_text(encoding="utf-8")
        self.assertIn("limit_test (without end)", results)
        for name, text in SMALL.items():
            self.assertEqual((self.root / name).read_text(encoding="utf-8"), text)
        # A test that sees the upper limit, and a copy that a stop has left broken.
        self.write("tests/limit_test.cpp", SMALL["tests/limit_test.cpp"].replace("50", "9"))
        self.write("build-mutants/tree/link/limit.cpp", "broken")
        again = self.mutate("--again")
        self.assertEqual(again.count("\n["), 2)
        self.assertIn("11 killed, 0 survived", again)

    def test_without_a_test_everything_survives(self):
        output = self.mutate("--count", 2, "--tests", "^other")
        self.assertIn("building 0 tests", output)
        self.assertIn("0 killed, 2 survived", output)
        self.assertIn("0 killed, 2 survived", self.mutate("--count", 2, "--labels", "gui,net", "--again"))

    def test_a_test_dealt_out_to_several_and_one_that_wants_the_machine(self):
        self.write("tests/CMakeLists.txt", SMALL["tests/CMakeLists.txt"].replace("NAME limit_test", "NAME limit_test_1of1")
                   .replace("set_tests_properties(limit_test", "set_tests_properties(limit_test_1of1"))
        self.assertIn("killed limit_test_1of1", self.mutate("--from", 2, "--count", 1))
        self.write("tests/CMakeLists.txt", SMALL["tests/CMakeLists.txt"].replace("LABELS unit", "LABELS unit PROCESSORS 3"))
        self.assertIn("building 0 tests", self.mutate("--from", 3, "--count", 1))

    def test_what_does_not_compile_counts_for_nothing(self):
        self.write("link/limit.cpp", SMALL["link/limit.cpp"]
                   + "constexpr int kRow[] = {1, 2};\nint a[kRow[0]], b[kRow[1] - 1];\n")
        output = self.mutate("--kinds", "table", "--seed", 1)
        self.assertRegex(output, r"\] uncompiled -: link/limit\.cpp:\d+:\d+: kRow: row dropped: 2")
        self.assertIn("did not compile, 0 waiting", output)

    def test_a_test_that_fails_by_itself_kills_nothing(self):
        self.write("tests/limit_test.cpp", "int main() { return 1; }\n")
        output = self.mutate("--count", 1)
        self.assertIn("limit_test does not pass by itself and is left out", output)
        self.assertIn("0 killed, 1 survived", output)


if __name__ == "__main__":
    unittest.main()
