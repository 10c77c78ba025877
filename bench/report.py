# SPDX-License-Identifier: MIT
"""Compares the plug-in and aiffconv with their rivals: tables, JSON and an SVG chart.

Run it through bench/run.sh. All rivals work on the same generated files, which lie in
the page cache, in turns; every result is checked, and a wrong one ends the run. A
missed target is only printed, since a busy machine misses some.
"""
import argparse
import array
import json
import os
import pathlib
import resource
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import wave
from statistics import median

import chart

LAYOUTS = [(bits, little, channels) for little in (False, True) for bits in (8, 16, 24, 32)
           for channels in (1, 2, 6) if not (little and bits == 8)]
DECODE_WAYS = ("plugin", "libsndfile", "libsndfile_raw")
OPEN_WAYS = ("open_1_16", "open_1_8_16", "open_libsndfile")
SMALL_FILES = 2000
SMALL_FRAMES = 11025  # a quarter of a second
PICTURE = 30000
TAGS = 4  # that the plug-in tells of a tagged file: three texts and the version of the tag


def run(command, **more):
    command = [str(word) for word in command]
    done = subprocess.run(command, capture_output=True, text=True, **more)
    if done.returncode != 0:
        sys.exit(f"bench: {' '.join(command)} failed: {done.stderr.strip()}")
    return done.stdout


def check(right, what):
    if not right:
        sys.exit(f"bench: wrong result: {what}")


def table(title, header, rows):
    lines = [header, *([cell if isinstance(cell, str) else f"{cell:.2f}" for cell in row]
                       for row in rows)]
    widths = [max(map(len, column)) for column in zip(*lines)]
    print(f"\n{title}")
    for line in lines:
        print("  " + line[0].ljust(widths[0]),
              *(cell.rjust(width) for cell, width in zip(line[1:], widths[1:])), sep="  ")
    sys.stdout.flush()


class Bench:
    """Where things are and how much to do."""

    def __init__(self, options, folder):
        self.build, self.folder, self.quick = options.build, folder, options.quick
        self.repetitions = 1 if options.quick else options.repetitions
        self.codec = [self.build / "bench/bench_codec", self.build / "Codecs/Bin/decoder/AIFF.so"]

    def go(self, path, *ways, measured=True, restored=0):
        """With `restored`, as many times the repetitions, of files that are put back each time."""
        program, plugin = self.codec
        repetitions = self.repetitions * (restored or measured)
        return json.loads(run([program, *["--restore"] * (restored > 0), plugin, repetitions,
                               path, *ways]))

    def verdict(self, reached):
        return "-" if self.quick else "ok" if reached else "MISSED"

    def make(self, megabytes, bits=16, channels=2, little=False):
        path = self.folder / "sound.aiff"
        run([self.build / "bin/make_aiff", path, "--type", "aifc" if little else "aiff",
             "--bits", bits, "--channels", channels, "--rate", 44100, "--size-mb", megabytes,
             *["--little-endian"] * little])
        return path


def decode(bench):
    """Reading a file whole."""
    results, rows = [], []
    for bits, little, channels in LAYOUTS:
        order = "little" if little else "big"
        name = f"{bits} bit" + (f", {order}" if bits > 8 else "") + f", {channels} ch"
        path = bench.make(2 if bench.quick else 128, bits, channels, little)
        sums = bench.go(path, *(f"sum_{way}" for way in DECODE_WAYS), measured=False)
        check(len({sums[f"sum_{way}"]["result"] for way in DECODE_WAYS}) == 1, f"PCM of {name}")
        done = bench.go(path, "read", *DECODE_WAYS)
        check(done["read"]["result"] == path.stat().st_size, f"bytes of {name}")
        check(len({done[way]["result"] for way in DECODE_WAYS} | {0}) == 2, f"PCM bytes of {name}")
        read, ours, rival, raw = (median(done[way]["seconds"]) for way in ("read", *DECODE_WAYS))
        most, least = (1.10, 1.0) if little else (1.45 if bits == 24 else 1.35, 2.0)
        rows.append([name, read * 1e3, ours * 1e3, rival * 1e3, raw * 1e3,
                     done["plugin"]["result"] / ours / 1e9,
                     ours / read, bench.verdict(ours <= most * read),
                     rival / ours, bench.verdict(rival >= least * ours), raw / ours])
        results.append({"name": name, "plugin_to_read": ours / read, "most": most,
                        "libsndfile_to_read": rival / read, "libsndfile_to_plugin": rival / ours,
                        "libsndfile_raw_to_plugin": raw / ours, "least": least, **done})
    table(f"Decoding, medians of {bench.repetitions} in ms",
          ["format", "read()", "plug-in", "libsndfile", "raw", "GB/s", "of read()", "limit",
           "times faster", "rival", "raw / ours"], rows)
    return results


