#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Lets AIFFCONV check the decoders GOOD, FAULTY (see faulty_plugin.cpp) and LACKING, which has no
SetPosition: every fault is found by the check that is there for it, no fault is found in the good
one, and every check finds something."""

import json
import os
import signal
import subprocess
import sys
import time

from harness import aiffconv, common, form, write

good, faulty, lacking = sys.argv[2:]
os.mkdir("tmp")
os.environ["TMPDIR"] = os.path.abspath("tmp")


def run(code, plugin, *arguments, fault=None):
    environment = dict(os.environ, **({"FAULT": fault} if fault else {}))
    result = subprocess.run([aiffconv, "codecs", "--validate", plugin, *arguments], check=False,
                            capture_output=True, env=environment)
    assert result.returncode == code, (plugin, fault, arguments, result)
    assert os.listdir("tmp") == [], "temporary files are left"
    return result.stdout.decode(), result.stderr.decode()


def checks(code, plugin, *arguments, fault=None):
    result = json.loads(run(code, plugin, "--json", *arguments, fault=fault)[0])
    found = {check["name"]: check for check in result["checks"]}
    for status in ("passed", "failed", "skipped"):
        assert result[status] == sum(c["status"] == status for c in found.values()), result
    return found


# The check that must find a fault, and a part of what it must say.
FAULTS = [
    ("crashes when unloaded", "unloading", "signal 6"),
    ("crashes at null", "null-handles", "in: Get of a null handle"),
    ("fails to destroy null", "null-handles", "Destroy returns 0"),
    ("needs a report", "creating", "no report"),
    ("lists without end", "lists", "goes on after 256"),
    ("lists without dots", "lists", '"aif"'),
    ("throws", "description", "an exception: no such key"),
    ("has no description", "description", "there is none"),
    ("ignores case", "unknown-keys", '"decodes"'),
    ("writes at failure", "unknown-keys", "changes pText1"),
    ("shares its answers", "answers", "another instance"),
    ("takes any value", "values", "Durable Edits"),
    ("writes values", "values", "nValue1"),
    ("opens what is missing", "missing-files", "a missing file returns 1"),
    ("makes files", "missing-files", "makes the file"),
    ("takes packets", "external-packets", "succeeds"),
    ("fails to close", "closing", "after a failed Open"),
    ("hangs at damage", "garbage", "2 seconds, in: Open of"),
    ("hangs at damage", "damaged-files", "2 seconds, in: Open of"),
    ("refuses .aif", "opening", "no .aif file"),
    ("writes a reserved field", "flags", "nReserved"),
    ("clears fields not asked for", "flags", "nTagDataSize"),
    ("writes past its record", "flags", "outside its record"),
    ("tells a wrong length", "format", "nLengthMS"),
    ("knows no umlauts", "file-names", "Open fails"),
    ("touches its input", "inputs-unchanged", "has changed"),
    ("changes a sample", "samples", "byte 100 is"),
    ("adds noise", "samples", "decoded again: byte 0 is"),
    ("exits", "samples", "exit code 0, in: DecodeBlock"),
    ("hangs", "samples", "does not end within 2 seconds, in: DecodeBlock"),
    ("splits frames", "blocks", "nDataSize is 65535"),
    ("tells no duration", "blocks", "nDurationMS is -9"),
    ("tells too many bytes", "blocks", "bytes together"),
    ("leaves nLastBlock", "block-record", "nLastBlock -1515870811"),
    ("writes the sub-format", "block-record", "WaveFormat.SubFormat"),
    ("clears the last block", "last-block", "nDataSize is written"),
    ("fails after the end", "last-block", "DecodeBlock fails"),
    ("shares its block", "block-lifetime", "has changed"),
    ("seeks past the frame", "seeking", "frame 1: byte 0 is"),
    ("crashes at a seek", "seeking", "signal 6"),
    ("refuses seeks past the end", "seeking-past-end", "frame 40002 fails"),
    ("ignores the end", "ranges", "range 0 to 20000: nLengthBytes"),
    ("changes the range at once", "range-at-open", "set after Open"),
    ("keeps the host's record", "host-memory", "DecodeBlock fails"),
    ("opens once", "reopening", "opened again"),
    ("shares its position", "interleaving", "among other instances"),
    ("opens few", "interleaving", "with 20 instances open"),
    ("belongs to a thread", "threads", "another thread has opened"),
    ("leaks a descriptor", "descriptors", "50 descriptors"),
    ("leaks memory", "memory", "80 bytes more"),
    ("prints when loaded", "silence", "on standard output: loaded"),
    ("prints", "silence", "on standard output: opened"),
    ("writes to standard error", "silence", "on standard error: opened"),
    ("has no report", "report", "no line of error"),
    ("writes bad lines", "report", "errors end otherwise: bad"),
    ("closes the report", "report", "descriptors are closed"),
    ("sets the locale", "process-state", "the locale is now: C.UTF-8"),
    ("handles a signal", "process-state", f"signal {int(signal.SIGUSR1)} is now: handled"),
    ("changes the folder", "process-state", "the working folder is now: /"),
    ("changes the mask", "process-state", "the file mode mask"),
    ("cuts the tags off", "tags-repeat", "tag blob item"),
    ("gives other properties", "tags-repeat", "differ the second time"),
    ("only says that it writes", "tag-writing", "reads back as"),
    ("spoils sound with tags", "tag-writing", "after its tag was written: byte"),
    ("only says that it deletes", "tag-deleting", "has the title"),
    ("spoils files when it fails", "tag-refusals", "changes the file"),
]
everything = checks(0, good)
assert {c["status"] for c in everything.values()} == {"passed"}, everything
assert {check for _, check, _ in FAULTS} | {"loading"} == everything.keys()
assert all(c["status"] != "failed" for c in checks(0, faulty).values())
missed = []
for fault, name, part in FAULTS:
    check = checks(1, faulty, "--only", name, "--time-limit", "2" if "hangs" in fault else "60",
                   fault=fault)[name]
    if not any(part in f["seen"] and f["required"] for f in check["faults"]):
        missed.append((fault, name, part, check["faults"]))
assert not missed, missed

# A crash is one failed check among others; what cannot be loaded ends the rest.
some = checks(1, faulty, "--only", "lists", "--only", "seeking", "--only", "ranges",
              fault="crashes at a seek")
assert [c["status"] for c in some.values()] == ["passed", "failed", "failed"], some
found = checks(1, lacking)
assert found["loading"]["faults"][0]["seen"] == "the function SetPosition is missing"
assert {c["status"] for n, c in found.items() if n != "loading"} == {"skipped"}
assert "SetPosition is missing" in run(1, lacking, "--only", "silence")[0]

# Other formats need samples, which stay as they are; what the plug-in does not decode is left out.
other = checks(0, faulty, fault="decodes .oth files")
assert other["seeking"]["remarks"][0].endswith("with --samples"), other
assert other["lists"]["status"] == other["silence"]["status"] == "passed"
os.mkdir("own")
write("own/a.oth", form(b"FORM", b"AIFF", [(b"COMM", common(2, 2000, 16)),
                                         (b"SSND", bytes(8) + os.urandom(8000))]))
write("own/notes.oth", b"no sound")
write("own/b.txt", b"text")
with open("own/huge.oth", "wb") as file:
    file.truncate((64 << 20) + 1)


def state():
    return {entry.name: (entry.stat().st_size, entry.stat().st_mtime_ns)
            for entry in os.scandir("own")}


before = state()
other = checks(0, faulty, "--samples", "own", fault="decodes .oth files")
assert {c["status"] for c in other.values()} == {"passed"}, other
assert other["opening"]["remarks"] == ["notes.oth: Open fails"] and before == state()
text, problems = run(1, faulty, "--samples", "own", "--only", "seeking", "--in-process",
                     fault="seeks past the frame")
assert "FAILED   seeking" in text and "required:  the samples that" in text, text
assert problems == "aiffconv: own/huge.oth: is left out: too large, or one of too many\n"
assert run(0, good, "-q", "--only", "lists")[0] == ""
for arguments in (["none.so"], [good, "--samples", good], [good, "--only", "none"],
                  [good, "--time-limit", "0"]):
    assert run(2, *arguments)[1].startswith("aiffconv: ")
assert subprocess.run([aiffconv, "codecs", "--in-process"], check=False,
                      capture_output=True).returncode == 2

# An interruption ends the check, and leaves nothing.
with subprocess.Popen([aiffconv, "codecs", "--validate", faulty, "--only", "samples"],
                      env=dict(os.environ, FAULT="hangs"), stderr=subprocess.DEVNULL) as process:
    while not any("scratch" in folders for _, folders, _ in os.walk("tmp")):
        time.sleep(0.01)
    process.send_signal(signal.SIGTERM)
    assert process.wait() == 130 and os.listdir("tmp") == []
processes = subprocess.run(["ps", "-eo", "stat,args"], check=True, capture_output=True).stdout
assert not [line for line in processes.decode(errors="replace").splitlines()
            if os.environ["TMPDIR"] in line and not line.startswith("Z")], processes
