# SPDX-License-Identifier: MIT
"""aiffconv check on a clean file, and on the same file with one thing changed.

usage: check_test.py AIFFCONV CODECS"""
import json
import os
import re
import subprocess

from harness import aiffconv, chunk, common, form, read, run, write

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
    (changed(23, b"x"), "has a pad byte that is not zero, after the chunk 'NAME'"),
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
    (aiff((b"COMM", COMM[1])), "has 2 COMM chunks, where one is allowed"),
    (form(b"FORM", b"AIFF", [(b"COMM", bytes(9)), SSND]), "has a COMM chunk of 9 bytes"),
    (form(b"FORM", b"AIFF", [COMM]), "has no SSND chunk, although"),
    (form(b"FORM", b"AIFF", [COMM, (b"SSND", bytes(3))]), "has an SSND chunk that is too short"),
    (form(b"FORM", b"AIFF", [COMM, (b"SSND", bytes(409))]), "has 1 byte of sound beyond its last"),
    (form(b"FORM", b"AIFC", [VERSION, COMM, SSND]), "is AIFF-C and does not name its compression"),
    (larger(aiff(), b"abc"), "has 3 stray bytes at its end"),
    (larger(aiff(), b"abc"), "has a form of odd size"),
    (larger(aiff(), bytes(10)), "has no chunk where one is due"),
    (aiff((b"ID3 ", TAG[:10] + b"TALB\0\0\0\2\0\0")), "has a tag that cannot be read,"),
    (aiff((b"ID3 ", TAG[:9] + b"\x0eTALB\0\0\0\4\0\x08xxxx")),
     "has a tag that cannot be read because its frame TALB is compressed"),
]
explained = set()


def kinds(name):
    """The irregularities of a file that is there and can be checked."""
    done = subprocess.run([aiffconv, "check", "--json", name], capture_output=True, check=False)
    told = json.loads(done.stdout)
    return {"gone"} if told["problem"] else {detail["kind"] for detail in told["details"]}


def mend(content, details):
    """What is said to mend an irregularity does; where nothing is, neither does."""
    left = {}
    for command, arguments in {
            "tags set": ["tags", "set", "--force", "edited.aiff", "Title=x"],
            "encode": ["encode", "in.aiff", "--overwrite", "-o", "encoded.aiff"]}.items():
        write("edited.aiff", content)
        write("encoded.aiff", b"")
        done = subprocess.run([aiffconv, *arguments], capture_output=True, check=False)
        left[command] = kinds(arguments[-1] if command == "encode" else "edited.aiff")
        left[command] |= {"refused"} if done.returncode not in (0, 4) else set()
    for detail in details:
        if detail["mendedBy"]:
            after = left[detail["mendedBy"]]
            assert not after & {detail["kind"], "refused", "gone"}, (detail, left)
        else:
            assert all(after & {detail["kind"], "refused", "gone"} for after in left.values()), (
                detail, left)


def walk(content):
    """Offset, code and data size of the chunks of a whole file, strictly."""
    at, chunks = 12, []
    while at < 8 + int.from_bytes(content[4:8], "big"):
        size = int.from_bytes(content[at + 4:at + 8], "big")
        chunks.append((at, content[at:at + 4].decode(), size))
        at += 8 + size + size % 2
    return chunks


def pieces(name, content):
    """What a map lists, which is the file from end to end but for what is left out."""
    done = subprocess.run([aiffconv, "info", "--map", "--json", name], capture_output=True,
                          check=False)
    mapped = json.loads(done.stdout)[0]["map"]
    at = gaps = 0
    for piece in mapped["pieces"]:
        gaps += piece["offset"] - at
        assert piece["offset"] >= at and piece["bytes"] > 0, (mapped, name)
        at = piece["offset"] + piece["bytes"]
    assert at == len(content) and gaps == mapped["leftOutBytes"], (mapped, len(content))
    return mapped["pieces"], mapped["leftOut"]


for content, finding in CASES:
    write("in.aiff", content)
    told = json.loads(run(4 if finding else 0, "check", "in.aiff", "--json")[0])
    assert told["status"] == ("irregular" if finding else "clean"), (finding, told)
    explained.update(detail["kind"] for detail in told["details"])
    mend(content, told["details"])
    listed = pieces("in.aiff", content)[0]
    if not finding:
        assert walk(content) == [
            (piece["offset"], piece["chunk"], piece["dataBytes"]) for piece in listed[1:]], listed
    starts = [text[:len(finding)] for text in told["findings"]]
    assert finding in starts if finding else starts == [], (finding, told)

# Every cut of a file, beside it and one that is not there.
whole = write("good", aiff((b"ID3 ", TAG)))
names = ["good", "none"]
for size in range(1, len(whole), 7):
    names.append(f"cut{size}")
    write(names[-1], whole[:size])
    if size >= 12 and size % 4 == 0:
        last = pieces(names[-1], whole[:size])[0]
        assert any(piece["beyondEnd"] for piece in last), (size, last)
write("in.aiff", whole[:300])
mend(whole[:300], json.loads(run(4, "check", "--json", "in.aiff")[0])["details"])
out, err = run(1, "check", "-q", *names)
for part in ("none: No such file", "cut8: is too short to be an AIFF file",
             "cut484: irregular\n  is cut off: its form lacks 10 bytes"):
    assert part in out + err, (out, err)
assert "clean" not in out and out.count("irregular") + err.count("too short") == len(names) - 2
assert run(0, "check", "good")[0] == "good: clean\n"
# Of many chunks, few are listed.
many = write("many", form(b"FORM", b"AIFF", [COMM, *[(b"JUNK", b"")] * 100000, SSND]))
listed, left = pieces("many", many)
assert left + len(listed) == 100003 and len(listed) < 2000, left
assert [piece["what"] for piece in listed[:2] + listed[-1:]] == [
    "the form, of type 'AIFF'", "format of the sound", "sound"], listed[-1]

project = os.path.join(os.path.dirname(__file__), "../..")
table = read(project + "/src/host/author/check/Irregularities.cpp").decode()
manual = read(project + "/docs/aiffconv.1").decode().replace("\\", "")
known = set(re.findall(r'{[A-Z][A-Za-z]+,\s+"([a-z-]+)"', table))
assert known - explained == {"more", "incomplete-transfer"}, (known - explained, explained)
assert all(re.search(rf"[ \n]{kind}[,.]", manual) for kind in known), known
