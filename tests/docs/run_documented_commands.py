#!/usr/bin/env python3
"""Runs every command of the documents, in a place where the files they speak of exist.

Usage: run_documented_commands.py SOURCE_DIR TARNLEX MAKE_SAMPLE_LOG [--packages DIR] [--required]

--packages names a virtual environment that has the Python packages of the documents; where there is none,
this Python is used, and what it has.

Every block of code in README.md, CONTRIBUTING.md, ARCHITECTURE.md and docs/*.md is fenced and says what it is:

  sh, python  is run as it stands; comments before it say what must come of it:
                <!-- expect: REGEX -->       a line of its output
                <!-- expect FILE: REGEX -->  a line of a file that it makes
                <!-- expect every log: DIR -->  DIR holds of each log under /evidence what one run
                                             over that log alone writes, and nothing else
                <!-- expect imported: FILE -->  the server https://timesketch.example has been sent each
                                             event of FILE
                <!-- expect bulk: FILE -->   FILE is what Elasticsearch takes in bulk, with each event
                                             that the other files beside it ending in .jsonl hold
                <!-- needs: TOOL ... -->     left out where a tool is missing ("python:MODULE" for a
                                             module), but a failure with --required
                <!-- checked by: FILE -->    too big to be run here: FILE runs each command
  console     "$ " commands with what they print; "..." stands for any lines
  text        is not a command

The examples of the manual page are run too, and the calls in docs/examples. All run in a folder that has
logs and, as the checkout and the packages have, docs/examples.
"""
import datetime
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

import timesketch_server

HOSTS = 10
SKETCHES = timesketch_server.start()


class Block:
    def __init__(self, document, line, language, marks):
        self.where = f"{document}:{line}"
        self.language = language
        self.marks = marks
        self.lines = []

    def marks_of(self, kind):
        return [mark[len(kind):].strip() for mark in self.marks if mark.startswith(kind)]


def read_blocks(path, document, problems):
    blocks, marks, block = [], [], None
    before = ""
    for number, line in enumerate(open(path, encoding="utf-8"), 1):
        line = line.rstrip("\n")
        fence = re.match(r" *```(.*)$", line)
        if fence and block is None:
            block = Block(document, number, fence[1], marks)
        elif fence:
            blocks.append(block)
            block, marks = None, []
        elif block is not None:
            block.lines.append(line)
        else:
            mark = re.match(r" *<!-- ((?:expect|needs|checked by)\b.*) -->$", line)
            if mark:
                marks.append(mark[1])
            elif line.strip() and marks:
                problems.append(f"{document}:{number}: a mark that no block follows")
                marks = []
            if line.startswith("    ") and not before.strip():
                problems.append(f"{document}:{number}: indented code; fence it and say what it is")
            before = line
    return blocks


def prepare(place, source, tarnlex, make_sample_log):
    """The world of the documents: logs here, a mounted volume, the evidence of some hosts."""
    os.makedirs(f"{place}/bin")
    os.symlink(tarnlex, f"{place}/bin/tarnlex")
    # The package for Python as it is in the checkout.
    os.environ["PYTHONPATH"] = f"{source}/python/src"
    with open(f"{place}/bin/tarnlex-desk", "w", encoding="utf-8") as desk:
        desk.write('#!/bin/sh\nexec python3 -m tarnlex.desk "$@"\n')
    os.chmod(f"{place}/bin/tarnlex-desk", 0o755)
    work = f"{place}/work"
    subprocess.run([make_sample_log, work], check=True)
    for name in ("a.evtx", "b.evtx"):
        shutil.copy(f"{work}/Security.evtx", f"{work}/{name}")
    # Where a reader of README.md has them.
    shutil.copytree(f"{source}/docs/examples", f"{work}/docs/examples")

    def host(root):
        logs, config = f"{root}/Windows/System32/winevt/Logs", f"{root}/Windows/System32/config"
        os.makedirs(logs)
        os.makedirs(config)
        for name in ("Security.evtx", "System.evtx"):
            shutil.copy(f"{work}/{name}", logs)
        # One log of a channel's own name, as most are, with a "%" in it.
        shutil.copy(f"{work}/System.evtx", f"{logs}/Example-Provider%4Operational.evtx")
        return config

    host(f"{place}/mnt/windows")
    for number in range(HOSTS):
        config = host(f"{place}/evidence/host {number}")
        shutil.copy(f"{work}/SecEvent.Evt", config)
        shutil.copy(f"{work}/SysEvent.Evt", config)
    with open(f"{place}/evidence/host 0/notes.txt", "w", encoding="utf-8") as notes:
        notes.write("These are notes, not a log.\n")
    # One has been tampered with: a byte of its chunk's header that nothing reads, but its checksum.
    with open(f"{place}/evidence/host 6/Windows/System32/winevt/Logs/System.evtx", "r+b") as log:
        log.seek(4096 + 80)
        log.write(b"\xff")
    # And one whose first record has no time in its header, as real logs have now and then.
    shutil.copy(f"{work}/System.evtx", f"{work}/Application.evtx")
    with open(f"{work}/Application.evtx", "r+b") as log:
        log.seek(4096 + 512 + 16)
        log.write(bytes(8))
    return work


