"""What the page of a case shows: for each panel the question, and the query that answers it."""

from dataclasses import dataclass

#: When an event was: what it says itself, else when it was written.
TIME = "CAST(coalesce(TimeCreated, TimeWritten) AS TIMESTAMP)"

#: Event identifiers of old logs, which say "Security" as provider and have no channel.
_OLD = "Channel IS NULL AND Provider = 'Security'"


@dataclass(frozen=True)
class Panel:
    """A part of the page.

    Attributes:
        key: Its name in links.
        title: Its heading.
        note: What one has to know to read it.
        query: SQL over the case; its columns are those of the table that is shown.
        picture: Which picture is made of the rows: one of `tarnlex.desk.pictures`; empty for none.
        open: Whether the table is unfolded when the page opens.
    """

    key: str
    title: str
    note: str
    query: str
    picture: str = ""
    open: bool = True


def _spans(what: str, name: str) -> str:
    return f"""\
WITH times AS (
  SELECT {what} AS {name}, {TIME} AS Time FROM events),
gap AS (
  SELECT greatest((max(Time) - min(Time)) / 200, INTERVAL 1 HOUR) AS Longest FROM times),
numbered AS (
  SELECT {name}, Time, lag(Time) OVER each AS Before, row_number() OVER each AS Number
  FROM times WHERE Time IS NOT NULL WINDOW each AS (PARTITION BY {name} ORDER BY Time)),
begun AS (
  SELECT {name}, Time, Before, Number FROM numbered, gap WHERE Before IS NULL OR Time - Before > Longest),
ended AS (
  SELECT {name}, max(Time) AS Time, max(Number) AS Number FROM numbered GROUP BY {name})
SELECT begun.{name}, begun.Time AS First, coalesce(lead(begun.Before) OVER each, ended.Time) AS Last,
  coalesce(lead(begun.Number) OVER each, ended.Number + 1) - begun.Number AS Events
FROM begun JOIN ended ON begun.{name} = ended.{name}
WINDOW each AS (PARTITION BY begun.{name} ORDER BY begun.Time)
ORDER BY ALL"""


_GAPS = (
    "A bar is a time in which events follow each other; where it breaks off, nothing was written for a two "
    "hundredth of the whole time, an hour at least."
)

HOSTS = Panel("hosts", "Hosts", _GAPS, _spans("coalesce(Computer, '(none)')", "Host"), "spans", open=False)
LOGS = Panel("logs", "Logs", _GAPS, _spans("coalesce(Log, '(none)')", "Log"), "spans", open=False)

HOURS = Panel(
    "hours",
    "Events an hour",
    "A column is a day, a row an hour of it (UTC); the darker, the more events.",
    f"""\
SELECT CAST({TIME} AS DATE) AS Day, hour({TIME}) AS Hour, count(*) AS Events
FROM events WHERE {TIME} IS NOT NULL
GROUP BY ALL ORDER BY ALL""",
    "strip",
    open=False,
)

_LOGON_TYPE = """CASE TypeNumber
    WHEN '0' THEN 'system' WHEN '2' THEN 'interactive' WHEN '3' THEN 'network' WHEN '4' THEN 'batch'
    WHEN '5' THEN 'service' WHEN '7' THEN 'unlock' WHEN '8' THEN 'network, clear text'
    WHEN '9' THEN 'new credentials' WHEN '10' THEN 'remote desktop' WHEN '11' THEN 'cached'
    WHEN '12' THEN 'cached, remote desktop' WHEN '13' THEN 'cached, unlock' ELSE 'other' END"""

LOGONS = Panel(
    "logons",
    "Logons by type",
    "Events 4624 of Security, and 528 and 540 of old logs.",
    f"""\
WITH logons AS (
  SELECT coalesce(Computer, '(none)') AS Computer,
    CASE WHEN EventID = 4624 THEN EventData->>'LogonType' ELSE EventData->'Data'->>3 END AS TypeNumber
  FROM events
  WHERE (Channel = 'Security' AND EventID = 4624) OR ({_OLD} AND EventID IN (528, 540)))
SELECT concat(TypeNumber, ' ', {_LOGON_TYPE}) AS Type, Computer, count(*) AS Logons
FROM logons GROUP BY ALL ORDER BY Logons DESC, Type, Computer""",
    "stacked",
)

