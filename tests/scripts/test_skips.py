"""scripts/skips.py: which skipped tests fail a run."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

kScript = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "skips.py"

kPassed = '<testcase name="a.test" status="run"/>'
kSanitizersOnly = "end_to_end.test_load.OneThread.test_whatever_the_agent_does_it_does_in_one_thread"


def skipped(name):
    return f'<testcase name="{name}" status="notrun"><skipped message="SKIP_REGULAR_EXPRESSION"/></testcase>'


class Skips(unittest.TestCase):
    def judge(self, preset, *cases):
        with tempfile.TemporaryDirectory() as folder:
            results = pathlib.Path(folder) / preset / "tests.xml"
            results.parent.mkdir()
            results.write_text(f"<testsuite>{''.join(cases)}</testsuite>")
            return subprocess.run([sys.executable, "-B", kScript, results], capture_output=True, text=True,
                                  check=False)

    def test_a_run_without_skipped_tests_counts(self):
        result = self.judge("dev", kPassed)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_a_skipped_test_without_a_reason_on_the_list_fails_the_run_and_is_named(self):
        result = self.judge("dev", kPassed, skipped("b.test"))
        self.assertEqual(result.returncode, 1)
        self.assertIn("b.test", result.stderr)
        self.assertNotIn("a.test", result.stderr)

    def test_a_reason_holds_only_where_it_is_true(self):
        self.assertEqual(self.judge("asan", skipped(kSanitizersOnly)).returncode, 0)
        self.assertEqual(self.judge("dev", skipped(kSanitizersOnly)).returncode, 1)

    def test_results_that_cannot_be_read_do_not_count(self):
        result = subprocess.run([sys.executable, "-B", kScript, "/nonexistent/tests.xml"], capture_output=True,
                                text=True, check=False)
        self.assertEqual(result.returncode, 2)
        self.assertIn("/nonexistent/tests.xml", result.stderr)


if __name__ == "__main__":
    unittest.main()
