#!/usr/bin/env python3
"""An outside judge for the records' keyed archives, using only plistlib.

  plistlib_judge.py check DIR    checks the archives the C++ tests wrote into DIR
  plistlib_judge.py compose DIR  writes archives for the C++ tests to decode

Exits non-zero with a message naming the first problem."""
import plistlib
import sys
from pathlib import Path

BASE = "QRLQTTimecodeAttributeWrapper"
BURN = "QRLQTTimecodeBurnAttributeWrapper"
TRACK = "QRLQTTimecodeTrackAttributeWrapper"
DETAILS = "QRLTimecodeDetailsWrapper"


class Archive:
    def __init__(self, path):
        with open(path, "rb") as f:
            top = plistlib.load(f)
        expect(top.get("$archiver") == "NSKeyedArchiver", path, "$archiver")
        expect(top.get("$version") == 100000 and type(top["$version"]) is int, path, "$version")
        expect(set(top) == {"$archiver", "$version", "$top", "$objects"}, path, "top-level keys")
        self.objects = top["$objects"]
        expect(self.objects[0] == "$null", path, "$objects[0]")
        self.path = path
        self.root = self.follow(top["$top"]["root"])

    def follow(self, uid):
        expect(isinstance(uid, plistlib.UID), self.path, f"{uid!r} is not a UID")
        return self.objects[uid.data] if uid.data else None

    def classes(self, obj):
        cls = self.follow(obj["$class"])
        return cls["$classname"], cls["$classes"]


def expect(ok, path, what):
    if not ok:
        sys.exit(f"{path}: wrong {what}")


def kinds(archive, obj):
    """Each key's stored kind: 'uid:<type of referent>' or the inline type."""
    out = {}
    for k, v in obj.items():
        if k == "$class":
            continue
        if isinstance(v, plistlib.UID):
            target = archive.follow(v)
            out[k] = "uid:" + ("nil" if target is None else
                               archive.classes(target)[0] if isinstance(target, dict) else type(target).__name__)
        else:
            out[k] = type(v).__name__
    return out


def check(directory):
    d = Path(directory)
    base_kinds = {"QRLQTOverlayStartTimecodeAttribute": "uid:str",
                  "QRLQTOverlayVideoFrameRateAttribute": "uid:int",
                  "QRLQTOverlayFontSizeAttribute": "uid:int"}
    expected = {
        "base.archive": (BASE, [BASE, "NSObject"], base_kinds),
        "burn.archive": (BURN, [BURN, BASE, "NSObject"], {
            **base_kinds, "QRLQTOverlayBurnFontColorAttribute": "uid:NSColor",
            "QRLQTOverlayBurnOriginAttribute": "uid:str"}),
        "burn-letterbox.archive": (BURN, [BURN, BASE, "NSObject"], {
            **base_kinds, "QRLQTOverlayBurnFontColorAttribute": "uid:NSColor",
            "QRLQTOverlayBurnOriginAttribute": "uid:str",
            "QRLQTOverlayBurnLetterBoxFontColorAttribute": "uid:NSColor"}),
        "track.archive": (TRACK, [TRACK, BASE, "NSObject"], {
            **base_kinds, "QRLQTOverlayTrackVisibleAttribute": "bool"}),
        "details.archive": (DETAILS, [DETAILS, "NSObject"], {
            "filePath": "uid:str", "timecode": "uid:str", "rate": "uid:int"}),
        "details-empty.archive": (DETAILS, [DETAILS, "NSObject"], {
            "filePath": "uid:nil", "timecode": "uid:nil", "rate": "uid:int"}),
    }
    for name, (classname, chain, key_kinds) in expected.items():
        a = Archive(d / name)
        expect(a.classes(a.root) == (classname, chain), name, "class chain")
        expect(kinds(a, a.root) == key_kinds, name, f"keys {kinds(a, a.root)}")
    burn = Archive(d / "burn-letterbox.archive")
    color = burn.follow(burn.root["QRLQTOverlayBurnFontColorAttribute"])
    expect(burn.classes(color) == ("NSColor", ["NSColor", "NSObject"]), "burn", "colour class")
    expect(color["NSColorSpace"] == 1 and type(color["NSColorSpace"]) is int, "burn", "NSColorSpace")
    expect(color["NSRGB"] == b"1 0.5 0.25 0.75\0", "burn", f"NSRGB {color['NSRGB']!r}")
    expect(burn.follow(burn.root["QRLQTOverlayBurnOriginAttribute"]) == "{12.5, 40}", "burn", "origin")
    expect(burn.follow(burn.root["QRLQTOverlayVideoFrameRateAttribute"]) == 5, "burn", "rate")
    # Both colours share one class description.
    expect(burn.root["QRLQTOverlayBurnFontColorAttribute"] != burn.root["QRLQTOverlayBurnLetterBoxFontColorAttribute"]
           and color["$class"] == burn.follow(burn.root["QRLQTOverlayBurnLetterBoxFontColorAttribute"])["$class"],
           "burn", "colour sharing")
    details = Archive(d / "details.archive")
    expect(details.follow(details.root["filePath"]) == "/media/clip 1.mov", "details", "filePath")
    expect(details.follow(details.root["timecode"]) == "01:00:00;00", "details", "timecode")


