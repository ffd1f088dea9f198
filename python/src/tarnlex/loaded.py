"""What a load gives back."""

from dataclasses import dataclass, field


@dataclass(frozen=True)
class Unread:
    """A log, or a folder, that could not be read.

    Attributes:
        path: Which.
        outcome: Why, in the words of the account: "not opened", "no event log" and so on.
        messages: What the program said.
    """

    path: str
    outcome: str
    messages: list[str]


@dataclass
class Loaded:
    """What a load did.

    Attributes:
        logs: How many logs were loaded.
        rows: How many events they had.
        present: How many had been loaded before, and were left as they are.
        replaced: How many of the loaded ones had been loaded before and have changed since.
        unread: What could not be read, of which the events table holds nothing.
    """

    logs: int = 0
    rows: int = 0
    present: int = 0
    replaced: int = 0
    unread: list[Unread] = field(default_factory=list)