FAILED = Panel(
    "failed",
    "Failed logons by account and address",
    "Events 4625 of Security, and 529 to 537 and 539 of old logs, which name an address only since Server "
    "2003.",
    f"""\
WITH failed AS (
  SELECT {TIME} AS Time, Computer,
    CASE WHEN EventID = 4625 THEN EventData->>'TargetUserName' ELSE EventData->'Data'->>0 END AS Account,
    CASE WHEN EventID = 4625 THEN EventData->>'IpAddress' ELSE EventData->'Data'->>11 END AS Address
  FROM events
  WHERE (Channel = 'Security' AND EventID = 4625)
     OR ({_OLD} AND (EventID BETWEEN 529 AND 537 OR EventID = 539)))
SELECT Account, Address, Computer, count(*) AS Failed, min(Time) AS First, max(Time) AS Last
FROM failed GROUP BY ALL ORDER BY Failed DESC, Account, Address, Computer""",
    "failed",
)

SERVICES = Panel(
    "services",
    "Services installed",
    "Events 7045 of System and 4697 of Security.",
    f"""\
SELECT {TIME} AS Time, Computer, EventData->>'ServiceName' AS Service,
  coalesce(EventData->>'ImagePath', EventData->>'ServiceFileName') AS File,
  coalesce(EventData->>'StartType', EventData->>'ServiceStartType') AS Start,
  coalesce(EventData->>'AccountName', EventData->>'ServiceAccount') AS Account, Log
FROM events
WHERE (Channel = 'System' AND Provider = 'Service Control Manager' AND EventID = 7045)
   OR (Channel = 'Security' AND EventID = 4697)
ORDER BY Time, Service""",
)

TASKS = Panel(
    "tasks",
    "Scheduled tasks registered",
    "Events 4698 and 4702 of Security, and 106 and 140 of TaskScheduler.",
    f"""\
SELECT {TIME} AS Time, Computer, EventData->>'TaskName' AS Task,
  CASE WHEN EventID IN (4698, 106) THEN 'new' ELSE 'changed' END AS What,
  regexp_extract(coalesce(EventData->>'TaskContent', EventData->>'TaskContentNew'),
    '<Command>(.*?)</Command>', 1) AS Command,
  coalesce(EventData->>'SubjectUserName', EventData->>'UserContext', EventData->>'UserName') AS Account, Log
FROM events
WHERE (Channel = 'Security' AND EventID IN (4698, 4702))
   OR (Channel = 'Microsoft-Windows-TaskScheduler/Operational' AND EventID IN (106, 140))
ORDER BY Time, Task""",
)

CLEARED = Panel(
    "cleared",
    "Logs cleared",
    "Events 1102 of Security, 104 of System, and 517 of old logs.",
    f"""\
SELECT {TIME} AS Time, Computer,
  coalesce(UserData->'LogFileCleared'->>'Channel', Channel, 'Security') AS Cleared,
  coalesce(UserData->'LogFileCleared'->>'SubjectUserName', EventData->'Data'->>3,
    EventData->'Data'->>0) AS Account, Log
FROM events
WHERE (Provider = 'Microsoft-Windows-Eventlog' AND
       ((Channel = 'Security' AND EventID = 1102) OR (Channel = 'System' AND EventID = 104)))
   OR ({_OLD} AND EventID = 517)
ORDER BY Time, Computer""",
)

CLOCK = Panel(
    "clock",
    "Clock changes",
    "Events 4616 of Security and 1 of Kernel-General that moved the clock by a second or more, and 520 of "
    "old logs.",
    f"""\
WITH changes AS (
  SELECT {TIME} AS Time, Computer, Channel,
    coalesce(EventData->>'PreviousTime', EventData->>'OldTime') AS Before, EventData->>'NewTime' AS After,
    coalesce(EventData->>'ProcessName', EventData->'Data'->>1) AS Process,
    coalesce(EventData->>'SubjectUserName', EventData->'Data'->>2, UserID) AS Account, Log
  FROM events
  WHERE (Channel = 'Security' AND EventID = 4616)
     OR (Channel = 'System' AND Provider = 'Microsoft-Windows-Kernel-General' AND EventID = 1)
     OR ({_OLD} AND EventID = 520))
SELECT Time, Computer, replace(substr(Before, 1, 19), 'T', ' ') AS Before,
  replace(substr(After, 1, 19), 'T', ' ') AS After, round(epoch(TRY_CAST(changes.After AS TIMESTAMP_NS)) -
  epoch(TRY_CAST(changes.Before AS TIMESTAMP_NS)), 1) AS Seconds, Process, Account, Log
FROM changes WHERE Seconds IS NULL OR abs(Seconds) >= 1
ORDER BY Time, Computer""",
)

