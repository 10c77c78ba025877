#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives AIFFCONV with the decoders in CODECS over edits that need more than a decoder does: full
dates, versions of tags, and all that a tag holds by way of JSON, in the eyes of mutagen."""

import json
import os

from harness import chunk, common, form, mutagen, read, run, tag_of, write

aiff, id3 = mutagen("aiff", "id3")
SOUND = bytes(range(100))


def write_aiff(name, version=3, *frames, after=()):
    chunks = [(b"COMM", common(1, 50, 16)), (b"SSND", bytes(8) + SOUND)]
    tags = [(b"ID3 ", tag_of(version, *frames))] if frames else []
    return write(name, form(b"FORM", b"AIFF", chunks + tags + list(after)))


def texts(name):
    return {key: getattr(frame, "text", getattr(frame, "people", None))
            for key, frame in aiff.AIFF(name).tags.items()}


def raw_version(name):
    data = read(name)
    return data[data.index(b"ID3 ") + 11]


# The version of the tag before (0: none), options, what is set, the version after, what is there
# then, and what is told.
FULL = "2004-05-06T07:08"
PEOPLE = [["mix", "Bob"]]
old = [id3.TPE1(1, "A/B"), id3.TYER(1, "1999"), id3.IPLS(1, PEOPLE), id3.TALB(1, "x")]
kept = {"TALB": ["x"], "TIPL": PEOPLE}
V24 = ["--id3v2.4"]
CASES = [
    (0, [], ["Date=2004-05-06"], 3, {"TDRC": ["2004-05-06"]}, []),
    (0, [], ["Date=" + FULL], 3, {"TDRC": ["2004-05-06"]}, ['"Year" becomes 2004-05-06']),
    (0, [], ["Date=2004-05"], 3, {"TDRC": ["2004"]}, ['"Year" becomes 2004,']),
    (0, V24, ["Date=" + FULL], 4, {"TDRC": ["2004-05-06 07:08"]}, []),
    (0, V24, ["Date=2004-05-06 07:08:09"], 4, {"TDRC": ["2004-05-06 07:08:09"]}, []),
    (0, [], ["OriginalDate=2004-05"], 3, {"TDOR": ["2004"]}, ["becomes 2004,"]),
    (0, V24, ["OriginalDate=2004-05"], 4, {"TDOR": ["2004-05"]}, []),
    (0, [], ["Artist=AC/DC", "Artist=B"], 3, {"TPE1": ["AC/DC/B"]},
     ['"Artist" reads back as "AC", "DC", "B", as "/"']),
    (0, V24, ["Artist=AC/DC", "Artist=B"], 4, {"TPE1": ["AC/DC", "B"]}, []),
    (0, [], ["Label=a", "Label=b"], 3, {"TPUB": ["a\rb"]}, ['"Label" holds one text in ID3v2.3']),
    (0, V24, ["Label=a", "Label=b"], 4, {"TPUB": ["a", "b"]}, []),
    (4, [], ["Album=a", "Album=b", "Artist=", "Date="], 4,
     {"TALB": ["a", "b"], "TIPL": PEOPLE}, []),
    (3, V24, ["Own=x"], 4, {**kept, "TPE1": ["A", "B"], "TDRC": ["1999"], "TXXX:Own": ["x"]},
     ['"Own" is no', 'now ID3v2.4: ARTIST "A/B" becomes several values']),
    (3, V24, ["Artist=A/B", "Date=" + FULL], 4,
     {**kept, "TPE1": ["A/B"], "TDRC": ["2004-05-06 07:08"]}, []),
]
for version, options, given, after, wanted, told in CASES:
    for last in ((), [(b"APPL", b"abcdef")]):
        write_aiff("t.aiff", version or 3, *(old if version else ()), after=last)
        err = run(0, "tags", "set", *options, "t.aiff", *given)[1].splitlines()
        assert len(err) == len(told) and all(map(str.__contains__, err, told)), (given, err)
        found = {key: [str(text) if key[:2] == "TD" else text for text in frame]
                 for key, frame in texts("t.aiff").items()}
        assert (found, raw_version("t.aiff")) == (wanted, after), (given, found)
        assert run(0, "check", "-q", "t.aiff") == ("", "")
        assert SOUND in read("t.aiff") and all(chunk(*one) in read("t.aiff") for one in last)
assert "is no date" in run(2, "tags", "set", "t.aiff", "Year=May")[1]


def held(name):
    """The frames, but for the encodings of their texts."""
    frames = []
    for frame in aiff.AIFF(name).tags.values():
        fields = {part: getattr(frame, part, None) for part in
                  [known.name for known in frame._framespec + frame._optionalspec]}
        fields.pop("encoding", None)
        frames.append((frame.FrameID, repr(sorted(fields.items()))))
    return sorted(frames)


# All that a rich tag holds goes through JSON into a file without one, and into one with another.
NOTE = "\U0001F3B5"
PNG = b"\x89PNG\r\n\x1a\n\xff\0\xff\xe0"
rich = [
    id3.TIT2(3, ["Title " + NOTE]), id3.TPE1(3, ["A", "B"]), id3.TCON(3, ["Rock", "Own"]),
    id3.TRCK(3, ["3/12"]), id3.TBPM(3, ["128"]), id3.TXXX(3, "Key", ["own"]),
    id3.TXXX(3, "Track total", ["own"]), id3.TXXX(3, "", ["nameless"]), id3.TXXX(3, "m", ["1"]),
    id3.COMM(3, "eng", "", ["one\nline"]), id3.COMM(3, "deu", "", ["zwei"]),
    id3.COMM(3, "\0\0\0", "d\u00e9j\u00e0", ["x"]), id3.USLT(3, "fra", "chorus", "la\nla"),
    id3.USLT(3, "eng", "", "la"), id3.WXXX(3, "home", "http://x"), id3.WOAR("http://1"),
    id3.WOAR("http://2"), id3.WCOM("http://c"), id3.POPM("a@b", 196, 7), id3.POPM("c", 64),
    id3.APIC(3, "image/png", 3, "front " + NOTE, PNG), id3.APIC(3, "-->", 4, "", b"http://p"),
    id3.APIC(3, "image/webp", 17, "fish", b"RIFF"), id3.PRIV("o", b"\0\xff\0\xff"),
    id3.PRIV("p", b""), id3.UFID("http://musicbrainz.org", b"id"), id3.PCNT(5), id3.PCST(0),
    id3.GEOB(3, "m", "f", "d", b"xyz" * 99), id3.TOFN(3, ["name.wav"]), id3.TCMP(3, ["1"]),
]
old = [id3.TYER(3, "2003"), id3.TDAT(3, "0605"), id3.TORY(3, "1999"), id3.IPLS(3, PEOPLE)]
new = [id3.TDRC(3, FULL), id3.TDOR(3, "1999-02-03"), id3.TIPL(3, PEOPLE), id3.TMOO(3, ["Calm"]),
       id3.TMCL(3, [["lute", "D"], ["drum", "E"]]), id3.TALB(3, ["one", "two"]), id3.TPUB(3, ["a"]),
       id3.CHAP("c", 0, 1, 2, 3, [id3.TIT2(3, "sub")]), id3.TDTG(3, "2010-11-12T13:14:15"),
       id3.TXXX(3, "n", ["1", "2"])]
for version, frames in ((3, rich + old), (4, rich + new)):
    write_aiff("rich.aiff", version, *frames)
    out = run(0, "tags", "show", "--json", "--data", "rich.aiff")[0]
    write("all.json", out.encode())
    write_aiff("bare.aiff")
    write_aiff("other.aiff", version, id3.TIT2(1, "old"), id3.COMM(1, "eng", "", "old"),
               id3.APIC(1, "image/png", 3, "old", PNG), id3.PRIV("old", b"x"), id3.TOPE(1, "kept"))
    wanted = held("rich.aiff")
    assert len(wanted) == len(frames) - (version == 3), wanted # one frame of mutagen for a date
    assert run(0, "tags", "set", "-q", "bare.aiff", "--from-json", "-", given=out.encode())[1] == ""
    run(0, "tags", "set", "-q", "other.aiff", "--from-json", "all.json")
    for name, others in (("bare.aiff", []), ("other.aiff", ["TOPE"])):
        found = [one for one in held(name) if one[0] not in others]
        assert found == wanted, set(found) ^ set(wanted)
        assert raw_version(name) == version and run(0, "check", "-q", name) == ("", "")
    # Nothing is hidden without the bytes, either, and what is not put back is told.
    entry = json.loads(run(0, "tags", "show", "--json", "rich.aiff")[0])[0]
    unnamed = {frame["id"] for frame in entry["frames"]}
    named = {tag["name"] for tag in entry["tags"]}
    assert unnamed >= {"PRIV", "UFID", "PCNT", "GEOB", "TXXX"} and "Comment" in named
    assert all(frame["size"] >= 0 and "data" not in frame for frame in entry["frames"])
    write_aiff("bare.aiff")
    err = run(0, "tags", "set", "-q", "bare.aiff", "--from-json", "-",
              given=json.dumps(entry).encode())[1]
    assert err.count("leaves the picture") == 3 and "does not get the frame GEOB" in err, err
    lost = unnamed - {"TXXX"} | {"APIC"}
    lost |= {"TIPL"} if "IPLS" in unnamed else set() # as mutagen calls it
    kept = [one for one in wanted if one[0] not in lost and "nameless" not in one[1]]
    assert held("bare.aiff") == kept, set(held("bare.aiff")) ^ set(kept)

# Names and values alone, each file its own, and what is wrong with others.
write_aiff("a.aiff")
write_aiff("b.aiff")
run(0, "tags", "set", "a.aiff", "Title=one")
run(0, "tags", "set", "b.aiff", "Title=two", "Artist=x")
saved = run(0, "tags", "show", "--json", "a.aiff", "b.aiff")[0].encode()
run(0, "tags", "set", "a.aiff", "b.aiff", "--from-json", "-",
    given=b'{"BPM": "120", "Album Artist": ["A", "B"], "title": null}')
assert texts("b.aiff") == {"TBPM": ["120"], "TPE2": ["A/B"], "TPE1": ["x"]}, texts("b.aiff")
run(0, "tags", "set", "a.aiff", "b.aiff", "--from-json", "-", given=saved)
assert texts("a.aiff")["TIT2"] == ["one"] and texts("b.aiff")["TIT2"] == ["two"]
odd = b"n\xff.aiff"
for name in (odd, "c.aiff"):
    write_aiff(name, 3, id3.TIT2(1, "of " + os.fsdecode(name)[0]))
both = run(0, "tags", "show", "--json", odd, "c.aiff")[0].encode()
run(0, "tags", "clear", odd, "c.aiff")
run(0, "tags", "set", odd, "c.aiff", "--from-json", "-", given=both)
assert texts(odd)["TIT2"] == ["of n"] and texts("c.aiff")["TIT2"] == ["of c"]

# What goes into a new version, and what not, also of a damaged tag.
for tag, told in ((b"ID3\2\0\0\0\0\0\x12" b"TT2\0\0\2\0a" b"XYZ\0\0\4\0abc", "left out: XYZ"),
                  (b"ID3\4\0\0\0\0\0\x16" b"TIT2\0\0\0\2\0\0\0a" b"TALB\0\0\x7f\x7f\0\0", "")):
    write_aiff("d.aiff", after=[(b"ID3 ", tag)])
    assert told in run(0, "tags", "set", "d.aiff", "Date=2004-05-06")[1], tag
    assert [str(text) for text in texts("d.aiff")["TDRC"]] == ["2004-05-06"]
    assert texts("d.aiff")["TIT2"] == ["a"]
write_aiff("c.aiff")
before = read("c.aiff")
for given, code, told in (
        (saved, 1, "not among the files"), (b"{", 2, "not valid JSON"), (b"[]", 1, "not among"),
        (b'{"tags": 3}', 1, "no array"), (b'{"A": 3}', 1, "no field"),
        (b'[{"error": "x"}]', 1, "no tags in the JSON: x"), (b'{"tags": []}', 0, ""),
        (b'{"tags": [{"value": "x"}]}', 1, "without"), (b'{"a": "x\\u0000"}', 1, "no field"),
        (b'{"tags": [{"name": "Comment", "values": ["x"], "languages": []}]}', 1, "languages"),
        (b'{"tags": [{"name": "Rating", "ratings": [{"byte": 256}]}]}', 1, "0 to 255"),
        (b'{"tags": [{"name": "_x", "picture": {"number": 3, "data": "*"}}]}', 1, "base64"),
        (b'{"tags": [], "frames": [{"id": "GEOB", "data": "eA=="}]}', 0, "another version"),
        (b'{"tags": [], "frames": [{"id": "x"}]}', 0, "has not what it holds"),
        (b'{"Aritst": "x"}', 0, 'was "Artist" meant?')):
    err = run(code, "tags", "set", "-q", "c.aiff", "--from-json", "-", given=given)[1]
    assert told in err and (code == 0 or read("c.aiff") == before), (given, err)
