"""Run the code blocks of README.md and docs/*.md, and check the commands and links in them.

    PYTHONPATH=build/release/python python3 docs/run_blocks.py [FILE.md ...]

The Python blocks of a file run in order in one namespace, as they would for a reader who has the
module and nothing else of this repository: in an empty folder, from which nothing here can be
imported. A block with `>>>` is compared with the output it shows. Of a console block each `$`
command must name programs, files, subcommands and options that exist; nothing in it is run. Links
and pictures must lead to a file, links to a heading to that heading.

A comment right before a block says what else it needs: `<!-- needs NAME ... -->` skips it, and says so,
if one of the modules can't be imported; `<!-- copies FILE ... -->`, for text that tells the reader to
copy these files, first puts them into the folder. Exit status 1 if anything
fails, or if there was no block to run.
"""

from __future__ import annotations

import contextlib
import doctest
import importlib.util
import io
import json
import os
import re
import shlex
import shutil
import sys
import tempfile
import traceback
import unittest.mock
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from itertools import groupby
from pathlib import Path
from typing import Any

ROOT = Path(__file__).resolve().parents[1]
KINDS = ("python", "console", "text")  # another word after ``` is a mistake, not a block to skip
COMMENT = re.compile(r"<!-- (needs|copies) (.*) -->")
LINK = re.compile(r"\]\(([^)\s]+)\)")


class Wrong(Exception):
    """Something that a document says is not true."""


@dataclass(frozen=True)
class Block:
    """A fenced block: its language, its text, where the text starts, and the comments before it."""

    kind: str
    text: str
    line: int  # of the first line of the text, from 1
    needs: tuple[str, ...]  # modules
    copies: tuple[str, ...]  # files of the repository


def blocks_of(document: str) -> Iterator[Block]:
    """The fenced blocks of a Markdown text. A fence that is never closed is an error."""
    opened: tuple[str, int] | None = None
    said: dict[str, tuple[str, ...]] = {}
    lines = document.splitlines()
    for number, line in enumerate(lines, 1):
        if line.startswith("```"):
            if opened is None:
                opened = (line[3:].strip(), number + 1)
                said = comments_before(lines[:number - 1])
            else:
                kind, start = opened
                if kind not in KINDS:
                    raise Wrong(f"line {start - 1}: a block is one of {', '.join(KINDS)}")
                yield Block(kind, "\n".join(lines[start - 1:number - 1]) + "\n", start,
                            said.get("needs", ()), said.get("copies", ()))
                opened = None
    if opened is not None:
        raise Wrong(f"line {opened[1] - 1}: the block has no end")


def comments_before(lines: list[str]) -> dict[str, tuple[str, ...]]:
    """What the comments at the end of these lines say, by their first words."""
    said: dict[str, tuple[str, ...]] = {}
    while lines and (comment := COMMENT.fullmatch(lines[-1].strip())):
        said[comment[1]] = tuple(comment[2].split())
        lines = lines[:-1]
    return said


# ---- Python blocks


def run_python(block: Block, name: str, namespace: dict[str, Any]) -> None:
    """Run a block, or compare it with the output it shows."""
    for file in block.copies:
        shutil.copy(ROOT / file, Path.cwd())
    if ">>> " in block.text:
        run_session(block, name, namespace)
        return
    # The lines in front make a traceback name the line of the document.
    code = compile("\n" * (block.line - 1) + block.text, name, "exec", dont_inherit=True)
    output = io.StringIO()
    try:
        with contextlib.redirect_stdout(output):
            exec(code, namespace)
    except Exception:
        raise Wrong(output.getvalue() + traceback.format_exc()) from None


def run_session(block: Block, name: str, namespace: dict[str, Any]) -> None:
    """Run what follows each `>>>` and compare the output."""
    session = doctest.DocTestParser().get_doctest(
        block.text, namespace, name, name, block.line - 1)
    session.globs = namespace  # the parser copied it
    report: list[str] = []
    runner = doctest.DocTestRunner(verbose=False, optionflags=doctest.ELLIPSIS)
    whole = traceback.format_exception_only

    def in_one(*exception: Any) -> list[str]:
        # doctest compares the last item only, which is the last note of an exception that has some.
        return ["".join(whole(*exception))]

    with unittest.mock.patch("traceback.format_exception_only", in_one):
        failed = runner.run(session, out=report.append, clear_globs=False).failed
    if failed:
        raise Wrong("".join(report))


# ---- console blocks


def check_console(block: Block) -> None:
    """Check each command of the block; lines without `$` are output."""
    text = block.text.replace("\\\n", " ")
    commands = [line[2:] for line in text.splitlines() if line.startswith("$ ")]
    if not commands:
        raise Wrong("a console block without a $ command")
    for command in commands:
        words = shlex.shlex(command, posix=True, punctuation_chars="|&;")
        words.whitespace_split = True
        for joined, part in groupby(words, lambda word: not word.strip("|&;")):
            if not joined:
                check_command(list(part), command)


