# SPDX-License-Identifier: MIT
"""What convert and encode make of tags, by what mutagen writes and reads.

usage: carried_tags.py AIFFCONV CODECS; exits with 77 when mutagen is not installed."""
import base64
import struct

from harness import chunk, common, form, mutagen, read, run, tag_of, write

AIFF, F = mutagen("aiff")[0].AIFF, mutagen("id3")[0].Frames
FLAC, Picture = mutagen("flac")[0].FLAC, mutagen("flac")[0].Picture
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
    (F["TXXX"](3, "MusicBrainz Album Type", ["live"]), [("RELEASETYPE", "live")]),
    (F["TXXX"](3, "MINE", ["1", "2"]), [("MINE", "1"), ("MINE", "2")]),
    (F["TXXX"](3, "A=\u00C9", ["x"]), [("A__", "x")], F["TXXX"](3, "A__", ["x"])),
    (F["UFID"]("http://musicbrainz.org", b"track"), [("MUSICBRAINZ_TRACKID", "track")]),
    (F["APIC"](3, "image/png", 255, "", b"\x89PNG"), []),
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

# Comments of other programs, their frame, and what is told.
COVER = Picture()
COVER.type, COVER.mime, COVER.data = 3, "image/png", b"\x89PNG"
COMMENTS = [([("TRACKNUMBER", "3"), ("TOTALTRACKS", "12")], F["TRCK"](3, ["3/12"])),
            ([("METADATA_BLOCK_PICTURE", base64.b64encode(COVER.write()).decode())],
             F["APIC"](3, "image/png", 3, "", b"\x89PNG")),
            ([("DATE", "May 2003")], F["TXXX"](3, "DATE", ["May 2003"])),
            ([("DISCNUMBER", "1/2"), ("DISCTOTAL", "2")], F["TPOS"](3, ["1/2"])),
            ([("TRACKTOTAL", "12")], F["TXXX"](3, "TRACKTOTAL", ["12"])),
            ([("ENCODER", "x")], F["TSSE"](3, ["x"])),
            ([("ORGANIZATION", "x")], F["TPUB"](3, ["x"])),
            ([("DESCRIPTION", "x")], F["COMM"](3, "XXX", "", ["x"])),
            ([("RATING", "80")], F["TXXX"](3, "RATING", ["80"])),
            ([("PODCAST", "1")], F["PCST"](0)),
            ([("GENRE", "17")], F["TCON"](3, ["Rock"]), 'GENRE "17" reads back as "Rock"'),
            ([("TITLE", "a\0b")], F["TIT2"](3, ["a"]), "what follows a zero in TITLE"),
            *[([(name, value)], F["TXXX"](3, name, [value])) for name, value in (
                ("URL", "http://\u4E2D"), ("COMMERCIALINFORMATIONURL", "http://\u4E2D"),
                ("ORIGINALDATE", "May"), ("MUSICBRAINZ_TRACKID", "\u00E9"), ("PODCAST", "x"),
                ("INVOLVEDPEOPLE", "A"))]]

