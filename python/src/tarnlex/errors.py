"""What can go wrong, all of it below one class."""

from collections.abc import Sequence


class TarnlexError(Exception):
    """Whatever this package raises by itself."""


class OptionError(TarnlexError, TypeError):
    """An option that the program does not have, or does not take as it was given."""


class PathError(TarnlexError, OSError):
    """A path that leads nowhere, or that cannot be handed to the program."""


class ProgramError(TarnlexError):
    """The program itself cannot be found or started."""


class RunError(TarnlexError):
    """A run that failed, or that could not read what it was asked to read.

    Attributes:
        exit: The program's exit code; negative: the number of the signal that ended it.
        messages: What the program said on standard error, a line each.
    """

    def __init__(self, exit_code: int, messages: Sequence[str]) -> None:
        self.exit = exit_code
        self.messages = list(messages)
        how = f"was ended by signal {-exit_code}" if exit_code < 0 else f"ended with {exit_code}"
        super().__init__("; ".join(self.messages) or f"the program {how} and said nothing")

    def __reduce__(self) -> tuple[type["RunError"], tuple[int, list[str]]]:
        """Errors travel between processes."""
        return type(self), (self.exit, self.messages)


class NoLogsError(TarnlexError):
    """There is no event log where logs were looked for."""


class SchemaError(TarnlexError):
    """A table of that name exists and is not one that events can be loaded into."""


class LoadError(TarnlexError):
    """The database or the scratch folder does not take what is written; what was loaded before stays."""
