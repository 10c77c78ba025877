#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Streams from nginx give what the file gives. Usage: nginx_test.py AIFFCONV CODECS NGINX"""

import os
import random
import socket
import subprocess
import sys
import tempfile
import wave

# Serves the folder @ below /ranges/, without ranges below /plain/, gzipped (and so chunked) below
# /zipped/ for clients that allow it, and redirects from /moved/.
CONFIGURATION = """master_process off; pid @pid; error_log @log; events {}
http { log_format status $status; access_log @statuses status; client_body_temp_path @1;
proxy_temp_path @2; fastcgi_temp_path @3; uwsgi_temp_path @4; scgi_temp_path @5;
server { listen 127.0.0.1:#;
location /ranges/ { alias @; }
location /plain/ { alias @; max_ranges 0; }
location /zipped/ { alias @; gzip on; gzip_types *; gzip_min_length 1; }
location /moved/ { rewrite ^/moved/(.*) /ranges/$1 permanent; } } }"""

aiffconv, os.environ["QVCODECPATH"], nginx = sys.argv[1:]


def run(command, *arguments, code=0):
    result = subprocess.run([aiffconv, command, *arguments], capture_output=True, check=False)
    assert result.returncode == code, (arguments, result)
    return result.stderr


with tempfile.TemporaryDirectory() as root:
    os.chdir(root)
    with wave.open("in.wav", "wb") as sound:
        sound.setparams((2, 3, 96000, 0, "NONE", ""))
        sound.writeframes(random.Random(1).randbytes(3000000))
    run("encode", "in.wav", "-o", "a b%.aif")
    with socket.create_server(("127.0.0.1", 0)) as listener:
        host = "127.0.0.1:%d" % listener.getsockname()[1]  # free for nginx
    with open("conf", "w", encoding="ascii") as file:
        file.write(CONFIGURATION.replace("@", root + "/").replace("127.0.0.1:#", host))
    server = [nginx, "-p", root, "-e", root + "/log", "-c", root + "/conf"]
    subprocess.run(server, check=True)
    try:
        for folder in "ranges", "plain", "zipped", "moved":
            url = f"http://{host}/{folder}/a%20b%25.aif"
            for start in "--start=0", "--start=400000f":
                run("convert", "a b%.aif", "-o", "file.wav", "--overwrite", start)
                run("convert", url, "-o", "stream.wav", "--overwrite", "--no-fetch", start)
                subprocess.run(["cmp", "file.wav", "stream.wav"], check=True)
        missing = run("convert", url + "x", "-o", "x.wav", "--no-fetch", code=1)
        assert b"status 404" in missing, missing
    finally:
        subprocess.run([*server, "-s", "stop"], check=True)
    with open("statuses", encoding="ascii") as file:
        sought = file.read().count("206")
    assert sought == 3, "all but /plain/ are asked for what is wanted"
