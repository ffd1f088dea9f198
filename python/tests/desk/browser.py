"""A page as a browser has it once its scripts have run."""

import os
import shutil
import subprocess
from html.parser import HTMLParser
from pathlib import Path

import pytest

Attributes = dict[str, str]

#: Elements that have no end.
VOID = {"area", "base", "br", "col", "embed", "hr", "img", "input", "link", "meta", "source", "track", "wbr"}


class Page(HTMLParser):
    """All elements of a page with their attributes and texts, and the rows of its tables by section."""

    def __init__(self, text: str) -> None:
        super().__init__(convert_charrefs=True)
        self.elements: list[tuple[str, Attributes]] = []
        self.tables: dict[str, list[list[str]]] = {}
        self.texts: list[str] = []
        self._open: list[str] = []
        self._section = ""
        self._row: list[str] | None = None
        self.feed(text)

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        attributes = {name: value or "" for name, value in attrs}
        self.elements.append((tag, attributes))
        if tag not in VOID:
            self._open.append(tag)
        if tag == "section":
            self._section = attributes["id"]
        elif tag == "tr":
            self._row = []
        elif tag in ("td", "th") and self._row is not None:
            self._row.append("")

    def handle_endtag(self, tag: str) -> None:
        if tag == "tr" and self._row is not None:
            self.tables.setdefault(self._section, []).append(self._row)
            self._row = None
        while self._open and self._open.pop() != tag:
            pass

    def handle_data(self, data: str) -> None:
        if self._open and self._open[-1] in ("script", "style"):
            return
        self.texts.append(data)
        if self._row and not {"td", "th"}.isdisjoint(self._open):
            self._row[-1] += data

    def named(self, tag: str) -> list[Attributes]:
        return [attributes for name, attributes in self.elements if name == tag]


def chromium() -> str:
    """The browser; tests are skipped without it, but fail where it is required."""
    found = shutil.which("chromium")
    if found is None:
        if os.environ.get("TARNLEX_DESK_TESTS") == "REQUIRED":
            pytest.fail("chromium is not installed")
        pytest.skip("chromium is not installed")
    return found


def opened(path: Path) -> str:
    """What a page has become when all its scripts have run."""
    command = [
        chromium(),
        "--headless=new",
        "--no-sandbox",
        "--disable-gpu",
        "--virtual-time-budget=10000",
        f"--user-data-dir={path.parent / 'profile'}",
        "--dump-dom",
        path.as_uri(),
    ]
    done = subprocess.run(command, capture_output=True, check=True, timeout=120)
    return done.stdout.decode("utf-8")
