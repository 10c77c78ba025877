# SPDX-License-Identifier: MIT
"""The progress bar on terminals of several widths, which change, and where there is no terminal.

usage: progress_test.py AIFFCONV CODECS"""
import fcntl
import os
import pty
import re
import struct
import subprocess
import termios
import time
import unicodedata

from harness import aiffconv, common, form, run, write

FRAMES = 1_000_000
NAME = "音楽\033[31m" + "e\u0301" * 20 + "、とても長い名前" * 6 + ".aiff"
SOUND = form(b"FORM", b"AIFF", [(b"COMM", common(2, FRAMES, 16)),
                                (b"SSND", bytes(8) + os.urandom(FRAMES * 4))])
os.environ.update(LC_ALL="C.UTF-8", TERM="xterm")


def columns(text):
    """How many a terminal shows."""
    return sum(0 if unicodedata.combining(c) else 1 + (unicodedata.east_asian_width(c) in "WF")
               for c in text)


def set_width(terminal, width):
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, width, 0, 0))


def at_terminal(widths, arguments, seconds):
    """What is on a terminal that gets each of the widths while the output is taken so slowly: what
    the bar was at each width, and what remains in the end."""
    terminal, inner = pty.openpty()
    set_width(terminal, widths[0])
    shown, told, end = {width: [] for width in widths}, b"", time.monotonic() + seconds
    with subprocess.Popen([aiffconv, *arguments], stderr=inner, stdout=subprocess.PIPE) as process:
        os.close(inner)
        for width in widths:
            set_width(terminal, width)
            time.sleep(0.15)  # one may be on its way that fits the old width
            os.read(terminal, 1 << 20)
            while time.monotonic() < end - seconds * (1 - (widths.index(width) + 1) / len(widths)):
                process.stdout.read(FRAMES * 4 // 100)
                time.sleep(seconds / 100)
            part = os.read(terminal, 1 << 20)
            shown[width] = [bar.decode() for bar in re.findall(rb"\r([^\r\n]+)\x1b\[K", part)]
        process.stdout.read()
        told = part + os.read(terminal, 1 << 20)
    assert process.returncode == 0, told
    return shown, re.sub(rb".*\r\x1b\[K", b"", told, flags=re.S).decode().replace("\r", "")


write(NAME, SOUND)
shown, remains = at_terminal([20, 9, 80, 300], ["convert", NAME, "-o", "-"], 3)
assert remains == NAME.replace("\033", "?") + " -> -\n", remains
for width, bars in shown.items():
    assert bars and all(columns(bar) < width for bar in bars), (width, bars)
    assert all(re.search(r" {0,2}\d+%", bar) for bar in bars), bars
    assert not any(c < " " or "\x7f" <= c < "\xa0" for bar in bars for c in bar), bars
assert re.fullmatch(r"\[#+-+\]  \d\d%", shown[20][-1]), shown
assert re.search(r"\d\d%  \d:\d\d left  \d+\.\d MB/s  音楽\?\[31me.*\.\.\.$",
                 shown[80][-1]), shown
assert shown[300][-1].endswith(".aiff"), shown

# Several at a time.
names = ["a.aiff", "b.aiff", "c.aiff"]
for name in names:
    write(name, SOUND)
terminal, inner = pty.openpty()
subprocess.run([aiffconv, "convert", *names, "-o", "out/", "--format", "flac", "--jobs", "2"],
               stderr=inner, check=True)
told = os.read(terminal, 1 << 20)
assert told.endswith(b"3 of 3 files converted\r\n") and not re.search(rb"\n.+\n", told), told

# Of what comes through a pipe the total is not known.
terminal, inner = pty.openpty()
with subprocess.Popen([aiffconv, "convert", "-", "-o", "piped.wav"], stdin=subprocess.PIPE,
                      stderr=inner) as process:
    process.stdin.write(SOUND[:4_000_000])
    told = b""
    while b"MB received  total unknown" not in told:
        told += os.read(terminal, 4096)
    process.stdin.write(SOUND[4_000_000:])
    process.stdin.close()
    assert b"%" not in told and process.wait() == 0, told

# Nor does anything else reach a terminal as it is that a file says in its name, tag and chunks.
BAD = "\033]0;x\7\u202e\u2067\x9b31m\r"
LYING = form(b"FORM", b"AIFF", [
    (b"COMM", common(1, 50, 16)), (b"MARK", b"\0\1\0\1\0\0\0\1" + bytes([7]) + b"\033[2Jxyz"),
    (b"NAME", BAD.encode()), (b"\033[2J", b""), (b"SSND", bytes(108))])
write(BAD, LYING)
write("odd.aiff", LYING.replace(b"\033[2J\0\0\0\0", b"JUNK\0\0\0\0"))
run(0, "tags", "set", "odd.aiff", "Title=" + BAD, BAD.replace("\r", "") + "=x")
for arguments in (["info", "--map", BAD, "odd.aiff"], ["check", BAD, "odd.aiff"],
                  ["tags", "show", BAD, "odd.aiff"], ["encode", BAD, "-o", BAD + "/.aiff"],
                  ["convert", BAD, "-o", BAD + "x.wav"], ["tags", "set", BAD, "Title=" + BAD],
                  ["md5", BAD, "odd.aiff"], ["convert", "odd.aiff", "--" + BAD]):
    terminal, inner = pty.openpty()
    subprocess.run([aiffconv, *arguments], stdout=inner, stderr=inner, check=False)
    told = os.read(terminal, 1 << 20).decode().replace("\r\n", "\n").replace("\r\x1b[K", "")
    assert told and not re.search("[\0-\x09\x0b-\x1f\x7f-\x9f\u202a-\u202e\u2066-\u2069]", told), (
        arguments, told)

# Nothing of it is in a file, nor on a terminal that cannot erase it.
write("\033[31m.aiff", SOUND)
out, err = run(0, "convert", "\033[31m.aiff", "-o", "again.wav")
assert err == "?[31m.aiff -> again.wav\n" and not out, (out, err)
terminal, inner = pty.openpty()
os.environ["TERM"] = "dumb"
subprocess.run([aiffconv, "convert", "a.aiff", "-o", "a.wav"], stderr=inner, check=True)
assert os.read(terminal, 1 << 20) == b"a.aiff -> a.wav\r\n"
