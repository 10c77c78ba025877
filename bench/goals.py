# SPDX-License-Identifier: MIT
"""What is aimed at: per part the goals, what was measured, and whether it is enough."""
from statistics import median

from tables import ms, ratios, relative, span, table


def decode(rows):
    found = []
    for name, widths, little, most, least in (("8, 16, 32 bit", (8, 16, 32), False, 0.95, 2),
                                              ("24 bit", (24,), False, 1.05, 2),
                                              ("little-endian", (16, 24, 32), True, 0.90, 1)):
        spent = relative(rows, widths, little, "plugin", "read")
        gained = relative(rows, widths, little, "libsndfile", "plugin")
        found += [(f"decoding {name}: at most {most:.2f} times `read()`", span(spent),
                   max(spent) <= most),
                  (f"decoding {name}: libsndfile's converting calls take at least {least} times as "
                   "long", span(gained), min(gained) >= least)]
    return found


def opening(kinds):
    plain = kinds["plain"]["seconds"]
    ratio = plain["open_libsndfile"] / plain["open_1_16"]
    return [("opening: libsndfile takes at least as long", f"{ratio:.2f}", ratio >= 1)]


def tags(results):
    read = results["reading"]["ratio"]
    edits = [each["ratio"] for each in (results["title"], *results["layouts"].values())]
    written = results["written"]["plugin"] / results["tag"]
    return [("reading tags: TagLib takes at least 2.5 times as long", f"{read:.2f}", read >= 2.5),
            ("an edit, not flushed: TagLib takes at least as long", span(edits), min(edits) >= 1),
            ("an edit writes at most 2.5 times the tag", f"{written:.2f}", written <= 2.5)]


def growth(results):
    slowest = max(sum(each.values()) for kind in ("frames", "fields", "chunks")
                  for each in results[kind])
    return [("100,000 of a kind: edit and reading in at most a second", ms(slowest), slowest <= 1)]


def memory(rows):
    shares = [row["share"] for row in rows]
    return [("memory: at most 1280 KiB", f"{span(shares, 0)} KiB", max(shares) <= 1280)]


def convert(results):
    programs = results["programs"]
    copy = median(ratios(programs, "aiffconv", "cp"))
    rivals = [median(ratios(programs, name, "aiffconv")) for name in programs
              if name not in ("cp", "aiffconv")]
    return [("convert: at most 1.5 times `cp`", f"{copy:.2f}", copy <= 1.5),
            ("convert: rivals take at least 4 times as long", span(rivals), min(rivals) >= 4)]


def encode(results):
    copy = median(ratios(results["programs"], "aiffconv", "cp"))
    return [("encode: at most 1.3 times `cp`", f"{copy:.2f}", copy <= 1.3)]


def stream(results):
    curl = median(ratios(results["programs"], "plugin", "curl"))
    return [("stream: at most 1.25 times as long as curl", f"{curl:.2f}", curl <= 1.25),
            ("stream: grows by at most 1024 KiB", f"{results['grown_kib']} KiB",
             results["grown_kib"] <= 1024)]


PARTS = {part.__name__: part for part in (decode, opening, tags, growth, memory, convert, encode,
                                          stream)}


def of(results):
    return table(["Goal", "Measured", ""],
                 [[name, measured, "reached" if reached else "**missed**"]
                  for part, goals in PARTS.items() if part in results
                  for name, measured, reached in goals(results[part])])
