#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures `aiffconv encode` and batches against other programs, side by side.

  bench/encode/run.py [--build build/release] [--rounds 9] [--mb 400] [--files 2000]
                      [--only encode|folder|tree|md5]

Rounds go through all programs in turn, so that a busy machine slows each of them alike;
shown are medians, and ratios of the medians. Results are compared before anything is
measured.
"""
import argparse
import hashlib
import pathlib
import resource
import shutil
import statistics
import subprocess
import tempfile
import time
import wave


def make_wav(path, megabytes):
    """White noise of a fixed seed, 16 bits, stereo."""
    import random
    source = random.Random(1)
    block = source.randbytes(1 << 20)
    with wave.open(str(path), "wb") as out:
        out.setnchannels(2)
        out.setsampwidth(2)
        out.setframerate(44100)
        for _ in range(megabytes):
            out.writeframesraw(block)


def run(command):
    """Wall-clock and processor seconds."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
    wall = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return wall, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def compare(title, ways, rounds, clean):
    """Prints a table of (name, command) pairs; the first is the measure of all."""
    times = {name: [] for name, _ in ways}
    for _ in range(rounds):
        for name, command in ways:
            clean()
            times[name].append(run(command))
    print(f"\n{title}, {rounds} rounds")
    print(f"{'':24}{'wall s':>9}{'cpu s':>9}{'wall ratio':>12}{'cpu ratio':>11}")
    medians = {name: [statistics.median(column) for column in zip(*rows)]
               for name, rows in times.items()}
    wall0, cpu0 = medians[ways[0][0]]
    for name, (wall, cpu) in medians.items():
        print(f"{name:24}{wall:9.3f}{cpu:9.3f}{wall / wall0:12.2f}{cpu / cpu0:11.2f}")


def available(program):
    if shutil.which(program):
        return True
    print(f"{program} is not there and is left out")
    return False


def bench_encode(aiffconv, work, megabytes, rounds):
    source, out = work / "in.wav", work / "out"
    make_wav(source, megabytes)
    encode = [aiffconv, "encode", source, "-o", f"{out}.aiff", "-q"]
    ways = [("aiffconv encode", encode), ("cp", ["cp", source, f"{out}.wav"])]
    if available("sox"):
        ways.append(("sox", ["sox", source, f"{out}.aiff"]))
        check(encode, ["sox", source, f"{out}2.aiff"], out)
    if available("ffmpeg"):
        ways.append(("ffmpeg", ["ffmpeg", "-v", "error", "-y", "-i", source, f"{out}.aiff"]))

    def clean():
        for file in work.glob("out*"):
            file.unlink()
        subprocess.run(["sync"])

    compare(f"WAV of {megabytes} MiB to AIFF", ways, rounds, clean)
    peak = subprocess.run(["/usr/bin/time", "-f", "%M", *encode, "--overwrite"],
                          capture_output=True, text=True)
    print(f"most memory of aiffconv: {peak.stderr.strip()} KiB")
    clean()
    source.unlink()


def check(encode, other, out):
    """Both files end in the same samples."""
    subprocess.run(encode, check=True)
    subprocess.run(other, check=True)
    tails = []
    for name in (f"{out}.aiff", f"{out}2.aiff"):
        with open(name, "rb") as file:
            file.seek(-(8 << 20), 2)
            tails.append(hashlib.sha256(file.read()).hexdigest())
    assert tails[0] == tails[1], "the samples differ"


def bench_folder(aiffconv, work, files, rounds):
    folder = work / "aiff"
    folder.mkdir()
    small = small_aiff(aiffconv, work)
    for i in range(files):
        shutil.copy(small, folder / f"{i:05}.aiff")
    target = work / "wav"
    loop = f'for f in {folder}/*.aiff; do ffmpeg -v error -nostdin -y -i "$f" ' \
           f'"{target}/$(basename "$f" .aiff).wav"; done'
    batch = f'{aiffconv} convert {folder}/*.aiff -o {target} --jobs 2 -q'
    ways = [("aiffconv --jobs 2", ["sh", "-c", batch])]
    if available("parallel"):
        one = f'ls {folder}/*.aiff | parallel --will-cite -j2 {aiffconv} convert {{}} -o {target} -q'
        many = one.replace("-j2", "-j2 -n 50")
        ways += [("aiffconv, parallel", ["sh", "-c", one]),
                 ("aiffconv, parallel -n 50", ["sh", "-c", many])]
    if available("ffmpeg"):
        ways.append(("shell loop over ffmpeg", ["sh", "-c", loop]))

    def clean():
        shutil.rmtree(target, ignore_errors=True)
        target.mkdir()
        subprocess.run(["sync"])

    compare(f"{files} AIFF files of 8000 frames to WAV", ways, rounds, clean)
    assert len(list(target.iterdir())) == files


