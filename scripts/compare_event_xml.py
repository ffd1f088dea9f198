#!/usr/bin/env python3
"""Compares -event_xml with what two other readers make of the same logs: the Python package "evtx",
and evtxexport where it reads a log.

Our output has to be one well-formed document (expat decides). Of each record that another reader has,
the elements, in order, with their attributes and texts have to be equal, once the notations are that
are known to differ: see plain(). What may differ beyond that stands in explain() with its reason and
is counted; anything else fails the comparison.

usage: compare_event_xml.py TARNLEX LOG...
       compare_event_xml.py --self-test TARNLEX LOG...    a change of any one text is found
"""
import collections
import copy
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

import evtx

from comparing import Differences

# Characters that are none in XML; the other readers write them all the same.
NO_CHARACTER = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]")
TIME = re.compile(r"^(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d)\.(\d{3,9})Z$")
GUID = re.compile(r"^\{?([0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12})\}?$")
HEX = re.compile(r"^0x0*([0-9a-fA-F]+)$")


def plain(text):
    """A text in one notation: times to the microsecond (the package has no more digits), identifiers
    without braces, hexadecimal numbers without leading zeros, line ends as parsers give them."""
    text = (text or "").replace("\r\n", "\n").replace("\r", "\n")
    if found := TIME.match(text):
        return f"{found[1]}.{found[2]:0<6.6}"
    if found := GUID.match(text):
        return found[1].lower()
    if found := HEX.match(text):
        return "0x" + found[1].lower()
    return text


def content(element):
    """The text of an element: of one that holds others, or nothing else than what a writer puts
    there to indent them, without blanks at the ends."""
    texts = [element.text or ""] + [child.tail or "" for child in element]
    if len(element) > 0 or not texts[0].strip():
        return plain("".join(text.strip() for text in texts))
    return plain(texts[0])


def attributes(element):
    """Attributes with a text; that one is there without any is said by us alone."""
    return {name: plain(text) for name, text in element.attrib.items() if text}


def our_events(tarnlex, log):
    command = [tarnlex, "-log", log, "-event_xml", "-quiet"]
    run = subprocess.run(command, capture_output=True, check=True)
    root = ElementTree.fromstring(run.stdout)
    if root.tag != "Events":
        raise SystemExit(f"{log}: the root is {root.tag}")
    if run.stdout.count(b"\n") != len(root) + 2:
        raise SystemExit(f"{log}: not one event a line")
    return list(root)


def parsed(text):
    return ElementTree.fromstring(NO_CHARACTER.sub("\ufffd", text))


def events_of_package(log):
    events = []
    records = iter(evtx.PyEvtxParser(log, number_of_threads=1).records())
    while True:
        try:
            text = next(records)["data"]
        except StopIteration:
            return events
        except RuntimeError:  # a chunk or record that it gives up
            continue
        events.append(parsed(text[text.index("<Event"):]))


def events_of_evtxexport(log):
    """Its events, and how many of them are no XML: it does not escape texts that look like XML."""
    run = subprocess.run(["evtxexport", "-f", "xml", log], capture_output=True, check=False)
    text = run.stdout.decode("utf-8", "replace")
    events, broken = [], 0
    for event in re.findall(r"^<Event .*?^</Event>$", text, re.MULTILINE | re.DOTALL):
        try:
            events.append(parsed(event))
        except ElementTree.ParseError:
            broken += 1
    return events, broken


NAMESPACE = "{http://schemas.microsoft.com/win/2004/08/events/event}"


def key(event):
    """What an event is found by: number and time."""
    system = event.find(NAMESPACE + "System")
    if system is None:
        return None
    number = system.findtext(NAMESPACE + "EventRecordID", "").strip()
    time = system.find(NAMESPACE + "TimeCreated")
    return number, None if time is None else plain(time.get("SystemTime"))


