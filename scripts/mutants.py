#!/usr/bin/env python3
"""Changes one comparison, constant or statement of the engine at a time and tells whether the tests
notice.

The tree is copied to build/mutants/source and built once. A mutant is compiled beside that build
and linked into one test program after another, beginning with those of its own folder, until one
fails, crashes or hangs: then it is caught. What does not compile is no mutant. Which mutants are
drawn depends on the seed alone, so that a run that was interrupted, or is given a larger --count,
goes on where it stopped. Fails when less than 95 % of the mutants are caught.
"""

import argparse
import concurrent.futures
import ctypes
import hashlib
import json
import math
import os
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter
from pathlib import Path

import mutation

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutants"
SOURCE = WORK / "source"
TREE = WORK / "tree"
TRIED = WORK / "tried"
COPIED = ("CMakeLists.txt", "cmake", "include", "src", "tools", "tests")
FLOOR_PERCENT = 95

# The folders that are changed, each with the suites that may notice: the likeliest and quickest
# first.
SUITES = {"command": ("command", "engine", "front", "model", "faults", "oom", "soak"),
          "engine": ("engine", "resources", "front", "model", "faults", "oom", "soak"),
          "resources": ("resources", "engine", "front", "model", "faults", "oom", "soak"),
          "front": ("front", "model", "faults", "oom", "soak")}
# Enough to meet every rule of the model; the default sizes are for finding what nobody thought of.
ENVIRONMENT = dict(os.environ, GTEST_FAIL_FAST="1", GTEST_BRIEF="1", COREBEACON_MODEL_STEPS="20000",
                   COREBEACON_MODEL_LENGTH="3", COREBEACON_MODEL_SEEDS="60",
                   COREBEACON_SOAK_REQUESTS="5000", CCACHE_DISABLE="1")


def run(command, **options):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options).stdout


def quietly(command, **options):
    try:
        return run(command, **options)
    except subprocess.CalledProcessError as error:
        sys.exit(f"{error.stdout[-5000:]}\nFAILED: {shlex.join(map(str, command))}")


def copy_sources():
    """Touches only what has changed, so that only that is built again."""
    wanted = set()
    for name in COPIED:
        origin = ROOT / name
        for path in [origin] if origin.is_file() else sorted(origin.rglob("*")):
            if path.is_file():
                copy = SOURCE / path.relative_to(ROOT)
                wanted.add(copy)
                if not copy.exists() or copy.read_bytes() != path.read_bytes():
                    copy.parent.mkdir(parents=True, exist_ok=True)
                    shutil.copy(path, copy)
    for path in SOURCE.rglob("*"):
        if path.is_file() and path not in wanted:
            path.unlink()


class Build:
    """The unchanged build, and what it takes to repeat a part of it with one file changed."""

    def __init__(self, jobs):
        copy_sources()
        linker = "-fuse-ld=lld" if shutil.which("ld.lld") else ""
        quietly(["cmake", "-S", SOURCE, "-B", TREE, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=",
                 "-DCMAKE_CXX_FLAGS=-O0", f"-DCMAKE_EXE_LINKER_FLAGS={linker}",
                 "-DCOREBEACON_WERROR=OFF", "-DCOREBEACON_TEST_PCH=OFF"])
        self.suites = sorted(set(sum(SUITES.values(), ())))
        targets = [f"corebeacon_{suite}_tests" for suite in self.suites]
        quietly(["ninja", "-C", TREE, f"-j{jobs}", *targets])
        self.links = {suite: self.link_command(target)
                      for suite, target in zip(self.suites, targets)}
        self.compiles = {}
        for entry in json.loads((TREE / "compile_commands.json").read_text()):
            words = shlex.split(entry["command"])
            self.compiles[words[words.index("-o") + 1]] = words
        self.users = self.read_users()

    def link_command(self, target):
        line = run(["ninja", "-C", TREE, "-t", "commands", target]).splitlines()[-1]
        words = shlex.split(line)
        return words[words.index("&&") + 1:len(words) - 1 - words[::-1].index("&&")]

    def read_users(self):
        """The objects that a file of the sources goes into."""
        users = {}
        for line in run(["ninja", "-C", TREE, "-t", "deps"]).splitlines():
            if not line.startswith(" "):
                built = line.split(":")[0]
                continue
            # Normalised, as a compiler cache may tell them relative to the build.
            path = os.path.normpath(TREE / line.strip())
            users.setdefault(os.path.relpath(path, SOURCE), []).append(built)
        return users

    def compile(self, built, path, changed, output):
        """False if the object `built` does not compile with the file `path` as `changed`."""
        words = list(self.compiles[built])
        words[words.index("-o") + 1] = str(output)
        if path.endswith(".cpp"):
            words[words.index(str(SOURCE / path))] = str(changed)
        else:
            # Included by its path below src/, it is found here first.
            words.insert(words.index(f"-I{SOURCE / 'include'}"), f"-I{changed.parent.parent}")
        return subprocess.run(words + ["-w"], cwd=TREE, env=ENVIRONMENT,
                              capture_output=True).returncode == 0

    def link(self, suite, replaced, program):
        words = [replaced.get(word, word) for word in self.links[suite]]
        words[words.index("-o") + 1] = str(program)
        run(words, cwd=TREE)

    def objects_of(self, suite, path):
        return [word for word in self.links[suite] if word in self.users.get(path, ())]


