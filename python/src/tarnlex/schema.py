"""The columns that events have in a database: the members of -json, in its order, each with its types.

What an event says beside these members, and values that a column cannot hold, are kept too: in the columns
"Others" and "Unfit".
"""

from typing import NamedTuple


class Column(NamedTuple):
    """A member of -json as a column.

    Attributes:
        name: The member's name.
        sql: Its type in DuckDB.
        spark: Its type in Spark.
    """

    name: str
    sql: str
    spark: str


TEXT = ("VARCHAR", "string")
SMALL = ("INTEGER", "int")
LARGE = ("BIGINT", "bigint")
# Times have seven digits of the second, of which Spark keeps six.
TIME = ("TIMESTAMP_NS", "timestamp")
OBJECT = ("JSON", "string")
VALUES = ("JSON", "map<string,string>")

MEMBERS = (
    Column("Log", *TEXT),
    Column("Channel", *TEXT),
    Column("Computer", *TEXT),
    Column("Provider", *TEXT),
    Column("ProviderGuid", *TEXT),
    Column("EventID", *SMALL),
    Column("Qualifiers", *SMALL),
    Column("Version", *SMALL),
    Column("Level", *SMALL),
    Column("LevelName", *TEXT),
    Column("Task", *SMALL),
    Column("Opcode", *SMALL),
    Column("Keywords", *TEXT),
    Column("EventRecordID", *LARGE),
    Column("TimeCreated", *TIME),
    Column("TimeWritten", *TIME),
    Column("UserID", *TEXT),
    Column("ProcessID", *LARGE),
    Column("ThreadID", *LARGE),
    Column("ActivityID", *TEXT),
    Column("RelatedActivityID", *TEXT),
    Column("System", *OBJECT),
    Column("EventData", *VALUES),
    Column("UserData", *OBJECT),
    Column("RenderingInfo", *OBJECT),
    Column("Offset", *LARGE),
    Column("Recovered", *OBJECT),
    Column("Report", *TEXT),
)
# Members of other names, as an object; of values that their column cannot hold, the texts.
OTHERS = Column("Others", "JSON", "map<string,string>")
UNFIT = Column("Unfit", "JSON", "map<string,string>")
