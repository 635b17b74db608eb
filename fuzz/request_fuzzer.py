#!/usr/bin/env python3
"""Sends damaged and hostile requests to a `kcd serve` of its own and looks at what comes back.

Whatever is sent: no answer is an internal error, no request with a document type, for a foreign host
or from a foreign page is carried out, nothing shows the file that document types point to, the
memory of the host stays bounded, and at the end it answers a good question as it did at the start.

Usage: request_fuzzer.py KCD [--seconds N] [--seed N]
"""

import argparse
import pathlib
import random
import re
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

DOCUMENT = pathlib.Path(__file__).resolve().parent.parent / "examples" / "sales.kcd"
SECRET = "the-contents-of-a-file-of-the-owner"
MOST_RESIDENT_KIB = 600 * 1024
THREADS = 3
PATIENCE = 20
QUIET = 1

WORDS = ["<!DOCTYPE a>", "<![CDATA[", "]]>", "&#0;", "&amp;", "&x;", "\0", "\r\n\r\n", "CELL_FORMATTER",
         "[Measures]", "SELECT", "<?xml?>", "\ufeff", "\U0001f600", "xmlns:x=''", "Roles", "%s", "../"]
NUMBERS = [-1, 0, 1, 7, 2**31, 2**63, 9_000_000]
FOREIGN = ["evil.example", "evil.example:80", "127.0.0.1.evil.example", "localhost.evil.example", "[::ffff:6]"]
TYPES = ["text/xml", "application/xml", "text/xml; charset=utf-8", "text/xml; charset=utf-16"]


def envelope(content):
    return ('<?xml version="1.0"?><E:Envelope xmlns:E="http://schemas.xmlsoap.org/soap/envelope/">'
            f"<E:Body>{content}</E:Body></E:Envelope>")


def discover(kind):
    return envelope('<Discover xmlns="urn:schemas-microsoft-com:xml-analysis"><RequestType>'
                    f"{kind}</RequestType><Restrictions><RestrictionList/></Restrictions>"
                    "<Properties><PropertyList><Format>Tabular</Format><Content>Data</Content></PropertyList>"
                    "</Properties></Discover>")


def execute(statement):
    return envelope('<Execute xmlns="urn:schemas-microsoft-com:xml-analysis"><Command><Statement>'
                    f"{statement}</Statement></Command><Properties><PropertyList><Format>"
                    "Multidimensional</Format></PropertyList></Properties></Execute>")


GOOD = discover("DBSCHEMA_CATALOGS")
BODIES = [GOOD, discover("MDSCHEMA_CUBES"), discover("DISCOVER_PROPERTIES"), discover("NOTHING"),
          execute("SELECT FROM [Nowhere]"), execute("SELECT {[Measures].Members} ON COLUMNS FROM")]


class Generator:
    """Requests from a seed, each with what may not happen to it."""

    def __init__(self, seed, port, secret_file):
        self.random = random.Random(seed)
        self.host = f"127.0.0.1:{port}"
        self.secret_file = secret_file

    def with_document_type(self):
        entity = self.random.choice([f'<!ENTITY file SYSTEM "file://{self.secret_file}">',
                                     f'<!ENTITY % file SYSTEM "file://{self.secret_file}"> %file;', ""])
        before = self.random.choice(["", "<!-- -->", "<?a b?>", "\n\n"])
        body = self.random.choice([execute("SELECT FROM [&file;]"), discover("&file;"), GOOD])
        text = before + f"<!DOCTYPE a [{entity}]>" + body.partition("?>")[2]
        return text.encode(self.random.choice(["utf-8", "utf-16", "utf-16"]))

    def damaged(self, body):
        body = bytearray(body)
        for _ in range(self.random.randint(1, 6)):
            at = self.random.randrange(len(body) + 1)
            what = self.random.randrange(4)
            if what == 0 and at < len(body):
                body[at] = self.random.randrange(256)
            elif what == 1:
                del body[at:at + self.random.randint(1, 40)]
            elif what == 2:
                body[at:at] = self.random.choice(WORDS).encode() * self.random.choice([1, 1, 1, 300])
            else:
                end = at + self.random.randint(1, 60)
                body[at:at] = bytes(body[at:end]) * self.random.choice([1, 2, 400])
        return bytes(body)

    def request(self):
        """The bytes to send, and whether they may be carried out."""
        method, path, host, length = "POST", "/xmla", self.host, None
        headers = {"Content-Type": self.random.choice(TYPES)}
        body = self.random.choice(BODIES).encode()
        refused = False
        for kind in self.random.sample(range(9), self.random.choice([1, 1, 2, 3])):
            if kind == 0:
                host, refused = self.random.choice(FOREIGN), True
            elif kind == 1:
                headers["Origin"] = self.random.choice(["http://evil.example", "null", "https://" + self.host + ".evil"])
                refused = True
            elif kind == 2:
                body, refused = self.with_document_type(), True
            elif kind == 3:
                body = self.damaged(body)
                # What was a document type may stand in a comment now, or be none.
                refused = refused and (host != self.host or "Origin" in headers)
            elif kind == 4:
                headers["Content-Type"] = self.random.choice(["text/plain", "multipart/form-data; boundary=text/xml", ""])
                refused = True
            elif kind == 5:
                method = self.random.choice(["TRACE", "PUT", "DELETE", "OPTIONS", "BREW", ""])
                refused = True
            elif kind == 6:
                length = self.random.choice(NUMBERS)
                refused = refused or length != len(body)
            elif kind == 7:
                path = self.random.choice(["/", "/../xmla", "//xmla", "/xmla?a=" + "b" * 9000, "/%2e%2e/", "xmla"])
                # The page is there for everybody of this host.
                refused = refused and host != self.host
            else:
                headers[self.random.choice(["X-Role", "Expect", "Transfer-Encoding", "SOAPAction", "Cookie"])] = \
                    self.random.choice(["", "chunked", "100-continue", "x" * 9000, "\0", "é"])
                refused = False if host == self.host and "Origin" not in headers else refused
        headers["Content-Length"] = str(len(body) if length is None else length)
        lines = [f"{method} {path} HTTP/1.1", f"Host: {host}"] + [f"{k}: {v}" for k, v in headers.items()]
        request = "\r\n".join(lines).encode("latin-1", "replace") + b"\r\nConnection: close\r\n\r\n" + body
        if self.random.randrange(10) == 0:
            request = request[:self.random.randrange(1, len(request))]
        return request, refused


