# SPDX-License-Identifier: MIT
"""aiffconv against other programs, whole processes in turns. Nothing is flushed while it is
measured; what was written before is."""
import hashlib
import os
import shutil

from harness import check, run
from sources import file_of, samples_of, write_wav


def to_other_format(bench, command, source, suffix):
    """A large file of 16-bit stereo to another format, against cp of the same file."""
    target, copy = bench.folder / f"out{suffix}", bench.folder / "out.copy"
    ours = [bench.aiffconv, command, source, "-o", target, "--quiet"]
    commands = {"cp": ["cp", source, copy], "aiffconv": ours,
                "sndfile-convert": ["sndfile-convert", source, target],
                "sox": ["sox", source, target],
                "ffmpeg": ["ffmpeg", "-nostdin", "-v", "error", "-i", source, target]}
    expected, sizes = samples_of(source), {}

    def clear():
        target.unlink(missing_ok=True)
        copy.unlink(missing_ok=True)
        os.sync()

    def verify(name, _, first):
        made = copy if name == "cp" else target
        check(made.exists(), f"no file from {name}")
        size = sizes.setdefault(name, made.stat().st_size)
        check(made.stat().st_size == size, f"size from {name}")
        if first and name == "cp":
            check(size == source.stat().st_size, "cp")
        elif first:
            check(samples_of(made) == expected, f"sound of {name}")

    done = bench.in_turns(commands, clear=clear, verify=verify)
    clear()
    return {"bytes": len(expected), "programs": done}


def convert(bench):
    """A large AIFF file to WAV."""
    return to_other_format(bench, "convert", bench.make(4 if bench.quick else 400), ".wav")


def encode(bench):
    """A large WAV file to AIFF."""
    source = bench.folder / "sound.wav"
    write_wav(source, samples_of(bench.make(4 if bench.quick else 400)))
    results = to_other_format(bench, "encode", source, ".aiff")
    source.unlink()
    return results


def tree(bench):
    """A tree of small files to WAV, against shell loops that keep its folders."""
    library, target = bench.folder / "library", bench.folder / "tree"
    files, sound = 20 if bench.quick else 500, os.urandom(32000)
    for number in range(files):
        folder = library / f"Album {number // 10:04}"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / f"{number % 10}.aiff").write_bytes(file_of(sound))
    loop = 'cd "$0" && for f in */*.aiff; do mkdir -p "$1/${f%/*}" && COMMAND ' \
           '"$1/${f%.aiff}.wav"; done'
    loops = {"sox": 'sox "$f"', "ffmpeg": 'ffmpeg -nostdin -v error -i "$f"'}
    commands = {"aiffconv": [bench.aiffconv, "convert", library, "-o", target, "-j2", "-q"],
                **{name: ["sh", "-c", loop.replace("COMMAND", one), library, target]
                   for name, one in loops.items()}}

    def clear():
        shutil.rmtree(target, ignore_errors=True)
        os.sync()

    def verify(name, _, first):
        made = list(target.rglob("*.wav"))
        check(len(made) == files, f"files of {name}")
        for path in made if first else ():
            source = library / path.relative_to(target).with_suffix(".aiff")
            check(samples_of(path) == samples_of(source), f"sound of {name}")

    done = bench.in_turns(commands, max(bench.repetitions // 3, 1), clear, verify)
    return {"files": files, "folders": files // 10, "frames": len(sound) // 4, "programs": done}


def md5(bench):
    """Checksums of the sound, against md5sum of the AIFF file, which has hardly more bytes."""
    source = bench.make(4 if bench.quick else 200)
    samples = samples_of(source)
    expected = hashlib.md5(samples).hexdigest()
    whole = hashlib.md5(source.read_bytes()).hexdigest()
    others = {suffix: source.with_suffix(suffix) for suffix in (".wav", ".flac")}
    write_wav(others[".wav"], samples)
    run(["flac", "--silent", "-o", others[".flac"], others[".wav"]])
    decoding = 'flac -dcs --force-raw-format --endian=little --sign=signed "$0" | md5sum'
    commands = {"md5sum": ["md5sum", source],
                "aiffconv, AIFF": [bench.aiffconv, "md5", source],
                **{f"aiffconv, {path.suffix[1:].upper()}": [bench.aiffconv, "md5", path]
                   for path in others.values()},
                "flac and md5sum": ["sh", "-c", decoding, others[".flac"]]}

    def verify(name, printed, _):
        check(printed[:32] == (whole if name == "md5sum" else expected), f"checksum of {name}")

    done = bench.in_turns(commands, verify=verify)
    for path in others.values():
        path.unlink()
    return {"bytes": len(samples), "programs": done}
