"""Pictures as SVG text: line charts on logarithmic axes, and flame graphs."""
import html
import math

COLOURS = ["#1668b0", "#c2410c", "#4d7c0f", "#7e22ce"]
STYLE = '<style>text{font-family:sans-serif;font-size:12px;fill:#222}</style><rect width="100%" height="100%" fill="#fff"/>'
WIDTH, HEIGHT = 640, 360
LEFT, RIGHT, TOP, BOTTOM = 70, 110, 40, 50


def text(x, y, words, anchor="start", more=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{more}>{html.escape(words)}</text>'


def line(x1, y1, x2, y2, colour):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}"/>'


def ticks(low, high):
    """1, 2 and 5 of each power of ten within the range; powers alone where that gives too many."""
    powers = range(math.floor(math.log10(low)), math.ceil(math.log10(high)) + 1)
    steps = (1, 2, 5) if len(powers) < 5 else (1,)
    return [step * 10.0**power for power in powers for step in steps if low <= step * 10.0**power <= high * 1.0001]


def label(value):
    return f"{value:,.0f}" if value >= 1 else f"{value:g}"


def line_chart(title, unit, series):
    """A chart of {name: {size: value}}."""
    sizes = sorted({size for values in series.values() for size in values})
    values = [value for points in series.values() for value in points.values()]
    low, high = min(values) / 1.3, max(values) * 1.3

    def x_of(size):
        span = math.log(sizes[-1] / sizes[0])
        return LEFT + (WIDTH - LEFT - RIGHT) * math.log(size / sizes[0]) / span

    def y_of(value):
        return HEIGHT - BOTTOM - (HEIGHT - TOP - BOTTOM) * math.log(value / low) / math.log(high / low)

    parts = [STYLE, text(LEFT, 22, f"{title}, {unit}", more=' font-weight="bold"')]
    for tick in ticks(low, high):
        parts += [line(LEFT, y_of(tick), WIDTH - RIGHT, y_of(tick), "#ddd"),
                  text(LEFT - 8, y_of(tick) + 4, label(tick), "end")]
    for tick in ticks(sizes[0], sizes[-1]):
        parts += [line(x_of(tick), TOP, x_of(tick), HEIGHT - BOTTOM, "#ddd"),
                  text(x_of(tick), HEIGHT - BOTTOM + 18, label(tick), "middle")]
    # Names stand at the ends of their lines, one above the other where the ends meet.
    ends = sorted((y_of(points[max(points)]), name) for name, points in series.items())
    heights, above = {}, -math.inf
    for height, name in ends:
        heights[name] = above = max(height, above + 14)
    for colour, (name, points) in zip(COLOURS, series.items()):
        path = " ".join(f"{x_of(size):.1f},{y_of(value):.1f}" for size, value in sorted(points.items()))
        parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        parts.append(text(WIDTH - RIGHT + 8, heights[name] + 4, name, more=f' style="fill:{colour}"'))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" '
            f'height="{HEIGHT}">{"".join(parts)}</svg>\n')


ROW = 18
WARM = ["#f4a582", "#fdd49e", "#fc8d59", "#fdbb84", "#fee8c8"]


def flame_graph(title, root):
    """A flame graph, root on top, of nodes with `name`, `cost` and `children`."""
    width, top = 1200, 40
    parts, deepest = [], 0

    def draw(node, x, level):
        nonlocal deepest
        deepest = max(deepest, level)
        share = node.cost / root.cost
        size = share * (width - 20)
        y = top + level * ROW
        colour = WARM[sum(node.name.encode()) % len(WARM)]
        words = html.escape(f"{node.name}: {share * 100:.1f} %")
        parts.append(f'<g><title>{words}</title><rect x="{x:.1f}" y="{y}" width="{max(size - 0.5, 0.5):.1f}" '
                     f'height="{ROW - 1}" fill="{colour}"/>')
        letters = int(size / 6.6)
        if letters >= 4:
            short = node.name if len(node.name) <= letters else node.name[:letters - 1] + "…"
            parts.append(text(x + 3, y + 13, short, more=' style="font-size:11px"'))
        parts.append("</g>")
        for child in sorted(node.children, key=lambda it: -it.cost):
            draw(child, x, level + 1)
            x += child.cost / root.cost * (width - 20)

    draw(root, 10, 0)
    height = top + (deepest + 1) * ROW + 10
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}">'
            f'{STYLE}{text(10, 24, title, more=" font-weight=" + chr(34) + "bold" + chr(34))}{"".join(parts)}</svg>\n')
