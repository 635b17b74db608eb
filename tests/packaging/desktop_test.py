#!/usr/bin/env python3
"""That the desktop understands what is installed for it, and knows documents by name and by content.

Usage: desktop_test.py BUILD SOURCES
What a check needs and is not there is passed over; `make checks` installs it.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD, SOURCES = map(pathlib.Path, sys.argv[1:3])
DESKTOP = SOURCES / "packaging/desktop"
APPLICATION = "org.importkcd.importkcd"


def needs(program):
    return unittest.skipUnless(shutil.which(program), f"{program} is missing")


def run(*command, **settings):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                            encoding="utf-8", **settings)
    return result.returncode, result.stdout


class Desktop(unittest.TestCase):
    @needs("desktop-file-validate")
    def test_desktop_entry(self):
        self.assertEqual(run("desktop-file-validate", DESKTOP / f"{APPLICATION}.desktop"), (0, ""))

    @needs("appstreamcli")
    def test_metadata_for_software_centres(self):
        status, text = run("appstreamcli", "validate", "--pedantic", "--no-net", "--no-color",
                           BUILD / f"packaging/{APPLICATION}.metainfo.xml")
        self.assertEqual(status, 0, text)
        self.assertNotRegex(text, r"(?m)^[EWIP]: ")

    def test_screenshots_are_in_the_documentation(self):
        text = (DESKTOP / f"{APPLICATION}.metainfo.xml.in").read_text(encoding="utf-8")
        pictures = [line.split("@IMPORTKCD_HOMEPAGE@/")[1].split("<")[0] for line in text.splitlines()
                    if 'type="source"' in line]
        self.assertTrue(pictures)
        for picture in pictures:
            self.assertTrue((SOURCES / picture).is_file(), picture)


@needs("update-mime-database")
@needs("gio")
class FileTypes(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.temporary.name)
        packages = cls.folder / "mime/packages"
        packages.mkdir(parents=True)
        shutil.copy(DESKTOP / "importkcd-mime.xml", packages / "importkcd.xml")
        shutil.copy("/usr/share/mime/packages/freedesktop.org.xml", packages)
        made = run("update-mime-database", cls.folder / "mime",
                   env=os.environ | {"XDG_DATA_DIRS": str(cls.folder)})
        assert made == (0, ""), made

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def type_of(self, name, content):
        file = self.folder / name
        file.write_bytes(content)
        _, text = run("gio", "info", "--attributes=standard::content-type", file,
                      env={"XDG_DATA_DIRS": str(self.folder), "XDG_DATA_HOME": str(self.folder / "none"),
                           "PATH": "/usr/bin:/bin", "HOME": str(self.folder)})
        return text.split("standard::content-type:")[1].strip()

    def test_documents_are_known_by_their_names(self):
        for name, kind in (("a.kcd", "kcd"), ("A.KCD", "kcd"), ("a.kci", "kci")):
            self.assertEqual(self.type_of(name, b"<x/>"), f"application/x-{kind}+xml")

    def test_every_example_is_known_by_its_content(self):
        for example in sorted((SOURCES / "examples").glob("*.kc?")):
            if example.stem != "broken-version":  # which is no document
                self.assertEqual(self.type_of("unnamed", example.read_bytes()),
                                 f"application/x-{example.suffix[1:]}+xml", example.name)

    def test_other_xml_is_not_taken_for_a_document(self):
        self.assertEqual(self.type_of("unnamed", b'<?xml version="1.0"?><a version="2"/>'),
                         "application/xml")
        self.assertEqual(self.type_of("unnamed", b"plain text"), "text/plain")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
