"""Writes the stub with the docstrings of the module in it, for editors to show.

    python3 write_stub.py OUTPUT TEMPLATE RECORDS SOURCE...

TEMPLATE is the stub without docstrings. They come from where the module has them: those of the
classes and of the module itself from RECORDS, those of the functions from the SOURCEs in C++. A
name of the template that has none is an error, and so is a docstring of a function that the
template lacks.
"""

import ast
import re
import sys
from pathlib import Path

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
    for name, item in sorted(wanted.items(), key=lambda entry: -entry[1].lineno):
        text = quoted(docs[name], " " * (item.col_offset + 4))
        if isinstance(item, ast.ClassDef):
            lines.insert(item.body[0].lineno - 1 - len(getattr(item.body[0], "decorator_list", [])),
                         text)
        else:
            last = item.end_lineno - 1 if item.end_lineno else item.lineno - 1
            lines[last] = lines[last].removesuffix(" ...") + "\n" + text
    return quoted(docs[""], "") + "\n\n" + "\n".join(lines)


def main(output: str, template: str, records: str, *sources: str) -> None:
    """Write the stub."""
    texts = [Path(path).read_text(encoding="utf-8") for path in (template, records, *sources)]
    stub = with_docstrings(texts[0], docstrings(texts[1], texts[2:]))
    ast.parse(stub)
    Path(output).write_text(stub, encoding="utf-8")


if __name__ == "__main__":
    main(*sys.argv[1:])
