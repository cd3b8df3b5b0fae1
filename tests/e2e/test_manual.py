"""Opening the manual: the menu entry and the button open the page beside the program in the desktop's browser."""

import os
from urllib.parse import unquote, urlparse

from analyst import AnalystTest, main
from harness import wait_for


class Manual(AnalystTest):
    def setUp(self):
        super().setUp()
        # A fake browser that records the pages that it should open.
        self.asked = self.folder / "asked"
        commands = self.folder / "commands"
        commands.mkdir()
        opener = commands / "xdg-open"
        opener.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >>"{self.asked}"\n', encoding="ascii")
        opener.chmod(0o755)
        before = os.environ["PATH"]
        self.addCleanup(os.environ.__setitem__, "PATH", before)
        os.environ["PATH"] = f"{commands}:{before}"

    def wait_for_pages(self, number):
        def pages():
            asked = self.asked.read_text(encoding="utf-8").splitlines() if self.asked.exists() else []
            return asked if len(asked) >= number else None
        asked = wait_for(pages, f"page {number} to be asked for")
        self.assertEqual(len(asked), number)
        return [unquote(urlparse(page).path) for page in asked]

    def test_document_opens_the_page_beside_the_program(self):
        page = self.program.parent / "README.html"
        self.assertIn("用户手册", page.read_text(encoding="utf-8"))
        with self.running() as app:
            app.find("Document", role="push button").click()
            self.wait_for_pages(1)
            app.find("帮助(H)", role="menu item").click()
            self.step("menu")
            self.desktop.key("Down", "Down", "Return")
            self.assertEqual(self.wait_for_pages(2), [str(page)] * 2)

            # The browser is also started without the page, and the program shows no message.
            page.unlink()
            app.find("Document", role="push button").click()
            self.wait_for_pages(3)
            self.assertEqual(app.find_all(role="dialog"), [])
            self.assertEqual(app.find_all(role="alert"), [])
            self.leave(app)
        lines = app.log_lines()
        self.check_log_order(lines, [f"document page is :{page}"] * 3)


if __name__ == "__main__":
    main()