def chunk(code, body):
    return code + struct.pack(">I", len(body)) + body + b"\0" * (len(body) % 2)


def frame(code, body):
    return struct.pack(">4sIH", code, len(body), 0) + body


def tag_of(frames):
    """An ID3v2.3 tag."""
    return b"ID3\3\0\0" + bytes(len(frames) >> shift & 0x7F for shift in (21, 14, 7, 0)) + frames


def tag(texts, picture=b""):
    """A tag of text frames, and of a picture if there is one."""
    frames = b"".join(frame(name, b"\0" + text) for name, text in texts.items())
    return tag_of(frames + (frame(b"APIC", b"\0image/png\0\3\0" + picture) if picture else b""))


def small_tag(number, room=0):
    """A chunk with three fields and so many bytes of padding."""
    texts = {b"TIT2": b"Track %d" % number, b"TPE1": b"Somebody", b"TALB": b"Small files"}
    return chunk(b"ID3 ", tag_of(tag(texts)[10:] + bytes(room)))


def file_of(frames, after=(), before=()):
    """A plain AIFF file of 16-bit stereo with more chunks after and before its sound."""
    common = struct.pack(">hIh", 2, frames, 16) + bytes.fromhex("400eac44000000000000")
    chunks = b"".join([chunk(b"COMM", common), *before,
                       chunk(b"SSND", bytes(8) + os.urandom(frames * 4)), *after])
    return b"FORM" + struct.pack(">I", len(chunks) + 4) + b"AIFF" + chunks


def small_file(number, tagged):
    """A tagged one has an ID3v2.3 tag at its end."""
    return file_of(SMALL_FRAMES, [small_tag(number)] * tagged)


def calls_per_open(bench, way, path):
    """System calls of one open and close: the difference between a short and a long run."""
    def total(count):
        report = bench.folder / "strace"
        run(["strace", "-c", "-f", "-o", report, *bench.codec, count, path, way])
        return int(report.read_text().split("\n")[-2].split()[3])  # of the line of totals

    return (total(220) - total(20)) / 200


def opening(bench):
    """Opening and closing many small files."""
    traced = shutil.which("strace") is not None
    if not traced:
        print("strace is absent: system calls are not counted")
    results, rows = [], []
    count = 100 if bench.quick else SMALL_FILES
    for kind in ("plain", "tagged"):
        folder = bench.folder / kind
        folder.mkdir()
        for number in range(count):
            (folder / f"{number:04}.aiff").write_bytes(small_file(number, kind == "tagged"))
        tags = bench.go(folder, "tags", measured=False)["tags"]["result"]
        check(tags == (count * TAGS if kind == "tagged" else 0), f"tags of {kind} files")
        done = bench.go(folder, *OPEN_WAYS)
        each = {way: median(done[way]["seconds"]) / count * 1e6 for way in OPEN_WAYS}
        calls = {way: calls_per_open(bench, way, folder / "0000.aiff")
                 for way in OPEN_WAYS if traced}
        for way in OPEN_WAYS:
            check(done[way]["result"] == count * SMALL_FRAMES * 4, f"{way} of {kind} files")
            fine = each[way] <= each["open_libsndfile"] and (
                not traced or calls[way] <= calls["open_libsndfile"])
            rows.append([kind, way, each[way],
                         f"{calls[way]:.1f}" if traced else "-",
                         each["open_libsndfile"] / each[way], bench.verdict(fine)])
        results.append({"name": kind, "microseconds": each, "calls": calls, **done})
    table(f"Opening and closing {count} small files, medians of {bench.repetitions}",
          ["files", "way", "us per file", "system calls", "times faster", "rival"], rows)
    return results


def append_tag(path):
    """Twelve fields and a picture of 30 KB after the sound of a file."""
    names = b"TIT2 TPE1 TPE2 TALB TCOM TCON TCOP TENC TIT1 TPUB TRCK TYER".split()
    body = tag({name: b"1971" for name in names}, b"\x89PNG" + os.urandom(PICTURE - 4))
    with open(path, "r+b") as file:
        file.seek(0, os.SEEK_END)
        file.write(chunk(b"ID3 ", body))
        form = file.tell() - 8
        file.seek(4)
        file.write(struct.pack(">I", form))
    return len(body)


# What is edited in files of 1 MB: the way, and the chunks after and before the sound.
EDITED = {"set a title, no tag yet": ("edit",),
          "tag last": ("edit", [small_tag(1)]),
          "small chunk after the tag": ("edit", [small_tag(1), chunk(b"ANNO", b"later")]),
          "tag before the sound": ("edit", (), [small_tag(1, room=2000)]),
          "delete the tag": ("delete", [small_tag(1)])}


