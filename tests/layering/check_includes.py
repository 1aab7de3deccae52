#!/usr/bin/env python3
"""Checks every quoted #include of every library of ours against the link
graph that the configure step wrote (build/layering/graph.txt): a file may
include its own library's headers and those of the libraries its library
links, and those links point down the layers of cmake/QrlLayers.cmake.

Usage: check_includes.py SOURCE_DIR GRAPH_FILE
Prints one line per wrong include and exits 1, else a summary and exits 0.
"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
SOURCE_SUFFIXES = (".h", ".hpp", ".cpp", ".cc")


def read_graph(path):
    libraries, refusals = {}, {}
    with open(path, encoding="utf-8") as f:
        for line in f:
            words = line.rstrip("\n").split(" ")
            if words[0] == "library":
                name, folder, layer = words[1:4]
                links = set(filter(None, words[4].split(","))) if len(words) > 4 else set()
                libraries[name] = (folder, int(layer), links)
            elif words[0] == "refused":
                refusals[(words[1], words[2])] = " ".join(words[3:])
    return libraries, refusals


def owner(path, folders):
    """The library whose folder holds `path` (longest folder first), or None."""
    for folder, name in folders:
        if path.startswith(folder + "/"):
            return name
    return None


def main(source_dir, graph_file):
    libraries, refusals = read_graph(graph_file)
    folders = sorted(((f, n) for n, (f, _, _) in libraries.items()), key=lambda p: -len(p[0]))
    problems, files, includes = [], 0, 0
    for name, (folder, _, links) in sorted(libraries.items()):
        root = os.path.join(source_dir, folder)
        for directory, subdirectories, names in os.walk(root):
            relative = os.path.relpath(directory, source_dir)
            # A folder inside ours that is another library's is checked as that one.
            subdirectories[:] = [d for d in subdirectories
                                 if owner(os.path.join(relative, d) + "/x", folders) == name]
            for file_name in sorted(names):
                if not file_name.endswith(SOURCE_SUFFIXES):
                    continue
                files += 1
                shown = os.path.join(relative, file_name)
                with open(os.path.join(directory, file_name), encoding="utf-8") as f:
                    for number, line in enumerate(f, 1):
                        match = INCLUDE.match(line)
                        if not match:
                            continue
                        includes += 1
                        header = match.group(1)
                        target = owner(header, folders)
                        where = f"{shown}:{number}: includes \"{header}\""
                        if target is None:
                            problems.append(f"{where}, which lies in no library's folder")
                        elif target != name and target not in links:
                            why = refusals.get((name, target))
                            problems.append(f"{where}, but qrl::{name} does not link qrl::{target}"
                                            + (f" and may not: {why}" if why else ""))
    for problem in problems:
        print(problem)
    print(f"{len(problems)} wrong includes among {includes} in {files} files "
          f"of {len(libraries)} libraries")
    return 1 if problems else 0


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], sys.argv[2]))
