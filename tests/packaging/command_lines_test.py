#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Manual pages and completions say what the programs themselves say in their help, and real shells complete by them."""

import json
import os
import pty
import re
import select
import shutil
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from place import BUILD, SOURCES, clean_environment, main, require

COMPLETIONS = BUILD / "share/completions"
PAGES = BUILD / "share/man"
DESCRIPTIONS = sorted((BUILD / "share/command-lines").glob("*.json"))
LONG_OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]+")


def help_of(program, words):
    return subprocess.run([BUILD / "bin" / program, *words, "--help"], check=True, capture_output=True, text=True,
                          env=clean_environment()).stdout


def commands_of(described, words=()):
    """Every command that the program describes, as its words on the line."""
    yield words, described
    for command in described["commands"]:
        yield from commands_of(command, (*words, command["name"]))


def rows_of(text):
    """The options of a help: lines that begin with one."""
    for line in text.splitlines():
        if re.match(r"^  +-", line):
            yield from LONG_OPTION.findall(line[:34])


def page_text(path):
    raw = path.read_text(encoding="utf-8")
    return re.sub(r"\\f[BIRP]", "", raw).replace("\\-", "-").replace("\\&", "")


def bash(program, *words):
    script = (f'source "{COMPLETIONS}/bash/{program}"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
              f'_{program.replace("-", "_")}; printf "%s\\n" "${{COMPREPLY[@]}}"')
    done = subprocess.run(["bash", "--norc", "-c", script, "bash", program, *words], capture_output=True, text=True,
                          env=clean_environment())
    return set(done.stdout.split())


def fish(line):
    program = line.split()[0]
    with tempfile.TemporaryDirectory() as home:
        done = subprocess.run(["fish", "--no-config", "-c",
                               f'source "{COMPLETIONS}/fish/{program}.fish"; complete -C "{line}"'],
                              capture_output=True, text=True, env=clean_environment(HOME=home), check=True)
    return {row.split("\t")[0] for row in done.stdout.splitlines()}


def zsh(line, expected):
    """What stands on a real line after the tabulator key."""
    with tempfile.TemporaryDirectory() as home:
        prepare = (f"fpath=({COMPLETIONS}/zsh $fpath); autoload -Uz compinit; compinit -u -d {home}/dump; "
                   "setopt no_beep; PROMPT=; print -r -- 'REA''DY'\n")
        pid, terminal = pty.fork()
        if pid == 0:
            os.execvpe("zsh", ["zsh", "-f", "-i"], clean_environment(HOME=home, TERM="dumb", COLUMNS="300"))
        try:
            os.write(terminal, prepare.encode())
            seen = read_until(terminal, "READY")
            os.write(terminal, f"{line}\t".encode())
            return read_until(terminal, expected) if "READY" in seen else seen
        finally:
            os.kill(pid, 9)
            os.waitpid(pid, 0)
            os.close(terminal)


def read_until(terminal, expected):
    seen, end = "", time.monotonic() + 30
    while expected not in seen and time.monotonic() < end:
        if select.select([terminal], [], [], 0.2)[0]:
            seen += os.read(terminal, 65536).decode(errors="replace")
    return seen


