#!/usr/bin/env python3
"""Measures whole programs against references in the same run, and prints one table.

Usage: bench/whole_program.py BUILD [--rounds N] [--megabytes N] [--only TEXT]

BUILD is the folder of a build with IMPORTKCD_BENCHMARKS switched on. Program and reference take
turns; a ratio is that of their processor time (user and system, as the kernel accounts it), round by
round, and the table shows the median of the rounds. Processor time is what a loaded machine
disturbs least; the ratio of the times on the clock stands beside it. Ends with 1 when a target is
missed.
"""

import argparse
import contextlib
import os
import shutil
import sqlite3
import statistics
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

HERE = Path(__file__).resolve().parent
FLAT = 1.15


@dataclass
class Command:
    """One program to run; `before` puts the files in order each time, unmeasured."""

    arguments: list
    stdin: str = "/dev/null"
    before: callable = None
    environment: dict = field(default_factory=dict)


@dataclass
class Sample:
    processor: float
    clock: float
    peak_bytes: int


def run(command):
    """Runs a command to its end and gives what it took; a failure ends the measurement."""
    if command.before:
        command.before()
    arguments = [str(argument) for argument in command.arguments]
    actions = [
        (os.POSIX_SPAWN_OPEN, 0, command.stdin, os.O_RDONLY, 0),
        (os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0),
    ]
    start = time.perf_counter()
    child = os.posix_spawnp(
        arguments[0], arguments, {**os.environ, **command.environment}, file_actions=actions
    )
    _, status, usage = os.wait4(child, 0)
    clock = time.perf_counter() - start
    if status != 0:
        sys.exit(f"{' '.join(arguments)} ended with {os.waitstatus_to_exitcode(status)}")
    return Sample(usage.ru_utime + usage.ru_stime, clock, usage.ru_maxrss * 1024)


def run_often(command, times):
    """Several short runs as one sample: one alone is shorter than the kernel can account."""
    samples = [run(command) for _ in range(times)]
    return Sample(
        sum(sample.processor for sample in samples),
        sum(sample.clock for sample in samples),
        max(sample.peak_bytes for sample in samples),
    )


def take_turns(commands, rounds, times=1):
    """The samples of each command, round by round; the first round only warms up."""
    for command in commands:
        run(command)
    turns = [[run_often(command, times) for command in commands] for _ in range(rounds)]
    return list(zip(*turns))


def median_ratio(samples, references, value):
    return statistics.median(
        value(sample) / value(reference) for sample, reference in zip(samples, references)
    )


def processor_of(sample):
    return sample.processor


def clock_of(sample):
    return sample.clock


class Table:
    def __init__(self):
        self.all_reached = True
        print("| Work | Reference | Ratio | On the clock | To reach | Reached |")
        print("|---|---|---|---|---|---|", flush=True)

    def row(self, work, reference, ratio, target, clock=None):
        reached = ratio <= target
        self.all_reached = self.all_reached and reached
        clock = "" if clock is None else f"{clock:.2f}"
        print(
            f"| {work} | {reference} | {ratio:.2f} | {clock} | {target} |"
            f" {'yes' if reached else 'no'} |",
            flush=True,
        )

    def compare(self, work, reference, samples, references, target):
        self.row(
            work,
            reference,
            median_ratio(samples, references, processor_of),
            target,
            median_ratio(samples, references, clock_of),
        )