LIBC = ctypes.CDLL(None)
PR_SET_PDEATHSIG = 1


def limit_process():
    # A suite that hangs must not outlive a script that is killed.
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 26, 1 << 26))
    resource.setrlimit(resource.RLIMIT_AS, (1 << 33, 1 << 33))


def run_suite(program, directory, seconds):
    """'' when all its tests pass, else how it ended."""
    process = subprocess.Popen([program], cwd=directory, env=dict(ENVIRONMENT, TMPDIR=directory),
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, preexec_fn=limit_process,
                               start_new_session=True)
    try:
        output, _ = process.communicate(timeout=seconds)
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        process.communicate()
        return "timeout"
    if process.returncode < 0:
        return signal.Signals(-process.returncode).name
    if process.returncode == 0:
        return ""
    failed = [line for line in output.decode(errors="replace").splitlines() if "FAILED  ]" in line]
    return failed[0].split("]")[1].split(",")[0].split("(")[0].strip() if failed else "failed"


class Runner:
    def __init__(self, build):
        self.build = build
        self.seconds = {}

    def check_unchanged(self):
        for suite in self.build.suites:
            with tempfile.TemporaryDirectory(dir=TRIED) as directory:
                begin = time.monotonic()
                program = TREE / f"tests/{suite}/corebeacon_{suite}_tests"
                failure = run_suite(program, directory, 600)
                if failure:
                    sys.exit(f"mutants.py: {suite} fails without a change: {failure}")
                # The machine may be busier later; a mutant that hangs is rare.
                self.seconds[suite] = 10 + 5 * (time.monotonic() - begin)

    def judge(self, mutant):
        """The mutant's record; its verdict is 'caught', 'survived' or 'no mutant'."""
        begin = time.monotonic()
        with tempfile.TemporaryDirectory(dir=TRIED) as directory:
            verdict, by = self.try_suites(mutant, Path(directory))
        return {"identity": mutant.identity, "path": mutant.path, "line": mutant.line,
                "kind": mutant.kind, "before": mutant.before, "after": mutant.after,
                "verdict": verdict, "by": by, "seconds": round(time.monotonic() - begin, 1)}

    def try_suites(self, mutant, directory):
        changed = directory / mutant.path.removeprefix("src/")
        changed.parent.mkdir()
        changed.write_text(mutant.apply((SOURCE / mutant.path).read_text()))
        replaced = {}
        if mutant.path not in self.build.users:
            sys.exit(f"mutants.py: no program has {mutant.path} in it")
        suites = SUITES[mutant.path.split("/")[1]]
        for suite in suites:
            for built in self.build.objects_of(suite, mutant.path):
                if built not in replaced:
                    output = directory / f"{len(replaced)}.o"
                    if not self.build.compile(built, mutant.path, changed, output):
                        return "no mutant", "compiler"
                    replaced[built] = str(output)
            program = directory / f"{suite}_tests"
            self.build.link(suite, replaced, program)
            ended = run_suite(program, directory, self.seconds[suite])
            if ended and suite != suites[0]:
                # Far from the change it may have been the busy machine.
                ended = run_suite(program, directory, self.seconds[suite])
            if ended:
                return "caught", f"{suite}: {ended}"
            program.unlink()
        return "survived", ""


