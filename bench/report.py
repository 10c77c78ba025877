# SPDX-License-Identifier: MIT
"""Compares the plug-in and aiffconv with their rivals, and writes tables, JSON and an SVG chart.

Run it through bench/run.sh. All rivals work on the same generated files, which lie in
the page cache, in turns; every result is checked, and a wrong one ends the run. A
missed goal is only printed, since a busy machine misses some.
"""
import argparse
import datetime
import json
import os
import pathlib
import platform
import re
import shutil
import subprocess
import tempfile

import chart
import codec
import goals
import programs
import quotes
import stream
import tables
from harness import Bench, require

ROOT = pathlib.Path(__file__).resolve().parents[1]
CONVERTERS = ["sndfile-convert", "sox", "ffmpeg"]
# Each part and the programs that it needs.
PARTS = {codec.decode: [], codec.limits: [],
         codec.opening: ["strace"] * (platform.system() == "Linux"),
         codec.tags: [], codec.growth: [], codec.memory: [],
         programs.convert: ["cp", *CONVERTERS], programs.encode: ["cp", *CONVERTERS],
         programs.tree: ["sox", "ffmpeg"], programs.md5: ["md5sum", "flac"],
         stream.stream: ["nginx", "curl"]}
NAMES = {part.__name__: part for part in PARTS}


def ask(*command):
    """What a program tells, or nothing if it cannot."""
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True,
                              cwd=ROOT).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def processor():
    try:
        found = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
        return found[1] if found else platform.machine()
    except OSError:
        return ask("sysctl", "-n", "machdep.cpu.brand_string") or platform.machine()


def compiler(build):
    found = next(build.glob("CMakeFiles/*/CMakeCXXCompiler.cmake")).read_text()
    return " ".join(re.search(rf'CMAKE_CXX_COMPILER_{what} "(.*)"', found)[1]
                    for what in ("ID", "VERSION"))


def versions():
    """Of the rivals that are there."""
    told = {**{name: ask("pkg-config", "--modversion", package)
               for name, package in (("libsndfile", "sndfile"), ("TagLib", "taglib"))},
            **{name: ask(name, "--version") for name in ("sox", "flac", "curl")},
            "ffmpeg": ask("ffmpeg", "-version")}
    found = {name: re.search(r"\d+(\.\d+)+", text) for name, text in told.items()}
    return ", ".join(f"{name} {version[0]}" for name, version in found.items() if version)


def circumstances(options, folder):
    """When, where and of what the figures are."""
    changed = ask("git", "status", "--porcelain", "--untracked-files=no")
    return {"date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"),
            "commit": (ask("git", "rev-parse", "--short", "HEAD") or "an unknown commit") +
                      (" with changes" if changed else ""),
            "processor": processor(), "cores": os.cpu_count(),
            "system": f"{platform.system()} {platform.release()} on {platform.machine()}",
            "file_system": ask("findmnt", "-no", "FSTYPE", "-T", str(folder)) or "unknown",
            "compiler": compiler(options.build), "versions": versions(),
            "load": os.getloadavg()[0]}


def heading(results):
    at = results["circumstances"]
    return (f"Measured on {at['date']} at {at['commit']}: medians of {results['repetitions']} "
            f"repetitions\nof one run of `bench/run.sh`, which began at a load of {at['load']:.2f}."
            f"\n{at['processor']}, {at['cores']} cores, {at['system']}, "
            f"file system {at['file_system']};\n"
            f"compiler {at['compiler']}; {at['versions']}.")


def between_marks(text, figures):
    """The page with other figures between its marks."""
    start = "<!-- Figures: written by `bench/run.sh --publish` -->\n"
    end = "<!-- End of figures -->"
    before, rest = text.split(start)
    return f"{before}{start}\n{figures}\n\n{end}{rest.split(end)[1]}"


def pages(results):
    """README and docs/BENCHMARKS.md with the figures of this run, by path."""
    short = results["circumstances"]
    readme = (f"Medians of one run on {short['date']} at {short['commit']}, {short['processor']} "
              f"with {short['cores']} cores:\n\n{quotes.table(results)}")
    parts = [heading(results), goals.of(results),
             *(tables.PARTS[name](results[name]) for name in NAMES)]
    figures = {ROOT / "README.md": readme, ROOT / "docs/BENCHMARKS.md": "\n\n".join(parts)}
    return {path: between_marks(path.read_text(), text) for path, text in figures.items()}


def measure(options, folder):
    bench = Bench(options.build, folder, options.quick, options.repetitions)
    results = {"repetitions": bench.repetitions, "circumstances": circumstances(options, folder)}
    if not options.quick:
        print(heading(results))
    for name in options.only or NAMES:
        results[name] = NAMES[name](bench)
        shown = tables.PARTS[name](results[name])
        print(f"{name}: all results are right" if options.quick else f"\n{shown}", flush=True)
    return results


def write(options, results):
    out = options.out or options.build / "bench"
    out.mkdir(parents=True, exist_ok=True)
    (out / "bench.json").write_text(json.dumps(results, indent=1) + "\n")
    (out / "bench.svg").write_text(chart.draw(results))
    judged = goals.of(results)
    print("" if options.quick else f"\n{judged}\n")
    print(f"Wrote {out / 'bench.json'} and {out / 'bench.svg'}")
    if options.only:
        return
    for path, text in pages(results).items():
        if options.publish:
            path.write_text(text)
            print(f"Wrote the figures in {path}")
    if options.publish:
        shutil.copy(out / "bench.svg", ROOT / "docs/benchmark.svg")


def main():
    parser = argparse.ArgumentParser(prog="bench/run.sh", description=__doc__)
    parser.add_argument("--build", required=True, type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true",
                        help="small files, one repetition: checks the results, measures nothing")
    parser.add_argument("--repetitions", type=int, default=9)
    parser.add_argument("--only", choices=NAMES, action="append", help="one part; repeatable")
    parser.add_argument("--publish", action="store_true",
                        help="write the figures into README.md and docs/, too")
    parser.add_argument("--out", type=pathlib.Path,
                        help="folder of bench.json and bench.svg; default: the build folder")
    parser.add_argument("--dir", help="folder for the generated files, with 2 GB of room")
    parser.add_argument("--keep", action="store_true", help="leave the generated files")
    options = parser.parse_args()
    if options.repetitions < 1:
        parser.error("--repetitions must be at least 1")
    if options.publish and (options.quick or options.only):
        parser.error("--publish needs a whole run, without --quick and --only")
    os.environ["PATH"] += ":/usr/sbin"  # nginx is there
    require(sorted({program for name in options.only or NAMES
                    for program in PARTS[NAMES[name]]}))
    folder = pathlib.Path(tempfile.mkdtemp(prefix="aiff-bench-", dir=options.dir)).resolve()
    os.environ["QVCODECPATH"] = str(options.build)
    try:
        write(options, measure(options, folder))
    finally:
        if options.keep:
            print(f"Files kept in {folder}")
        else:
            shutil.rmtree(folder)


if __name__ == "__main__":
    main()
