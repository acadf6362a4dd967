"""Write docs/api.md from the docstrings of the module.

    PYTHONPATH=build/release/python python3 docs/make_api.py            # write the page
    PYTHONPATH=build/release/python python3 docs/make_api.py --check    # only compare with it

All of it is read from the installed stub, into which the build has put the docstrings, and from the
source of the types for annotations.
"""

from __future__ import annotations

import ast
import re
import sys
from collections.abc import Iterator
from pathlib import Path

from quillan.core import vorn_layered

PAGE = Path(__file__).resolve().with_name("api.md")
HOME = Path(vorn_layered.__file__).parent

INTRODUCTION = """\
# The names of the module

Version {version}. Made by `docs/make_api.py` from the docstrings, which `help()` and editors show too.
The [guide](guide.md) explains the same step by step.

```python
from quillan.core.vorn_layered import layout
```
"""
FIELD = re.compile(r"\w+: ")


def doc_of(items: list[ast.stmt], place: int) -> str | None:
    """The string that stands right behind an item, as the docstring of an assignment does."""
    item = items[place + 1] if place + 1 < len(items) else None
    if isinstance(item, ast.Expr) and isinstance(item.value, ast.Constant):
        return re.sub(r"\s*\n\s*", " ", str(item.value.value))
    return None


def documented(item: ast.ClassDef | ast.FunctionDef) -> str:
    """The docstring."""
    text = ast.get_docstring(item)
    if text is None:
        raise SystemExit(f"{item.name} has no docstring")
    return text


def escaped(text: str) -> str:
    """Prose in which nothing but `code` is markup."""
    return re.sub(r"(`[^`]*`)|([*_<|])", lambda found: found[1] or "\\" + found[2], text)


def blocks(text: str) -> Iterator[str]:
    """A docstring as Markdown, block by block. Sections with underlined titles stay as they are."""
    parts = text.split("\n\n")
    plain: list[str] = []
    for number, part in enumerate(parts):
        if part.startswith(">>>"):
            yield f"```python\n{part}\n```"
        elif re.match(r"\w+\n-+\n", part):
            title, _, rest = part.split("\n", 2)
            if title == "Notes":
                yield "**Notes**"
                yield escaped(rest)
                continue
            plain = [rest]
            while number + 1 < len(parts) and not re.match(r"\w+\n-+\n|>>>", parts[number + 1]):
                number += 1
                plain.append(parts[number])
                parts[number] = ""
            yield f"**{title}**"
            yield "```text\n" + "\n\n".join(plain) + "\n```"
        elif part:
            label = re.match(r"(Reads|Writes): ", part)
            yield f"*{label[1]}:* {escaped(part[label.end():])}" if label else escaped(part)


def without_fields(text: str) -> str:
    """The docstring without the part that tells of the fields, for which there is a table."""
    return "\n\n".join(part for part in text.split("\n\n") if not FIELD.match(part))


def signature(item: ast.FunctionDef) -> str:
    """As one would write the call."""
    arguments = re.sub(r"(?<! )=(?! )", " = ", ast.unparse(item.args))
    arguments = re.sub(r"^self(, )?", "", arguments)
    return with_public_names(f"{item.name}({arguments})")


def with_public_names(text: str) -> str:
    """Types by the names that a reader can import."""
    for own, public in (("_Nodes", "Iterable[NodeMapping]"), ("_Edges", "Iterable[EdgeMapping]"),
                        ("_AnyNode", "NodeMapping"), ("_AnyEdge", "EdgeMapping")):
        text = text.replace(own, public)
    return text


def default_of(item: ast.AnnAssign) -> str:
    """The default of a field, or nothing for one that is required."""
    if item.value is None:
        return ""
    text = ast.unparse(item.value)
    if "default_factory" in text:
        return f"`{text.split('default_factory=')[1].rstrip(')')}()`"
    return "" if text.startswith("field(") else f"`{text}`"


