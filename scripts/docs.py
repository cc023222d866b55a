#!/usr/bin/env python3
"""Checks the pages: runs what is marked, follows links, compares quoted sources.

<!-- run --> in front of a block runs it with bash from the repository's root;
<!-- run-with: PACKAGE... --> is only run when asked for with --all;
<!-- prints --> is what the block before must print, at the end of its output;
<!-- from: FILE --> is a block that must stand in FILE to the letter.
"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MARKED = re.compile(r"<!-- (run|run-with|prints|from)(?:: ([^>]*?))? -->\n```\w*\n(.*?)```", re.S)
LINK = re.compile(r"\]\(([^)#\s]+)(?:#[^)]*)?\)")


def pages():
    listed = subprocess.run(["git", "ls-files", "*.md"], cwd=ROOT, check=True, text=True,
                            stdout=subprocess.PIPE).stdout
    return [ROOT / name for name in listed.split()]


def broken_links(page):
    text = re.sub(r"```.*?```", "", page.read_text(), flags=re.S)
    return [target for target in LINK.findall(text)
            if "://" not in target and not (page.parent / target).exists()]


def run(block):
    done = subprocess.run(["bash", "-euo", "pipefail", "-c", block], cwd=ROOT, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.returncode, done.stdout


def faults_of(page, run_all):
    faults = [f"no {target}" for target in broken_links(page)]
    printed = ""
    for kind, argument, block in MARKED.findall(page.read_text()):
        if kind == "from":
            if block not in (ROOT / argument).read_text():
                faults.append(f"a block differs from {argument}")
        elif kind == "prints":
            if not printed.endswith(block):
                faults.append(f"expected\n{block}got\n{printed}")
        elif kind == "run" or run_all:
            print(f"{page.relative_to(ROOT)}: {block.splitlines()[0]} ...", flush=True)
            status, printed = run(block)
            if status != 0:
                faults.append(f"status {status} of\n{block}{printed}")
    return [f"{page.relative_to(ROOT)}: {fault}" for fault in faults]


def main():
    faults = [fault for page in pages() for fault in faults_of(page, "--all" in sys.argv)]
    print("\n".join(faults) if faults else f"{len(pages())} pages: commands run, links lead somewhere")
    return 1 if faults else 0


sys.exit(main())
