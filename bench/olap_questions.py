"""The questions that bench-olap asks, each as MDX and as the SQL that a person would write for it."""

import itertools
import random
import re
import xml.etree.ElementTree as ElementTree
from dataclasses import dataclass

from olap_data import psql

# A level: the columns of the path to its members, and the tables that have them.
LEVELS = {
    "[Store].[Country]": (["region.country"], ["store", "region"]),
    "[Store].[Region]": (["region.country", "region.region_name"], ["store", "region"]),
    "[Store].[Store]": (["region.country", "region.region_name", "store.store_name"], ["store", "region"]),
    "[Product].[Department]": (["product_group.department"], ["product", "product_group"]),
    "[Product].[Group]": (["product_group.department", "product_group.group_name"],
                          ["product", "product_group"]),
    "[Customer].[Customer Country]": (["customer.country"], ["customer"]),
    "[Promotion].[Medium]": (["promotion.medium"], ["promotion"]),
    "[Payment Method].[Method]": (["fact.payment_method"], []),
    "[Household Size].[Persons]": (["customer.household_size"], ["customer"]),
    "[Weeks].[Week Year]": (["calendar.year"], ["calendar"]),
    "[Calendar].[Year]": (["calendar.year"], ["calendar"]),
    "[Calendar].[Quarter]": (["calendar.year", "calendar.quarter"], ["calendar"]),
    "[Calendar].[Month]": (["calendar.year", "calendar.quarter", "calendar.month"], ["calendar"]),
}
TIMES = ["[Calendar].[Year]", "[Calendar].[Quarter]", "[Calendar].[Month]"]
OTHERS = [level for level in LEVELS if level not in TIMES]
MEASURES = {"Revenue": "sum(fact.amount)", "Quantity": "sum(fact.quantity)",
            "Largest Line": "max(fact.amount)"}
JOINS = {
    "calendar": "JOIN calendar ON calendar.day_id = fact.day_id",
    "store": "JOIN store ON store.store_id = fact.store_id",
    "region": "JOIN region ON region.region_id = store.region_id",
    "product": "JOIN product ON product.product_id = fact.product_id",
    "product_group": "JOIN product_group ON product_group.product_group_id = product.product_group_id",
    "customer": "JOIN customer ON customer.customer_id = fact.customer_id",
    "promotion": "JOIN promotion ON promotion.promotion_id = fact.promotion_id",
}
BOTH_YEARS = "(SELECT * FROM sales UNION ALL SELECT * FROM sales_2025)"


def dimension_of(level):
    return level.split(".")[0]


@dataclass(frozen=True)
class Question:
    """Levels by time, or levels by measures within the year 2026; of certain members only, if there are."""

    rows: tuple
    time: str = ""
    measures: tuple = ("Revenue",)
    members: tuple = ()  # of (level, path)

    def mdx(self, cube="Sales"):
        slicer = [dimension_of(level) + "".join(f".[{name}]" for name in path) for level, path in self.members]
        if self.time:
            columns = f"{self.time}.Members"
            slicer.insert(0, f"[Measures].[{self.measures[0]}]")
        else:
            columns = "{" + ", ".join(f"[Measures].[{measure}]" for measure in self.measures) + "}"
            slicer.insert(0, "[Calendar].[2026]")
        rows = self.rows[0] + ".Members"
        for level in self.rows[1:]:
            rows = f"CrossJoin({rows}, {level}.Members)"
        return (f"SELECT {columns} ON COLUMNS, NON EMPTY {rows} ON ROWS FROM [{cube}] "
                f"WHERE ({', '.join(slicer)})")

    def paths(self):
        return ([self.time] if self.time else []) + list(self.rows)

    def sql(self):
        levels = self.paths() + [level for level, _ in self.members]
        tables = {table for level in levels for table in LEVELS[level][1]}
        conditions = [f"{column} = '{name.replace(chr(39), chr(39) * 2)}'" for level, path in self.members
                      for column, name in zip(LEVELS[level][0], path)]
        if not self.time:
            tables.add("calendar")
            conditions.append("calendar.year = 2026")
        columns = [column for level in self.paths() for column in LEVELS[level][0]]
        joins = " ".join(join for table, join in JOINS.items() if table in tables)
        return (f"SELECT {', '.join(columns + [MEASURES[measure] for measure in self.measures])} "
                f"FROM {BOTH_YEARS if self.time else 'sales'} fact {joins}"
                + (f" WHERE {' AND '.join(conditions)}" if conditions else "")
                + f" GROUP BY {', '.join(dict.fromkeys(columns))}")

    def figures_of_sql(self, lines):
        """{members and measure: figure} of the lines that the SQL gives."""
        result = {}
        for line in lines:
            key = []
            rest = list(line)
            for level in self.paths():
                length = len(LEVELS[level][0])
                key.append(tuple(rest[:length]))
                del rest[:length]
            for measure, value in zip(self.measures, rest):
                result[tuple(key) + (measure,)] = float(value)
        return result

    def figures_of_answer(self, answer):
        """The same of the engine's answer."""
        root = ElementTree.fromstring(answer)
        axes = {axis.get("name"): [[path_of(name.text) for name in tuple_.iterfind("{*}Member/{*}UName")]
                                   for tuple_ in axis.iterfind(".//{*}Tuple")]
                for axis in root.iter("{urn:schemas-microsoft-com:xml-analysis:mddataset}Axis")}
        columns, rows = axes["Axis0"], axes["Axis1"]
        result = {}
        for cell in root.iter("{urn:schemas-microsoft-com:xml-analysis:mddataset}Cell"):
            value = cell.find("{*}Value")
            if value is None or value.text is None:
                continue
            row, column = divmod(int(cell.get("CellOrdinal")), len(columns))
            if self.time:
                key = (columns[column][0], *rows[row], self.measures[0])
            else:
                key = (*rows[row], columns[column][0][-1])
            result[key] = float(value.text)
        return result


