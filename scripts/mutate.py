"""Which tests see which fault? `./dev mutate [N]` puts N faults, one at a time, into a copy of the
sources, builds it, runs all tests and prints a table.

A fault is one changed line of core/ or host/, of a kind that happens by mistake: another operator, a
bound off by one, a sign, a dropped statement, swapped arguments. --seed decides which lines are
changed; lines of headers that many files include are drawn more rarely, since each costs a build of
all of those. Faults that do not compile, or that leave every object file as it is, are passed over.
Tests that take long are run only where no other test fails, so that their share of the table is what
they alone catch. Every run is recorded; --again FILE puts the same faults into other sources, as far
as their lines are still there, which is how two sets of tests are compared.
"""

import argparse
import collections
import contextlib
import hashlib
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutate"
SOURCE, TREE = WORK / "source", WORK / "tree"
MEMORY_LIMIT = 4 << 30
SLOW_TEST = 0.1  # seconds; of a C++ test
SLOW_FILE = 1.0  # and of a file of Python tests
FULL_SHARE = 4  # objects; lines of headers that more are built from are drawn more rarely
CALL = r"[\w.>\[\]-]+"

# Kind, pattern and replacements. Binary operators have spaces around them, which template brackets
# and references do not.
RULES = [
    ("comparison", r" < ", [" <= ", " > "]),
    ("comparison", r" <= ", [" < "]),
    ("comparison", r" > ", [" >= ", " < "]),
    ("comparison", r" >= ", [" > "]),
    ("comparison", r" == ", [" != "]),
    ("comparison", r" != ", [" == "]),
    ("operator", r" \+ ", [" - "]),
    ("operator", r" - ", [" + "]),
    ("operator", r" \* ", [" + "]),
    ("operator", r" / ", [" * "]),
    ("operator", r" % ", [" / "]),
    ("operator", r" \+= ", [" -= ", " = "]),
    ("operator", r" -= ", [" += "]),
    ("operator", r" && ", [" || "]),
    ("operator", r" \|\| ", [" && "]),
    ("operator", r" and ", [" or "]),
    ("operator", r" or ", [" and "]),
    ("operator", r"\b(?:std::)?max\(", ["std::min("]),
    ("operator", r"\b(?:std::)?min\(", ["std::max("]),
    ("off by one", r"(?<= [+-] )1\b(?!\.)", ["2", "0"]),
    ("off by one", r"(?<=[ (])[02-9]\b(?![.x'])", ["1"]),
    ("off by one", r"\.size\(\)(?! [+-])", [".size() - 1"]),
    ("sign", r"(?<=[(\[,=] )-(?=\w)|(?<=[(\[])-(?=\w)|(?<=return )-(?=\w)", [""]),
    ("sign", r"(?<=[( ])!(?=[\w(])", [""]),
    ("sign", r"\bnot ", [""]),
    ("sign", r"\b(?:true|True)\b", ["false"]),
    ("sign", r"\b(?:false|False)\b", ["true"]),
    ("other end", r"\bsource(?=\b|_)", ["target"]),
    ("other end", r"\btarget(?=\b|_)", ["source"]),
    ("other end", r"\bfront\(\)", ["back()"]),
    ("other end", r"\bback\(\)", ["front()"]),
    ("other end", r"\.first\b", [".second"]),
    ("other end", r"\bupper\b", ["lower"]),
    ("other end", r"\blower\b", ["upper"]),
    ("dropped", r"^(?P<indent> +)(?!return|const |static|using|friend|break|public|private|for |else|case|"
                r"auto|if |\}|[\w:<>, ]+[&*]* \w+ =|[\w:<>]+ \w+[;(])\S.*(?<!delete)(?<!default);$", [r"\g<indent>;"]),
    ("dropped", r"(?<=\) )(?:continue|break|\w[\w.\[\]>-]* [+-]?= [^;]+|return)(?=;$)", [""]),
    ("swapped", rf"\((?P<a>{CALL}), (?P<b>{CALL})(?=[,)])", [r"(\g<b>, \g<a>"]),
]


