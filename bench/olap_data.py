"""The data warehouse that bench-olap asks: the tables of examples/sales-warehouse.sql, with dimensions as
large as examples/sales.kcd expects them and as many facts as are wanted. All of it follows from the row
numbers, so that the same numbers of facts are the same facts everywhere.
"""

import os
import subprocess
from pathlib import Path

# No notices, such as that a view which is dropped if it is there is not there.
os.environ["PGOPTIONS"] = "-c client_min_messages=warning"

ROOT = Path(__file__).resolve().parent.parent
SEPARATOR = "\x1f"
PATIENCE = 24 * 3600  # seconds; for what runs by itself and ends

DIMENSIONS = """
INSERT INTO calendar (day_id, the_date, year, quarter, month, week)
SELECT to_char(day, 'YYMMDD')::integer, day, extract(year FROM day), 'Q' || extract(quarter FROM day),
       extract(month FROM day), extract(week FROM day)
FROM generate_series('2025-01-01'::timestamp, '2026-12-31', '1 day') day
ON CONFLICT DO NOTHING;
INSERT INTO product_group (product_group_id, group_name, department)
SELECT i, 'Group ' || i,
       (ARRAY['Men''s Wear', 'Women''s Wear', 'Shoes', 'Chandlery', 'Toys', 'Books'])[1 + i % 6]
FROM generate_series(7, 24) i;
INSERT INTO product (product_id, product_name, brand, weight, product_group_id)
SELECT i, 'Product ' || i, 'Brand ' || i % 40, 100 + i % 50 * 20, 1 + i % 24
FROM generate_series(113, 580) i;
INSERT INTO region (region_id, region_name, country)
SELECT i, 'Region ' || i, (ARRAY['Germany', 'Denmark', 'France'])[1 + i % 3] FROM generate_series(5, 9) i;
INSERT INTO store (store_id, store_name, manager, floor_area, region_id)
SELECT i, 'Store ' || i, 'Manager ' || i % 20, 50 + i * 10, 1 + i % 9 FROM generate_series(17, 41) i;
INSERT INTO customer (customer_id, customer_name, city, country, loyalty_card, household_size)
SELECT i, 'Customer ' || i, 'City ' || i % 132,
       (ARRAY['Germany', 'Denmark', 'France', 'Ireland', 'Spain'])[1 + i % 132 % 5],
       (ARRAY['gold', 'silver', 'none'])[1 + i % 3], 1 + i % 8
FROM generate_series(11, 12000) i;
INSERT INTO promotion (promotion_id, promotion_name, medium)
SELECT i, 'Promotion ' || i, (ARRAY['none', 'print', 'poster', 'e-mail', 'radio'])[1 + i % 5]
FROM generate_series(5, 59) i;
"""

# Facts come in before there is anything to keep up to date; keys and references would be read by nobody.
WITHOUT_KEYS = """
CREATE UNLOGGED TABLE new_{table} (LIKE {table});
DROP TABLE {table} CASCADE;
ALTER TABLE new_{table} RENAME TO {table};
"""

# A few products and customers buy and are bought most. Half of all is sold without a promotion.
FACTS = """
INSERT INTO {table} (sale_id, day_id, store_id, product_id, customer_id, promotion_id, payment_method,
                     quantity, list_amount, amount, cost)
SELECT i, day.ids[1 + a % cardinality(day.ids)], 11 + b % 31,
       101 + floor(480 * pow(c / 2147483648.0::float8, 1.5))::integer,
       1 + floor(12000 * pow(d / 2147483648.0::float8, 1.5))::integer,
       CASE WHEN a & 1024 = 0 THEN 0 ELSE b / 31 % 60 END,
       (ARRAY['card', 'cash', 'voucher', 'transfer'])[1 + (a >> 12) % 4],
       1 + (a >> 14) % 5, 20 + (c & 127), 15 + (c & 127) - d % 5, 5 + (d & 7)
FROM (SELECT i, (hashint8extended(i, 1) & 2147483647)::integer AS a,
             (hashint8extended(i, 2) & 2147483647)::integer AS b,
             (hashint8extended(i, 3) & 2147483647)::integer AS c,
             (hashint8extended(i, 4) & 2147483647)::integer AS d
      FROM generate_series({first}, {last}) i) fact,
     (SELECT array_agg(day_id ORDER BY day_id) AS ids FROM calendar WHERE year = {year}) day;
"""

FACT_TABLES = {"sales_2025": 2025, "sales": 2026}


def psql_command(database):
    return ["psql", "--no-psqlrc", "--quiet", "--no-align", "--tuples-only", f"--field-separator={SEPARATOR}",
            "--set=ON_ERROR_STOP=1", f"--dbname={database}"]


def psql(database, sql, server=None):
    """The lines that a script gives, each a list of texts. `server` has other variables of PostgreSQL."""
    result = subprocess.run(psql_command(database), input=sql, text=True, check=True, stdout=subprocess.PIPE,
                            env={**os.environ, **(server or {})}, timeout=PATIENCE)
    return [line.split(SEPARATOR) for line in result.stdout.splitlines()]


def at_once(database, scripts):
    """Runs scripts beside each other, each by a connection of its own."""
    started = []
    try:
        for script in scripts:
            started.append(subprocess.Popen(psql_command(database) + ["--command", script],
                                            stdout=subprocess.DEVNULL))
        if any([one.wait(PATIENCE) for one in started]):
            raise RuntimeError("the data warehouse could not be loaded")
    finally:
        for one in started:
            one.kill()
            one.wait()


def fact_ranges(facts):
    """For each table its year and the first and last number of its facts: half of them are last year's."""
    half = facts // 2
    return {"sales_2025": (2025, 1, half), "sales": (2026, half + 1, facts)}


def load(database, facts):
    """Makes a database with so many facts."""
    psql("postgres", f"CREATE DATABASE {database}")
    psql(database, (ROOT / "examples/sales-warehouse.sql").read_text(encoding="utf-8") + DIMENSIONS
         + "".join(WITHOUT_KEYS.format(table=table) for table in FACT_TABLES))
    at_once(database, [FACTS.format(table=table, year=year, first=first, last=last)
                       for table, (year, first, last) in fact_ranges(facts).items()])
    at_once(database, [f"VACUUM (FREEZE, ANALYZE) {table}" for table in FACT_TABLES])
    psql(database, "VACUUM ANALYZE")


def connection(database):
    """How data sources reach a database of the server that PostgreSQL's variables lead to."""
    return ("Driver={{PostgreSQL Unicode}};Server={PGHOST};Port={PGPORT};Database={database};"
            "Uid={PGUSER};Pwd={PGPASSWORD}").format(database=database, **os.environ)
