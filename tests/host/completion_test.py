# SPDX-License-Identifier: MIT
"""What bash, zsh and fish offer at places of aiffconv's command line; a shell that is missing is
skipped.

usage: completion_test.py AIFFCONV CODECS"""
import os
import pty
import re
import select
import shlex
import shutil
import subprocess
import sys

from harness import aiffconv, run, write

DRIVERS = {}
os.environ["PATH"] = os.path.dirname(aiffconv) + ":" + os.environ["PATH"]
os.environ["HOME"] = os.getcwd()


def section(name, text):
    """The first words of the entries of a section of a help."""
    found = re.search(rf"^{name}:\n(.*?)\n(\n|\Z)", text, re.M | re.S)
    return re.findall(r"^  (\S+)", found[1], re.M) if found else []


def driver(shell):
    return lambda function: DRIVERS.update({shell: function})


@driver("bash")
def bash(lines):
    """The candidates of each line, as the completion function gives them."""
    script = "eval \"$(aiffconv completion bash)\"\n"
    for line in lines:
        words = [part for word in line.split(" ") for part in re.split("([=:])", word)
                 if part or not word]
        words += [""] if line.endswith("=") else []
        script += f"COMP_WORDS=({' '.join(map(shlex.quote, words))})\n" \
            f"COMP_CWORD={len(words) - 1} && _aiffconv 2>/dev/null\n" \
            "printf '%s\\n' \"${COMPREPLY[@]}\" ---\n"
    out = subprocess.run(["bash", "-c", script], capture_output=True, check=True).stdout.decode()
    return [block.splitlines() for block in out.split("---\n")][:-1]


@driver("fish")
def fish(lines):
    script = "aiffconv completion fish | source\n" + "".join(
        f"complete -C {shlex.quote(line)}; echo ---\n" for line in lines)
    out = subprocess.run(["fish", "-c", script], capture_output=True, check=True).stdout.decode()
    return [re.findall("^([^\t\n]+)", block, re.M) for block in out.split("---\n")][:-1]


def typed(command, keys, end):
    """What a program says at a terminal when keys are typed, until a text has come."""
    child, terminal = pty.fork()
    if child == 0:
        os.execvp(command[0], command)
    os.write(terminal, keys.encode())
    out = ""
    while end not in out:
        assert select.select([terminal], [], [], 30)[0], out
        out += os.read(terminal, 65536).decode(errors="replace")
    os.write(terminal, b"\x03\x15exit\n")
    os.close(terminal)
    os.waitpid(child, 0)
    return out


@driver("zsh")
def zsh(lines):
    """A widget puts each line into the editor and lists what completion offers."""
    write("lines", "".join(line + "\n" for line in lines).encode())
    write(".zshrc", b"""autoload -U compinit && compinit -D -u
        eval "$(aiffconv completion zsh)"
        compadd() {
            local -a offered
            builtin compadd -O offered "$@"
            (( $+offered[1] )) && print -rl -- "${(@)offered}" >>found
            builtin compadd "$@"
        }
        walk() {
            local line
            for line in "${(@f)$(<lines)}"; do
                BUFFER=$line CURSOR=$#line
                zle list-choices
                print -- --- >>found
            done
            BUFFER= ; print all done
        }
        zle -N walk && bindkey '^X' walk
        print ready""")
    os.environ["ZDOTDIR"] = os.getcwd()
    write("found", b"")
    typed(["zsh", "-i"], "\x18", "all done")
    blocks = open("found", encoding="utf-8").read().split("---\n")
    return [block.splitlines() for block in blocks][:-1]


for name in ("One song.AIFF", "two.flac", "three.so", "four.png", "five.txt"):
    write(name, b"")
os.mkdir("folder")

# What must be offered, beside what must not be: of files, those with the endings.
CASES = [
    ("aiffconv convert --format ", {"wav", "flac"}, {"mp3"}),
    ("aiffconv --trace d", {"debug"}, {"wav"}),
    ("aiffconv convert x.aiff --trace=inf", {"info", "info="}, {"wav"}),
    ("aiffconv tags art set --type=lead", {"lead-artist"}, {"front"}),
    ("aiffconv codecs --validate x.so --only load", {"loading"}, {"front"}),
    ("aiffconv tags set x.aiff B", {"BPM="}, {"Title="}),
    ("aiffconv tags remove x.aiff --name Album", {"Album", "Album Artist"}, {"BPM"}),
    ("aiffconv completion ", {"bash", "zsh", "fish"}, {"front"}),
    ("aiffconv tags art ", {"export", "set"}, {"show"}),
    ("aiffconv --trace debug tags sh", {"show"}, {"set"}),
    ("aiffconv convert --skip-existing --", {"--verify"}, {"--overwrite", "--skip-existing"}),
    ("aiffconv convert On", {"One song.AIFF"}, set()),
    ("aiffconv convert -qo x -- f", {"folder"}, {"four.png", "five.txt", "--format"}),
    ("aiffconv encode -q t", {"two.flac"}, {"three.so"}),
    ("aiffconv tags art set x.aiff f", {"folder", "four.png"}, {"five.txt"}),
    ("aiffconv codecs --validate t", {"three.so"}, {"two.flac"}),
    ("aiffconv codecs --validate x.so --samples f", {"folder"}, {"four.png", "five.txt"}),
    ("aiffconv convert --output=f", {"folder"}, {"five.txt"}),
]


def helped(path):
    """A case of every command: all that its help lists."""
    text = run(0, *path, "--help")[0]
    options = {name for entry in section("Options", text) for name in entry.split(",")}
    commands = section("Subcommands", text)
    assert len(options) >= 2 and (commands or path), text
    line = " ".join(["aiffconv", *path])
    CASES.append((line + " -", options, set(commands)))
    if commands:
        CASES.append((line + " ", set(commands), options))
    for command in commands:
        helped([*path, command])


helped([])
assert len(CASES) > 35, CASES
ran = 0
for shell, candidates in DRIVERS.items():
    if not shutil.which(shell):
        print(shell, "is not installed, and so not tried")
        continue
    ran += 1
    found = candidates([line for line, _, _ in CASES])
    assert len(found) == len(CASES), (shell, found)
    for (line, offered, others), words in zip(CASES, found):
        # zsh and fish give words as a whole, bash the part after the last "=".
        words = {re.sub("^--[^=]*=", "", word).replace("\\", "").rstrip("/") for word in words}
        assert offered <= words and not others & words, (shell, line, offered - words, words)
if shutil.which("bash"):  # as a person types it; the line is shown instead of run
    write(".bashrc", b'eval "$(aiffconv completion bash)"; bind "set enable-bracketed-paste off"')
    out = typed(["bash", "--rcfile", ".bashrc", "-i"], "aiffconv conv\tOn\t--js\t--trace=inf\t"
                "\x01printf '<%s>' \n", "<--trace=info")
    assert "<aiffconv><convert><One song.AIFF><--json><--trace=info" in out, out
sys.exit(0 if ran else 77)
