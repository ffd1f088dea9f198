"""What other readers write of EVTX logs, as records of named values."""

import re
import struct
import subprocess
import warnings
from collections.abc import Iterator
from dataclasses import dataclass, field
from io import BytesIO
from xml.parsers import expat

# No XML can hold these; readers write them as they are, or leave them out.
CONTROLS = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]")

CHUNKS_AT = 4096
CHUNK_SIZE = 65536
RECORDS_AT = 512
FREE_SPACE_OFFSET = 48
RECORD_SIGNATURE = b"**\0\0"
RECORD_HEAD = struct.Struct("<4sIQQ")
SMALLEST_RECORD = RECORD_HEAD.size + 4
# The identifier of a record that bridges what no reader gets over.
BRIDGE = 2**63
FRAGMENT = b"\x0f\x01\x01\x00"
NOTHING = FRAGMENT + b"\x00"


@dataclass
class Record:
    """One event: its identifier and its named values in document order."""

    identifier: int
    values: list[tuple[str, str]]
    problem: str = ""
    written: str = ""  # the time of its header, where a reader gives that


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


def evtx_records(log: str) -> list[Record]:
    """What the package `evtx` reads of a log, of which it gets a mended copy."""
    import evtx  # only where it is asked for: the other reader is enough for some

    with open(log, "rb") as file:
        copy = BytesIO(mended(file.read()))
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")  # of slots that are no chunks
        parser = evtx.PyEvtxParser(copy, number_of_threads=1, indent=False, skip_errors=True)
        found = [record for record in iter(parser.records()) if record]
    records = [record_of(each["data"], int(each["event_record_id"])) for each in found]
    for record, each in zip(records, found):
        record.written = each["timestamp"].removesuffix(" UTC")
    return [record for record in records if record.identifier != BRIDGE]


def stated_size(chunk: bytes, at: int, end: int) -> int:
    """The size that the record at `at` states; 0 where there is none, or none that could be true."""
    if at + SMALLEST_RECORD > end or chunk[at : at + 4] != RECORD_SIGNATURE:
        return 0
    (size,) = struct.unpack_from("<I", chunk, at + 4)
    return size if size >= SMALLEST_RECORD and at + size <= end else 0


def sound_size(chunk: bytes, at: int, end: int) -> int:
    """The size of the record at `at` where its end repeats it; else 0."""
    size = stated_size(chunk, at, end)
    return size if size and struct.unpack_from("<I", chunk, at + size - 4)[0] == size else 0


def next_sound(chunk: bytes, at: int, end: int) -> int:
    """Where the next sound record begins; the end if there is none."""
    following = chunk.find(RECORD_SIGNATURE, at, end)
    while following >= 0 and not sound_size(chunk, following, end):
        following = chunk.find(RECORD_SIGNATURE, following + 1, end)
    return following if following >= 0 else end


def gaps(chunk: bytes) -> Iterator[tuple[int, int]]:
    """Where a chunk holds no records before its free space: (begin, end) of each such place.

    A record whose end was overwritten is one, unless another one begins inside of it.
    """
    (free,) = struct.unpack_from("<I", chunk, FREE_SPACE_OFFSET)
    end = min(free, len(chunk))
    at = RECORDS_AT
    while at < end:
        size = sound_size(chunk, at, end)
        if not size:
            size = next_sound(chunk, at + 1, end) - at
            cut = stated_size(chunk, at, end)
            yield at + (cut if cut <= size else 0), at + size
        at += size


def bridge(size: int) -> bytes:
    """A sound record of this size that holds nothing."""
    head = RECORD_HEAD.pack(RECORD_SIGNATURE, size, BRIDGE, 0) + NOTHING
    return head.ljust(size - 4, b"\0") + struct.pack("<I", size)


def mend(slot: bytearray, begin: int, end: int) -> None:
    """Makes one sound record of these bytes of a chunk: their own, where all but its size is there."""
    if slot[begin : begin + 4] == RECORD_SIGNATURE and slot[begin + RECORD_HEAD.size :].startswith(FRAGMENT):
        struct.pack_into("<I", slot, begin + 4, end - begin)
        struct.pack_into("<I", slot, end - 4, end - begin)
    else:
        slot[begin:end] = bridge(end - begin)


def mended(log: bytes) -> bytes:
    """A copy of a log in which no broken record ends a walk from record to record.

    A record of an impossible size gets the one that it has to have, and over what is no record a record
    without contents is laid. So readers see the records behind such places, which are found here by
    nothing but their signature and their size, stated at both ends.
    """
    copy = bytearray(log)
    copy.extend(bytes(-(len(log) - CHUNKS_AT) % CHUNK_SIZE))  # a last slot that is cut
    for slot in range(CHUNKS_AT, len(copy), CHUNK_SIZE):
        chunk = copy[slot : slot + CHUNK_SIZE]
        if chunk.startswith(b"ElfChnk\0"):
            for begin, end in gaps(bytes(chunk)):
                if end - begin >= SMALLEST_RECORD + len(NOTHING):
                    mend(chunk, begin, end)
            copy[slot : slot + CHUNK_SIZE] = chunk
    return bytes(copy)
