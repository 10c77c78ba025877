#!/usr/bin/env python3
"""Holds the includes of src/ against the table of folders in docs/ARCHITECTURE.md.

    check_includes.py PROJECT_FOLDER

A row of the table names a folder and the folders that its files may include, all of which
stand in earlier rows. An entry with an asterisk is not passed on: the folder's sources use
it, but nobody who includes the folder's headers gets to see it. Fails when a file includes
what its row does not name, when a row names what no file includes, when a folder has no row,
and when two files depend on each other (a header and its source count as one).
"""

import os
import re
import sys
from collections import defaultdict
from pathlib import Path

project = Path(sys.argv[1])
source_root = project / "src"
problems = []


def read_table():
    """Folder -> (allowed folders, those not passed on), in the order of the rows."""
    rows = {}
    for line in (project / "docs/ARCHITECTURE.md").read_text().splitlines():
        match = re.match(r"\| `src/([\w/]+)` \|([^|]*)\|", line)
        if not match:
            continue
        entries = re.findall(r"`([\w/]+)`(\*?)", match[2])
        for folder, _ in entries:
            if folder != "include" and folder not in rows:
                problems.append(f"table: {match[1]} names {folder}, which is no earlier row")
        rows[match[1]] = ({f for f, _ in entries}, {f for f, mark in entries if mark})
    return rows


def folder_of(file):
    return os.path.dirname(file) or "include"


rows = read_table()
files = sorted(str(path.relative_to(source_root)) for path in source_root.rglob("*")
               if path.suffix in (".h", ".cpp"))
includes = {file: re.findall(r'^#include "([^"]+)"', (source_root / file).read_text(), re.M)
            for file in files}

used = defaultdict(set)
for file in files:
    folder = folder_of(file)
    if folder not in rows:
        problems.append(f"{file}: the table has no row for its folder")
        continue
    for target in includes[file]:
        if target not in includes and not (project / "include" / target).exists():
            problems.append(f"{file}: {target} is not named from src/ or include/")
        elif folder_of(target) != folder:
            used[folder].add(folder_of(target))
            if folder_of(target) not in rows[folder][0]:
                problems.append(f"{file}: includes {target}, which its row does not name")
for folder, (allowed, _) in rows.items():
    problems += [f"table: nothing in {folder} includes {unused}"
                 for unused in sorted(allowed - used[folder])]


def seen_from(file, seen):
    for target in includes.get(file, []):
        if target not in seen:
            seen.add(target)
            seen_from(target, seen)
    return seen


hidden = {folder: kept for folder, (_, kept) in rows.items() if kept}
for file in files:
    folder = folder_of(file)
    for keeper, kept in hidden.items():
        if keeper in rows.get(folder, (set(), set()))[0]:
            problems += [f"{file}: sees {target} through {keeper}"
                         for target in sorted(seen_from(file, set())) if folder_of(target) in kept]

units = defaultdict(set)
for file in files:
    unit = file.rsplit(".", 1)[0]
    units[unit] |= {target.rsplit(".", 1)[0] for target in includes[file]} - {unit}


def find_cycle(unit, path, done):
    if unit in path:
        problems.append("cycle: " + " -> ".join(path[path.index(unit):] + [unit]))
    elif unit not in done:
        for target in sorted(units[unit]):
            find_cycle(target, path + [unit], done)
        done.add(unit)


finished = set()
for unit in sorted(list(units)):
    find_cycle(unit, [], finished)

print("\n".join(problems) or f"{len(files)} files of {len(rows)} folders include what they may")
sys.exit(1 if problems else 0)
