#!/usr/bin/env python3
"""Python's plistlib as an outside judge of our binary property lists.

  plistlib_values.py check FILE   FILE (written by us) must hold SAMPLE exactly
  plistlib_values.py write FILE   writes SAMPLE (plus WRITE_ONLY) with plistlib

Exits non-zero naming the first difference. SAMPLE mirrors the C++ test's
table; keep the two in step."""
import datetime
import plistlib
import sys

U = plistlib.UID

SAMPLE = {
    "true": True,
    "false": False,
    "zero": 0,
    "byte": 255,
    "short": 256,
    "int32": 65536,
    "int64": 1 << 40,
    "max": (1 << 63) - 1,
    "minus one": -1,
    "min": -(1 << 63),
    "half": 0.5,
    "third": 1 / 3,
    "negative real": -1e300,
    "ascii": "plain text",
    "long ascii": "a string longer than fifteen characters",
    "latin": "héllo wörld",
    "cjk": "タイムコード",
    "astral": "clip \U0001F3AC end",
    "empty string": "",
    "data": bytes([0, 1, 2, 255]),
    "empty data": b"",
    "long data": bytes(range(40)),
    "date": datetime.datetime(2009, 5, 11, 20, 5, 12),
    "uid": U(1),
    "uid 300": U(300),
    "uid 70000": U(70000),
    "array": [1, "two", 3.5, [], {}],
    "long array": list(range(20)),
    "nested": {"inner": {"deeper": [U(2), {"é": "ü"}]}},
    "empty array": [],
    "empty dict": {},
}

# plistlib writes integers past INT64_MAX as 16-byte integers; ours keeps
# their low 64 bits.
WRITE_ONLY = {"huge": (1 << 64) - 1}


def differences(a, b, path="root"):
    if type(a) is not type(b):
        return [f"{path}: {type(a).__name__} {a!r} != {type(b).__name__} {b!r}"]
    if isinstance(a, dict):
        if set(a) != set(b):
            return [f"{path}: keys {sorted(a)} != {sorted(b)}"]
        return [d for k in a for d in differences(a[k], b[k], f"{path}/{k}")]
    if isinstance(a, list):
        if len(a) != len(b):
            return [f"{path}: {len(a)} items != {len(b)}"]
        return [d for i, (x, y) in enumerate(zip(a, b)) for d in differences(x, y, f"{path}[{i}]")]
    return [] if a == b else [f"{path}: {a!r} != {b!r}"]


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ("check", "write"):
        sys.exit(__doc__)
    path = sys.argv[2]
    if sys.argv[1] == "write":
        with open(path, "wb") as f:
            plistlib.dump({**SAMPLE, **WRITE_ONLY}, f, fmt=plistlib.FMT_BINARY)
        return
    with open(path, "rb") as f:
        got = plistlib.load(f)
    diffs = differences(got, SAMPLE)
    if diffs:
        sys.exit("\n".join(diffs))


if __name__ == "__main__":
    main()