CRASHES = Panel(
    "crashes",
    "Crashes",
    "Of System: 41 (not shut down), 6008 (unexpected shutdown), 1001 (stop error), 7031 and 7034 (service "
    "ended); of Application: 1000 and 1002.",
    f"""\
SELECT {TIME} AS Time, Computer, Provider, EventID,
  coalesce(EventData->>'param1', EventData->>'AppName', EventData->>'BugcheckCode', EventData->'Data'->>0)
    AS What,
  CASE Provider WHEN 'Application Error' THEN coalesce(EventData->>'ModuleName', EventData->'Data'->>3) END
    AS Module, Log
FROM events
WHERE (Provider = 'Microsoft-Windows-Kernel-Power' AND EventID = 41)
   OR (Provider = 'EventLog' AND EventID = 6008)
   OR (Provider IN ('Microsoft-Windows-WER-SystemErrorReporting', 'BugCheck') AND EventID = 1001)
   OR (Provider = 'Service Control Manager' AND EventID IN (7031, 7034))
   OR (Provider = 'Application Error' AND EventID = 1000)
   OR (Provider = 'Application Hang' AND EventID = 1002)
ORDER BY Time, Computer""",
)

DEFENDER = Panel(
    "defender",
    "Defender findings",
    "Events 1006 to 1008, 1015 and 1116 to 1119 of Windows Defender, and 5001 and 5010, by which it was "
    "switched off.",
    f"""\
SELECT {TIME} AS Time, Computer, EventID, EventData->>'Threat Name' AS Threat,
  EventData->>'Severity Name' AS Severity, EventData->>'Path' AS Path,
  coalesce(EventData->>'Action Name', CASE WHEN EventID IN (5001, 5010) THEN 'switched off' END) AS Action,
  EventData->>'Detection User' AS Account, Log
FROM events
WHERE Channel = 'Microsoft-Windows-Windows Defender/Operational'
  AND EventID IN (1006, 1007, 1008, 1015, 1116, 1117, 1118, 1119, 5001, 5010)
ORDER BY Time, Computer""",
)

SIGMA_COUNTS = Panel(
    "sigma",
    "Sigma hits by rule",
    "Of the last run of tarnlex-desk sigma.",
    """\
SELECT Rule, RuleLevel AS "Level", count(*) AS Hits, count(DISTINCT Computer) AS Hosts,
  CAST(min(TimeCreated) AS TIMESTAMP) AS First, CAST(max(TimeCreated) AS TIMESTAMP) AS Last
FROM sigma_hits GROUP BY Rule, RuleLevel, RuleID
ORDER BY list_position(['critical', 'high', 'medium', 'low', 'informational'], RuleLevel) NULLS LAST,
  Hits DESC, Rule""",
    "rules",
)

SIGMA_HITS = Panel(
    "sigma-events",
    "Sigma hits",
    "The events that the rules found.",
    """\
SELECT CAST(TimeCreated AS TIMESTAMP) AS Time, Rule, RuleLevel AS "Level", Computer, Channel, EventID,
  coalesce(EventData, UserData) AS Event, Log
FROM sigma_hits ORDER BY Time, Rule""",
    open=False,
)

UNREAD = Panel(
    "unread",
    "Logs that were not read, or not all of",
    "Of the account of each log: what was passed over, and records that were skipped or read only in part.",
    """\
SELECT Log, Outcome, Events, InPart, Skipped, "Left", Dirty, Messages
FROM accounts WHERE Outcome <> 'read' OR InPart > 0 OR Skipped > 0 OR "Left" > 0 OR TornAt IS NOT NULL
ORDER BY Log""",
)

PANELS = (HOSTS, LOGS, HOURS, LOGONS, FAILED, SERVICES, TASKS, CLEARED, CLOCK, CRASHES, DEFENDER)
SIGMA_PANELS = (SIGMA_COUNTS, SIGMA_HITS)

#: What stands at the top: a row, whose columns are titles.
TOTALS = f"""\
SELECT count(*) AS "Events", count(DISTINCT Computer) AS "Hosts", count(DISTINCT Log) AS "Logs",
  min({TIME}) AS "First event", max({TIME}) AS "Last event"
FROM events"""