def small_aiff(aiffconv, work):
    make_wav(work / "small.wav", 1)
    with wave.open(str(work / "small.wav")) as whole, wave.open(str(work / "s.wav"), "wb") as part:
        part.setparams(whole.getparams())
        part.writeframes(whole.readframes(8000))
    subprocess.run([aiffconv, "encode", work / "s.wav", "-o", work / "s.aiff", "-q"], check=True)
    return work / "s.aiff"


def bench_tree(aiffconv, work, files, rounds):
    """A tree with ten files to a folder, against shell loops that keep it."""
    library, target = work / "library", work / "tree"
    small = small_aiff(aiffconv, work)
    for i in range(files):
        folder = library / f"Album {i // 10:04}"
        folder.mkdir(parents=True, exist_ok=True)
        shutil.copy(small, folder / f"{i % 10}.aiff")
    loop = f'cd {library} && for f in */*.aiff; do mkdir -p "{target}/${{f%/*}}" && ' \
           f'COMMAND "{target}/${{f%.aiff}}.wav"; done'
    ways = [("aiffconv --jobs 2", [aiffconv, "convert", library, "-o", target, "-j2", "-q"])]
    for name, command in (("sox", 'sox "$f"'), ("ffmpeg", 'ffmpeg -v error -nostdin -y -i "$f"')):
        if available(name):
            ways.append((f"shell loop over {name}", ["sh", "-c", loop.replace("COMMAND", command)]))

    def clean():
        shutil.rmtree(target, ignore_errors=True)
        subprocess.run(["sync"])

    compare(f"{files} AIFF files of 8000 frames in {files // 10} folders to WAV", ways, rounds,
            clean)
    assert sum(path.suffix == ".wav" for path in target.rglob("*")) == files


def bench_md5(aiffconv, work, megabytes, rounds):
    """Against md5sum of the same file, which has hardly more bytes than its sound."""
    source = work / "md5.wav"
    make_wav(source, megabytes)
    ways = [("md5sum", ["md5sum", source])]
    for suffix, command in ((".wav", None), (".aiff", "encode"), (".flac", "convert")):
        path = source.with_suffix(suffix)
        if command:
            given = source if suffix == ".aiff" else source.with_suffix(".aiff")
            subprocess.run([aiffconv, command, given, "-o", path, "-q"], check=True)
        ways.append((f"aiffconv md5, {suffix[1:]}", [aiffconv, "md5", path]))
    sums = {subprocess.run(command, capture_output=True, text=True, check=True).stdout[:32]
            for _, command in ways[1:]}
    assert len(sums) == 1, "the sums differ"
    compare(f"MD5 of {megabytes} MiB", ways, rounds, lambda: None)


def main():
    root = pathlib.Path(__file__).resolve().parents[2]
    options = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    options.add_argument("--build", default=root / "build" / "release", type=pathlib.Path)
    options.add_argument("--rounds", default=9, type=int)
    options.add_argument("--mb", default=400, type=int)
    options.add_argument("--files", default=2000, type=int)
    options.add_argument("--only", choices=["encode", "folder", "tree", "md5"])
    chosen = options.parse_args()
    aiffconv = chosen.build.resolve() / "bin" / "aiffconv"
    with tempfile.TemporaryDirectory(prefix="aiff-bench-") as folder:
        work = pathlib.Path(folder)
        if chosen.only in (None, "encode"):
            bench_encode(aiffconv, work, chosen.mb, chosen.rounds)
        if chosen.only in (None, "folder"):
            bench_folder(aiffconv, work, chosen.files, max(chosen.rounds // 3, 1))
        if chosen.only in (None, "tree"):
            bench_tree(aiffconv, work, chosen.files, max(chosen.rounds // 3, 1))
        if chosen.only in (None, "md5"):
            bench_md5(aiffconv, work, chosen.mb, chosen.rounds)


main()
