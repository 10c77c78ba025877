# SPDX-License-Identifier: MIT
"""Where things are, how much to do, and running programs in turns."""
import json
import resource
import shutil
import subprocess
import sys
import time


def run(command, **more):
    """What the command prints; one that fails ends the run."""
    command = [str(word) for word in command]
    done = subprocess.run(command, capture_output=True, text=True, stdin=subprocess.DEVNULL, **more)
    if done.returncode != 0:
        sys.exit(f"bench: {' '.join(command)} failed: {done.stderr.strip()}")
    return done.stdout


def check(right, what):
    if not right:
        sys.exit(f"bench: wrong result: {what}")


def require(programs):
    """Ends the run when one of the programs is missing: a rival that is left out is not beaten."""
    missing = [program for program in programs if shutil.which(program) is None]
    if missing:
        sys.exit(f"bench: missing: {', '.join(missing)}. On Debian, `scripts/setup.sh build test "
                 "ci` installs what is compared; --only measures a part.")


def processor_time():
    """Seconds that finished child processes were busy."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


class Bench:
    def __init__(self, build, folder, quick, repetitions):
        self.build, self.folder, self.quick = build, folder, quick
        self.repetitions = 1 if quick else repetitions
        self.plugin = build / "Codecs/Bin/decoder/AIFF.so"
        self.aiffconv = build / "bin/aiffconv"
        self.codec = [build / "bench/bench_codec", self.plugin]

    def go(self, path, *ways, measured=True, restored=0):
        """With `restored`, as many times the repetitions, of files that are put back each time."""
        program, plugin = self.codec
        repetitions = self.repetitions * (restored or measured)
        return json.loads(run([program, *["--restore"] * (restored > 0), plugin, repetitions,
                               path, *ways]))

    def make(self, megabytes, bits=16, channels=2, little=False):
        """A file of a tone, which the next call replaces."""
        path = self.folder / "sound.aiff"
        run([self.build / "bin/make_aiff", path, "--type", "aifc" if little else "aiff",
             "--bits", bits, "--channels", channels, "--rate", 44100, "--size-mb", megabytes,
             *["--little-endian"] * little])
        return path

    def in_turns(self, commands, rounds=None, clear=lambda: None, verify=lambda *_: None):
        """Seconds, and those on the processor, of each command in each round. Each round starts
        with another command. A round to warm up, not measured, comes first. `clear` precedes
        each command; `verify` gets its name, what it printed, and whether this is the warm-up."""
        names = list(commands)
        done = {name: {"seconds": [], "processor": []} for name in names}
        for number in range((rounds or self.repetitions) + 1):
            first = number % len(names)
            for name in names[first:] + names[:first]:
                clear()
                start, busy = time.perf_counter(), processor_time()
                printed = run(commands[name])
                seconds, worked = time.perf_counter() - start, processor_time() - busy
                verify(name, printed, number == 0)
                if number > 0:
                    done[name]["seconds"].append(seconds)
                    done[name]["processor"].append(worked)
        return done
