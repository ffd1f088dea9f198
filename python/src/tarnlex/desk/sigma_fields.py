"""Fields of Sigma rules as columns over the events of a case.

Rules name what they compare by the names that Windows gives values. Those of the event's frame
(`EventID`, `Channel`) are columns of the case already; all others lie in the JSON of `EventData`,
or, at any depth, of `UserData`. Every field gets a column `f1`, `f2`, ... of a table made for the
rules, so that the JSON of an event is read once however many rules ask for it, and so that no name
that a rule brings along ever stands in a statement as a name.
"""

from collections.abc import Iterable

#: What Sigma calls the members of an event's frame, and the columns of the case that hold them.
FRAME = {
    "EventID": "EventID",
    "Channel": "Channel",
    "Computer": "Computer",
    "ComputerName": "Computer",
    "Hostname": "Computer",
    "Provider_Name": "Provider",
    "Provider_Guid": "ProviderGuid",
    "Level": "Level",
    "Task": "Task",
    "Opcode": "Opcode",
    "Keywords": "Keywords",
    "EventRecordID": "EventRecordID",
    "Version": "Version",
    "UserID": "UserID",
    "TimeCreated": "TimeCreated",
}

#: The column in which values without a field are searched: all texts and numbers of an event.
ALL_VALUES = "all_values"


def sql_text(text: str) -> str:
    """A text as a literal of SQL.

    >>> sql_text("it's")
    "'it''s'"
    """
    return "'" + text.replace("'", "''").replace("\0", "\ufffd") + "'"


class FieldColumns:
    """The columns that all rules of a run ask for, numbered as they were asked for first."""

    def __init__(self) -> None:
        self._columns: dict[str, str] = {}

    def column(self, field: str) -> str:
        """The column that holds the field, a new one for a field not seen before."""
        return self._columns.setdefault(field, f"f{len(self._columns) + 1}")


def select_columns(columns: FieldColumns, fields: Iterable[str], all_values: bool) -> tuple[str, str]:
    """Two SQL expressions that make the columns of some fields of a row of `events`.

    Returns:
        An expression for the list `texts` of values of EventData, and over it, and the columns of
        the case, the list of all columns.
    """
    fields = sorted(fields)
    data = [name for name in fields if name not in FRAME]
    values = []
    for name in fields:
        if name in FRAME:
            value = f"CAST({FRAME[name]} AS VARCHAR)"
        else:
            value = _data_value(name, f"texts[{data.index(name) + 1}]")
        values.append(f"{value} AS {columns.column(name)}")
    if all_values:
        values.append(f"{_all_values()} AS {ALL_VALUES}")
    paths = ", ".join(sql_text(_pointer(name)) for name in data)
    return f"json_extract_string(EventData, [{paths}])" if paths else "NULL", ", ".join(values)


def _pointer(name: str) -> str:
    return "/" + name.replace("~", "~0").replace("/", "~1")


def _data_value(name: str, text: str) -> str:
    """A value of EventData as Windows shows it, or else of UserData.

    Lists become lines. Hexadecimal numbers, which the case has with all their digits, lose the
    zeros that no rule is written with.
    """
    values = [
        f"WHEN starts_with({text}, '[') AND json_type(EventData, {sql_text(_pointer(name))}) = 'ARRAY' "
        f"""THEN array_to_string(from_json({text}, '["VARCHAR"]'), chr(10))""",
        f"WHEN starts_with({text}, '0x0') THEN regexp_replace({text}, '{PADDED_HEX}', '0x\\1')",
        f"WHEN {text} IS NOT NULL THEN {text}",
    ]
    if '"' not in name and "\\" not in name:
        path = sql_text(f'$.**."{name}"')
        values.append(f"WHEN UserData IS NOT NULL THEN json_extract_string(UserData, {path})[1]")
    return f"CASE {' '.join(values)} END"


#: A hexadecimal number with leading zeros, as the types HexInt32 and HexInt64 are written.
PADDED_HEX = "^0x0{1,15}([0-9a-f]+)$"


def _all_values() -> str:
    """All texts and numbers of an event, each on a line; its names are not among them."""
    parts = []
    for column in ("EventData", "UserData"):
        values = f"json_extract_string({column}, '$.**')"
        kinds = f"json_type({column}, '$.**')"
        leaves = f"list_filter({values}, lambda value, i: {kinds}[i] NOT IN ('OBJECT', 'ARRAY', 'NULL'))"
        parts.append(f"coalesce(array_to_string({leaves}, chr(10)), '')")
    return "coalesce(Provider, '') || chr(10) || " + " || chr(10) || ".join(parts)