class Sources:
    """A copy of the sources to put faults into, so that the checkout stays as it is."""

    def __init__(self):
        shutil.rmtree(SOURCE, ignore_errors=True)
        for name in ("core", "host", "tests", "fuzz", "examples"):
            shutil.copytree(ROOT / name, SOURCE / name, ignore=shutil.ignore_patterns("__pycache__"))
        for name in ("CMakeLists.txt", "CMakePresets.json"):
            shutil.copy(ROOT / name, SOURCE / name)
        self.files = {str(path.relative_to(SOURCE)): path.read_text().split("\n")
                      for folder in ("core", "host")
                      for path in sorted((SOURCE / folder).rglob("*"))
                      if path.suffix in (".cpp", ".hpp") or path.name == "records.py"}

    @contextlib.contextmanager
    def with_fault(self, fault):
        path = SOURCE / fault["file"]
        lines = list(self.files[fault["file"]])
        lines[fault["line"] - 1] = fault["after"]
        path.write_text("\n".join(lines))
        try:
            yield
        finally:
            path.write_text("\n".join(self.files[fault["file"]]))

    def random_faults(self, seed, users):
        """All lines with a site in random order, and a random fault of each. `users` says how many
        objects are built from a file."""
        chance = random.Random(seed)
        candidates = []
        for file, lines in self.files.items():
            in_prose = False  # inside a docstring, which C++ has as a raw literal
            for index, line in enumerate(lines):
                marks = len(re.findall(r'"""|R"doc\(|\)doc"', line))
                prose = in_prose or marks
                in_prose ^= marks % 2
                found = [] if prose else list(changes(line))
                if found:
                    candidates.append((file, index, found))
        chance.shuffle(candidates)
        for file, index, found in candidates:
            if chance.random() * users.get(file, 1) > FULL_SHARE:
                continue
            kinds = sorted({kind for kind, _ in found})
            kind = chance.choice(kinds)
            after = chance.choice([after for of, after in found if of == kind])
            before = self.files[file][index]
            yield {"file": file, "line": index + 1, "kind": kind, "before": before, "after": after,
                   "twin": self.files[file][:index].count(before)}

    def same_faults(self, record):
        """The faults of a record, found again by file and text, or by text alone if it moved."""
        for fault in json.loads(pathlib.Path(record).read_text())["faults"]:
            where = [index for index, line in enumerate(self.files.get(fault["file"], ()))
                     if line == fault["before"]]
            if fault["twin"] < len(where):
                yield {**fault, "line": where[fault["twin"]] + 1}
                continue
            moved = [(file, index) for file, lines in self.files.items()
                     for index, line in enumerate(lines) if line == fault["before"]]
            if len(moved) == 1:
                yield {**fault, "file": moved[0][0], "line": moved[0][1] + 1, "twin": 0}
            else:
                yield {**fault, "gone": True}


def changes(line):
    """(kind, changed line) of every fault that the line can have."""
    code = re.split(r"(?:^|\s)(?://|# )", line)[0]
    if re.match(r"\s*(#|using |template|namespace|import |from |static_assert)", code):
        return
    literals = [m.span() for m in re.finditer(r'"(?:[^"\\]|\\.)*"', code)]
    for kind, pattern, replacements in RULES:
        for match in re.finditer(pattern, code):
            if any(begin <= match.start() < end for begin, end in literals):
                continue
            for replacement in replacements:
                changed = code[: match.start()] + match.expand(replacement) + code[match.end() :]
                if changed != code:
                    yield kind, changed


def build(jobs):
    """True if it builds."""
    done = subprocess.run(["cmake", "--build", TREE, f"-j{jobs}"], capture_output=True, text=True)
    return done.returncode == 0


def objects():
    digests = {}
    for path in TREE.rglob("*.o"):
        digests[path] = hashlib.sha256(path.read_bytes()).digest()
    return digests


