"""Draws the results of report.py as horizontal bars in an SVG picture."""
import statistics
from xml.sax.saxutils import escape

COLOURS = {"plug-in": "#1f77b4", "aiffconv": "#1f77b4", "limit": "#2ca02c"}
RIVAL = "#c7c7c7"
LABEL, PLOT, ROW = 150, 520, 13  # pixels


def groups_of(results):
    """(title, limit or None, [(group, [(bar, value, kind), ...]), ...]) per diagram."""
    if "decode" in results:
        yield ("Decoding: time relative to plain read()", 1.0,
               [(row["name"], [("plug-in", row["plugin_to_read"]),
                               ("libsndfile", row["libsndfile_to_read"])])
                for row in results["decode"]])
    if "open" in results:
        names = {"plugin_1_16": "plug-in", "plugin_1_8_16": "plug-in", "libsndfile": "libsndfile"}
        yield ("Opening and closing a small file: microseconds (plug-in without and with tags)",
               None, [(f"{row['name']} files", [(names[way], value) for way, value
                                                in row["microseconds"].items()])
                      for row in results["open"]])
    if "convert" in results:
        medians = {name: statistics.median(times)
                   for name, times in results["convert"]["seconds"].items()}
        yield ("Converting to WAV: time relative to cp", 1.0,
               [(name, [(name, value / medians["cp"])]) for name, value in medians.items()])


def text(x, y, words, size=11, anchor="start"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}">'
            f"{escape(words)}</text>")


def draw(results):
    parts, y = [], 10
    for title, limit, groups in groups_of(results):
        y += 22
        parts.append(text(10, y, title, 14))
        y += 10
        top = y
        most = max(value for _, bars in groups for _, value in bars)
        for group, bars in groups:
            parts.append(text(LABEL - 6, y + ROW * len(bars) / 2 + 4, group, anchor="end"))
            for name, value in bars:
                width = value / most * PLOT
                parts.append(f'<rect x="{LABEL}" y="{y}" width="{width:.1f}" height="{ROW - 2}" '
                             f'fill="{COLOURS.get(name, RIVAL)}"/>')
                parts.append(text(LABEL + width + 4, y + ROW - 4, f"{value:.2f} {name}", 9))
                y += ROW
            y += 4
        if limit is not None:
            x = LABEL + limit / most * PLOT
            parts.append(f'<line x1="{x:.1f}" y1="{top}" x2="{x:.1f}" y2="{y}" '
                         f'stroke="{COLOURS["limit"]}" stroke-dasharray="3 2"/>')
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{LABEL + PLOT + 100}" '
            f'height="{y + 10}" font-family="sans-serif">\n'
            '<rect width="100%" height="100%" fill="white"/>\n' + "\n".join(parts) + "\n</svg>\n")
