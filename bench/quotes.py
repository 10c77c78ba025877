# SPDX-License-Identifier: MIT
"""The table of figures in README, from what was measured."""
from statistics import median

from tables import brief, middle, ratios, relative, size, span

RAW = "`sf_read_raw` with a plain loop"


def decoding(rows):
    def of(widths, way, base="plugin", little=False):
        return span(relative(rows, widths, little, way, base))

    return [["Decoding 8, 16, 32 bit", f"{of((8, 16, 32), 'plugin', 'read')} times `read()`",
             f"libsndfile takes {of((8,), 'libsndfile')}, {of((16,), 'libsndfile')}, "
             f"{of((32,), 'libsndfile')} times as long, its {RAW} "
             f"{of((8, 16, 32), 'libsndfile_raw')}"],
            ["Decoding 24 bit", f"{of((24,), 'plugin', 'read')} times `read()`",
             f"libsndfile {of((24,), 'libsndfile')} times as long, {RAW} "
             f"{of((24,), 'libsndfile_raw')}"],
            ["Decoding little-endian",
             f"{of((16, 24, 32), 'plugin', 'read', True)} times `read()`",
             f"libsndfile {of((16, 32), 'libsndfile', little=True)} (16, 32 bit) or "
             f"{of((24,), 'libsndfile', little=True)} (24 bit) times as long, `sf_read_raw` "
             f"{of((16, 24, 32), 'libsndfile_raw', little=True)}"]]


def opening(kinds):
    def of(kind, way):
        calls = kinds[kind]["calls"]
        return brief(kinds[kind]["seconds"][way]) + (f", {calls[way]:.0f} system calls" if calls
                                                  else "")

    return [["Opening a small file with its properties", of("plain", "open_1_16"),
             f"libsndfile {of('plain', 'open_libsndfile')}"],
            ["The same, with its tags", of("tagged", "open_1_8_16"),
             f"libsndfile, without tags, {of('tagged', 'open_libsndfile')}"]]


def tags(results):
    def row(name, pair, rival="TagLib"):
        return [name, brief(pair["plugin"]), f"{rival} {brief(pair['taglib'])}"]

    return [row("Reading a tag with a picture of 30 KB", results["reading"]),
            row("Changing the title in a file of 50 MB, on the disk when done",
                results["title_flushed"], "TagLib and one `fsync`"),
            row("The same without waiting for the disk (`--no-sync`)", results["title"])]


def memory(rows):
    return [["Memory while decoding a file of any size",
             f"{span([row['share'] for row in rows], 0)} KiB", ""]]


def large(command, results):
    """A conversion that is compared with cp, and the programs that can do the same."""
    programs = results["programs"]
    copied = ratios(programs, "aiffconv", "cp")
    rivals = ", ".join(f"{name} {median(ratios(programs, name, 'aiffconv')):.1f}"
                       for name in programs if name not in ("cp", "aiffconv"))
    return [[f"`aiffconv {command}` of {size(results['bytes'])}, not flushed",
             f"{median(copied):.2f} times `cp` ({span(copied)} in {len(copied)} rounds)",
             f"times that of `aiffconv`: {rivals}"]]


def tree(results):
    ours, sox, ffmpeg = (f"{middle(results['programs'], name):.2f} s"
                         for name in ("aiffconv", "sox", "ffmpeg"))
    return [[f"{results['files']} small files in {results['folders']} folders, `--jobs 2`", ours,
             f"a shell loop over sox {sox}, over ffmpeg {ffmpeg}"]]


def md5(results):
    def of(name):
        return f"{median(ratios(results['programs'], name, 'md5sum')):.2f}"

    return [[f"`aiffconv md5` of {size(results['bytes'])}",
             f"{of('aiffconv, AIFF')} times `md5sum`, for FLAC {of('aiffconv, FLAC')}",
             f"flac and md5sum {of('flac and md5sum')}"]]


def stream(results):
    rate, curl = (results["bytes"] / 1e6 / middle(results["programs"], name)
                  for name in ("plugin", "curl"))
    return [["A stream from a server on the same machine", f"{rate:,.0f} MB/s",
             f"curl {curl:,.0f} MB/s"]]


def lines(results):
    return [*decoding(results["decode"]), *opening(results["opening"]), *tags(results["tags"]),
            *memory(results["memory"]), *large("convert", results["convert"]),
            *large("encode", results["encode"]), *tree(results["tree"]), *md5(results["md5"]),
            *stream(results["stream"])]


def table(results):
    rows = [["What", "plug-in or `aiffconv`", "compared with"], ["---"] * 3, *lines(results)]
    return "\n".join("| " + " | ".join(row) + " |" for row in rows)
