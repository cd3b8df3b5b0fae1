"""Runs a plot script for a plot shell: plot_runner.py SCRIPT [ARGUMENT...].

A dialog that closes ends its shell and all that is in the shell's process group. The script leaves that group, so that
its windows stay until the user closes them, also when the program has gone. In return one that shows no window must
not stay behind: without a shell it ends when it has had its time.
"""

import os
import runpy
import sys
import threading
import time

PATIENCE = 30.0  # seconds in which a plot is drawn, also on a slow machine


def has_window():
    pyplot = sys.modules.get("matplotlib.pyplot")
    numbers = getattr(pyplot, "get_fignums", None)  # absent while the module is being imported
    return bool(numbers and numbers())


def end_without_window(shell, start):
    while not has_window():
        if os.getppid() != shell and time.monotonic() - start > PATIENCE:
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
