# SPDX-License-Identifier: MIT
"""What was measured, as tables in Markdown."""
from statistics import median

DECODED = ("read", "plugin", "libsndfile", "libsndfile_raw")
OPENED = {"open_1_16": "plug-in, flags 1 + 16", "open_1_8_16": "plug-in, flags 1 + 8 + 16",
          "open_libsndfile": "libsndfile"}


def table(header, rows):
    """The first column is text, all others are numbers."""
    lines = [header, ["---", *["--:"] * (len(header) - 1)], *rows]
    return "\n".join("| " + " | ".join(map(str, line)) + " |" for line in lines)


def ms(seconds):
    return f"{seconds * 1e3:,.1f} ms" if seconds < 0.1 else f"{seconds * 1e3:,.0f} ms"


def brief(seconds):
    """For what takes microseconds or a few milliseconds."""
    return f"{seconds * 1e6:.1f} µs" if seconds < 1e-3 else ms(seconds)


def span(values, digits=2):
    """Least and greatest, once if they look alike."""
    least, greatest = (f"{choose(values):.{digits}f}" for choose in (min, max))
    return least if least == greatest else f"{least} to {greatest}"


def size(count):
    return f"{count / 1e6:.0f} MB"


def over(row, way, base):
    return row["seconds"][way] / row["seconds"][base]


def relative(rows, widths, little, way, base):
    """Of one way of decoding to another, for some of the formats."""
    return [over(row, way, base) for row in rows
            if row["bits"] in widths and row["little"] == little]


def ratios(programs, name, base):
    """Of the times of two programs, round by round."""
    return [a / b for a, b in zip(programs[name]["seconds"], programs[base]["seconds"])]


def middle(programs, name):
    return median(programs[name]["seconds"])


def decode(rows):
    def of(widths, little, way):
        return span(relative(rows, widths, little, way, "plugin"))

    lines = [[row["name"], *(ms(row["seconds"][way]) for way in DECODED),
              *(f"{over(row, *pair):.2f}" for pair in
                (("plugin", "read"), ("libsndfile", "plugin"), ("libsndfile_raw", "plugin")))]
             for row in rows]
    return table(["Decoding", "read()", "plug-in", "libsndfile", "raw", "plug-in / read()",
                  "libsndfile / plug-in", "raw / plug-in"], lines) + f"""

Big-endian samples take libsndfile's converting calls {of((8, 16, 24, 32), False, "libsndfile")}
times as long as the plug-in, and `sf_read_raw` with a plain loop that swaps
{of((8, 16), False, "libsndfile_raw")} times at 8 and 16 bits, {of((24,), False, "libsndfile_raw")}
at 24 and {of((32,), False, "libsndfile_raw")} at 32. Little-endian samples, which nobody swaps,
take libsndfile {of((16, 32), True, "libsndfile")} times as long at 16 and 32 bits and
{of((24,), True, "libsndfile")} at 24, and `sf_read_raw`
{of((16, 24, 32), True, "libsndfile_raw")} times."""


def limits(rows):
    """Relative to read() in pieces of 64 KiB."""
    ways = ("bare_read_256", "bare_read_512", "bare_swap", "bare_64", "bare_256", "bare_512",
            "bare_mapped", "plugin")
    return table(["Bare loops, times `read()` of 64 KiB", "`read()`", "of 256 KiB", "of 512 KiB",
                  "swap alone", "64 KiB and swap", "256 KiB", "512 KiB", "mapped", "plug-in"],
                 [[row["name"], ms(row["seconds"]["bare_read_64"]),
                   *(f"{over(row, way, 'bare_read_64'):.2f}" for way in ways)] for row in rows])


def opening(kinds):
    return table(["Opening and closing a small file", "Time", "System calls"],
                 [[f"{kind}, {OPENED[way]}", brief(seconds),
                   f"{results['calls'][way]:.0f}" if results["calls"] else "-"]
                  for kind, results in kinds.items()
                  for way, seconds in results["seconds"].items()]) + \
        "\n\nlibsndfile does not read the tags."


