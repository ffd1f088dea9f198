"""Conversion of a Sigma rule to conditions over the columns of a case.

pySigma parses rules, its Windows pipelines turn log sources into channels and event identifiers,
and its published backend for SQLite writes SQL; what differs in DuckDB is replaced here.
"""

import copy
import re
from dataclasses import dataclass, replace
from typing import Any, ClassVar, cast

from sigma.backends.sqlite.sqlite import sqliteBackend
from sigma.conditions import ConditionFieldEqualsValueExpression, ConditionValueExpression
from sigma.conversion.state import ConversionState
from sigma.exceptions import SigmaError
from sigma.pipelines.sysmon.sysmon import sysmon_pipeline
from sigma.pipelines.windows.windows import windows_audit_pipeline, windows_logsource_pipeline
from sigma.processing.pipeline import ProcessingPipeline
from sigma.rule import SigmaLogSource, SigmaRule
from sigma.types import SigmaNumber, SigmaString, TimestampPart

from tarnlex.desk.sigma_fields import ALL_VALUES, FieldColumns, sql_text


class RuleNotConvertedError(Exception):
    """Why a rule cannot be asked of a case."""


@dataclass(frozen=True)
class Condition:
    """One way in which a rule matches: SQL, and the channels and events it is bound to.

    Attributes:
        where: An SQL condition over columns of fields.
        channels: Of which channels, in small letters, an event has to be; empty for any.
        event_ids: Of which identifiers an event has to be; empty for any.
        fields: The fields whose columns the condition names.
        all_values: Whether it searches all values of an event.
    """

    where: str
    channels: frozenset[str]
    event_ids: frozenset[int]
    fields: frozenset[str]
    all_values: bool


class CaseBackend(sqliteBackend):
    """The backend for SQLite with the operators of DuckDB."""

    formats: ClassVar[dict[str, str]] = {  # type: ignore[misc]
        "default": "conditions over the columns of a case",
        "case": "the same",
    }
    startswith_expression = "{field} ILIKE '{value}%' ESCAPE '\\'"
    endswith_expression = "{field} ILIKE '%{value}' ESCAPE '\\'"
    contains_expression = "{field} ILIKE '%{value}%' ESCAPE '\\'"
    wildcard_match_expression = "{field} ILIKE '{value}' ESCAPE '\\'"
    wildcard_match_str_expression = wildcard_match_expression
    re_expression = "regexp_matches({field}, '{regex}')"
    compare_op_expression = "TRY_CAST({field} AS DOUBLE) {operator} {value}"
    bool_expression = "lower({field}) IN ({value}, '{numeric_value}')"
    null_safe_expression = "COALESCE({expr}, FALSE)"
    _escaped = sqliteBackend.field_ref_like_escape
    field_equals_field_startswith_expression = "{field1} ILIKE " + _escaped + " || '%' ESCAPE '\\'"
    field_equals_field_endswith_expression = "{field1} ILIKE '%' || " + _escaped + " ESCAPE '\\'"
    field_equals_field_contains_expression = "{field1} ILIKE '%' || " + _escaped + " || '%' ESCAPE '\\'"
    field_equals_field_expression = "lower({field1})=lower({field2})"
    field_timestamp_part_expression = "extract({timestamp_part} FROM TRY_CAST({field} AS TIMESTAMP))"
    timestamp_part_mapping: ClassVar[dict[TimestampPart, str] | None] = {
        part: part.name for part in TimestampPart
    }
    unbound_value_re_expression = f"regexp_matches({ALL_VALUES}, '{{value}}')"

    def __init__(self, pipeline: ProcessingPipeline, columns: FieldColumns) -> None:
        super().__init__(pipeline, collate_nocase=True)  # type: ignore[no-untyped-call]
        self.columns = columns
        self.fields: set[str] = set()
        self.all_values = False

    def conditions(self, rule: SigmaRule) -> list[Condition]:
        """The conditions of a rule, which stays what it is; more than one where it has several."""
        self.fields, self.all_values = set(), False
        convert_rule: Any = self.convert_rule
        return cast("list[Condition]", convert_rule(copy.deepcopy(rule), "case"))

    def escape_and_quote_field(self, field: str) -> str:
        """A field is a column with a name of ours."""
        self.fields.add(field)
        return self.columns.column(field)

    def convert_condition_field_eq_val_num(
        self, cond: ConditionFieldEqualsValueExpression, state: ConversionState
    ) -> str:
        """Numbers are texts in the columns, and some types are written in hexadecimal digits."""
        spellings = [str(cond.value)]
        if isinstance(cond.value, SigmaNumber) and isinstance(cond.value.number, int):
            spellings.append(hex(cond.value.number))
        return f"{self.escape_and_quote_field(cond.field)} IN ({', '.join(map(sql_text, spellings))})"

    def convert_condition_field_eq_val_str(
        self, cond: ConditionFieldEqualsValueExpression, state: ConversionState
    ) -> str:
        """Values that the case writes otherwise than Windows shows them are looked for as it does."""
        value = cast("SigmaString", cond.value)
        spelling = None if value.contains_special() else _spelling(str(value))
        if spelling is not None:
            cond = copy.copy(cond)
            cond.value = SigmaString(spelling)
        return str(super().convert_condition_field_eq_val_str(cond, state))

    def convert_condition_val_str(self, cond: ConditionValueExpression, state: ConversionState) -> str:
        """A text without a field is looked for in all values of an event."""
        self.all_values = True
        value = self.convert_value_str(cast("SigmaString", cond.value), state, no_quote=True)
        return str(self.contains_expression.format(field=ALL_VALUES, value=value))

    def convert_condition_val_num(self, cond: ConditionValueExpression, state: ConversionState) -> str:
        """A number without a field is looked for in all values of an event."""
        self.all_values = True
        return str(self.contains_expression.format(field=ALL_VALUES, value=cond.value))

    def convert_condition_val_re(self, cond: ConditionValueExpression, state: ConversionState) -> str:
        """A pattern without a field is looked for in all values of an event."""
        self.all_values = True
        return str(super().convert_condition_val_re(cond, state))

    def finalize_query_case(self, rule: SigmaRule, query: str, index: int, _: ConversionState) -> Condition:
        """A condition with what it is bound to, as far as that follows from the rule."""
        values: Any = self._extract_field_values_from_rule
        event_ids = [str(value) for value in values(rule, "EventID", index)]
        if not all(map(str.isdecimal, event_ids)):
            event_ids = []
        return Condition(
            where=query,
            channels=frozenset(str(value).lower() for value in values(rule, "Channel", index)),
            event_ids=frozenset(map(int, event_ids)),
            fields=frozenset(self.fields),
            all_values=self.all_values,
        )

    def finalize_output_case(self, queries: list[Condition]) -> list[Condition]:
        """The conditions of several rules."""
        return queries


