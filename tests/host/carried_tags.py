# SPDX-License-Identifier: MIT
"""What convert and encode make of tags, by what mutagen writes and reads.

usage: carried_tags.py AIFFCONV; exits with 77 when mutagen is not installed."""

import io
import os
import struct
import subprocess
import sys
import tempfile

try:
    from mutagen.aiff import AIFF
    from mutagen.flac import FLAC
    from mutagen.id3 import ID3, Frames as F
except ImportError:
    print("mutagen is not installed")
    sys.exit(77)

PARTY = "\U0001F389"

# A frame, what becomes of it in FLAC (None where FLAC cannot hold it), and what comes back
# where that is another frame.
FRAMES = [
    (F["TIT2"](3, ["One", PARTY]), [("TITLE", "One"), ("TITLE", PARTY)]),
    (F["TCON"](3, ["17", "1984"]), [("GENRE", "Rock"), ("GENRE", "1984")],
     F["TCON"](3, ["Rock", "1984"])),
    (F["TDRC"](3, ["2003-05-06T07:08"]), [("DATE", "2003-05-06 07:08")]),
    (F["TRCK"](3, ["3/12"]), [("TRACKNUMBER", "3"), ("TRACKTOTAL", "12")]),
    (F["TSIZ"](3, ["12"]), [("TSIZ", "12")], F["TXXX"](3, "TSIZ", ["12"])),
    (F["TXXX"](3, "MusicBrainz Album Id", ["abc"]), [("MUSICBRAINZ_ALBUMID", "abc")]),
    (F["TXXX"](3, "MINE", ["1", "2"]), [("MINE", "1"), ("MINE", "2")]),
    (F["TXXX"](3, "A=\u00C9", ["x"]), [("A__", "x")], F["TXXX"](3, "A__", ["x"])),
    (F["UFID"]("http://musicbrainz.org", b"track"), [("MUSICBRAINZ_TRACKID", "track")]),
    (F["COMM"](3, "XXX", "", ["a"]), [("COMMENT", "a")]),
    (F["COMM"](3, "XXX", "MOOD", ["m"]), [("COMMENT:MOOD", "m")]),
    (F["USLT"](3, "XXX", "", "a\r\nb\r\n"), [("LYRICS", "a\r\nb\r\n")]),
    (F["WXXX"](3, "", "http://x"), [("URL", "http://x")]),
    (F["WOAR"]("http://1"), [("ARTISTWEBPAGE", "http://1")]),
    (F["WOAR"]("http://2"), [("ARTISTWEBPAGE", "http://2")]),
    (F["WCOM"]("http://c"), [("COMMERCIALINFORMATIONURL", "http://c")]),
    (F["TIPL"](3, [["DJ-mix", "A, B"], ["cook", "C"]]),
     [("DJMIXER", "A, B"), ("INVOLVEDPEOPLE:COOK", "C")]),
    (F["TMCL"](3, [["lute", "D, E"]]), [("PERFORMER:LUTE", "D, E")]),
    (F["POPM"]("Windows Media Player 9 Series", 196, 0), [("RATING", "8")]),
    (F["PCST"](0), [("PODCAST", "1")]),
    *[(F["APIC"](3, "image/webp", kind, PARTY + str(kind), b"RIFF"), []) for kind in range(21)],
    (F["APIC"](3, "-->", 4, "link", b"http://p"), []),
    (F["CHAP"]("1", 0, 9, 0, 0), None), (F["GEOB"](3, "m", "f", "d", b"x"), None),
    (F["PCNT"](5), None), (F["PRIV"]("o", b"d"), None), (F["UFID"]("other", b"x"), None),
]

# Chunks and the texts that come of them: in Mac Roman, UTF-8 and Latin-1.
TEXTS = [(b"NAME", b"Caf\x8e", "TITLE", "Caf\u00E9"),
         (b"AUTH", "Zo\u00EB".encode(), "ARTIST", "Zo\u00EB"),
         (b"(c) ", b"\xa9 Andr\xe9\0", "COPYRIGHT", "\u00A9 Andr\u00E9"),
         (b"ANNO", b"one", "COMMENT", "one"), (b"ANNO", b"two", "COMMENT", "two")]

