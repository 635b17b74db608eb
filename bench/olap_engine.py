"""Engines that bench-olap starts, and the people who ask them."""

import contextlib
import multiprocessing
import random
import re
import signal
import socket
import subprocess
import sys
import threading
import time
import traceback
from dataclasses import dataclass
from pathlib import Path
from xml.sax.saxutils import escape

from olap_data import PATIENCE
from olap_questions import Mix

ANSWER_SECONDS = 900
PROCESSES = 2

ENVELOPE = """<SOAP-ENV:Envelope xmlns:SOAP-ENV="http://schemas.xmlsoap.org/soap/envelope/"><SOAP-ENV:Body>
<Execute xmlns="urn:schemas-microsoft-com:xml-analysis"><Command><Statement>{mdx}</Statement></Command>
<Properties><PropertyList><Catalog>{database}</Catalog>
<Format>Multidimensional</Format><Content>Data</Content></PropertyList></Properties></Execute>
</SOAP-ENV:Body></SOAP-ENV:Envelope>"""


class Refused(Exception):
    """The engine has not answered a question."""


def exchange(port, mdx, database):
    """The engine takes one request for each connection and closes it behind the answer. So much is done
    here and no more: people who ask share the processors with the engine."""
    body = ENVELOPE.format(mdx=escape(mdx), database=escape(database)).encode()
    head = (f"POST /xmla HTTP/1.0\r\nHost: 127.0.0.1:{port}\r\nContent-Type: text/xml\r\n"
            'SOAPAction: "urn:schemas-microsoft-com:xml-analysis:Execute"\r\n'
            f"Content-Length: {len(body)}\r\n\r\n").encode()
    parts = []
    with socket.create_connection(("127.0.0.1", port), ANSWER_SECONDS) as connection:
        connection.sendall(head + body)
        while part := connection.recv(1 << 18):
            parts.append(part)
    return b"".join(parts)


def ask(port, mdx, database):
    """How long it took, and the answer."""
    start = time.perf_counter()
    answer = exchange(port, mdx, database)
    seconds = time.perf_counter() - start
    head, _, body = answer.partition(b"\r\n\r\n")
    if not re.match(rb"HTTP/1\.[01] 200 ", head) or b":Fault>" in body or b"</SOAP-ENV:Envelope>" not in body:
        raise Refused(f"no answer: {mdx}\n{answer[-2000:].decode(errors='replace')}")
    return seconds, body


class Engine:
    """`kcd serve` over a directory; its process is the engine's own."""

    def __init__(self, kcd, directory, *options):
        self.kcd = kcd
        self.process = subprocess.Popen([kcd, "serve", directory, "--port", "0", *options],
                                        stdout=subprocess.PIPE, text=True)
        try:
            line = self.process.stdout.readline()
            address = re.search(r" at (http://[^ ]*:(\d+)/\S*)", line)
            if not address:
                raise RuntimeError(f"the engine does not start: {line}")
        except BaseException:
            self.stop()
            raise
        self.address = address[1]
        self.port = int(address[2])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        self.process.terminate()
        try:
            self.process.wait(30)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()

    def ask(self, mdx, database):
        return ask(self.port, mdx, database)

    def forget(self):
        subprocess.run([self.kcd, "refresh", self.address], check=True, stdout=subprocess.DEVNULL,
                       timeout=PATIENCE)

    def warm_up(self, questions, database, rounds):
        """Java compiles what it runs often: lets it do so with a small database, and forget the figures."""
        for _ in range(rounds):
            for question in questions:
                self.ask(question.mdx(), database)
            self.forget()

    def resident_bytes(self):
        status = Path(f"/proc/{self.process.pid}/status").read_text(encoding="ascii")
        return int(re.search(r"VmRSS:\s+(\d+) kB", status)[1]) * 1024

    def heap_bytes(self):
        """Of the heap what is in use after everything unused was thrown away."""
        def command(words):
            return subprocess.run(["jcmd", str(self.process.pid), *words.split()], check=True, text=True,
                                  stdout=subprocess.PIPE, timeout=PATIENCE).stdout
        command("GC.run")
        generations = [line for line in command("GC.heap_info").splitlines() if "generation" in line]
        return sum(int(re.search(r"used (\d+)K", line)[1]) for line in generations) * 1024


@dataclass
class Person:
    """Somebody who asks one question after another."""

    database: str
    mix: Mix
    cube: str = "Sales"
    think: float = 0.0  # seconds between questions, on average
    choice: random.Random = None

    def ask_until(self, is_over, port, times, failures):
        while not is_over():
            try:
                times.append(ask(port, self.mix.next().mdx(self.cube), self.database)[0])
            except (Refused, OSError) as error:
                failures.append(str(error))
            if self.think:
                time.sleep(self.choice.expovariate(1 / self.think))


def be_people(port, people, seconds, end, pipe):
    """In a process of its own."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    times, failures = [], []
    deadline = time.monotonic() + seconds

    def is_over():
        return time.monotonic() > deadline or end.is_set()

    def live(person):
        try:
            person.ask_until(is_over, port, times, failures)
        except Exception:  # pylint: disable=broad-except  # told by the process that has started this one
            failures.append(traceback.format_exc())

    threads = [threading.Thread(target=live, args=(person,), daemon=True) for person in people]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    pipe.send((times, failures))


@contextlib.contextmanager
def asking(port, people, seconds):
    """People who ask meanwhile. Gives a function that lets them end and gives their times; a question
    that failed ends the measurement."""
    context = multiprocessing.get_context("fork")
    end = context.Event()
    started = []
    for number in range(min(PROCESSES, len(people))):
        reading, writing = context.Pipe(duplex=False)
        process = context.Process(target=be_people, daemon=True,
                                  args=(port, people[number::PROCESSES], seconds, end, writing))
        process.start()
        writing.close()
        started.append((process, reading))

    def result(at_once=False):
        if at_once:
            end.set()
        times, failures = [], []
        for process, reading in started:
            its_times, its_failures = reading.recv()
            times += its_times
            failures += its_failures
            process.join()
        if failures:
            raise Refused(f"{len(failures)} of {len(failures) + len(times)} questions failed: {failures[0]}")
        return times

    try:
        yield result
    finally:
        end.set()
        for process, _ in started:
            process.join(5)
            process.kill()
            process.join()


def fail(text):
    sys.exit(f"bench-olap: {text}")
