# SPDX-License-Identifier: MIT
"""Prints what mutagen reads in AIFF files, a line for each: title, artists, type and bytes
of the cover, and whether there is a frame that no field represents."""
import sys

import mutagen.aiff

for path in sys.argv[1:]:
    tags = mutagen.aiff.AIFF(path).tags or {}
    texts = ["+".join(tags[name].text) if name in tags else "none" for name in ("TIT2", "TPE1")]
    pictures = [frame for name, frame in tags.items() if name.startswith("APIC")]
    covers = [f"{frame.mime}:{len(frame.data)}" for frame in pictures if frame.type == 3]
    foreign = any(name.startswith("GEOB") for name in tags)
    print(*texts, "+".join(covers) or "none", "foreign" if foreign else "own")
