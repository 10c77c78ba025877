#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives AIFFCONV with the decoders in CODECS over names of fields as people type them, by the
frames and comments that mutagen sees."""

import json
import re

from harness import common, form, mutagen, read, run, tag_of, write

aiff, id3, flac = mutagen("aiff", "id3", "flac")


def write_aiff(name, *frames, version=3):
    chunks = [(b"COMM", common(1, 50, 16)), (b"SSND", bytes(108))]
    tags = [(b"ID3 ", tag_of(version, *frames))] if frames else []
    return write(name, form(b"FORM", b"AIFF", chunks + tags))


def texts(name):
    return {key: str(frame) for key, frame in aiff.AIFF(name).tags.items()}


# What people type, and the frames that they mean.
TYPED = {
    "BPM": "TBPM", "Key": "TKEY", "date": "TDRC", "AlbumArtist": "TPE2", "GROUPING": "TIT1",
    "Language": "TLAN", "Track Number": "TRCK", "disc_number": "TPOS", "Publisher": "TPUB",
    "composer": "TCOM", "Conductor": "TPE3", "Lyricist": "TEXT", "Remixer": "TPE4", "isrc": "TSRC",
    "Encoded-By": "TENC", "Subtitle": "TIT3", "artist sort": "TSOP", "SortTitle": "TSOT",
    "AlbumSort": "TSOA", "sort_album_artist": "TSO2", "COMPOSERSORT": "TSOC", "compilation": "TCMP",
    "OriginalDate": "TDOR", "Website": "WXXX:", "COMMENT:Mine": "COMM:Mine:eng", "tenc": "TENC",
    "Podcast Category": "TCAT", "MOVEMENTNAME": "MVNM", "Original-Filename": "TOFN", "MUSICBRAINZ_ALBUMID": "TXXX:MusicBrainz Album Id", "TXXX:Key": "TXXX:Key",
    "ReplayGain Track Gain": "TXXX:replaygain_track_gain", "ReleaseCountry":
    "TXXX:MusicBrainz Album Release Country", "copyright": "TCOP", "original artist": "TOPE",
}
for version in (3, 4):
    write_aiff("t.aiff", id3.TALB(1, "kept"), version=version)
    err = run(0, "tags", "set", "t.aiff", *(f"{name}=2004" for name in TYPED))[1]
    assert "own" not in err, err
    assert texts("t.aiff").keys() == {"TALB", *TYPED.values()}, texts("t.aiff")
    for mood in ("calm", "wild"):
        run(0, "tags", "set", "t.aiff", "MOOD=" + mood)
        assert texts("t.aiff")["TMOO" if version == 4 else "TXXX:Mood"] == mood
    assert sum("moo" in key.lower() for key in texts("t.aiff")) == 1, texts("t.aiff")
    run(0, "tags", "remove", "t.aiff", "Mood", *TYPED)
    assert texts("t.aiff") == {"TALB": "kept"}, texts("t.aiff")

# A name that makes a field of its own is said once, and what it may have been meant to be.
for name, meant in (("Aritst", "Artist"), ("albumartst", "Album Artist"), ("Titel", "Title"),
                    ("Mine", ""), ("TXXX:Mine", None)):
    told = meant and f'; was "{meant}" meant?'
    for file in ("a.aiff", "b.aiff"):
        write_aiff(file)
    err = run(0, "tags", "set", "a.aiff", "b.aiff", name + "=x")[1]
    line = f'"{name}" is no known name and makes a field of its own (TXXX)'
    assert err == ("" if told is None else f"aiffconv: {line}{told}\n"), err
    assert texts("b.aiff") == {"TXXX:" + name.removeprefix("TXXX:"): "x"}

# Totals go with their numbers.
for given, result in ((["Track=3", "TrackTotal=12"], "3/12"), (["TOTALTRACKS=13"], "3/13"),
                      (["Track=4/9", "track total=10"], "4/10"), (["Track Total="], "4")):
    run(0, "tags", "set", "a.aiff", *given)
    assert texts("a.aiff")["TRCK"] == result, given
run(0, "tags", "set", "a.aiff", "Disc=1/2")
assert "removed Disc total; has no TrackTotal" in run(0, "tags", "remove", "a.aiff", "DiscTotal",
                                                       "TrackTotal")[0]
assert texts("a.aiff")["TPOS"] == "1"
before = read("b.aiff")
assert "b.aiff: has no Track" in run(1, "tags", "set", "b.aiff", "TrackTotal=3")[1]
assert read("b.aiff") == before

# Every name in the list leads to its frames, and they to its FLAC name.
fields = json.loads(run(0, "tags", "names", "--json")[0])
plain = run(0, "tags", "names", "--plain")[0].splitlines()
table = run(0, "tags", "names")[0].splitlines()
assert len(table) == len(fields) + 1 and plain == sorted(set(plain)) and len(fields) > 80
OWN = {"Rating": "8", "Track total": "12", "Disc total": "12"}
for version in (3, 4):
    frames = {frame for field in fields for frame in field[f"id3v2.{version}"].split(", ")}
    for spell in (lambda field: field["name"],
                  lambda field: (field["aliases"] or [field["flac"]])[-1],
                  lambda field: re.sub("[^a-z]", "", field["flac"].lower())):
        write_aiff("all.aiff", id3.PRIV("o", b"x"), version=version)
        given = [f"{spell(field)}={OWN.get(field['name'], '2004')}" for field in fields]
        _, err = run(0, "tags", "set", "all.aiff", *given)
        assert err == "", err
        raw = read("all.aiff")
        found = {frame for frame in frames if frame.encode() in raw[raw.index(b"ID3 "):]}
        assert found == frames - {"TDAT"}, frames ^ found
    run(0, "convert", "all.aiff", "-o", "all.flac", "--overwrite")
    names = {name.upper() for name, _ in flac.FLAC("all.flac").tags}
    moved = {field["flac"] for field in fields # one version alone has a frame for these
             if field["id3v2.3"] != field["id3v2.4"] == "TXXX" or
             field["id3v2.4"] != field["id3v2.3"] == "TXXX"}
    wanted = {field["flac"] for field in fields}
    assert names | moved >= wanted and len(names) == len(wanted), names ^ wanted
for field in fields:
    assert {field["name"], field["flac"], *field["aliases"]} <= set(plain), field