# Frames of other versions and forms as they are in files, what becomes of them in FLAC, and what
# is told.
OLD = [
    (2, b"TXT\0\0\2\0w" b"TOA\0\0\2\0a", [("LYRICIST", "w"), ("ORIGINALARTIST", "a")], ""),
    (2, b"TYE\0\0\5\x002003" b"TDA\0\0\5\x000605" b"TIM\0\0\5\x000708",
     [("DATE", "2003-05-06 07:08")], ""),
    (2, b"PIC\0\0\x0e\0-->\3\0http://x", [], ""),
    (4, b"TXXX\0\0\0\6\0\0\0My\0ab", [("MY", "ab")], 'in upper case, as FLAC has all names: "My"'),
    (3, b"TYER\0\0\0\5\0\0\x002003" b"TIME\0\0\0\5\0\0\x000708", [("DATE", "2003")], "time of day"),
    (3, b"TPE1\0\0\0\6\0\0\0AC/DC" b"TIT2\0\0\0\6\0\0\0AC/DC",
     [("ARTIST", "AC"), ("ARTIST", "DC"), ("TITLE", "AC/DC")], 'ARTIST "AC/DC" becomes several'),
    (3, b"TIT2\0\0\0\3\0\x20\x07\0a", [("TITLE", "a")], ""), # grouped
    (3, b"TIT2\0\0\0\6\0\x80\0\0\0\2xx", [], "hold it: TIT2"), # compressed
    (3, b"TIT2\0\0\0\5\0\0\1a\0b\0", [("TITLE", "ab")], ""), # without a mark
    (3, b"TCON\0\0\0\x0c\0\0\0(17)((x)\0RX",
     [("GENRE", "(x)"), ("GENRE", "Remix"), ("GENRE", "Rock")], ""),
    (4, b"TALB\0\0\0\0\0\0" b"TIT2\0\0\0\2\0\0\0a", [("TITLE", "a")], ""), # an empty one
    (4, b"TIPL\0\0\0\x0c\0\0\0mix\0\0cook\0C", [("INVOLVEDPEOPLE:COOK", "C")], 'role "mix"'),
    (4, b"COMM\0\0\0\x0a\0\0\0engD\0a\0bc", [("COMMENT:D", "a"), ("COMMENT:D", "bc")],
     'language "eng" of COMMENT'),
    (4, b"POPM\0\0\0\5\0\0a@b\0d", [("RATING", "6")], "the exact rating (POPM), whose rating"),
    (4, b"T\0XX\0\0\0\2\0\0\0x" b"TIT2\0\0\0\2\0\0\0a", [("TITLE", "a")], "hold it: T"),
    (4, b"WZZZ\0\0\0\2\0\0\0x", [], "WZZZ"), (4, b"TXXX\0\0\0\3\0\0\0\0x", [], "TXXX"),
]


def write_aiff(*chunks):
    sound = [(b"COMM", common(1, 10, 16)), (b"SSND", bytes(28))]
    write("in.aiff", form(b"FORM", b"AIFF", [*sound, *chunks]))


def write_wav(*chunks):
    sound = struct.pack("<HHLLHH", 1, 1, 44100, 88200, 2, 16)
    write("in.wav", form(b"RIFF", b"WAVE", [(b"fmt ", sound), (b"data", bytes(20)), *chunks], "<"))


def data_of(path, code, order):
    data = read(path)
    start = data.index(code) + 8
    return data[start:start + struct.unpack_from(order + "L", data, start - 4)[0]]


def notes_of(command, source, output, *options):
    """The notes of a command that succeeds."""
    lines = run(0, command, source, "-o", output, "--overwrite", *options)[1].splitlines()
    return [line for line in lines if " -> " not in line]


def same(found, expected, about):
    assert found == expected, f"{about}: {found!r} instead of {expected!r}"


def comments():
    return sorted((name.upper(), value) for name, value in FLAC("out.flac").tags)


def texts_of(frames):
    return sorted(repr(frame).replace(", count=0", "") for frame in frames)


# Whole tags to FLAC and back; to WAV and back byte for byte, even what is no tag.
whole = tag_of(4, *(row[0] for row in FRAMES))
write_aiff((b"ID3 ", whole))
renamed, left_out = notes_of("convert", "in.aiff", "out.flac")
assert '"A=\u00C9"' in renamed and '"A__"' in renamed, renamed
same(left_out.split("cannot hold it: ")[-1], "attached files (GEOB), chapters (CHAP), identifier "
     "(UFID), other programs' data (PRIV), play counter (PCNT)", "left out")
same(comments(), sorted(sum((row[1] or [] for row in FRAMES), [])), "FLAC")
same({(p.type, p.mime, p.desc, p.data) for p in FLAC("out.flac").pictures},
     {(f.type, f.mime, f.desc, f.data) for f, *_ in FRAMES if f.FrameID == "APIC"}, "pictures")
