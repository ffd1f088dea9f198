"""Events as a DataFrame of Spark: files, and parts of large ones, are the tasks."""

import atexit
import functools
import hashlib
import io
import json
import os
import shutil
import tempfile
import zipfile
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import TYPE_CHECKING, NamedTuple

from pyspark import SparkFiles, TaskContext
from pyspark.sql import functions as sql

from tarnlex import logs, options, program
from tarnlex.errors import RunError, TarnlexError
from tarnlex.load import PART_SIZE, REFUSED
from tarnlex.options import Value
from tarnlex.paths import Paths, listed
from tarnlex.process import Run
from tarnlex.schema import MEMBERS, OTHERS, UNFIT, VALUES, Column

if TYPE_CHECKING:
    from pyspark import SparkContext
    from pyspark.sql import Column as SparkColumn
    from pyspark.sql import DataFrame, SparkSession

# How the program is called among the files that a cluster is sent.
SENT = "tarnlex-program"
STRINGS = "map<string,string>"


class Task(NamedTuple):
    """What a task reads.

    Attributes:
        path: The log.
        part: "K/N", or an empty text for all of it.
        outcome: Why it cannot be read; empty for a log that is to be read.
    """

    path: str
    part: str
    outcome: str


def events(
    spark: "SparkSession",
    paths: Paths,
    *,
    program_path: str | None = None,
    part_size: int = PART_SIZE,
    **chosen: Value,
) -> "DataFrame":
    """Events of logs and of folders of logs, read by the workers of a cluster.

    The columns are the members of `-json`, in its order: EventData a map of texts, UserData and other objects
    texts of JSON, times timestamps, of which Spark keeps six digits of the second; the columns
    `TimeCreatedText` and `TimeWrittenText` have all seven. `Others` has members of any other name, `Unfit`
    the texts of values that their column cannot hold, both as maps. `errors` is NULL, but for a log
    that could not be read whole: such a log has a row that says so there, and names it in `Log`; the job
    goes on.

    Each log, and each part of one above `part_size`, is a task of its own. A task that is lost is run again
    by Spark, which drops what came of it before: no event is there twice. A program that breaks off makes its
    task fail, up to the last attempt that Spark allows for it; that one gives what it could read, and a row
    with the error.

    Logs have to be at the same path for the driver, which searches folders, and for all workers.

    Args:
        spark: The session. It sends this package to the workers, and the program unless `program_path` says
            where it is.
        paths: A log, a folder below which all logs are read whatever their names, or several of both.
        program_path: Where the program is on all workers, if it need not be sent.
        part_size: Logs above this size are read in parts, in bytes.
        **chosen: Options, named as on the command line.

    Returns:
        The events; read anew each time the DataFrame is evaluated, unless it is kept with `cache()`.

    Raises:
        OptionError: An option that does not exist, or a value that the program does not take.
        PathError: A path that is not there.
        NoLogsError: A folder without any log.

    Example:
        >>> events = tarnlex.spark.events(spark, "/evidence", eventid=4625)
        >>> events.groupBy(events.EventData["TargetUserName"]).count().show()
    """
    line = options.arguments(chosen, REFUSED)
    given = listed(paths, whole=True)
    options.check(line)
    tasks = [
        Task(log.path, part, log.outcome)
        for log in logs.found(given)
        for part in ([""] if log.outcome else logs.parts(log, part_size))
    ]
    context = spark.sparkContext
    sent = _send(context, program_path)
    attempts = _attempts(context.master, int(context.getConf().get("spark.task.maxFailures", "4") or 4))
    reader = _Reader(line, sent, attempts)
    rows = context.parallelize(tasks, len(tasks)).flatMap(reader)
    return _columns(spark.createDataFrame(rows, "line string, errors string", verifySchema=False))


def _attempts(master: str, configured: int) -> int:
    """How often a task is tried before its job fails; a local master counts for itself."""
    if not master.startswith("local") or master.startswith("local-cluster"):
        return configured
    words = master.removesuffix("]").split(",")
    return int(words[1]) if len(words) > 1 else 1


def _send(context: "SparkContext", program_path: str | None) -> str:
    """Sends this package to the workers, and the program unless they have it; each but once.

    Returns:
        The program's path there, or the name of the file that was sent.
    """
    package = io.BytesIO()
    with zipfile.ZipFile(package, "w") as archive:
        for source in sorted(Path(__file__).parent.glob("*.py")):
            archive.writestr(zipfile.ZipInfo(f"tarnlex/{source.name}"), source.read_bytes())
    _once(context.applicationId, context.addPyFile, _kept_file("tarnlex-package", ".zip", package.getvalue()))
    if program_path is not None:
        return program_path
    sent = _kept_file(SENT, "", Path(program.find()).read_bytes())
    _once(context.applicationId, context.addFile, sent)
    return Path(sent).name