def objects_by_file():
    """How many objects are built from each file of the sources."""
    done = subprocess.run(["ninja", "-C", TREE, "-t", "deps"], check=True, capture_output=True,
                          text=True)
    counts = collections.Counter()
    for line in done.stdout.splitlines():
        path = (TREE / line.strip()).resolve()
        if line.startswith(" ") and path.is_relative_to(SOURCE):
            counts[str(path.relative_to(SOURCE))] += 1
    return counts


class Tests:
    """Runs tests and tells which fail.

    Each run has a limit, several times what the run without a fault takes: an endless loop is a
    failure too. Counted is the processor's time, which other work on the machine does not lengthen,
    and the clock's only as a last resort.
    """

    def __init__(self):
        self.seconds = {}  # of the run without a fault, by name
        self.measuring = True
        failed = [*self.core_failures("all"), *self.host_failures("all")]
        if failed:
            sys.exit(f"mutate: tests fail without a fault: {', '.join(failed)}")
        self.measuring = False

    def is_slow(self, name):
        return self.seconds.get(name, 0) > (SLOW_FILE if name.endswith(".py") else SLOW_TEST)

    def run(self, name, command, **options):
        """(completed process or None if the limit was reached, what it wrote)"""
        limit = 600 if self.measuring else int(self.seconds[name] * 3 + 4)

        def hold():
            resource.setrlimit(resource.RLIMIT_CPU, (limit, limit))
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT, MEMORY_LIMIT))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        log = WORK / "output.txt"
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        with log.open("wb") as output:
            try:
                done = subprocess.run(command, stdout=output, stderr=subprocess.STDOUT,
                                      preexec_fn=hold, timeout=limit * 10, **options)
            except subprocess.TimeoutExpired:
                done = None
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        if self.measuring:
            self.seconds[name] = after.ru_utime - before.ru_utime + after.ru_stime - before.ru_stime
        if done is not None and done.returncode in (-signal.SIGKILL, -signal.SIGXCPU):
            done = None
        return done, log.read_text(errors="replace")

    def core_failures(self, which):
        """C++ tests that fail, of all, the "quick" or the "slow" ones. A crash or an endless loop is
        a failure of the test that it happens in; the tests behind a crash are run all the same."""
        slow = [name for name in self.seconds if "." in name and not name.endswith(".py")
                and self.is_slow(name)]
        if which == "slow" and not slow:
            return []
        wanted = ":".join(slow) if which == "slow" else "*"
        failed, seen = [], slow if which == "quick" else []
        while len(failed) < 20:
            name = "core" if self.measuring or which == "slow" else "core quick"
            self.seconds.setdefault("core quick", self.seconds.get("core", 0))
            done, text = self.run(name, [TREE / "tests/core/core_tests",
                                         f"--gtest_filter={wanted}-{':'.join(seen)}"])
            started = re.findall(r"^\[ RUN      \] (\S+)", text, re.M)
            failed += re.findall(r"^\[  FAILED  \] (\S+) \(\d+ ms\)$", text, re.M)
            if self.measuring:
                for test, passed in re.findall(r"^\[       OK \] (\S+) \((\d+) ms\)", text, re.M):
                    self.seconds[test] = int(passed) / 1000
            if done is not None and done.returncode in (0, 1) and " ran. (" in text:
                break
            if not started:
                return [*failed, "core_tests does not start"]
            failed.append(started[-1])
            seen = seen + started
            if done is None:
                break
        return sorted(set(failed))

    def host_failures(self, which):
        """Python tests that fail, as file.case, of the files wanted."""
        failed = []
        environment = {**os.environ, "PYTHONDONTWRITEBYTECODE": "1",
                       "PYTHONPATH": f"{TREE}/python:{SOURCE}/tests"}
        for file in sorted((SOURCE / "tests/host").glob("test_*.py")):
            if which != "all" and self.is_slow(file.name) != (which == "slow"):
                continue
            command = [sys.executable, "-m", "unittest", "discover", "-v", "-s", file.parent,
                       "-p", file.name]
            done, text = self.run(file.name, command, env=environment)
            names = re.findall(r"^(?:FAIL|ERROR): (\w+)", text, re.M)
            if done is None or done.returncode not in (0, 1):
                names += re.findall(r"^(test_\w+) \(", text, re.M)[-1:] or ["does not start"]
            failed += [f"{file.stem}.{name}" for name in names]
            if done is None:
                break
        return sorted(set(failed))

    def failures(self):
        quick = [*self.core_failures("quick"), *self.host_failures("quick")]
        return quick or [*self.core_failures("slow"), *self.host_failures("slow")]


