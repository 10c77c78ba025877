# SPDX-License-Identifier: MIT
"""The plug-in and curl as clients of nginx on loopback."""
import shutil
import socket
import subprocess
import sys
import time

from harness import check, run
from sources import file_of, swapped

CONFIG = """daemon off; pid {dir}/pid; error_log {dir}/log;
events {{ worker_connections 64; }}
http {{ access_log off; sendfile on;
{temps}
server {{ listen 127.0.0.1:{port}; root {dir}/files; }} }}
"""


def free_port():
    with socket.socket() as any_port:
        any_port.bind(("127.0.0.1", 0))
        return any_port.getsockname()[1]


def start_nginx(folder, port):
    temps = "\n".join(f"{kind}_temp_path {folder}/{kind};" for kind in
                      ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
    (folder / "conf").write_text(CONFIG.format(dir=folder, port=port, temps=temps))
    server = subprocess.Popen(["nginx", "-p", folder, "-e", folder / "log", "-c", folder / "conf"])
    for _ in range(100):
        with socket.socket() as probe:
            if probe.connect_ex(("127.0.0.1", port)) == 0:
                return server
        time.sleep(0.05)
    server.terminate()
    sys.exit("bench: nginx does not start")


def clients(bench, url, kept=None):
    """Commands that fetch a stream and print its bytes; they keep it if a file is named."""
    return {"plugin": [bench.build / "bench/stream_client", bench.plugin, url,
                       *([kept] if kept else [])],
            "curl": ["curl", "--silent", "--fail", "--noproxy", "*", "--write-out",
                     "%{size_download}", "--output", kept or "/dev/null", url]}


def compare(bench, files, address):
    """Times of each program for each of the files, and by how much the plug-in's process grew."""
    got, commands, expected, grown = bench.folder / "got", {}, {}, []
    for path in files:
        url, whole = f"{address}/{path.name}", path.read_bytes()
        # A stream hands out the eight bytes before the samples, too.
        right = {"plugin": swapped(whole[whole.index(b"SSND") + 8:]), "curl": whole}
        for name, command in clients(bench, url, got).items():
            run(command)
            check(got.read_bytes() == right[name], f"{path.name} from {name}")
            expected[f"{name}, {path.stem}"] = len(right[name])
        commands |= {f"{name}, {path.stem}": command
                     for name, command in clients(bench, url).items()}
    got.unlink()

    def verify(name, printed, _):
        fetched, *memory = map(int, printed.split())
        check(fetched == expected[name], f"bytes of {name}")
        grown.extend(memory)

    return bench.in_turns(commands, verify=verify), max(grown)


def stream(bench):
    """A stream into nothing. What is compared is the time of a large body less that of a tiny
    one, which is what starting and connecting take."""
    folder = bench.folder / "nginx"
    (folder / "files").mkdir(parents=True)
    for path in (bench.folder, folder, folder / "files"):
        path.chmod(0o755)  # nginx, started by root, reads as somebody else
    tiny, large = 4000, (4 if bench.quick else 256) * 1000 * 1000
    noise, files = bytes((i * 2654435761 >> 13) & 255 for i in range(1 << 20)), []
    for name, size in (("tiny", tiny), ("large", large)):
        path = folder / f"files/{name}.aiff"
        path.write_bytes(file_of((noise * (size // len(noise) + 1))[:size]))
        path.chmod(0o644)
        files.append(path)
    port = free_port()
    server = start_nginx(folder, port)
    try:
        times, grown = compare(bench, files, f"http://127.0.0.1:{port}")
    finally:
        server.terminate()
        server.wait()
    shutil.rmtree(folder)
    less = {name: [big - small for big, small in zip(times[f"{name}, large"]["seconds"],
                                                     times[f"{name}, tiny"]["seconds"])]
            for name in ("curl", "plugin")}
    return {"bytes": large - tiny, "grown_kib": grown, "details": times,
            "programs": {name: {"seconds": seconds} for name, seconds in less.items()}}
