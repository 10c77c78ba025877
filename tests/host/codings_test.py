# SPDX-License-Identifier: MIT
"""What convert and info make of sound that decoders refuse, held against the bytes themselves and,
where they are installed, against ffmpeg and sox.

usage: codings_test.py AIFFCONV CODECS"""
import hashlib
import json
import random
import shutil
import struct
import subprocess

from harness import common, form, read, run, write

random.seed(14)
FRAMES = 6400


def coded(code, bits, sound, frames, channels=1, offset=0, chunks=()):
    """An AIFF-C file; an AIFF file without a code."""
    head = common(channels, frames, bits) + (code + b"\0\0" if code else b"")
    sound = struct.pack(">LL", offset, 0) + b"\x55" * offset + sound
    return form(b"FORM", b"AIFC" if code else b"AIFF",
                [(b"COMM", head), (b"SSND", sound), *chunks])


def wav():
    """Format tag, channels, bits and samples of the output; its chunks fill it exactly."""
    data, at, found = read("out.wav"), 12, {}
    assert struct.unpack_from("<L", data, 4)[0] == len(data) - 8
    while at < len(data):
        size = struct.unpack_from("<L", data, at + 4)[0]
        found[data[at:at + 4]] = data[at + 8:at + 8 + size]
        at += 8 + size + size % 2
    assert at == len(data), "chunks"
    tag, channels, _, _, block, bits = struct.unpack_from("<HHLLHH", found[b"fmt "])
    if tag == 0xFFFE:
        tag = struct.unpack_from("<H", found[b"fmt "], 24)[0]
    if tag == 3:
        fact = struct.unpack("<L", found[b"fact"])[0]
        assert fact == len(found[b"data"]) // block, "fact"
    return tag, channels, bits, found[b"data"]


def swapped(width):
    return lambda sound: b"".join(sound[i:i + width][::-1] for i in range(0, len(sound), width))


def signs(sound):
    return bytes(byte ^ 128 for byte in sound)


def by_ffmpeg(_):
    command = ["ffmpeg", "-v", "error", "-i", "in.aifc", "-f", "s16le", "-"]
    return subprocess.run(command, capture_output=True, check=True).stdout


def by_sox(sound):
    command = ["sox", "-t", "gsm", "-r", "44100", "-c", "1", "-", "-t", "s16", "-"]
    return subprocess.run(command, input=sound, capture_output=True, check=True).stdout


# Type, bits, channels, bytes and frames of a unit of sound, what its samples become, and how.
same = bytes
CODINGS = [
    (None, 12, 1, 2, 1, (1, 16), swapped(2)), (None, 20, 2, 3, 1, (1, 24), swapped(3)),
    (None, 4, 1, 1, 1, (1, 8), signs), (b"NONE", 28, 1, 4, 1, (1, 32), swapped(4)),
    (b"sowt", 12, 1, 2, 1, (1, 16), same), (b"sowt", 20, 1, 3, 1, (1, 24), same),
    (b"twos", 16, 1, 2, 1, (1, 16), swapped(2)), (b"twos", 8, 1, 1, 1, (1, 8), signs),
    (b"raw ", 8, 2, 1, 1, (1, 8), same), (b"in24", 16, 2, 3, 1, (1, 24), swapped(3)),
    (b"42ni", 24, 1, 3, 1, (1, 24), same), (b"in32", 16, 1, 4, 1, (1, 32), swapped(4)),
    (b"23ni", 32, 3, 4, 1, (1, 32), same), (b"fl32", 32, 1, 4, 1, (3, 32), swapped(4)),
    (b"FL32", 16, 3, 4, 1, (3, 32), swapped(4)), (b"fl64", 64, 2, 8, 1, (3, 64), swapped(8)),
    (b"ulaw", 16, 2, 1, 1, (1, 16), by_ffmpeg), (b"ALAW", 8, 1, 1, 1, (1, 16), by_ffmpeg),
    (b"ima4", 16, 1, 34, 64, (1, 16), by_ffmpeg), (b"ima4", 4, 2, 34, 64, (1, 16), by_ffmpeg),
    (b"GSM ", 16, 1, 33, 160, (1, 16), by_sox),
]
JUDGES = {by_ffmpeg: "ffmpeg", by_sox: "sox"}