# INFO fields, and the frames that come of them beside a tag with a title.
INFO = [(b"ITRK", b"3\0", "TRCK", "3"), (b"IENG", b"Eve", "TXXX:ENGINEER", "Eve"),
        (b"ISFT", b"Lavf", "TSSE", "Lavf"), (b"ICMT", b"Caf\xe9", "COMM", "Caf\u00E9"),
        (b"ISBJ", b"odd", "TXXX:ISBJ", "odd"), (b"INAM", b"other", "TIT2", "mine")]

# Comments of other programs, and their frame.
COMMENTS = [([("TRACKNUMBER", "3"), ("TOTALTRACKS", "12")], F["TRCK"](3, ["3/12"])),
            ([("DISCNUMBER", "1/2"), ("DISCTOTAL", "2")], F["TPOS"](3, ["1/2"])),
            ([("TRACKTOTAL", "12")], F["TXXX"](3, "TRACKTOTAL", ["12"])),
            ([("ENCODER", "x")], F["TSSE"](3, ["x"])),
            ([("ORGANIZATION", "x")], F["TPUB"](3, ["x"])),
            ([("DESCRIPTION", "x")], F["COMM"](3, "XXX", "", ["x"])),
            ([("RATING", "80")], F["TXXX"](3, "RATING", ["80"])),
            ([("URL", "http://\u4E2D")], F["TXXX"](3, "URL", ["http://\u4E2D"]))]


def chunk(order, code, data):
    return code + struct.pack(order + "L", len(data)) + data + bytes(len(data) % 2)


def tag(frames, version=4):
    out, tags = io.BytesIO(), ID3()
    for frame in frames:
        tags.add(frame)
    tags.save(out, v2_version=version)
    return out.getvalue()


def write(path, form, order, kind, chunks):
    with open(path, "wb") as file:
        file.write(chunk(order, form, kind + b"".join(chunk(order, *one) for one in chunks)))


def write_aiff(*chunks):
    common = bytes.fromhex("0001 0000000A 0010 400EAC44000000000000")
    write("in.aiff", b"FORM", ">", b"AIFF", [(b"COMM", common), (b"SSND", bytes(28)), *chunks])


def write_wav(*chunks):
    sound = struct.pack("<HHLLHH", 1, 1, 44100, 88200, 2, 16)
    write("in.wav", b"RIFF", "<", b"WAVE", [(b"fmt ", sound), (b"data", bytes(20)), *chunks])


def data_of(path, code, order):
    with open(path, "rb") as file:
        data = file.read()
    start = data.index(code) + 8
    return data[start:start + struct.unpack_from(order + "L", data, start - 4)[0]]


def run(command, source, output, *options):
    """The notes of a command that succeeds."""
    done = subprocess.run([program, command, source, "-o", output, "--overwrite", *options],
                          capture_output=True, text=True, check=True)
    return [line for line in done.stderr.splitlines() if " -> " not in line]


def same(found, expected, about):
    assert found == expected, f"{about}: {found!r} instead of {expected!r}"


def comments():
    return sorted((name.upper(), value) for name, value in FLAC("out.flac").tags)


def texts_of(frames):
    return sorted(repr(frame).replace(", count=0", "") for frame in frames)


folder = tempfile.TemporaryDirectory()
program = os.path.abspath(sys.argv[1])
os.chdir(folder.name)

# Whole tags to FLAC and back; to WAV and back byte for byte, even what is no tag.
whole = tag(row[0] for row in FRAMES)
write_aiff((b"ID3 ", whole))
renamed, left_out = run("convert", "in.aiff", "out.flac")
assert '"A=\u00C9"' in renamed and '"A__"' in renamed, renamed
same(left_out.split("left out: ")[-1], "CHAP, GEOB, PCNT, PRIV, UFID", "left out")
same(comments(), sorted(sum((row[1] or [] for row in FRAMES), [])), "FLAC")
same({(p.type, p.mime, p.desc, p.data) for p in FLAC("out.flac").pictures},
     {(f.type, f.mime, f.desc, f.data) for f, *_ in FRAMES if f.FrameID == "APIC"}, "pictures")
