#!/usr/bin/env python3
"""Checks the pages: runs what is marked, follows links, compares quoted sources.

<!-- run --> in front of a block runs it with bash from the repository's root;
<!-- run-with: PACKAGE... --> is only run when asked for with --all;
<!-- prints --> is what the block before must print, at the end of its output;
<!-- shows --> is a part of it;
<!-- desk --> is typed into ./demo --shell, one shell a page: behind "$ " a command, with what
stands between <<END and END, then what it prints;
<!-- from: FILE --> is a block that must stand in FILE to the letter.

In what is printed "…" stands for anything within a line, and a line of "..." for any lines.
"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MARKED = re.compile(r"<!-- (run|run-with|prints|shows|desk|from)(?:: ([^>]*?))? -->\n"
                    r"```\w*\n(.*?)```", re.S)
STEP = re.compile(r"(.*<<'?END'?\n.*?^END|[^\n]*)\n(.*)", re.S | re.M)
LINK = re.compile(r"\]\(([^)#\s]+)(?:#[^)]*)?\)")


def pages():
    listed = subprocess.run(["git", "ls-files", "*.md"], cwd=ROOT, check=True, text=True,
                            stdout=subprocess.PIPE).stdout
    return [ROOT / name for name in listed.split()]


def broken_links(page):
    text = re.sub(r"```.*?```", "", page.read_text(), flags=re.S)
    return [target for target in LINK.findall(text)
            if "://" not in target and not (page.parent / target).exists()]


def pattern_of(wanted):
    """What a page says is printed, as a regular expression."""
    lines = [r"(?:.*\n)*?" if line == "...\n" else re.escape(line).replace("…", ".*?")
             for line in wanted.splitlines(keepends=True)]
    return "".join(lines)


def run(block):
    done = subprocess.run(["bash", "-euo", "pipefail", "-c", block], cwd=ROOT, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.returncode, done.stdout


def faults_of_desk(blocks):
    """A shell on the desk: what its commands print against what the page says."""
    steps = [STEP.fullmatch(step).groups() for block in blocks
             for step in re.split(r"^\$ ", block, flags=re.M)[1:]]
    # The modem has told its first reports by then, as it has when somebody types.
    typed = "sleep 2\n" + "".join(f"{command}\necho '-- end --'\n" for command, _ in steps)
    done = subprocess.run(["./demo", "--shell"], cwd=ROOT, text=True, input=f"exec 2>&1\n{typed}",
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    # The prompt goes to standard error, which is standard output here.
    printed = re.sub(r"^(?:bash-[\d.]+[#$] .*\n)+", "", done.stdout, flags=re.M)
    printed = printed.partition("leave with exit.\n")[2].split("-- end --\n")
    faults = []
    for number, (command, wanted) in enumerate(steps):
        got = printed[number] if number < len(printed) else "nothing"
        if not re.fullmatch(pattern_of(wanted.strip("\n") + "\n"), got.strip("\n") + "\n"):
            faults.append(f"$ {command}\nexpected\n{wanted}got\n{got}")
    return faults


def faults_of(page, run_all):
    faults = [f"no {target}" for target in broken_links(page)]
    printed = ""
    desk = []
    for kind, argument, block in MARKED.findall(page.read_text()):
        if kind == "from":
            if block not in (ROOT / argument).read_text():
                faults.append(f"a block differs from {argument}")
        elif kind == "prints":
            if not printed.endswith(block):
                faults.append(f"expected\n{block}got\n{printed}")
        elif kind == "shows":
            if not re.search("^" + pattern_of(block), printed, re.M):
                faults.append(f"expected\n{block}in\n{printed}")
        elif kind == "desk":
            desk.append(block)
        elif kind == "run" or run_all:
            print(f"{page.relative_to(ROOT)}: {block.splitlines()[0]} ...", flush=True)
            status, printed = run(block)
            if status != 0:
                faults.append(f"status {status} of\n{block}{printed}")
    if desk:
        print(f"{page.relative_to(ROOT)}: what is typed into ./demo --shell ...", flush=True)
        faults += faults_of_desk(desk)
    return [f"{page.relative_to(ROOT)}: {fault}" for fault in faults]


def main():
    faults = [fault for page in pages() for fault in faults_of(page, "--all" in sys.argv)]
    print("\n".join(faults) if faults else f"{len(pages())} pages: commands run, links lead somewhere")
    return 1 if faults else 0


sys.exit(main())
