# SPDX-License-Identifier: MIT
"""Decodes a stream from nginx on loopback through the plug-in and fetches it with curl
into nothing, in turns; prints medians, their ratio and the plug-in's memory.

Run it through bench/stream/run.sh. Both are timed as whole processes. A result of the
wrong size ends the run; a missed target is only printed.
"""
import argparse
import json
import pathlib
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time
from statistics import median

PREFIX = 8  # of the sound chunk: streams hand it out as samples
CHUNK = 1 << 20
CONFIG = """daemon off; pid {dir}/pid; error_log {dir}/log;
events {{ worker_connections 64; }}
http {{ access_log off; sendfile on;
{temps}
server {{ listen 127.0.0.1:{port}; root {dir}/files; }} }}
"""


def make_file(path, size):
    noise = bytes((i * 2654435761 >> 13) & 255 for i in range(CHUNK))
    comm = struct.pack(">4sIhIh", b"COMM", 18, 2, size // 4, 16)
    comm += bytes.fromhex("400EAC44000000000000")  # 44100 Hz
    sound = struct.pack(">4sIII", b"SSND", size + PREFIX, 0, 0)
    with open(path, "wb") as file:
        file.write(struct.pack(">4sI4s", b"FORM", 4 + len(comm) + len(sound) + size, b"AIFF"))
        file.write(comm + sound)
        for _ in range(size // CHUNK):
            file.write(noise)
    path.chmod(0o644)


def free_port():
    with socket.socket() as any_port:
        any_port.bind(("127.0.0.1", 0))
        return any_port.getsockname()[1]


def start_nginx(folder, port):
    temps = "\n".join(f"{kind}_temp_path {folder}/{kind};" for kind in
                      ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
    (folder / "conf").write_text(CONFIG.format(dir=folder, port=port, temps=temps))
    program = shutil.which("nginx") or "/usr/sbin/nginx"
    server = subprocess.Popen([program, "-p", folder, "-e", folder / "log", "-c", folder / "conf"])
    for _ in range(100):
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) == 0:
                return server
        time.sleep(0.05)
    server.terminate()
    sys.exit("bench: nginx does not start")


def timed(command):
    start = time.perf_counter()
    done = subprocess.run(command, capture_output=True, text=True)
    seconds = time.perf_counter() - start
    if done.returncode != 0:
        sys.exit(f"bench: {command[0]} failed: {done.stderr.strip()}")
    return seconds, done.stdout.split()


def measure(options, url, size):
    plugin = options.build / "Codecs/Bin/decoder/AIFF.so"
    decode = [options.build / "bench/stream/stream_client", plugin, url]
    fetch = ["curl", "-s", "-o", "/dev/null", "-w", "%{size_download}", url]
    times = {"plugin": [], "curl": []}
    memory = []
    timed(fetch)  # the file is in the page cache from here on
    for _ in range(options.repetitions):
        seconds, (fetched,) = timed(fetch)
        times["curl"].append(seconds)
        decoded_in, (decoded, grown) = timed(decode)
        times["plugin"].append(decoded_in)
        memory.append(int(grown))
        if int(decoded) != size + PREFIX or int(fetched) <= size:
            sys.exit("bench: wrong result: size")
    return times, memory


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--megabytes", type=int, default=256)
    parser.add_argument("--repetitions", type=int, default=9)
    parser.add_argument("--json", type=pathlib.Path, help="write the figures there, too")
    options = parser.parse_args()
    size = options.megabytes * CHUNK
    with tempfile.TemporaryDirectory(prefix="aiff-stream-") as name:
        folder = pathlib.Path(name)
        folder.chmod(0o755)  # nginx, started by root, reads as somebody else
        (folder / "files").mkdir(mode=0o755)
        make_file(folder / "files/big.aif", size)
        port = free_port()
        server = start_nginx(folder, port)
        try:
            times, memory = measure(options, f"http://127.0.0.1:{port}/big.aif", size)
        finally:
            server.terminate()
            server.wait()
    rates = {who: size / CHUNK / median(seconds) for who, seconds in times.items()}
    result = {"megabytes": options.megabytes, "repetitions": options.repetitions,
              "seconds": times, "curl_mb_per_s": rates["curl"],
              "plugin_mb_per_s": rates["plugin"], "ratio": rates["plugin"] / rates["curl"],
              "plugin_grown_kib": max(memory)}
    print(f"curl    {rates['curl']:8.0f} MB/s\nplug-in {rates['plugin']:8.0f} MB/s"
          f"   {result['ratio']:.2f} times curl (target 0.80)"
          f"\nmemory  {max(memory):8d} KiB grown (target under 1024)")
    if options.json:
        options.json.write_text(json.dumps(result, indent=2) + "\n")


if __name__ == "__main__":
    main()