class CommandLines(unittest.TestCase):
    def programs(self):
        for path in DESCRIPTIONS:
            yield path.stem, json.loads(path.read_text())

    def test_every_option_of_the_help_is_on_the_page_and_in_every_completion(self):
        checked = 0
        for program, described in self.programs():
            texts = {"page": page_text(PAGES / f"man1/{program}.1"),
                     "bash": (COMPLETIONS / "bash" / program).read_text(),
                     "zsh": (COMPLETIONS / "zsh" / f"_{program}").read_text(),
                     "fish": (COMPLETIONS / "fish" / f"{program}.fish").read_text()}
            for words, _ in commands_of(described):
                for option in rows_of(help_of(program, words)):
                    for kind, text in texts.items():
                        sought = f"-l {option[2:]}" if kind == "fish" else option
                        self.assertIn(sought, text, f"{kind} of {program} {' '.join(words)}")
                    checked += 1
        self.assertGreater(checked, 50)

    def test_every_command_of_the_help_is_described(self):
        for program, described in self.programs():
            for words, command in commands_of(described):
                listed = help_of(program, words).partition("Subcommands:\n")[2].partition("\n\n")[0]
                names = re.findall(r"^  (\S+)", listed, re.MULTILINE)
                self.assertEqual([each["name"] for each in command["commands"]], names, f"{program} {words}")

    def test_a_page_is_one_that_man_reads_without_complaint(self):
        pages = sorted(PAGES.glob("man?/*"))
        self.assertGreater(len(pages), 5)
        for page in pages:
            if not shutil.which("man"):
                self.skipTest("there is no man here")
            done = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", page], capture_output=True, text=True,
                                  env=clean_environment(MANWIDTH="100"))
            self.assertEqual((done.returncode, done.stderr), (0, ""), page)
            self.assertIn("SEE ALSO", done.stdout, page)

    def test_bash_completes_commands_options_and_values(self):
        self.assertIn("render", bash("vela-widget", ""))
        self.assertEqual(bash("vela-widget", "ren"), {"render"})
        self.assertIn("--family", bash("vela-widget", "render", "--"))
        self.assertNotIn("--follow", bash("vela-widget", "render", "--"))
        self.assertEqual(bash("vela-widget", "render", "--format", ""), {"png", "svg", "text", "tree"})
        self.assertEqual(bash("vela-widget", "render", "--format", "=", "s"), {"svg"})
        self.assertEqual(bash("vela-widget", "bar", "--format", "=", "way"), {"waybar"})
        self.assertIn("waybar", bash("vela-widget", "setup", ""))
        self.assertEqual(bash("vela-companion", "defaults", "re"), {"read"})
        self.assertIn("--integer", bash("vela-companion", "defaults", "write", "KEY", "--"))

    def test_bash_takes_no_value_for_a_command(self):
        self.assertIn("--delay", bash("vela-sandbox", "--scenario", "events", "--"))
        self.assertNotIn("--delay", bash("vela-sandbox", "events", "--"))

    def test_bash_completes_files_where_a_file_is_taken(self):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "entry file.json").touch()
            (Path(folder) / "pictures").mkdir()
            self.assertIn(f"{folder}/pictures", bash("vela-widget", "run", "--output", f"{folder}/"))
            self.assertNotIn("file.json", bash("vela-widget", "run", "--output", f"{folder}/"))
            self.assertIn("file.json", bash("vela-widget", "render", "--entry", f"{folder}/entry"))

    @unittest.skipUnless(shutil.which("fish"), "there is no fish here")
    def test_fish_completes_commands_options_and_values(self):
        self.assertIn("render", fish("vela-widget "))
        self.assertEqual(fish("vela-widget render --format "), {"png", "svg", "text", "tree"})
        self.assertIn("--family", fish("vela-widget render --f"))
        self.assertNotIn("render", fish("vela-widget show "))
        self.assertEqual(fish("vela-companion defaults re"), {"read"})
        self.assertIn("waybar", fish("vela-widget setup "))

    @unittest.skipUnless(shutil.which("zsh"), "there is no zsh here")
    def test_zsh_completes_commands_options_and_values(self):
        self.assertIn("vela-widget render", zsh("vela-widget rend", "render"))
        self.assertIn("--picture-budget=", zsh("vela-widget render --pict", "--picture-budget="))
        self.assertIn("waybar", zsh("vela-widget bar --format wayb", "waybar"))
        self.assertIn("accessoryRectangular", zsh("vela-widget render --family=accessoryR", "accessoryRectangular"))
        self.assertIn("defaults delete", zsh("vela-companion defaults del", "delete"))

    def test_completions_are_good_shell(self):
        for shell in ("bash", "zsh", "fish"):
            for path in sorted((COMPLETIONS / shell).iterdir()):
                if shutil.which(shell):
                    done = subprocess.run([shell, "-n", path], capture_output=True, text=True)
                    self.assertEqual((done.returncode, done.stderr), (0, ""), path)

    def test_the_page_of_bars_prints_what_setup_does(self):
        page = {line.strip() for line in (SOURCES / "docs/bars.md").read_text(encoding="utf-8").splitlines()}
        for bar in ("waybar", "i3", "i3blocks", "polybar"):
            # By name, as who has installed it gets it.
            path = f"{BUILD / 'bin'}:{os.environ['PATH']}"
            snippet = subprocess.run([BUILD / "bin/vela-widget", "setup", bar], check=True, capture_output=True, text=True,
                                     env=clean_environment(PATH=path)).stdout
            for line in snippet.splitlines():
                if not line.startswith(("//", "#", ";")):
                    self.assertIn(line.strip(), page, bar)

    def test_a_program_whose_command_line_is_ours_has_a_page(self):
        sources = subprocess.run(["git", "grep", "-l", "platform::CommandLine app("], cwd=SOURCES, capture_output=True,
                                 text=True).stdout.split()
        for source in sources:
            if "/tests/" not in f"/{source}":
                self.assertIn(Path(source).stem, [path.stem for path in DESCRIPTIONS], source)


require(BUILD / "share/command-lines")
if __name__ == "__main__":
    main()