def path_of(unique_name):
    """The names of a member and those above it, without that of all members."""
    names = re.findall(r"\[((?:[^\]]|\]\])*)\]", unique_name)[1:]
    return tuple(name for name in names if not name.startswith("All "))


def same_figures(left, right):
    return left.keys() == right.keys() and all(
        abs(value - right[key]) <= 1e-9 * abs(value) for key, value in left.items())


def analysts_questions():
    """30: one level by time, or two levels of this year, as people look at them."""
    by_time = [Question((level,), time) for level in OTHERS for time in TIMES[:2]]
    pairs = [pair for pair in itertools.combinations(OTHERS[:9], 2)
             if dimension_of(pair[0]) != dimension_of(pair[1])]
    return by_time + [Question(pair, measures=tuple(MEASURES)) for pair in pairs[::3]][:10]


LOOKUP = "SELECT {[Measures].[Revenue]} ON COLUMNS FROM [Sales] WHERE ([Calendar].[2026])"


def members_of(database):
    """All (level, path) but those of time, as the data warehouse has them."""
    result = []
    for level in OTHERS:
        columns, tables = LEVELS[level]
        if tables and level != "[Weeks].[Week Year]":
            first = tables[0]
            joins = " ".join(JOINS[table] for table in tables[1:])
            lines = psql(database, f"SELECT DISTINCT {', '.join(columns)} FROM {first} {joins} ORDER BY "
                         + ", ".join(columns))
            result += [(level, tuple(line)) for line in lines]
    return result


class NewQuestions:
    """Questions that hardly anybody has asked before: a level by time of one member, or of two."""

    def __init__(self, members, seed):
        self.members = members
        self.choice = random.Random(seed)

    def next(self, members):
        """One of the fewest dimensions that tell it apart: the level's, time and one for each member."""
        while True:
            level = self.choice.choice(OTHERS[:9])
            chosen = tuple(sorted(self.choice.choice(self.members) for _ in range(members)))
            dimensions = {dimension_of(other) for other, _ in chosen} | {dimension_of(level)}
            if len(dimensions) == members + 1:
                return Question((level,), self.choice.choice(TIMES), members=chosen)

    def different(self, count):
        """So many of two members, all different."""
        result = {}
        while len(result) < count:
            result[self.next(2)] = None
        return list(result)


class Mix:
    """What people ask: nine times of ten one of the 30 questions, the first ones of a shuffled list most;
    else something new."""

    def __init__(self, members, seed):
        self.choice = random.Random(seed)
        self.usual = analysts_questions()
        random.Random(20260101).shuffle(self.usual)
        self.weights = list(itertools.accumulate(1 / rank for rank in range(1, len(self.usual) + 1)))
        self.new = NewQuestions(members, f"{seed} new")

    def next(self):
        if self.choice.random() < 0.1:
            return self.new.next(1)
        return self.choice.choices(self.usual, cum_weights=self.weights)[0]