def differences(ours, theirs, path=""):
    """Yields path, our value and theirs wherever two elements differ."""
    path += "/" + theirs.tag.split("}")[-1]
    if ours.tag != theirs.tag:
        yield path, ours.tag, theirs.tag
        return
    our, their = attributes(ours), attributes(theirs)
    for name in sorted(set(our) | set(their)):
        if our.get(name) != their.get(name):
            yield f"{path}@{name}", our.get(name), their.get(name)
    if content(ours) != content(theirs):
        yield path, content(ours), content(theirs)
    if len(ours) != len(theirs):
        yield path + "/*", [e.tag for e in ours], [e.tag for e in theirs]
        return
    for our_child, their_child in zip(ours, theirs):
        yield from differences(our_child, their_child, path)


def is_empty(element):
    return len(element) == 0 and not content(element) and not attributes(element)


def without_empty(ours, theirs):
    """Our element without empty ones that the other reader leaves out, and how many these were."""
    pruned = ElementTree.Element(ours.tag, ours.attrib)
    pruned.text, pruned.tail = ours.text, ours.tail
    left_out, rest = 0, list(theirs)
    for child in ours:
        if is_empty(child) and (not rest or rest[0].tag != child.tag):
            left_out += 1
            continue
        inner = 0
        if rest:
            child, inner = without_empty(child, rest.pop(0))
        pruned.append(child)
        left_out += inner
    return pruned, left_out


def explain(reader, ours, theirs):
    """The reason why a difference is none of ours, or None."""
    if reader == "evtx" and ours == "true" and re.match(r"-?\d+$", theirs or ""):
        return "a Boolean that is neither 0 nor 1: its number there"
    return None


class Comparison:
    def __init__(self):
        self.unexplained = Differences()
        self.explained = collections.Counter()
        self.records = collections.Counter()

    def event(self, reader, log, ours, theirs):
        self.records[reader] += 1
        if reader == "evtxexport":
            ours, left_out = without_empty(ours, theirs)
            if left_out:
                self.explained["evtxexport: an element without any text is left out there"] += 1
        for path, our, their in differences(ours, theirs):
            reason = explain(reader, our, their)
            if reason:
                self.explained[f"{reader}: {reason}"] += 1
            else:
                self.unexplained.note(f"{reader} {path}", f"{log}: {our!r} instead of {their!r}")

    def log(self, reader, log, ours, theirs):
        places = collections.defaultdict(collections.deque)
        for event in ours:
            places[key(event)].append(event)
        for event in theirs:
            if places[key(event)]:
                self.event(reader, log, places[key(event)].popleft(), event)
            else:
                self.unexplained.note(f"{reader}: record lost", f"{log}: {key(event)}")


def self_test(tarnlex, logs):
    """Changes one text after another; each change must be found, and nothing else."""
    tried = 0

    def found_one(event, changed):
        comparison = Comparison()
        comparison.event("self-test", "", changed, event)
        return sum(comparison.unexplained.counts.values()) == 1

    for log in logs:
        for event in our_events(tarnlex, log)[:5]:
            for number, element in enumerate(event.iter()):
                for name in [None, *element.attrib]:
                    changed = copy.deepcopy(event)
                    place = list(changed.iter())[number]
                    if name is None:
                        place.text = (place.text or "") + "x"
                    else:
                        place.set(name, place.get(name) + "x")
                    if not found_one(event, changed):
                        raise SystemExit(f"{log}: {element.tag} {name} can change unnoticed")
                    tried += 1
    if tried == 0:
        raise SystemExit("nothing to change")
    print(f"{tried} changed texts found")


def main():
    arguments = sys.argv[1:]
    if arguments[:1] == ["--self-test"]:
        self_test(arguments[1], arguments[2:])
        return 0
    if len(arguments) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    if not shutil.which("evtxexport"):
        raise SystemExit("evtxexport is not installed (libevtx-utils)")
    comparison = Comparison()
    for log in arguments[1:]:
        ours = our_events(arguments[0], log)
        comparison.log("evtx", log, ours, events_of_package(log))
        events, broken = events_of_evtxexport(log)
        comparison.log("evtxexport", log, ours, events)
        comparison.explained["evtxexport: no XML, a text that looks like it is not escaped"] += broken
    comparison.unexplained.show()
    for reason, count in comparison.explained.items():
        print(f"  {count:6} explained: {reason}")
    for reader, count in comparison.records.items():
        print(f"{reader}: {count} records compared")
    return 1 if comparison.unexplained.counts else 0


if __name__ == "__main__":
    sys.exit(main())
