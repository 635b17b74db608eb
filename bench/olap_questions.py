#!/usr/bin/env python3
"""Asks the sales example 30 questions over many facts, without aggregate tables and with them.

Usage: olap_questions.py BUILD FOLDER [FACTS]
  BUILD   holds kcd and the OLAP engine's host
  FOLDER  an empty one, for the cubes
  FACTS   how many sales there are (200000)
PostgreSQL's variables lead to a server of one's own; the database "warehouse" is made there. Each
question is asked once, of an engine that has not read any figures for it. Told are the ratios of the
times with tables to those without: the median, and the one that only a tenth of the questions exceed.
"""

import itertools
import os
import pathlib
import re
import statistics
import subprocess
import sys
import time
import urllib.request
from xml.sax.saxutils import escape

ROOT = pathlib.Path(__file__).resolve().parent.parent
DATABASE = "Harbour Retail"

LEVELS = ["[Store].[Country]", "[Store].[Region]", "[Store].[Store]", "[Product].[Department]",
          "[Product].[Group]", "[Customer].[Customer Country]", "[Promotion].[Medium]",
          "[Payment Method].[Method]", "[Household Size].[Persons]", "[Weeks].[Week Year]"]
TIMES = ["[Calendar].[Year].Members", "[Calendar].[Quarter].Members", "[Calendar].[Month].Members"]

MORE_SALES = """
INSERT INTO sales (sale_id, day_id, store_id, product_id, customer_id, promotion_id, payment_method,
                   quantity, list_amount, amount, cost)
SELECT 1000000 + i, day.ids[1 + hash % cardinality(day.ids)],
       store.ids[1 + hash / 7 % cardinality(store.ids)],
       product.ids[1 + hash / 31 % cardinality(product.ids)],
       customer.ids[1 + hash / 101 % cardinality(customer.ids)],
       promotion.ids[1 + hash / 211 % cardinality(promotion.ids)],
       (ARRAY['Card', 'Cash'])[1 + hash / 401 % 2], 1 + hash % 5, 10 + hash % 100, 9 + hash % 90,
       5 + hash % 40
FROM (SELECT i, abs(hashint4(i)) AS hash FROM generate_series(1, {facts}) i) fact,
     (SELECT array_agg(day_id) AS ids FROM calendar WHERE year = 2026) day,
     (SELECT array_agg(store_id) AS ids FROM store) store,
     (SELECT array_agg(product_id) AS ids FROM product) product,
     (SELECT array_agg(customer_id) AS ids FROM customer) customer,
     (SELECT array_agg(promotion_id) AS ids FROM promotion) promotion;
ANALYZE;
"""

QUESTION = """<SOAP-ENV:Envelope xmlns:SOAP-ENV="http://schemas.xmlsoap.org/soap/envelope/"><SOAP-ENV:Body>
<Execute xmlns="urn:schemas-microsoft-com:xml-analysis"><Command><Statement>{mdx}</Statement></Command>
<Properties><PropertyList><Catalog>{database}</Catalog>
<Format>Multidimensional</Format><Content>Data</Content></PropertyList></Properties></Execute>
</SOAP-ENV:Body></SOAP-ENV:Envelope>"""


def questions():
    """One dimension by time, or two dimensions of one year: what people look at."""
    by_time = [f"SELECT {time} ON COLUMNS, NON EMPTY {level}.Members ON ROWS FROM [Sales] "
               "WHERE ([Measures].[Revenue])" for level in LEVELS for time in TIMES[:2]]
    pairs = [(a, b) for a, b in itertools.combinations(LEVELS[:9], 2) if a.split(".")[0] != b.split(".")[0]]
    crossed = ["SELECT {[Measures].[Revenue], [Measures].[Quantity], [Measures].[Largest Line]} ON COLUMNS, "
               f"NON EMPTY CrossJoin({a}.Members, {b}.Members) ON ROWS FROM [Sales] WHERE ([Calendar].[2026])"
               for a, b in pairs[::3]]
    return by_time + crossed[:10]


def psql(database, sql):
    subprocess.run(["psql", "--no-psqlrc", "--quiet", "--set=ON_ERROR_STOP=1", f"--dbname={database}"],
                   input=sql, text=True, check=True, stdout=subprocess.DEVNULL)


def ask(address, mdx):
    body = QUESTION.format(mdx=escape(mdx), database=DATABASE).encode()
    request = urllib.request.Request(address, body, {
        "Content-Type": "text/xml", "SOAPAction": '"urn:schemas-microsoft-com:xml-analysis:Execute"'})
    start = time.monotonic()
    with urllib.request.urlopen(request) as answer:
        text = answer.read().decode()
    seconds = time.monotonic() - start
    if "<SOAP-ENV:Fault" in text:
        sys.exit(f"no answer: {mdx}\n{text}")
    return seconds, re.findall(r"<Value[^>]*>([^<]*)<", text)


def answers(kcd, directory):
    """The time and the values of each question, by an engine of its own."""
    engine = subprocess.Popen([kcd, "serve", directory, "--port", "0"], stdout=subprocess.PIPE, text=True)
    try:
        address = engine.stdout.readline().split(" at ")[-1].strip()
        # The engine reads the schema, and Java compiles itself.
        for _ in range(20):
            ask(address, "SELECT [Pay Month].[Pay Year].Members ON COLUMNS FROM [Payroll]")
        return [ask(address, mdx) for mdx in questions()]
    finally:
        engine.terminate()
        engine.wait()


def same(left, right):
    return len(left) == len(right) and all(
        a == b or abs(float(a) - float(b)) <= 1e-6 * abs(float(a)) for a, b in zip(left, right))


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    kcd = str(pathlib.Path(sys.argv[1]).resolve() / "kcd")
    directory = str(pathlib.Path(sys.argv[2]).resolve() / "cubes")
    facts = int(sys.argv[3]) if len(sys.argv) == 4 else 200000
    psql("postgres", "CREATE DATABASE warehouse")
    psql("warehouse", (ROOT / "examples/sales-warehouse.sql").read_text(encoding="utf-8"))
    psql("warehouse", MORE_SALES.format(facts=facts))
    connection = ("Driver={{PostgreSQL Unicode}};Server={PGHOST};Port={PGPORT};Database=warehouse;"
                  "Uid={PGUSER};Pwd={PGPASSWORD}").format(**{"PGPASSWORD": "", **os.environ})
    subprocess.run([kcd, "import", str(ROOT / "examples/sales.kcd"), "--server", f"mondrian:{directory}",
                    "--connect-string-file", "-"], input=connection, text=True, check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    print(f"{len(questions())} questions over {facts} facts", flush=True)
    without = answers(kcd, directory)
    start = time.monotonic()
    subprocess.run([kcd, "aggregate", "build", f"mondrian:{directory}", DATABASE, "Sales"], check=True,
                   stdout=subprocess.DEVNULL)
    print(f"tables built in {time.monotonic() - start:.1f} s")
    with_tables = answers(kcd, directory)
    for mdx, before, after in zip(questions(), without, with_tables):
        if not same(before[1], after[1]):
            sys.exit(f"another answer with tables: {mdx}")
    ratios = sorted(after[0] / before[0] for before, after in zip(without, with_tables))
    print(f"median {statistics.median(before[0] for before in without):.3f} s without, "
          f"{statistics.median(after[0] for after in with_tables):.3f} s with tables")
    print(f"ratio: median {statistics.median(ratios):.3f}, worst tenth {ratios[len(ratios) * 9 // 10]:.3f}")


if __name__ == "__main__":
    main()
