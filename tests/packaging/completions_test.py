#!/usr/bin/env python3
"""Types command lines into bash, zsh and fish, presses Tab, and reads what became of them.

Usage: completions_test.py KCD FOLDER DOCUMENT
KCD is the program, FOLDER holds the completions, DOCUMENT is one to import. Shells that are not there
are passed over, but for bash.
"""

import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

KCD, COMPLETIONS, DOCUMENT = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
BASH_COMPLETION = pathlib.Path("/usr/share/bash-completion/bash_completion")

# What is typed, and what stands in the line after Tab.
CASES = {
    "a command": ("kcd imp", "kcd import "),
    "an option of the program": ("kcd --vers", "kcd --version "),
    "an option": ("kcd import --mo", "kcd import --mode "),
    "a word of an option": ("kcd import --mode sy", "kcd import --mode sync "),
    "a mode of a plan": ("kcd plan sales.kcd --mode upd", "kcd plan sales.kcd --mode update "),
    "a whole server": ("kcd import --server loc", "kcd import --server localhost "),
    "the beginning of a server": ("kcd import --server cata", "kcd import --server catalogue:"),
    "a server's file": ("kcd show catalogue:shop.ol", "kcd show catalogue:shop.olap "),
    "a server's directory": ("kcd import --server mondrian:cub", "kcd import --server mondrian:cubes/"),
    "a document": ("kcd import sal", "kcd import sales.kcd "),
    "a document behind options": ("kcd import --strict --mode sync sal",
                                  "kcd import --strict --mode sync sales.kcd "),
    "a label-reference file": ("kcd convert sal", "kcd convert sales.kci "),
    "a second document of a check": ("kcd check sales.kcd oth", "kcd check sales.kcd other.kcd "),
    "a file of settings": ("kcd import --config mi", "kcd import --config mine.toml "),
    "a directory to serve": ("kcd serve cub", "kcd serve cubes/"),
    "a database of a server": ("kcd show catalogue:shop.olap Har",
                               "kcd show catalogue:shop.olap Harbour\\ Retail "),
    "a database behind --server": (
        "kcd import sales.kcd --server catalogue:shop.olap --database Har",
        "kcd import sales.kcd --server catalogue:shop.olap --database Harbour\\ Retail "),
    "a labels server": ("kcd convert sales.kci --labels-server sq",
                        "kcd convert sales.kci --labels-server sqlite:"),
}

START = {
    "bash": f"""
        source {BASH_COMPLETION}
        source {COMPLETIONS}/kcd.bash
        bind 'set bell-style none'; bind 'set enable-bracketed-paste off'
        bind -x '"\\C-g": echo "<<$READLINE_LINE>>"'
        PS1='ready> '
        """,
    "zsh": f"""
        unset zle_bracketed_paste; bindkey -e; setopt no_beep
        fpath=({COMPLETIONS} $fpath); autoload -Uz compinit; compinit -u -D
        show-line() {{ print -r -- "<<$BUFFER>>" }}; zle -N show-line; bindkey '^G' show-line
        PS1='ready> '
        """,
}
COMMAND = {"bash": ["bash", "--norc", "--noprofile", "-i"], "zsh": ["zsh", "-f", "-i"]}


class Shell:
    """An interactive shell on a terminal of its own."""

    def __init__(self, name, folder, environment):
        self.child, self.terminal = pty.fork()
        if self.child == 0:
            os.chdir(folder)
            os.execvpe(COMMAND[name][0], COMMAND[name], environment)
        self.text = ""
        start = folder / f"start.{name}"
        start.write_text(START[name])
        self.type(f"source ./{start.name}\n")
        self.until(r"ready> (?!')")

    def type(self, text):
        os.write(self.terminal, text.encode())

    def until(self, pattern):
        """What came up to a match of the pattern, which is taken away."""
        end = time.monotonic() + 60
        while not (found := re.search(pattern, self.text)):
            left = end - time.monotonic()
            if left <= 0 or not select.select([self.terminal], [], [], left)[0]:
                raise AssertionError(f"no {pattern!r} in {self.text!r}")
            self.text += os.read(self.terminal, 65536).decode(errors="replace")
            self.text = re.sub(r"\x1b\[[?0-9;]*[A-Za-z]|\r", "", self.text)
        self.text = self.text[found.end():]
        return found

    def line_after_tab(self, typed):
        self.type(typed + "\t\x07")
        line = self.until(r"<<(kcd.*?)>>")[1]
        self.type("\x15\x07")  # forget the line
        self.until(r"<<>>")
        return line

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.child, 0)


class Completions(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        folder = cls.folder = pathlib.Path(cls.temporary.name)
        for name in ("sales.kcd", "sales.kci", "sales.txt", "other.kcd", "mine.toml", "mine.txt"):
            (folder / name).touch()
        (folder / "cubes").mkdir()
        cls.environment = os.environ | {
            "PATH": f"{KCD.resolve().parent}:{os.environ['PATH']}", "HOME": str(folder), "TERM": "dumb",
            "LC_ALL": "C.UTF-8", "XDG_DATA_HOME": str(folder / "data"), "IMPORTKCD_SYSTEM_CONFIG": "",
            "XDG_CONFIG_HOME": str(folder / "config"), "HISTFILE": ""}
        cls.environment.pop("KCD_SERVER", None)
        subprocess.run([KCD, "import", DOCUMENT, "--quiet", "--server",
                        f"catalogue:{folder}/shop.olap"], check=True, stdout=subprocess.DEVNULL)

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def check_by_typing(self, name):
        shell = Shell(name, self.folder, self.environment)
        try:
            for what, (typed, expected) in CASES.items():
                with self.subTest(what):
                    self.assertEqual(shell.line_after_tab(typed), expected)
        finally:
            shell.close()

    @unittest.skipUnless(BASH_COMPLETION.exists(), "the package bash-completion is missing")
    def test_bash(self):
        self.check_by_typing("bash")

    @unittest.skipUnless(shutil.which("zsh"), "zsh is missing")
    def test_zsh(self):
        self.check_by_typing("zsh")

    @unittest.skipUnless(shutil.which("fish"), "fish is missing")
    def test_fish(self):
        for what, (typed, expected) in CASES.items():
            with self.subTest(what):
                found = subprocess.run(
                    ["fish", "--no-config", "-c", f"source {COMPLETIONS}/kcd.fish; complete -C $argv[1]",
                     typed], cwd=self.folder, env=self.environment, check=True,
                    stdout=subprocess.PIPE, encoding="utf-8").stdout
                # It shows words as they are, and adds blank and quotes itself.
                word = re.sub(r"\\(.)", r"\1", re.split(r"(?<!\\) ", expected.rstrip(" "))[-1])
                self.assertEqual([line.split("\t")[0] for line in found.splitlines()], [word])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
