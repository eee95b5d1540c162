"""A crash of a real program becomes a back trace with the names of its functions, in every thread."""
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CHILD = pathlib.Path(sys.argv.pop()).resolve()


def back_trace(kind):
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([CHILD, kind], cwd=folder, check=False, capture_output=True)
        dumps = list(pathlib.Path(folder).glob("*.dmp"))
        assert len(dumps) == 1, dumps
        return subprocess.run([ROOT / "scripts" / "dump_backtrace", dumps[0]], capture_output=True, text=True,
                              check=False)


class DumpBacktrace(unittest.TestCase):
    def test_null_write(self):
        result = back_trace("null")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("signal 11", result.stdout)
        self.assertRegex(result.stdout, r"crash_by_null_write ?\(")
        self.assertRegex(result.stdout, r"main ?\(")
        self.assertRegex(result.stdout, r"worker_waits_here ?\(")

    def test_abort(self):
        self.assertRegex(back_trace("abort").stdout, r"crash_by_abort ?\(")

    def test_crash_in_another_thread(self):
        result = back_trace("thread").stdout
        self.assertRegex(result, r"crash_by_null_write ?\(")
        self.assertRegex(result, r"worker_waits_here ?\(")

    def test_stack_overflow(self):
        for kind in ("recursion", "thread-recursion", "small-recursion"):
            result = back_trace(kind).stdout
            self.assertGreater(len(re.findall(r"crash_by_(small_)?recursion ?\(", result)), 10, kind)
            self.assertRegex(result, r"worker_waits_here ?\(", kind)

    def test_not_a_dump(self):
        result = subprocess.run([ROOT / "scripts" / "dump_backtrace", __file__], capture_output=True, text=True,
                                check=False)
        self.assertEqual(result.returncode, 1)
        self.assertIn("not a dump", result.stderr)


if __name__ == "__main__":
    unittest.main()