class Bench:
    def __init__(self, build, folder, rounds, megabytes):
        self.build = build
        self.folder = folder
        self.rounds = rounds
        self.megabytes = megabytes
        self.kcd = build / "kcd"
        self.tools = build / "bench"
        self.table = Table()

    # Files

    def document(self, kind, megabytes):
        path = self.folder / f"{megabytes}.{kind}"
        if not path.exists():
            subprocess.run(
                [self.tools / "write_document", kind, str(megabytes), path], check=True
            )
        return path

    def import_into(self, server, document, *options, before=None):
        arguments = [self.kcd, "import", document, "--server", server, "--partitions", *options]
        return Command(arguments, before=before)

    def remove_catalogue(self, path):
        for suffix in ("", "-wal", "-shm", "-journal", "-lock"):
            Path(f"{path}{suffix}").unlink(missing_ok=True)

    def fresh_copy(self, source, target):
        self.remove_catalogue(target)
        shutil.copy(source, target)
        # To the disk as well: the next commit would wait for all of the copy otherwise.
        with open(target, "rb") as copy:
            os.fsync(copy.fileno())

    def imported(self, document):
        """A catalogue that holds a document."""
        path = document.with_suffix(".olap")
        if not path.exists():
            run(self.import_into(f"catalogue:{path}", document))
        return path

    # Rows of the table

    def import_into_memory(self):
        document = self.document("kcd", self.megabytes)
        imports, parses = take_turns(
            [
                self.import_into("memory:", document),
                Command(["xmllint", "--huge", "--noout", document]),
            ],
            self.rounds,
        )
        name = f"`kcd import` of {self.megabytes} MB into `memory:`"
        self.table.compare(name, "`xmllint --noout`", imports, parses, 0.5)
        peak = statistics.median(sample.peak_bytes for sample in imports)
        self.table.row("its peak memory", "size of the document", peak / document.stat().st_size, 5)

    def check(self):
        document = self.document("kcd", self.megabytes)
        # Its warnings are findings of the document, and no failure.
        checks, imports = take_turns(
            [
                Command([self.kcd, "check", document]),
                self.import_into("memory:", document),
            ],
            self.rounds,
        )
        self.table.compare(
            f"`kcd check` of {self.megabytes} MB", "`kcd import` into `memory:`", checks, imports, 1.3
        )

    def insert_script(self, catalogue):
        """A catalogue as a script for the sqlite3 shell: same settings, tables, indexes and rows."""
        script = self.folder / "insert.sql"
        dump = subprocess.Popen(
            ["sqlite3", "-readonly", catalogue, ".dump"], stdout=subprocess.PIPE, text=True
        )
        with contextlib.closing(sqlite3.connect(catalogue)) as database:
            schema = database.execute(
                "SELECT sql FROM sqlite_schema WHERE sql IS NOT NULL AND name NOT LIKE 'sqlite_%'"
                " ORDER BY type = 'table' DESC, rowid"
            ).fetchall()
            settings = {
                name: database.execute(f"PRAGMA {name}").fetchone()[0]
                for name in ("page_size", "application_id", "user_version")
            }
        with script.open("w") as out:
            for name, value in settings.items():
                out.write(f"PRAGMA {name} = {value};\n")
            out.write(
                "PRAGMA journal_mode = WAL; PRAGMA foreign_keys = ON; PRAGMA cache_size = -65536;\n"
                "PRAGMA journal_size_limit = 0; BEGIN;\n"
            )
            out.writelines(f"{sql};\n" for (sql,) in schema)
            # What follows an INSERT on lines of its own is the rest of a text.
            inside = False
            for line in dump.stdout:
                if line.startswith("INSERT INTO "):
                    inside = True
                elif line.startswith(("CREATE ", "COMMIT;", "PRAGMA ", "DELETE FROM ")):
                    inside = False
                if inside:
                    out.write(line)
            out.write("COMMIT;\n")
        if dump.wait() != 0:
            sys.exit("the catalogue cannot be dumped")
        return script

    def import_into_new_catalogue(self):
        document = self.document("kcd", self.megabytes)
        script = self.insert_script(self.imported(document))
        catalogue = self.folder / "new.olap"
        inserted = self.folder / "inserted.olap"
        imports, inserts = take_turns(
            [
                self.import_into(
                    f"catalogue:{catalogue}",
                    document,
                    before=lambda: self.remove_catalogue(catalogue),
                ),
                Command(
                    ["sqlite3", "-batch", "-bail", "-init", "/dev/null", inserted],
                    stdin=str(script),
                    before=lambda: self.remove_catalogue(inserted),
                ),
            ],
            self.rounds,
        )
        script.unlink()
        self.remove_catalogue(catalogue)
        self.remove_catalogue(inserted)
        self.table.compare(
            "the same into a new catalogue", "`sqlite3` inserting its rows", imports, inserts, 1.5
        )

    def import_again(self):
        document = self.document("kcd", self.megabytes)
        first = self.folder / "first.olap"
        again = self.folder / "again.olap"
        self.fresh_copy(self.imported(document), again)
        firsts, skips, updates = take_turns(
            [
                self.import_into(
                    f"catalogue:{first}", document, before=lambda: self.remove_catalogue(first)
                ),
                self.import_into(f"catalogue:{again}", document),
                # Levels are added, never replaced, so that an update must leave them alone.
                self.import_into(
                    f"catalogue:{again}", document, "--mode", "update", "--dont-update-levels"
                ),
            ],
            self.rounds,
        )
        self.remove_catalogue(first)
        self.remove_catalogue(again)
        self.table.compare("the same again, incremental", "first import", skips, firsts, 0.5)
        self.table.compare("the same again, update", "first import", updates, firsts, 1.2)

    def add_one_cube(self):
        holds = self.imported(self.document("kcd", 17))
        with contextlib.closing(sqlite3.connect(holds)) as database:
            tables = [name for (name,) in database.execute("SELECT name FROM sqlite_schema"
                      " WHERE type = 'table' AND name NOT LIKE 'sqlite_%'")]
            objects = sum(database.execute(f'SELECT count(*) FROM "{name}"').fetchone()[0]
                          for name in tables)
            empty = self.folder / "empty.olap"
            run(self.import_into(f"catalogue:{empty}", self.document("kcd", 0.01)))
            with contextlib.closing(sqlite3.connect(empty)) as other:
                other.execute("PRAGMA foreign_keys = ON")
                other.execute("DELETE FROM databases")
                other.commit()
        document = self.folder / "one_cube.kcd"
        document.write_text(ONE_CUBE)
        full_copy = self.folder / "full_copy.olap"
        empty_copy = self.folder / "empty_copy.olap"
        full, bare = take_turns(
            [
                self.import_into(
                    f"catalogue:{full_copy}",
                    document,
                    before=lambda: self.fresh_copy(holds, full_copy),
                ),
                self.import_into(
                    f"catalogue:{empty_copy}",
                    document,
                    before=lambda: self.fresh_copy(empty, empty_copy),
                ),
            ],
            self.rounds,
            times=10,
        )
        self.table.compare(
            f"one added cube in a catalogue of {objects:,} objects",
            "the same in an empty one",
            full,
            bare,
            1.5,
        )

    def cost_per_object(self):
        tiny = self.folder / "one_cube.kcd"
        tiny.write_text(ONE_CUBE)
        for server in ("memory:", f"catalogue:{self.folder / 'cost.olap'}"):
            catalogue = self.folder / "cost.olap"
            sizes = [1, 10, self.megabytes]
            documents = [tiny] + [self.document("kcd", size) for size in sizes]
            commands = [
                self.import_into(
                    server, document, before=lambda: self.remove_catalogue(catalogue)
                )
                for document in documents
            ]
            rounds = []
            for turn in range(self.rounds + 1):
                start, small, middle, large = (
                    run_often(command, times).processor / times
                    for command, times in zip(commands, (20, 20, 3, 1))
                )
                costs = [
                    (cost - start) / document.stat().st_size
                    for cost, document in zip((small, middle, large), documents[1:])
                ]
                if turn > 0:
                    rounds.append(max(costs) / min(costs))
            self.remove_catalogue(catalogue)
            where = server.partition(":")[0]
            self.table.row(
                f"dearest cost of an object, 1 to {self.megabytes} MB, {where}",
                "cheapest",
                statistics.median(rounds),
                FLAT,
            )

    def convert(self):
        document = self.document("kci", self.megabytes)
        labels = self.folder / "labels"
        labels.mkdir(exist_ok=True)
        with contextlib.closing(sqlite3.connect(labels / "labels.db")) as database:
            database.executescript((HERE / "labels.sql").read_text())
        result = document.with_suffix(".kcd")
        kept = self.folder / "kept.kcd"
        if result.exists():
            result.rename(kept)
        conversions, replacements = take_turns(
            [
                Command(
                    [self.kcd, "convert", document, "--labels-server", f"sqlite:{labels}",
                     "--labels-database", "labels", "--language", "English"],
                    before=lambda: result.unlink(missing_ok=True),
                ),
                Command(["sed", "-e", "s/$##/The customer/g", document]),
            ],
            self.rounds,
        )
        result.unlink()
        if kept.exists():
            kept.rename(result)
        self.table.compare(
            f"`kcd convert` of {self.megabytes} MB",
            "`sed` replacing one text",
            conversions,
            replacements,
            1.5,
        )

    def start_of_kcd(self):
        catalogue = self.folder / "small.olap"
        run(self.import_into(f"catalogue:{catalogue}", HERE.parent / "examples" / "sales.kcd"))
        versions, shows, shells = take_turns(
            [
                Command([self.kcd, "--version"]),
                Command([self.kcd, "show", f"catalogue:{catalogue}"]),
                Command(["sqlite3", "-init", "/dev/null", ":memory:", ".tables"]),
            ],
            self.rounds,
            times=20,
        )
        reference = "`sqlite3 :memory: .tables`"
        self.table.compare("start of `kcd --version`", reference, versions, shells, 2)
        self.table.compare("`kcd show` of a small catalogue", reference, shows, shells, 2)

    def start_of_window(self):
        environment = {
            "QT_PLUGIN_PATH": str(self.tools / "plugins"),
            "QT_QPA_GENERIC_PLUGINS": "quit_when_painted",
        }
        with display() as (platform, surroundings):
            environment.update(surroundings)
            programs, empties, texts = take_turns(
                [
                    Command(command, environment=environment)
                    for command in (
                        [self.build / "ImportKCD"],
                        [self.tools / "empty_window"],
                        [self.tools / "empty_window", "Text"],
                    )
                ],
                self.rounds,
                times=5,
            )
        name = f"`ImportKCD` to a painted window ({platform})"
        self.table.compare(name, "an empty Qt window", programs, empties, 1.3)
        self.table.compare(name, "a Qt window with one word", programs, texts, 1.3)

    def status_lines(self):
        lines = 1000 * self.megabytes
        window, view, model = take_turns(
            [
                Command([self.tools / "status_lines", way, lines])
                for way in ("window", "view", "model")
            ],
            self.rounds,
        )
        name = f"{lines:,} status lines in the window"
        self.table.compare(name, "a list model in a bare view", window, view, 2)
        self.table.compare(name, "a bare list model", window, model, 2)


