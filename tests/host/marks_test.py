# SPDX-License-Identifier: MIT
"""Markers, loops, comments and broadcast data between AIFF and WAV, as libsndfile and, where it is
installed, ffprobe read them.

usage: marks_test.py AIFFCONV CODECS"""
import ctypes
import ctypes.util
import json
import shutil
import struct
import subprocess

from harness import chunk, common, form, read, run, write

FRAMES = 5000
SNDFILE = ctypes.CDLL(ctypes.util.find_library("sndfile"))
SNDFILE.sf_open.restype = ctypes.c_void_p
GET_CUE, GET_INSTRUMENT = 0x10CE, 0x10D0


def by_libsndfile(path):
    """Markers as (number, frame, name), and the settings of the instrument with its loops."""
    info, cues, instrument = (ctypes.create_string_buffer(size) for size in (64, 28004, 272))
    file = ctypes.c_void_p(SNDFILE.sf_open(path.encode(), 0x10, info))
    assert file, path
    SNDFILE.sf_command(file, GET_CUE, cues, len(cues))
    found = SNDFILE.sf_command(file, GET_INSTRUMENT, instrument, len(instrument))
    SNDFILE.sf_close(file)
    count = struct.unpack_from("=L", cues)[0]
    points = [struct.unpack_from("=lLlllL256s", cues, 4 + 280 * i) for i in range(count)]
    settings = struct.unpack_from("=l8bl", instrument)
    loops = [struct.unpack_from("=lLL", instrument, 16 + 16 * i) for i in range(settings[-1])]
    return ([(p[0], p[5], p[6].split(b"\0")[0].decode()) for p in points],
            (settings[1:3], loops) if found else None)


def pstring(name):
    return bytes([len(name)]) + name + bytes((len(name) + 1) % 2)


def mark(*markers):
    return b"MARK", struct.pack(">H", len(markers)) + b"".join(
        struct.pack(">HL", number, frame) + pstring(name) for number, frame, name in markers)


def inst(detune, gain, sustain, release=(0, 0, 0)):
    return b"INST", struct.pack(">BbBBBBh6H", 61, detune, 1, 100, 2, 99, gain, *sustain, *release)


def comt(*comments):
    return b"COMT", struct.pack(">H", len(comments)) + b"".join(
        struct.pack(">LHH", time, number, len(text)) + text + bytes(len(text) % 2)
        for time, number, text in comments)


def write_aiff(*chunks):
    write("in.aiff", form(b"FORM", b"AIFF", [*chunks, (b"COMM", common(1, FRAMES, 16)),
                                             (b"SSND", bytes(8 + 2 * FRAMES))]))


def write_wav(*chunks):
    sound = struct.pack("<HHLLHH", 1, 1, 44100, 88200, 2, 16)
    write("in.wav", form(b"RIFF", b"WAVE", [(b"fmt ", sound), (b"data", bytes(2 * FRAMES)),
                                            *chunks], "<"))


def notes(command, source, output, *options):
    lines = run(0, command, source, "-o", output, "--overwrite", *options)[1].splitlines()
    return [line.split(": ", 2)[2] for line in lines if " -> " not in line]


def info(path):
    return json.loads(run(0, "info", "--json", path)[0])[0]


def same(found, expected, about):
    assert found == expected, f"{about}: {found!r} instead of {expected!r}"


# Unordered markers with names in each code page, a loop, comments and broadcast data to WAV and
# back.
MARKERS = [(7, 4000, b"Caf\x8e"), (2, 100, b"start"), (9, 1500, "\u4e2d\U0001F389".encode()),
           (40000, FRAMES, b""), (3, 0, b"zero")]
NAMED = [(7, 4000, "Caf\u00e9"), (2, 100, "start"), (9, 1500, "\u4e2d\U0001F389"),
         (40000, FRAMES, ""), (3, 0, "zero")]
