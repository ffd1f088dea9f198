"""How far a load is."""

import io

import pytest

from tarnlex import progress


class Terminal(io.StringIO):
    """Standard error of somebody who sits before it."""

    def isatty(self) -> bool:
        """Says so."""
        return True


def test_an_error_below_the_bar_is_told_as_it_is(monkeypatch: pytest.MonkeyPatch) -> None:
    """A module that a load lacks is no missing bar."""
    monkeypatch.setattr("sys.stderr", Terminal())
    with pytest.raises(ImportError, match="polars"), progress.bar(10, shown=True):
        msg = "No module named polars"
        raise ImportError(msg)


def test_a_bar_is_drawn_on_a_terminal_only(monkeypatch: pytest.MonkeyPatch) -> None:
    """What is written to a file is not drawn over."""
    pytest.importorskip("rich")
    for error, drawn in ((Terminal(), True), (io.StringIO(), False)):
        monkeypatch.setattr("sys.stderr", error)
        with progress.bar(10, shown=True) as done:
            done(10)
        assert bool(error.getvalue()) == drawn
