#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives AIFFCONV with the decoders in CODECS over edits that need more than a decoder does: full
dates, versions of tags, and all that a tag holds by way of JSON, in the eyes of mutagen."""

import json

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