def draw(seed, only):
    """All mutants, in the order in which they are tried: files in turn, large ones more often."""
    ranked = []
    for folder in SUITES:
        for path in sorted((SOURCE / "src" / folder).iterdir()):
            name = path.relative_to(SOURCE).as_posix()
            if path.suffix not in (".h", ".cpp") or only not in name:
                continue
            mutants = mutation.find_mutants(name, path.read_text())

            def late(mutant):
                digest = hashlib.sha256(f"{seed}|{mutant.identity}".encode()).digest()
                chance = (int.from_bytes(digest[:8], "big") + 1) / (1 << 64)
                return -math.log(chance) / mutation.WEIGHT[mutant.kind]

            # A header costs a compilation of all that includes it, so its turn comes less often.
            share = len(mutants) ** 0.75 * (0.15 if path.suffix == ".h" else 1)
            for place, mutant in enumerate(sorted(mutants, key=late)):
                ranked.append(((place + 0.5) / share, mutant))
    return [mutant for _, mutant in sorted(ranked, key=lambda pair: (pair[0], pair[1].identity))]


class Results:
    """One line of JSON for each mutant tried; the last one counts."""

    def __init__(self, path, fresh):
        self.path = path
        self.records = {}
        if fresh:
            path.unlink(missing_ok=True)
        if path.exists():
            for line in path.read_text().splitlines():
                try:
                    record = json.loads(line)
                except json.JSONDecodeError:
                    continue  # the line that an interrupted run was writing
                self.records[record["identity"]] = record
        self.mutex = threading.Lock()

    def verdict(self, mutant):
        return self.records.get(mutant.identity, {}).get("verdict")

    def add(self, record):
        with self.mutex:
            self.records[record["identity"]] = record
            with self.path.open("a") as file:
                file.write(json.dumps(record) + "\n")


def describe(record):
    change = f"{record['before']} -> {record['after']}" if record["before"] else record["after"]
    return f"{record['path']}:{record['line']}: {record['kind']}: {change or 'removed'}"


def judge_all(runner, mutants, results, count, jobs, again):
    """Tries mutants in turn until `count` have a verdict, and returns those."""
    judged, waiting = [], iter(mutants)

    def next_one():
        for mutant in waiting:
            known = results.verdict(mutant)
            if known == "no mutant":
                continue
            if known is None or (again and known == "survived"):
                return mutant
            judged.append(mutant)
            if len(judged) + len(running) >= count:
                return None
        return None

    running = {}
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        while True:
            while len(running) < jobs and len(judged) + len(running) < count:
                mutant = next_one()
                if mutant is None:
                    break
                running[pool.submit(runner.judge, mutant)] = mutant
            if not running:
                return judged
            done, _ = concurrent.futures.wait(running, return_when="FIRST_COMPLETED")
            for future in done:
                mutant = running.pop(future)
                record = future.result()
                results.add(record)
                if record["verdict"] == "no mutant":
                    continue
                judged.append(mutant)
                print(f"{len(judged):4} {record['verdict']:8} {record['seconds']:5.1f} s "
                      f"{describe(record)}{'   by ' if record['by'] else ''}{record['by']}",
                      flush=True)


def report(records):
    print("=== survived")
    for record in records:
        if record["verdict"] == "survived":
            print(describe(record))
    print(f"=== {'folder':12} {'mutants':>8} {'caught':>8} {'survived':>9} {'caught':>8} {'time':>8}")
    for folder in [*SUITES, "all"]:
        group = [record for record in records
                 if folder == "all" or record["path"].startswith(f"src/{folder}/")]
        if not group:
            continue
        verdicts = Counter(record["verdict"] for record in group)
        percent = 100 * verdicts["caught"] / len(group)
        print(f"    {folder:12} {len(group):8} {verdicts['caught']:8} {verdicts['survived']:9} "
              f"{percent:6.1f} % {sum(record['seconds'] for record in group):6.0f} s")
    return bool(records) and percent >= FLOOR_PERCENT


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--count", type=int, default=400, help="mutants wanted (%(default)s)")
    parser.add_argument("--only", default="", metavar="PATH",
                        help="change only files with this in their path, like src/engine/")
    parser.add_argument("--seed", type=int, default=1, help="which are drawn (%(default)s)")
    parser.add_argument("--jobs", type=int, default=1, help="tried at a time (%(default)s)")
    parser.add_argument("--again", action="store_true", help="try those that survived once more")
    parser.add_argument("--fresh", action="store_true", help="forget what earlier runs found")
    options = parser.parse_args()

    shutil.rmtree(TRIED, ignore_errors=True)
    TRIED.mkdir(parents=True)
    results = Results(WORK / f"results-{options.seed}.jsonl", options.fresh)
    os.nice(10)
    runner = Runner(Build(options.jobs))
    runner.check_unchanged()
    mutants = judge_all(runner, draw(options.seed, options.only), results, options.count,
                        options.jobs, options.again)
    sys.exit(0 if report([results.records[mutant.identity] for mutant in mutants]) else 1)


if __name__ == "__main__":
    main()
