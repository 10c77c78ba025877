# SPDX-License-Identifier: MIT
"""aiffconv check on a clean file, and on the same file with one thing changed.

usage: check_test.py AIFFCONV CODECS"""
import json

from harness import chunk, common, form, run, write

NAME, COMM, SSND = (b"NAME", b"abc"), (b"COMM", common(2, 100, 16)), (b"SSND", bytes(408))
TAG = b"ID3\4\0\0\0\0\0\x0a" + bytes(10)
VERSION = (b"FVER", b"\xa2\x80\x51\x40")


def aiff(*more):
    return form(b"FORM", b"AIFF", [NAME, COMM, SSND, *more])


def aifc(code, *more):
    return form(b"FORM", b"AIFC", [(b"COMM", common(1, 9, 8) + code + b"\0\0"), *more])


def changed(position, value, content=aiff()):
    return content[:position] + value + content[position + len(value):]


def larger(content, more):
    """With more bytes in the form."""
    return content[:4] + (len(content) + len(more) - 8).to_bytes(4, "big") + content[8:] + more


# Positions in aiff(): NAME 12, its pad byte 23, COMM 24, frames 34, SSND 50, offset 58.
CASES = [
    (aiff(), ""), (aiff((b"ID3 ", TAG)), ""),
    (aifc(b"NONE", VERSION, (b"SSND", bytes(17))), ""),
    (aiff() + bytes(9) + b"x", "has 10 bytes after the end of its form"),
    (aiff()[:-4], "is cut off: its form lacks 4 bytes at the end"),
    (changed(0, b"form"), "begins with 'form' instead of 'FORM'"),
    (changed(11, b"X"), "is a form of type 'AIFX', neither 'AIFF' nor 'AIFC'"),
    (changed(4, bytes(4)), "was never finished: its form says that it is empty"),
    (larger(aiff()[:23], aiff()[24:]), "lacks the pad byte after the chunk 'NAME'"),
    (changed(23, b"\7"), "has a pad byte that is not zero, after the chunk 'NAME'"),
    (larger(aiff(), chunk(b"AUTH", b"abc")[:-1]), "ends without the pad byte of its last chunk"),
    (larger(aiff(), b"AUTH\0\0\3\xe8abcd"), "has a chunk 'AUTH' at byte 466 that claims 1000"),
    (changed(37, b"c"), "counts 99 sample frames in its COMM chunk and holds 100"),
    (changed(61, b"\4"), "has its samples 4 bytes into its SSND chunk"),
    (changed(61, b"\4"), "counts 100 sample frames in its COMM chunk and holds 99"),
    (changed(33, b"\0"), "has an impossible format: 0 channels, 16 bits"),
    (changed(40, b"\xc0"), "has an impossible sample rate"),
    (form(b"FORM", b"AIFF", [SSND]), "has no COMM chunk, so its audio format is unknown"),
    (aifc(b"NONE", SSND), "is AIFF-C and has no FVER chunk"),
    (aifc(b"QDM3", SSND), "has an unknown compression 'QDM3'"),
    (aiff((b"SSND", bytes(8))), "has 2 SSND chunks, where one is allowed"),
    (aiff((b"comm", bytes(18))), "has a COMM or SSND chunk in lower-case letters"),
    (aiff((b"ID3 ", TAG), (b"id3 ", TAG)), "has 2 tag chunks"),
    (aiff((b"ID3 ", bytes(30))), "has no ID3v2 tag in its tag chunk"),
    (aiff((b"ID3 ", b"")), "has an empty tag chunk"),
    (aiff((b"ID3 ", changed(9, b"Z", TAG))), "has a tag of 100 bytes in a chunk of 20"),
]
for content, finding in CASES:
    write("in.aiff", content)
    told = json.loads(run(4 if finding else 0, "check", "in.aiff", "--json")[0])
    assert told["status"] == ("irregular" if finding else "clean"), (finding, told)
    starts = [text[:len(finding)] for text in told["findings"]]
    assert finding in starts if finding else starts == [], (finding, told)

# Every cut of a file, beside it and one that is not there.
whole = write("good", aiff((b"ID3 ", TAG)))
names = ["good", "none"]
for size in range(1, len(whole), 7):
    names.append(f"cut{size}")
    write(names[-1], whole[:size])
out, err = run(1, "check", "-q", *names)
for part in ("none: No such file", "cut8: is too short to be an AIFF file",
             "cut484: irregular\n  is cut off: its form lacks 10 bytes"):
    assert part in out + err, (out, err)
assert "clean" not in out and out.count("irregular") + err.count("too short") == len(names) - 2
assert run(0, "check", "good")[0] == "good: clean\n"
