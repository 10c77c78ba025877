#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Streams from nginx give what the file gives. Usage: nginx_test.py AIFFCONV CODECS NGINX"""
import random
import socket
import subprocess
import sys

from harness import chunk, common, folder, form, read, run, write

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

sound = bytes(8) + random.Random(1).randbytes(3000000)
write("a b%.aif", form(b"FORM", b"AIFF", [(b"COMM", common(2, 500000, 24)), (b"SSND", sound)]))
with socket.create_server(("127.0.0.1", 0)) as listener:
    host = "127.0.0.1:%d" % listener.getsockname()[1]  # free for nginx
write("conf", CONFIGURATION.replace("@", folder.name + "/").replace("127.0.0.1:#", host).encode())
nginx = [sys.argv[3], "-p", folder.name, "-e", folder.name + "/log", "-c", folder.name + "/conf"]
subprocess.run(nginx, check=True)
try:
    for place in "ranges", "plain", "zipped", "moved":
        url = f"http://{host}/{place}/a%20b%25.aif"
        for start in "--start=0", "--start=400000f":
            run(0, "convert", "a b%.aif", "-o", "file.wav", "--overwrite", start)
            run(0, "convert", url, "-o", "stream.wav", "--overwrite", "--no-fetch", start)
            assert read("file.wav") == read("stream.wav"), (place, start)
    missing = run(1, "convert", url + "x", "-o", "x.wav", "--no-fetch")[1]
    assert "status 404" in missing, missing
finally:
    subprocess.run([*nginx, "-s", "stop"], check=True)
assert read("statuses").count(b"206") == 3, "all but /plain/ are asked for what is wanted"