@functools.cache
def _once(application: str, send: Callable[[str], None], path: str) -> None:
    """Sends a file to an application that has not been sent it yet."""
    send(path)


def _kept_file(name: str, ending: str, content: bytes) -> str:
    """A file of that content, whose name is another for other content; there until this process ends."""
    path = _folder() / f"{name}-{hashlib.sha256(content).hexdigest()[:16]}{ending}"
    if not path.exists():
        path.write_bytes(content)
        path.chmod(0o755)
    return str(path)


@functools.cache
def _folder() -> Path:
    folder = tempfile.mkdtemp(prefix="tarnlex_spark_")
    atexit.register(shutil.rmtree, folder, ignore_errors=True)
    return Path(folder)


class _Reader:
    """Reads what a task says; travels to the workers."""

    def __init__(self, line: list[str], sent: str, attempts: int) -> None:
        self._line = line
        self._program = sent
        self._attempts = attempts

    def __call__(self, task: Task) -> Iterator[tuple[str, str | None]]:
        """The lines of a task's events; at its end, a line with an error if there was one."""
        path, part, outcome = task
        if outcome:
            yield _failed(path, outcome)
            return
        os.environ[program.VARIABLE] = str(Path(SparkFiles.getRootDirectory(), self._program).absolute())
        try:
            yield from self._lines(path, part)
        except TarnlexError as error:
            context = TaskContext.get()
            broken = not isinstance(error, RunError) or error.exit != 0
            if broken and context is not None and context.attemptNumber() + 1 < self._attempts:
                raise
            yield _failed(path, str(error))

    def _lines(self, path: str, part: str) -> Iterator[tuple[str, None]]:
        with tempfile.TemporaryDirectory(prefix="tarnlex_") as folder:
            account = Path(folder, "account")
            cut = ["-part", part] if part else []
            line = ["-pipe", "-json", "-quiet", "-account", str(account), *cut, *self._line]
            with Run(line, [path]) as run:
                for text in run.lines():
                    yield text.decode("utf-8"), None
                run.judge(account)


def _failed(path: str, error: str) -> tuple[str, str]:
    return json.dumps({"Log": path}), error


def _columns(lines: "DataFrame") -> "DataFrame":
    """The columns of lines of JSON."""
    values = lines.select(sql.from_json("line", STRINGS).alias("values"), "errors")
    texts = {column.name: values["values"][column.name] for column in MEMBERS}
    known = [sql.lit(column.name) for column in MEMBERS]
    others = sql.map_filter(values["values"], lambda name, _: ~name.isin(*known))
    kept = {column.name: _kept(column, texts[column.name]) for column in MEMBERS}
    unfit = sql.map_from_arrays(
        sql.array(*(sql.lit(column.name) for column in MEMBERS)),
        sql.array(
            *(
                sql.when(kept[column.name].isNull(), texts[column.name])
                if column.spark in ("int", "bigint", "timestamp")
                else sql.lit(None).cast("string")
                for column in MEMBERS
            )
        ),
    )
    unfit = sql.map_filter(unfit, lambda _, text: text.isNotNull())
    times = [column for column in MEMBERS if column.spark == "timestamp"]
    return values.select(
        *(kept[column.name].alias(column.name) for column in MEMBERS),
        *(texts[column.name].alias(f"{column.name}Text") for column in times),
        _unless_empty(others).alias(OTHERS.name),
        _unless_empty(unfit).alias(UNFIT.name),
        "errors",
    )


def _unless_empty(values: "SparkColumn") -> "SparkColumn":
    return sql.when(sql.size(values) > 0, values)


def _kept(column: Column, text: "SparkColumn") -> "SparkColumn":
    """The value of a member as its column holds it; NULL where it would be another one."""
    if column.spark == VALUES[1]:
        return sql.from_json(text, STRINGS)
    if column.spark == "timestamp":
        # As the program writes times; one without a zone would be taken for one in that of the session.
        return sql.when(text.rlike(r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{7}Z$"), text.try_cast("timestamp"))
    if column.spark in ("int", "bigint"):
        value = text.try_cast(column.spark)
        return sql.when(value.cast("string") == text, value)
    return text
