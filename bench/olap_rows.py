"""The rows of bench-olap about the questions of one person: with aggregate tables, without, by plain SQL,
asked again; and how long the tables take to be built."""

import re
import statistics
import subprocess
import time

from olap_data import PATIENCE, psql, psql_command
from olap_engine import Engine, fail
from olap_questions import LOOKUP, Mix, analysts_questions, members_of, same_figures

WARM_ROUNDS = 12  # of which the second half counts


def plain_sql(database, question):
    """What psql takes for the SQL that a person would write, and the figures."""
    start = time.perf_counter()
    result = subprocess.run(psql_command(database) + ["--command", question.sql()], check=True, text=True,
                            stdout=subprocess.PIPE, timeout=PATIENCE)
    seconds = time.perf_counter() - start
    return seconds, question.figures_of_sql(line.split("\x1f") for line in result.stdout.splitlines())


class OnePersonsRows:
    """What is measured before is kept for the rows that compare with it."""

    def __init__(self, world, table, logged):
        self.world = world
        self.table = table
        self.logged = logged  # how many questions of the day before tables are planned by
        self.questions = analysts_questions()
        self.figures = {}
        self.plain = []
        self.without = []

    def ask_cold(self, engine, question):
        seconds, answer = engine.ask(question.mdx(), self.world.database)
        figures = question.figures_of_answer(answer)
        if not same_figures(self.figures.setdefault(question, figures), figures):
            fail(f"another answer than before: {question.mdx()}\n{question.sql()}")
        return seconds

    def facts_alone(self):
        """Plain SQL and the engine take turns, question by question."""
        with self.world.engine(self.world.database) as engine:
            for question in self.questions:
                seconds, self.figures[question] = plain_sql(self.world.warehouse, question)
                self.plain.append(seconds)
                self.without.append(self.ask_cold(engine, question))
        self.table.note(f"without tables: the engine {statistics.median(self.without):.3f} s, "
                        f"psql {statistics.median(self.plain):.3f} s (medians)")

    def row_plain_sql(self):
        ratios = [engine / plain for engine, plain in zip(self.without, self.plain)]
        self.table.row(2, "30 questions, cold, no tables", "plain SQL, by psql", statistics.median(ratios), 1.3)

    def build(self):
        """Builds the tables; before that by hand what `kcd aggregate build --sql` says, when it counts."""
        world = self.world
        command = [world.kcd, "aggregate", "build", f"mondrian:{world.directory}", world.database, "Sales",
                   "--from-log", self.log_of_yesterday()]
        by_hand = 0.0
        if self.table.wants(4):
            script = subprocess.run(command + ["--sql"], check=True, text=True, stdout=subprocess.PIPE,
                                    timeout=PATIENCE).stdout
            start = time.perf_counter()
            psql(world.warehouse, script)
            by_hand = time.perf_counter() - start
            drop_made(world.warehouse, script)
        start = time.perf_counter()
        told = subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, timeout=PATIENCE).stdout
        seconds = time.perf_counter() - start
        rows = sum(int(lines[0][0]) for lines in (
            psql(world.warehouse, f"SELECT count(*) FROM {name}") for name in tables_made(world.warehouse)))
        self.table.note(f"tables built in {seconds:.1f} s (by hand {by_hand:.1f} s), {rows} rows for "
                        f"{world.facts} facts: {told.strip().splitlines()[-1]}")
        if rows > 0.2 * world.facts:
            fail("the tables have more than 20 % of the facts' rows")
        if self.table.wants(4):
            self.table.row(4, "kcd aggregate build", "its SQL, by psql", seconds / by_hand, 1.1)

    def log_of_yesterday(self):
        """Tables are planned by what was asked: by a day's log of the people who ask later on. To ask the
        small database takes less time, and its questions are the same."""
        log = self.world.folder / "access.log"
        mix = Mix(members_of(self.world.small_warehouse), "yesterday")
        with Engine(self.world.kcd, self.world.directory, "--access-log", str(log)) as engine:
            for question in self.questions + [mix.next() for _ in range(self.logged)]:
                engine.ask(question.mdx(), self.world.small_database)
        log.write_text(log.read_text(encoding="utf-8").replace(self.world.small_database, self.world.database),
                       encoding="utf-8")
        return str(log)

    def with_tables(self, engine):
        times = [self.ask_cold(engine, question) for question in self.questions]
        self.table.note(f"with tables: the engine {statistics.median(times):.3f} s (median), "
                        f"{max(times):.3f} s (longest)")
        if not self.table.wants(1):
            return
        ratios = sorted(with_tables / without for with_tables, without in zip(times, self.without))
        self.table.row(1, "30 questions, cold, with tables", "without tables", statistics.median(ratios), 0.05,
                       "median")
        self.table.row(1, "", "", ratios[len(ratios) * 9 // 10], 0.2, "worst tenth")

    def row_warm(self, engine):
        again, lookups = [], []
        for number in range(WARM_ROUNDS):
            for question in self.questions:
                seconds = engine.ask(question.mdx(), self.world.database)[0]
                lookup = engine.ask(LOOKUP, self.world.database)[0]
                if number >= WARM_ROUNDS // 2:
                    again.append(seconds)
                    lookups.append(lookup)
        self.table.note(f"asked again {statistics.median(again) * 1000:.2f} ms, a cell that is known "
                        f"{statistics.median(lookups) * 1000:.2f} ms (medians)")
        self.table.row(3, "30 questions, asked again", "a known cell", statistics.median(again)
                       / statistics.median(lookups), 3)


def tables_made(database):
    return [line[0] for line in psql(database, "SELECT tablename FROM pg_tables "
                                     "WHERE tablename ~ '^sales_agg_[0-9]+$' ORDER BY tablename")]


def drop_made(database, script):
    """Drops what the script has made, the last first."""
    made = re.findall(r'^create (table|view) ("?[A-Za-z0-9_]+"?) as', script, re.MULTILINE | re.IGNORECASE)
    if not made:
        fail(f"the script of the tables makes none:\n{script[:2000]}")
    psql(database, "".join(f"DROP {kind} {name};" for kind, name in reversed(made)))
