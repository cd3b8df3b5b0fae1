#!/usr/bin/python3
"""A program that links the core alone loads no library of windows. Usage: test_core_libraries.py PROGRAM..."""
import subprocess
import sys

WANTED = "libQt5Core"
FORBIDDEN = ("libQt5Gui", "libQt5Widgets", "libX11", "libxcb")


def main():
    failed = False
    for program in sys.argv[1:]:
        # ldd follows the libraries of the libraries as well.
        loaded = subprocess.run(["ldd", program], check=True, capture_output=True, text=True).stdout
        wrong = [name for name in FORBIDDEN if name in loaded]
        if wrong or WANTED not in loaded:
            print(f"{program}: loads {', '.join(wrong) or 'no ' + WANTED}", file=sys.stderr)
            failed = True
    sys.exit(failed or len(sys.argv) < 2)


if __name__ == "__main__":
    main()
