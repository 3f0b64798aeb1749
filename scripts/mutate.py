"""mutate.py [COUNT [SEED]]: puts COUNT (20) faults into a copy of src/ as it is committed, chosen by SEED (1), one at a time,
and runs the tests of the folder and then those of the folders above and of whole streams, until one fails twice. Lists each
as killed, survived, or known to be equivalent; tests/equivalent-mutations has those, each with the reason."""
import collections
import contextlib
import functools
import os
import random
import re
import resource
import signal
import subprocess
import sys
import time

from lab import ROOT, begin, own_network

WORK = ROOT / "build/mutate"
TREE, BUILD, LOG = WORK / "tree", WORK / "build", WORK / "output.log"
LAYERS = "platform runtime device http transport parsers channels audio ptz io discovery plugin system".split()
SIDE_BY_SIDE = LAYERS[LAYERS.index("channels"):LAYERS.index("plugin")]
SLOW = 20  # seconds; a test that takes longer is left out
SWAPS = {" == ": " != ", " < ": " <= ", " > ": " >= ", " && ": " || ", " + ": " - ", " * ": " / ", " += ": " -= ", "++": "--",
         " << ": " >> ", " | ": " & ", "true": "false", " % ": " / "}
SWAPS |= {new: old for old, new in SWAPS.items() if new not in SWAPS}
WHOLE = ((r"(\s*)(?!return|throw|delete)[\w.:>\[\]()*-]+(?:\(.*\)| [-+|&]?= (?!default|delete).+);[ ~]*$", r"\1;"),
         (r"(\s*(?:else )?if )(\(.+\))$", r"\1(!\2)"),
         (r"(\s*return) (?!true;|false;|\{).+;[ ~]*$", r"\1 {};"))


def mutations(line):
    """Every change of one line that may still compile: comparisons, constants, results, statements that are gone."""
    code = re.sub(r'"(?:[^"\\]|\\.)*"|\'(?:[^\'\\]|\\.[0-9a-fx]*)\'|//.*', lambda text: "~" * len(text[0]), line)
    if re.match(r"\s*(#|(assert|static_assert|using|namespace|class|struct|template|extern|friend|enum)\b)", code):
        return
    for found in re.finditer("|".join(rf"\b{text}\b" if text.isalpha() else re.escape(text) for text in SWAPS), code):
        yield line[:found.start()] + SWAPS[found[0]] + line[found.end():]
    for found in re.finditer(r"(?<![\w.'])\d+(?![\w.'])", code):
        yield line[:found.start()] + str(int(found[0]) + 1) + line[found.end():]
    for pattern, changed in WHOLE:
        found = re.match(pattern, code)
        if found:
            yield re.sub(r"\\(\d)", lambda group: line[slice(*found.span(int(group[1])))], changed)


def run(limit, *command):
    """What it prints, and true if it succeeds within `limit` seconds. Nothing that it started stays."""
    process = subprocess.Popen(command, stdout=LOG.open("wb"), stderr=subprocess.STDOUT, start_new_session=True)
    try:
        good = process.wait(limit) == 0
    except subprocess.TimeoutExpired:
        good = False
    finally:
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()
    return good, LOG.read_text(errors="replace")


def build(*folders, limit=900):
    return run(limit, "cmake", "--build", BUILD, "-j", str(os.cpu_count()), "--target", *(f"{folder}_tests" for folder in folders))


def tests(folder, limit, *arguments):
    # One more at once than there are processors, for tests mostly wait.
    return run(limit, "ctest", "--test-dir", BUILD, "-R", f"^{folder}[.]", "-j", str(os.cpu_count() + 1), *arguments)


@functools.cache
def healthy(folder):
    """Of the tests unchanged, a pattern for those that fail or are slow, and how long all others may take at most."""
    if not build(folder, limit=7200)[0]:
        sys.exit(LOG.read_text())
    begun = time.monotonic()
    results = re.findall(r"Test +#\d+: (\S+) [.]*[ *]*(\w+).*? ([\d.]+) sec", tests(folder, 900)[1])
    names = [name for name, result, seconds in results if result != "Passed" or float(seconds) > SLOW]
    print(f"   {folder}: {len(results) - len(names)} tests", *(f"without {name}" for name in names))
    return f"^({'|'.join(names)})$", 60 + 2 * (time.monotonic() - begun)


def judge(folder, path, text):
    """What becomes of `path` with this text in it; None if it does not compile. A fault is killed by a test that fails twice."""
    above = [folder, "plugin", "system"] if folder in SIDE_BY_SIDE else LAYERS[LAYERS.index(folder):]
    fit, whole = {each: healthy(each) for each in above}, path.read_text()
    try:
        path.write_text(text)
        for each in above:
            if not build(each)[0]:
                return None
            left_out, limit = fit[each]
            if not tests(each, limit, "-E", left_out, "--stop-on-failure", "--repeat", "until-pass:2")[0]:
                return f"killed by {each}"
        return "SURVIVED"
    finally:
        path.write_text(whole)


def main(count=20, seed=1):
    begin()
    own_network(needed=False)
    for limit, most in ((resource.RLIMIT_FSIZE, 1 << 30), (resource.RLIMIT_DATA, 8 << 30)):
        resource.setrlimit(limit, (most, most))
    os.environ["CCACHE_BASEDIR"] = str(TREE)
    WORK.mkdir(parents=True, exist_ok=True)
    # The copy becomes what is committed, which also takes back a fault that was left.
    if not TREE.exists():
        subprocess.run(["git", "clone", "-q", "--shared", ROOT, TREE], check=True)
    subprocess.run(f"git fetch -q {ROOT} HEAD && git reset -q --hard FETCH_HEAD", shell=True, check=True, cwd=TREE)
    good, text = run(300, "cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS=-O0 -w",
                     "-DLARKMOOR_UNITY=ON")
    if not good:
        sys.exit(text)
    known = {tuple(line.split(" | ")[:3]) for line in (TREE / "tests/equivalent-mutations").read_text().splitlines()}
    places = [(path, number) for path in sorted(TREE.glob("src/**/*")) if path.suffix in (".h", ".cpp") and "win32" not in path.parts
              for number, line in enumerate(path.read_text().splitlines()) if list(mutations(line))]
    dice, results = random.Random(int(seed)), collections.Counter()
    dice.shuffle(places)
    for path, number in places:
        lines = path.read_text().splitlines()
        name, folder, old = str(path.relative_to(TREE)), path.relative_to(TREE).parts[1], lines[number].strip()
        lines[number] = dice.choice(list(mutations(lines[number])))
        change = (name, old, lines[number].strip())
        outcome = "equivalent" if change in known else judge(folder, path, "\n".join(lines) + "\n")
        if outcome:
            print(f"{outcome:<20} {name}:{number + 1} | {old} | {change[2]}")
            results[folder, outcome.split()[0]] += 1
        if sum(count for (_, outcome), count in results.items() if outcome != "equivalent") >= int(count):
            break
    for folder in (*LAYERS, ""):
        killed, survived, equivalent = (sum(number for (where, outcome), number in results.items() if outcome == wanted and folder in ("", where))
                                        for wanted in ("killed", "SURVIVED", "equivalent"))
        if killed + survived + equivalent:
            print(f"{folder or 'all':<12} {killed} killed, {survived} survived or not known to be equivalent, {equivalent} equivalent: "
                  f"{100 * killed / max(killed + survived, 1):.0f} %")


if __name__ == "__main__":
    main(*sys.argv[1:])
