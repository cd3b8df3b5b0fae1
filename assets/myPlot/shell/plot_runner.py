"""Runs a plot script for a plot shell: plot_runner.py SCRIPT [ARGUMENT...].

When a dialog is closed, it kills its shell and the shell's process group. The script leaves that group, so that its
windows stay open until the user closes them, even after the program has ended. A script without a window must not keep
running: when its shell has ended, it exits after a timeout.
"""

import os
import runpy
import sys
import threading
import time

TIMEOUT = 30.0  # seconds; enough to draw a plot on a slow machine


def has_window():
    pyplot = sys.modules.get("matplotlib.pyplot")
    numbers = getattr(pyplot, "get_fignums", None)  # missing while the module is being imported
    return bool(numbers and numbers())


def end_without_window(shell, start):
    while not has_window():
        if os.getppid() != shell and time.monotonic() - start > TIMEOUT:
            os._exit(1)
        time.sleep(0.5)


def main():
    shell = os.getppid()
    start = time.monotonic()
    os.setpgid(0, 0)
    threading.Thread(target=end_without_window, args=(shell, start), daemon=True).start()
    if len(sys.argv) < 2 or not os.path.isfile(sys.argv[1]):
        name = sys.argv[1] if len(sys.argv) > 1 else ""
        sys.exit(f"python: can't open file '{name}': [Errno 2] No such file or directory")
    sys.argv = sys.argv[1:]
    sys.path[0] = os.path.dirname(os.path.abspath(sys.argv[0]))
    runpy.run_path(sys.argv[0], run_name="__main__")


main()
