#!/usr/bin/env python3
"""Shows whether the tests notice when the code is wrong.

Each entry of mutations.toml is a small fault: in one file, one text is put in the place of another.
The faults are made one at a time in a copy of the tree, what depends on the file is built, and the
test programs that PROGRAMS names for the file's folder run until one of them fails. A fault that no
program notices has survived; that is a failure, unless the entry says under `equivalent` why nobody
could notice it.

A text that is not found exactly once makes the list stale; that is a failure, too, and found before
anything is built.

Usage: mutate.py [--check] [--only TEXT] [--jobs N] FOLDER
  FOLDER       where the copies are built; kept, so that the next run builds only what changed
  --check      only look whether the list is stale; FOLDER is not needed
  --only N..M  only the entries from the Nth to the Mth
  --only TEXT  only the entries whose file or texts contain TEXT
  --jobs N     how many copies work side by side, each on one core (2)
"""

import argparse
import os
import pathlib
import queue
import re
import subprocess
import sys
import threading
import time
import tomllib

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
LIST = pathlib.Path(__file__).resolve().parent / "mutations.toml"

# The longest matching beginning of a file's path decides. Programs that notice most come first. A
# program may have a filter of its tests behind it: tests that take long come after the others.
PROGRAMS = {
    "base/": ["base_tests", "document_tests", "labels_tests", "mondrian_tests -Over/*", "kcd_tests"],
    "base/odbc_connection": ["labels_server_tests -RealSqlServer/*", "labels_tests", "kcd_tests"],
    "document/": ["document_tests", "importer_tests -Hostile*", "importer_tests Hostile*", "kcd_tests"],
    "model/": ["model_tests", "servers_tests", "importer_tests -Hostile*", "comparison_tests"],
    "servers/": ["servers_tests", "importer_tests -Hostile*", "comparison_tests", "kcd_tests"],
    "mondrian/": ["mondrian_tests -Over/*", "mondrian_tests Over/*", "servers_tests", "kcd_tests"],
    "exporter/": ["exporter_tests", "kcd_tests"],
    "comparison/": ["comparison_tests", "kcd_tests"],
    "check/": ["check_tests", "kcd_tests"],
    "importer/": ["importer_tests -Hostile*", "importer_tests Hostile*", "kcd_tests",
                  "importer_fault_tests *Failed*:*OutOfMemory*"],
    "xmla/": ["xmla_tests", "kcd_tests"],
    "labels/": ["labels_tests", "labels_server_tests -RealSqlServer/*", "kcd_tests"],
    "cli/": ["kcd_tests"],
    "frontend/": ["frontend_tests"],
    "frontend/import_kcd_main": ["import_kcd_program_tests"],
    "frontend/window/": ["frontend_window_tests"],
    "pickers/": ["pickers_tests"],
    "pickers/qt/": ["pickers_qt_tests"],
}
# Where a fault may be made: moving a file between these folders leaves the list as it is.
FOLDERS = sorted({beginning.partition("/")[0] for beginning in PROGRAMS})
# A test that a fault sends round in circles counts as a test that fails.
SECONDS_A_PROGRAM = 300
SLICE = re.compile(r"(\d+)\.\.(\d+)")
FIRST_FAILURE = re.compile(r"^\[  FAILED  \] (\S+)", re.MULTILINE)


def path_of(name):
    """The path from the root of the production file that has this name; the name when there is none."""
    found = [path for folder in FOLDERS for path in (ROOT / folder).rglob(name)]
    if len(found) > 1:
        sys.exit(f"mutate: several files are named {name}")
    return str(found[0].relative_to(ROOT)) if found else name


class Fault:
    """One entry of the list."""

    def __init__(self, number, entry):
        self.number = number
        self.file = path_of(entry["file"])
        self.original = entry["from"]
        self.changed = entry["to"]
        self.equivalent = entry.get("equivalent")

    def __str__(self):
        changed = " ".join(self.changed.split()) or "nothing"
        return f"{self.number:3} {self.file}: {' '.join(self.original.split())} -> {changed}"

    def programs(self):
        matching = [beginning for beginning in PROGRAMS if self.file.startswith(beginning)]
        return PROGRAMS[max(matching, key=len)]

    def is_chosen(self, only):
        numbers = SLICE.fullmatch(only)
        if numbers:
            return int(numbers[1]) <= self.number <= int(numbers[2])
        return only in f"{self.file}\n{self.original}\n{self.changed}"

    def staleness(self):
        path = ROOT / self.file
        if not path.is_file():
            return "the file is gone"
        count = path.read_text(encoding="utf-8").count(self.original)
        return None if count == 1 else f"the text occurs {count} times"


