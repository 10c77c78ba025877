# SPDX-License-Identifier: MIT
"""The plug-in against libsndfile, TagLib and read(), within one process: bench_codec."""
import os
import shutil
import sys
from statistics import median

from harness import check, run
from sources import (PICTURE, SMALL_FRAMES, append_tag, chunk, file_of, many, small_file,
                     small_tag)

LAYOUTS = [(bits, little, channels) for little in (False, True) for bits in (8, 16, 24, 32)
           for channels in (1, 2, 6) if not (little and bits == 8)]
DECODE_WAYS = ("plugin", "libsndfile", "libsndfile_raw")
BARE_WAYS = ("bare_read_64", "bare_read_256", "bare_read_512", "bare_swap", "bare_64", "bare_256",
             "bare_512", "bare_mapped")
OPEN_WAYS = ("open_1_16", "open_1_8_16", "open_libsndfile")
SMALL_FILES = 2000
TAGS = 4  # that the plug-in tells of a tagged file: three texts and the version of the tag


def decode(bench):
    """Reading a file whole."""
    results = []
    for bits, little, channels in LAYOUTS:
        order = "little" if little else "big"
        name = f"{bits} bit" + (f", {order}" if bits > 8 else "") + f", {channels} ch"
        path = bench.make(2 if bench.quick else 128, bits, channels, little)
        sums = bench.go(path, *(f"sum_{way}" for way in DECODE_WAYS), measured=False)
        check(len({sums[f"sum_{way}"]["result"] for way in DECODE_WAYS}) == 1, f"PCM of {name}")
        done = bench.go(path, "read", *DECODE_WAYS)
        check(done["read"]["result"] == path.stat().st_size, f"bytes of {name}")
        check(len({done[way]["result"] for way in DECODE_WAYS} | {0}) == 2, f"PCM bytes of {name}")
        results.append({"name": name, "bits": bits, "little": little, "details": done,
                        "seconds": {way: median(done[way]["seconds"])
                                    for way in ("read", *DECODE_WAYS)}})
    return results


def limits(bench):
    """What bare calls and loops take in the place of the plug-in, which takes its turns, too."""
    results = []
    for bits in (8, 16, 24, 32):
        path = bench.make(2 if bench.quick else 128, bits)
        done = bench.go(path, *BARE_WAYS, "plugin")
        ends = {done[way]["result"] for way in BARE_WAYS} - {done["bare_swap"]["result"]}
        check(ends == {path.stat().st_size}, f"bare ways at {bits} bits")
        results.append({"name": f"{bits} bit, 2 ch", "details": done,
                        "seconds": {way: median(done[way]["seconds"])
                                    for way in (*BARE_WAYS, "plugin")}})
    return results


def calls_per_open(bench, way, path):
    """System calls of one open and close: the difference between a short and a long run."""
    def total(count):
        report = bench.folder / "strace"
        run(["strace", "-c", "-f", "-o", report, *bench.codec, count, path, way])
        return int(report.read_text().split("\n")[-2].split()[3])  # of the line of totals

    return (total(220) - total(20)) / 200


def opening(bench):
    """Opening and closing many small files."""
    results, count = {}, 100 if bench.quick else SMALL_FILES
    for kind in ("plain", "tagged"):
        folder = bench.folder / kind
        folder.mkdir()
        for number in range(count):
            (folder / f"{number:04}.aiff").write_bytes(small_file(number, kind == "tagged"))
        tags = bench.go(folder, "tags", measured=False)["tags"]["result"]
        check(tags == (count * TAGS if kind == "tagged" else 0), f"tags of {kind} files")
        done = bench.go(folder, *OPEN_WAYS)
        for way in OPEN_WAYS:
            check(done[way]["result"] == count * SMALL_FRAMES * 4, f"{way} of {kind} files")
        calls = {way: calls_per_open(bench, way, folder / "0000.aiff")
                 for way in OPEN_WAYS if sys.platform == "linux"}
        results[kind] = {"seconds": {way: median(done[way]["seconds"]) / count
                                     for way in OPEN_WAYS}, "calls": calls, "details": done}
    return results