def class_text(item: ast.ClassDef) -> Iterator[str]:
    """A class: its docstring, its fields or values, its properties and methods."""
    yield from blocks(without_fields(documented(item)))
    values = [entry for entry in item.body if isinstance(entry, ast.Assign)]
    if values:
        yield "Values: " + ", ".join(f"`{ast.unparse(entry.targets[0])}`" for entry in values) + "."
    fields = [(place, entry) for place, entry in enumerate(item.body)
              if isinstance(entry, ast.AnnAssign)]
    if fields:
        rows = ["| Field | Type | Default | |", "|---|---|---|---|"]
        for place, entry in fields:
            name = ast.unparse(entry.target)
            kind = ast.unparse(entry.annotation).replace("_DirectionField", "Direction | str")
            default = default_of(entry).replace("`...`", "`Direction.RIGHT`")
            kind = kind.replace("|", "\\|")
            rows.append(f"| `{name}` | `{kind}` | {default} | {escaped(doc_of(item.body, place) or '')} |")
        yield "\n".join(rows)
    lines = []
    for method in (entry for entry in item.body if isinstance(entry, ast.FunctionDef)):
        if not method.name.startswith("__"):
            name = method.name if method.decorator_list else signature(method)
            result = ast.unparse(method.returns) if method.returns else "None"
            lines.append(f"- `{name}` -> `{result}`: " +
                         " ".join(escaped(documented(method)).split()))
    if lines:
        yield "\n".join(lines)


def module_text() -> Iterator[str]:
    """Every public name of the module, in its order."""
    tree = ast.parse((HOME / "vorn_layered.pyi").read_text(encoding="utf-8"))
    items: dict[str, tuple[ast.ClassDef | ast.FunctionDef | ast.AnnAssign, str | None]] = {}
    for place, item in enumerate(tree.body):
        if isinstance(item, ast.ClassDef | ast.FunctionDef):
            items[item.name] = (item, None)
        elif isinstance(item, ast.AnnAssign):
            items[ast.unparse(item.target)] = (item, doc_of(tree.body, place))
    for name in [name for name in vars(vorn_layered) if not name.startswith("_")]:
        item, told = items[name]
        yield f"## {name}"
        if isinstance(item, ast.ClassDef):
            yield from class_text(item)
        elif isinstance(item, ast.FunctionDef):
            result = with_public_names(ast.unparse(item.returns) if item.returns else "None")
            yield f"`{signature(item)}` -> `{result}`"
            yield from blocks(documented(item))
        elif item.value is not None:
            yield f"`{ast.unparse(item.value)}`. {escaped(told or '')}"


def types_text() -> Iterator[str]:
    """The types for annotations."""
    tree = ast.parse((HOME / "vorn_layered_types.py").read_text(encoding="utf-8"))
    yield "## Types for annotations"
    yield ("They are in `quillan.core.vorn_layered_types`; see "
           "[the guide](guide.md#for-type-checkers).")
    for place, item in enumerate(tree.body):
        if isinstance(item, ast.ClassDef):
            yield f"### {item.name}"
            yield escaped(documented(item))
            rows = ["| Key | Type | |", "|---|---|---|"]
            for number, entry in enumerate(item.body):
                if isinstance(entry, ast.AnnAssign):
                    kind = ast.unparse(entry.annotation).replace("|", "\\|")
                    told = escaped(doc_of(item.body, number) or "")
                    rows.append(f"| `{ast.unparse(entry.target)}` | `{kind}` | {told} |")
            yield "\n".join(rows)
        elif isinstance(item, ast.AnnAssign) and item.value is not None:
            yield (f"`{ast.unparse(item.target)}` = `{ast.unparse(item.value)}`: "
                   f"{escaped(doc_of(tree.body, place) or '')}")


def main(arguments: list[str]) -> int:
    """Write the page or compare it."""
    page = "\n\n".join([INTRODUCTION.format(version=vorn_layered.__version__).rstrip(),
                        *module_text(), *types_text()]) + "\n"
    if arguments == ["--check"]:
        if PAGE.read_text(encoding="utf-8") != page:
            print("docs/api.md is not what docs/make_api.py would write")
            return 1
        return 0
    if arguments:
        print(__doc__)
        return 2
    PAGE.write_text(page, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
