#!/usr/bin/env python3
"""That everything which names the version names the one of CMakeLists.txt.

Usage: versions_test.py SOURCES VERSION KCD IMPORTKCD
"""

import pathlib
import re
import subprocess
import sys
import unittest

SOURCES = pathlib.Path(sys.argv[1])
VERSION = sys.argv[2]
PROGRAMS = {"kcd": sys.argv[3], "ImportKCD": sys.argv[4]}


class Versions(unittest.TestCase):
    def test_is_one_of_semantic_versioning(self):
        self.assertRegex(VERSION, r"^(0|[1-9]\d*)\.(0|[1-9]\d*)\.(0|[1-9]\d*)$")

    def test_programs_say_it(self):
        for name, program in PROGRAMS.items():
            said = subprocess.run([program, "--version"], check=True, stdout=subprocess.PIPE, text=True)
            self.assertEqual(said.stdout, f"{name} {VERSION}\n")

    def test_is_the_latest_of_the_changes(self):
        text = (SOURCES / "CHANGELOG.md").read_text(encoding="utf-8")
        releases = re.findall(r"^## \[(\d[^]]*)\] - (\d{4}-\d\d-\d\d)$", text, re.MULTILINE)
        self.assertEqual(releases[0][0], VERSION)
        self.assertEqual(releases, sorted(releases, key=lambda release: release[1], reverse=True))

    def test_is_that_of_the_debian_package(self):
        first = (SOURCES / "debian/changelog").read_text(encoding="utf-8").splitlines()[0]
        self.assertEqual(re.fullmatch(r"importkcd \(([^)]*)\) \w+; urgency=\w+", first)[1], VERSION)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
