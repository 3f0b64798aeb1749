"""compare_builds.py OLD NEW [PLAN...]: prints what the drivers of two build folders do differently in PLAN (profiles, demo,
faults), with the camera of NEW, canned pictures and one seed: the requests, what the driver logs, whether each frame is as it
was sent; and in the sources of both (PLAN "sources"): the log texts, and the slots of the public headers. Status 1: something."""
import difflib
import json
import pathlib
import re
import sys

import plans
from lab import Lab, begin

SOURCE = re.compile("CMAKE_HOME_DIRECTORY:INTERNAL=(.*)")
TEXT = r'"((?:[^"\\]|\\.)*)"'


def normal(texts, plan):
    """Without ports, times and nonces. In order where one thread asks once; elsewhere, since time-outs decide how often something
    comes, each line once and without numbers."""
    texts = [re.sub(r"127\.0\.0\.1:\d+" if plan == "profiles" else r"\d+", "N", text) for text in texts]
    return texts if plan == "profiles" else sorted(set(texts))


def played(plan, arguments):
    """What came of a plan, what each of its cameras was asked, and what each of its bench hosts logged."""
    result = {plan: [f"as it should be: {good}" for good in getattr(plans, plan)(*arguments)]}
    for path in sorted((Lab.results / plan).glob("*.requests")):
        requests = map(json.loads, path.read_text().splitlines())
        result[path.name] = normal(("{protocol} {method} {target} {status}".format(**request) for request in requests), plan)
    for path in sorted((Lab.results / plan).glob("*.json")):
        report = json.loads(path.read_text())
        logged = ["{level} {text}".format(**line) for line in report.get("log_lines", [])]
        result[path.name] = normal(logged, plan) + [f"{key} {report.get(key)}" for key in ("contract_faults", "exit_status", "audio_format")]
    return result


def written(build):
    """The log texts in the sources of a build, and the virtual functions of each public header, in order."""
    source = pathlib.Path(SOURCE.search((build / "CMakeCache.txt").read_text())[1])
    code = "".join(path.read_text() for path in source.glob("src/**/*.cpp"))
    calls = re.findall(rf'\b(?:Debug)?Message\(\s*[^"();]*?((?:{TEXT}\s*)+)', code)
    slots = {path.name: re.findall(r"virtual [^;{]+[;{]", path.read_text()) for path in source.glob("include/larkmoor/*.h")}
    return {"log texts": sorted({"".join(re.findall(TEXT, call[0])) for call in calls})} | slots


def main(old, new, *wanted):
    begin()
    builds = [pathlib.Path(old).resolve(), pathlib.Path(new).resolve()]
    Lab.camera_build, Lab.camera_arguments, plans.AT_ONCE = builds[1], "--source canned --seed 1", 8
    found = []
    for side, build in zip(("old", "new"), builds):
        Lab.results = pathlib.Path("out/compare", side).resolve()
        found.append({} if wanted and "sources" not in wanted else written(build))
        for plan, arguments in (("profiles", (0.6, build)), ("demo", (build,)), ("faults", ("all", 6, build))):
            found[-1] |= played(plan, arguments) if not wanted or plan in wanted else {}
    differences = [f"{name}: {line}" for name in sorted(found[0] | found[1])
                   for line in list(difflib.unified_diff(*(side.get(name, []) for side in found), lineterm="", n=0))[2:] if line[0] in "+-"]
    print(*differences, f"{len(differences)} differences in {len(found[0] | found[1])} lists", sep="\n")
    return bool(differences)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
