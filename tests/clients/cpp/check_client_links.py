#!/usr/bin/env python3
"""Checks that the C++ client library links no media library.

Usage: check_client_links.py GRAPH_FILE CLIENT_PROGRAM CONTROL_PROGRAM

1. In the link graph the configure step wrote (cmake/QrlLayers.cmake), the
   libraries qrl::client reaches, directly or not, include none of ours that
   carry media code.
2. `ldd CLIENT_PROGRAM` (a program linking only qrl::client) names no FFmpeg,
   cairo, pango, libxml2 or libtiff library, while `ldd CONTROL_PROGRAM` (the
   conduit) names them, so the check is known to see them.
Exits 1 with one line per finding, else prints what it checked.
"""
import re
import subprocess
import sys

OUR_MEDIA_LIBRARIES = {"movie", "platform_quicktime", "platform_graphics", "xmeml", "settings",
                       "conduit"}
SYSTEM_MEDIA = re.compile(r"^\s*(lib(avformat|avcodec|avutil|swscale|swresample|cairo|pango\w*"
                          r"|xml2|tiff)[-.\w]*\.so[.\d]*)", re.MULTILINE)


def reached(graph_file, start):
    links = {}
    with open(graph_file, encoding="utf-8") as f:
        for line in f:
            words = line.split()
            if words and words[0] == "library":
                links[words[1]] = set(filter(None, words[4].split(","))) if len(words) > 4 else set()
    seen, todo = set(), [start]
    while todo:
        name = todo.pop()
        for to in links.get(name, ()):
            if to not in seen:
                seen.add(to)
                todo.append(to)
    return seen


def media_libraries(program):
    output = subprocess.run(["ldd", program], check=True, capture_output=True, text=True).stdout
    return sorted({m.group(1) for m in SYSTEM_MEDIA.finditer(output)})


def main(graph_file, client_program, control_program):
    problems = []
    ours = reached(graph_file, "client")
    for name in sorted(ours & OUR_MEDIA_LIBRARIES):
        problems.append(f"qrl::client reaches qrl::{name} in the link graph")
    for library in media_libraries(client_program):
        problems.append(f"{client_program} loads {library}")
    control = media_libraries(control_program)
    if not control:
        problems.append(f"{control_program} loads no media library: the check sees nothing")
    for problem in problems:
        print(problem)
    if not problems:
        print(f"qrl::client reaches {', '.join(sorted(ours))}; {client_program} loads none of "
              f"the {len(control)} media libraries the conduit loads ({', '.join(control)})")
    return 1 if problems else 0


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    sys.exit(main(*sys.argv[1:]))