def edit_layout(bench, rows, name, way, *chunks):
    """One edit of two files, in short turns, so that few are disturbed; adds a row with the median
    of what each turn has shown."""
    folder, count = bench.folder / "layout", 2
    folder.mkdir()
    for number in range(count):
        (folder / f"{number}.aiff").write_bytes(file_of(1 << 18, *chunks))
    done = bench.go(folder, f"{way}_plugin", f"{way}_taglib",
                    restored=1 if bench.quick else 50)
    shutil.rmtree(folder)
    ours, rival = (done[f"{way}_{program}"]["seconds"] for program in ("plugin", "taglib"))
    ratio = median(theirs / own for own, theirs in zip(ours, rival))
    rows.append([f"1 MB, {name}", median(ours) / count * 1e6, median(rival) / count * 1e6, ratio,
                 bench.verdict(ratio >= 1)])
    return done


def tags(bench):
    """Reading the tags of many small files, and changing a field of a large one."""
    folder, count = bench.folder / "pictures", 100 if bench.quick else SMALL_FILES
    folder.mkdir()
    for number in range(count):
        path = folder / f"{number:04}.aiff"
        path.write_bytes(small_file(number, False))
        append_tag(path)
    large = bench.make(1 if bench.quick else 50)
    size = append_tag(large)
    reading = bench.go(folder, "tags_plugin", "tags_taglib")
    for way, done in reading.items():
        check(way == "peak_kib" or done["result"] == count * PICTURE, way)
    ours, rival = (median(reading[way]["seconds"]) for way in ("tags_plugin", "tags_taglib"))
    rows = [[f"read {count} small files, each", ours / count * 1e6, rival / count * 1e6,
             rival / ours, bench.verdict(rival >= 2 * ours)]]
    editing = bench.go(large, "edit_plugin", "edit_taglib", "edit_plugin_flushed",
                       "edit_taglib_flushed")
    for flushed in ("", "_flushed"):
        ours, rival = (median(editing[f"edit_{name}{flushed}"]["seconds"])
                       for name in ("plugin", "taglib"))
        rows.append(["set a title in 50 MB" + flushed.replace("_", ", "), ours * 1e6, rival * 1e6,
                     rival / ours, "" if flushed else bench.verdict(rival >= ours)])
    editing["layouts"] = {name: edit_layout(bench, rows, name, way, *chunks)
                          for name, (way, *chunks) in EDITED.items()}
    written = [bench.go(large, f"written_{name}", measured=False)[f"written_{name}"]["result"]
               for name in ("plugin", "taglib")]
    table(f"Tags, medians of {bench.repetitions} in us", ["", "plug-in", "TagLib", "times faster",
                                                         "target"], rows)
    print(f"  bytes written for the title of a tag of {size}: {written[0]}, TagLib {written[1]}",
          bench.verdict(written[0] <= 2.5 * size))
    return {"reading": reading, "editing": editing, "tag": size, "written": written}


def many(count, kind):
    """An AIFF file with that many chunks, or frames in its tag, after its sound."""
    plain = small_file(0, False)
    if kind == "chunks":
        more = (b"ANNO" + struct.pack(">I", 3) + b"odd\0") * count
    elif kind == "frames":
        body = b"".join(frame(b"TXXX", b"\0Field %d\0value" % number) for number in range(count))
        more = chunk(b"ID3 ", tag_of(body))
    else:
        more = b""
    return b"FORM" + struct.pack(">I", len(plain) - 8 + len(more)) + plain[8:] + more


def growth(bench):
    """An edit of a tag and its reading, at an eightfold amount of what files may hold."""
    results, rows = {}, []
    for kind in ("frames", "fields", "chunks"):
        each = []
        for count in (100, 800) if bench.quick else (12500, 100000):
            path = bench.folder / "many.aiff"
            path.write_bytes(many(count, kind))
            edit = f"edit_{count}" if kind == "fields" and not bench.quick else "edit_plugin"
            done = bench.go(path, edit, "tags")
            each.append([median(done[way]["seconds"]) for way in (edit, "tags")])
        results[kind] = each
        rows.append([kind, *(seconds * 1e3 for pair in zip(*each) for seconds in pair),
                     bench.verdict(all(sum(pair) < 1 for pair in each))])
    table(f"Many of a kind in a file, medians of {bench.repetitions} in ms",
          ["100,000", "edit of 12,500", "of 100,000", "reading of 12,500", "of 100,000", "target"],
          rows)
    return results


