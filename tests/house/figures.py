#!/usr/bin/env python3
"""What bench/figures makes of what benchmarks print: which runs it believes, when it runs them again, and what
the page and the picture say of them; and that docs/figures.md has every benchmark.

usage: figures.py SOURCE-DIRECTORY COMPILER
"""

import contextlib
import io
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

SOURCE = pathlib.Path(sys.argv[1]).resolve()
COMPILER = sys.argv[2]
BENCHMARKS = sorted([*(SOURCE / "bench").glob("*.cpp"), *(SOURCE / "bench").glob("*.py")])
PAGE = SOURCE / "docs" / "figures.md"
SVG = "{http://www.w3.org/2000/svg}"

STEADY = [10, 10.5, 11, 10, 10.2]
UNSTEADY = [10, 20, 30, 10, 40]


def line(name="list", ours=tuple(STEADY), **more):
    return json.dumps({"figure": name, "unit": "ms", "ours": list(ours), **more})


def against(name="list", ours=tuple(STEADY), **more):
    return line(name, ours, theirs=[5] * len(ours), peer="getent", **more)


class Benches(unittest.TestCase):
    """Benchmarks that print what a test wants, with results of their own."""

    def setUp(self):
        self.place = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def figures(self, *words, status=0):
        done = subprocess.run([sys.executable, "-B", SOURCE / "bench" / "figures", words[0], self.place / "kept",
                               *words[1:]], capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done.stdout + done.stderr

    def run_benchmark(self, *times, status=0, ends=0):
        """Runs one that prints these lines each time that it is started, the last of them ever after; it ends
        with that status."""
        for number, lines in enumerate(times, 1):
            (self.place / f"{number}").write_text("".join(each + "\n" for each in lines), encoding="utf-8")
        program = self.place / "benchmark"
        program.write_text(f"""#!/bin/sh
cd {self.place}
echo >> started
time=$(wc -l < started)
[ -e $time ] || time={len(times)}
cat $time
exit {ends}
""", encoding="utf-8")
        program.chmod(0o755)
        return self.figures("run", "user-list", program, status=status)

    def times_run(self):
        return len((self.place / "started").read_text(encoding="utf-8").splitlines())

    def rows(self, *sources):
        page = self.figures("table", *(sources or ["bench/user-list.cpp"]))
        return page, re.findall(r"^\| \[.*$", page, re.MULTILINE)


class Runs(Benches):
    def test_a_steady_figure_is_told_with_its_aim(self):
        told = self.run_benchmark([against(aim=3)])
        self.assertIn("list ratio 2.04 aim 3\n", told)
        self.assertIn("ours 10.2 ms, getent 5.00 ms; 5 runs, which differ by 5 %", told)
        self.assertEqual(self.times_run(), 1)

    def test_a_missed_aim_is_told(self):
        self.assertIn("list ratio 2.04 aim 2, MISSED", self.run_benchmark([against(aim=2)]))

    def test_the_aim_is_the_highest_that_meets_it(self):
        self.assertIn("list ratio 2.00 aim 2\n", self.run_benchmark([against(ours=[10] * 5, aim=2)]))

    def test_a_figure_without_a_peer_is_told_in_its_unit(self):
        self.assertIn("list 10.2 ms aim 10, MISSED", self.run_benchmark([line(aim=10)]))

    def test_the_ratio_is_that_of_runs_that_were_taken_together(self):
        """A machine that slows down during a run slows both."""
        slower = line(ours=[1, 2, 4, 8, 16], theirs=[2, 4, 8, 16, 32], peer="getent", aim=1)
        self.assertIn("list ratio 0.500 aim 1\n", self.run_benchmark([slower]))

    def test_one_run_apart_from_the_others_is_no_matter(self):
        self.assertIn("list ratio 2.00", self.run_benchmark([against(ours=[10, 10, 10, 10, 100], aim=3)]))

    def test_runs_that_differ_by_a_fifth_are_believed_and_by_more_are_not(self):
        self.assertIn("list 10.0 ms", self.run_benchmark([line(ours=[9, 9, 10, 11, 11], aim=20)]))
        told = self.run_benchmark([line(ours=[8.9, 8.9, 10, 11, 11], aim=20)])
        self.assertIn("list unsteady: its runs differ by more than a fifth", told)

    def test_an_unsteady_figure_is_told_so_instead_of_a_ratio(self):
        told = self.run_benchmark([against(ours=UNSTEADY, aim=9)])
        self.assertIn("list unsteady", told)
        self.assertNotIn("ratio", told)

    def test_an_unsteady_benchmark_runs_again_until_it_is_steady(self):
        self.run_benchmark([against(ours=UNSTEADY)], [against()])
        self.assertEqual(self.times_run(), 2)
        _, (row,) = self.rows()
        self.assertIn("| 2.04 |", row)

    def test_it_runs_three_times_at_most(self):
        told = self.run_benchmark([against(ours=UNSTEADY)])
        self.assertEqual(self.times_run(), 3)
        self.assertIn("unsteady: list in all 3 times", told)

    def test_what_was_steady_once_is_kept(self):
        self.run_benchmark([against("one"), against("two", UNSTEADY)],
                           [against("one", [50] * 5), against("two")])
        _, (one, two) = self.rows()
        self.assertIn("| 2.04 |", one)
        self.assertIn("| 2.04 |", two)

    def test_what_else_is_printed_passes_through(self):
        self.assertIn("a remark\n", self.run_benchmark(["a remark", line()]))

    def test_what_varies_not_is_measured_once(self):
        told = self.run_benchmark([line(ours=[7], aim=9)])
        self.assertIn("list: ours 7.00 ms; measured once\nlist 7.00 ms aim 9\n", told)

    def test_what_is_no_figure_is_refused(self):
        for wrong, reason in ((["{]"], "{]"), ([line(ours=[1, 2])], "list: 2 runs, fewer than 5"),
                              ([line(), line()], "list is told twice"), (["nothing"], "it told no figure"),
                              ([line(theirs=[0] * 5, peer="getent")], "list: the peer took nothing"),
                              ([line(theirs=[1] * 4, peer="getent")], "5 runs of ours and 4 of the peer's"),
                              ([line(ours=[1, 2, 3, 4, "5"])], "'ours' is no list of numbers"),
                              ([line(theirs=[1], ours=[1], peer="getent")], "1 runs, fewer than 5"),
                              ([line(colour="red")], "colour")):
            with self.subTest(reason):
                self.assertIn(reason, self.run_benchmark(wrong, status=1))

    def test_one_that_fails_keeps_what_it_told_and_says_so(self):
        self.run_benchmark([against()], status=1, ends=3)
        self.assertEqual(self.times_run(), 1)
        _, (figure, failed) = self.rows()
        self.assertIn("| 2.04 |", figure)
        self.assertIn("failed: it ended with 3; `scripts/bench user-list`", failed)

    def test_one_that_is_not_there_says_so(self):
        self.figures("run", "user-list", self.place / "nowhere", status=1)
        self.assertIn("failed: ", self.rows()[1][0])

    def test_one_that_this_machine_cannot_run_says_so(self):
        self.run_benchmark([], status=77, ends=77)
        self.assertIn("skipped: this machine can't run it; `scripts/bench user-list`", self.rows()[1][0])

    def test_a_wrong_command_line_is_told(self):
        self.figures("frob", status=2)


class Page(Benches):
    def test_a_row_has_what_was_measured(self):
        self.run_benchmark([against(aim=3), line("bytes", [123] * 5, aim=700), line("passes", [4])])
        _, rows = self.rows()
        start = "| [user-list](../bench/user-list.cpp) | "
        self.assertEqual(rows, [f"{start}list | 10.2 ms | 5.00 ms (getent) | 2.04 | 5 % | 3 | met |",
                                f"{start}bytes | 123 ms | – | – | 0 % | 700 ms | met |",
                                f"{start}passes | 4.00 ms | – | – | – | – |  |"])

    def test_a_missed_aim_is_told(self):
        self.run_benchmark([against("one", aim=1), against("two", aim=3)])
        page, (one, two) = self.rows()
        self.assertTrue(one.endswith("| **misses its aim** |"), one)
        self.assertTrue(two.endswith("| met |"), two)
        self.assertIn("1 of 2 measured figures meets its aim. Missed: one.", page)

    def test_an_unsteady_figure_has_no_numbers(self):
        self.run_benchmark([against(ours=UNSTEADY, aim=1)])
        page, (row,) = self.rows()
        self.assertIn("| list | – | – | – | 100 % | 1 | unsteady, not measured yet: `scripts/bench user-list` |", row)
        self.assertIn("Not measured yet: 1 unsteady figure, 0 benchmarks.", page)

    def test_one_that_was_not_run_says_how(self):
        page, (row,) = self.rows("bench/service.py")
        self.assertIn("[service](../bench/service.py)", row)
        self.assertIn("not measured yet: `scripts/bench service`", row)
        self.assertIn("Nothing is measured yet.", page)

    def test_it_has_the_machine_the_date_and_the_command(self):
        self.run_benchmark([against()])
        page, _ = self.rows()
        self.assertRegex(page, r"\d+ processors, \d+ GB, .*, Linux [\d.]+.*, on \d{4}-\d\d-\d\d, at .*, "
                               r"with `scripts/bench user-list`")

    def test_results_that_cannot_be_read_are_named(self):
        self.run_benchmark([against()])
        (self.place / "kept" / "user-list.jsonl").write_text("{}\n{}\n", encoding="utf-8")
        self.assertIn("user-list.jsonl: ", self.figures("table", "bench/user-list.cpp", status=1))

    def test_the_kept_page_has_every_benchmark_and_no_other(self):
        rows = re.findall(r"^\| \[([\w-]+)\]\(\.\./bench/([\w.-]+)\) \| (.*)$", PAGE.read_text(encoding="utf-8"),
                          re.MULTILINE)
        self.assertEqual({file for _, file, _ in rows}, {source.name for source in BENCHMARKS})
        for name, _, rest in rows:
            with self.subTest(f"{name}: {rest}"):
                is_measured = rest.split(" | ")[1] != "–"
                self.assertTrue(is_measured or f"`scripts/bench {name}`" in rest)

    def test_scripts_bench_draws_it_of_every_benchmark(self):
        page = subprocess.run([SOURCE / "scripts" / "bench", "--table"], capture_output=True, text=True,
                              check=True).stdout
        for source in BENCHMARKS:
            self.assertIn(f"| [{source.stem}](../bench/{source.name}) |", page)


class Picture(Benches):
    def drawn(self):
        return xml.etree.ElementTree.fromstring(self.figures("plot", "bench/user-list.cpp"))

    def texts(self):
        return [element.text for element in self.drawn().iter(f"{SVG}text")]

    def test_a_curve_has_a_line_for_ours_and_each_peer(self):
        self.run_benchmark([against(f"at-{count}", curve="Time", accounts=count) for count in (1000, 10000)]
                           + [line("third", theirs=[9] * 5, peer="LightDM <3", curve="Time", accounts=1000)])
        lines = list(self.drawn().iter(f"{SVG}polyline"))
        self.assertEqual([len(each.get("points").split()) for each in lines], [2, 2, 1])
        for text in ("Time", "ms", "accounts", "1,000", "10,000", "Gatehall", "getent", "LightDM <3"):
            self.assertIn(text, self.texts())

    def test_more_is_further_up_and_to_the_right_by_decades(self):
        self.run_benchmark([line(f"at-{count}", [count / 100] * 5, curve="Time", accounts=count)
                            for count in (1000, 10000, 100000)])
        (drawn,) = self.drawn().iter(f"{SVG}polyline")
        (x1, y1), (x2, y2), (x3, y3) = (map(float, point.split(",")) for point in drawn.get("points").split())
        self.assertLess(x1, x2)
        self.assertGreater(y1, y2)
        self.assertAlmostEqual(x2 - x1, x3 - x2, delta=0.2)
        self.assertAlmostEqual(y2 - y1, y3 - y2, delta=0.2)

    def test_a_point_that_was_unsteady_is_left_out(self):
        self.run_benchmark([line("one", curve="Time", accounts=1000),
                            line("two", UNSTEADY, curve="Time", accounts=10000)])
        (drawn,) = self.drawn().iter(f"{SVG}polyline")
        self.assertEqual(len(drawn.get("points").split()), 1)

    def test_a_curve_without_a_steady_point_says_so(self):
        self.run_benchmark([line("one", UNSTEADY, curve="Time", accounts=1000),
                            line("two", curve="Memory", accounts=1000)])
        self.assertEqual(self.texts()[:3], ["Time", "not measured yet: scripts/bench growth", "Memory"])

    def test_without_a_point_it_says_so(self):
        self.assertEqual(self.texts(), ["not measured yet: scripts/bench growth"])

    def test_the_kept_one_is_whole(self):
        self.assertEqual(xml.etree.ElementTree.parse(SOURCE / "docs" / "growth.svg").getroot().tag, f"{SVG}svg")


class Shapes(Benches):
    """What both languages print is what is read."""

    def test_what_cpp_prints_is_read(self):
        program = self.place / "prints"
        source = self.place / "prints.cpp"
        source.write_text("""#include "bench/Figures.h"
using namespace gatehall::bench;
int main() {
  int run = 0;
  const auto turns = inTurns(5, [&] { return ++run * 2.0; }, [&] { return run * 1.0; });
  report({.name = "list", .unit = "ms", .ours = turns.ours, .theirs = turns.theirs, .peer = "getent",
          .aim = 1.5, .curve = "Time", .accounts = 1000});
  report({.name = "alone", .unit = "MB", .ours = samples(5, [&] { return 4.0; })});
}
""", encoding="utf-8")
        subprocess.run([COMPILER, "-std=c++20", "-I", SOURCE, "-o", program, source], check=True)
        told = self.figures("run", "user-list", program)
        self.assertIn("list ratio 2.00 aim 1.5, MISSED", told)
        self.assertIn("alone: ours 4.00 MB; 5 runs", told)

    def test_what_the_desktops_module_prints_is_read(self):
        sys.path.insert(0, str(SOURCE / "tests" / "desktop" / "inside"))  # before this file's own folder
        from figures import figure, in_turns, process_figures  # pylint: disable=import-outside-toplevel

        with contextlib.redirect_stdout(io.StringIO()) as printed:
            count = iter(range(100))
            ours, theirs = in_turns(5, lambda: 2 * next(count), lambda: next(count))
            figure("list", "ms", ours, theirs, "getent", 3)
            process_figures("switch", [(4, 2, 6)] * 5, [(2, 2, 2)] * 5, "dm-tool", {"": 0.6, "-memory": 4})
        told = self.run_benchmark(printed.getvalue().splitlines())
        self.assertEqual(ours, [4, 8, 12, 16, 20])
        self.assertIn("list ratio", told)
        self.assertIn("switch ratio 2.00 aim 0.6, MISSED", told)
        self.assertIn("switch-processor: ours 2.00 ms, dm-tool 2.00 ms", told)
        self.assertIn("switch-memory ratio 3.00 aim 4\n", told)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