same(notes_of("encode", "out.flac", "back.aiff"), [], "encode")
content = read("out.flac")
write("block.flac", content[:42] + b"\2\0\0\4test" + content[42:])
assert notes_of("encode", "block.flac", "none.aiff")[0].endswith("hold it: an application block")
held = [(row[2:] or row)[0] for row in FRAMES if row[1] is not None]
same(texts_of(AIFF("back.aiff").tags.values()), texts_of(held), "back")
for data in (whole, tag_of(3, *(row[0] for row in FRAMES)), b"ID3 damaged"):
    write_aiff((b"ID3 ", data))
    same(notes_of("convert", "in.aiff", "out.wav"), [], "to WAV")
    same(data_of("out.wav", b"id3 ", "<"), data, "WAV")
    notes_of("encode", "out.wav", "back.aiff")
    same(data_of("back.aiff", b"ID3 ", ">"), data, "AIFF")
assert "left out" in notes_of("convert", "in.aiff", "out.flac")[0]

for version, frames, expected, told in OLD:
    write_aiff((b"ID3 ", b"ID3" + bytes((version, 0, 0, 0, 0, 0, len(frames))) + frames))
    notes = notes_of("convert", "in.aiff", "out.flac")
    same(comments(), expected, frames)
    assert len(notes) == bool(told) and told in "".join(notes), (frames, notes)
    same(len(FLAC("out.flac").pictures), frames.count(b"PIC"), frames)

# Texts of chunks where the tag has none, and what only AIFF has.
chunks = [row[:2] for row in TEXTS]
mine = tag_of(4, F["TIT2"](3, ["mine"]))
write_aiff(*chunks, (b"APPL", b"\0\0"), (b"ID3 ", mine), (b"ID3 ", whole))
notes = notes_of("convert", "in.aiff", "out.flac")
told = ("2 ID3v2 tags", "chunks that only AIFF files hold ('APPL')", "left out: TITLE outside its")
assert len(notes) == 3 and all(map(str.__contains__, notes, told)), notes
same(comments(), sorted([row[2:] for row in TEXTS[1:]] + [("TITLE", "mine")]), "chunks")
for output in ("none.flac", "none.wav"):
    same(notes_of("convert", "in.aiff", output, "--no-tags"), [], output)
    assert b"mine" not in read(output)
write_aiff(*chunks)
notes_of("convert", "in.aiff", "out.wav")
notes_of("encode", "out.wav", "back.aiff")
same({frame.text[0] for frame in AIFF("back.aiff").tags.values()},
     {"Caf\u00E9", "Zo\u00EB", "\u00A9 Andr\u00E9", "one; two"}, "INFO of chunks")
write_aiff((b"ID3 ", tag_of(3, F["TPE1"](1, ["One", "Two"]))))
notes_of("convert", "in.aiff", "out.flac")
same(comments(), [("ARTIST", "One"), ("ARTIST", "Two")], "values of ID3v2.3, with / between them")

# INFO fields beside a tag, which keeps its version, and without one.
info = b"INFO" + b"".join(chunk(*row[:2], "<") for row in INFO)
own = [F["TIT2"](3, ["mine"]), F["TIPL"](3, [["mix", "Bob"]]), F["GEOB"](3, "m", "f", "d", b"x")]
for version in (3, 4):
    write_wav((b"LIST", info), (b"acid", bytes(24)), (b"id3 ", tag_of(version, *own)))
    notes = notes_of("encode", "in.wav", "out.aiff")
    assert len(notes) == 2 and "'acid'" in notes[0] and "TITLE in its INFO list" in notes[1], notes
    tags = AIFF("out.aiff").tags
    same([tags.getall(row[2])[0].text[0] for row in INFO], [row[3] for row in INFO], "INFO")
    same([tags.version[1], len(tags), tags["TIPL"].people],
         [version, len(INFO) + 2, [["mix", "Bob"]]], "beside a tag")
