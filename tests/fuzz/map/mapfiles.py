"""The map page's file reading against generated and damaged files, in a real browser.

With --minutes it runs seed after seed and stores the file of each finding; without, it is the test that replays the
committed files and a fixed range of seeds.
"""

import argparse
import base64
import queue
import sys
import time
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "Map"))

from browser import Browser, PageError, wait_for  # noqa: E402

SCRIPTS = ("random.js", "files.js", "damage.js", "check.js")
SEEDS = HERE.parent / "seeds" / "mapfiles"
AT_ONCE = 10
FIXED_SEEDS = 300
SEEDS_PER_PAGE = 2000
MAX_FINDINGS = 20

options = None


class Page:
    """The page with its tools open and the checks loaded. A context manager."""

    def __enter__(self):
        self.browser = Browser(1000, 700).__enter__()
        self.open()
        return self

    def __exit__(self, *_):
        self.browser.__exit__(*_)

    def open(self):
        self.browser.open(options.page)
        wait_for(lambda: self.browser.run("Boolean(window.ostravelMap)"), "the map")
        self.browser.run("ostravelMap.map.options.zoomAnimation = false; document.querySelector('.tool-button').click()")
        wait_for(lambda: self.browser.run("Boolean(ostravelMap.tools && document.body.className)"), "the panel")
        for name in SCRIPTS:
            self.browser.run((HERE / name).read_text(encoding="utf-8"))

    def check(self, path):
        data = base64.b64encode(path.read_bytes()).decode()
        return self.browser.run(f"mapFuzz.checkBase64({path.name!r}, {data!r})")

    def check_seeds(self, first, count):
        return self.browser.run(f"mapFuzz.run({first}, {count})")

    def file_of(self, seed):
        file = self.browser.run(f"mapFuzz.file({seed})")
        return file["name"], base64.b64decode(file["base64"])


class Fuzzer:
    """Runs seeds until the time is over. A page that does not answer is a finding, too."""

    def __init__(self, first, seconds):
        self.seed = first
        self.end = time.monotonic() + seconds
        self.runs = self.accepted = 0
        self.findings = []

    def run(self):
        while time.monotonic() < self.end and len(self.findings) < MAX_FINDINGS:
            with Page() as page:
                self._on(page)

    def _on(self, page):
        last = self.seed + SEEDS_PER_PAGE
        count = AT_ONCE
        while self.seed < last and time.monotonic() < self.end and len(self.findings) < MAX_FINDINGS:
            try:
                result = page.check_seeds(self.seed, count)
            except (queue.Empty, PageError) as error:
                return self._broken(error)
            done = result["accepted"] + result["refused"]
            self.runs += done
            self.accepted += result["accepted"]
            self.seed += done
            if result["words"]:
                self._found(page, result["words"])

    def _broken(self, error):
        """The page hangs or its script broke off: looks for the seed one by one, each in a page of its own.

        When each of them passes alone, the machine was only slow.
        """
        for self.seed in range(self.seed, self.seed + AT_ONCE):
            with Page() as page:
                try:
                    words = page.check_seeds(self.seed, 1)["words"]
                except (queue.Empty, PageError):
                    words = "the page does not answer"
            if words:
                with Page() as page:
                    return self._found(page, words)
        print(f"No answer in time up to seed {self.seed}, but each seed passes alone: {error!r}", flush=True)
        self.seed += 1

    def _found(self, page, words):
        name, data = page.file_of(self.seed)
        options.findings.mkdir(parents=True, exist_ok=True)
        path = options.findings / f"seed-{self.seed}-{name}"
        path.write_bytes(data)
        self.findings.append((self.seed, words))
        print(f"Finding: seed {self.seed}, {len(data)} bytes in {path}: {words[:600]}", flush=True)
        self.runs += 1
        self.seed += 1


def fuzz():
    fuzzer = Fuzzer(options.first, options.minutes * 60)
    print(f"Seeds from {options.first}", flush=True)
    fuzzer.run()
    print(f"Done {fuzzer.runs} runs, {fuzzer.accepted} of the files accepted, {len(fuzzer.findings)} findings")
    return 1 if fuzzer.findings else 0


class MapFiles(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.page = cls.enterClassContext(Page())

    def test_committed_file_keeps_every_promise(self):
        paths = sorted(SEEDS.iterdir())
        self.assertGreaterEqual(len(paths), 5)
        for path in paths:
            with self.subTest(path.name):
                self.assertEqual(self.page.check(path), "")

    def test_fixed_seeds_keep_every_promise(self):
        accepted = refused = 0
        for first in range(1, FIXED_SEEDS, AT_ONCE):
            result = self.page.check_seeds(first, AT_ONCE)
            self.assertEqual((result["seed"], result["words"]), (-1, ""))
            accepted += result["accepted"]
            refused += result["refused"]
        # The checks are not idle: many of the files are shown, many are refused.
        self.assertGreater(accepted, FIXED_SEEDS // 4)
        self.assertGreater(refused, FIXED_SEEDS // 4)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--page", type=Path, required=True, help="demo.html as it is laid beside the program")
    parser.add_argument("--minutes", type=float, help="run seeds for this time instead of the test")
    parser.add_argument("--first", type=int, default=int(time.time()) % 1000000 * 1000 + 1000000, help="first seed")
    parser.add_argument("--findings", type=Path, default=Path("findings"), help="folder for the files of findings")
    global options
    options, rest = parser.parse_known_args()
    options.page = options.page.resolve()
    if options.minutes:
        sys.exit(fuzz())
    unittest.main("__main__", argv=sys.argv[:1] + rest)


if __name__ == "__main__":
    main()