def report(faults):
    tried = [fault for fault in faults if "caught_by" in fault]
    caught = [fault for fault in tried if fault["caught_by"]]
    print("\ncaught alone  test")
    table = collections.Counter(), collections.Counter()
    for fault in caught:
        for name in fault["caught_by"]:
            table[0][name] += 1
            table[1][name] += len(fault["caught_by"]) == 1
    for name, count in sorted(table[0].items(), key=lambda item: (-item[1], item[0])):
        print(f"{count:6} {table[1][name]:5}  {name}")
    print("\nsurvivors")
    for fault in tried:
        if not fault["caught_by"]:
            print(f"{fault['file']}:{fault['line']} ({fault['kind']})\n"
                  f"  - {fault['before'].strip()}\n  + {fault['after'].strip()}")
    passed_over = collections.Counter(fault["passed_over"] for fault in faults
                                      if "passed_over" in fault)
    for why, count in passed_over.items():
        print(f"passed over, {why}: {count}")
    print(f"{len(caught)} of {len(tried)} faults caught")


def main():
    parser = argparse.ArgumentParser(prog="./dev mutate", description=__doc__.split("\n\n")[0])
    parser.add_argument("count", nargs="?", type=int, default=150)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--again", metavar="FILE", help="the faults of this record")
    parser.add_argument("--record", metavar="FILE", default=WORK / "record.json")
    parser.add_argument("--jobs", type=int, default=2)
    arguments = parser.parse_args()

    record = pathlib.Path(arguments.record)
    WORK.mkdir(parents=True, exist_ok=True)
    sources = Sources()
    subprocess.run(["cmake", "--preset", "release", "-S", SOURCE, "-B", TREE, "--log-level=NOTICE",
                    "-DQUILLAN_TESTS=ON", "-DCMAKE_BUILD_TYPE=", "-DCMAKE_CXX_FLAGS=-O1 -DNDEBUG"],
                   check=True, cwd=SOURCE)
    if not build(arguments.jobs):
        sys.exit("mutate: the sources do not build")
    tests = Tests()
    sound = objects()

    faults, tried = [], 0
    started = time.monotonic()
    wanted = (sources.same_faults(arguments.again) if arguments.again
              else sources.random_faults(arguments.seed, objects_by_file()))
    for fault in wanted:
        if tried >= arguments.count:
            break
        for old in ("caught_by", "passed_over"):
            fault.pop(old, None)
        faults.append(fault)
        if fault.pop("gone", False):
            fault["passed_over"] = "its line is gone"
            continue
        with sources.with_fault(fault):
            if not build(arguments.jobs):
                fault["passed_over"] = "does not compile"
                continue
            if objects() == sound:
                fault["passed_over"] = "equivalent: the same object code"
                continue
            tried += 1
            failed = fault["caught_by"] = tests.failures()
        record.write_text(json.dumps({"seed": arguments.seed, "faults": faults}, indent=1) + "\n")
        print(f"{tried:4} {time.monotonic() - started:6.0f} s  {fault['file']}:{fault['line']}  "
              f"{len(failed) or 'SURVIVES'}", flush=True)
    report(faults)


if __name__ == "__main__":
    main()