write_wav((b"LIST", info))
notes_of("encode", "in.wav", "out.aiff")
same(AIFF("out.aiff").tags["TIPL"].people, [["engineer", "Eve"]], "no tag")

for given, frame, *told in COMMENTS:
    write_aiff()
    notes_of("convert", "in.aiff", "in.flac")
    flac = FLAC("in.flac")
    flac.tags.extend(given)
    flac.save()
    notes = notes_of("encode", "in.flac", "out.aiff")
    assert len(notes) == len(told) and all(map(str.endswith, notes, told)), notes
    same(texts_of(AIFF("out.aiff").tags.values()), texts_of([frame]), given)

# Texts and tags of Wave64, RIFX, CAF, AU and VOC files.
def chunks_of(order, header, *chunks):
    """Chunks whose size, of eight bytes, may count a header after the code and fill up to eight."""
    return b"".join(code + header + struct.pack(order + "Q", len(data) + 24 * bool(header)) + data +
                    bytes(-len(data) % 8 if header else 0) for code, data in chunks)


GUID = bytes.fromhex("f3acd3118cd100c04f8edb8a")
sound = struct.pack("<HHLLHH", 1, 1, 44100, 88200, 2, 16)
own = [F["TIT2"](1, ["mine"]), F["PRIV"]("o", b"x")]
w64 = b"wave" + GUID + chunks_of("<", GUID, (b"fmt ", sound), (b"data", bytes(20)),
                                 (b"id3 ", tag_of(3, *own)), (b"acid", b"x"),
                                 (b"\xBC\x94\x5F\x92", b"summary"))
w64 = b"riff" + bytes.fromhex("2e91cf11a5d628db04c10000") + struct.pack("<Q", len(w64) + 24) + w64
caf = b"caff\0\1\0\0" + chunks_of(
    ">", b"", (b"desc", struct.pack(">d4s5L", 44100, b"lpcm", 0, 2, 1, 1, 16)), (b"mark", bytes(8)),
    (b"info", b"\0\0\0\3title\0T\0comments\0\xC3\xA9\0Own key\0v\0"), (b"data", bytes(24)))
au = b".snd" + struct.pack(">5L", 40, 20, 3, 44100, 1) + b"%-16b" + bytes(20)
rifx = form(b"RIFX", b"WAVE", [
    (b"fmt ", struct.pack(">HHLLHH", 1, 1, 44100, 88200, 2, 16)), (b"data", bytes(20)),
    (b"LIST", b"INFO" + chunk(b"INAM", b"T"))])
voc = b"Creative Voice File\x1a\x1a\0\x0a\1\x29\x11\5\2\0\0\xE9\0\x01\x0c\0\0\x83\0" + bytes(10)
texts = [F["TIT2"](3, ["T"]), F["COMM"](3, "XXX", "", ["\u00E9"]), F["TXXX"](3, "OWN KEY", ["v"])]
for source, expected, told in (
        (w64, own, "files hold ('acid', a summary list)"), (rifx, texts[:1], ""),
        (voc + b"\0", texts[1:2], ""), (caf, texts, "chunk 'mark'"),
        (au % b"Title=T\n\0", texts[:1], ""), (au % b"\xE9\0", texts[1:2], "")):
    write("in.other", source)
    notes = notes_of("encode", "in.other", "out.aiff")
    same(texts_of(AIFF("out.aiff").tags.values()), texts_of(expected), source)
    assert len(notes) == bool(told) and told in "".join(notes), notes
write("in.other", voc + b"\7\0\0\0\0") # a loop
assert "more blocks after its first sound" in run(1, "encode", "in.other", "-o", "none.aiff")[1]
# libsndfile would go back from the part of this list for ever.
write("in.other", rifx.replace(b"INAM\0\0\0\1", b"NNAM\xFF\xFF\xFF\xF8"))
assert "damaged list of texts" in run(1, "encode", "in.other", "-o", "none.aiff")[1]