def tags(results):
    def row(name, pair):
        return [name, brief(pair["plugin"]), brief(pair["taglib"]), f"{pair['ratio']:.2f}"]

    written = results["written"]
    return table(["Tags", "plug-in", "TagLib", "TagLib / plug-in"],
                 [row(f"reading {results['files']:,} small files, each", results["reading"]),
                  row("another title in a large file, its tag last, not flushed",
                      results["title"]),
                  row("the same, flushed (six barriers; TagLib and one `fsync`)",
                      results["title_flushed"]),
                  *(row(f"file of 1 MB, not flushed: {name}", pair)
                    for name, pair in results["layouts"].items())]) + f"""

For that title, of a tag of {results['tag']:,} bytes, the plug-in wrote {written['plugin']:,}
bytes, because the tag is written to a hidden place first, and TagLib {written['taglib']:,}."""


def growth(results):
    few, lots = results["counts"]
    return table([f"{lots:,} in a file", "Edit of its tag", "Reading", f"Edit of {few:,}",
                  "Reading"],
                 [[name, *(ms(each[what]) for each in reversed(results[kind])
                           for what in ("edit", "reading"))]
                  for kind, name in (("frames", "frames in the tag"),
                                     ("fields", "fields set by the edit"), ("chunks", "chunks"))])


def memory(rows):
    return table(["Peak memory of a process", "only read()", "plug-in", "libsndfile",
                  "the plug-in's share"],
                 [[f"decoding {row['megabytes']} MB", *(f"{row[way]:.0f} KiB" for way in
                                                        ("read", "plugin", "libsndfile", "share"))]
                  for row in rows])


def processes(title, programs, base):
    """Whole processes: medians, and the range of the rounds."""
    def row(name):
        seconds, to_base = programs[name]["seconds"], ratios(programs, name, base)
        return [name, ms(median(seconds)), f"{span([s * 1e3 for s in seconds], 0)} ms",
                ms(median(programs[name]["processor"])), f"{median(to_base):.2f}", span(to_base)]

    return table([title, "Time", "Range", "Processor", f"/ {base}", "Range"], map(row, programs))


def convert(results):
    return processes(f"AIFF of {size(results['bytes'])} to WAV, not flushed",
                     results["programs"], "cp")


def encode(results):
    return processes(f"WAV of {size(results['bytes'])} to AIFF, not flushed",
                     results["programs"], "cp")


def tree(results):
    named = {"aiffconv": "`aiffconv --jobs 2`", "sox": "shell loop over sox",
             "ffmpeg": "shell loop over ffmpeg"}
    return processes(f"{results['files']} files of {results['frames']:,} frames in "
                     f"{results['folders']} folders to WAV",
                     {named[name]: done for name, done in results["programs"].items()},
                     named["aiffconv"])


def md5(results):
    return processes(f"MD5 of {size(results['bytes'])}", results["programs"], "md5sum")


def stream(results):
    def rate(seconds):
        return results["bytes"] / 1e6 / seconds

    programs = results["programs"]
    return table([f"Stream of {size(results['bytes'])} into nothing", "Rate", "Range",
                  "Time / curl", "Range"],
                 [[name.replace("plugin", "plug-in"),
                   f"{rate(middle(programs, name)):,.0f} MB/s",
                   f"{span([rate(s) for s in done['seconds']], 0)} MB/s",
                   f"{median(ratios(programs, name, 'curl')):.2f}",
                   span(ratios(programs, name, "curl"))] for name, done in programs.items()]) + f"""

The plug-in's process grows by {results['grown_kib']} KiB."""


PARTS = {part.__name__: part for part in (decode, limits, opening, tags, growth, memory, convert, encode,
                                          tree, md5, stream)}
