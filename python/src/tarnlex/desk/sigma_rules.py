"""Reading Sigma rules from files and folders."""

from collections.abc import Iterator, Sequence
from dataclasses import dataclass
from pathlib import Path

import yaml
from sigma.collection import SigmaCollection
from sigma.exceptions import SigmaError
from sigma.rule import SigmaRule

from tarnlex.desk.sigma_sql import Condition, Converter, RuleNotConvertedError
from tarnlex.errors import TarnlexError

#: Values of a file of rules; a few lines of aliases can stand for more than any memory holds.
MOST_VALUES = 1_000_000


@dataclass
class Rule:
    """A rule as it was read: what it says of itself, and what it asks of a case.

    A rule without conditions cannot be run; `reason` says why.
    """

    file: str
    title: str
    identifier: str = ""
    level: str = ""
    tags: tuple[str, ...] = ()
    conditions: tuple[Condition, ...] = ()
    reason: str = ""


def rule_files(paths: Sequence[str]) -> list[Path]:
    """The files of rules: those named, and all `.yml` and `.yaml` below folders, in order.

    Raises:
        TarnlexError: A path does not exist, or nothing is found.
    """
    files: list[Path] = []
    for path in map(Path, paths):
        if path.is_dir():
            files += sorted(
                one for one in path.rglob("*") if one.suffix.lower() in (".yml", ".yaml") and one.is_file()
            )
        elif path.exists():
            files.append(path)
        else:
            raise TarnlexError(f"{path}: no such file or folder of rules")
    if not files:
        raise TarnlexError(f"no rules (*.yml, *.yaml) in {', '.join(map(str, paths))}")
    return files


def read_rules(files: Sequence[Path], converter: Converter) -> Iterator[Rule]:
    """All rules of the files; those that cannot be run say why."""
    for file in files:
        try:
            yield from _rules_of_text(str(file), file.read_text(encoding="utf-8"), converter)
        except OSError as error:
            yield Rule(str(file), file.name, reason=f"cannot be read: {error.strerror}")
        except UnicodeDecodeError:
            yield Rule(str(file), file.name, reason="is not YAML: it is not text in UTF-8")
        except yaml.YAMLError as error:
            yield Rule(str(file), file.name, reason=f"is not YAML: {_one_line(str(error))}")
        except (SigmaError, RecursionError, TypeError, ValueError, AttributeError, KeyError) as error:
            yield Rule(str(file), file.name, reason=f"is not a Sigma rule: {_one_line(str(error))}")


def _rules_of_text(file: str, text: str, converter: Converter) -> Iterator[Rule]:
    documents = [one for one in yaml.safe_load_all(text) if one is not None]
    if sum(_size(one, {}) for one in documents) > MOST_VALUES:
        raise ValueError(f"it has more than {MOST_VALUES} values")
    if not documents or not all(isinstance(one, dict) for one in documents):
        yield Rule(file, Path(file).name, reason="is not a Sigma rule: it has no members")
        return
    for document in documents:
        if "correlation" in document:
            title = str(document.get("title") or Path(file).name)
            yield Rule(file, title, reason="correlations of events are not run")
    single = [document for document in documents if "correlation" not in document]
    collection = SigmaCollection.from_dicts(single, collect_errors=True)
    if single and not collection.rules:
        yield Rule(file, Path(file).name, reason="is not a Sigma rule: it has no detection")
    for rule in collection.rules:
        if isinstance(rule, SigmaRule):
            yield _converted(file, rule, converter)


def _converted(file: str, parsed: SigmaRule, converter: Converter) -> Rule:
    rule = Rule(
        file=file,
        title=parsed.title or Path(file).name,
        identifier=str(parsed.id or ""),
        level=parsed.level.name.lower() if parsed.level is not None else "",
        tags=tuple(map(str, parsed.tags)),
    )
    if parsed.errors:
        rule.reason = f"is not a Sigma rule: {_one_line('; '.join(map(str, parsed.errors)))}"
    else:
        try:
            rule.conditions = tuple(converter.convert(parsed))
        except RuleNotConvertedError as error:
            rule.reason = f"cannot be converted: {_one_line(str(error))}"
    return rule


def _size(value: object, known: dict[int, int]) -> int:
    """How many values a value has, each alias counted as what it stands for.

    Raises:
        UnicodeEncodeError: A text holds halves of characters, which no event does.
    """
    if isinstance(value, str):
        value.encode()
    if not isinstance(value, dict | list):
        return 1
    if id(value) not in known:
        known[id(value)] = MOST_VALUES + 1  # what holds itself has no end
        inner = [*value, *value.values()] if isinstance(value, dict) else value
        known[id(value)] = 1 + sum(_size(one, known) for one in inner)
    return known[id(value)]


def _one_line(text: str) -> str:
    return " ".join(text.split())