def run(command, place, work):
    """Exit code and output of a command whose absolute paths are moved into the place."""
    environment = dict(os.environ, PATH=f"{place}/bin:{os.environ['PATH']}", HOME=place,
                       LC_ALL="C.UTF-8", TIMESKETCH_PASSWORD="secret")
    for root in ("/evidence", "/mnt/windows"):
        command = [re.sub(rf"(?<![\w/.]){root}\b", place + root, part) for part in command]
    sketches = f"http://127.0.0.1:{SKETCHES.server_port}"
    command = [part.replace("https://timesketch.example", sketches) for part in command]
    done = subprocess.run(command, cwd=work, env=environment, capture_output=True, check=False)
    text = (done.stdout + done.stderr).decode("utf-8", "replace")
    return done.returncode, text.replace(place, "")


def has_line(text, pattern):
    return re.search(pattern, text, re.MULTILINE) is not None


def body(run_output):
    """What comes behind the run header."""
    return run_output.split(b"\n", 4)[4]


def check_every_log(directory, place, work, tarnlex):
    """Problems of a folder that should hold, log by log, what single runs write."""
    expected = {}
    for log in glob.glob(f"{place}/evidence/**/*.[eE][vV][tT]*", recursive=True):
        single = subprocess.run([tarnlex, "-log", log, "-csvgen", "-quiet"], capture_output=True,
                                check=True).stdout
        if body(single):
            expected[f"{work}/{directory}{log}.csv"] = body(single)
    found = {path: open(path, "rb").read()
             for path in glob.glob(f"{work}/{directory}/**/*.*", recursive=True)}
    rows = sum(text.count(b"\n") - 1 for text in expected.values())
    if len(expected) < 5 * HOSTS or rows < 80 * HOSTS:
        yield f"only {len(expected)} logs with {rows} rows to compare with"
    for path in sorted(expected.keys() | found.keys()):
        if expected.get(path) != found.get(path):
            yield f"{path}: {len(found.get(path, b''))} bytes, " \
                  f"a run over the log alone writes {len(expected.get(path, b''))}"
    shutil.rmtree(f"{work}/{directory}", ignore_errors=True)


def read_events(path):
    """Lines end with a line feed and with nothing else."""
    with open(path, "rb") as file:
        return [json.loads(line) for line in file.read().split(b"\n")[:-1]]


def check_imported(path):
    """Problems of what the server was sent of a file."""
    sent, SKETCHES.events = SKETCHES.events, []
    events = read_events(path)
    if len(events) < 20 or len(sent) != len(events):
        yield f"{len(sent)} of {len(events)} events were sent"
        return
    for got, event in zip(sent, events):
        times = [datetime.datetime.fromisoformat(one.pop("datetime")) for one in (got, event)]
        if times[0] != times[1] or not got.get("message") or not got.get("timestamp_desc"):
            yield f"sent as {times[0]}, {got}, not as {times[1]}"
        elif got != event:
            yield f"sent as {got}, not as {event}"