class Copy:
    """A copy of the tree with a build folder of its own."""

    def __init__(self, folder, programs):
        self.tree = folder / "tree"
        self.build = folder / "build"
        self.programs = programs
        # What one copy compiled serves the next one.
        self.environment = os.environ | {"CCACHE_BASEDIR": str(folder)}

    def prepare(self):
        self.tree.mkdir(parents=True, exist_ok=True)
        listing = subprocess.run(["git", "ls-files", "-z", "--cached", "--others",
                                  "--exclude-standard"],
                                 cwd=ROOT, check=True, stdout=subprocess.PIPE).stdout
        names = [name for name in listing.decode().split("\0") if name]
        for name in names:
            source = ROOT / name
            target = self.tree / name
            if source.is_file():
                content = source.read_bytes()
                if not target.is_file() or target.read_bytes() != content:
                    target.parent.mkdir(parents=True, exist_ok=True)
                    target.write_bytes(content)
                    target.chmod(source.stat().st_mode)
        command = ["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja",
                   "-DCMAKE_BUILD_TYPE=Debug",
                   # Twice as fast without optimisation.
                   "-DCMAKE_CXX_COMPILER=clang++",
                   "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -g0 -D_GLIBCXX_ASSERTIONS"]
        if subprocess.run(["which", "ccache"], stdout=subprocess.DEVNULL, check=False).returncode == 0:
            command.append("-DCMAKE_CXX_COMPILER_LAUNCHER=ccache")
        self.succeed(command)
        targets = {program.partition(" ")[0] for program in self.programs}
        self.succeed(["cmake", "--build", self.build, "-j2", "--target", *sorted(targets)])

    def succeed(self, command):
        result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                env=self.environment, check=False)
        if result.returncode != 0:
            raise RuntimeError(f"{' '.join(map(str, command))}\n{result.stdout[-4000:]}")

    def build_program(self, program):
        """Whether it could be built. Faults are kept out of the compiler cache."""
        return subprocess.run(["cmake", "--build", self.build, "-j1", "--target",
                               program.partition(" ")[0]],
                              env=self.environment | {"CCACHE_READONLY": "1"}, check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def run_program(self, program):
        """What the program found wrong; nothing when it passed."""
        name, _, tests = program.partition(" ")
        path = next(path for path in self.build.rglob(name) if path.is_file())
        environment = os.environ | {"GTEST_FAIL_FAST": "1", "GTEST_BRIEF": "1",
                                    "QT_QPA_PLATFORM": "offscreen"}
        if tests:
            environment["GTEST_FILTER"] = tests
        try:
            result = subprocess.run([path], env=environment, stdin=subprocess.DEVNULL, text=True,
                                    stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=self.build,
                                    errors="replace", timeout=SECONDS_A_PROGRAM, check=False)
        except subprocess.TimeoutExpired:
            return "does not end"
        if result.returncode == 0:
            return None
        failure = FIRST_FAILURE.search(result.stdout)
        return failure[1] if failure else f"ends with {result.returncode}"

    def judge(self, fault):
        """Makes the fault; ("killed" or "survived" or "invalid", by what)."""
        path = self.tree / fault.file
        text = path.read_text(encoding="utf-8")
        path.write_text(text.replace(fault.original, fault.changed), encoding="utf-8")
        try:
            for program in fault.programs():
                if not self.build_program(program):
                    return "invalid", f"{program} cannot be built"
                found = self.run_program(program)
                if found:
                    return "killed", f"{program}: {found}"
            return "survived", ", ".join(fault.programs())
        finally:
            path.write_text(text, encoding="utf-8")


def work(copy, waiting, results, lock):
    """Takes faults until none is left."""
    try:
        while True:
            fault = waiting.get_nowait()
            began = time.monotonic()
            verdict, why = copy.judge(fault)
            with lock:
                results.append((fault, verdict))
                print(f"{verdict:8} {fault}\n           {why} ({time.monotonic() - began:.0f} s)",
                      flush=True)
    except queue.Empty:
        pass
    except Exception as error:  # pylint: disable=broad-except
        with lock:
            results.append((None, "broken"))
            print(f"mutate: {error}", file=sys.stderr, flush=True)


def stale_entries(faults):
    stale = [(fault, fault.staleness()) for fault in faults]
    stale = [(fault, why) for fault, why in stale if why]
    for fault, why in stale:
        print(f"stale: {fault}: {why}", file=sys.stderr)
    return stale


def expect_no_failure(copy, programs):
    """Throws when a program finds something in a copy without a fault."""
    for program in programs:
        if not copy.build_program(program):
            raise RuntimeError(f"{program} cannot be built without any fault")
        found = copy.run_program(program)
        if found:
            raise RuntimeError(f"{program} fails without any fault: {found}")


def run(faults, folder, jobs):
    waiting = queue.SimpleQueue()
    for fault in faults:
        waiting.put(fault)
    programs = sorted({program for fault in faults for program in fault.programs()})
    copies = [Copy(folder / str(number), programs) for number in range(min(jobs, len(faults)))]
    for copy in copies:
        copy.prepare()
    expect_no_failure(copies[0], programs)
    results = []
    lock = threading.Lock()
    threads = [threading.Thread(target=work, args=(copy, waiting, results, lock))
               for copy in copies]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    # A fault may have damaged the machine, and with it the judgement about all that came after it.
    expect_no_failure(copies[0], programs)
    return results


def main():
    parser = argparse.ArgumentParser(usage=__doc__.partition("Usage: ")[2])
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--only", default="")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("folder", nargs="?")
    options = parser.parse_args()

    entries = tomllib.loads(LIST.read_text(encoding="utf-8"))["mutation"]
    faults = [Fault(number, entry) for number, entry in enumerate(entries, 1)]
    if stale_entries(faults):
        return 1
    if options.check:
        print(f"mutate: {len(faults)} mutations fit the code")
        return 0
    if options.folder is None:
        parser.error("FOLDER is missing")

    chosen = [fault for fault in faults if fault.is_chosen(options.only)]
    explained = [fault for fault in chosen if fault.equivalent]
    results = run([fault for fault in chosen if not fault.equivalent],
                  pathlib.Path(options.folder).resolve(), options.jobs)
    verdicts = [verdict for _, verdict in results]
    for fault, verdict in results:
        if verdict in ("survived", "invalid"):
            print(f"{verdict}: {fault}", file=sys.stderr)
    killed = verdicts.count("killed")
    print(f"mutate: {killed} of {len(chosen)} mutations killed, {verdicts.count('survived')} survived, "
          f"{verdicts.count('invalid')} invalid, {len(explained)} explained as equivalent")
    return 0 if killed + len(explained) == len(chosen) and "broken" not in verdicts else 1


if __name__ == "__main__":
    sys.exit(main())
