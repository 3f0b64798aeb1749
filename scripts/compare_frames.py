"""Compares what larkmoor-host recorded of one stream with what larkmoor-camera sent."""
import collections
import hashlib
import re

SETS, SLICES = {7, 8}, {1, 5}  # NAL unit types, ITU-T H.264 table 7-1; 5 is of a key frame


def by_truth(truth, frames):
    """Of --truth and --frames: true if each frame is as it was sent and none is missing up to the last; and a line that says so."""
    place = {picture["md5"]: index for index, picture in enumerate(truth)}
    came = [place[frame["md5"]] for frame in frames if frame["md5"] in place]
    first, last = (came[0], came[-1]) if came else (0, -1)
    missing, foreign = last - first + 1 - len(set(came)), len(frames) - len(came)
    back = sum(after <= before for before, after in zip(came, came[1:]))
    return bool(frames) and not (missing or foreign or back or first), (
        f"{len(frames)} frames delivered of {last - first + 1} sent between the first and the last, {first} before them; "
        f"{missing} missing, {foreign} not in the truth, {back} out of order")


def units_of(data, md5):
    """MD5 and type of each NAL unit of a frame, without the driver's end of frame, 01 09 30; nothing if that is not there."""
    pieces = re.split(b"\0\0\1", data)
    whole = not pieces[0] and pieces[-1] == b"\x09\x30" and hashlib.md5(data).hexdigest() == md5
    return [(hashlib.md5(unit).hexdigest(), unit[0] & 31) for unit in pieces[1:-1]] if whole else None


def kind_of(units, picture):
    """What is in a frame that is not in the truth, all of whose slices are of one picture."""
    kinds = [kind for _, kind in units]
    slices = [md5 for md5, kind in units if kind in SLICES]
    sent = [unit for unit in picture["units"] if unit["type"] in SLICES]
    lost = sum(unit["md5"] not in slices for unit in sent)
    sets = sum(kind in SETS for kind in kinds[:next((i for i, kind in enumerate(kinds) if kind in SLICES), None)])
    said = {"a slice twice": len(slices) > len(set(slices)), "slices missing": 0 < lost < len(sent), "no slice": lost == len(sent),
            "parameter sets twice": sets > 2, "parameter sets missing": sets < 2 and any(unit["type"] == 5 for unit in sent)}
    return (", ".join(text for text, true in said.items() if true)
            or ("other" if picture["intact"] else "all units, the picture damaged on the way"))


def by_units(truth, frames, pictures, raw):
    """With --truth-units and --raw of H.264: false if a frame holds a unit that was not sent whole for it, or a key frame
    that was sent whole did not come; and a table of what came."""
    known = {picture["md5"] for picture in truth}
    sets, owners = set(), collections.defaultdict(set)  # of each whole slice: its pictures
    for number, picture in enumerate(pictures):
        sets |= {unit["md5"] for unit in picture["units"] if unit["type"] in SETS}
        for unit in picture["units"]:
            if unit["type"] in SLICES and unit["whole"]:
                owners[unit["md5"]].add(number)
    kinds, came, at, beyond, wrong = collections.Counter(), set(), 0, 0, 0
    for frame in frames:
        data = raw[at:at + frame["size"]]
        at += frame["size"]
        units = units_of(data, frame["md5"])
        picture = set.intersection(*[owners[md5] for md5, kind in units or [] if kind in SLICES] or [set()])
        if any(kind in SETS and md5 not in sets for md5, kind in units or []):
            picture = set()
        came |= picture
        if not picture:
            wrong += 1
            kinds["NOT A FRAME" if units is None else "A UNIT THAT WAS NOT SENT WHOLE FOR IT" if units else "EMPTY"] += 1
        elif frame["md5"] not in known:
            beyond += 1
            kinds[kind_of(units, pictures[min(picture)])] += 1
    sent = range(min(came), max(came) + 1) if came else range(0)
    keys = [number for number in sent if any(unit["type"] == 5 for unit in pictures[number]["units"])]
    whole = [number for number in keys if pictures[number]["intact"]]
    lost = set(whole) - came
    return bool(frames) and not wrong and not lost, "\n".join([
        f"{len(frames)} frames of {len(sent)} pictures sent, {sum(not pictures[number]['intact'] for number in sent)} of them damaged on "
        f"the way; {len(whole)} of {len(keys)} key frames sent whole, {len(lost)} of these did not come; {beyond} frames beyond the truth, "
        f"{wrong} wrong", *(f"      {count:5}  {text}" for text, count in kinds.most_common())])