same(run("encode", "out.flac", "back.aiff"), [], "encode")
with open("out.flac", "rb") as file:
    content = file.read()
with open("block.flac", "wb") as file:
    file.write(content[:42] + b"\2\0\0\4test" + content[42:])
assert run("encode", "block.flac", "none.aiff")[0].endswith("left out: an application block")
held = [(row[2:] or row)[0] for row in FRAMES if row[1] is not None]
same(texts_of(AIFF("back.aiff").tags.values()), texts_of(held), "back")
for data in (whole, tag((row[0] for row in FRAMES), 3), b"ID3 damaged"):
    write_aiff((b"ID3 ", data))
    same(run("convert", "in.aiff", "out.wav"), [], "to WAV")
    same(data_of("out.wav", b"id3 ", "<"), data, "WAV")
    run("encode", "out.wav", "back.aiff")
    same(data_of("back.aiff", b"ID3 ", ">"), data, "AIFF")
assert "left out" in run("convert", "in.aiff", "out.flac")[0]

# Texts of chunks where the tag has none, and what only AIFF has.
chunks = [row[:2] for row in TEXTS]
write_aiff(*chunks, (b"MARK", b"\0\0"), (b"ID3 ", tag([F["TIT2"](3, ["mine"])])), (b"ID3 ", whole))
notes = run("convert", "in.aiff", "out.flac")
assert len(notes) == 2 and "2 ID3v2 tags" in notes[0] and "'MARK'" in notes[1], notes
same(comments(), sorted([row[2:] for row in TEXTS[1:]] + [("TITLE", "mine")]), "chunks")
for output in ("none.flac", "none.wav"):
    same(run("convert", "in.aiff", output, "--no-tags"), [], output)
    with open(output, "rb") as file:
        assert b"mine" not in file.read()
write_aiff(*chunks)
run("convert", "in.aiff", "out.wav")
run("encode", "out.wav", "back.aiff")
same({frame.text[0] for frame in AIFF("back.aiff").tags.values()},
     {"Caf\u00E9", "Zo\u00EB", "\u00A9 Andr\u00E9", "one; two"}, "INFO of chunks")
write_aiff((b"ID3 ", tag([F["TPE1"](1, ["One", "Two"])], 3)))
run("convert", "in.aiff", "out.flac")
same(comments(), [("ARTIST", "One"), ("ARTIST", "Two")], "values of ID3v2.3, with / between them")

# INFO fields beside a tag, which keeps its version, and without one.
info = b"INFO" + b"".join(chunk("<", *row[:2]) for row in INFO)
own = [F["TIT2"](3, ["mine"]), F["TIPL"](3, [["mix", "Bob"]]), F["GEOB"](3, "m", "f", "d", b"x")]
for version in (3, 4):
    write_wav((b"LIST", info), (b"bext", bytes(602)), (b"id3 ", tag(own, version)))
    notes = run("encode", "in.wav", "out.aiff")
    assert len(notes) == 1 and "'bext'" in notes[0], notes
    tags = AIFF("out.aiff").tags
    same([tags.getall(row[2])[0].text[0] for row in INFO], [row[3] for row in INFO], "INFO")
    same([tags.version[1], len(tags), tags["TIPL"].people],
         [version, len(INFO) + 2, [["mix", "Bob"]]], "beside a tag")
write_wav((b"LIST", info))
run("encode", "in.wav", "out.aiff")
same(AIFF("out.aiff").tags["TIPL"].people, [["engineer", "Eve"]], "no tag")

for given, frame in COMMENTS:
    write_aiff()
    run("convert", "in.aiff", "in.flac")
    flac = FLAC("in.flac")
    flac.tags.extend(given)
    flac.save()
    run("encode", "in.flac", "out.aiff")
    same(texts_of(AIFF("out.aiff").tags.values()), [repr(frame)], given)