def check_bulk(path):
    """Problems of a file whose every other line says what to do with the event behind it."""
    lines = read_events(path)
    others = glob.glob(f"{os.path.dirname(path)}/*.jsonl")
    events = [event for other in others for event in read_events(other)]
    actions = [line["index"] for line in lines[::2]]
    if len(events) < 20 or len({(one["_index"], one["_id"]) for one in actions}) != len(events):
        yield f"{len(actions)} actions for {len(events)} events, or some of one name"
    missing = [event for event in events if event not in lines[1::2]]
    if missing or len(lines) != 2 * len(events):
        yield f"{len(missing)} events are missing from {len(lines)} lines, among them {missing[:1]}"


def check_block(block, place, work, tarnlex):
    """Runs a sh or python block and yields what is wrong."""
    code = "\n".join(block.lines)
    interpreter = ["bash", "-euo", "pipefail", "-c"] if block.language == "sh" else ["python3", "-c"]
    status, output = run([*interpreter, code], place, work)
    if status != 0:
        yield f"ended with {status}: {output[-500:]}"
    if not block.marks_of("expect"):
        yield "nothing is expected of it"
    for mark in block.marks_of("expect"):
        where, pattern = (part.strip() for part in mark.split(":", 1))
        if where == "every log":
            yield from check_every_log(pattern, place, work, tarnlex)
            continue
        if where in ("imported", "bulk"):
            check = check_imported if where == "imported" else check_bulk
            yield from check(f"{work}/{pattern}")
            continue
        text = output
        if where:
            try:
                text = open(f"{work}/{where}", encoding="utf-8").read()
            except OSError as error:
                yield str(error)
                continue
        if not has_line(text, pattern):
            yield f'no line of {where or "its output"} matches "{pattern}": {text[:300]}'


def same_line(shown, got):
    """Times, hosts and the program's path differ from run to run."""
    for varying in ("run time: ", '"cmdline: '):
        if shown.startswith(varying):
            return got.startswith(varying)
    return shown.rstrip() == got.rstrip()


def matches(shown, got):
    if not shown:
        return not got
    if shown[0] == "...":
        return any(matches(shown[1:], got[skip:]) for skip in range(len(got) + 1))
    return bool(got) and same_line(shown[0], got[0]) and matches(shown[1:], got[1:])


def check_console(block, place, work):
    commands = []
    for line in block.lines:
        if line.startswith("$ "):
            commands.append((line[2:], []))
        elif commands:
            commands[-1][1].append(line)
    if not commands:
        yield 'no command: none of its lines begins with "$ "'
    for command, shown in commands:
        status, output = run(["bash", "-euo", "pipefail", "-c", command], place, work)
        got = output.rstrip("\n").split("\n")
        got = [line for line in got if line != "... running w/o admin privileges ..."]
        while shown and not shown[-1].strip():
            shown.pop()
        if status != 0:
            yield f"{command}: ended with {status}"
        if not matches(shown, got):
            yield f"{command}: shows what it does not print; it prints:\n{output[:3000]}"


def check_elsewhere(block, source):
    """Whether the file named runs each command of the block."""
    for name in block.marks_of("checked by:"):
        text = open(f"{source}/{name}", encoding="utf-8").read()
        for line in block.lines:
            words = line.split("#")[0].split()
            words = [word for word in words if not re.match(r"\[|[A-Z]+$", word)]
            words = words[:1 if words and "=" in words[0] else 2]  # a setting, or command and verb
            if words and " ".join(words) not in text:
                yield f'{name} does not run "{" ".join(words)}"'


def check_links(source, paths, problems):
    for path in paths + glob.glob(f"{source}/docs/*.md"):
        text = open(path, encoding="utf-8").read()
        for target in re.findall(r"\]\(([^)#]+)[^)]*\)", text):
            if not os.path.exists(os.path.join(os.path.dirname(path), target)):
                problems.append(f"{os.path.relpath(path, source)}: a link to {target}, which is not there")


