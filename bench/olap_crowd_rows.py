"""The rows of bench-olap about many: people who ask at once, an import meanwhile, thousands of questions."""

import random
import statistics
import time
from concurrent.futures import ThreadPoolExecutor

from olap_data import ROOT
from olap_engine import Engine, Person, asking
from olap_questions import Mix, NewQuestions, members_of

PEOPLE = 50
PEOPLE_DURING_IMPORT = 20
THINK = 1.0
CUBES = 300
IMPORT_ROUNDS = 3
ASKERS = 4


def percentile(values, share):
    return sorted(values)[min(len(values) - 1, int(len(values) * share))]


def at_once(world, table, engine, seconds):
    """People who ask the next question as soon as they have an answer; one of them alone, then 50."""
    members = members_of(world.warehouse)

    def measure(people, duration, seed):
        mixes = [Mix(members, f"{seed} {number}") for number in range(people)]
        start = time.monotonic()
        with asking(engine.port, [Person(world.database, mix) for mix in mixes], duration) as result:
            times = result()
        per_second = len(times) / (time.monotonic() - start)
        table.note(f"{people} at once: {len(times)} questions, {per_second:.1f} per second, "
                   f"median {statistics.median(times) * 1000:.1f} ms, "
                   f"99 % within {percentile(times, 0.99) * 1000:.1f} ms")
        return per_second, times

    alone, _ = measure(1, max(5, seconds / 5), "one")
    together, times = measure(PEOPLE, seconds, "many")
    table.row(5, f"{PEOPLE} people at once, {seconds} s", "one person", together / alone, 1.5, "throughput",
              at_least=True)
    table.row(5, "", "their median", percentile(times, 0.99) / statistics.median(times), 10, "99th percentile")


def document_of_cubes(folder):
    """The sales example with its first cube 300 times, each under a name of its own."""
    text = (ROOT / "examples/sales.kcd").read_text(encoding="utf-8")
    start = text.index('<cube name="Sales"')
    end = text.index("</cube>", start) + len("</cube>")
    cube = text[start:end]
    def numbered(number):
        """A dimension of a cube's own has a name that no other has; those who ask know that of the first."""
        own = "Payment Method" + (f" {number}" if number > 1 else "")
        return cube.replace('cube name="Sales"', f'cube name="Sales {number}"').replace(
            'cube_partition name="Sales"', f'cube_partition name="Sales {number}"').replace(
                'name="Payment Method"', f'name="{own}"')

    cubes = "\n".join(numbered(number) for number in range(1, CUBES + 1))
    document = folder / "cubes.kcd"
    document.write_text(text[:start] + cubes + text[text.index("</cubes>"):text.index("</database>")]
                        + "</database>\n", encoding="utf-8")
    return document


def import_meanwhile(world, table):
    """Imports with and without people take turns: with people who ask other databases than the one that is
    replaced, and with some who ask that one, so that the engine has to read it anew meanwhile."""
    document = document_of_cubes(world.folder)
    database = "Harbour Branches"
    world.import_document(document, database, world.small_warehouse)
    members = members_of(world.small_warehouse)
    alone, asked = [], 0
    meanwhile = {0: [], PEOPLE_DURING_IMPORT // 10: []}

    def again():
        return world.import_document(document, database, world.small_warehouse, "--mode", "replace")

    def person(number, its_round, asks_the_replaced):
        return Person(database if asks_the_replaced else world.small_database,
                      Mix(members, f"import {its_round} {number}"), "Sales 1" if asks_the_replaced else "Sales",
                      THINK, random.Random(f"think {its_round} {number}"))

    with world.engine(world.small_database, rounds=1) as engine:
        for its_round in range(IMPORT_ROUNDS):
            for of_it, seconds in meanwhile.items():
                alone.append(again())
                people = [person(number, its_round, number < of_it) for number in range(PEOPLE_DURING_IMPORT)]
                with asking(engine.port, people, 600) as result:
                    time.sleep(1)
                    seconds.append(again())
                    asked += len(result(at_once=True))
    table.note(f"import of {CUBES} cubes: {statistics.median(alone):.2f} s alone "
               f"({asked} questions meanwhile, none failed)")
    for of_it, seconds in meanwhile.items():
        table.row(7, f"import of {CUBES} cubes, {PEOPLE_DURING_IMPORT} people ask" if of_it == 0 else "",
                  "import alone" if of_it == 0 else "", statistics.median(seconds) / statistics.median(alone), 1.5,
                  f"{of_it or 'none'} of them that database")


def megabytes(size):
    """Of a size such as 256m or 2g."""
    return int(size[:-1]) * {"m": 1, "g": 1024}[size[-1]]


def memory(world, table, count, heap):
    """What the engine takes after a tenth of the questions, and after all of them. The heap holds what is
    remembered of them, up to a bound."""
    questions = NewQuestions(members_of(world.small_warehouse), "memory").different(count)
    resident, used = [], []
    with Engine(world.kcd, world.directory, "--heap", heap) as engine:
        askers = ThreadPoolExecutor(ASKERS)
        try:
            for part in (questions[:count // 10], questions[count // 10:]):
                list(askers.map(lambda question: engine.ask(question.mdx(), world.small_database), part))
                used.append(engine.heap_bytes())
                resident.append(engine.resident_bytes())
                table.note(f"memory: {resident[-1] >> 20} MB resident, {used[-1] >> 20} MB of the heap "
                           f"({heap}) in use")
        finally:
            askers.shutdown(cancel_futures=True)
    work, reference = f"memory after {count} questions", f"after {count // 10}"
    table.row(8, work, reference, resident[1] / resident[0], 1.2, "resident")
    table.row(8, "", f"--heap {heap}", used[1] / megabytes(heap) / 2**20, 0.5, "heap in use")
