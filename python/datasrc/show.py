"""Small tables for people, as text and in HTML."""

from __future__ import annotations

import html
from collections.abc import Iterable, Sequence

MOST_ROWS = 60
_MOST_CHARACTERS = 48


def _cell(text: str) -> str:
    line = " ".join(text.split())
    return line if len(line) <= _MOST_CHARACTERS else line[: _MOST_CHARACTERS - 1] + "\u2026"


def text_table(rows: Iterable[Sequence[str]]) -> str:
    """Lines of columns that are as wide as their widest cell."""
    cells = [[_cell(text) for text in row] for row in rows]
    widths = [max(map(len, column)) for column in zip(*cells)]
    return "\n".join("  ".join(text.ljust(width) for text, width in zip(row, widths)).rstrip() for row in cells)


def html_table(head: Sequence[str], rows: Iterable[Sequence[str]]) -> str:
    """A table whose texts are escaped."""
    def line(tag: str, row: Sequence[str]) -> str:
        return "<tr>" + "".join(f"<{tag}>{html.escape(_cell(text))}</{tag}>" for text in row) + "</tr>"

    return "<table>" + line("th", head) + "".join(line("td", row) for row in rows) + "</table>"


def more(count: int) -> str:
    return f"\n... and {count} more" if count > 0 else ""
