#!/usr/bin/env python3
"""Installs the build under a prefix, moves it elsewhere, and works with it from there.

Usage: installation_test.py BUILD SOURCES CMAKE
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

BUILD, SOURCES = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
CMAKE = sys.argv[3]
EXPECTED = """
bin/ImportKCD
bin/kcd
lib/systemd/system/kcd-serve@.service
share/applications/org.importkcd.importkcd.desktop
share/bash-completion/completions/kcd
share/fish/vendor_completions.d/kcd.fish
share/icons/hicolor/scalable/apps/importkcd.svg
share/man/man1/ImportKCD.1
share/man/man1/kcd.1
share/man/man1/kcd-import.1
share/man/man1/kcd-query.1
share/man/man5/kcd.5
share/man/man5/kcd-format.5
share/metainfo/org.importkcd.importkcd.metainfo.xml
share/mime/packages/importkcd.xml
share/zsh/site-functions/_kcd
""".split()
HOST = "share/importkcd/olap-server/importkcd-olap-server.jar"


class Installation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        folder = pathlib.Path(cls.temporary.name)
        cls.prefix = folder / "first"
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", cls.prefix], check=True,
                       stdout=subprocess.DEVNULL)
        cls.unit = (cls.prefix / "lib/systemd/system/kcd-serve@.service").read_text(encoding="utf-8")
        cls.moved = folder / "somewhere else"
        cls.prefix.rename(cls.moved)
        cls.environment = {name: value for name, value in os.environ.items()
                           if not name.startswith(("KCD_", "IMPORTKCD_"))} | {
            "XDG_DATA_HOME": str(folder / "data"), "XDG_CONFIG_HOME": str(folder / "config"),
            "XDG_CACHE_HOME": str(folder / "cache"), "IMPORTKCD_SYSTEM_CONFIG": ""}

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def run_kcd(self, *arguments):
        return subprocess.run([self.moved / "bin/kcd", *arguments], env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8")

    def test_everything_is_there(self):
        for name in EXPECTED:
            self.assertTrue((self.moved / name).is_file(), name)
        if (BUILD / "olap-server/importkcd-olap-server.jar").exists():
            self.assertTrue((self.moved / HOST).is_file())

    def test_works_from_where_it_was_moved_to(self):
        done = self.run_kcd("import", SOURCES / "examples/sales.kcd", "--quiet")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertIn("Harbour Retail", self.run_kcd("show").stdout)

    def test_the_engine_is_found_beside_it(self):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "datasources.xml").write_text("<DataSources/>", encoding="utf-8")
            (self.moved / HOST).parent.mkdir(parents=True, exist_ok=True)
            host = self.moved / HOST
            away = host.with_suffix(".away")
            if host.exists():
                host.rename(away)
            try:
                # Where it is looked for is what the message names.
                errors = self.run_kcd("query", folder, "select").stderr
            finally:
                if away.exists():
                    away.rename(host)
        if "needs Java" not in errors:
            self.assertIn(str(self.moved / HOST), errors)

    def test_the_unit_names_the_program_under_the_prefix(self):
        self.assertIn(f"ExecStart={self.prefix}/bin/kcd serve /var/lib/importkcd/%i\n", self.unit)
        self.assertNotIn("@programs@", self.unit)

    def test_no_file_names_the_build_the_sources_or_the_prefix(self):
        files = [file for file in self.moved.rglob("*") if file.is_file()]
        self.assertGreater(len(files), 30)
        for file in files:
            content = file.read_bytes()
            for folder in (BUILD, SOURCES, self.prefix):
                if file.name != "kcd-serve@.service" or folder != self.prefix:
                    self.assertNotIn(str(folder).encode(), content, file.name)

    def test_programs_search_no_folder_of_their_own_for_libraries(self):
        for name in ("kcd", "ImportKCD"):
            text = subprocess.run(["readelf", "--dynamic", self.moved / "bin" / name], check=True,
                                  stdout=subprocess.PIPE, encoding="utf-8").stdout
            self.assertNotRegex(text, r"R(UN)?PATH")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