ONE_CUBE = """<?xml version="1.0"?>
<database version="1.0.1073" name="Generated" description="">
<library>
<data_sources>
<data_source name="Added source" connection_string="Provider=SQLOLEDB" description=""/>
</data_sources>
<shared_dimensions>
<shared_dimension name="Added dimension" description="" type="regular" data_source="Added source"
 from_clause="" join_clause="" schema_layout="">
<levels>
<level name="Added level" type="regular" column_size="4" column_type="3" description=""
 estimated_size="1" member_key_column="key" member_name_column="name" ordering="name"
 unique_items="true"/>
</levels>
</shared_dimension>
</shared_dimensions>
</library>
<cubes>
<cube name="Added cube" description="" data_source="Added source" fact_table="facts"
 aggregation_prefix="" from_clause="" join_clause="" schema_layout=""
 olap_mode="olapmodeMolapIndex" estimated_rows="1">
<cube_dimensions>
<cube_dimension_reference name="Added dimension"><cube_levels_reference/></cube_dimension_reference>
</cube_dimensions>
<cube_measures>
<cube_measure name="Added measure" description="" format="" source_column="amount"
 internal="false" aggregate_function="sum"/>
</cube_measures>
<cube_calculated_members/>
<cube_roles/>
</cube>
</cubes>
</database>
"""


