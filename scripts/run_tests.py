#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the tests of a preset and names those that were skipped:

    scripts/run_tests.py PRESET [ARGUMENT OF CTEST...]

It fails when a test fails, when there are no tests, and when a test was skipped for a reason that
AIFF_REQUIRE rules out. That is a list of words: "tools" (programs and modules that judge results)
and "corpus" (real files; also ruled out where AIFF_CORPUS names them)."""
import os
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as xml

REASONS = {"tools": "is not installed", "corpus": "no folder of real files"}

required = set(os.environ.get("AIFF_REQUIRE", "").replace(",", " ").split())
if os.environ.get("AIFF_CORPUS"):
    required.add("corpus")
if required - REASONS.keys():
    sys.exit(f"AIFF_REQUIRE knows only: {' '.join(REASONS)}")
if len(sys.argv) < 2:
    sys.exit(__doc__)

with tempfile.TemporaryDirectory() as folder:
    report = os.path.join(folder, "tests.xml")
    code = subprocess.run(["ctest", "--preset", sys.argv[1], "--no-tests=error", "--output-junit",
                           report, *sys.argv[2:]], check=False).returncode
    tests = list(xml.parse(report).iter("testcase")) if os.path.exists(report) else []

skipped = [test for test in tests if test.get("status") == "notrun"]
print(f"{len(tests)} tests, {len(skipped)} skipped")
missing = False
for test in skipped:
    said = test.findtext("system-out", "")
    lacks = [word for word, text in REASONS.items() if text in said and word in required]
    missing = missing or bool(lacks)
    lines = [line for line in said.splitlines() if line and not line.startswith(("[", "Running",
             "Note:")) and not line.endswith("Skipped")]
    print(f"  {test.get('name')}: {lines[-1].strip() if lines else 'no reason given'}"
          + (f" (AIFF_REQUIRE: {' '.join(lacks)})" if lacks else ""))
if not tests:
    print("No test was run.")
sys.exit(code or (1 if missing or not tests else 0))