def check_command(words: list[str], command: str) -> None:
    """Check one command: its program, and what its arguments name."""
    while words and re.match(r"[A-Za-z_]+=", words[0]):
        words = words[1:]
    if not words:
        return
    program, arguments = words[0], words[1:]
    if "/" in program:
        require((ROOT / program).is_file(), f"no file {program}", command)
    else:
        require(shutil.which(program) is not None, f"no program {program}", command)
    if program == "./dev":
        check_dev(arguments, command)
    elif program == "cmake" and "--preset" in arguments:
        check_preset(arguments, command)
    for place, word in enumerate(arguments):
        top = word.split("/")[0]
        if "/" in word and (ROOT / top).is_dir() and top != "build":
            require((ROOT / word).exists(), f"no file {word}", command)
        if word.endswith(".py") and "/" in word:
            check_options(ROOT / word, arguments[place + 1:], command)


def check_dev(arguments: list[str], command: str) -> None:
    """The subcommand is a function of the script, and checks are functions of theirs."""
    subcommand = arguments[0] if arguments else "help"
    require(defines("dev", f"run_{subcommand}"), f"./dev has no {subcommand}", command)
    if subcommand == "check":
        for name in arguments[1:]:
            require(defines("scripts/check.sh", f"check_{name}"), f"no check {name}", command)


def defines(script: str, function: str) -> bool:
    """Whether a Bash script of the repository defines the function."""
    text = (ROOT / script).read_text(encoding="utf-8")
    return re.search(rf"^{re.escape(function)}\(\)", text, re.MULTILINE) is not None


def check_preset(arguments: list[str], command: str) -> None:
    """The preset is in the project's file."""
    presets = json.loads((ROOT / "CMakePresets.json").read_text(encoding="utf-8"))
    kind = "buildPresets" if "--build" in arguments else "configurePresets"
    wanted = arguments[arguments.index("--preset") + 1]
    require(any(preset["name"] == wanted for preset in presets[kind]),
            f"no preset {wanted}", command)


def check_options(script: Path, arguments: list[str], command: str) -> None:
    """The options are ones that the script speaks of."""
    text = script.read_text(encoding="utf-8")
    for word in arguments:
        if word.startswith("--"):
            require(f'"{word}"' in text, f"{script.name} has no {word}", command)


def require(condition: bool, complaint: str, command: str) -> None:
    """Fail with the complaint and the command that it is about."""
    if not condition:
        raise Wrong(f"{complaint}: {command}")


# ---- links


def check_links(path: Path) -> None:
    """Every relative link of the document leads to a file, and to a heading if it names one."""
    for link in LINK.findall(prose_of(path)):
        if "://" in link:
            continue
        file, _, heading = link.partition("#")
        target = (path.parent / file).resolve() if file else path
        if not target.exists():
            raise Wrong(f"a link leads nowhere: {link}")
        if heading and heading not in headings(target):
            raise Wrong(f"a link names no heading: {link}")


def headings(path: Path) -> set[str]:
    """The anchors of a document's headings, as hosts of Markdown make them."""
    titles = re.findall(r"^#+ (.*)$", prose_of(path), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles}


def prose_of(path: Path) -> str:
    """The text of a document without its blocks."""
    return re.sub(r"^```.*?^```", "", path.read_text(encoding="utf-8"),
                  flags=re.MULTILINE | re.DOTALL)


# ---- all documents


class Run:
    """Counts what was run, skipped and found wrong."""

    def __init__(self) -> None:
        self.done = {kind: 0 for kind in KINDS}
        self.skipped = 0
        self.failed = 0

    def document(self, path: Path) -> None:
        """Run one document."""
        name = str(path.relative_to(ROOT))
        namespace: dict[str, Any] = {"__name__": "__main__"}
        self.attempt(name, lambda: check_links(path))
        try:
            blocks = list(blocks_of(path.read_text(encoding="utf-8")))
        except Wrong as wrong:
            self.fail(name, wrong)
            return
        for block in blocks:
            where = f"{name}:{block.line}"
            missing = [name for name in block.needs if importlib.util.find_spec(name) is None]
            if missing:
                print(f"skipped {where}: there is no module {', '.join(missing)}")
                self.skipped += 1
                continue
            if block.kind == "python":
                self.attempt(where, lambda: run_python(block, name, namespace))
            elif block.kind == "console":
                self.attempt(where, lambda: check_console(block))
            self.done[block.kind] += 1

    def attempt(self, where: str, action: Callable[[], None]) -> None:
        """Do it and record whether it failed."""
        try:
            action()
        except Wrong as wrong:
            self.fail(where, wrong)

    def fail(self, where: str, wrong: Wrong) -> None:
        """Record what is wrong."""
        self.failed += 1
        print(f"FAILED {where}\n{wrong}".rstrip())


def main(arguments: list[str]) -> int:
    """Run the documents named, or all."""
    paths = [Path(argument).resolve() for argument in arguments] or \
        [ROOT / "README.md", *sorted((ROOT / "docs").glob("*.md"))]
    os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
    run = Run()
    for path in paths:
        with tempfile.TemporaryDirectory() as folder, contextlib.chdir(folder):
            # In place of the folder of this file, as for a script of the reader's own.
            sys.path[0] = folder
            run.document(path)
    print(f"{run.done['python']} Python blocks and {run.done['console']} console blocks, "
          f"{run.failed} failures, {run.skipped} skipped")
    if not run.done["python"]:
        print("there was no Python block to run")
    return int(run.failed > 0 or not run.done["python"])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
