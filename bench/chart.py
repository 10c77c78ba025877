# SPDX-License-Identifier: MIT
"""Draws the results of report.py as horizontal bars in an SVG picture."""
from statistics import median
from xml.sax.saxutils import escape

from tables import over, ratios

OURS, RIVAL, LIMIT = "#1f77b4", "#c7c7c7", "#2ca02c"
LABEL, PLOT, ROW = 150, 520, 13  # pixels


def diagrams(results):
    """Per diagram: title, value of a limit or None, [(group, [(bar, value)])]."""
    if "decode" in results:
        yield "Decoding: time relative to plain read()", 1, [
            (row["name"], [(name, over(row, way, "read"))
                           for name, way in (("plug-in", "plugin"), ("libsndfile", "libsndfile"),
                                             ("libsndfile, raw", "libsndfile_raw"))])
            for row in results["decode"]]
    if "opening" in results:
        names = ("plug-in", "plug-in, with tags", "libsndfile")
        yield "Opening and closing a small file: microseconds", None, [
            (f"{kind} files", [(name, seconds * 1e6) for name, seconds in
                               zip(names, row["seconds"].values())])
            for kind, row in results["opening"].items()]
    for part, title in (("convert", "AIFF to WAV"), ("encode", "WAV to AIFF")):
        if part in results:
            programs = results[part]["programs"]
            yield f"{title}: time relative to cp", 1, [
                (name, [(name, median(ratios(programs, name, "cp")))]) for name in programs]


def text(x, y, words, size=11, anchor="start"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}">'
            f"{escape(words)}</text>")


def draw(results):
    parts, y = [], 10
    for title, limit, groups in diagrams(results):
        parts.append(text(10, y + 22, title, 14))
        y = top = y + 32
        scale = PLOT / max(value for _, bars in groups for _, value in bars)
        for group, bars in groups:
            parts.append(text(LABEL - 6, y + ROW * len(bars) / 2 + 4, group, anchor="end"))
            for name, value in bars:
                colour = OURS if name.startswith(("plug-in", "aiffconv")) else RIVAL
                parts.append(f'<rect x="{LABEL}" y="{y}" width="{value * scale:.1f}" '
                             f'height="{ROW - 2}" fill="{colour}"/>')
                parts.append(text(LABEL + value * scale + 4, y + ROW - 4, f"{value:.2f} {name}", 9))
                y += ROW
            y += 4
        if limit is not None:
            x = LABEL + limit * scale
            parts.append(f'<path d="M{x:.1f} {top}V{y}" stroke="{LIMIT}" stroke-dasharray="3 2"/>')
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{LABEL + PLOT + 120}" '
            f'height="{y + 10}" font-family="sans-serif">\n'
            '<rect width="100%" height="100%" fill="white"/>\n' + "\n".join(parts) + "\n</svg>\n")
