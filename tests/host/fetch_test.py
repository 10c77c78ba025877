# SPDX-License-Identifier: MIT
"""What decoders cannot stream is fetched: from a server that answers as each case says, and from
standard input. Usage: fetch_test.py AIFFCONV CODEC_FOLDER"""
import gzip
import http.server
import json
import os
import threading

from harness import common, folder, form, read, run, write

SOUND = bytes(range(256)) * 40
COMM = common(2, len(SOUND) // 4, 16) + b"NONE\0\0"
TITLE = b"ID3\3\0\0\0\0\0\x17TIT2\0\0\0\x0d\0\0\0Fetched tune"
CHUNKS = [(b"FVER", bytes(4)), (b"COMM", COMM), (b"SSND", bytes(8) + SOUND), (b"ID3 ", TITLE)]
FETCHED = form(b"FORM", b"AIFC", CHUNKS)
STREAM = form(b"FORM", b"AIFC", CHUNKS[1:])
PLAIN = form(b"FORM", b"AIFC", CHUNKS[1:3])


class Server(http.server.BaseHTTPRequestHandler):
    answers = {
        "/a.aifc": (200, {}, FETCHED),
        "/moved": (302, {"Location": "/a.aifc"}, b""),
        "/packed.aifc": (200, {"Content-Encoding": "gzip"}, gzip.compress(FETCHED)),
        "/cut.aifc": (200, {"Content-Length": str(len(FETCHED))}, FETCHED[:-4000]),
        "/stub.aifc": (200, {"Content-Length": str(len(FETCHED))}, FETCHED[:20]),
        "/round": (302, {"Location": "/round"}, b""),
        "/away": (302, {"Location": "file:///etc/hostname"}, b""),
        "/text.aiff": (200, {}, b"no sound"),
        "/stream.aifc": (200, {}, STREAM),
        "/tail.aifc": (200, {}, PLAIN + b"TAG" + bytes(125)),
        "/open.aifc": (200, {"Content-Length": None}, PLAIN),
        "/opencut.aifc": (200, {"Content-Length": None}, PLAIN[:-4000]),
        "/lower.aifc": (200, {}, PLAIN.replace(b"COMM", b"comm")),
    }

    def do_GET(self):
        status, fields, body = self.answers.get(self.path, (404, {}, b""))
        self.send_response(status)
        for name, value in ({"Content-Length": str(len(body))} | fields).items():
            if value is not None:
                self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


def convert(source, code, options="", given=b""):
    return run(code, "convert", source, "-o", "out.wav", *options.split(), given=given)[1]


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Server)
threading.Thread(target=server.serve_forever, daemon=True).start()
place = f"127.0.0.1:{server.server_port}"
os.mkdir("temporary")
os.environ |= {"TMPDIR": folder.name + "/temporary", "no_proxy": "*"}
write("local.aifc", FETCHED)
convert("local.aifc", 0)
local = read("out.wav")
os.remove("out.wav")
swapped = bytearray(len(SOUND))
swapped[::2], swapped[1::2] = SOUND[1::2], SOUND[::2]
assert bytes(swapped) in local and b"Fetched tune" in local

# path, options, exit code, what is said, whether the result is the local file's
for path, options, code, said, same in [
    ("/a.aifc", "", 0, "fetched as a whole", True),
    ("/a.aifc", "--no-fetch", 1, "stream", False),
    ("/moved", "", 0, "fetched", True),
    ("/packed.aifc", "", 0, "fetched", True),
    ("/cut.aifc", "", 4, "converted what is there", False),
    ("/stub.aifc", "", 1, "connection ended before", False),
    ("/round", "", 1, "redirects", False),
    ("/away", "", 1, "cannot be fetched", False),
    ("/text.aiff", "", 1, "too short to be an AIFF", False),
    ("/missing.aifc", "", 1, "404", False),
    ("/stream.aifc", "", 0, "data after its sound", True),
    ("/stream.aifc", "--no-fetch", 0, "--no-fetch leaves out", False),
    ("/stream.aifc", "--no-tags", 0, "where tags and markers may be (left out; --fetch", False),
    ("/tail.aifc", "", 0, "(an ID3v1 tag)", False),
    ("/lower.aifc", "", 1, "no COMM chunk", False),
    ("/stream.aifc", "--no-tags --fetch", 0, "fetched", False),
]:
    words = convert(f"http://{place}{path}", code, options)
    case = f"{path} {options}: {words}"
    assert said in words and (said or "aiffconv:" not in words), case
    assert os.path.exists("out.wav") == (code != 1), case
    if os.path.exists("out.wav"):
        assert (read("out.wav") == local) == same, case
        os.remove("out.wav")
assert "SSL" in convert(f"https://{place}/a.aifc", 1)

convert("-", 0, given=FETCHED)
assert read("out.wav") == local
convert("-", 4, "--overwrite", FETCHED[:-4000])
assert "is empty" in convert("-", 1, "--overwrite")
for name in ["-", f"http://{place}/a.aifc"]:
    shown = json.loads(run(0, "info", name, "--json", given=FETCHED)[0])[0]
    tags = {tag["name"]: tag["value"] for tag in shown["tags"]}
    found = shown["file"], shown["length"]["bytes"], tags["Title"]
    assert found == (name, len(SOUND), "Fetched tune"), shown

# Without a length only the end tells that a stream is cut. --quiet leaves out what is no loss.
for path, code, said in (("open", 0, ""), ("opencut", 4, "read to the end of its sound data"),
                         ("a", 0, "")):
    for command in (["info"], ["convert", "-o", "out.wav", "--overwrite"]):
        words = run(code, *command, "-q", f"http://{place}/{path}.aifc")[1]
        assert said in words and bool(said) == bool(words), words

# Every command reads what is no file, and says when its end is missing; none changes it.
for command, said in [
    ("info {}", "Fetched tune"),
    ("tags show {}", "Fetched tune"),
    ("check {}", ": clean"),
    ("encode {} -o out.aiff --overwrite", ""),
    ("tags copy {} bare.aiff", "copied 1 field"),
]:
    for name, given, code in [
        ("-", FETCHED, 0),
        (f"http://{place}/a.aifc", b"", 0),
        (f"http://{place}/cut.aifc", b"", 4 if "copy" not in command else 1),
        (f"http://{place}/missing.aifc", b"", 1),
    ]:
        run(0, "encode", "local.aifc", "-o", "bare.aiff", "--overwrite")
        whole = read("bare.aiff")
        run(0, "tags", "clear", "bare.aiff")
        words = "".join(run(code, *command.format(name).split(), given=given))
        assert said in words or code, words
        assert "connection ended before" in words or code != 4, words
        assert code or "out.aiff" not in command or read("out.aiff") == whole
        assert (b"Fetched tune" in read("bare.aiff")) == (code == 0 and "copy" in command)
for name in ["-", f"http://{place}/a.aifc"]:
    for command in ["set {} Title=x", "clear {}", "copy local.aifc {}"]:
        words = run(1, "tags", *command.format(name).split(), given=FETCHED)[1]
        assert "only the tags of files" in words, words
assert "--no-fetch says" in run(1, "check", f"http://{place}/a.aifc", "--no-fetch")[1]
assert os.listdir("temporary") == []
