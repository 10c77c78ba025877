# SPDX-License-Identifier: MIT
"""Folders as inputs: which files are found, where outputs go, and what is refused.

usage: folders_test.py AIFFCONV CODECS"""
import json
import os
import subprocess


from harness import common, form, run, write

AIFF = form(b"FORM", b"AIFF", [(b"COMM", common(1, 100, 16)), (b"SSND", bytes(8) + b"ab" * 100)])


def tree(names):
    for name in names:
        os.makedirs(os.path.dirname(name) or ".", exist_ok=True)
        write(name, AIFF)


def below(folder):
    """All that is in a folder, without the folders that something is in."""
    return sorted(os.path.relpath(os.path.join(path, name), folder)
                  for path, folders, files in os.walk(folder)
                  for name in files or ([""] if not folders else []))


SONGS = ["A-1/x.AIF", "A/Disc 1/x.aif", "A/Disc 1/y.aiff", "A/x.aif", "B/._true.aif", "B/x.aifc",
         "z.aif"]  # in the byte order of their paths
tree("lib/" + name for name in SONGS)
for name in ("B/notes.txt", "B/._x.aif", "B/.aif", "B/.Trash-1000/old.aif", "lost+found/x.aif"):
    tree(["lib/" + name])
write("lib/B/._x.aif", b"\0\5\x16\7" + bytes(99))
os.symlink("..", "lib/A/circle")
os.symlink("../../more", "lib/B/link")  # to another folder, which leads back
os.symlink("../../single.aif", "lib/B/file.aif")
tree(["more/in/m.aif", "single.aif"])
os.symlink("../lib", "more/back")
FOUND = sorted([*SONGS, "B/file.aif", "B/link/in/m.aif"])
WAVS = sorted(os.path.splitext(name)[0] + ".wav" for name in FOUND)

# Every command finds the same files in the same order, and says so of each once.
found = ["lib/" + name for name in FOUND]
lines = run(0, "check", "lib")[0].splitlines()
assert lines == [name + ": clean" for name in found], lines
for command in (["tags", "set", "lib", "Title=x"], ["tags", "remove", "lib/", "Title"],
                ["tags", "copy", "single.aif", "lib"], ["tags", "clear", "lib", "-j1"]):
    if command[1] == "copy":
        run(0, "tags", "set", "single.aif", "Title=y")
    lines = run(0, *command)[0].splitlines()
    assert [line.split(": ")[0] for line in lines] == found, lines
for command in (["tags", "show"], ["info"]):
    shown = json.loads(run(0, *command, "lib", "--json")[0])
    assert [one["file"] for one in shown] == found, shown

# The tree is kept, whatever the number of jobs; results come in the order of the inputs.
logs = []
for jobs in "13":
    out = run(0, "convert", "lib", "-o", "new/wav" + jobs, "-j", jobs, "--json")[0]
    assert below("new/wav" + jobs) == WAVS, below("new/wav" + jobs)
    logs.append([json.loads(line)["input"] for line in out.splitlines()])
assert logs == [found, found], logs
assert subprocess.run(["diff", "-r", "new/wav1", "new/wav3"], check=False).returncode == 0
skipped = run(0, "convert", "lib", "-o", "new/wav1", "--skip-existing")[1]
assert "9 of 9" not in skipped and "9 skipped" in skipped, skipped

# encode reads other formats as well; where its outputs go is no input the second time.
for again in ([], ["--skip-existing"]):
    said = run(0, "encode", "new", "-o", "new/aiff", *again)[1]
    assert ("new/aiff/: is left out" in said) == bool(again), said
assert len(below("new/aiff")) == 2 * len(WAVS) and below("new/aiff")[0] == "wav1/A-1/x.aiff"
run(0, "convert", "lib/B", "-o", "lib/B")  # beside the inputs
assert "link/in/m.wav" not in below("lib/B") and os.path.exists("more/in/m.wav")
png = write("front.png", b"\x89PNG\r\n\x1a\n" + bytes(99))
run(0, "tags", "art", "set", "lib/A/Disc 1", "front.png")
run(0, "tags", "art", "export", "lib", "single.aif", "-o", "art")
assert below("art") == ["A/Disc 1/x/1-front.png", "A/Disc 1/y/1-front.png"], below("art")

# What goes wrong is said, and leaves no folder in which there is nothing.
os.makedirs("bad/none/deep")
os.makedirs("bad/one")
write("bad/one/x.aif", b"no sound at all")
os.mkfifo("bad/one/y.aif")
for command in (["check"], ["convert", "-o", "out"], ["tags", "show"], ["tags", "clear"]):
    said = run(1, *command, "bad/none", "bad/one")[1]
    for part in ("bad/none: is a folder without files that could be read (.aif, .aifc, .aiff)",
                 "bad/one/x.aif: ", "bad/one/y.aif: is a pipe"):
        assert part in said, (command, said)
assert not os.path.exists("out")
if os.geteuid() != 0:
    os.mkdir("bad/locked", 0)
    for command in (["check"], ["encode", "-o", "out"], ["tags", "clear"]):
        assert "bad/locked/: cannot be read as a folder" in run(1, *command, "bad")[1]
    os.chmod("bad/locked", 0o700)

# Two inputs for one output: nothing is written.
tree(["two/a/Song.aif", "two/a/song.aiff", "two/b/x.aif", "twice/Song.aif", "twice/Song.AIFF",
      "own/x.aiff"])
assert len(below("two")) == 3
run(0, "convert", "two", "-o", "cases")  # here, names that differ by case are two names
assert below("cases") == ["a/Song.wav", "a/song.wav", "b/x.wav"]
for inputs, one, other in [
        (["twice"], "twice/Song.AIFF", "twice/Song.aif"),
        (["two/b", "two/b/x.aif"], "two/b/x.aif", "two/b/x.aif"),
        (["two/b", "lib/A"], "two/b/x.aif", "lib/A/x.aif")]:
    said = run(2, "convert", *inputs, "-o", "nowhere")[1]
    assert one + "' and '" in said and other + "' would both be written to 'nowhere/" in said, said
    assert not os.path.exists("nowhere")
assert "must be written to a folder" in run(2, "convert", "two/b", "-o", "-")[1]
assert "is one of the inputs" in run(2, "encode", "own", "-o", "own", "--overwrite")[1]

