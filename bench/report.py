"""Compares the plug-in and aiffconv with their rivals: tables, JSON and an SVG chart.

Run it through bench/run.sh. Every comparison uses the same generated files in the
page cache, in the same run, in turns; every result is checked. It ends with 1 when
a result is wrong; a missed target is printed, but fails nothing, since a busy
machine misses some.
"""
import argparse
import array
import json
import os
import pathlib
import re
import shutil
import statistics
import struct
import subprocess
import sys
import tempfile
import time
import wave
import zlib

import chart

LAYOUTS = [(bits, little, channels) for little in (False, True) for bits in (8, 16, 24, 32)
           for channels in (1, 2, 6) if not (little and bits == 8)]
SMALL_FILES = 2000
SMALL_FRAMES = 11025  # a quarter of a second


class Bench:
    """Where things are and how much to do."""

    def __init__(self, options, folder):
        self.build = pathlib.Path(options.build)
        self.folder = folder
        self.repetitions = 1 if options.quick else options.repetitions
        self.quick = options.quick
        self.plugin = self.build / "Codecs/Bin/decoder/AIFF.so"
        self.codec = self.build / "bench/bench_codec"
        self.convert = self.build / "bin/aiffconv"

    def measure(self, command, *arguments):
        return json.loads(run([self.codec, command, *arguments]).stdout)

    def make(self, name, bits=16, channels=2, little=False, megabytes=1):
        """A file of random audio; in little-endian form it is an AIFF-C file."""
        path = self.folder / name
        program = next(self.build.glob("**/make_aiff"))
        run([program, path, "--type", "aifc" if little else "aiff", "--bits", bits, "--channels",
             channels, "--rate", 44100, "--size-mb", megabytes,
             *(["--little-endian"] if little else [])])
        return path


def run(command, **more):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, **more)
    if done.returncode != 0:
        sys.exit(f"bench: {' '.join(map(str, command))} failed: {done.stderr.strip()}")
    return done


def median_ratio(times, way, base):
    return statistics.median(times[way]) / statistics.median(times[base])


def verdict(reached):
    return "ok" if reached else "MISSED"


def table(title, header, rows):
    lines = [header, *([cell if isinstance(cell, str) else f"{cell:.2f}" for cell in row]
                       for row in rows)]
    widths = [max(len(line[column]) for line in lines) for column in range(len(header))]
    print(f"\n{title}")
    for line in lines:
        print("  " + line[0].ljust(widths[0]), *(cell.rjust(width) for cell, width
                                                  in zip(line[1:], widths[1:])), sep="  ")
    sys.stdout.flush()


def decode_targets(bits, little):
    """Most times read(), and least times faster than libsndfile."""
    most = 1.10 if little else 1.45 if bits == 24 else 1.35
    return most, 1.0 if little else 2.0


def bench_decode(bench):
    results, rows = [], []
    for bits, little, channels in LAYOUTS:
        path = bench.make("decode.aiff", bits, channels, little, 2 if bench.quick else 128)
        times = bench.measure("decode", bench.plugin, bench.repetitions, path)
        if not bench.quick:
            path.unlink()
        to_read = median_ratio(times, "plugin", "read")
        faster = median_ratio(times, "libsndfile", "plugin")
        most, least = decode_targets(bits, little)
        order = "little" if little else "big"
        name = f"{bits} bit" + (f", {order}" if bits > 8 else "") + f", {channels} ch"
        ms = [statistics.median(times[way]) * 1000 for way in ("read", "plugin", "libsndfile")]
        rows.append([name, *ms, times["pcm_bytes"] / ms[1] / 1e6, to_read, faster,
                     verdict(to_read <= most), verdict(faster >= least)])
        results.append({"name": name, "bits": bits, "byte_order": order, "channels": channels,
                        "plugin_to_read": to_read, "libsndfile_to_plugin": faster,
                        "libsndfile_to_read": median_ratio(times, "libsndfile", "read"),
                        "target_to_read": most, "target_faster": least, **times})
    table(f"Decoding, medians of {bench.repetitions}, in ms",
          ["format", "read()", "plug-in", "libsndfile", "GB/s", "plug-in/read", "times faster",
           "limit", "rival"], rows)
    return results


