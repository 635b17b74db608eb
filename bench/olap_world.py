"""What the rows of bench-olap work on: two databases of the sales example over two sizes of one data
warehouse, published in one directory; documents; and the table of results.
"""

import subprocess
import time

from olap_data import PATIENCE, ROOT, connection, load
from olap_engine import Engine, fail
from olap_questions import analysts_questions

SMALL_FACTS = 20000


class Table:
    """The results: told one by one, printed together at the end."""

    def __init__(self, only):
        self.only = only
        self.rows = []
        self.start = time.monotonic()

    def wants(self, *numbers):
        return any(not self.only or number in self.only for number in numbers)

    def note(self, text):
        print(f"[{time.monotonic() - self.start:6.0f} s] {text}", flush=True)

    def row(self, number, work, reference, ratio, aim, kind="", at_least=False):
        """Without an aim it is enough to have come so far."""
        met = "met" if aim is None or (ratio >= aim if at_least else ratio <= aim) else "missed"
        shown = "" if aim is None else f"{'at least ' if at_least else ''}{aim:g}"
        self.rows.append((str(number), work, reference, kind, f"{ratio:.3f}", shown, met))
        self.note(f"row {number}{' ' + kind if kind else ''}: {ratio:.3f}")

    def print(self):
        lines = [("Row", "Work", "Reference", "", "Ratio", "Aim", ""), *sorted(self.rows, key=lambda row: row[0])]
        widths = [max(len(line[i]) for line in lines) for i in range(len(lines[0]))]
        for number, line in enumerate(lines):
            print("| " + " | ".join(text.ljust(width) for text, width in zip(line, widths)) + " |")
            if number == 0:
                print("|" + "|".join("-" * (width + 2) for width in widths) + "|")
        print(flush=True)


class World:
    database = "Harbour Retail"
    warehouse = "warehouse"
    small_database = "Harbour Small"
    small_warehouse = "warehouse_small"

    def __init__(self, build, folder, facts):
        self.kcd = str(build / "kcd")
        self.folder = folder
        self.directory = str(folder / "cubes")
        self.facts = facts

    def publish_small(self):
        """The small database is for what is not about facts, and for engines that warm up."""
        load(self.small_warehouse, SMALL_FACTS)
        self.publish_over(self.small_database, self.small_warehouse, SMALL_FACTS)

    def publish(self):
        load(self.warehouse, self.facts)
        self.publish_over(self.database, self.warehouse, self.facts)

    def publish_over(self, database, warehouse, facts):
        """Documents say how many facts they expect, and tables are planned by it."""
        text = (ROOT / "examples/sales.kcd").read_text(encoding="utf-8")
        expected = 'estimated_rows="2400000"'
        if expected not in text:
            fail("examples/sales.kcd expects another number of facts")
        document = self.folder / f"{warehouse}.kcd"
        document.write_text(text.replace(expected, f'estimated_rows="{facts}"'), encoding="utf-8")
        self.import_document(document, database, warehouse)

    def import_document(self, document, database, warehouse, *options):
        """How long it took."""
        start = time.perf_counter()
        result = subprocess.run(
            [self.kcd, "import", document, "--server", f"mondrian:{self.directory}", "--database", database,
             "--connect-string-file", "-", "--quiet", *options],
            input=connection(warehouse), text=True, check=False, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, timeout=PATIENCE)
        seconds = time.perf_counter() - start
        if result.returncode != 0:
            fail(f"the import of {document} failed:\n{result.stdout[-2000:]}")
        return seconds

    def engine(self, *databases, rounds=4):
        """One that has been running for a while, and has read the schemas of these databases but none of
        their figures."""
        engine = Engine(self.kcd, self.directory)
        try:
            engine.warm_up(analysts_questions(), self.small_database, rounds)
            for database in databases:
                engine.ask("SELECT [Pay Month].[Pay Year].Members ON COLUMNS FROM [Payroll]", database)
        except BaseException:
            engine.stop()
            raise
        return engine
