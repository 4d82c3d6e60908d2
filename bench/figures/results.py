"""What benchmarks told: a file a benchmark, NAME.jsonl, whose first line says how it was run and whose
others are figures as bench/Figures.h and tests/desktop/inside/figures.py print them; and what is to be
thought of a figure. HACKING.md says why it is thought so."""
import dataclasses
import json
import pathlib
import statistics

MOST_DIFFERENCE = 0.2
FEWEST_RUNS = 5


class BadFigure(Exception):
    """A line is no figure; the text says what is wrong with it."""


@dataclasses.dataclass(frozen=True)
class Figure:
    """One that was measured; `ours` and `theirs` hold a number a run."""

    figure: str
    unit: str
    ours: list
    theirs: list | None = None
    peer: str | None = None
    aim: float | None = None
    curve: str | None = None  # the picture's panel that it is a point of, at that many accounts
    accounts: int | None = None

    @property
    def values(self):
        """What the figure is in each run: the ratio to what the peer took then, or ours by itself."""
        return [our / their for our, their in zip(self.ours, self.theirs)] if self.theirs else self.ours

    @property
    def value(self):
        return statistics.median(self.values)

    @property
    def difference(self):
        """By how much the runs differ: the middle half of the values, as a share of their median."""
        if len(self.values) < FEWEST_RUNS:
            return 0.0
        first, middle, third = statistics.quantiles(self.values, n=4, method="inclusive")
        return (third - first) / middle if middle else float(third > first)

    @property
    def is_steady(self):
        return self.difference <= MOST_DIFFERENCE

    @property
    def misses(self):
        return self.aim is not None and self.value > self.aim


def numbers(value, key):
    if not isinstance(value, list) or not all(isinstance(each, int | float) and each >= 0 for each in value):
        raise BadFigure(f"'{key}' is no list of numbers")
    return value


def figure_of(line):
    """The figure of a line of JSON; raises BadFigure."""
    try:
        figure = Figure(**json.loads(line))
    except (ValueError, TypeError) as error:
        raise BadFigure(f"{error}: {line.strip()[:120]}") from None
    try:
        ours = numbers(figure.ours, "ours")
        if figure.theirs is not None:
            theirs = numbers(figure.theirs, "theirs")
            if len(ours) != len(theirs):
                raise BadFigure(f"{len(ours)} runs of ours and {len(theirs)} of the peer's")
            if min(theirs, default=0) <= 0:
                raise BadFigure("the peer took nothing")
        # One number is of something that doesn't vary, as a count.
        if len(ours) < FEWEST_RUNS and (figure.theirs is not None or len(ours) != 1):
            raise BadFigure(f"{len(ours)} runs, fewer than {FEWEST_RUNS}")
    except BadFigure as wrong:
        raise BadFigure(f"{figure.figure}: {wrong}") from None
    return figure


@dataclasses.dataclass
class Results:
    """Of one benchmark, the last time that it was run."""

    benchmark: str
    machine: str = ""
    date: str = ""
    commit: str = ""
    outcome: str | None = None  # "ran", or what went wrong; None before it was run
    figures: list = dataclasses.field(default_factory=list)


def write(folder, results):
    folder.mkdir(parents=True, exist_ok=True)
    how = {key: value for key, value in vars(results).items() if key != "figures"}
    lines = [how] + [{key: value for key, value in vars(figure).items() if value is not None}
                     for figure in results.figures]
    new = folder / f"{results.benchmark}.new"
    new.write_text("".join(json.dumps(line) + "\n" for line in lines), encoding="utf-8")
    new.rename(folder / f"{results.benchmark}.jsonl")


def read(folder, benchmark):
    """The results that are kept of it, without any if it wasn't run; raises BadFigure."""
    file = pathlib.Path(folder) / f"{benchmark}.jsonl"
    try:
        first, *others = file.read_text(encoding="utf-8").splitlines()
        return Results(**json.loads(first), figures=[figure_of(line) for line in others])
    except FileNotFoundError:
        return Results(benchmark)
    except (ValueError, TypeError, BadFigure) as error:
        raise BadFigure(f"{file}: {error}") from None


def shown(number, unit=""):
    """Three digits that count, as people write them."""
    digits = 0 if number >= 100 else 1 if number >= 10 else 2 if number >= 1 else 3
    return f"{number:,.{digits}f}" + (f" {unit}" if unit else "")


def share(number):
    return f"{number:.0%}".replace("%", " %")