@contextlib.contextmanager
def display():
    """A display of its own where there is an X server to be had, else Qt's own without one."""
    if shutil.which("Xvfb") is None:
        yield "offscreen", {"QT_QPA_PLATFORM": "offscreen"}
        return
    read_end, write_end = os.pipe()
    server = subprocess.Popen(
        ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x1024x24", "-nolisten", "tcp"],
        pass_fds=[write_end],
        stderr=subprocess.DEVNULL,
    )
    os.close(write_end)
    with os.fdopen(read_end) as numbers:
        number = numbers.readline().strip()
    try:
        yield "Xvfb", {"DISPLAY": f":{number}", "QT_QPA_PLATFORM": "xcb"}
    finally:
        server.terminate()
        server.wait()


ROWS = (
    "import_into_memory",
    "check",
    "import_into_new_catalogue",
    "import_again",
    "add_one_cube",
    "cost_per_object",
    "convert",
    "start_of_kcd",
    "start_of_window",
    "status_lines",
)


def main():
    parser = argparse.ArgumentParser(description="Measures whole programs against references.")
    parser.add_argument("build", type=Path, help="folder of a build with benchmark programs")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--megabytes", type=int, default=100, help="size of the large documents")
    parser.add_argument("--only", default="", help="rows whose name holds this: " + ", ".join(ROWS))
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="importkcd-bench-") as folder:
        # The runs' own temporary files go there too.
        os.environ.update(TMPDIR=folder, XDG_RUNTIME_DIR=folder)
        bench = Bench(options.build.resolve(), Path(folder), options.rounds, options.megabytes)
        for row in ROWS:
            if options.only in row:
                getattr(bench, row)()
    return 0 if bench.table.all_reached else 1


if __name__ == "__main__":
    sys.exit(main())
