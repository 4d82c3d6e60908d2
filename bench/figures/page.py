"""The page of all figures, in Markdown."""
import statistics
import textwrap

from results import share, shown

INTRODUCTION = """# Figures

What Gatehall takes, beside what others take for the same on the same machine. `scripts/bench --update` runs every
benchmark and draws this page and its picture; `scripts/bench NAME` runs one, whose file says in its first lines
what is measured. A *ratio* is the median, over all runs, of what ours took by what the other took in the same run;
where there is no other, the figure is the median of ours, in its unit. *Differ* is the width of the middle half of
the runs, by their median. Runs that differ by more than a fifth give no figure
([HACKING.md](../HACKING.md#benchmarks) says why it is counted so).
"""

HEAD = """| benchmark | figure | ours | the other | ratio | differ | aim | |
|---|---|--:|--:|--:|--:|--:|---|
"""


def not_measured(name):
    return f"not measured yet: `scripts/bench {name}`"


def row_of(source, figure):
    """A row of the table."""
    ours = shown(statistics.median(figure.ours), figure.unit)
    theirs = f"{shown(statistics.median(figure.theirs), figure.unit)} ({figure.peer})" if figure.theirs else "–"
    ratio = shown(figure.value) if figure.theirs else "–"
    differ = share(figure.difference) if len(figure.ours) > 1 else "–"
    aim = "–" if figure.aim is None else f"{figure.aim:g}" if figure.theirs else f"{figure.aim:g} {figure.unit}"
    verdict = "" if figure.aim is None else "**misses its aim**" if figure.misses else "met"
    if not figure.is_steady:
        ours = theirs = ratio = "–"
        verdict = f"unsteady, {not_measured(source.stem)}"
    return f"| {link(source)} | {figure.figure} | {ours} | {theirs} | {ratio} | {differ} | {aim} | {verdict} |\n"


def link(source):
    return f"[{source.stem}](../bench/{source.name})"


def rows(source, results):
    lines = [row_of(source, figure) for figure in results.figures]
    if results.outcome != "ran":
        state = f"{results.outcome}; `scripts/bench {source.stem}`" if results.outcome else not_measured(source.stem)
        lines.append(f"| {link(source)} | – | – | – | – | – | – | {state} |\n")
    return "".join(lines)


def measured_where(all_results):
    """On which machine, when and of what, for those that were run."""
    places = {}
    for results in all_results:
        if results.outcome:
            places.setdefault((results.machine, results.date, results.commit), []).append(results.benchmark)
    if not places:
        return "Nothing is measured yet."
    return "\n".join(f"- {machine}, on {date}, at {commit or 'no commit'}, with `scripts/bench {' '.join(names)}`"
                     for (machine, date, commit), names in sorted(places.items()))


def summary(all_results):
    """How many of them meet their aims, which don't, and what isn't measured."""
    figures = [figure for results in all_results for figure in results.figures]
    aimed = [figure for figure in figures if figure.is_steady and figure.aim is not None]
    missed = [figure.figure for figure in aimed if figure.misses]
    unsteady = sum(not figure.is_steady for figure in figures)
    without = sum(results.outcome != "ran" for results in all_results)
    met = len(aimed) - len(missed)
    text = f"{met} of {len(aimed)} measured figures {'meets its aim' if met == 1 else 'meet their aims'}."
    if missed:
        text += f" Missed: {', '.join(missed)}."
    if unsteady or without:
        text += (f" Not measured yet: {unsteady} unsteady figure{'s' * (unsteady != 1)}, "
                 f"{without} benchmark{'s' * (without != 1)}.")
    return textwrap.fill(text, 110, break_on_hyphens=False)


def page(sources, all_results, picture):
    """The whole page for those benchmarks, with their results in the same order; `picture` is where the page
    finds the curves."""
    table = "".join(rows(source, results) for source, results in zip(sources, all_results))
    return (f"{INTRODUCTION}\nMeasured\n\n{measured_where(all_results)}\n\n{summary(all_results)}\n\n"
            f"![How time and memory grow with the number of accounts, ours and others']({picture})\n\n"
            f"{HEAD}{table}")
