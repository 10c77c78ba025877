# SPDX-License-Identifier: MIT
"""Files that are measured with, beyond those of make_aiff."""
import array
import os
import struct
import wave

SMALL_FRAMES = 11025  # a quarter of a second
PICTURE = 30000


def chunk(code, body):
    return code + struct.pack(">I", len(body)) + body + b"\0" * (len(body) % 2)


def frame(code, body):
    return struct.pack(">4sIH", code, len(body), 0) + body


def tag_of(frames):
    """An ID3v2.3 tag."""
    return b"ID3\3\0\0" + bytes(len(frames) >> shift & 0x7F for shift in (21, 14, 7, 0)) + frames


def tag(texts, picture=b""):
    """A tag of text frames, and of a picture if there is one."""
    frames = b"".join(frame(name, b"\0" + text) for name, text in texts.items())
    return tag_of(frames + (frame(b"APIC", b"\0image/png\0\3\0" + picture) if picture else b""))


def small_tag(number, room=0):
    """A chunk with three fields and so many bytes of padding."""
    texts = {b"TIT2": b"Track %d" % number, b"TPE1": b"Somebody", b"TALB": b"Small files"}
    return chunk(b"ID3 ", tag_of(tag(texts)[10:] + bytes(room)))


def file_of(sound, after=(), before=()):
    """A plain AIFF file of 16-bit stereo with more chunks after and before its sound."""
    common = struct.pack(">hIh", 2, len(sound) // 4, 16) + bytes.fromhex("400eac44000000000000")
    chunks = b"".join([chunk(b"COMM", common), *before, chunk(b"SSND", bytes(8) + sound), *after])
    return b"FORM" + struct.pack(">I", len(chunks) + 4) + b"AIFF" + chunks


def small_file(number, tagged):
    """A tagged one has an ID3v2.3 tag at its end."""
    return file_of(os.urandom(SMALL_FRAMES * 4), [small_tag(number)] * tagged)


def append_tag(path):
    """Twelve fields and a picture of 30 KB after the sound of a file; the bytes of the tag."""
    names = b"TIT2 TPE1 TPE2 TALB TCOM TCON TCOP TENC TIT1 TPUB TRCK TYER".split()
    body = tag({name: b"1971" for name in names}, b"\x89PNG" + os.urandom(PICTURE - 4))
    with open(path, "r+b") as file:
        file.seek(0, os.SEEK_END)
        file.write(chunk(b"ID3 ", body))
        form = file.tell() - 8
        file.seek(4)
        file.write(struct.pack(">I", form))
    return len(body)


def many(count, kind):
    """An AIFF file with that many chunks, or frames in its tag, after its sound."""
    plain = small_file(0, False)
    if kind == "chunks":
        more = (b"ANNO" + struct.pack(">I", 3) + b"odd\0") * count
    elif kind == "frames":
        body = b"".join(frame(b"TXXX", b"\0Field %d\0value" % number) for number in range(count))
        more = chunk(b"ID3 ", tag_of(body))
    else:
        more = b""
    return b"FORM" + struct.pack(">I", len(plain) - 8 + len(more)) + plain[8:] + more


def swapped(sound):
    """16-bit samples of the other byte order."""
    samples = array.array("h", sound)
    samples.byteswap()
    return samples.tobytes()


def samples_of(source):
    """The samples of a 16-bit AIFF or WAV file as little-endian PCM."""
    if source.suffix == ".wav":
        with wave.open(str(source)) as sound:
            return sound.readframes(sound.getnframes())
    data = source.read_bytes()
    start = data.index(b"SSND")
    size = struct.unpack_from(">I", data, start + 4)[0]
    return swapped(data[start + 16:start + 8 + size])


def write_wav(path, samples):
    """16-bit stereo."""
    with wave.open(str(path), "wb") as out:
        out.setparams((2, 2, 44100, len(samples) // 4, "NONE", None))
        out.writeframesraw(samples)
