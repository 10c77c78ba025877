#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the includes of src/ of PROJECT_FOLDER against the table in docs/ARCHITECTURE.md: a file
includes what its row names, of earlier rows; folders with an asterisk are not passed on to those
who include the row's headers; nothing is named in vain; no two files depend on each other (a
header and its source count as one)."""

import graphlib
import os
import re
import sys
from collections import defaultdict
from pathlib import Path

project = Path(sys.argv[1])
source_root = project / "src"
problems = []


def folder_of(file):
    return os.path.dirname(file) or "include"


rows = {}  # folder -> (allowed folders, those not passed on)
table = (project / "docs/ARCHITECTURE.md").read_text()
for row, cells in re.findall(r"^\| `src/([\w/]+)` \|([^|]*)\|", table, re.M):
    entries = re.findall(r"`([\w/]+)`(\*?)", cells)
    problems += [f"table: {row} names {folder}, which is no earlier row"
                 for folder, _ in entries if folder != "include" and folder not in rows]
    rows[row] = ({f for f, _ in entries}, {f for f, mark in entries if mark})
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


for file in files:
    named = rows.get(folder_of(file), (set(), set()))[0]
    for keeper in named & rows.keys():
        problems += [f"{file}: sees {target} through {keeper}"
                     for target in seen_from(file, set())
                     if folder_of(target) in rows[keeper][1] - named]

units = defaultdict(set)
for file in files:
    unit = file.rsplit(".", 1)[0]
    units[unit] |= {target.rsplit(".", 1)[0] for target in includes[file]} - {unit}


try:
    graphlib.TopologicalSorter(units).prepare()
except graphlib.CycleError as error:
    problems.append("cycle: " + " -> ".join(error.args[1]))

print("\n".join(problems) or f"{len(files)} files of {len(rows)} folders include what they may")
sys.exit(1 if problems else 0)
