#!/usr/bin/env python3
"""Packs the Python package with the library into a wheel, by the standard library alone and without a network.

make_wheel.py --version 2.3.2 --platform linux_x86_64 --output FOLDER --add FILE=NAME...: NAME is the place inside the
package ostravel, such as libostravel.so.1. The same input gives the same bytes; SOURCE_DATE_EPOCH sets the time.
"""

import argparse
import base64
import hashlib
import os
import time
import zipfile
from pathlib import Path

HERE = Path(__file__).resolve().parent

METADATA = """Metadata-Version: 2.1
Name: ostravel
Version: {version}
Summary: Recorded flights of the Ostravel downlink as NumPy arrays
License: GPL-3.0
Requires-Python: >=3.8
Requires-Dist: numpy
Provides-Extra: tables
Requires-Dist: pandas ; extra == 'tables'
Provides-Extra: parquet
Requires-Dist: pyarrow ; extra == 'parquet'
Provides-Extra: cluster
Requires-Dist: distributed ; extra == 'cluster'
Description-Content-Type: text/markdown

{description}"""

WHEEL = """Wheel-Version: 1.0
Generator: ostravel
Root-Is-Purelib: false
Tag: py3-none-{platform}
"""


def record_line(name, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{name},sha256={digest},{len(data)}\n"


def contents(version, platform, added):
    """Names inside the wheel with their bytes."""
    files = {}
    for path in sorted((HERE / "ostravel").rglob("*")):
        if path.suffix == ".py" or path.name == "py.typed":
            files[path.relative_to(HERE).as_posix()] = path.read_bytes()
    for item in added:
        source, name = item.rsplit("=", 1)
        files[f"ostravel/{name}"] = Path(source).read_bytes()
    readme = (HERE / "README.md").read_text(encoding="utf-8")
    files["ostravel/README.md"] = readme.encode()
    info = f"ostravel-{version}.dist-info"
    files[f"{info}/METADATA"] = METADATA.format(version=version, description=readme).encode()
    files[f"{info}/WHEEL"] = WHEEL.format(platform=platform).encode()
    files[f"{info}/LICENSE"] = (HERE.parent / "LICENSE").read_bytes()
    record = "".join(record_line(name, data) for name, data in files.items()) + f"{info}/RECORD,,\n"
    files[f"{info}/RECORD"] = record.encode()
    return files


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--version", required=True)
    parser.add_argument("--platform", required=True)
    parser.add_argument("--output", type=Path, required=True)
    parser.add_argument("--add", action="append", default=[], metavar="FILE=NAME")
    arguments = parser.parse_args()

    stamp = time.gmtime(max(int(os.environ.get("SOURCE_DATE_EPOCH", 315532800)), 315532800))  # a zip begins in 1980
    arguments.output.mkdir(parents=True, exist_ok=True)
    wheel = arguments.output / f"ostravel-{arguments.version}-py3-none-{arguments.platform}.whl"
    part = wheel.with_suffix(".part")
    with zipfile.ZipFile(part, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name, data in contents(arguments.version, arguments.platform, arguments.add).items():
            entry = zipfile.ZipInfo(name, stamp[:6])
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o755 if ".so" in name or name.endswith(".dll") else 0o644) << 16
            archive.writestr(entry, data)
    os.replace(part, wheel)
    print(wheel)


if __name__ == "__main__":
    main()
