#!/usr/bin/env python3
"""Holds the page of options and the completions of shells to the program's own table of options.

Usage: check_options.py SOURCE_DIR TARNLEX [--write]

docs/options.md and the completions for zsh and fish are made of what -options prints; --write makes
them anew. The completion for bash is written by hand: it must name the same options, and know which
of them have a value.
"""
import re
import subprocess
import sys

source, program = sys.argv[1:3]


def table():
    """Groups of (name, value, help), in the order of the program."""
    text = subprocess.run([program, "-options"], capture_output=True, check=True, text=True).stdout
    groups = []
    for block in text.strip().split("\n\n"):
        title, *lines = block.split("\n")
        entries = [re.fullmatch(r"  (\S+)(?: (\S.*?))? {2,}(\S.*)", line).groups(default="")
                   for line in lines]
        groups.append((title, entries))
    return groups


def page(groups):
    text = ("# All options\n\nAs `tarnlex -options` prints them; `man tarnlex` says more of each. "
            "Names are matched whole\nand without regard to case.\n")
    for title, entries in groups:
        text += f"\n## {title}\n\n| option | what for |\n|---|---|\n"
        for name, value, words in entries:
            option = f"{name} {value}".strip().replace("|", "\\|")
            text += f"| `{option}` | {words} |\n"
    return text


FILES = {"PATH": "_files", "FILE": "_files", "FOLDER": "_files -/", "VOLUME": "_files -/"}


def kind(value):
    return re.match(r"[A-Z]*", value.strip('"'))[0]


def for_zsh(groups):
    text = "#compdef tarnlex\n# Made of what tarnlex -options prints.\n_arguments \\\n"
    for _, entries in groups:
        for name, value, words in entries:
            words = words.replace("[", "\\[").replace("]", "\\]")
            behind = f":{kind(value)}:{FILES.get(kind(value), ' ')}" if value else ""
            text += f"  '{name}[{words}]{behind}' \\\n"
    return text.removesuffix(" \\\n") + "\n"


def for_fish(groups):
    text = "# Made of what tarnlex -options prints.\ncomplete -c tarnlex -f\n"
    for _, entries in groups:
        for name, value, words in entries:
            if not name.startswith("-"):
                continue
            option = f"-l {name[2:]}" if name.startswith("--") else f"-o {name[1:]}"
            if name == "-h":
                option = "-s h"
            behind = ""
            if value:
                files = {"FILE": " -F", "PATH": " -F", "FOLDER": " -a '(__fish_complete_directories)'",
                         "VOLUME": " -a '(__fish_complete_directories)'"}
                behind = " -x" if kind(value) not in files else " -r" + files[kind(value)]
            text += f"complete -c tarnlex {option}{behind} -d '{words}'\n"
    return text


def check_bash(groups):
    with open(f"{source}/completions/tarnlex.bash", encoding="utf-8") as file:
        code = file.read()
    options = {name: value for _, entries in groups for name, value, _ in entries if name != "/?"}
    named = set(re.search(r"options='([^']*)'", code)[1].split())
    cases = re.search(r"case \$before in\n(.*?)esac", code, re.S)[1].replace("\\\n", " ")
    with_value = set(re.findall(r"-[a-z][a-z0-9_]*(?=[^;]*\))", "".join(
        line for line in re.findall(r"^ +(-[^)]*\))", cases, re.M))))
    wrong = [f"the completion for bash: {name}" for name in sorted(named ^ set(options))]
    wanted = {name for name, value in options.items() if value}
    return wrong + [f"the completion for bash, value of {name}" for name in sorted(with_value ^ wanted)]


groups = table()
made = {"docs/options.md": page(groups), "completions/tarnlex.zsh": for_zsh(groups),
        "completions/tarnlex.fish": for_fish(groups)}
problems = check_bash(groups)
for path, text in made.items():
    if "--write" in sys.argv:
        with open(f"{source}/{path}", "w", encoding="utf-8") as file:
            file.write(text)
        continue
    try:
        with open(f"{source}/{path}", encoding="utf-8") as file:
            written = file.read()
    except OSError:
        written = ""
    if written != text:
        problems.append(f"{path} is not what -options says; --write makes it so")
if len(groups) < 5:
    problems.append(f"-options has only {len(groups)} groups: has its form changed?")
for problem in problems:
    print(problem)
sys.exit(1 if problems else 0)
