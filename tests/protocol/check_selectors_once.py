#!/usr/bin/env python3
"""Checks that each selector of the remote interface is spelled once in the
C++ sources outside docs/ and the test side (tests/, fuzz/, bench/): in its
row of protocol/QRLRemoteInterface.h.
Proxies, performers and the controller refer to the row instead.

Usage: check_selectors_once.py SOURCE_DIR QRL_PROGRAM
(the selectors come from `QRL_PROGRAM call --list`). Exits 1 with one line
per selector spelled elsewhere or not at all, else prints a summary.
"""
import os
import re
import subprocess
import sys

SKIPPED = {"tests", "fuzz", "bench", "docs", "build", ".git"}
SUFFIXES = (".h", ".hpp", ".cpp", ".cc")
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
# Adjacent literals, as the compiler joins them: "a:" "b:" is "a:b:".
ADJACENT = re.compile(r'"\s*\n?\s*"')


def literals(path):
    with open(path, encoding="utf-8") as f:
        text = ADJACENT.sub("", f.read())
    return LITERAL.findall(text)


def main(source_dir, qrl):
    listing = subprocess.run([qrl, "call", "--list"], check=True, capture_output=True,
                             text=True).stdout
    selectors = [line.split("\t")[0] for line in listing.splitlines()]
    places = {selector: [] for selector in selectors}
    files = 0
    for directory, subdirectories, names in os.walk(source_dir):
        if directory == source_dir:
            subdirectories[:] = [d for d in subdirectories
                                 if d not in SKIPPED and not d.startswith("build")]
        for name in sorted(names):
            if not name.endswith(SUFFIXES):
                continue
            files += 1
            path = os.path.join(directory, name)
            for literal in literals(path):
                if literal in places:
                    places[literal].append(os.path.relpath(path, source_dir))
    problems = [f"'{s}' is spelled {len(p)} times: {', '.join(p) or 'nowhere'}"
                for s, p in places.items() if len(p) != 1]
    for problem in problems:
        print(problem)
    print(f"{len(selectors)} selectors in {files} C++ files, "
          f"{len(selectors) - len(problems)} spelled exactly once")
    return 1 if problems or not selectors else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
