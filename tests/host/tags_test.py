#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives AIFFCONV with the decoders in CODECS over files that mutagen makes and reads: fields,
pictures, whole tags, characters beyond U+FFFF, tags that are hidden, bytes that an edit would cut
off, many jobs, names that are not UTF-8, and a trace on a terminal."""

import json
import os
import pty
import subprocess
import zlib

from harness import aiffconv, chunk, common, form, mutagen, read, run, tag_of, write

aiff, id3 = mutagen("aiff", "id3")


def write_aiff(name, tag=None, after=b""):
    chunks = [(b"COMM", common(1, 50, 16)), (b"SSND", bytes(8) + bytes(range(100)))]
    tags = [(b"ID3 ", tag)] if tag else []
    return write(name, form(b"FORM", b"AIFF", chunks + tags) + after)


def frames_of(name):
    return {key: repr(frame) for key, frame in (aiff.AIFF(name).tags or {}).items()}


def picture(kind, text):
    return id3.APIC(1, "image/png", kind, text, b"\x89PNG\r\n\x1a\n" + text.encode())


def fields_of(name):
    tags = json.loads(run(0, "tags", "show", "--json", name)[0])[0]["tags"]
    return {tag["name"]: tag.get("value") for tag in tags}


# Fields of several files are set, removed and cleared; the sound stays.
bare = write_aiff("a.aiff")
write_aiff("b=c.aiff")
write("bad.aiff", b"no AIFF file at all")
out, err = run(1, "tags", "set", "a.aiff", "bad.aiff", "missing.aiff", "b=c.aiff", "Title=T = 1",
               "Artist=One", "artist=\u65e5", "Own=x", "TagVersion=2", "--set", "Year=2004-05-06")
for part in ("bad.aiff: is not an AIFF file", "missing.aiff: No such file",
             '"TagVersion" cannot be changed'):
    assert part in err, err
assert out == "".join(f"{name}: set Title, Artist, Own, Year\n" for name in ("a.aiff", "b=c.aiff"))
for name in ("a.aiff", "b=c.aiff"):
    texts = {key: str(frame) for key, frame in aiff.AIFF(name).tags.items()}
    wanted = {"TDRC": "2004-05-06", "TIT2": "T = 1", "TPE1": "One/\u65e5", "TXXX:Own": "x"}
    assert texts == wanted, texts
    assert bare[12:] in read(name)
assert fields_of("a.aiff")["Artist"] == "One\r\u65e5"
assert run(0, "tags", "remove", "a.aiff", "own", "No")[0] == "a.aiff: removed own; has no No\n"
assert run(0, "tags", "set", "a.aiff", "Title=")[0] == "a.aiff: removed Title\n"
assert run(0, "tags", "remove", "b=c.aiff", "-n", "Year")[0] == "b=c.aiff: removed Year\n"
assert fields_of("a.aiff").keys() == {"TagVersion", "Artist", "Year"}
run(1, "tags", "clear", "a.aiff", "b=c.aiff", "bad.aiff")
assert read("a.aiff") == read("b=c.aiff") == bare and read("bad.aiff") == b"no AIFF file at all"
assert run(0, "tags", "show", "a.aiff")[0] == "a.aiff: no tags\n"
entries = json.loads(run(1, "tags", "show", "--json", "a.aiff", "bad.aiff")[0])
assert entries[0]["tags"] == [] and "is not an AIFF file" in entries[1]["error"]

# Pictures go in by their type and come out, but not over existing files or through links.
images = {"p.png": b"\x89PNG\r\n\x1a\n" + bytes(3001), "j.jpg": b"\xff\xd8\xff\xe0" + bytes(500)}
for name, data in images.items():
    write(name, data)


def pictures_of(name):
    return sorted((picture.type, picture.mime, picture.desc, picture.data)
                  for picture in aiff.AIFF(name).tags.getall("APIC"))


front = (3, "image/png", "../up/d\u00e9j\u00e0", images["p.png"])
back = (4, "image/jpeg", "", images["j.jpg"])
run(0, "tags", "art", "set", "a.aiff", "b=c.aiff", "p.png", "--description", front[2])
run(0, "tags", "art", "set", "a.aiff", "j.jpg", "--type", "back")
assert pictures_of("a.aiff") == [front, back] and pictures_of("b=c.aiff") == [front]
run(0, "tags", "art", "export", "a.aiff", "-o", "out")
assert [read("out/1-front.png"), read("out/2-back.jpg")] == list(images.values())
for link, overwrite, code in ((0, [], 1), (0, ["--overwrite"], 0), (1, ["--overwrite"], 1)):
    write("precious", b"precious")
    os.remove("out/1-front.png")
    (os.symlink if link else os.link)("../precious" if link else "precious", "out/1-front.png")
    run(code, "tags", "art", "export", "a.aiff", "-o", "out", *overwrite)
    assert read("out/1-front.png") == (images["p.png"] if code == 0 else b"precious")
    assert read("precious") == b"precious"
run(0, "tags", "art", "set", "a.aiff", "j.jpg", "--description", "new")
assert pictures_of("a.aiff") == [(3, "image/jpeg", "new", images["j.jpg"]), back]
kinds = ("other icon other-icon front back leaflet media lead-artist artist conductor band "
         "composer writer location recording performance video - illustration artist-logo "
         "publisher-logo")
numbers = {kind: number for number, kind in enumerate(kinds.split()) if kind != "-"}
offered = run(0, "tags", "art", "set", "--help")[0].split("Types:\n")[1].strip().split(", ")
for kind in offered:
    run(0, "tags", "art", "set", "b=c.aiff", "p.png", "--type", kind, "--description", kind)
assert {text: int(number) for number, _, text, _ in pictures_of("b=c.aiff")} == numbers

out = run(0, "tags", "art", "remove", "a.aiff", "--type", "front")[0]
assert out == "a.aiff: removed 1 picture: Front Album Cover\n" and pictures_of("a.aiff") == [back]
assert "has no picture front" in run(0, "tags", "art", "remove", "a.aiff", "--type", "front")[0]
held = len(pictures_of("b=c.aiff"))
out = run(1, "tags", "art", "remove", "bad.aiff", "a.aiff", "b=c.aiff")[0].splitlines()
assert out[0].endswith("1 picture: Back Album Cover") and f"removed {held} pictures" in out[1], out
assert not pictures_of("a.aiff") + pictures_of("b=c.aiff") and bare[12:] in read("a.aiff")
assert run(0, "tags", "art", "remove", "a.aiff")[0] == "a.aiff: has no pictures\n"
assert "takes one of" in run(2, "tags", "art", "remove", "a.aiff", "--type", "x")[1]

# Every kind of value is written in both versions, and other frames stay.
given = ["Title=T\u00efle \U0001f600", "Artist=A", "Artist=B", "Album=\u00ff\u0100", "Year=2004",
         "Track=3/12", "Genre=Rock", "Genre=Own", "Lyrics=la", "Rating=10", "custom=v"]
kept = [id3.PRIV("dj", b"\0\xff\xe0\xff\0\xff\xff"), id3.COMM(1, "eng", "", "old")]
unsynchronised = write("j.jpg", images["j.jpg"] + b"\xff\0 data \xff\0 end\xff")
for version, artists, genres in ((3, "A/B", "Rock;Own"), (4, ["A", "B"], ["Rock", "Own"])):
    write_aiff("v.aiff", tag_of(version, id3.TIT2(1, "Old"), *kept))
    run(0, "tags", "set", "v.aiff", *given)
    run(0, "tags", "art", "set", "v.aiff", "j.jpg", "--description", "\u00e9")
    wanted = [*kept, id3.TIT2(1, "T\u00efle \U0001f600"), id3.TPE1(1, artists), id3.TCON(1, genres),
              id3.TALB(1, "\u00ff\u0100"), id3.TDRC(0, "2004"), id3.TRCK(1, "3/12"),
              id3.USLT(1, "eng", "", "la"), id3.POPM("Windows Media Player 9 Series", 255),
              id3.TXXX(1, "custom", "v"), id3.APIC(1, "image/jpeg", 3, "\u00e9", unsynchronised)]
    assert aiff.AIFF("v.aiff").tags.version[1] == version
    assert set(frames_of("v.aiff").values()) == set(map(repr, wanted)), frames_of("v.aiff")

# Text beyond U+FFFF is set, shown and copied; a name that is not UTF-8 can be had back.
NOTE = "\U0001F3B5"
odd = os.fsencode("n\u00e9\U0001F389").replace(b"\xc3", b"\xff\xc3") + b"\xfe.aiff"
write_aiff(odd)
run(0, "tags", "set", odd, "Title=a" + NOTE, NOTE + "=own" + NOTE, "Artist=" + NOTE, "Artist=b")
assert aiff.AIFF(odd).tags["TIT2"].text == ["a" + NOTE]
shown = fields_of(odd)
assert shown["Title"] == "a" + NOTE and shown[NOTE] == "own" + NOTE
assert shown["Artist"] == NOTE + "\rb", shown
assert NOTE in run(0, "info", odd)[0] and run(0, "info", "-q", odd) == ("", "")
line = run(0, "check", "--json", odd)[0]
parsed = json.loads(line)
assert line.isascii() and bytes.fromhex(parsed["fileBytes"]) == odd
assert parsed["file"].encode() == odd.decode(errors="replace").encode()
run(0, "tags", "remove", odd, NOTE, "Artist")
assert fields_of(odd).keys() == {"TagVersion", "Title"}

# A tag goes over byte for byte, and into another tag with every frame.
full = [id3.TIT2(3, ["One", "Two" + NOTE]), id3.PRIV("o", b"\0\xff\0"), picture(3, "new"),
        id3.GEOB(3, "m", "f", "d", b"xyz"), id3.UFID("u", b"id"), id3.TMCL(3, [["g", "p"]]),
        id3.CHAP("c", 0, 1, 2, 3, [id3.TIT2(3, "sub")]), id3.TDRC(3, ["2004-05-06"])]
own = [id3.TIT2(1, "Old"), id3.TALB(1, "Kept"), id3.PRIV("p", b"kept"), picture(3, "old"),
       picture(4, "kept"), id3.TYER(1, "1999")]
for version, frames in ((4, full), (3, own), (4, [id3.PRIV("only", b"x")])):
    tag = tag_of(version, *frames)
    source, bare = write_aiff("from.aiff", tag), write_aiff("bare.aiff")
    run(0, "tags", "copy", "from.aiff", "bare.aiff")
    assert read("bare.aiff") == source, version
write_aiff("from.aiff", tag_of(4, *full))
write_aiff("to.aiff", tag_of(3, *own))
wanted = frames_of("from.aiff")
kept = {key: text for key, text in frames_of("to.aiff").items() if "kept" in text.lower()}
run(0, "tags", "copy", "from.aiff", "to.aiff", "-q")
assert len(kept) == 3 and frames_of("to.aiff") == {**kept, **wanted}, frames_of("to.aiff")

# What goes over into a tag of another version is there in the eyes of both; the rest is told.
for frame, told, key in ((b"TCO\0\0\6\0(255)", "", "TCON"), (b"TCO\0\0\x08\0(4)Euro", "", "TCON"),
                         (b"TXX\0\0\4\0\0xy", "", "TXXX:"), (b"IPL\0\0\4\0a\0b", "", "TIPL"),
                         (b"TP1\0\0\4\0a/b", 'ARTIST "a/b" becomes several values', "TPE1")):
    write_aiff("from.aiff", b"ID3\2\0\0\0\0\0" + bytes((len(frame),)) + frame)
    write_aiff("to.aiff", tag_of(4, id3.TALB(3, "kept")))
    err = run(0, "tags", "copy", "-q", "from.aiff", "to.aiff")[1]
    assert told in err and bool(told) == bool(err), err
    assert frames_of("to.aiff").keys() == {"TALB", key}, frames_of("to.aiff")

# A frame that only other readers read is named, and kept.
packed = zlib.compress(b"\3Title")
packed = b"TIT2\0\0\0" + bytes((len(packed) + 4, 0, 9, 0, 0, 0, 6)) + packed
write_aiff("packed.aiff", b"ID3\4\0\0\0\0\0" + bytes((len(packed),)) + packed)
assert "frame TIT2 is compressed" in run(4, "tags", "show", "packed.aiff")[1]
run(0, "tags", "set", "packed.aiff", "Artist=x")
assert aiff.AIFF("packed.aiff").tags["TIT2"] == "Title" and len(fields_of("packed.aiff")) == 2

# Hidden tags are told by "show" and "check" alike; nothing is cut off unasked.
ID3V1 = b"TAG" + bytes(125)
damaged = b"ID3\4\0\0\0\0\0\x14TIT2\0\0\x7f\x7f\0\0" + bytes(10)
ape = b"item" + b"APETAGEX" + bytes(24)
cases = [ # tag, what follows the form, what is hidden, what an edit would cut off
    (None, b"", "", ""), (None, bytes(200), "", ""), (damaged, b"", "cannot be read", ""),
    (None, ID3V1, "an ID3v1 tag", "128 bytes (an ID3v1 tag)"),
    (None, tag + ape + ID3V1, "an APE tag", "(an ID3v2 tag and an APE tag and an ID3v1 tag)"),
    (None, chunk(b"ID3 ", tag), "an ID3v2 tag", ""), # becomes a chunk of the form
    (None, bytes(7) + tag, "an ID3v2 tag", f"{len(tag) + 7} bytes (an ID3v2 tag)"),
    (None, b"x", "", "1 byte (unknown data)"), (tag, bytes(9) + b"x", "", "10 bytes"),
]
for held, after, hidden, cut in cases:
    before = write_aiff("f.aiff", held, after)
    out, err = run(4 if hidden else 0, "tags", "show", "f.aiff")
    assert hidden in err and (": no tags" in out) == (not hidden and not held), (out, err)
    assert hidden in run(4 if hidden or after else 0, "check", "f.aiff")[0]
    assert hidden in run(4 if hidden else 0, "info", "f.aiff")[0]
    write_aiff("bare.aiff", tag)
    for command in (["set", "f.aiff", "Title=x"], ["copy", "bare.aiff", "f.aiff"]) if cut else []:
        assert cut in run(1, "tags", *command)[1] and read("f.aiff") == before, (command, cut)
    if hidden:
        assert cut in run(int(bool(cut)), "tags", "clear", "f.aiff")[1]
        assert cut in run(0, "tags", "clear", "--force", "f.aiff")[1]
        assert run(0, "check", "-q", "f.aiff") == ("", "") and fields_of("f.aiff") == {}
        write_aiff("f.aiff", held, after)
    err = run(int(held == damaged), "tags", "set", "-q", "--force", "f.aiff", "Title=x")[1]
    assert ("size of its form" in err) == (hidden == "an ID3v2 tag" and not cut), err
    if held == damaged:
        assert "is left as it is" in err and read("f.aiff") == before
        continue
    assert cut in err
    assert fields_of("f.aiff")["Title"] == "x" and run(0, "check", "-q", "f.aiff") == ("", "")

# Many jobs do what one does, in the same order; a file that is named twice is no trouble.
names = [f"{i}.aiff" for i in range(60)]
results = []
for jobs, descriptors in (("1", "256"), ("16", "256"), ("256", "24")):
    for i, name in enumerate(names):
        write_aiff(name, after=b"x" * (i % 7 == 3))
    write_aiff(names[5], damaged)
    command = ["tags", "set", "-j", jobs, "--no-sync", *names, "none", names[0], "Year=2004-05-06"]
    limited = ["sh", "-c", f'ulimit -n {descriptors}; exec "$@"', "sh"]
    results.append((run(1, *command, before=limited), [read(name) for name in names]))
assert results[0] == results[1] == results[2], results
assert results[0][0][0].count("set Year") == 51, results[0][0]

# A trace on a terminal cannot steer it.
write_aiff("t.aiff", tag_of(4, id3.TIT2(3, "a\x1b[2Jb")))
main, terminal = pty.openpty()
traced = [aiffconv, "--trace", "debug", "info", "-q", "t.aiff"]
with subprocess.Popen(traced, stderr=terminal) as process:
    os.close(terminal)
    lines = b""
    try:
        while part := os.read(main, 65536):
            lines += part
    except OSError: # how the end of a terminal is told
        pass
assert process.returncode == 0 and b"a?[2Jb" in lines and b"\x1b" not in lines, lines
assert b"->->  [Open]" in lines and lines.count(b"\n") > 20, lines
if os.path.exists("/dev/full"):
    assert "No space left" in run(1, "--trace", "debug=/dev/full", "info", "t.aiff")[1]
for words in (["frob"], ["tags", "frob", "x"]):
    assert f"there is no command '{' '.join(words[:2])}'" in run(2, *words)[1]