def small_file(number, tagged):
    """A plain AIFF file with 16-bit stereo; tagged ones have an ID3v2.3 tag behind."""
    def chunk(code, body):
        return code + struct.pack(">I", len(body)) + body + b"\0" * (len(body) % 2)

    comm = struct.pack(">hIh", 2, SMALL_FRAMES, 16) + bytes.fromhex("400eac44000000000000")
    chunks = chunk(b"COMM", comm) + chunk(b"SSND", bytes(8) + os.urandom(SMALL_FRAMES * 4))
    if tagged:
        frames = b"".join(
            name + struct.pack(">IH", len(text) + 1, 0) + b"\0" + text
            for name, text in ((b"TIT2", b"Track %d" % number), (b"TPE1", b"Somebody"),
                               (b"TALB", b"Small files"), (b"TRCK", b"%d" % (number % 99 + 1))))
        size = len(frames)  # seven bits per byte
        chunks += chunk(b"ID3 ", b"ID3\3\0\0" + bytes([0, 0, size >> 7, size & 127]) + frames)
    return b"FORM" + struct.pack(">I", len(chunks) + 4) + b"AIFF" + chunks


def calls_per_open(bench, way, path):
    """System calls of one open and close, by the difference of two runs."""
    def total(count):
        report = bench.folder / "strace"
        run(["strace", "-c", "-f", "-o", report, bench.codec, "opens", way, bench.plugin, path,
             count])
        # "100.00 <seconds> <microseconds per call> <calls> [<errors>] total"
        return int(report.read_text().strip().splitlines()[-1].split()[3])

    return (total(220) - total(20)) / 200


def bench_open(bench):
    traced = shutil.which("strace") is not None
    if not traced:
        print("strace is absent: system calls are not counted")
    results = []
    for tagged in (False, True):
        folder = bench.folder / ("tagged" if tagged else "plain")
        folder.mkdir()
        for number in range(100 if bench.quick else SMALL_FILES):
            (folder / f"{number:04}.aiff").write_bytes(small_file(number, tagged))
        times = bench.measure("open", bench.plugin, bench.repetitions, folder)
        ways = ("plugin_1_16", "plugin_1_8_16", "libsndfile")
        each = {way: statistics.median(times[way]) / times["files"] * 1e6 for way in ways}
        calls = {way: calls_per_open(bench, way, folder / "0000.aiff") for way in ways if traced}
        results.append({"name": folder.name, "microseconds": each, "calls": calls, **times})
    rows = []
    for result in results:
        each, calls = result["microseconds"], result["calls"]
        for way in each:
            fine = way == "libsndfile" or each[way] <= each["libsndfile"] and (
                not calls or calls[way] < calls["libsndfile"])
            rows.append([result["name"], way, each[way], f"{calls[way]:.1f}" if calls else "-",
                         each["libsndfile"] / each[way], verdict(fine)])
    table(f"Opening and closing {results[0]['files']} small files, medians of {bench.repetitions};"
          f" tags found in {results[1]['tagged']} of {results[1]['files']} tagged files",
          ["files", "way", "us per file", "system calls", "times faster", "rival"], rows)
    return results


def bench_memory(bench):
    results = []
    for megabytes in ((1, 2) if bench.quick else (20, 400)):
        path = bench.make("memory.aiff", megabytes=megabytes)
        peaks = {way: statistics.median(
            bench.measure("once", way, bench.plugin, path)["peak_kib"]
            for _ in range(bench.repetitions)) for way in ("read", "plugin", "libsndfile")}
        path.unlink()
        results.append({"megabytes": megabytes, "share_kib": peaks["plugin"] - peaks["read"],
                        **peaks})
    table("Peak memory of a process that decodes, in KiB",
          ["file", "read()", "plug-in", "libsndfile", "plug-in's share", "under 1 MiB"],
          [[f"{r['megabytes']} MB", *(f"{r[way]:.0f}" for way in
                                      ("read", "plugin", "libsndfile", "share_kib")),
            verdict(r["share_kib"] < 1024)] for r in results])
    return results


