#!/usr/bin/env python3
"""Compares two packages (tar.gz or zip) byte by byte and says what differs.

compare_packages.py FIRST SECOND

Names the files that differ, with the first byte that does and the texts that only one of them has. The exit code is 0
when the packages are equal and 1 otherwise.
"""

import hashlib
import re
import sys
import tarfile
import time
import zipfile
from pathlib import Path

MAX_TEXTS = 5


def members(path):
    """The members of an archive in its order: name, attributes, bytes."""
    if zipfile.is_zipfile(path):
        with zipfile.ZipFile(path) as archive:
            return [(entry.filename, {"time": entry.date_time, "permissions": oct(entry.external_attr >> 16),
                                      "extra": entry.extra, "system": entry.create_system}, archive.read(entry))
                    for entry in archive.infolist()]
    with tarfile.open(path) as archive:
        found = []
        for entry in archive:
            stream = archive.extractfile(entry) if entry.isreg() else None
            found.append((entry.name, {
                "time": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(entry.mtime)), "permissions": oct(entry.mode),
                "owner": (entry.uid, entry.gid, entry.uname, entry.gname), "type": entry.type, "link": entry.linkname,
            }, stream.read() if stream else b""))
        return found


def texts(data):
    return set(re.findall(rb"[\x20-\x7e]{6,}", data))


def first_difference(first, second):
    """The place of the first byte that differs."""
    length = min(len(first), len(second))
    if first[:length] == second[:length]:
        return length
    low, high = 0, length
    while high - low > 1:
        middle = (low + high) // 2
        if first[low:middle] == second[low:middle]:
            low = middle
        else:
            high = middle
    return low


def content_difference(first, second):
    lines = [f"byte {first_difference(first, second)}, sizes {len(first)} and {len(second)}"]
    for side, only in (("first", texts(first) - texts(second)), ("second", texts(second) - texts(first))):
        for text in sorted(only)[:MAX_TEXTS]:
            lines.append(f"only in the {side}: {text.decode()[:200]}")
    return lines


def differences(first, second):
    """Lines that say what differs between two archives; none when they are equal."""
    if first.read_bytes() == second.read_bytes():
        return []
    lines = []
    old, new = members(first), members(second)
    names = [[name for name, _, _ in side] for side in (old, new)]
    for side, here, there in (("first", *names), ("second", *reversed(names))):
        lines += [f"{name}: only in the {side}" for name in here if name not in set(there)]
    if not lines and names[0] != names[1]:
        at = next(i for i, pair in enumerate(zip(*names)) if pair[0] != pair[1])
        lines.append(f"the order differs from {names[0][at]} and {names[1][at]} on")
    others = {name: (attributes, data) for name, attributes, data in new}
    for name, attributes, data in old:
        if name not in others:
            continue
        their_attributes, their_data = others[name]
        for key, value in attributes.items():
            if value != their_attributes.get(key):
                lines.append(f"{name}: {key} {value} and {their_attributes.get(key)}")
        if data != their_data:
            lines += [f"{name}: {line}" for line in content_difference(data, their_data)]
    if not lines:
        lines = ["the archive itself: " + line for line in content_difference(first.read_bytes(), second.read_bytes())[:1]]
    return lines


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    first, second = map(Path, sys.argv[1:])
    lines = differences(first, second)
    for line in lines:
        print(line)
    digest = hashlib.sha256(first.read_bytes()).hexdigest()
    print(f"{first.name}: " + ("the packages differ" if lines else f"equal, SHA-256 {digest}"))
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main())