BEXT = b"Description".ljust(338, b"\0") + struct.pack("<LL", 0xFFFFFFFF, 1) + bytes(257)
IXML = b"<BWFXML/>"
write_aiff(mark(*MARKERS), inst(-7, -12, (2, 2, 9)), (b"bext", BEXT), (b"iXML", IXML),
           comt((0, 9, b"first"), (0, 9, b"second"), (0, 0, b"of all")))
same(notes("convert", "in.aiff", "out.wav"), [], "all is held")
same(by_libsndfile("out.wav")[0], NAMED, "WAV")
wav = read("out.wav")
assert chunk(b"bext", BEXT, "<") in wav and chunk(b"iXML", IXML, "<") in wav and b"ICMT" in wav
assert chunk(b"inst", struct.pack("<BbbBBBB", 61, -7, -12, 1, 100, 2, 99), "<") in wav
sampler = wav[wav.index(b"smpl") + 8:]
note, fraction, loops = (struct.unpack_from("<L", sampler, at)[0] for at in (12, 16, 28))
assert loops == 1 and abs((note + fraction / 2**32 - 61) * 100 + 7) < 1e-6, (note, fraction)
same(struct.unpack_from("<3L", sampler, 40), (1, 100, 1499), "the last frame of a loop is its own")
if shutil.which("ffprobe"):
    found = json.loads(subprocess.run(
        ["ffprobe", "-v", "error", "-show_chapters", "-of", "json", "out.wav"],
        capture_output=True, check=True).stdout)["chapters"]
    same(sorted((one["start"], one.get("tags", {}).get("title", "")) for one in found),
         sorted(row[1:] for row in NAMED), "ffprobe")
same(notes("encode", "out.wav", "back.aiff"), [], "back")
first, back = info("in.aiff"), info("back.aiff")
for member in ("markers", "loops", "instrument"):
    same(back[member], first[member], member)
same([(m["id"], m["frame"], m["name"]) for m in back["markers"]], NAMED, "markers")
same([m["comment"] for m in back["markers"]], ["", "", "first\nsecond", "", ""], "comments")
same(back["loops"], [{"kind": "sustain", "mode": "ping-pong", "first": 100, "end": 1500}], "loop")
marks = by_libsndfile("in.aiff")
same([by_libsndfile("back.aiff"), marks[1][0]], [marks, (61, -7)], "AIFF")
same(by_libsndfile("out.wav")[1][1][0][1:], (100, 1500), "the loop of the WAV file")
assert chunk(b"bext", BEXT) in read("back.aiff") and chunk(b"iXML", IXML) in read("back.aiff")
assert "ping-pong, frames 100 to 1500" in run(0, "info", "in.aiff")[0]
same(notes("convert", "in.aiff", "out.flac"), ["left out, as FLAC cannot hold them: 5 markers, "
     "1 loop, instrument settings, broadcast data (bext), iXML"], "FLAC")

# Parts: what is outside goes, the rest moves.
told = notes("convert", "in.aiff", "out.wav", "--start", "100f", "--end", "1500f")
same(told, ["left out: 3 of its markers, which lie outside the part",
            "has iXML, whose times are still those of the whole sound"], "part")
same([p[:2] for p in by_libsndfile("out.wav")[0]], [(2, 0), (9, 1400)], "part")
assert struct.pack("<LL", 99, 2) in read("out.wav"), "the time of the broadcast data"
told = notes("convert", "in.aiff", "out.wav", "--start", "101f", "--no-tags")
assert "1 of its loops" in told[1] and b"bext" not in read("out.wav"), told

