"""The row of bench-olap about facts on three servers: tables whose partitions are foreign tables, beside one
server with the same facts. The document is the same, and so are its figures. Facts are spread by their day,
and the days with them, so that a shard can join both.
"""

import os
import re
import statistics

from olap_data import DIMENSIONS, FACT_TABLES, ROOT, WITHOUT_KEYS, load, psql
from olap_engine import fail
from olap_questions import analysts_questions, same_figures

ONE = ("Harbour One", "one")
SHARDED = ("Harbour Sharded", "sharded")
SPREAD = ["calendar", *FACT_TABLES]

COORDINATOR = """
CREATE EXTENSION postgres_fdw;
ALTER DATABASE {database} SET enable_partitionwise_aggregate = on;
ALTER DATABASE {database} SET enable_partitionwise_join = on;
"""
SERVER = """
CREATE SERVER {name} FOREIGN DATA WRAPPER postgres_fdw
  OPTIONS (host '127.0.0.1', port '{port}', dbname '{database}', async_capable 'true', use_remote_estimate 'true',
           fetch_size '20000', batch_size '1000');
CREATE USER MAPPING FOR CURRENT_USER SERVER {name} OPTIONS (user '{user}', password '{password}');
"""
PARTITIONED = """
CREATE TABLE parts (LIKE {table}) PARTITION BY HASH (day_id);
DROP TABLE {table} CASCADE;
ALTER TABLE parts RENAME TO {table};
"""
PARTITION = """
CREATE FOREIGN TABLE {table}_{name} PARTITION OF {table}
  FOR VALUES WITH (MODULUS {count}, REMAINDER {number}) SERVER {name} OPTIONS (table_name '{table}');
"""
# The facts come from the one server that has all of them.
FILL = """
CREATE SCHEMA whole;
IMPORT FOREIGN SCHEMA public LIMIT TO ({table}) FROM SERVER whole INTO whole;
INSERT INTO {table} SELECT * FROM whole.{table};
DROP SCHEMA whole CASCADE;
"""


def shards():
    """PostgreSQL's variables for each, from PORT/PASSWORD words."""
    result = []
    for word in os.environ.get("SHARDS", "").split():
        port, password = word.split("/")
        result.append({"PGPORT": port, "PGPASSWORD": password})
    return result


def server_text(name, server, database):
    return SERVER.format(name=name, port=server["PGPORT"], password=server["PGPASSWORD"], database=database,
                         user=os.environ["PGUSER"])


def spread(servers):
    """Makes the database whose facts are on other servers."""
    database = SHARDED[1]
    example = (ROOT / "examples/sales-warehouse.sql").read_text(encoding="utf-8")
    for server in servers:
        psql("postgres", f"CREATE DATABASE {database}", server)
        psql(database, example + "".join(WITHOUT_KEYS.format(table=table) for table in SPREAD), server)
    psql("postgres", f"CREATE DATABASE {database}")
    script = example + DIMENSIONS + COORDINATOR.format(database=database)
    script += server_text("whole", os.environ, ONE[1])
    for number, server in enumerate(servers):
        script += server_text(f"shard{number}", server, database)
    for table in SPREAD:
        script += PARTITIONED.format(table=table)
        for number in range(len(servers)):
            script += PARTITION.format(table=table, name=f"shard{number}", count=len(servers), number=number)
        script += FILL.format(table=table)
    psql(database, script + "ANALYZE;")
    for server in servers:
        psql(database, "VACUUM ANALYZE", server)


def plan_of(sql):
    return "\n".join(line[0] for line in psql(SHARDED[1], "EXPLAIN (VERBOSE) " + sql))


def look_at_plans(servers, table):
    """Each question's facts have to be read by the shards; what is added up by day, which says on which shard
    a fact is, they have to add up themselves. How much else they do is PostgreSQL's choice, and told."""
    at_once = of_the_year = of_a_year = 0
    for question in analysts_questions():
        plan = plan_of(question.sql())
        if len(re.findall(r"Remote SQL: .*public\.sales\b", plan)) < len(servers):
            fail(f"the shards do not read the facts:\n{question.sql()}\n{plan}")
        at_once += plan.count("Async Foreign Scan") >= len(servers)
        of_a_year += not question.time
        of_the_year += len(re.findall(r"Remote SQL: .*public\.sales\b.*year = 2026", plan)) == len(servers)
    plan = plan_of("SELECT day_id, sum(amount), count(*) FROM sales GROUP BY day_id")
    if len(re.findall(r"Remote SQL: SELECT day_id, sum\(amount\), count\(\*\)", plan)) != len(servers):
        fail(f"the shards do not add up:\n{plan}")
    table.note(f"plans: the shards read at the same time for {at_once} of {len(analysts_questions())} questions, "
               f"and join days and facts for {of_the_year} of {of_a_year} about one year; they add up by day")


def row(world, table, facts):
    servers = shards()
    load(ONE[1], facts)
    spread(servers)
    look_at_plans(servers, table)
    for database, warehouse in (ONE, SHARDED):
        world.publish_over(database, warehouse, facts)
    ratios, times = [], []
    with world.engine(ONE[0], SHARDED[0], rounds=1) as engine:
        for question in analysts_questions():
            (one, its_answer), (sharded, answer) = (engine.ask(question.mdx(), database)
                                                    for database, _ in (ONE, SHARDED))
            if not same_figures(question.figures_of_answer(its_answer), question.figures_of_answer(answer)):
                fail(f"the shards have another answer: {question.mdx()}")
            ratios.append(sharded / one)
            times.append((one, sharded))
    medians = [statistics.median(its_times) for its_times in zip(*times)]
    table.note(f"{facts} facts: one server {medians[0]:.3f} s, "
               f"{len(servers)} shards {medians[1]:.3f} s (medians)")
    table.row(6, f"{len(servers)} shards on this machine, {facts} facts", "one server",
              statistics.median(ratios), None, "figures equal")
