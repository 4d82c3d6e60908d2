"""How figures grow with the number of accounts, as a picture in SVG: a panel for each curve, with scales
that are logarithms, ours and the peers in it."""
import html
import math
import statistics

WIDTH, HEIGHT = 460, 360          # of a panel
LEFT, RIGHT, TOP, BOTTOM = 76, 40, 46, 92
COLOURS = ("#1b6ca8", "#c4451c", "#3b7d3b", "#7a4fa3")
NOT_MEASURED = "not measured yet: scripts/bench growth"
MARKS = ("circle", "square", "diamond", "triangle")


def panels(figures):
    """{curve: (unit, {whose: {accounts: value}})} of the figures that are points of a curve; those that were
    unsteady are left out."""
    found = {}
    for figure in figures:
        if figure.curve is None:
            continue
        _, lines = found.setdefault(figure.curve, (figure.unit, {}))
        if not figure.is_steady:
            continue
        lines.setdefault("Gatehall", {})[figure.accounts] = statistics.median(figure.ours)
        if figure.theirs:
            lines.setdefault(figure.peer, {})[figure.accounts] = statistics.median(figure.theirs)
    return found


def decades(values):
    """The powers of ten around the values: the exponents of the lowest and of the highest."""
    low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
    return low, max(high, low + 1)


def number(exponent):
    return f"{10 ** exponent:,}" if exponent >= 0 else f"{10 ** exponent:g}"


def text(x, y, words, anchor="middle", more=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{more}>{html.escape(words)}</text>'


def mark(kind, x, y, colour):
    if kind == "circle":
        return f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4" fill="{colour}"/>'
    corners = {"square": ((-4, -4), (4, -4), (4, 4), (-4, 4)), "diamond": ((0, -5), (5, 0), (0, 5), (-5, 0)),
               "triangle": ((0, -5), (5, 4), (-5, 4))}[kind]
    points = " ".join(f"{x + right:.1f},{y + down:.1f}" for right, down in corners)
    return f'<polygon points="{points}" fill="{colour}"/>'


def panel(curve, unit, lines):
    """One panel, at its own origin."""
    title = text(LEFT, 24, curve, "start", ' font-size="15" font-weight="bold"')
    if not lines:
        return title + "\n" + text(WIDTH / 2, HEIGHT / 2, NOT_MEASURED)
    x_low, x_high = decades([accounts for points in lines.values() for accounts in points])
    y_low, y_high = decades([value for points in lines.values() for value in points.values()])

    def x_of(accounts):
        return LEFT + (math.log10(accounts) - x_low) / (x_high - x_low) * (WIDTH - LEFT - RIGHT)

    def y_of(value):
        return HEIGHT - BOTTOM - (math.log10(value) - y_low) / (y_high - y_low) * (HEIGHT - TOP - BOTTOM)

    bottom = HEIGHT - BOTTOM
    drawn = [title]
    for exponent in range(x_low, x_high + 1):
        x = x_of(10 ** exponent)
        drawn += [f'<line x1="{x:.1f}" y1="{TOP}" x2="{x:.1f}" y2="{bottom}" stroke="#dddddd"/>',
                  text(x, bottom + 18, number(exponent))]
    for exponent in range(y_low, y_high + 1):
        y = y_of(10 ** exponent)
        drawn += [f'<line x1="{LEFT}" y1="{y:.1f}" x2="{WIDTH - RIGHT}" y2="{y:.1f}" stroke="#dddddd"/>',
                  text(LEFT - 8, y + 4, number(exponent), "end")]
    drawn += [f'<path d="M{LEFT},{TOP} V{bottom} H{WIDTH - RIGHT}" fill="none" stroke="#444444"/>',
              text((LEFT + WIDTH - RIGHT) / 2, bottom + 38, "accounts"),
              text(18, (TOP + bottom) / 2, unit, more=f' transform="rotate(-90 18 {(TOP + bottom) / 2:.1f})"')]
    legend = LEFT
    for (whose, points), colour, kind in zip(lines.items(), COLOURS, MARKS):
        places = [(x_of(accounts), y_of(value)) for accounts, value in sorted(points.items())]
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in places)
        drawn.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        drawn += [mark(kind, x, y, colour) for x, y in places]
        drawn += [mark(kind, legend + 4, HEIGHT - 18, colour), text(legend + 14, HEIGHT - 14, whose, "start")]
        legend += 30 + 7 * len(whose)
    return "\n".join(drawn)


def plot(figures):
    """The picture; without a point that was measured it says so."""
    found = panels(figures)
    width = WIDTH * max(1, len(found))
    drawn = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{HEIGHT}" '
             f'viewBox="0 0 {width} {HEIGHT}" font-family="sans-serif" font-size="12" fill="#222222">',
             f'<rect width="{width}" height="{HEIGHT}" fill="#ffffff"/>']
    for place, (curve, (unit, lines)) in enumerate(found.items()):
        drawn.append(f'<g transform="translate({place * WIDTH} 0)">\n{panel(curve, unit, lines)}\n</g>')
    if not found:
        drawn.append(text(width / 2, HEIGHT / 2, NOT_MEASURED))
    return "\n".join(drawn) + "\n</svg>\n"