# What is edited in files of 1 MB: the way, and the chunks after and before the sound.
EDITED = {"title, no tag yet": ("edit",),
          "title, small tag last": ("edit", [small_tag(1)]),
          "title, a small chunk after the tag": ("edit", [small_tag(1), chunk(b"ANNO", b"later")]),
          "title, tag with padding before the sound": ("edit", (), [small_tag(1, room=2000)]),
          "tag deleted": ("delete", [small_tag(1)])}


def pair(done, way, suffix="", count=1):
    """Medians of the plug-in and of TagLib per file, and that of their ratios in each turn."""
    ours, theirs = (done[f"{way}_{program}{suffix}"]["seconds"] for program in ("plugin", "taglib"))
    return {"plugin": median(ours) / count, "taglib": median(theirs) / count,
            "ratio": median(their / our for our, their in zip(ours, theirs))}


def edit_layout(bench, way, *chunks):
    """One edit of two files, in short turns, so that few are disturbed."""
    folder, count = bench.folder / "layout", 2
    folder.mkdir()
    for number in range(count):
        (folder / f"{number}.aiff").write_bytes(file_of(os.urandom(1 << 20), *chunks))
    done = bench.go(folder, f"{way}_plugin", f"{way}_taglib", restored=1 if bench.quick else 50)
    shutil.rmtree(folder)
    return {**pair(done, way, count=count), "details": done}


def tags(bench):
    """Reading the tags of many small files, and changing a field of a large one."""
    folder, count = bench.folder / "pictures", 100 if bench.quick else SMALL_FILES
    folder.mkdir()
    for number in range(count):
        path = folder / f"{number:04}.aiff"
        path.write_bytes(small_file(number, False))
        append_tag(path)
    reading = bench.go(folder, "tags_plugin", "tags_taglib")
    for way in ("tags_plugin", "tags_taglib"):
        check(reading[way]["result"] == count * PICTURE, way)
    large = bench.make(1 if bench.quick else 50)
    size = append_tag(large)
    editing = bench.go(large, "edit_plugin", "edit_taglib", "edit_plugin_flushed",
                       "edit_taglib_flushed")
    written = {name: bench.go(large, f"written_{name}",
                              measured=False)[f"written_{name}"]["result"]
               for name in ("plugin", "taglib")}
    return {"files": count, "reading": pair(reading, "tags", count=count),
            "title": pair(editing, "edit"), "title_flushed": pair(editing, "edit", "_flushed"),
            "tag": size, "written": written,
            "layouts": {name: edit_layout(bench, way, *chunks)
                        for name, (way, *chunks) in EDITED.items()},
            "details": {"reading": reading, "editing": editing}}


def growth(bench):
    """An edit of a tag and its reading, at an eightfold amount of what files may hold."""
    counts = (100, 800) if bench.quick else (12500, 100000)
    results = {"counts": counts}
    for kind in ("frames", "fields", "chunks"):
        results[kind] = []
        for count in counts:
            path = bench.folder / "many.aiff"
            path.write_bytes(many(count, kind))
            edit = f"edit_{count}" if kind == "fields" and not bench.quick else "edit_plugin"
            done = bench.go(path, edit, "tags")
            results[kind].append({"edit": median(done[edit]["seconds"]),
                                  "reading": median(done["tags"]["seconds"])})
    return results


def memory(bench):
    """Peak memory of a process that decodes, less that of one that only reads; KiB."""
    results, ways = [], ("read", "plugin", "libsndfile")
    for megabytes in (1, 2) if bench.quick else (20, 400):
        path = bench.make(megabytes)
        peaks = {way: median(bench.go(path, way, measured=False)["peak_kib"]
                             for _ in range(bench.repetitions)) for way in ways}
        results.append({"megabytes": megabytes, **peaks, "share": peaks["plugin"] - peaks["read"]})
    return results
