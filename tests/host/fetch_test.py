# SPDX-License-Identifier: MIT
"""What decoders cannot stream is fetched: from a server that answers as each case says, and from
standard input. Usage: fetch_test.py AIFFCONV CODEC_FOLDER"""
import gzip
import http.server
import json
import os
import struct
import subprocess
import sys
import tempfile
import threading


def chunk(code, body):
    return code + struct.pack(">I", len(body)) + body + bytes(len(body) % 2)


SOUND = bytes(range(256)) * 40
COMM = struct.pack(">hIh10s4s2s", 2, len(SOUND) // 4, 16, bytes.fromhex("400eac44000000000000"), b"NONE", b"")
TITLE = chunk(b"ID3 ", b"ID3\3\0\0\0\0\0\x17TIT2\0\0\0\x0d\0\0\0Fetched tune")
CHUNKS = [chunk(b"FVER", bytes(4)), chunk(b"COMM", COMM), chunk(b"SSND", bytes(8) + SOUND), TITLE]
FETCHED = chunk(b"FORM", b"AIFC" + b"".join(CHUNKS))
STREAM = chunk(b"FORM", b"AIFC" + b"".join(CHUNKS[1:]))


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
    }

    def do_GET(self):
        status, fields, body = self.answers.get(self.path, (404, {}, b""))
        self.send_response(status)
        for name, value in ({"Content-Length": str(len(body))} | fields).items():
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


def run(arguments, given=b""):
    return subprocess.run([sys.argv[1], *arguments.split()], input=given, capture_output=True, env=ENVIRONMENT)


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Server)
threading.Thread(target=server.serve_forever, daemon=True).start()
place = f"127.0.0.1:{server.server_port}"
folder = tempfile.TemporaryDirectory()
os.chdir(folder.name)
os.mkdir("temporary")
ENVIRONMENT = os.environ | {"QVCODECPATH": sys.argv[2], "TMPDIR": folder.name + "/temporary", "no_proxy": "*"}
with open("local.aifc", "wb") as file:
    file.write(FETCHED)
assert run("convert local.aifc -o local.wav").returncode == 0
local = open("local.wav", "rb").read()
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
    ("/stub.aifc", "", 1, "bytes remaining", False),
    ("/round", "", 1, "redirects", False),
    ("/away", "", 1, "cannot be fetched", False),
    ("/text.aiff", "", 1, "too short to be an AIFF", False),
    ("/missing.aifc", "", 1, "404", False),
    ("/stream.aifc", "", 0, "chunks after its sound", True),
    ("/stream.aifc", "--no-fetch", 0, "--no-fetch leaves out", False),
    ("/stream.aifc", "--no-tags", 0, "", False),
    ("/stream.aifc", "--no-tags --fetch", 0, "fetched", False),
]:
    done = run(f"convert http://{place}{path} -o out.wav {options}")
    words = done.stderr.decode()
    assert said or not words.count("aiffconv:"), words
    case = f"{path} {options}: {done.returncode} {words}"
    assert done.returncode == code and said in words, case
    assert os.path.exists("out.wav") == (code != 1), case
    if os.path.exists("out.wav"):
        assert (open("out.wav", "rb").read() == local) == same, case
        os.remove("out.wav")
assert "SSL" in run(f"convert https://{place}/a.aifc -o out.wav").stderr.decode()

assert run("convert - -o out.wav", FETCHED).returncode == 0 and open("out.wav", "rb").read() == local
assert run("convert - -o out.wav --overwrite", FETCHED[:-4000]).returncode == 4
assert "is empty" in run("convert - -o none.wav").stderr.decode()
for name in ["-", f"http://{place}/a.aifc"]:
    shown = json.loads(run(f"info {name} --json", FETCHED).stdout)[0]
    tags = {tag["name"]: tag["value"] for tag in shown["tags"]}
    found = shown["file"], shown["length"]["bytes"], tags["Title"]
    assert found == (name, len(SOUND), "Fetched tune"), shown
assert run(f"info http://{place}/cut.aifc").returncode == 4
assert os.listdir("temporary") == []
