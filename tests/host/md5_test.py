# SPDX-License-Identifier: MIT
"""aiffconv md5: one sum for one sound in any format, judged by flac and ffmpeg; lists, judged by
md5sum. With a library that spoils writes, --verify, too.

usage: md5_test.py AIFFCONV CODECS [BAD_DISK]"""
import hashlib
import os
import random
import shutil
import subprocess
import sys

from harness import aiffconv, common, form, read, run, write

NOISE = random.Random(1).randbytes(60000)


def tool(*command):
    """What a program says; nothing where it is not installed."""
    if not shutil.which(command[0]):
        return None
    return subprocess.run(command, capture_output=True, check=True).stdout.decode()


def aiff(bits, channels=2, code=b"", offset=0, pcm=NOISE):
    width = (bits + 7) // 8
    if bits % 8:  # the lowest bits are zero
        mask = (0xFF << (8 * width - bits)) & 0xFF
        pcm = bytes(b & mask if i % width == width - 1 else b for i, b in enumerate(pcm))
    comm = common(channels, len(pcm) // channels // width, bits) + (code and code + b"\0\0")
    sound = offset.to_bytes(4, "big") + bytes(4) + b"x" * offset + pcm
    return form(b"FORM", b"AIFC" if code else b"AIFF", [(b"COMM", comm), (b"SSND", sound)]), pcm


def plain_sum(bits, pcm, big=True):
    """Of numbers, one by one."""
    width, shift = (bits + 7) // 8, -bits % 8
    order = "big" if big else "little"
    return hashlib.md5(b"".join(
        (int.from_bytes(pcm[i:i + width], order, signed=True) >> shift)
        .to_bytes(width, "little", signed=True) for i in range(0, len(pcm), width))).hexdigest()


def sum_of(name):
    out = run(0, "md5", name)[0]
    assert out[32:] == f"  {name}\n", out
    return out[:32]


for bits in (8, 12, 16, 20, 24, 32):
    content, pcm = aiff(bits)
    write("in.aif", content)
    expected = plain_sum(bits, pcm)
    assert sum_of("in.aif") == expected, bits
    write("offset.aif", aiff(bits, offset=7)[0])
    assert sum_of("offset.aif") == expected, bits
    write("little.aifc", aiff(bits, code=b"sowt", pcm=pcm)[0])
    assert bits % 8 or sum_of("little.aifc") == plain_sum(bits, pcm, big=False), bits
    if bits in (8, 16, 24, 32):
        run(0, "convert", "in.aif", "-o", "out.wav", "--overwrite")
        run(0, "encode", "out.wav", "-o", "out.aiff", "--overwrite")
        assert sum_of("out.wav") == sum_of("out.aiff") == expected, bits
        codec = f"pcm_s{bits}le" if bits > 8 else "pcm_s8"
        said = tool("ffmpeg", "-v", "error", "-i", "in.aif", "-c:a", codec, "-f", "md5", "-")
        assert said in (None, f"MD5={expected}\n"), (bits, said)
    if bits in (8, 16, 24):
        run(0, "convert", "in.aif", "-o", "out.flac", "--overwrite")
        assert sum_of("out.flac") == read("out.flac")[26:42].hex() == expected, bits
    if bits < 32 and tool("flac", "-s", "-f", "in.aif", "-o", "by.flac") is not None:
        assert read("by.flac")[26:42].hex() == expected, bits

# No edit of tags changes it.
write("song.aif", aiff(16)[0])
write("cover.png", b"\x89PNG\r\n\x1a\n" + bytes(5000))
before = sum_of("song.aif")
for edit in (["set", "song.aif", "Title=x"], ["set", "song.aif", "Comment=" + "y" * 9000],
             ["art", "set", "song.aif", "cover.png"], ["remove", "song.aif", "Title"],
             ["clear", "song.aif"]):
    run(0, "tags", *edit)
    assert sum_of("song.aif") == before, edit

# Damage gives no sum. Each cut of a file, a changed byte in a FLAC file, bits below the last.
run(0, "convert", "song.aif", "-o", "song.wav")
run(0, "convert", "song.aif", "-o", "song.flac")
for name in ("song.aif", "song.wav", "song.flac"):
    whole = read(name)
    cases = [whole[:size] for size in range(50, len(whole) - 1, len(whole) // 20)]
    if name == "song.flac":
        cases += [whole[:at] + bytes([whole[at] ^ 4]) + whole[at + 1:]
                  for at in range(9000, len(whole), 9001)]
    for content in cases:
        write("bad." + name, content)
        done = subprocess.run([aiffconv, "md5", "bad." + name], capture_output=True,
                              check=False)
        assert done.returncode in (1, 4) and done.stdout == b"" and done.stderr, (name, done)
    assert done.returncode == 4, done
write("low.aif", aiff(16)[0].replace(b"\0\x10\x40\x0e", b"\0\x0c\x40\x0e"))
assert "has samples of more than its 12 bits" in run(4, "md5", "low.aif")[1]
assert run(1, "md5", "none.aif", "song.aif")[0].startswith(before)

# Lists: names as md5sum writes them, and --check as md5sum -c.
odd = ["plain", " two  blanks ", "back\\slash", "line\nend", "return\r", "*star",
       "\u00e9\udcff", "-x"]
for name in odd:
    write(name, whole)
out = run(0, "md5", "-j1", "--", *odd)[0]
assert out == run(0, "md5", "-j3", "--", *odd)[0] and out.splitlines()[0] == f"{before}  plain"
listed = subprocess.run(["md5sum", "--", *odd], capture_output=True, check=True).stdout
file_sum = hashlib.md5(whole).hexdigest()
assert os.fsencode(out).replace(before.encode(), file_sum.encode()) == listed, out
other = b"0" * 32
rows = os.fsencode(out) + b"# comment\n\n" + other + b"  plain\nnonsense\n" + other[1:] + b"  x\n" \
    + b"MD5 (plain) = " + before.encode() + b"\r\n" + before.upper().encode() + b" *none\n"
for text in (rows, os.fsencode(out), b"nonsense\n", other + b"  plain\n"):
    write("sums", text)
    # md5sum shall find in files what aiffconv finds in sounds.
    write("files", text.replace(before.encode(), file_sum.encode())
          .replace(before.upper().encode(), file_sum.upper().encode()))
    for quiet in ([], ["--quiet"]):
        judge = subprocess.run(["md5sum", "-c", "files", *quiet], capture_output=True, check=False)
        said = run(judge.returncode, "md5", "--check", "sums", *quiet)
        assert os.fsencode(said[0]) == judge.stdout, (said, judge)
        mine = said[1].replace("aiffconv: ", "").replace("sums:", "files:").splitlines()
        assert mine == judge.stderr.decode().replace("md5sum: ", "").splitlines(), (mine, judge)
assert run(1, "md5", "--check", "none")[1] == "aiffconv: none: No such file or directory\n"
assert run(0, "md5", "-c", "-", given=os.fsencode(out))[0].count(": OK") == len(odd)
write("bad.aif", read("song.aif")[:-9])
said = run(1, "md5", "-c", "-", given=f"{before}  bad.aif\n".encode())
assert said[0] == "bad.aif: FAILED\n" and "is cut off" in said[1] and "1 computed" in said[1], said
assert "requires --check" in run(2, "md5", "-q", "plain")[1]

# What --verify reads back is what was decoded, or there is no output.
for command, given, name in (("convert", "song.aif", "v.wav"), ("convert", "song.aif", "v.flac"),
                             ("encode", "song.wav", "v.aiff"), ("encode", "offset.aif", "v.aif")):
    run(0, command, given, "-o", name)
    good = read(name)
    run(0, command, given, "-o", name, "--verify", "--overwrite")
    assert read(name) == good, name
    if len(sys.argv) > 3:
        bad_disk = ("env", "LD_PRELOAD=" + sys.argv[3])
        run(0, command, given, "-o", name, "--overwrite", before=bad_disk)
        assert read(name) != good, name
        os.remove(name)
        said = run(1, command, given, "-o", name, "--verify", before=bad_disk)[1]
        assert "does not hold the sound that was written to it" in said, said
        assert not os.path.exists(name), name
assert "cannot be" in run(2, "convert", "song.aif", "-o", "-", "--verify")[1]
assert "cannot be read back" in run(1, "convert", "song.aif", "-o", "/dev/null", "--verify")[1]
write("sum.flac", whole[:30] + b"another" + whole[37:])  # its own sum
assert "its sound is not what its own checksum says" in run(4, "md5", "sum.flac")[1]
said = run(4, "encode", "sum.flac", "-o", "damaged.aiff", "--verify")[1]
assert "its sound is not what its own checksum says; encoded what is there" in said, said
