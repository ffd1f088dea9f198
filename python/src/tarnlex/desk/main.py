"""The command `tarnlex-desk`."""

import argparse
import importlib
import io
import os
import signal
import sys
from collections.abc import Sequence
from typing import NoReturn

from tarnlex.desk import stop
from tarnlex.errors import TarnlexError

EPILOG = """exit code: 0 all was done; 1 it was not, and a message on standard error says why; 2 it was,
but not with all of it: logs that could not be read, rules that could not be run"""


class _Parser(argparse.ArgumentParser):
    """Ends with 1, as 2 says that something was done."""

    def error(self, message: str) -> NoReturn:
        self.print_usage(sys.stderr)
        self.exit(1, f"{self.prog}: {message}\n")


def _parser() -> argparse.ArgumentParser:
    parser = _Parser(
        prog="tarnlex-desk",
        description="Event logs as a case: a database, SQL, Sigma, a page.",
        epilog=EPILOG,
    )
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    load = commands.add_parser("load", help="all event logs below folders into a case", epilog=EPILOG)
    load.add_argument("case", metavar="CASE.duckdb", help="the database; made if there is none")
    load.add_argument("paths", metavar="FOLDER", nargs="+", help="a folder, or a log")
    load.add_argument("--recover", action="store_true", help="deleted records too")
    load.add_argument(
        "--workers", type=_number, help="how many logs are read at once (as many as processors)"
    )
    sql = commands.add_parser("sql", help="asks a case in SQL; cannot change it", epilog=EPILOG)
    sql.add_argument("case", metavar="CASE")
    sql.add_argument("query", metavar="QUERY", help='as "SELECT EventID, count(*) FROM events GROUP BY ALL"')
    sigma = commands.add_parser("sigma", help="runs Sigma rules over a case", epilog=EPILOG)
    sigma.add_argument("case", metavar="CASE")
    sigma.add_argument(
        "rules", metavar="RULES", nargs="+", help="a rule, or a folder of rules (*.yml, *.yaml)"
    )
    overview = commands.add_parser(
        "overview", help="a page that shows a case, for any browser", epilog=EPILOG
    )
    overview.add_argument("case", metavar="CASE")
    overview.add_argument("page", metavar="OUT.html")
    overview.add_argument("--title", help="what stands at the top (the name of the case)")
    export = commands.add_parser("export", help="a case for other tools", epilog=EPILOG)
    export.add_argument("case", metavar="CASE")
    export.add_argument(
        "--timesketch", metavar="OUT.jsonl", required=True, help="lines for an import into Timesketch"
    )
    for command in (sql, sigma):
        command.add_argument(
            "--format", choices=("table", "csv", "json"), help="(a table on a terminal, else csv)"
        )
    return parser


def _number(text: str) -> int:
    number = int(text)
    if number < 1:
        raise argparse.ArgumentTypeError("at least 1")
    return number


def main(arguments: Sequence[str] | None = None) -> int:
    """Runs a command.

    Args:
        arguments: The command line; None for that of the process.

    Returns:
        The exit code.
    """
    chosen = _parser().parse_args(arguments)
    stop.listen()
    if isinstance(sys.stdout, io.TextIOWrapper):
        # What a terminal of few characters cannot show is written out.
        sys.stdout.reconfigure(errors="backslashreplace")
    try:
        module = importlib.import_module(f"tarnlex.desk.{chosen.command}")
        # A load hears of signals by itself, as it waits for other processes.
        code = module.run(chosen) if chosen.command == "load" else stop.run(lambda: module.run(chosen))
        sys.stdout.flush()
    except ModuleNotFoundError as error:
        return _failed(f"the package {error.name} is missing: pip install 'tarnlex[desk]'")
    except BrokenPipeError:
        # Whoever reads has had enough; nothing shall be written when the process ends either.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 0
    except KeyboardInterrupt as stopped:
        number = stopped.number if isinstance(stopped, stop.Stopped) else signal.SIGINT
        return _failed("stopped", 128 + number)
    except (TarnlexError, OSError) as error:
        # Such as standard output that goes to a full disk.
        return _failed(str(error))
    return int(code)


def _failed(message: str, code: int = 1) -> int:
    print(f"tarnlex-desk: {message}", file=sys.stderr)
    return code
