"""What other readers write of EVTX logs, as records of named values."""

import re
import subprocess
from dataclasses import dataclass, field
from xml.parsers import expat

# No XML can hold these; readers write them as they are, or leave them out.
CONTROLS = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]")


@dataclass
class Record:
    """One event: its identifier and its named values in document order."""

    identifier: int
    values: list[tuple[str, str]]
    problem: str = ""


@dataclass
class _Element:
    """An element that is being read: what its text is called, and what it has so far."""

    key: str
    texts: list[str] = field(default_factory=list)
    has_children: bool = False


class _Values:
    """The named values of one event in document order: an element's text where the element ends."""

    def __init__(self) -> None:
        self.found: list[tuple[str, str]] = []
        self.open: list[_Element] = []
        self.unnamed = 0

    def start(self, name: str, attributes: dict[str, str]) -> None:
        """An element begins: its attributes are values, and its text will be one."""
        if self.open:
            self.open[-1].has_children = True
        key = name
        for attribute, text in attributes.items():
            if name == "Data" and attribute == "Name":
                key = text
            else:
                self.found.append((f"Provider {attribute}" if name == "Provider" else attribute, text))
        if name == "Data" and "Name" not in attributes:
            self.unnamed += 1
            key = "Data" if self.unnamed == 1 else f"Data_{self.unnamed:02}"
        self.open.append(_Element(key))

    def text(self, text: str) -> None:
        """A piece of the text of the element that is open."""
        self.open[-1].texts.append(text)

    def end(self, _: str) -> None:
        """An element ends; between its children stands only the indentation."""
        element = self.open.pop()
        text = "".join(element.texts)
        if not element.has_children or text.strip():
            self.found.append((element.key, text))


def event_values(xml: str) -> list[tuple[str, str]]:
    """The named values of one event's XML by the rules that docs/output.md gives for columns."""
    values = _Values()
    parser = expat.ParserCreate()
    parser.buffer_text = True
    parser.StartElementHandler = values.start
    parser.EndElementHandler = values.end
    parser.CharacterDataHandler = values.text
    parser.Parse(CONTROLS.sub("?", xml.replace("\r", "&#13;")), True)
    return values.found


def record_of(xml: str, identifier: int | None = None) -> Record:
    """One record of an event's XML; its identifier is the event's own where none is given."""
    try:
        values = event_values(xml)
    except expat.ExpatError as error:
        return Record(-1 if identifier is None else identifier, [], f"XML: {error}")
    if identifier is None:
        own = dict(reversed(values)).get("EventRecordID", "")
        identifier = int(own) if own.isdigit() else -1
    return Record(identifier, values)


def evtxexport_records(log: str) -> list[Record]:
    """What evtxexport reads of a log."""
    run = subprocess.run(["evtxexport", "-f", "xml", log], capture_output=True, check=False)
    text = run.stdout.decode("utf-8", "surrogateescape")
    return [record_of(part) for part in re.findall(r"<Event[ >].*?\n</Event>", text, re.DOTALL)]