def archive(objects, path):
    top = {"$archiver": "NSKeyedArchiver", "$version": 100000,
           "$top": {"root": plistlib.UID(1)}, "$objects": ["$null"] + objects}
    with open(path, "wb") as f:
        plistlib.dump(top, f, fmt=plistlib.FMT_BINARY)


def compose(directory):
    d = Path(directory)
    U = plistlib.UID
    color_class = {"$classname": "NSColor", "$classes": ["NSColor", "NSObject"]}
    # A burn record with a device-RGB font colour, a calibrated letterbox, a point string.
    archive([
        {"$class": U(2), "QRLQTOverlayStartTimecodeAttribute": U(3),
         "QRLQTOverlayVideoFrameRateAttribute": U(4), "QRLQTOverlayFontSizeAttribute": U(5),
         "QRLQTOverlayBurnFontColorAttribute": U(6), "QRLQTOverlayBurnOriginAttribute": U(8),
         "QRLQTOverlayBurnLetterBoxFontColorAttribute": U(9)},
        {"$classname": BURN, "$classes": [BURN, BASE, "NSObject"]},
        "10:00:00:00", 2, 24,
        {"$class": U(7), "NSColorSpace": 2, "NSRGB": b"1 0 0.5\0"},
        color_class,
        "{320, 16.5}",
        {"$class": U(7), "NSColorSpace": 1, "NSRGB": b"0 0 0 0.5\0"},
    ], d / "burn.archive")
    archive([
        {"$class": U(2), "QRLQTOverlayStartTimecodeAttribute": U(3),
         "QRLQTOverlayVideoFrameRateAttribute": U(4), "QRLQTOverlayFontSizeAttribute": U(5),
         "QRLQTOverlayTrackVisibleAttribute": False},
        {"$classname": TRACK, "$classes": [TRACK, BASE, "NSObject"]},
        "00:59:59;28", 5, 18,
    ], d / "track.archive")
    archive([
        {"$class": U(2), "filePath": U(3), "timecode": U(4), "rate": U(5)},
        {"$classname": DETAILS, "$classes": [DETAILS, "NSObject"]},
        "/Volumes/Media/A001.mov", "01:02:03:04", 3,
    ], d / "details.archive")
    # Dictionary keys in an archive mean nothing: the record keeps its initial values.
    archive([
        {"$class": U(2), "filePath": U(0), "tc": U(3), "frame": U(4)},
        {"$classname": DETAILS, "$classes": [DETAILS, "NSObject"]},
        "01:02:03:04", 3,
    ], d / "details-dictionary-keys.archive")


if __name__ == "__main__":
    if len(sys.argv) != 3 or sys.argv[1] not in ("check", "compose"):
        sys.exit(__doc__)
    (check if sys.argv[1] == "check" else compose)(sys.argv[2])
