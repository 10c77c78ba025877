# SPDX-License-Identifier: MIT
"""What the scripts share: the program named first on the command line, run in a folder of its
own with the decoders named second, chunks of files, and tags that mutagen makes."""
import importlib
import io
import os
import struct
import subprocess
import sys
import tempfile

aiffconv = os.path.abspath(sys.argv[1])
os.environ["QVCODECPATH"] = sys.argv[2]
# clang's leak checker crashes now and then at the end of a process with threads.
os.environ.setdefault("ASAN_OPTIONS", "detect_leaks=0")
folder = tempfile.TemporaryDirectory()
os.chdir(folder.name)


def mutagen(*names):
    """Modules of mutagen; a test without it is skipped."""
    try:
        return [importlib.import_module("mutagen." + name) for name in names]
    except ImportError:
        print("mutagen is not installed")
        sys.exit(77)


def chunk(code, data, order=">"):
    return code + struct.pack(order + "I", len(data)) + data + bytes(len(data) % 2)


def form(code, kind, chunks, order=">"):
    return chunk(code, kind + b"".join(chunk(*one, order) for one in chunks), order)


def common(channels, frames, bits):
    """The body of the COMM chunk of a file of 44100 Hz."""
    return struct.pack(">hIh10s", channels, frames, bits, b"\x40\x0e\xac\x44")


def write(name, content):
    with open(name, "wb") as file:
        file.write(content)
    return content


def read(name):
    with open(name, "rb") as file:
        return file.read()


def run(code, *arguments, given=b"", before=()):
    """What a command that ends with the code says on its two outputs; `before` starts it."""
    command = [*before, aiffconv, *arguments]
    done = subprocess.run(command, input=given, capture_output=True, check=False)
    assert done.returncode == code, (arguments, done)
    return done.stdout.decode(errors="surrogateescape"), done.stderr.decode()


def tag_of(version, *frames):
    """A tag of an even size."""
    out, tag = io.BytesIO(), mutagen("id3")[0].ID3()
    for frame in frames:
        tag.add(frame)
    tag.save(out, v2_version=version, padding=lambda room: 100 + room.padding % 2)
    return out.getvalue()