def converters(bench, source, target):
    """Those that are present, by name."""
    every = {
        "cp": ["cp", source, target],
        "aiffconv": [bench.convert, "convert", source, "-o", target, "--quiet"],
        "sndfile-convert": ["sndfile-convert", source, target],
        "sox": ["sox", source, target],
        "ffmpeg": ["ffmpeg", "-nostdin", "-v", "error", "-i", source, target],
    }
    found = {name: command for name, command in every.items() if shutil.which(command[0])}
    for name in every.keys() - found.keys():
        print(f"{name} is absent: skipped")
    return found


def sound_of(source):
    """Checksum of the samples of a 16-bit AIFF file, as little-endian PCM."""
    data = source.read_bytes()
    start = data.index(b"SSND")
    size = struct.unpack_from(">I", data, start + 4)[0]
    samples = array.array("h", data[start + 16:start + 8 + size])
    if sys.byteorder == "little":
        samples.byteswap()
    return zlib.crc32(samples.tobytes())


def check_conversion(name, source, target, expected):
    if name == "cp":
        right = target.stat().st_size == source.stat().st_size
    else:
        with wave.open(str(target)) as sound:
            right = zlib.crc32(sound.readframes(sound.getnframes())) == expected
    if not right:
        sys.exit(f"bench: {name} made another sound")


def bench_convert(bench):
    megabytes = 4 if bench.quick else 400
    source = bench.make("convert.aiff", megabytes=megabytes)
    target = bench.folder / "out.wav"
    expected = sound_of(source)
    commands = converters(bench, source, target)
    environment = {**os.environ, "QVCODECPATH": str(bench.build)}
    times = {name: [] for name in commands}
    for repetition in range(bench.repetitions):
        for name in sorted(commands, key=lambda one: (list(commands).index(one) + repetition)
                           % len(commands)):
            start = time.perf_counter()
            run(commands[name], env=environment)
            times[name].append(time.perf_counter() - start)
            if repetition == 0:
                check_conversion(name, source, target, expected)
            target.unlink()
    source.unlink()
    medians = {name: statistics.median(seconds) for name, seconds in times.items()}
    ours = medians.get("aiffconv")
    rows = []
    for name, seconds in medians.items():
        fine = "" if ours is None or name == "cp" else verdict(
            ours <= 1.5 * medians["cp"] if name == "aiffconv" else seconds >= 4 * ours)
        rows.append([name, seconds * 1000, seconds / medians["cp"],
                     seconds / ours if ours else "-", fine])
    table(f"Converting {megabytes} MB of 16-bit stereo to WAV, medians of {bench.repetitions}",
          ["program", "ms", "times cp", "times aiffconv", "target"], rows)
    return {"megabytes": megabytes, "seconds": times}


SECTIONS = {"decode": bench_decode, "open": bench_open, "memory": bench_memory,
            "convert": bench_convert}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", required=True, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true",
                        help="small files, one repetition: only checks that all works")
    parser.add_argument("--repetitions", type=int, default=9)
    parser.add_argument("--only", choices=SECTIONS, action="append", help="one part; repeatable")
    parser.add_argument("--out", type=pathlib.Path,
                        help="folder for bench.json and bench.svg (default: the build folder)")
    parser.add_argument("--dir", help="folder for the generated files, 1 GB of room")
    parser.add_argument("--keep", action="store_true", help="leave the generated files")
    options = parser.parse_args()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="aiff-bench-", dir=options.dir))
    try:
        bench = Bench(options, folder)
        results = {"repetitions": bench.repetitions, "quick": bench.quick}
        for name in options.only or SECTIONS:
            results[name] = SECTIONS[name](bench)
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