# What is odd or cannot be held, with a line for each.
MANY = [(number % 65536, number % FRAMES, b"") for number in range(1, 65536)]
LONG = b"\xc3\xa9" * 127
for chunks, told, count in (
        ([mark((1, 5, b"a"), (1, 6, b"b"), (0, 7, b"c"))], ["2 markers without a usable"], 3),
        ([mark(*MANY)], [], 65535), ([mark((1, FRAMES + 1, b""))], ["1 marker and 0 loops bey"], 1),
        ([(b"MARK", b"\xff\xff\0\1\0\0")], ["left out: 65535 of its markers, which its"], 0),
        ([(b"MARK", mark((1, 5, LONG))[1][:20])], [], 1),
        ([inst(0, 0, (1, 1, 2))], ["sustain loop, whose markers"], 0),
        ([mark((1, 9, b""), (2, 9, b"")), inst(0, 300, (1, 1, 2), (9, 1, 2))],
         ["sustain loop, which ends where", "release loop, which is of an", "300 dB"], 2),
        ([mark((1, 5, b""), (2, 9, b"")), inst(0, 0, (1, 1, 2), (1, 1, 2))],
         ["1 release loop, which WAV"], 2),
        ([(b"INST", bytes(19))], ["'INST', which is too short"], 0),
        ([comt((5, 0, b"x"), (0, 0, b"y"))], ["left out: the date of its comment"], 0)):
    write_aiff(*chunks)
    lines = notes("convert", "in.aiff", "out.wav")
    assert len(lines) == len(told) and all(map(str.__contains__, lines, told)), (chunks, lines)
    assert read("out.wav").count(b"data\0\0\0\0\0\0\0\0") == count, told


def cue(*points):
    return b"cue ", struct.pack("<L", len(points)) + b"".join(
        struct.pack("<LL4sLLL", number, 0, b"data", 0, 0, frame) for number, frame in points)


def adtl(*labels):
    return b"LIST", b"adtl" + b"".join(
        chunk(code, struct.pack("<L", number) + text, "<") for code, number, text in labels)


def smpl(*loops):
    return b"smpl", struct.pack("<9L", 0, 0, 0, 60, 0xF0000000, 0, 0, len(loops), 0) + b"".join(
        struct.pack("<6L", 0, *loop) for loop in loops)


for chunks, told, markers, loops in (
        ([adtl((b"labl", 1 << 20, b"far\0")), cue((1 << 20, 5), (3, 6))],
         ["1 marker without a usable"], [(1, 5, "far"), (3, 6, "")], []),
        ([cue((1, 5)), adtl((b"labl", 1, LONG + b"ab\0"), (b"ltxt", 1, b"\5\0\0\0"))],
         ["lengths of its regions", "1 are cut to 255"], [(1, 5, LONG.decode() + "a")], []),
        ([cue((1, 5)), adtl((b"labl", 2, b"x\0"))], ["1 of its labels"], [(1, 5, "")], []),
        ([smpl((0, 10, 19, 0, 0))], [], [(1, 10, "loop start"), (2, 20, "loop end")], [(10, 20)]),
        ([cue((8, 20)), smpl((2, 0, 9, 0, 0), (1, 10, 19, 1, 3), (0, 1, 2, 0, 0), (3, 1, 2, 0, 0))],
         ["unknown kind", "counts or fractions", "2 of its loops, as AIFF"],
         [(8, 20, ""), (1, 10, "loop start")], [(10, 20)]),
        ([(b"smpl", smpl((0, 1, 2, 0, 0))[1][:-1])], ["1 of its loops, which its"], [], []),
        ([(b"cue ", b"\xff\xff\xff\xff")], ["left out: 4294967295 of its"], [], []),
        ([smpl((0, 5, 4, 0, 0), (0, 5, 0xFFFFFFFF, 0, 0))], ["2 of its loops"], [], [])):
    write_wav(*chunks)
    lines = notes("encode", "in.wav", "out.aiff")
    assert len(lines) == len(told) and all(map(str.__contains__, lines, told)), (chunks, lines)
    found = info("out.aiff")
    same([(m["id"], m["frame"], m["name"]) for m in found["markers"]], markers, chunks)
    same([(loop["first"], loop["end"]) for loop in found["loops"]], loops, chunks)
    if chunks[-1][0] == b"smpl":
        same([found["instrument"][key] for key in ("baseNote", "detune")], [61, -6], chunks)
    run(0, "check", "out.aiff")
