#!/usr/bin/env python3
"""Checks that the manual page and the shell completion know every option and message, and that the
list of changes knows the program's version.

Usage: check_manual.py SOURCE_DIR TARNLEX

The options are those that the program's own sources look for and those of its usage text; the
messages are those that the sources write. What stands in the page or the completion but nowhere in
the program is a mistake too.
"""
import glob
import re
import subprocess
import sys

source, program = sys.argv[1:]
problems = []


def read(path):
    with open(f"{source}/{path}", encoding="utf-8") as file:
        return file.read()


def sources(*folders, without=()):
    paths = [path for folder in folders for path in sorted(glob.glob(f"{source}/{folder}/*.cpp"))
             if not path.endswith(tuple(without))]
    assert paths, folders
    texts = []
    for path in paths:
        with open(path, encoding="utf-8") as file:
            texts.append(file.read())
    return "\n".join(texts)


def literals(code):
    """The string literals of some code, neighbours joined as the compiler joins them."""
    code = re.sub(r'"\s*\n\s*"', "", code)
    return [re.sub(r"\\n", "", text).replace('\\"', '"')
            for text in re.findall(r'"((?:[^"\\\n]|\\.)*)"', code)]


def usage_text():
    return subprocess.run([program, "-h"], capture_output=True, check=True, text=True).stderr


def options_of_usage(usage):
    return set(re.findall(r"(?<![\w-])-[a-z][a-z0-9_]*", usage))


def options_of_program(usage):
    looked_for = literals(sources("app", without=["/option_table.cpp", "/remarks.cpp"]))
    looked_for += re.findall(r'IsOnly\(args, "([^"]*)"\)', sources("app"))
    found = {text for text in looked_for if re.fullmatch(r"--?[a-z0-9_]+|/\?", text)}
    in_usage = options_of_usage(usage)
    if len(in_usage) < 25:
        problems.append(f"the usage text has only {len(in_usage)} options")
    for option in in_usage - found:
        problems.append(f"{option} stands in the usage text, but nothing looks for it")
    compare("the table of options", set(option_table()), found)
    return found


def option_table():
    """The options that -options prints, with whether they have a value."""
    text = subprocess.run([program, "-options"], capture_output=True, check=True, text=True).stdout
    return {name: value != "" for name, value in
            re.findall(r"^  (\S+)(?: (\S.*?)|) {2,}\S.*$", text, re.M)}


def check_values(page):
    """The page gives a value to the options that have one, and to no others."""
    table = option_table()
    for line in re.findall(r"^\.It (Fl .*)$", page, re.M):
        for part in re.findall(r"Fl (-?[a-z0-9_]+( Ar)?)", line):
            name = "-" + part[0].split()[0]
            if table.get(name) not in (None, part[1] != ""):
                problems.append(f"the manual page and the table differ on the value of {name}")


def compare(where, theirs, ours):
    for option in sorted(ours - theirs):
        problems.append(f"{where} lacks {option}")
    for option in sorted(theirs - ours):
        problems.append(f"{where} has {option}, the program does not")


def check_options(usage):
    options = options_of_program(usage)
    page = read("docs/tarnlex.1")
    described = set()
    for line in page.splitlines():
        if line.startswith(".It "):
            described.update("-" + name for name in re.findall(r"Fl (-?[a-z0-9_]+)", line))
            described.update(re.findall(r"/\?", line))
    compare("the manual page", described, options)
    check_values(page)
    not_in_usage = re.search(r"^The usage leaves out\n((?:\.Fl .*\n)+)", page, re.M)
    left_out = re.findall(r"(?<= )-?[a-z0-9_]+", not_in_usage[1]) if not_in_usage else []
    compare("what the usage leaves out, by the manual page,", {"-" + name for name in left_out},
            options - options_of_usage(usage) - {"/?"})
    completed = set(re.search(r"options='([^']*)'", read("completions/tarnlex.bash"))[1].split())
    compare("the completion", completed, options - {"/?"})
    return len(options)


def check_messages():
    code = sources("app", "evtx", "logs", "reports", "output")
    calls = re.findall(r"(?:\bSay|\bRemark|\bTraceLine|AppendNow)\((?:[^();]|\((?:[^();]|\([^()]*\))*\))*\)",
                       code)
    texts = [text for call in calls if "messages" in call or not call.startswith("AppendNow")
             for text in literals(call)]
    # Messages that stand as constants, since several places say them.
    texts += literals("".join(re.findall(r"string_view kNeed\w+ =[^;]*;", code)))
    rendered = subprocess.run(["mandoc", "-Tutf8", "-Owidth=1000", f"{source}/docs/tarnlex.1"],
                              capture_output=True, check=False, text=True).stdout
    page = re.sub(r".\x08", "", rendered)
    messages = [text.strip(" ,") for text in texts if " " in text.strip(" ,") and re.search(r"[a-z]{4}", text)
                and not re.match(r"(->|0x|---)|.*(: |0x|\[)$", text)]
    for text in messages:
        if text not in page:
            problems.append(f'the manual page lacks the message "{text}"')
    return len(messages)


def check_changes(usage):
    """What is handed out is of the program's version, and what comes next is collected above it."""
    version = re.search(r"^tarnlex ver: (\S+)$", usage, re.M)[1]
    headings = re.findall(r"^## (.*)$", read("CHANGELOG.md"), re.M)
    wanted = rf"Unreleased\n{re.escape(version)} \(\d{{4}}-\d\d-\d\d\)"
    if not re.fullmatch(wanted, "\n".join(headings[:2])):
        problems.append(f"CHANGELOG.md does not begin with Unreleased and {version} with its date, "
                        f"but with {headings[:2]}")


def check_form():
    lint = subprocess.run(["mandoc", "-Tlint", f"{source}/docs/tarnlex.1"],
                          capture_output=True, check=False, text=True).stdout
    # Whether the other pages it refers to are installed is not its fault.
    problems.extend(line for line in lint.splitlines() if "referenced manual not found" not in line)


usage = usage_text()
options = check_options(usage)
messages = check_messages()
check_changes(usage)
check_form()
for problem in problems:
    print(problem)
if messages < 20:
    sys.exit(f"found only {messages} messages in the sources: has their form changed?")
print(f"{options} options, {messages} texts of messages")
sys.exit(1 if problems else 0)