def manual_blocks(source):
    """The examples of the manual page, each as a block of its own."""
    page = open(f"{source}/docs/tarnlex.1", encoding="utf-8").read()
    examples = re.search(r"\.Sh EXAMPLES\n(.*?)\n\.Sh ", page, re.S)[1]
    for text in re.findall(r"^\.Dl ([^\n]*)$|^\.Bd -literal.*?\n(.*?)\n\.Ed$", examples, re.M | re.S):
        block = Block("docs/tarnlex.1", 0, "sh", ["expect: 4624"])
        block.lines = "".join(text).split("\n")
        if "-outdir found" in block.lines[-1]:
            block.marks = ["expect found/Security.evtx.csv: ,4624,"]
        yield block


def example_blocks(source):
    """The call that each example says it is run by; all of them pick failed logons, among others."""
    for path in sorted(glob.glob(f"{source}/docs/examples/*")):
        call = re.search(r"^// Run: (.*)$", open(path, encoding="utf-8").read(), re.M)
        block = Block(os.path.relpath(path, source), 0, "sh", ["expect: logon/failed"])
        block.lines = [call[1] if call else "false"]
        yield block


def is_missing(need):
    if need == "tarnlex-desk":
        return any(is_missing(f"python:{module}") for module in ("duckdb", "jinja2", "plotly", "rich", "sigma"))
    if need.startswith("python:"):
        found = ["python3", "-c", f"import {need[len('python:'):]}"]
        return subprocess.run(found, capture_output=True, check=False).returncode != 0
    return shutil.which(need) is None


def main():
    source, tarnlex, make_sample_log = (os.path.realpath(path) for path in sys.argv[1:4])
    required = "--required" in sys.argv
    # "python3" is the one whose modules are asked for.
    programs = os.path.dirname(sys.executable)
    if "--packages" in sys.argv:
        packages = os.path.realpath(sys.argv[sys.argv.index("--packages") + 1]) + "/bin"
        programs = packages if os.path.exists(f"{packages}/python3") else programs
    os.environ["PATH"] = f"{programs}:{os.environ['PATH']}"
    problems, counts = [], {"run": 0, "checked elsewhere": 0, "left out": 0}
    paths = [f"{source}/{name}.md" for name in ("README", "CONTRIBUTING", "ARCHITECTURE")]
    check_links(source, paths, problems)
    documents = [(os.path.relpath(path, source), None)
                 for path in paths + sorted(glob.glob(f"{source}/docs/*.md"))]
    documents.append(("docs/tarnlex.1", list(manual_blocks(source))))
    documents.append(("docs/examples", list(example_blocks(source))))
    for document, blocks in documents:
        if blocks is None:
            blocks = read_blocks(f"{source}/{document}", document, problems)
        with tempfile.TemporaryDirectory(prefix="tarnlex_docs_") as place:
            work = prepare(place, source, tarnlex, make_sample_log)
            for block in blocks:
                missing = [n for need in block.marks_of("needs:") for n in need.split() if is_missing(n)]
                if block.language == "text":
                    continue
                if block.marks_of("checked by:"):
                    kind, found = "checked elsewhere", check_elsewhere(block, source)
                elif missing and not required:
                    kind, found = "left out", []
                    print(f"{block.where}: left out, {' '.join(missing)} is not installed")
                elif missing:
                    kind, found = "run", [f"{' '.join(missing)} is not installed"]
                elif block.language in ("sh", "python"):
                    kind, found = "run", check_block(block, place, work, tarnlex)
                elif block.language == "console":
                    kind, found = "run", check_console(block, place, work)
                else:
                    kind, found = "run", [f'a block of "{block.language}"; say what it is']
                counts[kind] += 1
                problems.extend(f"{block.where}: {problem}" for problem in found)
    for problem in problems:
        print(problem)
    print(", ".join(f"{count} blocks {kind}" for kind, count in counts.items()))
    if counts["run"] < 10:
        sys.exit("too few commands were found: has the form of the documents changed?")
    sys.exit(1 if problems else 0)


main()