for code, bits, channels, unit, frames, (tag, width), judge in CODINGS:
    about = (code, bits, channels)
    if not shutil.which(JUDGES.get(judge, "sh")):
        print("without", JUDGES[judge], about)
        continue
    units = FRAMES // frames
    starts = {b"GSM ": b"\xd0", b"ima4": b"\x12\x85"}.get(code, b"")
    sound = b"".join(starts + random.randbytes(unit - len(starts)) for _ in range(units * channels))
    write("in.aifc", coded(code, bits, sound, FRAMES, channels))
    expected = judge(sound)
    told = run(0, "convert", "in.aifc", "-o", "out.wav", "--overwrite", "--verify")[1]
    assert wav() == (tag, channels, width, expected), about
    if bits % 8 == 0 or code in (b"ima4", b"GSM "):  # others count from the lowest bit
        sums = [line[:32] for line in run(0, "md5", "in.aifc", "out.wav")[0].splitlines()]
        plain = bytes(b ^ 0x80 for b in expected) if width == 8 else expected
        assert sums == [hashlib.md5(plain).hexdigest()] * 2, about
    odd = bits % 8 != 0 and unit < 8
    assert f"{width}-bit" in told and (odd or code.decode().lower() in told.lower()), told
    assert told.count("\n") == 2 + odd and odd == ("not zero" in told), told
    found = json.loads(run(0, "info", "--json", "in.aifc")[0])[0]["conversion"]
    assert (found["bitsPerSample"], found["frames"]) == (width, FRAMES), (about, found)
    assert (found["samples"] == "float") == (tag == 3), about
    # A part of it, behind an offset in its chunk; FLAC holds integers of up to 24 bits.
    write("in.aifc", coded(code, bits, sound, FRAMES, channels, 3))
    frame = channels * width // 8
    for part in (("--start", "65f"), ("--start", "200f", "--end", "4161f")):
        run(0, "convert", "in.aifc", "-o", "out.wav", "--overwrite", *part)
        start, end = (int(point[:-1]) for point in (*part[1::2], f"{FRAMES}f")[:2])
        assert wav()[3] == expected[start * frame:end * frame], (about, part)
    flac = run(1 if tag == 3 or width == 32 else 0, "convert", "in.aifc", "-o", "out.flac",
               "--overwrite")[1]
    assert tag == 1 or "--format wav" in flac, flac
    refused = run(1, "convert", "in.aifc", "-o", "out.wav", "--overwrite", "--plugin-only")[1]
    assert "->" not in refused
    assert "conversion" not in run(0, "info", "--json", "--plugin-only", "in.aifc")[0]
    # Cut off: what is there is converted.
    write("in.aifc", coded(code, bits, sound, FRAMES, channels)[:-unit * channels - 1])
    assert "cut off" in run(4, "convert", "in.aifc", "-o", "out.wav", "--overwrite")[1], about
    left = (units - 2) * frames * frame
    assert wav()[3][:left] == expected[:left] and len(wav()[3]) <= left + frames * frame, about

# Floats and doubles keep each of their bits, what is no number included.
ODD = [0x7FC01234, 0xFF800000, 0x7F812345, 0x00000001, 0x80000000, 0x47000000]
write("in.aifc", coded(b"fl32", 32, struct.pack(">6L", *ODD), 1, 6,
                       chunks=[(b"NAME", b"A name")]))
run(0, "convert", "in.aifc", "-o", "out.wav", "--overwrite")
assert wav() == (3, 6, 32, struct.pack("<6L", *ODD)) and b"INAM" in read("out.wav")

# What does not fit its own counts, and what nobody here decodes.
write("in.aifc", coded(b"fl32", 32, bytes(41), 12))
told = run(4, "convert", "in.aifc", "-o", "out.wav", "--overwrite")[1]
assert "counts 12 sample frames" in told and len(wav()[3]) == 40, told
write("in.aifc", coded(b"ima4", 16, bytes(70), 2))  # counted in packets
told = run(4, "convert", "in.aifc", "-o", "out.wav", "--overwrite")[1]
assert "within a packet" in told and len(wav()[3]) == 256, told
for code in (b"QDM2", b"MAC3", b"G722", b"????"):
    write("in.aifc", coded(code, 16, bytes(100), 50))
    told = run(1, "convert", "in.aifc", "-o", "none.wav")[1]
    assert f"({code.decode()}" in told, told
    for_json = json.loads(run(0, "info", "--json", "in.aifc")[0])[0]
    assert for_json["conversion"] is None and "not supported" in run(0, "info", "in.aifc")[0]