def _spelling(text: str) -> str | None:
    """How a case spells a number or a GUID that stands alone, if not like this."""
    if number := re.fullmatch(r"0x0+([0-9a-fA-F]+)", text):
        return "0x" + number[1]
    if guid := re.fullmatch(r"\{([0-9a-fA-F]{8}(?:-[0-9a-fA-F]{4}){3}-[0-9a-fA-F]{12})\}", text):
        return guid[1]
    return None


class Converter:
    """Makes conditions of rules, whose fields share the columns of a run.

    Attributes:
        columns: The columns that all conditions made so far name.
    """

    def __init__(self) -> None:
        self.columns = FieldColumns()
        # What Sysmon logs, Windows' own audit logs otherwise: a rule may mean both.
        self._backends = [
            CaseBackend(pipeline + windows_logsource_pipeline(), self.columns)
            for pipeline in (sysmon_pipeline(), windows_audit_pipeline())
        ]
        self._channels: dict[tuple[int, str], frozenset[str]] = {}

    def convert(self, rule: SigmaRule) -> list[Condition]:
        """All conditions of a rule: an event that meets one of them is a hit.

        Raises:
            RuleNotConvertedError: With the reason, in words for the one who brought the rule.
        """
        source = rule.logsource
        if source.product not in (None, "windows"):
            raise RuleNotConvertedError(f"its log source is not Windows: product {source.product}")
        conditions: dict[str, Condition] = {}
        reasons = []
        for number in range(len(self._backends)):
            channels = self._channels_of(source, number)
            if not channels and (source.category or source.service):
                continue
            try:
                found = self._backends[number].conditions(rule)
            except (SigmaError, NotImplementedError, ValueError, TypeError, AttributeError) as error:
                reasons.append(str(error) or type(error).__name__)
                continue
            conditions |= {one.where: replace(one, channels=channels) for one in found}
        if not conditions:
            raise RuleNotConvertedError(
                reasons[0] if reasons else f"no Windows log is known for {_named(source)}"
            )
        return list(conditions.values())

    def _channels_of(self, source: SigmaLogSource, number: int) -> frozenset[str]:
        """The channels that a log source means, whatever a rule says of channels beside."""
        key = (number, f"{source.category} {source.service} {source.product}")
        if key not in self._channels:
            asked = SigmaRule.from_dict(
                {
                    "title": "Which channels?",
                    "logsource": source.to_dict(),
                    "detection": {"selection": {"EventID": 1}, "condition": "selection"},
                }
            )
            found = self._backends[number].conditions(asked)
            self._channels[key] = frozenset().union(*(one.channels for one in found))
        return self._channels[key]


def _named(source: SigmaLogSource) -> str:
    parts = (("category", source.category), ("service", source.service))
    return "its log source: " + ", ".join(f"{key} {value}" for key, value in parts if value)
