"""Writes the stub with the docstrings of the module in it, for editors to show.

    python3 write_stub.py OUTPUT TEMPLATE RECORDS SOURCE...

TEMPLATE is the stub without docstrings. They come from where the module has them: those of the
classes and of the module itself from RECORDS, those of the functions from the SOURCEs in C++. Each
field gets what the docstring of its class says of it. A name of the template that has none is an
error, and so is a docstring of a function that the template lacks.
"""

import ast
import re
import sys
from pathlib import Path

FIELD = re.compile(r"^(\w+): ", re.MULTILINE)
# As CPython wants them: the signature on the first line, then "--".
FUNCTION_DOC = re.compile(r'R"doc\((\w+)\([^\n]*\n--\n\n(.*?)\)doc"', re.DOTALL)

Documented = ast.ClassDef | ast.FunctionDef


def members(tree: ast.Module | ast.ClassDef, prefix: str = "") -> dict[str, Documented]:
    """The classes, functions and methods by their dotted names, apart from special methods."""
    found: dict[str, Documented] = {}
    for item in tree.body:
        if not isinstance(item, Documented) or item.name.startswith("__"):
            continue
        found[prefix + item.name] = item
        if isinstance(item, ast.ClassDef):
            found |= members(item, f"{item.name}.")
    return found


def docstrings(records: str, sources: list[str]) -> dict[str, str]:
    """The docstrings by dotted names; that of the module under the empty one."""
    tree = ast.parse(records)
    found = {name: ast.get_docstring(item) for name, item in members(tree).items()}
    found[""] = ast.get_docstring(tree)
    for source in sources:
        found |= {name: text.strip() for name, text in FUNCTION_DOC.findall(source)}
    missing = [name or "the module" for name, text in found.items() if not text]
    if missing:
        sys.exit(f"no docstring: {', '.join(missing)}")
    return {name: text for name, text in found.items() if text}


def meanings(text: str) -> dict[str, str]:
    """What a docstring of a class says of the fields, each on a line such as "x: the near side"."""
    listed = next((part for part in text.split("\n\n") if FIELD.match(part)), "")
    pieces = FIELD.split(listed)[1:]
    told = [" ".join(piece.split()) for piece in pieces[1::2]]
    return {name: text[0].upper() + text[1:] for name, text in zip(pieces[::2], told)}


def quoted(text: str, indent: str) -> str:
    """The text as a docstring on lines of its own."""
    if '"""' in text or "\\" in text:
        sys.exit(f"a docstring that would need escapes: {text}")
    end = '\n"""' if "\n" in text else '"""'
    return "\n".join(indent + line if line else "" for line in f'"""{text}{end}'.split("\n"))


def with_docstrings(template: str, docs: dict[str, str]) -> str:
    """The template with a docstring in every class, function and method, and on top."""
    wanted = members(ast.parse(template))
    if wanted.keys() != docs.keys() - {""}:
        sys.exit(f"in the stub or in the module only: {sorted(wanted.keys() ^ (docs.keys() - {''}))}")
    lines = template.split("\n")
    inserted: list[tuple[int, str]] = []  # before these lines
    for name, item in wanted.items():
        indent = " " * (item.col_offset + 4)
        text = quoted(docs[name], indent)
        if isinstance(item, ast.FunctionDef):
            last = (item.end_lineno or item.lineno) - 1
            lines[last] = lines[last].removesuffix(" ...") + "\n" + text
            continue
        first = item.body[0]
        inserted.append((first.lineno - 1 - len(getattr(first, "decorator_list", [])), text))
        fields = {ast.unparse(entry.target): entry.end_lineno or entry.lineno
                  for entry in item.body if isinstance(entry, ast.AnnAssign)}
        told = meanings(docs[name])
        if fields.keys() != told.keys():
            sys.exit(f"{name}: fields without a meaning or unknown: {fields.keys() ^ told.keys()}")
        inserted += [(line, quoted(told[field], indent)) for field, line in fields.items()]
    for line, text in sorted(inserted, reverse=True):
        lines.insert(line, text)
    return quoted(docs[""], "") + "\n\n" + "\n".join(lines)


def main(output: str, template: str, records: str, *sources: str) -> None:
    """Write the stub."""
    texts = [Path(path).read_text(encoding="utf-8") for path in (template, records, *sources)]
    stub = with_docstrings(texts[0], docstrings(texts[1], texts[2:]))
    ast.parse(stub)
    Path(output).write_text(stub, encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
