#!/usr/bin/env python3
"""Compares what larkmoor-host recorded of one H.264 stream with what larkmoor-camera sent.

compare_frames.py truth TRUTH FRAMES           the frames by their MD5s (--truth, --frames)
compare_frames.py units TRUTH FRAMES UNITS RAW and unit by unit (--truth-units, --raw)

Prints one line, in the second case a table behind it. The status is 1 if a frame is missing between the first and the
last delivered one, or foreign (truth); if a frame holds a unit that was not sent whole for it, or a whole key frame was
sent and did not come (units).
"""
import collections
import hashlib
import json
import re
import sys

SETS = {7, 8}  # SPS and PPS, ITU-T H.264 table 7-1
SLICES = {1, 5}


def lines(name):
    with open(name, encoding="ascii") as file:
        return [json.loads(line) for line in file if line.endswith("\n")]


def by_truth(truth, frames):
    sent = [line["md5"] for line in truth]
    place = {md5: index for index, md5 in enumerate(sent)}
    delivered = [place[frame["md5"]] for frame in frames if frame["md5"] in place]
    foreign = len(frames) - len(delivered)
    back = sum(1 for a, b in zip(delivered, delivered[1:]) if b <= a)
    first, last = (delivered[0], delivered[-1]) if delivered else (0, -1)
    missing = last - first + 1 - len(set(delivered))
    print(f"{len(frames)} frames delivered of {last - first + 1} sent between the first and the last, "
          f"{first} before them; {missing} missing, {foreign} not in the truth, {back} out of order")
    return bool(frames) and not (missing or foreign or back or first)


def units_of(data):
    """MD5, type of each NAL unit of a frame; its last four bytes 01 09 30 are the driver's end of frame."""
    pieces = re.split(b"\0\0\1", data)
    if pieces[0] or pieces[-1] != b"\x09\x30":
        return None
    return [(hashlib.md5(unit).hexdigest(), unit[0] & 31) for unit in pieces[1:-1]]


def kind_of(units, picture):
    """What stands in a frame that is not in the truth, all of whose slices are of one picture."""
    held = collections.Counter(md5 for md5, _ in units)
    whole = [unit for unit in picture["units"] if unit["type"] in SLICES]
    first_set = next((i for i, unit in enumerate(units) if unit[1] in SLICES), len(units))
    sets = sum(1 for unit in units[:first_set] if unit[1] in SETS)
    lost = sum(1 for unit in whole if held[unit["md5"]] == 0)
    words = []
    if any(count > 1 for md5, count in held.items() if dict(units)[md5] in SLICES):
        words.append("a slice twice")
    if lost:
        words.append("slices missing" if lost < len(whole) else "no slice")
    if sets > 2:
        words.append("parameter sets twice")
    elif sets < 2 and any(unit["type"] == 5 for unit in whole):
        words.append("parameter sets missing")
    return ", ".join(words) or ("all units, the picture damaged on the way" if not picture["intact"] else "other")


def by_units(truth, frames, pictures, raw):
    known = {line["md5"] for line in truth}
    sets = {unit["md5"] for picture in pictures for unit in picture["units"] if unit["type"] in SETS}
    owner = {}  # of each whole slice: its picture
    for number, picture in enumerate(pictures):
        for unit in picture["units"]:
            if unit["type"] in SLICES and unit["whole"]:
                owner.setdefault(unit["md5"], []).append(number)
    counts = collections.Counter()
    wrong = beyond = at = 0
    came = set()
    for frame in frames:
        data = raw[at:at + frame["size"]]
        at += frame["size"]
        units = units_of(data)
        if units is None or hashlib.md5(data).hexdigest() != frame["md5"]:
            counts["NOT A FRAME"] += 1
            wrong += 1
            continue
        owners = None
        for md5, kind in units:
            if kind in SLICES:
                theirs = set(owner.get(md5, []))
                owners = theirs if owners is None else owners & theirs
            elif kind in SETS and md5 not in sets:
                owners = set()
        if not owners:
            counts["A UNIT THAT WAS NOT SENT WHOLE FOR IT" if units else "EMPTY"] += 1
            wrong += 1
            continue
        came |= owners
        if frame["md5"] not in known:
            beyond += 1
            counts[kind_of(units, pictures[min(owners)])] += 1
    first, last = (min(came), max(came)) if came else (0, -1)
    keys = [n for n in range(first, last + 1) if any(unit["type"] == 5 for unit in pictures[n]["units"])]
    whole_keys = [n for n in keys if pictures[n]["intact"]]
    lost_keys = [n for n in whole_keys if n not in came]
    damaged = sum(1 for n in range(first, last + 1) if not pictures[n]["intact"])
    print(f"{len(frames)} frames of {last - first + 1} pictures sent, {damaged} of them damaged on the way; "
          f"{len(whole_keys)} of {len(keys)} key frames sent whole, {len(lost_keys)} of these did not come; "
          f"{beyond} frames beyond the truth, {wrong} wrong")
    for text, count in counts.most_common():
        print(f"      {count:5}  {text}")
    return bool(frames) and not wrong and not lost_keys


def main(arguments):
    if len(arguments) == 3 and arguments[0] == "truth":
        return 0 if by_truth(lines(arguments[1]), lines(arguments[2])) else 1
    if len(arguments) == 5 and arguments[0] == "units":
        with open(arguments[4], "rb") as file:
            raw = file.read()
        return 0 if by_units(lines(arguments[1]), lines(arguments[2]), lines(arguments[3]), raw) else 1
    print(__doc__, file=sys.stderr)
    return 2


sys.exit(main(sys.argv[1:]))
