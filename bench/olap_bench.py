#!/usr/bin/env python3
"""Measures how imported cubes answer, against references in the same run, and prints one table.

Usage: bench/olap_bench.py BUILD FOLDER [OPTIONS]

BUILD holds kcd and the OLAP engine's host; FOLDER is an empty one, for the cubes. PostgreSQL's variables
lead to a server of one's own, in which databases are made; SHARDS has the ports of three further ones,
with the same user and password. A missed aim is told, and no failure; a wrong answer or an error is one.
"""

import argparse
import signal
import sys
from pathlib import Path

import olap_crowd_rows
import olap_shards
from olap_rows import OnePersonsRows
from olap_world import Table, World


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("build", type=Path)
    parser.add_argument("folder", type=Path)
    parser.add_argument("--facts", type=int, default=200000, help="sales of the large data warehouse")
    parser.add_argument("--logged", type=int, default=1000,
                        help="questions in the log that tables are planned by")
    parser.add_argument("--seconds", type=int, default=15, help="how long 50 people ask")
    parser.add_argument("--questions", type=int, default=1500, help="how many are asked for the row on memory")
    parser.add_argument("--heap", default="256m", help="the engine's, in that row")
    parser.add_argument("--shard-facts", type=int, default=50000, help="sales on the shards")
    parser.add_argument("--only", default="", help="numbers of rows, such as 1,2,4")
    return parser.parse_args()


def main():
    options = arguments()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    table = Table({int(number) for number in options.only.split(",") if number})
    world = World(options.build.resolve(), options.folder.resolve(), options.facts)
    world.publish_small()
    if table.wants(1, 2, 3, 4, 5):
        world.publish()
        table.note(f"{options.facts} facts loaded")
    rows = OnePersonsRows(world, table, options.logged)
    if table.wants(1, 2):
        rows.facts_alone()
    if table.wants(2):
        rows.row_plain_sql()
    if table.wants(1, 3, 4, 5):
        rows.build()
    if table.wants(1, 3, 5):
        with world.engine(world.database) as engine:
            rows.with_tables(engine)
            if table.wants(3):
                rows.row_warm(engine)
            if table.wants(5):
                olap_crowd_rows.at_once(world, table, engine, options.seconds)
    if table.wants(6):
        olap_shards.row(world, table, options.shard_facts)
    if table.wants(7):
        olap_crowd_rows.import_meanwhile(world, table)
    if table.wants(8):
        olap_crowd_rows.memory(world, table, options.questions, options.heap)
    table.print()


if __name__ == "__main__":
    main()