def sent(port, request, quiet=QUIET):
    """What comes back; all there was when the host ends the connection."""
    answer = b""
    with socket.create_connection(("127.0.0.1", port), PATIENCE) as connection:
        try:
            connection.sendall(request)
            # A host that waits for more than there is must not keep the rest waiting; but who closes
            # before the answer comes has left, and gets none.
            connection.settimeout(quiet)
            while piece := connection.recv(65536):
                answer += piece
        except (ConnectionError, socket.timeout):
            pass
    return answer


def good_answer(port):
    body = GOOD.encode()
    return sent(port, (f"POST /xmla HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\nContent-Type: text/xml\r\n"
                       f"Connection: close\r\nContent-Length: {len(body)}\r\n\r\n").encode() + body, PATIENCE)


def status_of(answer):
    found = re.match(rb"HTTP/1\.[01] (\d{3})", answer)
    return int(found[1]) if found else 0


class Run:
    def __init__(self, port, seed, ends):
        self.port, self.seed, self.ends = port, seed, ends
        self.faults, self.statuses, self.lock = [], {}, threading.Lock()

    def look(self, request, refused, answer):
        status = status_of(answer)
        with self.lock:
            self.statuses[status] = self.statuses.get(status, 0) + 1
            reason = None
            if status >= 500 and status != 503:
                reason = "an internal error"
            elif SECRET.encode() in answer:
                reason = "a file is shown"
            elif refused and status == 200:
                reason = "a request that has to be refused was carried out"
            if reason:
                self.faults.append(f"{reason}: {request[:2000]!r}\n  answered by {answer[:1000]!r}")

    def send(self, number, secret_file):
        generator = Generator(f"{self.seed}/{number}", self.port, secret_file)
        while time.monotonic() < self.ends and not self.faults:
            request, refused = generator.request()
            self.look(request, refused, sent(self.port, request))


def resident_kib(pid):
    """Of the process and its children: the command starts the host."""
    table = subprocess.run(["ps", "-o", "pid=,ppid=,rss=", "-A"], capture_output=True, text=True, check=True).stdout
    return sum(int(rss) for own, parent, rss in map(str.split, table.splitlines()) if str(pid) in (own, parent))


def fuzz(kcd, folder, seconds, seed):
    secret_file = folder / "secret"
    secret_file.write_text(SECRET)
    server = f"mondrian:{folder / 'olap'}"
    subprocess.run([kcd, "import", str(DOCUMENT), "--server", server, "--quiet"], check=True, stdout=subprocess.DEVNULL)
    host = subprocess.Popen([kcd, "serve", server, "--port", "0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                            text=True, env={"PATH": "/usr/bin:/bin", "JDK_JAVA_OPTIONS": "-Xmx128m",
                                            "HOME": str(folder), "TMPDIR": str(folder)})
    try:
        port = int(re.search(r":(\d+)/", host.stdout.readline())[1])
        threading.Thread(target=host.stdout.read, daemon=True).start()
        before = good_answer(port)
        if status_of(before) != 200 or b"CATALOG_NAME" not in before:
            return [f"the good question is not answered: {before[:3000]!r}"]
        run = Run(port, seed, time.monotonic() + seconds)
        threads = [threading.Thread(target=run.send, args=(number, secret_file)) for number in range(THREADS)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        print(f"{sum(run.statuses.values())} requests, seed {seed}; answers by status:",
              dict(sorted(run.statuses.items())), f"resident: {resident_kib(host.pid) // 1024} MiB")
        faults = run.faults
        if host.poll() is not None:
            return faults + ["the host has ended"]
        after = good_answer(port)
        if after.partition(b"\r\n\r\n")[2] != before.partition(b"\r\n\r\n")[2]:
            faults.append(f"the good question has another answer: {after[:500]!r}")
        if resident_kib(host.pid) > MOST_RESIDENT_KIB:
            faults.append(f"{resident_kib(host.pid)} KiB are resident")
        if run.statuses.get(200, 0) == 0 or run.statuses.get(400, 0) == 0 or run.statuses.get(403, 0) == 0:
            faults.append("not every kind of answer came, so the generator proves nothing")
        return faults
    finally:
        host.send_signal(signal.SIGTERM)
        host.wait()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("kcd")
    parser.add_argument("--seconds", type=int, default=12)
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        faults = fuzz(arguments.kcd, pathlib.Path(folder), arguments.seconds, arguments.seed)
    for fault in faults:
        print(f"request_fuzzer: {fault}", file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
