#!/usr/bin/env python3
"""Runs every `$ viewgeo ...` example of docs/cli.md, in order, on a private
file root, and compares what the tool prints (standard output, then standard error)
with the text under it. `$ cat FILE` writes the text under it to
FILE, `$ echo $?` compares the last status, a line "..." stands for any
number of lines. Other commands are not run.

Usage: docs_examples.py TOOL DOC [--print]   (--print shows what the tool gives)
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile


def examples(doc):
    """(command, expected lines) for every "$ " line of the code blocks."""
    out, block, current = [], False, None
    for line in open(doc, encoding="utf-8").read().split("\n"):
        if line.startswith("```"):
            block = not block
            current = None
            continue
        if not block:
            continue
        if line.startswith("$ "):
            current = (line[2:], [])
            out.append(current)
        elif current is not None:
            current[1].append(line)
    return out


def matches(expected, got):
    if "..." not in expected:
        return expected == got
    head = expected[: expected.index("...")]
    tail = expected[expected.index("...") + 1:]
    return got[: len(head)] == head and (not tail or got[-len(tail):] == tail) and len(got) >= len(head) + len(tail)


def main():
    tool, doc = os.path.abspath(sys.argv[1]), sys.argv[2]
    show = "--print" in sys.argv
    work = tempfile.mkdtemp(prefix="viewgeo-docs-")
    root = os.path.join(work, "root")
    bindir = os.path.join(work, "bin")
    os.makedirs(os.path.join(root, "etc", "viewgeo"))
    os.makedirs(bindir)
    with open(os.path.join(bindir, "viewgeo"), "w") as wrapper:
        wrapper.write('#!/bin/sh\nVIEWGEO_TEST_ROOT="%s" exec "%s" "$@"\n' % (root, tool))
    os.chmod(os.path.join(bindir, "viewgeo"), 0o755)
    env = dict(os.environ, PATH=bindir + ":" + os.environ["PATH"])
    failures, ran, status = 0, 0, 0
    try:
        for command, expected in examples(doc):
            while expected and expected[-1] == "":
                expected.pop()
            if command.startswith("cat "):
                with open(os.path.join(work, command[4:].strip()), "w") as f:
                    f.write("\n".join(expected) + "\n")
                continue
            if command == "echo $?":
                got = [str(status)]
            elif command.startswith("viewgeo"):
                setup = re.search(r"#\s*with (\S+) a directory", command)
                run = command.split("#")[0] if setup else command
                if setup:
                    path = root + setup.group(1)
                    if os.path.isfile(path):
                        os.remove(path)
                    os.makedirs(path, exist_ok=True)
                r = subprocess.run(run, shell=True, cwd=work, env=env, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
                if setup:
                    shutil.rmtree(root + setup.group(1))
                status = r.returncode
                got = (r.stdout + r.stderr).rstrip("\n").split("\n") if r.stdout + r.stderr else []
            else:
                continue
            ran += 1
            if show:
                print("$ " + command)
                print("\n".join(got))
            elif not matches(expected, got):
                failures += 1
                print("docs example differs: $ " + command)
                print("  documented:\n    " + "\n    ".join(expected))
                print("  printed:\n    " + "\n    ".join(got))
    finally:
        shutil.rmtree(work)
    if not show:
        print("docs examples: %d run, %d differ" % (ran, failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