def memory(bench):
    """Peak memory of a process that decodes, less that of one that only reads."""
    results, ways = [], ("read", "plugin", "libsndfile")
    for megabytes in (1, 2) if bench.quick else (20, 400):
        path = bench.make(megabytes)
        peaks = {way: median(bench.go(path, way, measured=False)["peak_kib"]
                             for _ in range(bench.repetitions)) for way in ways}
        results.append({"megabytes": megabytes, **peaks, "share": peaks["plugin"] - peaks["read"]})
    table("Peak memory of a process that decodes, in KiB",
          ["file", *ways, "plug-in's share", "under 1 MiB"],
          [[f"{r['megabytes']} MB", *(f"{r[way]:.0f}" for way in (*ways, "share")),
            bench.verdict(r["share"] < 1024)] for r in results])
    return results


def samples_of(source):
    """The samples of a 16-bit AIFF file as little-endian PCM."""
    data = source.read_bytes()
    start = data.index(b"SSND")
    size = struct.unpack_from(">I", data, start + 4)[0]
    samples = array.array("h", data[start + 16:start + 8 + size])
    samples.byteswap()
    return samples.tobytes()


def processor_time():
    """Seconds that finished child processes were busy."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def converters(bench, source, target):
    """The commands that are there, by name."""
    every = {"cp": ["cp", source, target],
             "aiffconv": [bench.build / "bin/aiffconv", "convert", source, "-o", target, "--quiet"],
             "sndfile-convert": ["sndfile-convert", source, target],
             "sox": ["sox", source, target],
             "ffmpeg": ["ffmpeg", "-nostdin", "-v", "error", "-i", source, target]}
    found = {name: command for name, command in every.items() if shutil.which(command[0])}
    for name in every.keys() - found.keys():
        print(f"{name} is absent: skipped")
    return found


def convert(bench):
    """Converting a large file to WAV."""
    megabytes = 4 if bench.quick else 400
    source, target = bench.make(megabytes), bench.folder / "out.wav"
    commands, expected = converters(bench, source, target), samples_of(source)
    environment, names = {**os.environ, "QVCODECPATH": str(bench.build)}, list(commands)
    times, work = {name: [] for name in names}, {name: [] for name in names}
    for repetition in range(bench.repetitions):
        first = repetition % len(names)
        for name in names[first:] + names[:first]:
            start, busy = time.perf_counter(), processor_time()
            run(commands[name], env=environment)
            times[name].append(time.perf_counter() - start)
            work[name].append(processor_time() - busy)
            if name == "cp":
                check(target.stat().st_size == source.stat().st_size, "cp")
            elif repetition == 0:
                with wave.open(str(target)) as sound:
                    check(sound.readframes(sound.getnframes()) == expected, f"sound of {name}")
            target.unlink()
    medians = {name: median(seconds) for name, seconds in times.items()}
    copy, ours, rows = medians["cp"], medians.get("aiffconv"), []
    for name, seconds in medians.items():
        fine = ours <= 1.5 * copy if name == "aiffconv" else ours and seconds >= 4 * ours
        rows.append([name, seconds * 1e3, median(work[name]) * 1e3, seconds / copy,
                     seconds / ours if ours else "-",
                     bench.verdict(fine) if ours and name != "cp" else "-"])
    table(f"Converting {megabytes} MB to WAV, medians of {bench.repetitions} in ms",
          ["program", "ms", "on processor", "of cp", "of aiffconv", "target"], rows)
    return {"megabytes": megabytes, "medians": medians, "seconds": times,
            "processor_seconds": work}


PARTS = {part.__name__: part for part in (decode, opening, tags, growth, memory, convert)}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true",
                        help="small files, one repetition: checks the results, measures nothing")
    parser.add_argument("--repetitions", type=int, default=9)
    parser.add_argument("--only", choices=PARTS, action="append", help="one part; repeatable")
    parser.add_argument("--out", type=pathlib.Path,
                        help="folder of bench.json and bench.svg; default: the build folder")
    parser.add_argument("--dir", help="folder for the generated files, with 1 GB of room")
    parser.add_argument("--keep", action="store_true", help="leave the generated files")
    options = parser.parse_args()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="aiff-bench-", dir=options.dir))
    try:
        bench = Bench(options, folder)
        results = {"repetitions": bench.repetitions,
                   **{name: PARTS[name](bench) for name in options.only or PARTS}}
        out = options.out or bench.build / "bench"
        out.mkdir(parents=True, exist_ok=True)
        (out / "bench.json").write_text(json.dumps(results, indent=1) + "\n")
        (out / "bench.svg").write_text(chart.draw(results))
        print(f"\nWrote {out / 'bench.json'} and {out / 'bench.svg'}")
    finally:
        if options.keep:
            print(f"Files kept in {folder}")
        else:
            shutil.rmtree(folder)


if __name__ == "__main__":
    main()
